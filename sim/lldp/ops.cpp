// The simulated switch's answers to the LLDP operations.
#include <arpa/inet.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include "sim/lldp/model.h"
#include "sim/sim_ops.h"
#include "sim/device.h"

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
open_error_t lldpPort(const SimDevice &dev, uint32_t ifNum) {
  const SimSwitch::Interface *intf = dev.system().findInterface(ifNum);
  if (intf == nullptr) return OPEN_E_PARAM;
  if (intf->type == OPEN_INTF_TYPE_LAG) return OPEN_E_UNAVAIL;
  return intf->type == OPEN_INTF_TYPE_PHY ? OPEN_E_NONE : OPEN_E_PARAM;
}

// Neighbours are known on a port whose link is up and that receives LLDP.
bool hearsNeighbours(SimDevice &dev, uint32_t ifNum) {
  const SimSwitch::Interface *intf = dev.system().findInterface(ifNum);
  return intf != nullptr && intf->type == OPEN_INTF_TYPE_PHY && intf->linkUp && intf->adminEnabled &&
         dev.lldp().portOrDefault(ifNum).receive == 1;
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
open_error_t withNeighbour(SimDevice &dev, uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp, Read read) {
  open_error_t rc = lldpPort(dev, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  const LldpNeighbour *n = hearsNeighbours(dev, ifNum) ? dev.lldp().find(ifNum, remIndex, timeStamp) : nullptr;
  return n != nullptr ? read(*n) : OPEN_E_NOT_FOUND;
}

template <typename Read>
open_error_t withDot3(SimDevice &dev, uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp, Read read) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return n.dot3 ? read(n) : OPEN_E_NOT_FOUND; });
}

template <typename Read>
open_error_t withMed(SimDevice &dev, uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp, Read read) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return n.med ? read(n) : OPEN_E_NOT_FOUND; });
}

open_error_t remotePolicy(SimDevice &dev, uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp, uint32_t appType,
                          uint32_t LldpMediaPolicy::*field, uint32_t *out) {
  if (appType < 1 || appType > kMaxMediaPolicyAppType) return OPEN_E_PARAM;
  return withMed(dev, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
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
open_error_t withPort(SimDevice &dev, uint32_t ifNum, Read read) {
  open_error_t rc = lldpPort(dev, ifNum);
  return rc == OPEN_E_NONE ? read(*dev.system().findInterface(ifNum)) : rc;
}

std::string systemName(const SimDevice &dev) {
  const auto &mac = dev.system().identity().baseMac;
  char suffix[8];
  snprintf(suffix, sizeof suffix, "%02X%02X%02X", mac[3], mac[4], mac[5]);
  return dev.system().identity().machineModel + "-" + suffix;
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

open_error_t localPolicy(SimDevice &dev, uint32_t ifNum, uint32_t appType, uint32_t LldpMediaPolicy::*field,
                         uint32_t *out) {
  open_error_t rc = lldpPort(dev, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  if (appType < 1 || appType > kMaxMediaPolicyAppType) return OPEN_E_PARAM;
  if (dev.lldp().portOrDefault(ifNum).medMode != 1) return OPEN_E_NOT_FOUND;
  for (const LldpMediaPolicy &policy : kLocalPolicies) {
    if (policy.appType == appType) return put(out, policy.*field);
  }
  return OPEN_E_NOT_FOUND;
}

// ---- Settings ----

open_error_t globalGet(SimDevice &dev, uint32_t LldpGlobals::*field, uint32_t *value) {
  return put(value, dev.lldp().state().globals.*field);
}

open_error_t globalSet(SimDevice &dev, uint32_t LldpGlobals::*field, const LldpRange &range, uint32_t value) {
  open_error_t rc = range.check(value);
  if (rc == OPEN_E_NONE) dev.lldp().state().globals.*field = value;
  return rc;
}

open_error_t modeGet(SimDevice &dev, uint32_t ifNum, uint32_t LldpPort::*field, uint32_t *mode) {
  open_error_t rc = lldpPort(dev, ifNum);
  if (rc == OPEN_E_NONE) *mode = dev.lldp().portOrDefault(ifNum).*field;
  return rc;
}

open_error_t modeSet(SimDevice &dev, uint32_t ifNum, uint32_t LldpPort::*field, uint32_t mode) {
  open_error_t rc = lldpPort(dev, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  if (mode > 1) return OPEN_E_PARAM;
  dev.lldp().port(ifNum).*field = mode;
  return OPEN_E_NONE;
}

}  // namespace

namespace sim {

open_error_t openapiLldpTxHoldGet(SimDevice &dev, uint32_t *hold) { return globalGet(dev, &LldpGlobals::txHold, hold); }
open_error_t openapiLldpTxHoldSet(SimDevice &dev, uint32_t hold) {
  return globalSet(dev, &LldpGlobals::txHold, kLldpTxHoldRange, hold);
}
open_error_t openapiLldpTxIntervalGet(SimDevice &dev, uint32_t *interval) {
  return globalGet(dev, &LldpGlobals::txInterval, interval);
}
open_error_t openapiLldpTxIntervalSet(SimDevice &dev, uint32_t interval) {
  return globalSet(dev, &LldpGlobals::txInterval, kLldpTxIntervalRange, interval);
}
open_error_t openapiLldpTxReinitDelayGet(SimDevice &dev, uint32_t *delay) {
  return globalGet(dev, &LldpGlobals::reinitDelay, delay);
}
open_error_t openapiLldpTxReinitDelaySet(SimDevice &dev, uint32_t delay) {
  return globalSet(dev, &LldpGlobals::reinitDelay, kLldpReinitDelayRange, delay);
}
open_error_t openapiLldpNotificationIntervalGet(SimDevice &dev, uint32_t *interval) {
  return globalGet(dev, &LldpGlobals::notificationInterval, interval);
}
open_error_t openapiLldpNotificationIntervalSet(SimDevice &dev, uint32_t interval) {
  return globalSet(dev, &LldpGlobals::notificationInterval, kLldpNotificationIntervalRange, interval);
}
open_error_t openapiLldpXMedFastStartRepeatCountGet(SimDevice &dev, uint32_t *count) {
  return globalGet(dev, &LldpGlobals::fastStartRepeatCount, count);
}
open_error_t openapiLldpXMedFastStartRepeatCountSet(SimDevice &dev, uint32_t count) {
  return globalSet(dev, &LldpGlobals::fastStartRepeatCount, kLldpFastStartRange, count);
}

open_error_t openapiLldpIntfTransmitModeGet(SimDevice &dev, uint32_t ifNum, uint32_t *mode) {
  return modeGet(dev, ifNum, &LldpPort::transmit, mode);
}
open_error_t openapiLldpIntfTransmitModeSet(SimDevice &dev, uint32_t ifNum, uint32_t mode) {
  return modeSet(dev, ifNum, &LldpPort::transmit, mode);
}
open_error_t openapiLldpIntfReceiveModeGet(SimDevice &dev, uint32_t ifNum, uint32_t *mode) {
  return modeGet(dev, ifNum, &LldpPort::receive, mode);
}
open_error_t openapiLldpIntfReceiveModeSet(SimDevice &dev, uint32_t ifNum, uint32_t mode) {
  return modeSet(dev, ifNum, &LldpPort::receive, mode);
}
open_error_t openapiLldpIntfNotificationModeGet(SimDevice &dev, uint32_t ifNum, uint32_t *mode) {
  return modeGet(dev, ifNum, &LldpPort::notification, mode);
}
open_error_t openapiLldpIntfNotificationModeSet(SimDevice &dev, uint32_t ifNum, uint32_t mode) {
  return modeSet(dev, ifNum, &LldpPort::notification, mode);
}
open_error_t openapiLldpIntfTxMgmtAddrModeGet(SimDevice &dev, uint32_t ifNum, uint32_t *mode) {
  return modeGet(dev, ifNum, &LldpPort::txMgmtAddr, mode);
}
open_error_t openapiLldpIntfTxMgmtAddrModeSet(SimDevice &dev, uint32_t ifNum, uint32_t mode) {
  return modeSet(dev, ifNum, &LldpPort::txMgmtAddr, mode);
}
open_error_t openapiLldpMedIntfModeGet(SimDevice &dev, uint32_t ifNum, uint32_t *mode) {
  return modeGet(dev, ifNum, &LldpPort::medMode, mode);
}
open_error_t openapiLldpMedIntfModeSet(SimDevice &dev, uint32_t ifNum, uint32_t mode) {
  return modeSet(dev, ifNum, &LldpPort::medMode, mode);
}
open_error_t openapiLldpMedIntfConfigNotificationModeGet(SimDevice &dev, uint32_t ifNum, uint32_t *mode) {
  return modeGet(dev, ifNum, &LldpPort::medConfigNotification, mode);
}
open_error_t openapiLldpMedIntfConfigNotificationModeSet(SimDevice &dev, uint32_t ifNum, uint32_t mode) {
  return modeSet(dev, ifNum, &LldpPort::medConfigNotification, mode);
}

open_error_t openapiLldpIntfTLVTransmitModeGet(SimDevice &dev, uint32_t ifNum, uint32_t tlvType, uint32_t *mode) {
  open_error_t rc = lldpPort(dev, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  if (tlvType >= kLldpTlvTypes) return OPEN_E_PARAM;
  return put(mode, (dev.lldp().portOrDefault(ifNum).tlvs >> tlvType) & 1u);
}

open_error_t openapiLldpIntfTLVTransmitModeSet(SimDevice &dev, uint32_t ifNum, uint32_t tlvType, uint32_t mode) {
  open_error_t rc = lldpPort(dev, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  if (tlvType >= kLldpTlvTypes || mode > 1) return OPEN_E_PARAM;
  uint16_t &tlvs = dev.lldp().port(ifNum).tlvs;
  tlvs = static_cast<uint16_t>(mode == 1 ? tlvs | (1u << tlvType) : tlvs & ~(1u << tlvType));
  return OPEN_E_NONE;
}

open_error_t openapiLldpMedIntfTransmitTlvGet(SimDevice &dev, uint32_t ifNum, uint16_t *mask) {
  open_error_t rc = lldpPort(dev, ifNum);
  if (rc == OPEN_E_NONE) *mask = dev.lldp().portOrDefault(ifNum).medTlvs;
  return rc;
}

open_error_t openapiLldpMedIntfTransmitTlvSet(SimDevice &dev, uint32_t ifNum, uint16_t mask) {
  open_error_t rc = lldpPort(dev, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  if ((mask & ~kLldpMedTlvMask) != 0) return OPEN_E_PARAM;
  dev.lldp().port(ifNum).medTlvs = mask;
  return OPEN_E_NONE;
}

open_error_t openapiLldpIntfNextGet(SimDevice &dev, uint32_t ifNum, uint32_t *nextIfNum) {
  return dev.system().nextInterface(OPEN_INTF_TYPE_PHY, ifNum, nextIfNum);
}

// ---- Neighbours ----

open_error_t openapiLldpMgmtStrLenGet(SimDevice &, uint32_t *strLen) { return put(strLen, kLldpStrLen); }

open_error_t openapiLldpRemoteIntfFirstGet(SimDevice &dev, uint32_t *ifNum) {
  return openapiLldpRemoteIntfNextGet(dev, 0, ifNum);
}

open_error_t openapiLldpRemoteIntfNextGet(SimDevice &dev, uint32_t ifNum, uint32_t *nextIfNum) {
  uint32_t next = dev.lldp().nextPortWithNeighbours(ifNum, [&](uint32_t port) { return hearsNeighbours(dev, port); });
  return next != 0 ? put(nextIfNum, next) : OPEN_E_NOT_FOUND;
}

open_error_t openapiLldpIntfRemoteDeviceNextGet(SimDevice &dev, uint32_t ifNum, uint32_t *remIndex,
                                                uint32_t *timeStamp) {
  open_error_t rc = lldpPort(dev, ifNum);
  if (rc != OPEN_E_NONE) return rc;
  const LldpNeighbour *n = hearsNeighbours(dev, ifNum) ? dev.lldp().next(ifNum, *remIndex, *timeStamp) : nullptr;
  if (n == nullptr) return OPEN_E_NOT_FOUND;
  *remIndex = n->remIndex;
  *timeStamp = n->timeStamp;
  return OPEN_E_NONE;
}

open_error_t openapiLldpIntfRemoteDeviceEntryNextGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                     uint32_t timeStamp, uint32_t *addrFamily, open_buffdesc *address,
                                                     uint32_t *addrLen, uint32_t *subType, uint32_t *intfId) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    const LldpMgmtAddress *entry = nullptr;
    open_error_t rc = nextMgmtAddress(n, addrFamily, address, &entry);
    if (rc != OPEN_E_NONE) return rc;
    *addrLen = addressLength(entry->family);
    *subType = entry->ifSubtype;
    return put(intfId, entry->ifId);
  });
}

open_error_t openapiLldpIntfRemoteDeviceMgmtAddressNextGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                           uint32_t timeStamp, uint32_t *addrFamily,
                                                           open_buffdesc *address, uint32_t *addrLen) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    const LldpMgmtAddress *entry = nullptr;
    open_error_t rc = nextMgmtAddress(n, addrFamily, address, &entry);
    return rc == OPEN_E_NONE ? put(addrLen, addressLength(entry->family)) : rc;
  });
}

open_error_t openapiLldpIntfRemoteDeviceChassisIdGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                     uint32_t timeStamp, uint32_t *subtype, open_buffdesc *chassisId) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    *subtype = n.chassisIdSubtype;
    return putText(chassisId, n.chassisId);
  });
}

open_error_t openapiLldpIntfRemoteDevicePortIdGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                  uint32_t timeStamp, uint32_t *subtype, open_buffdesc *portId) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    *subtype = n.portIdSubtype;
    return putText(portId, n.portId);
  });
}

open_error_t openapiLldpIntfRemoteDeviceSystemNameGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                      uint32_t timeStamp, open_buffdesc *systemName) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentText(systemName, n.systemName); });
}

open_error_t openapiLldpIntfRemoteDeviceSystemDescGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                      uint32_t timeStamp, open_buffdesc *systemDesc) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentText(systemDesc, n.systemDesc); });
}

open_error_t openapiLldpIntfRemoteDevicePortDescGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                    uint32_t timeStamp, open_buffdesc *portDesc) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentText(portDesc, n.portDesc); });
}

open_error_t openapiLldpIntfRemoteDeviceSysCapSuppGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                      uint32_t timeStamp, open_buffdesc *sysCapSupp) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentText(sysCapSupp, n.capSupported); });
}

open_error_t openapiLldpIntfRemoteDeviceSysCapEnabledGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                         uint32_t timeStamp, open_buffdesc *sysCapEnabled) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentText(sysCapEnabled, n.capEnabled); });
}

open_error_t openapiLldpIntfRemoteDeviceTTLGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp,
                                               uint32_t *ttl) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) { return put(ttl, n.ttl); });
}

open_error_t openapiLldpIntfRemoteDevicePortVlanGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                    uint32_t timeStamp, uint32_t *portVlan) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentNumber(portVlan, n.portVlan); });
}

// VLAN entries have info indexes 1, 2, ...; 0 starts the walk.
open_error_t openapiLldpRemoteDeviceVlanInfoIndexGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                     uint32_t timeStamp, uint32_t infoIndex, uint32_t *nextInfoIndex) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    return infoIndex < n.vlans.size() ? put(nextInfoIndex, infoIndex + 1) : OPEN_E_NOT_FOUND;
  });
}

open_error_t openapiLldpIntfRemoteDeviceVlanIdAndNameGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                         uint32_t timeStamp, uint32_t infoIndex, uint32_t *vlan,
                                                         open_buffdesc *vlanName) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    if (infoIndex < 1 || infoIndex > n.vlans.size()) return OPEN_E_NOT_FOUND;
    *vlan = n.vlans[infoIndex - 1].vlanId;
    return putText(vlanName, n.vlans[infoIndex - 1].name);
  });
}

open_error_t openapiLldpIntfRemoteDeviceMaxFrameSizeGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                        uint32_t timeStamp, uint32_t *maxFrameSize) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp,
                       [&](const LldpNeighbour &n) { return sentNumber(maxFrameSize, n.maxFrameSize); });
}

open_error_t openapiLldpIntfRemotePortLinkAggregationInfoGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                             uint32_t timeStamp, uint32_t *aggregationCapable,
                                                             uint32_t *aggregationMember, uint32_t *aggregationId) {
  return withNeighbour(dev, ifNum, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    if (!n.aggregation) return OPEN_E_NOT_FOUND;
    *aggregationCapable = n.aggCapable;
    *aggregationMember = n.aggMember;
    return put(aggregationId, n.aggId);
  });
}

// Organisationally defined TLVs have info indexes 0, 1, ... in the order received.
open_error_t openapiLldpRemOrgDefOUIGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp,
                                        uint32_t infoIndex, open_buffdesc *oui) {
  return withNeighbour(dev, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) {
    return infoIndex < n.orgInfo.size() ? putText(oui, n.orgInfo[infoIndex].oui) : OPEN_E_NOT_FOUND;
  });
}

open_error_t openapiLldpRemOrgDefSubtypeGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp,
                                            uint32_t infoIndex, uint32_t *subtype) {
  return withNeighbour(dev, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) {
    return infoIndex < n.orgInfo.size() ? put(subtype, n.orgInfo[infoIndex].subtype) : OPEN_E_NOT_FOUND;
  });
}

open_error_t openapiLldpRemUnknownTLVEntryNextGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                  uint32_t timestamp, uint32_t tlvType, uint32_t *nextTlvType) {
  return withNeighbour(dev, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) {
    for (const LldpUnknownTlv &tlv : n.unknownTlvs) {
      if (tlv.type > tlvType) return put(nextTlvType, tlv.type);
    }
    return OPEN_E_NOT_FOUND;
  });
}

open_error_t openapiLldpRemUnknownTLVEntryIsExists(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                   uint32_t timestamp, uint32_t tlvType, uint32_t *exists) {
  return withNeighbour(dev, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) {
    *exists = 0;
    for (const LldpUnknownTlv &tlv : n.unknownTlvs) *exists |= tlv.type == tlvType ? 1u : 0u;
    return OPEN_E_NONE;
  });
}

open_error_t openapiLldpRemUnknownTLVInfoGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp,
                                             uint32_t tlvType, open_buffdesc *info) {
  return withNeighbour(dev, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) {
    for (const LldpUnknownTlv &tlv : n.unknownTlvs) {
      if (tlv.type == tlvType) return putText(info, tlv.info);
    }
    return OPEN_E_NOT_FOUND;
  });
}

open_error_t openapiLldpChassisIdSubtypeStringGet(SimDevice &, uint32_t subtype, open_buffdesc *subtypeStr) {
  const char *name = lldpChassisIdSubtypeName(subtype);
  return name != nullptr ? putText(subtypeStr, name) : OPEN_E_PARAM;
}

open_error_t openapiLldpPortIdSubtypeStringGet(SimDevice &, uint32_t subtype, open_buffdesc *subtypeStr) {
  const char *name = lldpPortIdSubtypeName(subtype);
  return name != nullptr ? putText(subtypeStr, name) : OPEN_E_PARAM;
}

open_error_t openapiLldpdot3RemPortAutoNegSupportedGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                       uint32_t timestamp, uint32_t *isCapable) {
  return withDot3(dev, ifNum, remIndex, timestamp,
                  [&](const LldpNeighbour &n) { return put(isCapable, n.autoNegSupported); });
}

open_error_t openapiLldpdot3RemPortAutoNegEnabledGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                     uint32_t timestamp, uint32_t *isEnabled) {
  return withDot3(dev, ifNum, remIndex, timestamp,
                  [&](const LldpNeighbour &n) { return put(isEnabled, n.autoNegEnabled); });
}

open_error_t openapiLldpdot3RemPortAutoNegAdvertizedCapGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                           uint32_t timestamp, open_buffdesc *advrtCap) {
  return withDot3(dev, ifNum, remIndex, timestamp,
                  [&](const LldpNeighbour &n) { return putText(advrtCap, n.advertisedCap); });
}

open_error_t openapiLldpdot3RemPortAutoNegOperMauTypeGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex,
                                                         uint32_t timestamp, uint32_t *type) {
  return withDot3(dev, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) { return put(type, n.mauType); });
}

open_error_t openapiLldpdot3RemPortAutoNegOperMauStringGet(SimDevice &, uint32_t mauType, open_buffdesc *mauString) {
  const char *name = lldpMauTypeName(mauType);
  return name != nullptr ? putText(mauString, name) : OPEN_E_PARAM;
}

open_error_t openapiLldpMedRemoteCapabilitiesGet(SimDevice &dev, uint32_t intf, uint32_t remIndex, uint32_t timeStamp,
                                                 open_lldp_med_capabilities_t *supportedCapabilities,
                                                 open_lldp_med_capabilities_t *enabledCapabilities) {
  return withMed(dev, intf, remIndex, timeStamp, [&](const LldpNeighbour &n) {
    memcpy(supportedCapabilities->bitmap, n.medCapSupported.data(), sizeof n.medCapSupported);
    memcpy(enabledCapabilities->bitmap, n.medCapEnabled.data(), sizeof n.medCapEnabled);
    return OPEN_E_NONE;
  });
}

open_error_t openapiLldpMedRemoteDeviceClassGet(SimDevice &dev, uint32_t intf, uint32_t remIndex, uint32_t timeStamp,
                                                uint32_t *deviceClass) {
  return withMed(dev, intf, remIndex, timeStamp,
                 [&](const LldpNeighbour &n) { return put(deviceClass, n.medDeviceClass); });
}

open_error_t openapiLldpMedRemoteModelNameSizeGet(SimDevice &, uint32_t *size) { return put(size, kMedModelNameSize); }

open_error_t openapiLldpMedRemoteModelNameGet(SimDevice &dev, uint32_t intf, uint32_t remIndex, uint32_t timeStamp,
                                              open_buffdesc *modelName) {
  return withMed(dev, intf, remIndex, timeStamp,
                 [&](const LldpNeighbour &n) { return sentText(modelName, n.inventory.modelName); });
}

#define LLDP_MED_INVENTORY(name, member)                                                                       \
  open_error_t name(SimDevice &dev, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp, open_buffdesc *out) { \
    return withMed(dev, ifNum, remIndex, timestamp,                                                             \
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
  open_error_t name(SimDevice &dev, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp, uint32_t *out) { \
    return withMed(dev, ifNum, remIndex, timestamp,                                                        \
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

open_error_t openapiLldpMedRemLocationInfoGet(SimDevice &dev, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp,
                                              uint32_t subType, open_buffdesc *locInfo) {
  if (subType < 1 || subType > kMaxLocationSubtype) return OPEN_E_PARAM;
  return withMed(dev, ifNum, remIndex, timestamp, [&](const LldpNeighbour &n) {
    auto found = n.locations.find(subType);
    return found != n.locations.end() ? putText(locInfo, found->second) : OPEN_E_NOT_FOUND;
  });
}

#define LLDP_MED_POLICY(name, member)                                                                     \
  open_error_t name(SimDevice &dev, uint32_t ifNum, uint32_t remIndex, uint32_t timestamp,                 \
                    uint32_t policyAppType, uint32_t *out) {                                              \
    return remotePolicy(dev, ifNum, remIndex, timestamp, policyAppType, &LldpMediaPolicy::member, out); \
  }
LLDP_MED_POLICY(openapiLldpMedRemMediaPolicyVlanIdGet, vlanId)
LLDP_MED_POLICY(openapiLldpMedRemMediaPolicyPriorityGet, priority)
LLDP_MED_POLICY(openapiLldpMedRemMediaPolicyDscpGet, dscp)
LLDP_MED_POLICY(openapiLldpMedRemMediaPolicyUnknownGet, unknown)
LLDP_MED_POLICY(openapiLldpMedRemMediaPolicyTaggedGet, tagged)
#undef LLDP_MED_POLICY

// ---- The switch's own side ----

open_error_t openapiLldpIntfLocalDeviceChassisIdGet(SimDevice &dev, uint32_t ifNum, uint32_t *subtype,
                                                    open_buffdesc *chassisId) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &) {
    *subtype = 4;  // MAC address
    return putText(chassisId, dev.system().baseMacText());
  });
}

open_error_t openapiLldpIntfLocalDevicePortIdGet(SimDevice &dev, uint32_t ifNum, uint32_t *subtype,
                                                 open_buffdesc *portId) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &intf) {
    *subtype = 5;  // interface name
    return putText(portId, intf.name);
  });
}

open_error_t openapiLldpIntfLocalDevicePortDescGet(SimDevice &dev, uint32_t ifNum, open_buffdesc *portDesc) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &intf) { return putText(portDesc, portDescription(intf)); });
}

open_error_t openapiLldpIntfLocalDeviceSystemNameGet(SimDevice &dev, uint32_t ifNum, open_buffdesc *name) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &) { return putText(name, systemName(dev)); });
}

open_error_t openapiLldpIntfLocalDeviceSystemDescGet(SimDevice &dev, uint32_t ifNum, open_buffdesc *desc) {
  return withPort(dev, ifNum,
                  [&](const SimSwitch::Interface &) { return putText(desc, dev.system().identity().systemDescription); });
}

// A bridge with routing, both in use.
open_error_t openapiLldpIntfLocalDeviceSysCapSuppGet(SimDevice &dev, uint32_t ifNum, open_buffdesc *caps) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &) { return putText(caps, "bridge, router"); });
}

open_error_t openapiLldpIntfLocalDeviceSysCapEnabledGet(SimDevice &dev, uint32_t ifNum, open_buffdesc *caps) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &) { return putText(caps, "bridge, router"); });
}

open_error_t openapiLldpIntfLocalDeviceMgmtAddressGet(SimDevice &dev, uint32_t ifNum, uint32_t *addressFamily,
                                                      open_buffdesc *address) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &) {
    uint32_t network = htonl(dev.lldp().state().mgmtIpv4);
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &network, text, sizeof text);
    *addressFamily = 1;  // IPv4
    return putText(address, text);
  });
}

open_error_t openapiLldpIntfLocalDevicePortVlanGet(SimDevice &dev, uint32_t ifNum, uint32_t *portVlan) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &intf) { return put(portVlan, intf.pvid); });
}

// Every port carries every VLAN of the switch.
open_error_t openapiLldpIntfLocalDeviceVlanGet(SimDevice &dev, uint32_t ifNum, open_lldp_vlan_list_t *vlans) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &) {
    *vlans = open_lldp_vlan_list_t{};
    for (uint32_t vlanId : dev.system().vlans()) vlans->ids[vlans->numEntries++] = static_cast<uint16_t>(vlanId);
    return OPEN_E_NONE;
  });
}

open_error_t openapiLldpIntfLocalDeviceVlanNameGet(SimDevice &dev, uint32_t ifNum, uint32_t vlanId,
                                                   open_buffdesc *name) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &) {
    open_error_t rc = dev.system().vlanCreated(vlanId);
    return rc == OPEN_E_NONE ? putText(name, vlanName(vlanId)) : rc;
  });
}

open_error_t openapiLldpIntfLocalDeviceMaxFrameSizeGet(SimDevice &dev, uint32_t ifNum, uint32_t *maxFrameSize) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &intf) { return put(maxFrameSize, intf.maxFrameSize); });
}

// Every port could join a LAG; none has.
open_error_t openapiLldpIntfLocalPortLinkAggregationInfoGet(SimDevice &dev, uint32_t ifNum,
                                                            uint32_t *aggregationCapable, uint32_t *aggregationMember,
                                                            uint32_t *aggregationId) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &) {
    *aggregationCapable = 1;
    *aggregationMember = 0;
    return put(aggregationId, 0);
  });
}

open_error_t openapiLldpdot3LocPortAutoNegSupportedGet(SimDevice &dev, uint32_t ifNum, uint32_t *isCapable) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &intf) { return put(isCapable, negotiates(intf)); });
}

open_error_t openapiLldpdot3LocPortAutoNegEnabledGet(SimDevice &dev, uint32_t ifNum, uint32_t *isEnabled) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &intf) { return put(isEnabled, negotiates(intf)); });
}

// 10BASE-T and 100BASE-TX in both duplexes, 1000BASE-T full duplex.
open_error_t openapiLldpdot3LocPortAutoNegAdvertizedCapGet(SimDevice &dev, uint32_t ifNum, open_buffdesc *advrtCap) {
  return withPort(dev, ifNum,
                  [&](const SimSwitch::Interface &intf) { return putText(advrtCap, negotiates(intf) ? "6c01" : "0000"); });
}

open_error_t openapiLldpdot3LocPortAutoNegOperMauTypeGet(SimDevice &dev, uint32_t ifNum, uint32_t *type) {
  return withPort(dev, ifNum, [&](const SimSwitch::Interface &intf) { return put(type, mauTypeOf(intf)); });
}

open_error_t openapiLldpXMedLocMediaPolicyVlanIDGet(SimDevice &dev, uint32_t ifNum, uint32_t policyAppType,
                                                    uint32_t *vlanId) {
  return localPolicy(dev, ifNum, policyAppType, &LldpMediaPolicy::vlanId, vlanId);
}

open_error_t openapiLldpXMedLocMediaPolicyTaggedGet(SimDevice &dev, uint32_t ifNum, uint32_t policyAppType,
                                                    uint32_t *taggedStatus) {
  return localPolicy(dev, ifNum, policyAppType, &LldpMediaPolicy::tagged, taggedStatus);
}

open_error_t openapiLldpXMedLocMediaPolicyPriorityGet(SimDevice &dev, uint32_t ifNum, uint32_t policyAppType,
                                                      uint32_t *priority) {
  return localPolicy(dev, ifNum, policyAppType, &LldpMediaPolicy::priority, priority);
}

open_error_t openapiLldpXMedLocMediaPolicyDscpGet(SimDevice &dev, uint32_t ifNum, uint32_t policyAppType,
                                                  uint32_t *dscp) {
  return localPolicy(dev, ifNum, policyAppType, &LldpMediaPolicy::dscp, dscp);
}

open_error_t openapiLldpMedLocDeviceClassGet(SimDevice &, uint32_t *deviceClass) {
  return put(deviceClass, kMedDeviceClassNetworkConnectivity);
}

}  // namespace sim
