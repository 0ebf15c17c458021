#include "sim/mirror_model.h"

#include <cstdlib>

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
// copy the first two ports to port 24, not yet enabled; a few access lists.
void MirrorModel::reset() {
  state_ = MirrorState{};
  MonitorSession &first = state_.sessions[0];
  first.sourcePorts = {{1, kMirrorBoth}, {2, kMirrorRx}};
  first.destination = 24;
  acls_ = AclState{};
  acls_.ip = {{1, ""}, {23, "snmp-managers"}, {101, "block-telnet"}, {150, "voice-rtp"}};
  acls_.mac = {{kFirstMacAclId, "trusted-macs"}, {kFirstMacAclId + 1, "block-bpdu"}};
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

const std::map<uint32_t, std::string> *MirrorModel::aclsOfType(uint32_t type) const {
  if (type == kAclIp) return &acls_.ip;
  return type == kAclMac ? &acls_.mac : nullptr;
}

open_error_t MirrorModel::firstAcl(uint32_t type, uint32_t *id) const { return nextAcl(type, 0, id); }

open_error_t MirrorModel::nextAcl(uint32_t type, uint32_t after, uint32_t *next) const {
  const auto *list = aclsOfType(type);
  if (list == nullptr) return OPEN_E_PARAM;
  auto found = list->upper_bound(after);
  if (found == list->end()) return OPEN_E_NOT_FOUND;
  *next = found->first;
  return OPEN_E_NONE;
}

open_error_t MirrorModel::aclName(uint32_t id, std::string &name) const {
  for (const auto *list : {&acls_.ip, &acls_.mac}) {
    auto found = list->find(id);
    if (found != list->end()) {
      name = found->second;
      return OPEN_E_NONE;
    }
  }
  return OPEN_E_NOT_FOUND;
}

open_error_t MirrorModel::aclByName(uint32_t type, const std::string &name, uint32_t *id) const {
  const auto *list = aclsOfType(type);
  if (list == nullptr || name.empty()) return OPEN_E_PARAM;
  for (const auto &[number, aclName] : *list) {
    if (aclName == name) {
      *id = number;
      return OPEN_E_NONE;
    }
  }
  return OPEN_E_NOT_FOUND;
}

bool MirrorModel::macAclExists(const std::string &name) const {
  uint32_t id = 0;
  return aclByName(kAclMac, name, &id) == OPEN_E_NONE;
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
