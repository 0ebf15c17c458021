#pragma once
// The simulated switch's LLDP agent: global timers, per-port modes and TLV
// selections, and the neighbours learnt on its ports with their LLDP-MED
// and IEEE 802.3 data. The state is plain records, so that a field table
// can describe it; what depends on the switch (which ports are physical,
// whose link is up) is decided by the operations.
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "open/openapi.h"
#include "sim/model.h"
#include "sim/system/model.h"

struct LldpRange {
  uint32_t low, high;
  open_error_t check(uint32_t value) const { return value >= low && value <= high ? OPEN_E_NONE : OPEN_E_PARAM; }
};
constexpr LldpRange kLldpTxIntervalRange{5, 32768};
constexpr LldpRange kLldpTxHoldRange{2, 10};
constexpr LldpRange kLldpReinitDelayRange{1, 10};
constexpr LldpRange kLldpNotificationIntervalRange{5, 3600};
constexpr LldpRange kLldpFastStartRange{1, 10};

struct LldpGlobals {
  uint32_t txInterval = 30;  // seconds
  uint32_t txHold = 4;       // multiplier of the interval giving the TTL
  uint32_t reinitDelay = 2;  // seconds
  uint32_t notificationInterval = 5;
  uint32_t fastStartRepeatCount = 3;
};

// Optional TLVs by OpEN type number: 0 system description, 1 system name,
// 2 system capabilities, 3 port description, 4 management address, 5 port
// VLAN, 6 VLAN names, 7 maximum frame size, 8 link aggregation.
constexpr uint32_t kLldpTlvTypes = 9;
// LLDP-MED TLVs: 0x01 capabilities, 0x02 network policy, 0x04 location,
// 0x08 extended PSE, 0x10 extended PD, 0x20 inventory.
constexpr uint16_t kLldpMedTlvMask = 0x3F;

// Modes are 1 (enabled) or 0.
struct LldpPort {
  uint32_t transmit = 1;
  uint32_t receive = 1;
  uint32_t notification = 0;
  uint32_t txMgmtAddr = 1;
  uint16_t tlvs = 0x1BF;  // all but the VLAN names, which make the frame long
  uint32_t medMode = 1;
  uint32_t medConfigNotification = 0;
  uint16_t medTlvs = 0x03;  // capabilities and network policy
};

struct LldpMgmtAddress {
  uint32_t family;  // IANA address family: 1 IPv4, 2 IPv6
  std::string address;
  uint32_t ifSubtype;  // interface numbering: 1 unknown, 2 ifIndex, 3 system port number
  uint32_t ifId;
};

struct LldpVlanName {
  uint32_t vlanId;
  std::string name;
};

struct LldpOrgInfo {
  std::string oui;
  uint32_t subtype;
};

struct LldpUnknownTlv {
  uint32_t type;
  std::string info;  // the value's bytes as hexadecimal text
};

struct LldpMediaPolicy {
  uint32_t appType;  // 1 voice, 2 voice signalling, ... 8 video signalling
  uint32_t vlanId, priority, dscp, unknown, tagged;
};

// Extended power via MDI; 0 in a field means the neighbour did not send it.
struct LldpPoe {
  uint32_t deviceType = 0;  // 1 unknown, 2 PSE, 3 PD, 4 none
  uint32_t pseAvailable = 0, pseSource = 0, psePriority = 0;  // power in tenths of a watt
  uint32_t pdRequested = 0, pdSource = 0, pdPriority = 0;
};

struct LldpMedInventory {
  std::string hardwareRev, firmwareRev, softwareRev, serialNum, mfgName, modelName, assetId;
};

// One neighbour as learnt; empty texts and zero numbers stand for TLVs it did not send.
struct LldpNeighbour {
  uint32_t ifNum = 0, remIndex = 0, timeStamp = 0;  // hundredths of a second of uptime when learnt
  uint32_t ttl = 120;
  uint32_t chassisIdSubtype = 0;
  std::string chassisId;
  uint32_t portIdSubtype = 0;
  std::string portId, portDesc, systemName, systemDesc, capSupported, capEnabled;
  std::vector<LldpMgmtAddress> mgmtAddresses;  // in key order: family, then address
  uint32_t portVlan = 0;
  std::vector<LldpVlanName> vlans;  // info index 1 onwards
  uint32_t maxFrameSize = 0;
  bool aggregation = false;
  uint32_t aggCapable = 0, aggMember = 0, aggId = 0;
  bool dot3 = false;
  uint32_t autoNegSupported = 0, autoNegEnabled = 0, mauType = 0;
  std::string advertisedCap;
  std::vector<LldpOrgInfo> orgInfo;         // info index 0 onwards
  std::vector<LldpUnknownTlv> unknownTlvs;  // ascending type
  bool med = false;
  std::array<uint8_t, 2> medCapSupported{}, medCapEnabled{};
  uint32_t medDeviceClass = 0;  // 1-3 endpoint classes, 4 network connectivity
  LldpMedInventory inventory;
  LldpPoe poe;
  std::map<uint32_t, std::string> locations;  // by subtype: 1 coordinates, 2 civic address, 3 ELIN
  std::vector<LldpMediaPolicy> policies;
};

struct LldpState {
  uint32_t mgmtIpv4 = 0;  // the address the switch advertises, host order
  LldpGlobals globals;
  std::map<uint32_t, LldpPort> ports;   // by physical port; an absent port has the defaults
  std::vector<LldpNeighbour> neighbours;  // ascending (ifNum, remIndex, timeStamp)
};

class LldpAgent : public SimModel {
 public:
  explicit LldpAgent(const SimSwitch &system) : system_(system) {}

  const char *stateKey() const override { return "lldp"; }
  void resetToDefault() override;
  cJSON *toJson() const override;
  bool fromJson(const cJSON *json, const schema::Where &where) override;
  void adoptState(SimModel &loaded) override;

  LldpState &state() { return state_; }
  const LldpState &state() const { return state_; }

  LldpPort &port(uint32_t ifNum) { return state_.ports[ifNum]; }
  LldpPort portOrDefault(uint32_t ifNum) const;
  // The neighbour of exactly these keys, or NULL.
  const LldpNeighbour *find(uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp) const;
  // The port's first neighbour after (remIndex, timeStamp), or NULL.
  const LldpNeighbour *next(uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp) const;
  // The first port above `after` that has a neighbour, among those `visible` accepts; 0 when none.
  template <typename Visible>
  uint32_t nextPortWithNeighbours(uint32_t after, Visible visible) const {
    for (const LldpNeighbour &n : state_.neighbours) {
      if (n.ifNum > after && visible(n.ifNum)) return n.ifNum;
    }
    return 0;
  }

 private:
  const SimSwitch &system_;
  LldpState state_;
};

// The texts a switch shows for the chassis and port ID subtypes and MAU
// types; NULL for a value it does not know.
const char *lldpChassisIdSubtypeName(uint32_t subtype);
const char *lldpPortIdSubtypeName(uint32_t subtype);
const char *lldpMauTypeName(uint32_t mauType);
