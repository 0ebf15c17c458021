#pragma once
// The simulated switch's port monitor: four monitor sessions that mirror
// ports or VLANs to a destination port, and the remote-span VLANs. The rules
// are a switch's: sources are physical ports, LAGs (their members' frames)
// and the CPU (what it sends and receives); destinations and reflectors are
// physical ports only; a port is a source of one session or a destination
// of one, never both; a session mirrors ports or VLANs, never both.
#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "open/openapi.h"
#include "sim/model.h"
#include "sim/system/model.h"

constexpr uint32_t kMonitorSessions = 4;
constexpr uint32_t kMaxMirrorVlan = 4093;


struct MonitorSession {
  bool enabled = false;
  std::map<uint32_t, uint32_t> sourcePorts;  // interface -> direction
  std::set<uint32_t> sourceVlans;
  uint32_t destination = 0;
  uint32_t remoteSourceVlan = 0;  // frames arrive on this remote-span VLAN
  uint32_t remoteDestVlan = 0;    // frames leave on this remote-span VLAN
  uint32_t reflectorPort = 0;
  uint32_t ipAcl = 0;
  std::string macAcl;
  bool reserved = false;

  uint32_t sourceType() const;
  uint32_t destType() const;
};

struct MirrorState {
  std::array<MonitorSession, kMonitorSessions> sessions;
  std::set<uint32_t> rspanVlans;
};

class MirrorModel : public SimModel {
 public:
  explicit MirrorModel(const SimSwitch &system) : system_(system) {}

  const char *stateKey() const override { return "mirror"; }
  void resetToDefault() override;
  cJSON *toJson() const override;
  bool fromJson(const cJSON *json, const schema::Where &where) override;
  void adoptState(SimModel &loaded) override;

  const MirrorState &state() const { return state_; }
  // A session by its number (1..4); NULL for any other.
  MonitorSession *session(uint32_t number);
  // The session (1..4) that has `ifNum` as a source or as its destination; 0 for none.
  uint32_t sourceSessionOf(uint32_t ifNum) const;
  uint32_t destSessionOf(uint32_t ifNum) const;
  bool isSourceVlan(uint32_t vlan) const;
  bool isRspanVlan(uint32_t vlan) const { return state_.rspanVlans.count(vlan) != 0; }

  // What a session may take now: a source that is no destination, a
  // destination that is a physical port and no source.
  bool validSource(uint32_t ifNum) const;
  bool validDestination(uint32_t ifNum) const;
  // The valid interfaces after `after` (0 starts); -29 past the last.
  open_error_t nextValidSource(uint32_t after, uint32_t *ifNum) const;
  open_error_t nextValidDestination(uint32_t after, uint32_t *ifNum) const;

  // -22 for what does not fit, -24 for what another session already has.
  open_error_t addSourcePort(uint32_t number, uint32_t ifNum, uint32_t direction);
  open_error_t removeSourcePort(uint32_t number, uint32_t ifNum);
  open_error_t setDestination(uint32_t number, uint32_t ifNum);
  open_error_t setReflector(uint32_t number, uint32_t ifNum);
  // Action 1 adds the VLANs of a list such as "10,20-22", 0 removes them.
  open_error_t changeSourceVlans(uint32_t number, const std::string &list, uint32_t action);
  open_error_t setRemoteVlan(uint32_t number, uint32_t MonitorSession::*which, uint32_t vlan);
  open_error_t changeRspanVlan(uint32_t vlan, uint32_t action);
  // Everything of a session but its reservation.
  open_error_t removeSession(uint32_t number);

 private:
  bool mayBeSource(uint32_t ifNum) const;
  bool isPhysical(uint32_t ifNum) const;

  const SimSwitch &system_;
  MirrorState state_;
};

// "10,20-22" as VLAN numbers in 1..4093; false for anything else.
bool parseVlanList(const std::string &text, std::set<uint32_t> &vlans);
std::string joinNumbers(const std::set<uint32_t> &numbers);
