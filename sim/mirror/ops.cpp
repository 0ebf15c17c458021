// The simulated switch's answers to the port monitor operations, and the
// unit, slot and port of an interface by which the monitor routes name ports.
#include <cstdio>
#include <set>
#include <string>

#include "sim/device.h"
#include "sim/sim_ops.h"
#include "sim/walk.h"

namespace {

template <open_error_t (MirrorModel::*Next)(uint32_t, uint32_t *) const>
open_error_t validList(const MirrorModel &mirror, open_buffdesc *list) {
  std::set<uint32_t> found;
  uint32_t ifNum = 0;
  while ((mirror.*Next)(ifNum, &ifNum) == OPEN_E_NONE) found.insert(ifNum);
  return putText(list, joinNumbers(found));
}

// Reads or changes one session; -22 for a number that names none.
template <typename Use>
open_error_t withSession(SimDevice &dev, uint32_t number, Use use) {
  MonitorSession *session = dev.mirror().session(number);
  if (session == nullptr) return OPEN_E_PARAM;
  use(*session);
  return OPEN_E_NONE;
}

open_error_t putFlag(uint32_t *out, bool value) {
  *out = value ? 1 : 0;
  return OPEN_E_NONE;
}

bool knownInterface(const SimDevice &dev, uint32_t ifNum) { return dev.system().findInterface(ifNum) != nullptr; }

}  // namespace

namespace sim {

open_error_t openapiSwPortMonitorSourcePortsListGet(SimDevice &dev, uint32_t sessionNum, open_buffdesc *intfList) {
  std::set<uint32_t> ports;
  open_error_t rc = withSession(dev, sessionNum, [&](MonitorSession &s) {
    for (const auto &[ifNum, direction] : s.sourcePorts) ports.insert(ifNum);
  });
  return rc == OPEN_E_NONE ? putText(intfList, joinNumbers(ports)) : rc;
}

open_error_t openapiMirrorSourcePortDirectionGet(SimDevice &dev, uint32_t sessionNum, uint32_t intIfNum,
                                                 uint32_t *direction) {
  MonitorSession *session = dev.mirror().session(sessionNum);
  if (session == nullptr) return OPEN_E_PARAM;
  auto found = session->sourcePorts.find(intIfNum);
  if (found == session->sourcePorts.end()) return OPEN_E_NOT_FOUND;
  *direction = found->second;
  return OPEN_E_NONE;
}

open_error_t openapiSwPortMonitorSourcePortAdd(SimDevice &dev, uint32_t sessionNum, uint32_t intIfNum,
                                               uint32_t direction) {
  return dev.mirror().addSourcePort(sessionNum, intIfNum, direction);
}

open_error_t openapiSwPortMonitorSourcePortRemove(SimDevice &dev, uint32_t sessionNum, uint32_t intIfNum) {
  return dev.mirror().removeSourcePort(sessionNum, intIfNum);
}

open_error_t openapiSwPortMonitorDestPortGet(SimDevice &dev, uint32_t sessionNum, uint32_t *intIfNum) {
  return withSession(dev, sessionNum, [&](MonitorSession &s) { *intIfNum = s.destination; });
}

open_error_t openapiSwPortMonitorDestPortSet(SimDevice &dev, uint32_t sessionNum, uint32_t intIfNum) {
  return dev.mirror().setDestination(sessionNum, intIfNum);
}

open_error_t openapiSwPortMonitorDestPortRemove(SimDevice &dev, uint32_t sessionNum) {
  return withSession(dev, sessionNum, [](MonitorSession &s) { s.destination = 0; });
}

open_error_t openapiSwPortMonitorModeGet(SimDevice &dev, uint32_t sessionNum, uint32_t *mode) {
  return withSession(dev, sessionNum, [&](MonitorSession &s) { *mode = s.enabled ? 1 : 0; });
}

open_error_t openapiSwPortMonitorModeSet(SimDevice &dev, uint32_t sessionNum, uint32_t mode) {
  if (mode > 1) return OPEN_E_PARAM;
  return withSession(dev, sessionNum, [&](MonitorSession &s) { s.enabled = mode == 1; });
}

open_error_t openapiSwPortMonitorSessionCount(SimDevice &, uint32_t *sessionCount) {
  *sessionCount = kMonitorSessions;
  return OPEN_E_NONE;
}

open_error_t openapiSwPortMonitorConfigRemove(SimDevice &dev) {
  for (uint32_t number = 1; number <= kMonitorSessions; ++number) (void)dev.mirror().removeSession(number);
  return OPEN_E_NONE;
}

open_error_t openapiSwPortMonitorSessionRemove(SimDevice &dev, uint32_t sessionNum) {
  return dev.mirror().removeSession(sessionNum);
}

// The session is given only while the port is some session's destination.
open_error_t openapiSwPortMonitorIsDestConfigured(SimDevice &dev, uint32_t intIfNum, uint32_t *configured,
                                                  uint32_t *sessionNum) {
  if (!knownInterface(dev, intIfNum)) return OPEN_E_PARAM;
  *sessionNum = dev.mirror().destSessionOf(intIfNum);
  return putFlag(configured, *sessionNum != 0);
}

open_error_t openapiSwPortMonitorIsSrcConfigured(SimDevice &dev, uint32_t intIfNum, uint32_t *configured) {
  if (!knownInterface(dev, intIfNum)) return OPEN_E_PARAM;
  return putFlag(configured, dev.mirror().sourceSessionOf(intIfNum) != 0);
}

open_error_t openapiSwPortMonitorSrcConfiguredSessionGet(SimDevice &dev, uint32_t intIfNum, uint32_t *sessionNum) {
  if (!knownInterface(dev, intIfNum)) return OPEN_E_PARAM;
  *sessionNum = dev.mirror().sourceSessionOf(intIfNum);
  return *sessionNum != 0 ? OPEN_E_NONE : OPEN_E_NOT_FOUND;
}

open_error_t openapiSwPortMonitorIsValidSrcPort(SimDevice &dev, uint32_t intIfNum, uint32_t *valid) {
  if (!knownInterface(dev, intIfNum)) return OPEN_E_PARAM;
  return putFlag(valid, dev.mirror().validSource(intIfNum));
}

open_error_t openapiSwPortMonitorIsValidDestPort(SimDevice &dev, uint32_t intIfNum, uint32_t *valid) {
  if (!knownInterface(dev, intIfNum)) return OPEN_E_PARAM;
  return putFlag(valid, dev.mirror().validDestination(intIfNum));
}

open_error_t openapiSwPortMonitorValidSrcIntfFirstGet(SimDevice &dev, uint32_t *intIfNum) {
  return dev.mirror().nextValidSource(0, intIfNum);
}

open_error_t openapiSwPortMonitorValidSrcIntfNextGet(SimDevice &dev, uint32_t intIfNum, uint32_t *nextIntIfNum) {
  return dev.mirror().nextValidSource(intIfNum, nextIntIfNum);
}

open_error_t openapiSwPortMonitorValidSrcIntfListGet(SimDevice &dev, open_buffdesc *intfList) {
  return validList<&MirrorModel::nextValidSource>(dev.mirror(), intfList);
}

open_error_t openapiSwPortMonitorValidDestIntfFirstGet(SimDevice &dev, uint32_t *intIfNum) {
  return dev.mirror().nextValidDestination(0, intIfNum);
}

open_error_t openapiSwPortMonitorValidDestIntfNextGet(SimDevice &dev, uint32_t intIfNum, uint32_t *nextIntIfNum) {
  return dev.mirror().nextValidDestination(intIfNum, nextIntIfNum);
}

open_error_t openapiSwPortMonitorValidDestIntfListGet(SimDevice &dev, open_buffdesc *intfList) {
  return validList<&MirrorModel::nextValidDestination>(dev.mirror(), intfList);
}

open_error_t openapiSwMonitorVlanListGet(SimDevice &dev, uint32_t sessionNum, open_buffdesc *vlanList) {
  std::string list;
  open_error_t rc = withSession(dev, sessionNum, [&](MonitorSession &s) { list = joinNumbers(s.sourceVlans); });
  return rc == OPEN_E_NONE ? putText(vlanList, list) : rc;
}

open_error_t openapiSwMonitorVlanListSet(SimDevice &dev, uint32_t sessionNum, open_buffdesc *vlanList,
                                         uint32_t action) {
  return dev.mirror().changeSourceVlans(sessionNum, inputText(vlanList), action);
}

open_error_t openapiSwMonitorSrcTypeGet(SimDevice &dev, uint32_t sessionNum, uint32_t *srcType) {
  return withSession(dev, sessionNum, [&](MonitorSession &s) { *srcType = s.sourceType(); });
}

open_error_t openapiSwMonitorDstTypeGet(SimDevice &dev, uint32_t sessionNum, uint32_t *dstType) {
  return withSession(dev, sessionNum, [&](MonitorSession &s) { *dstType = s.destType(); });
}

open_error_t openapiSwMonitorRemoteSrcVlanGet(SimDevice &dev, uint32_t sessionNum, uint32_t *vlanId) {
  return withSession(dev, sessionNum, [&](MonitorSession &s) { *vlanId = s.remoteSourceVlan; });
}

open_error_t openapiSwRemoteMonitorSrcVlanSet(SimDevice &dev, uint32_t sessionNum, uint32_t vlanId) {
  return dev.mirror().setRemoteVlan(sessionNum, &MonitorSession::remoteSourceVlan, vlanId);
}

open_error_t openapiSwMonitorRemoteDstVlanGet(SimDevice &dev, uint32_t sessionNum, uint32_t *vlanId) {
  return withSession(dev, sessionNum, [&](MonitorSession &s) { *vlanId = s.remoteDestVlan; });
}

open_error_t openapiSwRemoteMonitorDstVlanSet(SimDevice &dev, uint32_t sessionNum, uint32_t vlanId) {
  return dev.mirror().setRemoteVlan(sessionNum, &MonitorSession::remoteDestVlan, vlanId);
}

open_error_t openapiSwMonitorReflectorPortGet(SimDevice &dev, uint32_t sessionNum, uint32_t *intIfNum) {
  return withSession(dev, sessionNum, [&](MonitorSession &s) { *intIfNum = s.reflectorPort; });
}

open_error_t openapiSwMonitorReflectorPortSet(SimDevice &dev, uint32_t sessionNum, uint32_t intIfNum) {
  return dev.mirror().setReflector(sessionNum, intIfNum);
}

open_error_t openapiSwMonitorIpAclGet(SimDevice &dev, uint32_t sessionNum, uint32_t *aclId) {
  return withSession(dev, sessionNum, [&](MonitorSession &s) { *aclId = s.ipAcl; });
}

// Action 1 attaches an existing list, 0 detaches.
open_error_t openapiSwMonitorIpAclSet(SimDevice &dev, uint32_t sessionNum, uint32_t aclId, uint32_t action) {
  if (action > 1 || (action == 1 && !dev.acls().ipAclExists(aclId))) return OPEN_E_PARAM;
  return withSession(dev, sessionNum, [&](MonitorSession &s) { s.ipAcl = action == 1 ? aclId : 0; });
}

open_error_t openapiSwMonitorMacAclGet(SimDevice &dev, uint32_t sessionNum, open_buffdesc *aclName) {
  std::string name;
  open_error_t rc = withSession(dev, sessionNum, [&](MonitorSession &s) { name = s.macAcl; });
  return rc == OPEN_E_NONE ? putText(aclName, name) : rc;
}

open_error_t openapiSwMonitorMacAclSet(SimDevice &dev, uint32_t sessionNum, open_buffdesc *aclName, uint32_t action) {
  std::string name = inputText(aclName);
  if (action > 1 || (action == 1 && !dev.acls().macAclExists(name))) return OPEN_E_PARAM;
  return withSession(dev, sessionNum, [&](MonitorSession &s) { s.macAcl = action == 1 ? name : ""; });
}

open_error_t openapiRemoteSpanVlanGet(SimDevice &dev, uint32_t *vlanId) {
  const uint32_t *first = nullptr;
  open_error_t rc = walk::first(dev.mirror().state().rspanVlans, first);
  if (rc == OPEN_E_NONE) *vlanId = *first;
  return rc;
}

open_error_t openapiRemoteSpanVlanSet(SimDevice &dev, uint32_t vlanId, uint32_t action) {
  return dev.mirror().changeRspanVlan(vlanId, action);
}

open_error_t openapiRemoteSpanVlanNextGet(SimDevice &dev, uint32_t vlanId, uint32_t *nextVlanId) {
  const uint32_t *next = nullptr;
  open_error_t rc = walk::next(dev.mirror().state().rspanVlans, vlanId, next);
  if (rc == OPEN_E_NONE) *nextVlanId = *next;
  return rc;
}

open_error_t openapiRemoteSpanVlanListGet(SimDevice &dev, open_buffdesc *vlanList) {
  return putText(vlanList, joinNumbers(dev.mirror().state().rspanVlans));
}

open_error_t openapiMirrorIsRspanVlan(SimDevice &dev, uint32_t vlanId, uint32_t *isRspan) {
  return putFlag(isRspan, dev.mirror().isRspanVlan(vlanId));
}

open_error_t openapiMirrorIsSrcVlan(SimDevice &dev, uint32_t vlanId, uint32_t *isSource) {
  return putFlag(isSource, dev.mirror().isSourceVlan(vlanId));
}

open_error_t openapiMirrorSessionReserveStateGet(SimDevice &dev, uint32_t sessionNum, uint32_t *reserveState) {
  return withSession(dev, sessionNum, [&](MonitorSession &s) { *reserveState = s.reserved ? 1 : 0; });
}

open_error_t openapiMirrorSessionReserveStateSet(SimDevice &dev, uint32_t sessionNum, uint32_t reserveState) {
  if (reserveState > 1) return OPEN_E_PARAM;
  return withSession(dev, sessionNum, [&](MonitorSession &s) { s.reserved = reserveState == 1; });
}

// Physical ports are named unit/slot/port.
open_error_t openapiHashIntfUnitSlotPortGet(SimDevice &dev, uint32_t intIfNum, uint32_t *unit, uint32_t *slot,
                                            uint32_t *port) {
  const SimSwitch::Interface *intf = dev.system().findInterface(intIfNum);
  unsigned u = 0, s = 0, p = 0;
  if (intf == nullptr || intf->type != OPEN_INTF_TYPE_PHY || sscanf(intf->name.c_str(), "%u/%u/%u", &u, &s, &p) != 3) {
    return OPEN_E_PARAM;
  }
  *unit = u;
  *slot = s;
  *port = p;
  return OPEN_E_NONE;
}

}  // namespace sim
