#pragma once
// The simulated switch's port monitor and access lists: four monitor
// sessions that mirror ports or VLANs to a destination port, remote-span
// VLANs, and the numbered IP and named MAC access lists a session may
// filter with. Plain records; which interfaces exist and of which type is
// decided by the operations, which see the whole switch.
#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "open/openapi.h"
#include "sim/model.h"
#include "sim/switch.h"

constexpr uint32_t kMonitorSessions = 4;
constexpr uint32_t kMirrorBoth = 1, kMirrorRx = 2, kMirrorTx = 3;
constexpr uint32_t kMaxMirrorVlan = 4093;

// What a session takes its frames from and sends them to, as OpEN numbers it.
enum MonitorSourceType : uint32_t { kSourceNone = 0, kSourcePorts = 1, kSourceVlans = 2, kSourceRemoteVlan = 3 };
enum MonitorDestType : uint32_t { kDestNone = 0, kDestPort = 1, kDestRemoteVlan = 2 };

struct MonitorSession {
  bool enabled = false;
  std::map<uint32_t, uint32_t> sourcePorts;  // interface -> direction
  std::set<uint32_t> sourceVlans;
  uint32_t destination = 0;
  uint32_t remoteSourceVlan = 0;  // frames arrive on this RSPAN VLAN
  uint32_t remoteDestVlan = 0;    // frames leave on this RSPAN VLAN
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

// ACL types as OpEN numbers them.
constexpr uint32_t kAclIp = 1, kAclMac = 2;
// Numbered IP lists: 1-99 standard, 100-199 extended. MAC lists are known by
// name; the switch numbers them from 1001 for the walks.
constexpr uint32_t kMaxIpAcl = 199, kFirstMacAclId = 1001;

struct AclState {
  std::map<uint32_t, std::string> ip;   // number -> name ("" when it has none)
  std::map<uint32_t, std::string> mac;  // id -> name
};

class MirrorModel : public SimModel {
 public:
  explicit MirrorModel(const SimSwitch &system) : system_(system) {}

  const char *stateKey() const override { return "mirror"; }
  void resetToDefault() override;
  cJSON *toJson() const override;
  bool fromJson(const cJSON *json, const schema::Where &where) override;
  void adoptState(SimModel &loaded) override;

  MirrorState &state() { return state_; }
  // A session by its number (1..4); NULL for any other.
  MonitorSession *session(uint32_t number);
  // The session (1..4) that has `ifNum` as a source or as its destination; 0 for none.
  uint32_t sourceSessionOf(uint32_t ifNum) const;
  uint32_t destSessionOf(uint32_t ifNum) const;
  bool isSourceVlan(uint32_t vlan) const;

 private:
  const SimSwitch &system_;
  MirrorState state_;
};

class AclModel : public SimModel {
 public:
  const char *stateKey() const override { return "acls"; }
  void resetToDefault() override;
  cJSON *toJson() const override;
  bool fromJson(const cJSON *json, const schema::Where &where) override;
  void adoptState(SimModel &loaded) override;

  const AclState &state() const { return acls_; }
  // ACL walks by type, in number order; -29 past the end.
  open_error_t first(uint32_t type, uint32_t *id) const;
  open_error_t next(uint32_t type, uint32_t after, uint32_t *id) const;
  open_error_t name(uint32_t id, std::string &name) const;
  open_error_t byName(uint32_t type, const std::string &name, uint32_t *id) const;
  bool macAclExists(const std::string &name) const;

 private:
  const std::map<uint32_t, std::string> *ofType(uint32_t type) const;
  AclState acls_;
};

// "10,20-22" as VLAN numbers; false for a token that is not a number or a range.
bool parseVlanList(const std::string &text, std::set<uint32_t> &vlans);
std::string joinNumbers(const std::set<uint32_t> &numbers);
