// The simulated switch's answers to the LLDP operations.
#include <arpa/inet.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include "sim/lldp_model.h"
#include "sim/sim_ops.h"
#include "sim/sim_text.h"
#include "sim/switch.h"

namespace {

// Texts and their lengths: 255 characters and a terminator.
constexpr uint32_t kLldpStrLen = 256;
// LLDP-MED inventory strings are at most 32 octets.
constexpr uint32_t kMedModelNameSize = 32;
constexpr uint32_t kMedDeviceClassNetworkConnectivity = 4;
constexpr uint32_t kMaxMediaPolicyAppType = 8;  // video signalling
constexpr uint32_t kMaxLocationSubtype = 3;     // ELIN

// LLDP runs on physical ports. A LAG is refused as a feature it lacks (LLDP
// runs on its members); the CPU and unknown numbers are bad parameters.
open_error_t lldpPort(const SimSwitch &sw, uint32_t ifNum) {
  const SimSwitch::Interface *intf = sw.findInterface(ifNum);
  if (intf == nullptr) return OPEN_E_PARAM;
  if (intf->type == kIntfLag) return OPEN_E_UNAVAIL;
  return intf->type == kIntfPhysical ? OPEN_E_NONE : OPEN_E_PARAM;
}

// Neighbours are known on a port whose link is up and that receives LLDP.
bool hearsNeighbours(SimSwitch &sw, uint32_t ifNum) {
  const SimSwitch::Interface *intf = sw.findInterface(ifNum);
  return intf != nullptr && intf->type == kIntfPhysical && intf->linkUp && intf->adminEnabled &&
         sw.lldp().portOrDefault(ifNum).receive == 1;
}

// What a neighbour did not send is not found.
open_error_t sentText(open_buffdesc *desc, const std::string &text) {
  return text.empty() ? OPEN_E_NOT_FOUND : putText(desc, text);
}
open_error_t sentNumber(uint32_t *out, uint32_t value) {
  if (value == 0) return OPEN_E_NOT_FOUND;
  *out = value;
  return OPEN_E_NONE;
}
open_error_t put(uint32_t *out, uint32_t value) {
  *out = value;
  return OPEN_E_NONE;
}

template <typename Read>
open_error_t withNeighbour(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp, Read read) {
  open_error_t rc = lldpPort(sw, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  const LldpNeighbour *n = hearsNeighbours(sw, ifNum) ? sw.lldp().find(ifNum, remIndex, timeStamp) : nullptr;
  return n != nullptr ? read(*n) : OPEN_E_NOT_FOUND;
}

template <typename Read>
open_error_t withDot3(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp, Read read) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return n.dot3 ? read(n) : OPEN_E_NOT_FOUND; });
}

template <typename Read>
open_error_t withMed(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp, Read read) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return n.med ? read(n) : OPEN_E_NOT_FOUND; });
}

open_error_t remotePolicy(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp, uint32_t appType,
                          uint32_t LldpMediaPolicy::*field, uint32_t *out) {
  if (appType < 1 || appType > kMaxMediaPolicyAppType) return OPEN_E_PARAM;
  return withMed(sw, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    for (const LldpMediaPolicy &policy : n.policies) {
      if (policy.appType == appType) return put(out, policy.*field);
    }
    return OPEN_E_NOT_FOUND;
  });
}

// ---- Management addresses, walked in (family, address) order ----

using AddressKey = std::pair<uint32_t, std::array<uint8_t, 16>>;

bool addressKey(uint32_t family, const std::string &text, AddressKey *key) {
  key->first = family;
  key->second.fill(0);
  if (family == 1) return inet_pton(AF_INET, text.c_str(), key->second.data()) == 1;
  if (family == 2) return inet_pton(AF_INET6, text.c_str(), key->second.data()) == 1;
  return family == 0;
}

open_error_t nextMgmtAddress(const LldpNeighbour &n, uint32_t *family, open_buffdesc *address,
                             const LldpMgmtAddress **found) {
  AddressKey after, key;
  if (!addressKey(*family, inputText(address), &after)) return OPEN_E_PARAM;
  for (const LldpMgmtAddress &entry : n.mgmtAddresses) {
    if (addressKey(entry.family, entry.address, &key) && key > after) {
      *found = &entry;
      *family = entry.family;
      return putText(address, entry.address);
    }
  }
  return OPEN_E_NOT_FOUND;
}

uint32_t addressLength(uint32_t family) { return family == 1 ? 4 : 16; }

// ---- The switch's own side ----

// IANA MAU type of a port's link: twisted pair up to 1G, 10GBASE-SR optics above.
uint32_t mauTypeOf(const SimSwitch::Interface &intf) {
  switch (SimSwitch::speedCodeOf(intf)) {
    case kSpeedFull10: return 11;
    case kSpeedFull100: return 16;
    case kSpeedFull1000: return 30;
    case kSpeedFull10G: return 36;
    default: return 0;
  }
}

// Copper ports negotiate; the 10G cages have fixed optics.
bool negotiates(const SimSwitch::Interface &intf) { return intf.speedMbps <= 1000; }

template <typename Read>
open_error_t withPort(SimSwitch &sw, uint32_t ifNum, Read read) {
  open_error_t rc = lldpPort(sw, ifNum);
  return rc == OPEN_E_NONE ? read(*sw.findInterface(ifNum)) : rc;
}

std::string systemName(const SimSwitch &sw) {
  const auto &mac = sw.identity().baseMac;
  char suffix[8];
  snprintf(suffix, sizeof suffix, "%02X%02X%02X", mac[3], mac[4], mac[5]);
  return sw.identity().machineModel + "-" + suffix;
}

std::string portDescription(const SimSwitch::Interface &intf) {
  unsigned unit = 0, slot = 0, port = 0;
  sscanf(intf.name.c_str(), "%u/%u/%u", &unit, &slot, &port);
  return "Unit: " + std::to_string(unit) + " Slot: " + std::to_string(slot) + " Port: " + std::to_string(port) +
         (negotiates(intf) ? " Gigabit" : " 10G") + " - Level";
}

std::string vlanName(uint32_t vlanId) {
  char name[16];
  snprintf(name, sizeof name, "VLAN%04u", vlanId);
  return vlanId == 1 ? "default" : name;
}

// The policies the switch offers its phones: voice and its signalling on VLAN 20.
const LldpMediaPolicy kLocalPolicies[] = {{1, 20, 5, 46, 0, 1}, {2, 20, 4, 24, 0, 1}};

open_error_t localPolicy(SimSwitch &sw, uint32_t ifNum, uint32_t appType, uint32_t LldpMediaPolicy::*field,
                         uint32_t *out) {
  open_error_t rc = lldpPort(sw, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  if (appType < 1 || appType > kMaxMediaPolicyAppType) return OPEN_E_PARAM;
  if (sw.lldp().portOrDefault(ifNum).medMode != 1) return OPEN_E_NOT_FOUND;
  for (const LldpMediaPolicy &policy : kLocalPolicies) {
    if (policy.appType == appType) return put(out, policy.*field);
  }
  return OPEN_E_NOT_FOUND;
}

// ---- Settings ----

open_error_t globalGet(SimSwitch &sw, uint32_t LldpGlobals::*field, uint32_t *value) {
  return put(value, sw.lldp().state().globals.*field);
}

open_error_t globalSet(SimSwitch &sw, uint32_t LldpGlobals::*field, const LldpRange &range, uint32_t value) {
  open_error_t rc = range.check(value);
  if (rc == OPEN_E_NONE) sw.lldp().state().globals.*field = value;
  return rc;
}

open_error_t modeGet(SimSwitch &sw, uint32_t ifNum, uint32_t LldpPort::*field, uint32_t *mode) {
  open_error_t rc = lldpPort(sw, ifNum);
  if (rc == OPEN_E_NONE) *mode = sw.lldp().portOrDefault(ifNum).*field;
  return rc;
}

open_error_t modeSet(SimSwitch &sw, uint32_t ifNum, uint32_t LldpPort::*field, uint32_t mode) {
  open_error_t rc = lldpPort(sw, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  if (mode > 1) return OPEN_E_PARAM;
  sw.lldp().port(ifNum).*field = mode;
  return OPEN_E_NONE;
}

}  // namespace

namespace sim {

open_error_t openapiLldpTxHoldGet(SimSwitch &sw, uint32_t *hold) { return globalGet(sw, &LldpGlobals::txHold, hold); }
open_error_t openapiLldpTxHoldSet(SimSwitch &sw, uint32_t hold) {
  return globalSet(sw, &LldpGlobals::txHold, kLldpTxHoldRange, hold);
}
open_error_t openapiLldpTxIntervalGet(SimSwitch &sw, uint32_t *interval) {
  return globalGet(sw, &LldpGlobals::txInterval, interval);
}
open_error_t openapiLldpTxIntervalSet(SimSwitch &sw, uint32_t interval) {
  return globalSet(sw, &LldpGlobals::txInterval, kLldpTxIntervalRange, interval);
}
open_error_t openapiLldpTxReinitDelayGet(SimSwitch &sw, uint32_t *delay) {
  return globalGet(sw, &LldpGlobals::reinitDelay, delay);
}
open_error_t openapiLldpTxReinitDelaySet(SimSwitch &sw, uint32_t delay) {
  return globalSet(sw, &LldpGlobals::reinitDelay, kLldpReinitDelayRange, delay);
}
open_error_t openapiLldpNotificationIntervalGet(SimSwitch &sw, uint32_t *interval) {
  return globalGet(sw, &LldpGlobals::notificationInterval, interval);
}
open_error_t openapiLldpNotificationIntervalSet(SimSwitch &sw, uint32_t interval) {
  return globalSet(sw, &LldpGlobals::notificationInterval, kLldpNotificationIntervalRange, interval);
}
open_error_t openapiLldpXMedFastStartRepeatCountGet(SimSwitch &sw, uint32_t *count) {
  return globalGet(sw, &LldpGlobals::fastStartRepeatCount, count);
}
open_error_t openapiLldpXMedFastStartRepeatCountSet(SimSwitch &sw, uint32_t count) {
  return globalSet(sw, &LldpGlobals::fastStartRepeatCount, kLldpFastStartRange, count);
}

open_error_t openapiLldpIntfTransmitModeGet(SimSwitch &sw, uint32_t ifNum, uint32_t *mode) {
  return modeGet(sw, ifNum, &LldpPort::transmit, mode);
}
open_error_t openapiLldpIntfTransmitModeSet(SimSwitch &sw, uint32_t ifNum, uint32_t mode) {
  return modeSet(sw, ifNum, &LldpPort::transmit, mode);
}
open_error_t openapiLldpIntfReceiveModeGet(SimSwitch &sw, uint32_t ifNum, uint32_t *mode) {
  return modeGet(sw, ifNum, &LldpPort::receive, mode);
}
open_error_t openapiLldpIntfReceiveModeSet(SimSwitch &sw, uint32_t ifNum, uint32_t mode) {
  return modeSet(sw, ifNum, &LldpPort::receive, mode);
}
open_error_t openapiLldpIntfNotificationModeGet(SimSwitch &sw, uint32_t ifNum, uint32_t *mode) {
  return modeGet(sw, ifNum, &LldpPort::notification, mode);
}
open_error_t openapiLldpIntfNotificationModeSet(SimSwitch &sw, uint32_t ifNum, uint32_t mode) {
  return modeSet(sw, ifNum, &LldpPort::notification, mode);
}
open_error_t openapiLldpIntfTxMgmtAddrModeGet(SimSwitch &sw, uint32_t ifNum, uint32_t *mode) {
  return modeGet(sw, ifNum, &LldpPort::txMgmtAddr, mode);
}
open_error_t openapiLldpIntfTxMgmtAddrModeSet(SimSwitch &sw, uint32_t ifNum, uint32_t mode) {
  return modeSet(sw, ifNum, &LldpPort::txMgmtAddr, mode);
}
open_error_t openapiLldpMedIntfModeGet(SimSwitch &sw, uint32_t ifNum, uint32_t *mode) {
  return modeGet(sw, ifNum, &LldpPort::medMode, mode);
}
open_error_t openapiLldpMedIntfModeSet(SimSwitch &sw, uint32_t ifNum, uint32_t mode) {
  return modeSet(sw, ifNum, &LldpPort::medMode, mode);
}
open_error_t openapiLldpMedIntfConfigNotificationModeGet(SimSwitch &sw, uint32_t ifNum, uint32_t *mode) {
  return modeGet(sw, ifNum, &LldpPort::medConfigNotification, mode);
}
open_error_t openapiLldpMedIntfConfigNotificationModeSet(SimSwitch &sw, uint32_t ifNum, uint32_t mode) {
  return modeSet(sw, ifNum, &LldpPort::medConfigNotification, mode);
}

open_error_t openapiLldpIntfTLVTransmitModeGet(SimSwitch &sw, uint32_t ifNum, uint32_t tlvType, uint32_t *mode) {
  open_error_t rc = lldpPort(sw, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  if (tlvType >= kLldpTlvTypes) return OPEN_E_PARAM;
  return put(mode, (sw.lldp().portOrDefault(ifNum).tlvs >> tlvType) & 1u);
}

open_error_t openapiLldpIntfTLVTransmitModeSet(SimSwitch &sw, uint32_t ifNum, uint32_t tlvType, uint32_t mode) {
  open_error_t rc = lldpPort(sw, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  if (tlvType >= kLldpTlvTypes || mode > 1) return OPEN_E_PARAM;
  uint16_t &tlvs = sw.lldp().port(ifNum).tlvs;
  tlvs = static_cast<uint16_t>(mode == 1 ? tlvs | (1u << tlvType) : tlvs & ~(1u << tlvType));
  return OPEN_E_NONE;
}

open_error_t openapiLldpMedIntfTransmitTlvGet(SimSwitch &sw, uint32_t ifNum, uint16_t *mask) {
  open_error_t rc = lldpPort(sw, ifNum);
  if (rc == OPEN_E_NONE) *mask = sw.lldp().portOrDefault(ifNum).medTlvs;
  return rc;
}

open_error_t openapiLldpMedIntfTransmitTlvSet(SimSwitch &sw, uint32_t ifNum, uint16_t mask) {
  open_error_t rc = lldpPort(sw, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  if ((mask & ~kLldpMedTlvMask) != 0) return OPEN_E_PARAM;
  sw.lldp().port(ifNum).medTlvs = mask;
  return OPEN_E_NONE;
}

open_error_t openapiLldpIntfNextGet(SimSwitch &sw, uint32_t ifNum, uint32_t *nextIfNum) {
  return sw.nextInterface(kIntfPhysical, ifNum, nextIfNum);
}

// ---- Neighbours ----

open_error_t openapiLldpMgmtStrLenGet(SimSwitch &, uint32_t *strLen) { return put(strLen, kLldpStrLen); }

open_error_t openapiLldpRemoteIntfFirstGet(SimSwitch &sw, uint32_t *ifNum) {
  return openapiLldpRemoteIntfNextGet(sw, 0, ifNum);
}

open_error_t openapiLldpRemoteIntfNextGet(SimSwitch &sw, uint32_t ifNum, uint32_t *nextIfNum) {
  uint32_t next = sw.lldp().nextPortWithNeighbours(ifNum, [&](uint32_t port) { return hearsNeighbours(sw, port); });
  return next != 0 ? put(nextIfNum, next) : OPEN_E_NOT_FOUND;
}

open_error_t openapiLldpIntfRemoteDeviceNextGet(SimSwitch &sw, uint32_t ifNum, uint32_t *remIndex,
                                                uint32_t *timeStamp) {
  open_error_t rc = lldpPort(sw, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  const LldpNeighbour *n = hearsNeighbours(sw, ifNum) ? sw.lldp().next(ifNum, *remIndex, *timeStamp) : nullptr;
  if (n == nullptr) return OPEN_E_NOT_FOUND;
  *remIndex = n->remIndex;
  *timeStamp = n->timeStamp;
  return OPEN_E_NONE;
}

open_error_t openapiLldpIntfRemoteDeviceEntryNextGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                     uint32_t timeStamp, uint32_t *addrFamily, open_buffdesc *address,
                                                     uint32_t *addrLen, uint32_t *subType, uint32_t *intfId) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    const LldpMgmtAddress *entry = nullptr;
    open_error_t rc = nextMgmtAddress(n, addrFamily, address, &entry);
    if (rc != OPEN_E_NONE) return rc;
    *addrLen = addressLength(entry->family);
    *subType = entry->ifSubtype;
    return put(intfId, entry->ifId);
  });
}

open_error_t openapiLldpIntfRemoteDeviceMgmtAddressNextGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                           uint32_t timeStamp, uint32_t *addrFamily,
                                                           open_buffdesc *address, uint32_t *addrLen) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    const LldpMgmtAddress *entry = nullptr;
    open_error_t rc = nextMgmtAddress(n, addrFamily, address, &entry);
    return rc == OPEN_E_NONE ? put(addrLen, addressLength(entry->family)) : rc;
  });
}

open_error_t openapiLldpIntfRemoteDeviceChassisIdGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                     uint32_t timeStamp, uint32_t *subtype, open_buffdesc *chassisId) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    *subtype = n.chassisIdSubtype;
    return putText(chassisId, n.chassisId);
  });
}

open_error_t openapiLldpIntfRemoteDevicePortIdGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                  uint32_t timeStamp, uint32_t *subtype, open_buffdesc *portId) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    *subtype = n.portIdSubtype;
    return putText(portId, n.portId);
  });
}

open_error_t openapiLldpIntfRemoteDeviceSystemNameGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                      uint32_t timeStamp, open_buffdesc *systemName) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentText(systemName, n.systemName); });
}

open_error_t openapiLldpIntfRemoteDeviceSystemDescGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                      uint32_t timeStamp, open_buffdesc *systemDesc) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentText(systemDesc, n.systemDesc); });
}

open_error_t openapiLldpIntfRemoteDevicePortDescGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                    uint32_t timeStamp, open_buffdesc *portDesc) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentText(portDesc, n.portDesc); });
}

open_error_t openapiLldpIntfRemoteDeviceSysCapSuppGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                      uint32_t timeStamp, open_buffdesc *sysCapSupp) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentText(sysCapSupp, n.capSupported); });
}

open_error_t openapiLldpIntfRemoteDeviceSysCapEnabledGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                         uint32_t timeStamp, open_buffdesc *sysCapEnabled) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentText(sysCapEnabled, n.capEnabled); });
}

open_error_t openapiLldpIntfRemoteDeviceTTLGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp,
                                               uint32_t *ttl) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) { return put(ttl, n.ttl); });
}

open_error_t openapiLldpIntfRemoteDevicePortVlanGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                    uint32_t timeStamp, uint32_t *portVlan) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentNumber(portVlan, n.portVlan); });
}

// VLAN entries have info indexes 1, 2, ...; 0 starts the walk.
open_error_t openapiLldpRemoteDeviceVlanInfoIndexGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                     uint32_t timeStamp, uint32_t infoIndex, uint32_t *nextInfoIndex) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    return infoIndex < n.vlans.size() ? put(nextInfoIndex, infoIndex + 1) : OPEN_E_NOT_FOUND;
  });
}

open_error_t openapiLldpIntfRemoteDeviceVlanIdAndNameGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                         uint32_t timeStamp, uint32_t infoIndex, uint32_t *vlan,
                                                         open_buffdesc *vlanName) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    if (infoIndex < 1 || infoIndex > n.vlans.size()) return OPEN_E_NOT_FOUND;
    *vlan = n.vlans[infoIndex - 1].vlanId;
    return putText(vlanName, n.vlans[infoIndex - 1].name);
  });
}

open_error_t openapiLldpIntfRemoteDeviceMaxFrameSizeGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                        uint32_t timeStamp, uint32_t *maxFrameSize) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentNumber(maxFrameSize, n.maxFrameSize); });
}

open_error_t openapiLldpIntfRemotePortLinkAggregationInfoGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                             uint32_t timeStamp, uint32_t *aggregationCapable,
                                                             uint32_t *aggregationMember, uint32_t *aggregationId) {
  return withNeighbour(sw, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    if (!n.aggregation) return OPEN_E_NOT_FOUND;
    *aggregationCapable = n.aggCapable;
    *aggregationMember = n.aggMember;
    return put(aggregationId, n.aggId);
  });
}

// Organisationally defined TLVs have info indexes 0, 1, ... in the order received.
open_error_t openapiLldpRemOrgDefOUIGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp,
                                        uint32_t infoIndex, open_buffdesc *oui) {
  return withNeighbour(sw, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) {
    return infoIndex < n.orgInfo.size() ? putText(oui, n.orgInfo[infoIndex].oui) : OPEN_E_NOT_FOUND;
  });
}

open_error_t openapiLldpRemOrgDefSubtypeGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp,
                                            uint32_t infoIndex, uint32_t *subtype) {
  return withNeighbour(sw, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) {
    return infoIndex < n.orgInfo.size() ? put(subtype, n.orgInfo[infoIndex].subtype) : OPEN_E_NOT_FOUND;
  });
}

open_error_t openapiLldpRemUnknownTLVEntryNextGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                  uint32_t timestamp, uint32_t tlvType, uint32_t *nextTlvType) {
  return withNeighbour(sw, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) {
    for (const LldpUnknownTlv &tlv : n.unknownTlvs) {
      if (tlv.type > tlvType) return put(nextTlvType, tlv.type);
    }
    return OPEN_E_NOT_FOUND;
  });
}

open_error_t openapiLldpRemUnknownTLVEntryIsExists(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                   uint32_t timestamp, uint32_t tlvType, uint32_t *exists) {
  return withNeighbour(sw, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) {
    *exists = 0;
    for (const LldpUnknownTlv &tlv : n.unknownTlvs) *exists |= tlv.type == tlvType ? 1u : 0u;
    return OPEN_E_NONE;
  });
}

open_error_t openapiLldpRemUnknownTLVInfoGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp,
                                             uint32_t tlvType, open_buffdesc *info) {
  return withNeighbour(sw, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) {
    for (const LldpUnknownTlv &tlv : n.unknownTlvs) {
      if (tlv.type == tlvType) return putText(info, tlv.info);
    }
    return OPEN_E_NOT_FOUND;
  });
}

open_error_t openapiLldpChassisIdSubtypeStringGet(SimSwitch &, uint32_t subtype, open_buffdesc *subtypeStr) {
  const char *name = lldpChassisIdSubtypeName(subtype);
  return name != nullptr ? putText(subtypeStr, name) : OPEN_E_PARAM;
}

open_error_t openapiLldpPortIdSubtypeStringGet(SimSwitch &, uint32_t subtype, open_buffdesc *subtypeStr) {
  const char *name = lldpPortIdSubtypeName(subtype);
  return name != nullptr ? putText(subtypeStr, name) : OPEN_E_PARAM;
}

open_error_t openapiLldpdot3RemPortAutoNegSupportedGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                       uint32_t timestamp, uint32_t *isCapable) {
  return withDot3(sw, ifNum, remIndex, timestamp,
                  [&](const LldpNeighbour &n) { return put(isCapable, n.autoNegSupported); });
}

open_error_t openapiLldpdot3RemPortAutoNegEnabledGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                     uint32_t timestamp, uint32_t *isEnabled) {
  return withDot3(sw, ifNum, remIndex, timestamp,
                  [&](const LldpNeighbour &n) { return put(isEnabled, n.autoNegEnabled); });
}

open_error_t openapiLldpdot3RemPortAutoNegAdvertizedCapGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                           uint32_t timestamp, open_buffdesc *advrtCap) {
  return withDot3(sw, ifNum, remIndex, timestamp,
                  [&](const LldpNeighbour &n) { return putText(advrtCap, n.advertisedCap); });
}

open_error_t openapiLldpdot3RemPortAutoNegOperMauTypeGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex,
                                                         uint32_t timestamp, uint32_t *type) {
  return withDot3(sw, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) { return put(type, n.mauType); });
}

open_error_t openapiLldpdot3RemPortAutoNegOperMauStringGet(SimSwitch &, uint32_t mauType, open_buffdesc *mauString) {
  const char *name = lldpMauTypeName(mauType);
  return name != nullptr ? putText(mauString, name) : OPEN_E_PARAM;
}

open_error_t openapiLldpMedRemoteCapabilitiesGet(SimSwitch &sw, uint32_t intf, uint32_t remIndex, uint32_t timeStamp,
                                                 open_lldp_med_capabilities_t *supportedCapabilities,
                                                 open_lldp_med_capabilities_t *enabledCapabilities) {
  return withMed(sw, intf, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    memcpy(supportedCapabilities->bitmap, n.medCapSupported, sizeof n.medCapSupported);
    memcpy(enabledCapabilities->bitmap, n.medCapEnabled, sizeof n.medCapEnabled);
    return OPEN_E_NONE;
  });
}

open_error_t openapiLldpMedRemoteDeviceClassGet(SimSwitch &sw, uint32_t intf, uint32_t remIndex, uint32_t timeStamp,
                                                uint32_t *deviceClass) {
  return withMed(sw, intf, remIndex, timeStamp,
                 [&](const LldpNeighbour &n) { return put(deviceClass, n.medDeviceClass); });
}

open_error_t openapiLldpMedRemoteModelNameSizeGet(SimSwitch &, uint32_t *size) { return put(size, kMedModelNameSize); }

open_error_t openapiLldpMedRemoteModelNameGet(SimSwitch &sw, uint32_t intf, uint32_t remIndex, uint32_t timeStamp,
                                              open_buffdesc *modelName) {
  return withMed(sw, intf, remIndex, timeStamp,
                 [&](const LldpNeighbour &n) { return sentText(modelName, n.inventory.modelName); });
}

#define LLDP_MED_INVENTORY(name, member)                                                                       \
  open_error_t name(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp, open_buffdesc *out) { \
    return withMed(sw, ifNum, remIndex, timestamp,                                                             \
                   [&](const LldpNeighbour &n) { return sentText(out, n.inventory.member); });                 \
  }
LLDP_MED_INVENTORY(openapiLldpMedRemHardwareRevGet, hardwareRev)
LLDP_MED_INVENTORY(openapiLldpMedRemFirmwareRevGet, firmwareRev)
LLDP_MED_INVENTORY(openapiLldpMedRemSoftwareRevGet, softwareRev)
LLDP_MED_INVENTORY(openapiLldpMedRemSerialNumGet, serialNum)
LLDP_MED_INVENTORY(openapiLldpMedRemAssetIdGet, assetId)
LLDP_MED_INVENTORY(openapiLldpMedRemMfgNameGet, mfgName)
LLDP_MED_INVENTORY(openapiLldpMedRemModelNameGet, modelName)
#undef LLDP_MED_INVENTORY

#define LLDP_MED_POE(name, member)                                                                        \
  open_error_t name(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp, uint32_t *out) { \
    return withMed(sw, ifNum, remIndex, timestamp,                                                        \
                   [&](const LldpNeighbour &n) { return sentNumber(out, n.poe.member); });                \
  }
LLDP_MED_POE(openapiLldpMedRemPoeDeviceTypeGet, deviceType)
LLDP_MED_POE(openapiLldpMedRemPoePSEPowerAvGet, pseAvailable)
LLDP_MED_POE(openapiLldpMedRemPoePSEPowerSrcGet, pseSource)
LLDP_MED_POE(openapiLldpMedRemPoePSEPowerPriGet, psePriority)
LLDP_MED_POE(openapiLldpMedRemPoePDPowerReqGet, pdRequested)
LLDP_MED_POE(openapiLldpMedRemPoePDPowerSrcGet, pdSource)
LLDP_MED_POE(openapiLldpMedRemPoePDPowerPriGet, pdPriority)
#undef LLDP_MED_POE

open_error_t openapiLldpMedRemLocationInfoGet(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp,
                                              uint32_t subType, open_buffdesc *locInfo) {
  if (subType < 1 || subType > kMaxLocationSubtype) return OPEN_E_PARAM;
  return withMed(sw, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) {
    auto found = n.locations.find(subType);
    return found != n.locations.end() ? putText(locInfo, found->second) : OPEN_E_NOT_FOUND;
  });
}

#define LLDP_MED_POLICY(name, member)                                                                     \
  open_error_t name(SimSwitch &sw, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp,                 \
                    uint32_t policyAppType, uint32_t *out) {                                              \
    return remotePolicy(sw, ifNum, remIndex, timestamp, policyAppType, &LldpMediaPolicy::member, out); \
  }
LLDP_MED_POLICY(openapiLldpMedRemMediaPolicyVlanIdGet, vlanId)
LLDP_MED_POLICY(openapiLldpMedRemMediaPolicyPriorityGet, priority)
LLDP_MED_POLICY(openapiLldpMedRemMediaPolicyDscpGet, dscp)
LLDP_MED_POLICY(openapiLldpMedRemMediaPolicyUnknownGet, unknown)
LLDP_MED_POLICY(openapiLldpMedRemMediaPolicyTaggedGet, tagged)
#undef LLDP_MED_POLICY

// ---- The switch's own side ----

open_error_t openapiLldpIntfLocalDeviceChassisIdGet(SimSwitch &sw, uint32_t ifNum, uint32_t *subtype,
                                                    open_buffdesc *chassisId) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &) {
    *subtype = 4;  // MAC address
    return putText(chassisId, sw.baseMacText());
  });
}

open_error_t openapiLldpIntfLocalDevicePortIdGet(SimSwitch &sw, uint32_t ifNum, uint32_t *subtype,
                                                 open_buffdesc *portId) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &intf) {
    *subtype = 5;  // interface name
    return putText(portId, intf.name);
  });
}

open_error_t openapiLldpIntfLocalDevicePortDescGet(SimSwitch &sw, uint32_t ifNum, open_buffdesc *portDesc) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &intf) { return putText(portDesc, portDescription(intf)); });
}

open_error_t openapiLldpIntfLocalDeviceSystemNameGet(SimSwitch &sw, uint32_t ifNum, open_buffdesc *name) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &) { return putText(name, systemName(sw)); });
}

open_error_t openapiLldpIntfLocalDeviceSystemDescGet(SimSwitch &sw, uint32_t ifNum, open_buffdesc *desc) {
  return withPort(sw, ifNum,
                  [&](const SimSwitch::Interface &) { return putText(desc, sw.identity().systemDescription); });
}

// A bridge with routing, both in use.
open_error_t openapiLldpIntfLocalDeviceSysCapSuppGet(SimSwitch &sw, uint32_t ifNum, open_buffdesc *caps) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &) { return putText(caps, "bridge, router"); });
}

open_error_t openapiLldpIntfLocalDeviceSysCapEnabledGet(SimSwitch &sw, uint32_t ifNum, open_buffdesc *caps) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &) { return putText(caps, "bridge, router"); });
}

open_error_t openapiLldpIntfLocalDeviceMgmtAddressGet(SimSwitch &sw, uint32_t ifNum, uint32_t *addressFamily,
                                                      open_buffdesc *address) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &) {
    uint32_t network = htonl(sw.lldp().state().mgmtIpv4);
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &network, text, sizeof text);
    *addressFamily = 1;  // IPv4
    return putText(address, text);
  });
}

open_error_t openapiLldpIntfLocalDevicePortVlanGet(SimSwitch &sw, uint32_t ifNum, uint32_t *portVlan) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &intf) { return put(portVlan, intf.pvid); });
}

// Every port carries every VLAN of the switch.
open_error_t openapiLldpIntfLocalDeviceVlanGet(SimSwitch &sw, uint32_t ifNum, open_lldp_vlan_list_t *vlans) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &) {
    *vlans = open_lldp_vlan_list_t{};
    for (uint32_t vlanId : sw.vlans()) vlans->ids[vlans->numEntries++] = static_cast<uint16_t>(vlanId);
    return OPEN_E_NONE;
  });
}

open_error_t openapiLldpIntfLocalDeviceVlanNameGet(SimSwitch &sw, uint32_t ifNum, uint32_t vlanId,
                                                   open_buffdesc *name) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &) {
    open_error_t rc = sw.vlanCreated(vlanId);
    return rc == OPEN_E_NONE ? putText(name, vlanName(vlanId)) : rc;
  });
}

open_error_t openapiLldpIntfLocalDeviceMaxFrameSizeGet(SimSwitch &sw, uint32_t ifNum, uint32_t *maxFrameSize) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &intf) { return put(maxFrameSize, intf.maxFrameSize); });
}

// Every port could join a LAG; none has.
open_error_t openapiLldpIntfLocalPortLinkAggregationInfoGet(SimSwitch &sw, uint32_t ifNum,
                                                            uint32_t *aggregationCapable, uint32_t *aggregationMember,
                                                            uint32_t *aggregationId) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &) {
    *aggregationCapable = 1;
    *aggregationMember = 0;
    return put(aggregationId, 0);
  });
}

open_error_t openapiLldpdot3LocPortAutoNegSupportedGet(SimSwitch &sw, uint32_t ifNum, uint32_t *isCapable) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &intf) { return put(isCapable, negotiates(intf)); });
}

open_error_t openapiLldpdot3LocPortAutoNegEnabledGet(SimSwitch &sw, uint32_t ifNum, uint32_t *isEnabled) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &intf) { return put(isEnabled, negotiates(intf)); });
}

// 10BASE-T and 100BASE-TX in both duplexes, 1000BASE-T full duplex.
open_error_t openapiLldpdot3LocPortAutoNegAdvertizedCapGet(SimSwitch &sw, uint32_t ifNum, open_buffdesc *advrtCap) {
  return withPort(sw, ifNum,
                  [&](const SimSwitch::Interface &intf) { return putText(advrtCap, negotiates(intf) ? "6c01" : "0000"); });
}

open_error_t openapiLldpdot3LocPortAutoNegOperMauTypeGet(SimSwitch &sw, uint32_t ifNum, uint32_t *type) {
  return withPort(sw, ifNum, [&](const SimSwitch::Interface &intf) { return put(type, mauTypeOf(intf)); });
}

open_error_t openapiLldpXMedLocMediaPolicyVlanIDGet(SimSwitch &sw, uint32_t ifNum, uint32_t policyAppType,
                                                    uint32_t *vlanId) {
  return localPolicy(sw, ifNum, policyAppType, &LldpMediaPolicy::vlanId, vlanId);
}

open_error_t openapiLldpXMedLocMediaPolicyTaggedGet(SimSwitch &sw, uint32_t ifNum, uint32_t policyAppType,
                                                    uint32_t *taggedStatus) {
  return localPolicy(sw, ifNum, policyAppType, &LldpMediaPolicy::tagged, taggedStatus);
}

open_error_t openapiLldpXMedLocMediaPolicyPriorityGet(SimSwitch &sw, uint32_t ifNum, uint32_t policyAppType,
                                                      uint32_t *priority) {
  return localPolicy(sw, ifNum, policyAppType, &LldpMediaPolicy::priority, priority);
}

open_error_t openapiLldpXMedLocMediaPolicyDscpGet(SimSwitch &sw, uint32_t ifNum, uint32_t policyAppType,
                                                  uint32_t *dscp) {
  return localPolicy(sw, ifNum, policyAppType, &LldpMediaPolicy::dscp, dscp);
}

open_error_t openapiLldpMedLocDeviceClassGet(SimSwitch &, uint32_t *deviceClass) {
  return put(deviceClass, kMedDeviceClassNetworkConnectivity);
}

}  // namespace sim
