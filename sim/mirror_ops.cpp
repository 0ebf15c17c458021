// The simulated switch's answers to the port monitor operations, and the
// unit, slot and port of an interface by which the monitor routes name ports.
#include <cstdio>
#include <set>
#include <string>

#include "sim/mirror_model.h"
#include "sim/sim_ops.h"
#include "sim/sim_text.h"
#include "sim/switch.h"

namespace {

// What the switch lets a monitor session do with an interface of each type.
MirrorPort mirrorPortOf(const SimSwitch &sw, uint32_t ifNum) {
  const SimSwitch::Interface *intf = sw.findInterface(ifNum);
  if (intf == nullptr) return MirrorPort::Unusable;
  if (intf->type == kIntfPhysical) return MirrorPort::Any;
  return intf->type == kIntfLag || intf->type == kIntfCpu ? MirrorPort::SourceOnly : MirrorPort::Unusable;
}

bool validSource(SimSwitch &sw, uint32_t ifNum) { return sw.mirror().validSource(ifNum, mirrorPortOf(sw, ifNum)); }
bool validDestination(SimSwitch &sw, uint32_t ifNum) {
  return sw.mirror().validDestination(ifNum, mirrorPortOf(sw, ifNum));
}

open_error_t nextValid(SimSwitch &sw, uint32_t after, uint32_t *next, bool (*valid)(SimSwitch &, uint32_t)) {
  uint32_t ifNum = after;
  while (sw.nextInterface(kIntfAny, ifNum, &ifNum) == OPEN_E_NONE) {
    if (valid(sw, ifNum)) {
      *next = ifNum;
      return OPEN_E_NONE;
    }
  }
  return OPEN_E_NOT_FOUND;
}

open_error_t validList(SimSwitch &sw, open_buffdesc *list, bool (*valid)(SimSwitch &, uint32_t)) {
  std::set<uint32_t> found;
  uint32_t ifNum = 0;
  while (nextValid(sw, ifNum, &ifNum, valid) == OPEN_E_NONE) found.insert(ifNum);
  return putText(list, joinNumbers(found));
}

// Reads or changes one session; -22 for a number that names none.
template <typename Use>
open_error_t withSession(SimSwitch &sw, uint32_t number, Use use) {
  MonitorSession *session = sw.mirror().session(number);
  if (session == nullptr) return OPEN_E_PARAM;
  use(*session);
  return OPEN_E_NONE;
}

open_error_t putFlag(uint32_t *out, bool value) {
  *out = value ? 1 : 0;
  return OPEN_E_NONE;
}

open_error_t knownInterface(const SimSwitch &sw, uint32_t ifNum) {
  return sw.findInterface(ifNum) != nullptr ? OPEN_E_NONE : OPEN_E_PARAM;
}

}  // namespace

namespace sim {

open_error_t openapiSwPortMonitorSourcePortsListGet(SimSwitch &sw, uint32_t sessionNum, open_buffdesc *intfList) {
  std::set<uint32_t> ports;
  open_error_t rc = withSession(sw, sessionNum, [&](MonitorSession &s) {
    for (const auto &[ifNum, direction] : s.sourcePorts) ports.insert(ifNum);
  });
  return rc == OPEN_E_NONE ? putText(intfList, joinNumbers(ports)) : rc;
}

open_error_t openapiMirrorSourcePortDirectionGet(SimSwitch &sw, uint32_t sessionNum, uint32_t intIfNum,
                                                 uint32_t *direction) {
  MonitorSession *session = sw.mirror().session(sessionNum);
  if (session == nullptr) return OPEN_E_PARAM;
  auto found = session->sourcePorts.find(intIfNum);
  if (found == session->sourcePorts.end()) return OPEN_E_NOT_FOUND;
  *direction = found->second;
  return OPEN_E_NONE;
}

open_error_t openapiSwPortMonitorSourcePortAdd(SimSwitch &sw, uint32_t sessionNum, uint32_t intIfNum,
                                               uint32_t direction) {
  return sw.mirror().addSourcePort(sessionNum, intIfNum, mirrorPortOf(sw, intIfNum), direction);
}

open_error_t openapiSwPortMonitorSourcePortRemove(SimSwitch &sw, uint32_t sessionNum, uint32_t intIfNum) {
  return sw.mirror().removeSourcePort(sessionNum, intIfNum);
}

open_error_t openapiSwPortMonitorDestPortGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *intIfNum) {
  return withSession(sw, sessionNum, [&](MonitorSession &s) { *intIfNum = s.destination; });
}

open_error_t openapiSwPortMonitorDestPortSet(SimSwitch &sw, uint32_t sessionNum, uint32_t intIfNum) {
  return sw.mirror().setDestination(sessionNum, intIfNum, mirrorPortOf(sw, intIfNum));
}

open_error_t openapiSwPortMonitorDestPortRemove(SimSwitch &sw, uint32_t sessionNum) {
  return withSession(sw, sessionNum, [](MonitorSession &s) { s.destination = 0; });
}

open_error_t openapiSwPortMonitorModeGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *mode) {
  return withSession(sw, sessionNum, [&](MonitorSession &s) { *mode = s.enabled ? 1 : 0; });
}

open_error_t openapiSwPortMonitorModeSet(SimSwitch &sw, uint32_t sessionNum, uint32_t mode) {
  if (mode > 1) return OPEN_E_PARAM;
  return withSession(sw, sessionNum, [&](MonitorSession &s) { s.enabled = mode == 1; });
}

open_error_t openapiSwPortMonitorSessionCount(SimSwitch &, uint32_t *sessionCount) {
  *sessionCount = kMonitorSessions;
  return OPEN_E_NONE;
}

open_error_t openapiSwPortMonitorConfigRemove(SimSwitch &sw) {
  for (uint32_t number = 1; number <= kMonitorSessions; ++number) (void)sw.mirror().removeSession(number);
  return OPEN_E_NONE;
}

open_error_t openapiSwPortMonitorSessionRemove(SimSwitch &sw, uint32_t sessionNum) {
  return sw.mirror().removeSession(sessionNum);
}

// The session is given only while the port is some session's destination.
open_error_t openapiSwPortMonitorIsDestConfigured(SimSwitch &sw, uint32_t intIfNum, uint32_t *configured,
                                                  uint32_t *sessionNum) {
  if (knownInterface(sw, intIfNum) != OPEN_E_NONE) return OPEN_E_PARAM;
  *sessionNum = sw.mirror().destSessionOf(intIfNum);
  return putFlag(configured, *sessionNum != 0);
}

open_error_t openapiSwPortMonitorIsSrcConfigured(SimSwitch &sw, uint32_t intIfNum, uint32_t *configured) {
  if (knownInterface(sw, intIfNum) != OPEN_E_NONE) return OPEN_E_PARAM;
  return putFlag(configured, sw.mirror().sourceSessionOf(intIfNum) != 0);
}

open_error_t openapiSwPortMonitorSrcConfiguredSessionGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *sessionNum) {
  if (knownInterface(sw, intIfNum) != OPEN_E_NONE) return OPEN_E_PARAM;
  *sessionNum = sw.mirror().sourceSessionOf(intIfNum);
  return *sessionNum != 0 ? OPEN_E_NONE : OPEN_E_NOT_FOUND;
}

open_error_t openapiSwPortMonitorIsValidSrcPort(SimSwitch &sw, uint32_t intIfNum, uint32_t *valid) {
  if (knownInterface(sw, intIfNum) != OPEN_E_NONE) return OPEN_E_PARAM;
  return putFlag(valid, validSource(sw, intIfNum));
}

open_error_t openapiSwPortMonitorIsValidDestPort(SimSwitch &sw, uint32_t intIfNum, uint32_t *valid) {
  if (knownInterface(sw, intIfNum) != OPEN_E_NONE) return OPEN_E_PARAM;
  return putFlag(valid, validDestination(sw, intIfNum));
}

open_error_t openapiSwPortMonitorValidSrcIntfFirstGet(SimSwitch &sw, uint32_t *intIfNum) {
  return nextValid(sw, 0, intIfNum, validSource);
}

open_error_t openapiSwPortMonitorValidSrcIntfNextGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *nextIntIfNum) {
  return nextValid(sw, intIfNum, nextIntIfNum, validSource);
}

open_error_t openapiSwPortMonitorValidSrcIntfListGet(SimSwitch &sw, open_buffdesc *intfList) {
  return validList(sw, intfList, validSource);
}

open_error_t openapiSwPortMonitorValidDestIntfFirstGet(SimSwitch &sw, uint32_t *intIfNum) {
  return nextValid(sw, 0, intIfNum, validDestination);
}

open_error_t openapiSwPortMonitorValidDestIntfNextGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *nextIntIfNum) {
  return nextValid(sw, intIfNum, nextIntIfNum, validDestination);
}

open_error_t openapiSwPortMonitorValidDestIntfListGet(SimSwitch &sw, open_buffdesc *intfList) {
  return validList(sw, intfList, validDestination);
}

open_error_t openapiSwMonitorVlanListGet(SimSwitch &sw, uint32_t sessionNum, open_buffdesc *vlanList) {
  std::string list;
  open_error_t rc = withSession(sw, sessionNum, [&](MonitorSession &s) { list = joinNumbers(s.sourceVlans); });
  return rc == OPEN_E_NONE ? putText(vlanList, list) : rc;
}

open_error_t openapiSwMonitorVlanListSet(SimSwitch &sw, uint32_t sessionNum, open_buffdesc *vlanList,
                                         uint32_t action) {
  return sw.mirror().changeSourceVlans(sessionNum, inputText(vlanList), action, sw.vlans());
}

open_error_t openapiSwMonitorSrcTypeGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *srcType) {
  return withSession(sw, sessionNum, [&](MonitorSession &s) { *srcType = s.sourceType(); });
}

open_error_t openapiSwMonitorDstTypeGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *dstType) {
  return withSession(sw, sessionNum, [&](MonitorSession &s) { *dstType = s.destType(); });
}

open_error_t openapiSwMonitorRemoteSrcVlanGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *vlanId) {
  return withSession(sw, sessionNum, [&](MonitorSession &s) { *vlanId = s.remoteSourceVlan; });
}

open_error_t openapiSwRemoteMonitorSrcVlanSet(SimSwitch &sw, uint32_t sessionNum, uint32_t vlanId) {
  return sw.mirror().setRemoteVlan(sessionNum, &MonitorSession::remoteSourceVlan, vlanId);
}

open_error_t openapiSwMonitorRemoteDstVlanGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *vlanId) {
  return withSession(sw, sessionNum, [&](MonitorSession &s) { *vlanId = s.remoteDestVlan; });
}

open_error_t openapiSwRemoteMonitorDstVlanSet(SimSwitch &sw, uint32_t sessionNum, uint32_t vlanId) {
  return sw.mirror().setRemoteVlan(sessionNum, &MonitorSession::remoteDestVlan, vlanId);
}

open_error_t openapiSwMonitorReflectorPortGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *intIfNum) {
  return withSession(sw, sessionNum, [&](MonitorSession &s) { *intIfNum = s.reflectorPort; });
}

open_error_t openapiSwMonitorReflectorPortSet(SimSwitch &sw, uint32_t sessionNum, uint32_t intIfNum) {
  return sw.mirror().setReflector(sessionNum, intIfNum, mirrorPortOf(sw, intIfNum));
}

open_error_t openapiSwMonitorIpAclGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *aclId) {
  return withSession(sw, sessionNum, [&](MonitorSession &s) { *aclId = s.ipAcl; });
}

// Action 1 attaches an existing list, 0 detaches.
open_error_t openapiSwMonitorIpAclSet(SimSwitch &sw, uint32_t sessionNum, uint32_t aclId, uint32_t action) {
  if (action > 1 || (action == 1 && !sw.acls().ipAclExists(aclId))) return OPEN_E_PARAM;
  return withSession(sw, sessionNum, [&](MonitorSession &s) { s.ipAcl = action == 1 ? aclId : 0; });
}

open_error_t openapiSwMonitorMacAclGet(SimSwitch &sw, uint32_t sessionNum, open_buffdesc *aclName) {
  std::string name;
  open_error_t rc = withSession(sw, sessionNum, [&](MonitorSession &s) { name = s.macAcl; });
  return rc == OPEN_E_NONE ? putText(aclName, name) : rc;
}

open_error_t openapiSwMonitorMacAclSet(SimSwitch &sw, uint32_t sessionNum, open_buffdesc *aclName, uint32_t action) {
  std::string name = inputText(aclName);
  if (action > 1 || (action == 1 && !sw.acls().macAclExists(name))) return OPEN_E_PARAM;
  return withSession(sw, sessionNum, [&](MonitorSession &s) { s.macAcl = action == 1 ? name : ""; });
}

open_error_t openapiRemoteSpanVlanGet(SimSwitch &sw, uint32_t *vlanId) {
  const std::set<uint32_t> &vlans = sw.mirror().state().rspanVlans;
  if (vlans.empty()) return OPEN_E_NOT_FOUND;
  *vlanId = *vlans.begin();
  return OPEN_E_NONE;
}

open_error_t openapiRemoteSpanVlanSet(SimSwitch &sw, uint32_t vlanId, uint32_t action) {
  return sw.mirror().changeRspanVlan(vlanId, action, sw.vlans());
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
  return putFlag(isRspan, sw.mirror().isRspanVlan(vlanId));
}

open_error_t openapiMirrorIsSrcVlan(SimSwitch &sw, uint32_t vlanId, uint32_t *isSource) {
  return putFlag(isSource, sw.mirror().isSourceVlan(vlanId));
}

open_error_t openapiMirrorSessionReserveStateGet(SimSwitch &sw, uint32_t sessionNum, uint32_t *reserveState) {
  return withSession(sw, sessionNum, [&](MonitorSession &s) { *reserveState = s.reserved ? 1 : 0; });
}

open_error_t openapiMirrorSessionReserveStateSet(SimSwitch &sw, uint32_t sessionNum, uint32_t reserveState) {
  if (reserveState > 1) return OPEN_E_PARAM;
  return withSession(sw, sessionNum, [&](MonitorSession &s) { s.reserved = reserveState == 1; });
}

// Physical ports are named unit/slot/port.
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
