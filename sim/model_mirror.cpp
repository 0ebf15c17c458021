#include "sim/model_mirror.h"

#include <cstdlib>

#include "sim/walk.h"

uint32_t MonitorSession::sourceType() const {
  if (!sourcePorts.empty()) return kSourcePorts;
  if (!sourceVlans.empty()) return kSourceVlans;
  return remoteSourceVlan != 0 ? kSourceRemoteVlan : kSourceNone;
}

uint32_t MonitorSession::destType() const {
  if (destination != 0) return kDestPort;
  return remoteDestVlan != 0 ? kDestRemoteVlan : kDestNone;
}

// The switch as it leaves the factory's test bench: session 1 prepared to
// copy the first two ports to port 24, not yet enabled.
void MirrorModel::resetToDefault() {
  state_ = MirrorState{};
  MonitorSession &first = state_.sessions[0];
  first.sourcePorts = {{1, kMirrorBoth}, {2, kMirrorRx}};
  first.destination = 24;
}

MonitorSession *MirrorModel::session(uint32_t number) {
  return number >= 1 && number <= kMonitorSessions ? &state_.sessions[number - 1] : nullptr;
}

uint32_t MirrorModel::sourceSessionOf(uint32_t ifNum) const {
  for (uint32_t i = 0; i < kMonitorSessions; ++i) {
    if (state_.sessions[i].sourcePorts.count(ifNum) != 0) return i + 1;
  }
  return 0;
}

uint32_t MirrorModel::destSessionOf(uint32_t ifNum) const {
  for (uint32_t i = 0; i < kMonitorSessions; ++i) {
    if (ifNum != 0 && state_.sessions[i].destination == ifNum) return i + 1;
  }
  return 0;
}

bool MirrorModel::isSourceVlan(uint32_t vlan) const {
  for (const MonitorSession &session : state_.sessions) {
    if (session.sourceVlans.count(vlan) != 0) return true;
  }
  return false;
}

void AclModel::resetToDefault() {
  acls_ = AclState{};
  acls_.ip = {{1, ""}, {23, "snmp-managers"}, {101, "block-telnet"}, {150, "voice-rtp"}};
  acls_.mac = {{kFirstMacAclId, "trusted-macs"}, {kFirstMacAclId + 1, "block-bpdu"}};
}

const std::map<uint32_t, std::string> *AclModel::ofType(uint32_t type) const {
  if (type == kAclIp) return &acls_.ip;
  return type == kAclMac ? &acls_.mac : nullptr;
}

open_error_t AclModel::first(uint32_t type, uint32_t *id) const { return next(type, 0, id); }

open_error_t AclModel::next(uint32_t type, uint32_t after, uint32_t *id) const {
  const auto *list = ofType(type);
  if (list == nullptr) return OPEN_E_PARAM;
  const std::pair<const uint32_t, std::string> *found = nullptr;
  open_error_t rc = walk::next(*list, after, found, &std::pair<const uint32_t, std::string>::first);
  if (rc == OPEN_E_NONE) *id = found->first;
  return rc;
}

open_error_t AclModel::name(uint32_t id, std::string &name) const {
  for (const auto *list : {&acls_.ip, &acls_.mac}) {
    auto found = list->find(id);
    if (found != list->end()) {
      name = found->second;
      return OPEN_E_NONE;
    }
  }
  return OPEN_E_NOT_FOUND;
}

open_error_t AclModel::byName(uint32_t type, const std::string &name, uint32_t *id) const {
  const auto *list = ofType(type);
  if (list == nullptr || name.empty()) return OPEN_E_PARAM;
  for (const auto &[number, aclName] : *list) {
    if (aclName == name) {
      *id = number;
      return OPEN_E_NONE;
    }
  }
  return OPEN_E_NOT_FOUND;
}

bool AclModel::macAclExists(const std::string &name) const {
  uint32_t id = 0;
  return byName(kAclMac, name, &id) == OPEN_E_NONE;
}

namespace {

// "a" or "a-b" in decimal digits.
bool parseRange(const std::string &token, unsigned long &first, unsigned long &last) {
  const char *text = token.c_str();
  if (*text < '0' || *text > '9') return false;
  char *end = nullptr;
  first = strtoul(text, &end, 10);
  last = first;
  if (*end == '\0') return true;
  if (*end != '-' || end[1] < '0' || end[1] > '9') return false;
  last = strtoul(end + 1, &end, 10);
  return *end == '\0';
}

}  // namespace

bool parseVlanList(const std::string &text, std::set<uint32_t> &vlans) {
  size_t start = 0;
  while (true) {
    size_t end = text.find(',', start);
    unsigned long first = 0, last = 0;
    if (!parseRange(text.substr(start, end == std::string::npos ? std::string::npos : end - start), first, last) ||
        first == 0 || last < first || last > kMaxMirrorVlan) {
      return false;
    }
    for (unsigned long vlan = first; vlan <= last; ++vlan) vlans.insert(static_cast<uint32_t>(vlan));
    if (end == std::string::npos) return true;
    start = end + 1;
  }
}

std::string joinNumbers(const std::set<uint32_t> &numbers) {
  std::string text;
  for (uint32_t number : numbers) text += (text.empty() ? "" : ",") + std::to_string(number);
  return text;
}

namespace {

using schema::Integer;
using schema::Range;

constexpr Range kAnyIfNum{1, UINT32_MAX};
const Range kSessionVlan{0, kMaxMirrorVlan};

const schema::Record<MonitorSession> kSessionFields = {
    {"enabled", &MonitorSession::enabled, schema::Boolean{}},
    {"sourcePorts", &MonitorSession::sourcePorts,
     schema::Keyed<uint32_t, uint32_t>(schema::named<uint32_t>("intIfNum", Integer(kAnyIfNum)),
                                       schema::named<uint32_t>("direction", Integer({kMirrorBoth, kMirrorTx})),
                                       "source ports")},
    {"sourceVlans", &MonitorSession::sourceVlans, schema::List<Integer>(Integer({1, kMaxMirrorVlan}), "VLAN ids")},
    {"destination", &MonitorSession::destination, Integer(Range{0, UINT32_MAX})},
    {"remoteSourceVlan", &MonitorSession::remoteSourceVlan, Integer(kSessionVlan)},
    {"remoteDestVlan", &MonitorSession::remoteDestVlan, Integer(kSessionVlan)},
    {"reflectorPort", &MonitorSession::reflectorPort, Integer(Range{0, UINT32_MAX})},
    {"ipAcl", &MonitorSession::ipAcl, Integer({0, kMaxIpAcl})},
    {"macAcl", &MonitorSession::macAcl, schema::Text(31)},
    {"reserved", &MonitorSession::reserved, schema::Boolean{}},
};

const schema::Record<MirrorState> kMirrorFields = {
    {"sessions", &MirrorState::sessions, schema::table(kSessionFields, "sessions")},
    {"rspanVlans", &MirrorState::rspanVlans, schema::List<Integer>(Integer({1, kMaxMirrorVlan}), "VLAN ids")},
};

schema::Keyed<uint32_t, std::string> aclTable(Range numbers, size_t nameLength) {
  return {schema::named<uint32_t>("id", Integer(numbers)), schema::named<std::string>("name", schema::Text(nameLength)),
          "access lists"};
}

const schema::Record<AclState> kAclFields = {
    {"ip", &AclState::ip, aclTable({1, kMaxIpAcl}, 31)},
    {"mac", &AclState::mac, aclTable(Range{kFirstMacAclId, UINT32_MAX}, 31)},
};

}  // namespace

cJSON *MirrorModel::toJson() const { return schema::dumpRecord(kMirrorFields, state_); }

// A switch's rules hold for a loaded state too: every port is an interface,
// a port is a source of one session and never a destination, and session
// VLANs exist.
bool MirrorModel::fromJson(const cJSON *json, const schema::Where &where) {
  if (!schema::loadRecord(kMirrorFields, json, state_, where)) return false;
  std::set<uint32_t> sources;
  for (uint32_t i = 0; i < kMonitorSessions; ++i) {
    const MonitorSession &session = state_.sessions[i];
    schema::Where at = where.member("sessions").element(i);
    for (const auto &[ifNum, direction] : session.sourcePorts) {
      if (system_.findInterface(ifNum) == nullptr) return at.member("sourcePorts").fail("no interface " + std::to_string(ifNum));
      if (!sources.insert(ifNum).second) return at.member("sourcePorts").fail(std::to_string(ifNum) + " is a source of two sessions");
    }
    if (!session.sourcePorts.empty() && !session.sourceVlans.empty()) return at.fail("mirrors ports and VLANs at once");
    for (uint32_t vlan : session.sourceVlans) {
      if (system_.vlanCreated(vlan) != OPEN_E_NONE) return at.member("sourceVlans").fail("no VLAN " + std::to_string(vlan));
    }
  }
  for (uint32_t i = 0; i < kMonitorSessions; ++i) {
    uint32_t destination = state_.sessions[i].destination;
    schema::Where at = where.member("sessions").element(i).member("destination");
    const SimSwitch::Interface *intf = system_.findInterface(destination);
    if (destination != 0 && (intf == nullptr || intf->type != kIntfPhysical)) return at.fail("not a physical port");
    if (destination != 0 && sources.count(destination) != 0) return at.fail("is also a source");
  }
  return true;
}

void MirrorModel::adoptState(SimModel &loaded) { state_ = static_cast<MirrorModel &>(loaded).state_; }

cJSON *AclModel::toJson() const { return schema::dumpRecord(kAclFields, acls_); }

bool AclModel::fromJson(const cJSON *json, const schema::Where &where) {
  return schema::loadRecord(kAclFields, json, acls_, where);
}

void AclModel::adoptState(SimModel &loaded) { acls_ = static_cast<AclModel &>(loaded).acls_; }
