#include "sim/mirror/model.h"

#include <string_view>

#include "open/wire.h"
#include "sim/acl/model.h"
#include "sim/walk.h"

uint32_t MonitorSession::sourceType() const {
  if (!sourcePorts.empty()) return OPEN_MIRROR_SOURCE_PORTS;
  if (!sourceVlans.empty()) return OPEN_MIRROR_SOURCE_VLANS;
  return remoteSourceVlan != 0 ? OPEN_MIRROR_SOURCE_REMOTE_VLAN : OPEN_MIRROR_SOURCE_NONE;
}

uint32_t MonitorSession::destType() const {
  if (destination != 0) return OPEN_MIRROR_DEST_PORT;
  return remoteDestVlan != 0 ? OPEN_MIRROR_DEST_REMOTE_VLAN : OPEN_MIRROR_DEST_NONE;
}

// The switch as it leaves the test bench: session 1 prepared to copy the
// first two ports to port 24, not yet enabled.
void MirrorModel::resetToDefault() {
  state_ = MirrorState{};
  MonitorSession &first = state_.sessions[0];
  first.sourcePorts = {{1, OPEN_MIRROR_BIDIRECTIONAL}, {2, OPEN_MIRROR_INGRESS}};
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

bool MirrorModel::mayBeSource(uint32_t ifNum) const {
  const SimSwitch::Interface *intf = system_.findInterface(ifNum);
  return intf != nullptr && (intf->type == OPEN_INTF_TYPE_PHY || intf->type == OPEN_INTF_TYPE_LAG || intf->type == OPEN_INTF_TYPE_CPU);
}

bool MirrorModel::isPhysical(uint32_t ifNum) const {
  const SimSwitch::Interface *intf = system_.findInterface(ifNum);
  return intf != nullptr && intf->type == OPEN_INTF_TYPE_PHY;
}

bool MirrorModel::validSource(uint32_t ifNum) const { return mayBeSource(ifNum) && destSessionOf(ifNum) == 0; }

bool MirrorModel::validDestination(uint32_t ifNum) const { return isPhysical(ifNum) && sourceSessionOf(ifNum) == 0; }

open_error_t MirrorModel::nextValidSource(uint32_t after, uint32_t *ifNum) const {
  const SimSwitch::Interface *found = nullptr;
  auto valid = [this](const SimSwitch::Interface &intf) { return validSource(intf.intIfNum); };
  open_error_t rc = walk::next(system_.interfaces(), after, found, &SimSwitch::Interface::intIfNum, valid);
  if (rc == OPEN_E_NONE) *ifNum = found->intIfNum;
  return rc;
}

open_error_t MirrorModel::nextValidDestination(uint32_t after, uint32_t *ifNum) const {
  const SimSwitch::Interface *found = nullptr;
  auto valid = [this](const SimSwitch::Interface &intf) { return validDestination(intf.intIfNum); };
  open_error_t rc = walk::next(system_.interfaces(), after, found, &SimSwitch::Interface::intIfNum, valid);
  if (rc == OPEN_E_NONE) *ifNum = found->intIfNum;
  return rc;
}

// A port mirrors into one session only; a session mirrors ports or VLANs.
open_error_t MirrorModel::addSourcePort(uint32_t number, uint32_t ifNum, uint32_t direction) {
  MonitorSession *s = session(number);
  if (s == nullptr || !validSource(ifNum) || direction < OPEN_MIRROR_BIDIRECTIONAL || direction > OPEN_MIRROR_EGRESS ||
      !s->sourceVlans.empty() || s->reflectorPort == ifNum) {
    return OPEN_E_PARAM;
  }
  uint32_t owner = sourceSessionOf(ifNum);
  if (owner != 0 && owner != number) return OPEN_E_EXISTS;
  s->sourcePorts[ifNum] = direction;
  return OPEN_E_NONE;
}

open_error_t MirrorModel::removeSourcePort(uint32_t number, uint32_t ifNum) {
  MonitorSession *s = session(number);
  return s != nullptr && s->sourcePorts.erase(ifNum) != 0 ? OPEN_E_NONE : OPEN_E_PARAM;
}

// A destination belongs to one session and is never a source.
open_error_t MirrorModel::setDestination(uint32_t number, uint32_t ifNum) {
  MonitorSession *s = session(number);
  if (s == nullptr || !validDestination(ifNum) || s->reflectorPort == ifNum) return OPEN_E_PARAM;
  uint32_t owner = destSessionOf(ifNum);
  if (owner != 0 && owner != number) return OPEN_E_EXISTS;
  s->destination = ifNum;
  return OPEN_E_NONE;
}

// The reflector loops remote-span frames back: a physical port that is
// neither a source nor a destination; 0 takes it away.
open_error_t MirrorModel::setReflector(uint32_t number, uint32_t ifNum) {
  MonitorSession *s = session(number);
  if (s == nullptr || (ifNum != 0 && (!validDestination(ifNum) || destSessionOf(ifNum) != 0))) return OPEN_E_PARAM;
  s->reflectorPort = ifNum;
  return OPEN_E_NONE;
}

// Existing VLANs that are not remote-span VLANs; never beside source ports.
open_error_t MirrorModel::changeSourceVlans(uint32_t number, const std::string &list, uint32_t action) {
  MonitorSession *s = session(number);
  std::set<uint32_t> vlans;
  if (s == nullptr || action > 1 || !parseVlanList(list, vlans) || (action == 1 && !s->sourcePorts.empty())) {
    return OPEN_E_PARAM;
  }
  for (uint32_t vlan : vlans) {
    if (system_.vlanCreated(vlan) != OPEN_E_NONE || isRspanVlan(vlan)) return OPEN_E_PARAM;
  }
  for (uint32_t vlan : vlans) {
    if (action == 1) {
      s->sourceVlans.insert(vlan);
    } else {
      s->sourceVlans.erase(vlan);
    }
  }
  return OPEN_E_NONE;
}

// A session's remote-span VLAN must be one; 0 clears it.
open_error_t MirrorModel::setRemoteVlan(uint32_t number, uint32_t MonitorSession::*which, uint32_t vlan) {
  MonitorSession *s = session(number);
  if (s == nullptr || (vlan != 0 && !isRspanVlan(vlan))) return OPEN_E_PARAM;
  s->*which = vlan;
  return OPEN_E_NONE;
}

// An existing VLAN that no session mirrors becomes a remote-span VLAN.
open_error_t MirrorModel::changeRspanVlan(uint32_t vlan, uint32_t action) {
  if (action > 1 || vlan > kMaxMirrorVlan || system_.vlanCreated(vlan) != OPEN_E_NONE) return OPEN_E_PARAM;
  if (action == 0) return state_.rspanVlans.erase(vlan) != 0 ? OPEN_E_NONE : OPEN_E_PARAM;
  if (isSourceVlan(vlan)) return OPEN_E_PARAM;
  return state_.rspanVlans.insert(vlan).second ? OPEN_E_NONE : OPEN_E_EXISTS;
}

open_error_t MirrorModel::removeSession(uint32_t number) {
  MonitorSession *s = session(number);
  if (s == nullptr) return OPEN_E_PARAM;
  *s = MonitorSession{.reserved = s->reserved};
  return OPEN_E_NONE;
}

namespace {

// "a" or "a-b" in decimal digits.
bool parseRange(std::string_view token, uint32_t &first, uint32_t &last) {
  size_t dash = token.find('-');
  if (wireParseDecimal(OPEN_TYPE_U32, token.substr(0, dash), &first) != 0) return false;
  last = first;
  return dash == std::string_view::npos || wireParseDecimal(OPEN_TYPE_U32, token.substr(dash + 1), &last) == 0;
}

}  // namespace

bool parseVlanList(const std::string &text, std::set<uint32_t> &vlans) {
  size_t start = 0;
  while (true) {
    size_t end = text.find(',', start);
    uint32_t first = 0, last = 0;
    if (!parseRange(std::string_view(text).substr(start, end == std::string::npos ? end : end - start), first, last) ||
        first == 0 || last < first || last > kMaxMirrorVlan) {
      return false;
    }
    for (uint32_t vlan = first; vlan <= last; ++vlan) vlans.insert(vlan);
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
                                       schema::named<uint32_t>("direction", Integer({OPEN_MIRROR_BIDIRECTIONAL, OPEN_MIRROR_EGRESS})),
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

}  // namespace

cJSON *MirrorModel::toJson() const { return schema::dumpRecord(kMirrorFields, state_); }

// A switch's rules hold for a loaded state too: sources are ports, LAGs or
// the CPU, each of one session; destinations are physical ports, each of one
// session and no source; a session mirrors ports or VLANs, and its VLANs
// exist; remote-span VLANs exist, are not mirrored, and are the only ones a
// session sends or receives remote frames on.
bool MirrorModel::fromJson(const cJSON *json, const schema::Where &where) {
  if (!schema::loadRecord(kMirrorFields, json, state_, where)) return false;
  std::set<uint32_t> sources, destinations;
  for (uint32_t i = 0; i < kMonitorSessions; ++i) {
    const MonitorSession &session = state_.sessions[i];
    schema::Where at = where.member("sessions").element(i);
    for (const auto &[ifNum, direction] : session.sourcePorts) {
      std::string port = std::to_string(ifNum);
      if (!mayBeSource(ifNum)) return at.member("sourcePorts").fail(port + " is no port, LAG or CPU");
      if (!sources.insert(ifNum).second) return at.member("sourcePorts").fail(port + " is a source of two sessions");
    }
    if (!session.sourcePorts.empty() && !session.sourceVlans.empty()) return at.fail("mirrors ports and VLANs at once");
    for (uint32_t vlan : session.sourceVlans) {
      if (system_.vlanCreated(vlan) != OPEN_E_NONE) {
        return at.member("sourceVlans").fail("no VLAN " + std::to_string(vlan));
      }
    }
    uint32_t destination = session.destination;
    if (destination != 0 && (!isPhysical(destination) || !destinations.insert(destination).second)) {
      return at.member("destination").fail("not a physical port of this session alone");
    }
  }
  for (uint32_t i = 0; i < kMonitorSessions; ++i) {
    const MonitorSession &session = state_.sessions[i];
    schema::Where at = where.member("sessions").element(i);
    if (sources.count(session.destination) != 0) return at.member("destination").fail("is also a source");
    for (uint32_t vlan : {session.remoteSourceVlan, session.remoteDestVlan}) {
      if (vlan != 0 && !isRspanVlan(vlan)) return at.fail("VLAN " + std::to_string(vlan) + " is no remote-span VLAN");
    }
  }
  for (uint32_t vlan : state_.rspanVlans) {
    if (system_.vlanCreated(vlan) != OPEN_E_NONE || isSourceVlan(vlan)) {
      return where.member("rspanVlans").fail("VLAN " + std::to_string(vlan) + " does not exist or is mirrored");
    }
  }
  return true;
}

void MirrorModel::adoptState(SimModel &loaded) { state_ = static_cast<MirrorModel &>(loaded).state_; }
