#include "sim/lldp/model.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include "sim/walk.h"

namespace {

// Capability bits of the LLDP-MED capabilities TLV, as the transmit mask numbers them.
constexpr uint8_t kMedCapabilities = 0x01, kMedNetworkPolicy = 0x02, kMedExtendedPd = 0x10, kMedInventory = 0x20;

// The distribution switch on the first 10G uplink, learnt half a minute after boot.
LldpNeighbour uplink() {
  LldpNeighbour n;
  n.ifNum = 25;
  n.remIndex = 1;
  n.timeStamp = 3127;
  n.chassisIdSubtype = 4;  // MAC address
  n.chassisId = "00:25:90:7C:1E:00";
  n.portIdSubtype = 5;  // interface name
  n.portId = "Te1/0/1";
  n.portDesc = "Downlink to SIM-2428X rack B4";
  n.systemName = "dist-sw1";
  n.systemDesc = "SIM-4832X 48x10G + 6x40G L3 Switch, 5.2.0.3, Linux 4.14.138";
  n.capSupported = "bridge, router";
  n.capEnabled = "bridge, router";
  n.mgmtAddresses = {{1, "192.168.0.1", 2, 1}};
  n.portVlan = 1;
  n.maxFrameSize = 9216;
  n.aggregation = true;
  n.aggCapable = 1;
  n.dot3 = true;  // fixed 10G optics: nothing to negotiate
  n.advertisedCap = "0000";
  n.mauType = 36;  // 10GBASE-SR
  return n;
}

// A smaller switch of the same family one floor up, on port 12.
LldpNeighbour accessSwitch() {
  LldpNeighbour n;
  n.ifNum = 12;
  n.remIndex = 2;
  n.timeStamp = 3544;
  n.chassisIdSubtype = 4;
  n.chassisId = "00:1E:C9:A2:44:10";
  n.portIdSubtype = 5;
  n.portId = "1/0/48";
  n.portDesc = "Uplink to floor 1";
  n.systemName = "access-sw2";
  n.systemDesc = "SIM-2448P 48x1G PoE+ L2+ Managed Switch, 3.5.1.4, Linux 4.14.138";
  n.capSupported = "bridge, router";
  n.capEnabled = "bridge";
  n.mgmtAddresses = {{1, "10.10.0.12", 2, 10},
                     {1, "192.168.0.12", 2, 1},
                     {2, "2001:db8:10::12", 2, 10},
                     {2, "fe80::21e:c9ff:fea2:4410", 2, 1}};
  n.portVlan = 1;
  n.vlans = {{1, "default"}, {10, "users"}, {20, "voice"}};
  n.maxFrameSize = 1518;
  n.aggregation = true;
  n.aggCapable = 1;
  n.dot3 = true;
  n.autoNegSupported = 1;
  n.autoNegEnabled = 1;
  n.advertisedCap = "6c01";  // 10/100 half and full, 1000 full
  n.mauType = 30;            // 1000BASE-T full duplex
  n.orgInfo = {{"00:1E:C9", 1}, {"00:1E:C9", 2}};
  n.unknownTlvs = {{24, "0102a0"}, {100, "534d2d7631"}};
  return n;
}

// A database server's NIC running lldpd, on port 9.
LldpNeighbour server() {
  LldpNeighbour n;
  n.ifNum = 9;
  n.remIndex = 3;
  n.timeStamp = 4020;
  n.chassisIdSubtype = 4;
  n.chassisId = "3C:EC:EF:1A:27:5E";
  n.portIdSubtype = 3;  // MAC address
  n.portId = "3C:EC:EF:1A:27:5F";
  n.portDesc = "eno2";
  n.systemName = "db01.example.net";
  n.systemDesc = "Debian GNU/Linux 12 (bookworm) Linux 6.1.0-18-amd64 #1 SMP PREEMPT_DYNAMIC Debian 6.1.76-1 "
                 "(2024-02-01) x86_64";
  n.capSupported = "bridge, router, station";
  n.capEnabled = "station";
  n.mgmtAddresses = {{1, "192.168.0.50", 2, 3}, {2, "fe80::3eec:efff:fe1a:275f", 2, 3}};
  n.maxFrameSize = 1514;
  n.aggregation = true;
  n.aggCapable = 1;
  n.dot3 = true;
  n.autoNegSupported = 1;
  n.autoNegEnabled = 1;
  n.advertisedCap = "6c01";
  n.mauType = 30;
  return n;
}

// A desk phone on port 5, plugged in again some hours after boot.
LldpNeighbour phone() {
  LldpNeighbour n;
  n.ifNum = 5;
  n.remIndex = 4;
  n.timeStamp = 5128807;
  n.chassisIdSubtype = 5;  // network address
  n.chassisId = "192.168.20.57";
  n.portIdSubtype = 3;
  n.portId = "00:04:F2:8C:1A:3E";
  n.portDesc = "1";
  n.systemName = "phone-4117";
  n.systemDesc = "Polycom;VVX-VVX_450;3111-48450-001,1;SIP/6.4.3.5156/11-Feb-22 16:08;UP/6.4.3.5156/11-Feb-22 16:08;";
  n.capSupported = "bridge, telephone";
  n.capEnabled = "telephone";
  n.mgmtAddresses = {{1, "192.168.20.57", 1, 0}};
  n.dot3 = true;
  n.autoNegSupported = 1;
  n.autoNegEnabled = 1;
  n.advertisedCap = "6c01";
  n.mauType = 30;
  n.med = true;
  n.medCapSupported[0] = kMedCapabilities | kMedNetworkPolicy | kMedExtendedPd | kMedInventory;
  n.medCapEnabled[0] = n.medCapSupported[0];
  n.medDeviceClass = 3;  // endpoint class III, communication device
  n.inventory = {"Rev A", "BootBlock 3.0.5.0", "6.4.3.5156", "0004F28C1A3E", "Polycom", "VVX 450", "IT-PH-4117"};
  n.poe.deviceType = 3;  // powered device
  n.poe.pdRequested = 65;  // 6.5 W
  n.poe.pdSource = 2;      // from the PSE
  n.poe.pdPriority = 3;    // high
  n.locations = {{3, "4085550157"}};
  n.policies = {{1, 20, 5, 46, 0, 1}, {2, 20, 4, 24, 0, 1}};
  return n;
}

using NeighbourKey = std::tuple<uint32_t, uint32_t, uint32_t>;
NeighbourKey keyOf(const LldpNeighbour &n) { return {n.ifNum, n.remIndex, n.timeStamp}; }

template <size_t N>
const char *nameIn(const char *const (&names)[N], uint32_t value) {
  return value >= 1 && value <= N ? names[value - 1] : nullptr;
}

}  // namespace

void LldpAgent::resetToDefault() {
  state_ = LldpState{};
  state_.mgmtIpv4 = kManagementIpv4;
  state_.neighbours = {phone(), server(), accessSwitch(), uplink()};
}

LldpPort LldpAgent::portOrDefault(uint32_t ifNum) const {
  auto found = state_.ports.find(ifNum);
  return found == state_.ports.end() ? LldpPort{} : found->second;
}

const LldpNeighbour *LldpAgent::find(uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp) const {
  for (const LldpNeighbour &n : state_.neighbours) {
    if (keyOf(n) == std::tie(ifNum, remIndex, timeStamp)) return &n;
  }
  return nullptr;
}

const LldpNeighbour *LldpAgent::next(uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp) const {
  const LldpNeighbour *found = nullptr;
  auto onPort = [ifNum](const LldpNeighbour &n) { return n.ifNum == ifNum; };
  walk::next(state_.neighbours, NeighbourKey{ifNum, remIndex, timeStamp}, found, keyOf, onPort);
  return found;
}

const char *lldpChassisIdSubtypeName(uint32_t subtype) {
  static const char *const kNames[] = {"Chassis Component", "Interface Alias", "Port Component", "MAC Address",
                                       "Network Address",   "Interface Name",  "Local"};
  return nameIn(kNames, subtype);
}

const char *lldpPortIdSubtypeName(uint32_t subtype) {
  static const char *const kNames[] = {"Interface Alias", "Port Component",   "MAC Address", "Network Address",
                                       "Interface Name",  "Agent Circuit ID", "Local"};
  return nameIn(kNames, subtype);
}

const char *lldpMauTypeName(uint32_t mauType) {
  // IANA MAU types 10 to 36: the twisted-pair, fibre and 10G types a port of this kind meets.
  static const char *const kNames[] = {
      "10BaseTHD",    "10BaseTFD",    "10BaseFLHD",   "10BaseFLFD",   "100BaseT4",    "100BaseTXHD",
      "100BaseTXFD",  "100BaseFXHD",  "100BaseFXFD",  "100BaseT2HD",  "100BaseT2FD",  "1000BaseXHD",
      "1000BaseXFD",  "1000BaseLXHD", "1000BaseLXFD", "1000BaseSXHD", "1000BaseSXFD", "1000BaseCXHD",
      "1000BaseCXFD", "1000BaseTHD",  "1000BaseTFD",  "10GigBaseX",   "10GigBaseLX4", "10GigBaseR",
      "10GigBaseER",  "10GigBaseLR",  "10GigBaseSR"};
  constexpr uint32_t kFirst = 10;
  return mauType >= kFirst ? nameIn(kNames, mauType - kFirst + 1) : nullptr;
}

namespace {

using schema::Integer;
using schema::Range;
using schema::Text;

constexpr Range kAny32{0, UINT32_MAX};
constexpr Range kMode{0, 1};
// Texts of a TLV: at most 255 octets.
constexpr size_t kTlvText = 255;

const schema::Record<LldpGlobals> kGlobalFields = {
    {"txInterval", &LldpGlobals::txInterval, Integer({kLldpTxIntervalRange.low, kLldpTxIntervalRange.high})},
    {"txHold", &LldpGlobals::txHold, Integer({kLldpTxHoldRange.low, kLldpTxHoldRange.high})},
    {"reinitDelay", &LldpGlobals::reinitDelay, Integer({kLldpReinitDelayRange.low, kLldpReinitDelayRange.high})},
    {"notificationInterval", &LldpGlobals::notificationInterval,
     Integer({kLldpNotificationIntervalRange.low, kLldpNotificationIntervalRange.high})},
    {"fastStartRepeatCount", &LldpGlobals::fastStartRepeatCount,
     Integer({kLldpFastStartRange.low, kLldpFastStartRange.high})},
};

const schema::Record<LldpPort> kPortFields = {
    {"transmit", &LldpPort::transmit, Integer(kMode)},
    {"receive", &LldpPort::receive, Integer(kMode)},
    {"notification", &LldpPort::notification, Integer(kMode)},
    {"txMgmtAddr", &LldpPort::txMgmtAddr, Integer(kMode)},
    {"tlvs", &LldpPort::tlvs, Integer({0, (1u << kLldpTlvTypes) - 1})},
    {"medMode", &LldpPort::medMode, Integer(kMode)},
    {"medConfigNotification", &LldpPort::medConfigNotification, Integer(kMode)},
    {"medTlvs", &LldpPort::medTlvs, Integer({0, kLldpMedTlvMask})},
};

const schema::Record<LldpMgmtAddress> kMgmtAddressFields = {
    {"family", &LldpMgmtAddress::family, Integer({1, 2})},
    {"address", &LldpMgmtAddress::address, Text(kTlvText, 1)},
    {"ifSubtype", &LldpMgmtAddress::ifSubtype, Integer({1, 3})},
    {"ifId", &LldpMgmtAddress::ifId, Integer(kAny32)},
};

const schema::Record<LldpVlanName> kVlanNameFields = {
    {"vlanId", &LldpVlanName::vlanId, Integer(kVlanIds)},
    {"name", &LldpVlanName::name, Text(32)},
};

const schema::Record<LldpOrgInfo> kOrgInfoFields = {
    {"oui", &LldpOrgInfo::oui, Text(kTlvText, 1)},
    {"subtype", &LldpOrgInfo::subtype, Integer({0, 255})},
};

const schema::Record<LldpUnknownTlv> kUnknownTlvFields = {
    {"type", &LldpUnknownTlv::type, Integer({9, 126}), schema::Flag::Unique},
    {"info", &LldpUnknownTlv::info, Text(2 * 511)},
};

const schema::Record<LldpMediaPolicy> kPolicyFields = {
    {"appType", &LldpMediaPolicy::appType, Integer({1, 8}), schema::Flag::Unique},
    {"vlanId", &LldpMediaPolicy::vlanId, Integer({0, 4094})},
    {"priority", &LldpMediaPolicy::priority, Integer({0, 7})},
    {"dscp", &LldpMediaPolicy::dscp, Integer({0, 63})},
    {"unknown", &LldpMediaPolicy::unknown, Integer(kMode)},
    {"tagged", &LldpMediaPolicy::tagged, Integer(kMode)},
};

const schema::Record<LldpPoe> kPoeFields = {
    {"deviceType", &LldpPoe::deviceType, Integer({0, 4})},
    {"pseAvailable", &LldpPoe::pseAvailable, Integer(kAny32)},
    {"pseSource", &LldpPoe::pseSource, Integer({0, 3})},
    {"psePriority", &LldpPoe::psePriority, Integer({0, 3})},
    {"pdRequested", &LldpPoe::pdRequested, Integer(kAny32)},
    {"pdSource", &LldpPoe::pdSource, Integer({0, 3})},
    {"pdPriority", &LldpPoe::pdPriority, Integer({0, 3})},
};

const schema::Record<LldpMedInventory> kInventoryFields = {
    {"hardwareRev", &LldpMedInventory::hardwareRev, Text(32)},
    {"firmwareRev", &LldpMedInventory::firmwareRev, Text(32)},
    {"softwareRev", &LldpMedInventory::softwareRev, Text(32)},
    {"serialNum", &LldpMedInventory::serialNum, Text(32)},
    {"mfgName", &LldpMedInventory::mfgName, Text(32)},
    {"modelName", &LldpMedInventory::modelName, Text(32)},
    {"assetId", &LldpMedInventory::assetId, Text(32)},
};

schema::List<Integer> twoBytes() { return schema::List<Integer>(Integer({0, 255}), "bytes"); }

const schema::Record<LldpNeighbour> kNeighbourFields = {
    {"ifNum", &LldpNeighbour::ifNum, Integer(Range{1, UINT32_MAX}), schema::Flag::Key},
    {"remIndex", &LldpNeighbour::remIndex, Integer(Range{1, UINT32_MAX}), schema::Flag::Key},
    {"timeStamp", &LldpNeighbour::timeStamp, Integer(kAny32), schema::Flag::Key},
    {"ttl", &LldpNeighbour::ttl, Integer({0, 65535})},
    {"chassisIdSubtype", &LldpNeighbour::chassisIdSubtype, Integer({1, 7})},
    {"chassisId", &LldpNeighbour::chassisId, Text(kTlvText, 1)},
    {"portIdSubtype", &LldpNeighbour::portIdSubtype, Integer({1, 7})},
    {"portId", &LldpNeighbour::portId, Text(kTlvText, 1)},
    {"portDesc", &LldpNeighbour::portDesc, Text(kTlvText)},
    {"systemName", &LldpNeighbour::systemName, Text(kTlvText)},
    {"systemDesc", &LldpNeighbour::systemDesc, Text(kTlvText)},
    {"capSupported", &LldpNeighbour::capSupported, Text(kTlvText)},
    {"capEnabled", &LldpNeighbour::capEnabled, Text(kTlvText)},
    {"mgmtAddresses", &LldpNeighbour::mgmtAddresses, schema::table(kMgmtAddressFields, "management addresses")},
    {"portVlan", &LldpNeighbour::portVlan, Integer({0, 4094})},
    {"vlans", &LldpNeighbour::vlans, schema::table(kVlanNameFields, "VLAN names")},
    {"maxFrameSize", &LldpNeighbour::maxFrameSize, Integer({0, 65535})},
    {"aggregation", &LldpNeighbour::aggregation, schema::Boolean{}},
    {"aggCapable", &LldpNeighbour::aggCapable, Integer(kMode)},
    {"aggMember", &LldpNeighbour::aggMember, Integer(kMode)},
    {"aggId", &LldpNeighbour::aggId, Integer(kAny32)},
    {"dot3", &LldpNeighbour::dot3, schema::Boolean{}},
    {"autoNegSupported", &LldpNeighbour::autoNegSupported, Integer(kMode)},
    {"autoNegEnabled", &LldpNeighbour::autoNegEnabled, Integer(kMode)},
    {"mauType", &LldpNeighbour::mauType, Integer(kAny32)},
    {"advertisedCap", &LldpNeighbour::advertisedCap, Text(kTlvText)},
    {"orgInfo", &LldpNeighbour::orgInfo, schema::table(kOrgInfoFields, "organisationally defined TLVs")},
    {"unknownTlvs", &LldpNeighbour::unknownTlvs, schema::table(kUnknownTlvFields, "unknown TLVs")},
    {"med", &LldpNeighbour::med, schema::Boolean{}},
    {"medCapSupported", &LldpNeighbour::medCapSupported, twoBytes()},
    {"medCapEnabled", &LldpNeighbour::medCapEnabled, twoBytes()},
    {"medDeviceClass", &LldpNeighbour::medDeviceClass, Integer({0, 4})},
    {"inventory", &LldpNeighbour::inventory, schema::Object<LldpMedInventory>(kInventoryFields)},
    {"poe", &LldpNeighbour::poe, schema::Object<LldpPoe>(kPoeFields)},
    {"locations", &LldpNeighbour::locations,
     schema::Keyed<uint32_t, std::string>(schema::named<uint32_t>("subtype", Integer({1, 3})),
                                          schema::named<std::string>("info", Text(kTlvText)), "locations")},
    {"policies", &LldpNeighbour::policies, schema::table(kPolicyFields, "media policies")},
};

const schema::Record<LldpState> kStateFields = {
    {"managementAddress", &LldpState::mgmtIpv4, schema::Ipv4{}},
    {"globals", &LldpState::globals, schema::Object<LldpGlobals>(kGlobalFields)},
    {"ports", &LldpState::ports,
     schema::Keyed<uint32_t, LldpPort>(schema::named<uint32_t>("ifNum", Integer(Range{1, UINT32_MAX})),
                                       schema::fieldsOf(kPortFields), "ports")},
    {"neighbours", &LldpState::neighbours, schema::table(kNeighbourFields, "neighbours")},
};

}  // namespace

cJSON *LldpAgent::toJson() const { return schema::dumpRecord(kStateFields, state_); }

// Neighbours are kept in key order, which the walks rely on; settings exist
// for physical ports only.
bool LldpAgent::fromJson(const cJSON *json, const schema::Where &where) {
  if (!schema::loadRecord(kStateFields, json, state_, where)) return false;
  std::sort(state_.neighbours.begin(), state_.neighbours.end(),
            [](const LldpNeighbour &a, const LldpNeighbour &b) { return keyOf(a) < keyOf(b); });
  size_t index = 0;
  for (const auto &[ifNum, port] : state_.ports) {
    const SimSwitch::Interface *intf = system_.findInterface(ifNum);
    if (intf == nullptr || intf->type != OPEN_INTF_TYPE_PHY) {
      return where.member("ports").element(index).member("ifNum").fail(std::to_string(ifNum) +
                                                                        " is not a physical port");
    }
    ++index;
  }
  return true;
}

void LldpAgent::adoptState(SimModel &loaded) { state_ = static_cast<LldpAgent &>(loaded).state_; }
