// The simulated switch's answers to the port monitor and access-list operations.
#include <cstdio>
#include <string>

#include "sim/mirror_model.h"
#include "sim/sim_ops.h"
#include "sim/sim_text.h"
#include "sim/switch.h"

namespace {

// Sources are physical ports, LAGs (their members' frames) and the CPU
// (what it sends and receives); destinations and reflectors are physical
// ports only.
bool isValidSource(const SimSwitch &sw, uint32_t ifNum) {
  const SimSwitch::Interface *intf = sw.findInterface(ifNum);
  return intf != nullptr && (intf->type == kIntfPhysical || intf->type == kIntfLag || intf->type == kIntfCpu);
}

bool isPhysical(const SimSwitch &sw, uint32_t ifNum) {
  const SimSwitch::Interface *intf = sw.findInterface(ifNum);
  return intf != nullptr && intf->type == kIntfPhysical;
}

// A port that no session uses as a source may become a destination.
bool isValidDestination(SimSwitch &sw, uint32_t ifNum) {
  return isPhysical(sw, ifNum) && sw.mirror().sourceSessionOf(ifNum) == 0;
}

bool isValidSourceNow(SimSwitch &sw, uint32_t ifNum) {
  return isValidSource(sw, ifNum) && sw.mirror().destSessionOf(ifNum) == 0;
}

template <typename Valid>
open_error_t nextValid(SimSwitch &sw, uint32_t after, uint32_t *next, Valid valid) {
  uint32_t ifNum = after;
  while (sw.nextInterface(kIntfAny, ifNum, &ifNum) == OPEN_E_NONE) {
    if (valid(sw, ifNum)) {
      *next = ifNum;
      return OPEN_E_NONE;
    }
  }
  return OPEN_E_NOT_FOUND;
}

template <typename Valid>
open_error_t validList(SimSwitch &sw, open_buffdesc *list, Valid valid) {
  std::set<uint32_t> found;
  uint32_t ifNum = 0;
  while (nextValid(sw, ifNum, &ifNum, valid) == OPEN_E_NONE) found.insert(ifNum);
  return putText(list, joinNumbers(found));
}

open_error_t sessionOf(SimSwitch &sw, uint32_t number, MonitorSession **session) {
  *session = sw.mirror().session(number);
  return *session != nullptr ? OPEN_E_NONE : OPEN_E_PARAM;
}

template <typename Read>
open_error_t readSession(SimSwitch &sw, uint32_t number, Read read) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(sw, number, &session);
  if (rc == OPEN_E_NONE) read(*session);
  return rc;
}

open_error_t putFlag(uint32_t *out, bool value) {
  *out = value ? 1 : 0;
  return OPEN_E_NONE;
}

open_error_t checkSessionVlan(SimSwitch &sw, uint32_t vlan) {
  return vlan == 0 || (vlan <= kMaxMirrorVlan && sw.mirror().state().rspanVlans.count(vlan) != 0) ? OPEN_E_NONE
                                                                                                   : OPEN_E_PARAM;
}

open_error_t setSourceVlans(SimSwitch &sw, MonitorSession &session, const std::set<uint32_t> &vlans, uint32_t action) {
  for (uint32_t vlan : vlans) {
    if (sw.vlanCreated(vlan) != OPEN_E_NONE || sw.mirror().state().rspanVlans.count(vlan) != 0) return OPEN_E_PARAM;
  }
  for (uint32_t vlan : vlans) {
    if (action == 1) {
      session.sourceVlans.insert(vlan);
    } else {
      session.sourceVlans.erase(vlan);
    }
  }
  return OPEN_E_NONE;
}

}  // namespace

namespace sim {

open_error_t openapiSwPortMonitorSourcePortsListGet(SimSwitch &sw, uint32_t sessionNum, open_buffdesc *intfList) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(sw, sessionNum, &session);
  if (rc != OPEN_E_NONE) return rc;
  std::set<uint32_t> ports;
  for (const auto &[ifNum, direction] : session->sourcePorts) ports.insert(ifNum);
  return putText(intfList, joinNumbers(ports));
}

open_error_t openapiMirrorSourcePortDirectionGet(SimSwitch &sw, uint32_t sessionNum, uint32_t intIfNum,
                                                 uint32_t *direction) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(sw, sessionNum, &session);
  if (rc != OPEN_E_NONE) return rc;
  auto found = session->sourcePorts.find(intIfNum);
  if (found == session->sourcePorts.end()) return OPEN_E_NOT_FOUND;
  *direction = found->second;
  return OPEN_E_NONE;
}

// A port mirrors into one session only; a session mirrors ports or VLANs.
open_error_t openapiSwPortMonitorSourcePortAdd(SimSwitch &sw, uint32_t sessionNum, uint32_t intIfNum,
                                               uint32_t direction) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(sw, sessionNum, &session);
  if (rc != OPEN_E_NONE) return rc;
  if (!isValidSource(sw, intIfNum) || direction < kMirrorBoth || direction > kMirrorTx ||
      !session->sourceVlans.empty() || sw.mirror().destSessionOf(intIfNum) != 0 ||
      session->reflectorPort == intIfNum) {
    return OPEN_E_PARAM;
  }
  uint32_t owner = sw.mirror().sourceSessionOf(intIfNum);
  if (owner != 0 && owner != sessionNum) return OPEN_E_EXISTS;
  session->sourcePorts[intIfNum] = direction;
  return OPEN_E_NONE;
}

open_error_t openapiSwPortMonitorSourcePortRemove(SimSwitch &sw, uint32_t sessionNum, uint32_t intIfNum) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(sw, sessionNum, &session);
  if (rc != OPEN_E_NONE) return rc;
  return session->sourcePorts.erase(intIfNum) != 0 ? OPEN_E_NONE : OPEN_E_PARAM;
}

open_error_t openapiSwPortMonitorDestPortGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *intIfNum) {
  return readSession(sw, sessionNum, [&](MonitorSession &s) { *intIfNum = s.destination; });
}

open_error_t openapiSwPortMonitorDestPortSet(SimSwitch &sw, uint32_t sessionNum, uint32_t intIfNum) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(sw, sessionNum, &session);
  if (rc != OPEN_E_NONE) return rc;
  if (!isValidDestination(sw, intIfNum) || session->reflectorPort == intIfNum) return OPEN_E_PARAM;
  uint32_t owner = sw.mirror().destSessionOf(intIfNum);
  if (owner != 0 && owner != sessionNum) return OPEN_E_EXISTS;
  session->destination = intIfNum;
  return OPEN_E_NONE;
}

open_error_t openapiSwPortMonitorDestPortRemove(SimSwitch &sw, uint32_t sessionNum) {
  return readSession(sw, sessionNum, [](MonitorSession &s) { s.destination = 0; });
}

open_error_t openapiSwPortMonitorModeGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *mode) {
  return readSession(sw, sessionNum, [&](MonitorSession &s) { *mode = s.enabled ? 1 : 0; });
}

open_error_t openapiSwPortMonitorModeSet(SimSwitch &sw, uint32_t sessionNum, uint32_t mode) {
  if (mode > 1) return OPEN_E_PARAM;
  return readSession(sw, sessionNum, [&](MonitorSession &s) { s.enabled = mode == 1; });
}

open_error_t openapiSwPortMonitorSessionCount(SimSwitch &, uint32_t *sessionCount) {
  *sessionCount = kMonitorSessions;
  return OPEN_E_NONE;
}

open_error_t openapiSwPortMonitorConfigRemove(SimSwitch &sw) {
  for (uint32_t number = 1; number <= kMonitorSessions; ++number) {
    MonitorSession &session = *sw.mirror().session(number);
    session = MonitorSession{.reserved = session.reserved};
  }
  return OPEN_E_NONE;
}

// A removed session keeps only its reservation.
open_error_t openapiSwPortMonitorSessionRemove(SimSwitch &sw, uint32_t sessionNum) {
  return readSession(sw, sessionNum, [](MonitorSession &s) { s = MonitorSession{.reserved = s.reserved}; });
}

open_error_t openapiSwPortMonitorIsDestConfigured(SimSwitch &sw, uint32_t intIfNum, uint32_t *configured,
                                                  uint32_t *sessionNum) {
  if (sw.findInterface(intIfNum) == nullptr) return OPEN_E_PARAM;
  *sessionNum = sw.mirror().destSessionOf(intIfNum);
  return putFlag(configured, *sessionNum != 0);
}

open_error_t openapiSwPortMonitorIsSrcConfigured(SimSwitch &sw, uint32_t intIfNum, uint32_t *configured) {
  if (sw.findInterface(intIfNum) == nullptr) return OPEN_E_PARAM;
  return putFlag(configured, sw.mirror().sourceSessionOf(intIfNum) != 0);
}

open_error_t openapiSwPortMonitorSrcConfiguredSessionGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *sessionNum) {
  if (sw.findInterface(intIfNum) == nullptr) return OPEN_E_PARAM;
  *sessionNum = sw.mirror().sourceSessionOf(intIfNum);
  return *sessionNum != 0 ? OPEN_E_NONE : OPEN_E_NOT_FOUND;
}

open_error_t openapiSwPortMonitorIsValidSrcPort(SimSwitch &sw, uint32_t intIfNum, uint32_t *valid) {
  if (sw.findInterface(intIfNum) == nullptr) return OPEN_E_PARAM;
  return putFlag(valid, isValidSourceNow(sw, intIfNum));
}

open_error_t openapiSwPortMonitorIsValidDestPort(SimSwitch &sw, uint32_t intIfNum, uint32_t *valid) {
  if (sw.findInterface(intIfNum) == nullptr) return OPEN_E_PARAM;
  return putFlag(valid, isValidDestination(sw, intIfNum));
}

open_error_t openapiSwPortMonitorValidSrcIntfFirstGet(SimSwitch &sw, uint32_t *intIfNum) {
  return nextValid(sw, 0, intIfNum, isValidSourceNow);
}

open_error_t openapiSwPortMonitorValidSrcIntfNextGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *nextIntIfNum) {
  return nextValid(sw, intIfNum, nextIntIfNum, isValidSourceNow);
}

open_error_t openapiSwPortMonitorValidSrcIntfListGet(SimSwitch &sw, open_buffdesc *intfList) {
  return validList(sw, intfList, isValidSourceNow);
}

open_error_t openapiSwPortMonitorValidDestIntfFirstGet(SimSwitch &sw, uint32_t *intIfNum) {
  return nextValid(sw, 0, intIfNum, isValidDestination);
}

open_error_t openapiSwPortMonitorValidDestIntfNextGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *nextIntIfNum) {
  return nextValid(sw, intIfNum, nextIntIfNum, isValidDestination);
}

open_error_t openapiSwPortMonitorValidDestIntfListGet(SimSwitch &sw, open_buffdesc *intfList) {
  return validList(sw, intfList, isValidDestination);
}

open_error_t openapiSwMonitorVlanListGet(SimSwitch &sw, uint32_t sessionNum, open_buffdesc *vlanList) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(sw, sessionNum, &session);
  return rc == OPEN_E_NONE ? putText(vlanList, joinNumbers(session->sourceVlans)) : rc;
}

// Existing VLANs that are not remote-span VLANs; never beside source ports.
open_error_t openapiSwMonitorVlanListSet(SimSwitch &sw, uint32_t sessionNum, open_buffdesc *vlanList,
                                         uint32_t action) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(sw, sessionNum, &session);
  if (rc != OPEN_E_NONE) return rc;
  std::set<uint32_t> vlans;
  if (action > 1 || !parseVlanList(inputText(vlanList), vlans) || (action == 1 && !session->sourcePorts.empty())) {
    return OPEN_E_PARAM;
  }
  return setSourceVlans(sw, *session, vlans, action);
}

open_error_t openapiSwMonitorSrcTypeGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *srcType) {
  return readSession(sw, sessionNum, [&](MonitorSession &s) { *srcType = s.sourceType(); });
}

open_error_t openapiSwMonitorDstTypeGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *dstType) {
  return readSession(sw, sessionNum, [&](MonitorSession &s) { *dstType = s.destType(); });
}

open_error_t openapiSwMonitorRemoteSrcVlanGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *vlanId) {
  return readSession(sw, sessionNum, [&](MonitorSession &s) { *vlanId = s.remoteSourceVlan; });
}

// Remote-span session VLANs must be remote-span VLANs; 0 clears.
open_error_t openapiSwRemoteMonitorSrcVlanSet(SimSwitch &sw, uint32_t sessionNum, uint32_t vlanId) {
  open_error_t rc = checkSessionVlan(sw, vlanId);
  if (rc != OPEN_E_NONE) return rc;
  return readSession(sw, sessionNum, [&](MonitorSession &s) { s.remoteSourceVlan = vlanId; });
}

open_error_t openapiSwMonitorRemoteDstVlanGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *vlanId) {
  return readSession(sw, sessionNum, [&](MonitorSession &s) { *vlanId = s.remoteDestVlan; });
}

open_error_t openapiSwRemoteMonitorDstVlanSet(SimSwitch &sw, uint32_t sessionNum, uint32_t vlanId) {
  open_error_t rc = checkSessionVlan(sw, vlanId);
  if (rc != OPEN_E_NONE) return rc;
  return readSession(sw, sessionNum, [&](MonitorSession &s) { s.remoteDestVlan = vlanId; });
}

open_error_t openapiSwMonitorReflectorPortGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *intIfNum) {
  return readSession(sw, sessionNum, [&](MonitorSession &s) { *intIfNum = s.reflectorPort; });
}

// The reflector loops remote-span frames back: a physical port that is
// neither a source nor a destination.
open_error_t openapiSwMonitorReflectorPortSet(SimSwitch &sw, uint32_t sessionNum, uint32_t intIfNum) {
  if (intIfNum != 0 && (!isValidDestination(sw, intIfNum) || sw.mirror().destSessionOf(intIfNum) != 0)) {
    return OPEN_E_PARAM;
  }
  return readSession(sw, sessionNum, [&](MonitorSession &s) { s.reflectorPort = intIfNum; });
}

open_error_t openapiSwMonitorIpAclGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *aclId) {
  return readSession(sw, sessionNum, [&](MonitorSession &s) { *aclId = s.ipAcl; });
}

open_error_t openapiSwMonitorIpAclSet(SimSwitch &sw, uint32_t sessionNum, uint32_t aclId, uint32_t action) {
  if (action > 1 || (action == 1 && sw.mirror().acls().ip.count(aclId) == 0)) return OPEN_E_PARAM;
  return readSession(sw, sessionNum, [&](MonitorSession &s) { s.ipAcl = action == 1 ? aclId : 0; });
}

open_error_t openapiSwMonitorMacAclGet(SimSwitch &sw, uint32_t sessionNum, open_buffdesc *aclName) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(sw, sessionNum, &session);
  return rc == OPEN_E_NONE ? putText(aclName, session->macAcl) : rc;
}

open_error_t openapiSwMonitorMacAclSet(SimSwitch &sw, uint32_t sessionNum, open_buffdesc *aclName, uint32_t action) {
  std::string name = inputText(aclName);
  if (action > 1 || (action == 1 && !sw.mirror().macAclExists(name))) return OPEN_E_PARAM;
  return readSession(sw, sessionNum, [&](MonitorSession &s) { s.macAcl = action == 1 ? name : ""; });
}

open_error_t openapiRemoteSpanVlanGet(SimSwitch &sw, uint32_t *vlanId) {
  const std::set<uint32_t> &vlans = sw.mirror().state().rspanVlans;
  if (vlans.empty()) return OPEN_E_NOT_FOUND;
  *vlanId = *vlans.begin();
  return OPEN_E_NONE;
}

// An existing VLAN that no session mirrors becomes a remote-span VLAN.
open_error_t openapiRemoteSpanVlanSet(SimSwitch &sw, uint32_t vlanId, uint32_t action) {
  std::set<uint32_t> &vlans = sw.mirror().state().rspanVlans;
  if (action > 1 || vlanId == 0 || vlanId > kMaxMirrorVlan || sw.vlanCreated(vlanId) != OPEN_E_NONE) {
    return OPEN_E_PARAM;
  }
  if (action == 0) return vlans.erase(vlanId) != 0 ? OPEN_E_NONE : OPEN_E_PARAM;
  if (sw.mirror().isSourceVlan(vlanId)) return OPEN_E_PARAM;
  return vlans.insert(vlanId).second ? OPEN_E_NONE : OPEN_E_EXISTS;
}

open_error_t openapiRemoteSpanVlanNextGet(SimSwitch &sw, uint32_t vlanId, uint32_t *nextVlanId) {
  const std::set<uint32_t> &vlans = sw.mirror().state().rspanVlans;
  auto next = vlans.upper_bound(vlanId);
  if (next == vlans.end()) return OPEN_E_NOT_FOUND;
  *nextVlanId = *next;
  return OPEN_E_NONE;
}

open_error_t openapiRemoteSpanVlanListGet(SimSwitch &sw, open_buffdesc *vlanList) {
  return putText(vlanList, joinNumbers(sw.mirror().state().rspanVlans));
}

open_error_t openapiMirrorIsRspanVlan(SimSwitch &sw, uint32_t vlanId, uint32_t *isRspan) {
  return putFlag(isRspan, sw.mirror().state().rspanVlans.count(vlanId) != 0);
}

open_error_t openapiMirrorIsSrcVlan(SimSwitch &sw, uint32_t vlanId, uint32_t *isSource) {
  return putFlag(isSource, sw.mirror().isSourceVlan(vlanId));
}

open_error_t openapiMirrorSessionReserveStateGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *reserveState) {
  return readSession(sw, sessionNum, [&](MonitorSession &s) { *reserveState = s.reserved ? 1 : 0; });
}

open_error_t openapiMirrorSessionReserveStateSet(SimSwitch &sw, uint32_t sessionNum, uint32_t reserveState) {
  if (reserveState > 1) return OPEN_E_PARAM;
  return readSession(sw, sessionNum, [&](MonitorSession &s) { s.reserved = reserveState == 1; });
}

open_error_t openapiAclGetFirst(SimSwitch &sw, uint32_t aclType, uint32_t *aclId) {
  return sw.mirror().firstAcl(aclType, aclId);
}

open_error_t openapiAclGetNext(SimSwitch &sw, uint32_t aclType, uint32_t aclId, uint32_t *nextAclId) {
  return sw.mirror().nextAcl(aclType, aclId, nextAclId);
}

open_error_t openapiAclNameGet(SimSwitch &sw, uint32_t aclId, open_buffdesc *aclName) {
  std::string name;
  open_error_t rc = sw.mirror().aclName(aclId, name);
  return rc == OPEN_E_NONE ? putText(aclName, name) : rc;
}

open_error_t openapiAclGet(SimSwitch &sw, uint32_t aclType, open_buffdesc *aclName, uint32_t *aclId) {
  return sw.mirror().aclByName(aclType, inputText(aclName), aclId);
}

// Physical ports are numbered unit/slot/port in their names.
open_error_t openapiHashIntfUnitSlotPortGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *unit, uint32_t *slot,
                                            uint32_t *port) {
  const SimSwitch::Interface *intf = sw.findInterface(intIfNum);
  unsigned u = 0, s = 0, p = 0;
  if (intf == nullptr || intf->type != kIntfPhysical || sscanf(intf->name.c_str(), "%u/%u/%u", &u, &s, &p) != 3) {
    return OPEN_E_PARAM;
  }
  *unit = u;
  *slot = s;
  *port = p;
  return OPEN_E_NONE;
}

}  // namespace sim
