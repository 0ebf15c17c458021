// The simulated switch's answers to the port monitor and access-list operations.
#include <cstdio>
#include <string>

#include "sim/model_mirror.h"
#include "sim/sim_ops.h"
#include "sim/device.h"

namespace {

// Sources are physical ports, LAGs (their members' frames) and the CPU
// (what it sends and receives); destinations and reflectors are physical
// ports only.
bool isValidSource(const SimDevice &dev, uint32_t ifNum) {
  const SimSwitch::Interface *intf = dev.system().findInterface(ifNum);
  return intf != nullptr && (intf->type == kIntfPhysical || intf->type == kIntfLag || intf->type == kIntfCpu);
}

bool isPhysical(const SimDevice &dev, uint32_t ifNum) {
  const SimSwitch::Interface *intf = dev.system().findInterface(ifNum);
  return intf != nullptr && intf->type == kIntfPhysical;
}

// A port that no session uses as a source may become a destination.
bool isValidDestination(SimDevice &dev, uint32_t ifNum) {
  return isPhysical(dev, ifNum) && dev.mirror().sourceSessionOf(ifNum) == 0;
}

bool isValidSourceNow(SimDevice &dev, uint32_t ifNum) {
  return isValidSource(dev, ifNum) && dev.mirror().destSessionOf(ifNum) == 0;
}

template <typename Valid>
open_error_t nextValid(SimDevice &dev, uint32_t after, uint32_t *next, Valid valid) {
  uint32_t ifNum = after;
  while (dev.system().nextInterface(kIntfAny, ifNum, &ifNum) == OPEN_E_NONE) {
    if (valid(dev, ifNum)) {
      *next = ifNum;
      return OPEN_E_NONE;
    }
  }
  return OPEN_E_NOT_FOUND;
}

template <typename Valid>
open_error_t validList(SimDevice &dev, open_buffdesc *list, Valid valid) {
  std::set<uint32_t> found;
  uint32_t ifNum = 0;
  while (nextValid(dev, ifNum, &ifNum, valid) == OPEN_E_NONE) found.insert(ifNum);
  return putText(list, joinNumbers(found));
}

open_error_t sessionOf(SimDevice &dev, uint32_t number, MonitorSession **session) {
  *session = dev.mirror().session(number);
  return *session != nullptr ? OPEN_E_NONE : OPEN_E_PARAM;
}

template <typename Read>
open_error_t readSession(SimDevice &dev, uint32_t number, Read read) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(dev, number, &session);
  if (rc == OPEN_E_NONE) read(*session);
  return rc;
}

open_error_t putFlag(uint32_t *out, bool value) {
  *out = value ? 1 : 0;
  return OPEN_E_NONE;
}

open_error_t checkSessionVlan(SimDevice &dev, uint32_t vlan) {
  return vlan == 0 || (vlan <= kMaxMirrorVlan && dev.mirror().state().rspanVlans.count(vlan) != 0) ? OPEN_E_NONE
                                                                                                   : OPEN_E_PARAM;
}

open_error_t setSourceVlans(SimDevice &dev, MonitorSession &session, const std::set<uint32_t> &vlans, uint32_t action) {
  for (uint32_t vlan : vlans) {
    if (dev.system().vlanCreated(vlan) != OPEN_E_NONE || dev.mirror().state().rspanVlans.count(vlan) != 0) return OPEN_E_PARAM;
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

open_error_t openapiSwPortMonitorSourcePortsListGet(SimDevice &dev, uint32_t sessionNum, open_buffdesc *intfList) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(dev, sessionNum, &session);
  if (rc != OPEN_E_NONE) return rc;
  std::set<uint32_t> ports;
  for (const auto &[ifNum, direction] : session->sourcePorts) ports.insert(ifNum);
  return putText(intfList, joinNumbers(ports));
}

open_error_t openapiMirrorSourcePortDirectionGet(SimDevice &dev, uint32_t sessionNum, uint32_t intIfNum,
                                                 uint32_t *direction) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(dev, sessionNum, &session);
  if (rc != OPEN_E_NONE) return rc;
  auto found = session->sourcePorts.find(intIfNum);
  if (found == session->sourcePorts.end()) return OPEN_E_NOT_FOUND;
  *direction = found->second;
  return OPEN_E_NONE;
}

// A port mirrors into one session only; a session mirrors ports or VLANs.
open_error_t openapiSwPortMonitorSourcePortAdd(SimDevice &dev, uint32_t sessionNum, uint32_t intIfNum,
                                               uint32_t direction) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(dev, sessionNum, &session);
  if (rc != OPEN_E_NONE) return rc;
  if (!isValidSource(dev, intIfNum) || direction < kMirrorBoth || direction > kMirrorTx ||
      !session->sourceVlans.empty() || dev.mirror().destSessionOf(intIfNum) != 0 ||
      session->reflectorPort == intIfNum) {
    return OPEN_E_PARAM;
  }
  uint32_t owner = dev.mirror().sourceSessionOf(intIfNum);
  if (owner != 0 && owner != sessionNum) return OPEN_E_EXISTS;
  session->sourcePorts[intIfNum] = direction;
  return OPEN_E_NONE;
}

open_error_t openapiSwPortMonitorSourcePortRemove(SimDevice &dev, uint32_t sessionNum, uint32_t intIfNum) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(dev, sessionNum, &session);
  if (rc != OPEN_E_NONE) return rc;
  return session->sourcePorts.erase(intIfNum) != 0 ? OPEN_E_NONE : OPEN_E_PARAM;
}

open_error_t openapiSwPortMonitorDestPortGet(SimDevice &dev, uint32_t sessionNum, uint32_t *intIfNum) {
  return readSession(dev, sessionNum, [&](MonitorSession &s) { *intIfNum = s.destination; });
}

open_error_t openapiSwPortMonitorDestPortSet(SimDevice &dev, uint32_t sessionNum, uint32_t intIfNum) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(dev, sessionNum, &session);
  if (rc != OPEN_E_NONE) return rc;
  if (!isValidDestination(dev, intIfNum) || session->reflectorPort == intIfNum) return OPEN_E_PARAM;
  uint32_t owner = dev.mirror().destSessionOf(intIfNum);
  if (owner != 0 && owner != sessionNum) return OPEN_E_EXISTS;
  session->destination = intIfNum;
  return OPEN_E_NONE;
}

open_error_t openapiSwPortMonitorDestPortRemove(SimDevice &dev, uint32_t sessionNum) {
  return readSession(dev, sessionNum, [](MonitorSession &s) { s.destination = 0; });
}

open_error_t openapiSwPortMonitorModeGet(SimDevice &dev, uint32_t sessionNum, uint32_t *mode) {
  return readSession(dev, sessionNum, [&](MonitorSession &s) { *mode = s.enabled ? 1 : 0; });
}

open_error_t openapiSwPortMonitorModeSet(SimDevice &dev, uint32_t sessionNum, uint32_t mode) {
  if (mode > 1) return OPEN_E_PARAM;
  return readSession(dev, sessionNum, [&](MonitorSession &s) { s.enabled = mode == 1; });
}

open_error_t openapiSwPortMonitorSessionCount(SimDevice &, uint32_t *sessionCount) {
  *sessionCount = kMonitorSessions;
  return OPEN_E_NONE;
}

open_error_t openapiSwPortMonitorConfigRemove(SimDevice &dev) {
  for (uint32_t number = 1; number <= kMonitorSessions; ++number) {
    MonitorSession &session = *dev.mirror().session(number);
    session = MonitorSession{.reserved = session.reserved};
  }
  return OPEN_E_NONE;
}

// A removed session keeps only its reservation.
open_error_t openapiSwPortMonitorSessionRemove(SimDevice &dev, uint32_t sessionNum) {
  return readSession(dev, sessionNum, [](MonitorSession &s) { s = MonitorSession{.reserved = s.reserved}; });
}

open_error_t openapiSwPortMonitorIsDestConfigured(SimDevice &dev, uint32_t intIfNum, uint32_t *configured,
                                                  uint32_t *sessionNum) {
  if (dev.system().findInterface(intIfNum) == nullptr) return OPEN_E_PARAM;
  *sessionNum = dev.mirror().destSessionOf(intIfNum);
  return putFlag(configured, *sessionNum != 0);
}

open_error_t openapiSwPortMonitorIsSrcConfigured(SimDevice &dev, uint32_t intIfNum, uint32_t *configured) {
  if (dev.system().findInterface(intIfNum) == nullptr) return OPEN_E_PARAM;
  return putFlag(configured, dev.mirror().sourceSessionOf(intIfNum) != 0);
}

open_error_t openapiSwPortMonitorSrcConfiguredSessionGet(SimDevice &dev, uint32_t intIfNum, uint32_t *sessionNum) {
  if (dev.system().findInterface(intIfNum) == nullptr) return OPEN_E_PARAM;
  *sessionNum = dev.mirror().sourceSessionOf(intIfNum);
  return *sessionNum != 0 ? OPEN_E_NONE : OPEN_E_NOT_FOUND;
}

open_error_t openapiSwPortMonitorIsValidSrcPort(SimDevice &dev, uint32_t intIfNum, uint32_t *valid) {
  if (dev.system().findInterface(intIfNum) == nullptr) return OPEN_E_PARAM;
  return putFlag(valid, isValidSourceNow(dev, intIfNum));
}

open_error_t openapiSwPortMonitorIsValidDestPort(SimDevice &dev, uint32_t intIfNum, uint32_t *valid) {
  if (dev.system().findInterface(intIfNum) == nullptr) return OPEN_E_PARAM;
  return putFlag(valid, isValidDestination(dev, intIfNum));
}

open_error_t openapiSwPortMonitorValidSrcIntfFirstGet(SimDevice &dev, uint32_t *intIfNum) {
  return nextValid(dev, 0, intIfNum, isValidSourceNow);
}

open_error_t openapiSwPortMonitorValidSrcIntfNextGet(SimDevice &dev, uint32_t intIfNum, uint32_t *nextIntIfNum) {
  return nextValid(dev, intIfNum, nextIntIfNum, isValidSourceNow);
}

open_error_t openapiSwPortMonitorValidSrcIntfListGet(SimDevice &dev, open_buffdesc *intfList) {
  return validList(dev, intfList, isValidSourceNow);
}

open_error_t openapiSwPortMonitorValidDestIntfFirstGet(SimDevice &dev, uint32_t *intIfNum) {
  return nextValid(dev, 0, intIfNum, isValidDestination);
}

open_error_t openapiSwPortMonitorValidDestIntfNextGet(SimDevice &dev, uint32_t intIfNum, uint32_t *nextIntIfNum) {
  return nextValid(dev, intIfNum, nextIntIfNum, isValidDestination);
}

open_error_t openapiSwPortMonitorValidDestIntfListGet(SimDevice &dev, open_buffdesc *intfList) {
  return validList(dev, intfList, isValidDestination);
}

open_error_t openapiSwMonitorVlanListGet(SimDevice &dev, uint32_t sessionNum, open_buffdesc *vlanList) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(dev, sessionNum, &session);
  return rc == OPEN_E_NONE ? putText(vlanList, joinNumbers(session->sourceVlans)) : rc;
}

// Existing VLANs that are not remote-span VLANs; never beside source ports.
open_error_t openapiSwMonitorVlanListSet(SimDevice &dev, uint32_t sessionNum, open_buffdesc *vlanList,
                                         uint32_t action) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(dev, sessionNum, &session);
  if (rc != OPEN_E_NONE) return rc;
  std::set<uint32_t> vlans;
  if (action > 1 || !parseVlanList(inputText(vlanList), vlans) || (action == 1 && !session->sourcePorts.empty())) {
    return OPEN_E_PARAM;
  }
  return setSourceVlans(dev, *session, vlans, action);
}

open_error_t openapiSwMonitorSrcTypeGet(SimDevice &dev, uint32_t sessionNum, uint32_t *srcType) {
  return readSession(dev, sessionNum, [&](MonitorSession &s) { *srcType = s.sourceType(); });
}

open_error_t openapiSwMonitorDstTypeGet(SimDevice &dev, uint32_t sessionNum, uint32_t *dstType) {
  return readSession(dev, sessionNum, [&](MonitorSession &s) { *dstType = s.destType(); });
}

open_error_t openapiSwMonitorRemoteSrcVlanGet(SimDevice &dev, uint32_t sessionNum, uint32_t *vlanId) {
  return readSession(dev, sessionNum, [&](MonitorSession &s) { *vlanId = s.remoteSourceVlan; });
}

// Remote-span session VLANs must be remote-span VLANs; 0 clears.
open_error_t openapiSwRemoteMonitorSrcVlanSet(SimDevice &dev, uint32_t sessionNum, uint32_t vlanId) {
  open_error_t rc = checkSessionVlan(dev, vlanId);
  if (rc != OPEN_E_NONE) return rc;
  return readSession(dev, sessionNum, [&](MonitorSession &s) { s.remoteSourceVlan = vlanId; });
}

open_error_t openapiSwMonitorRemoteDstVlanGet(SimDevice &dev, uint32_t sessionNum, uint32_t *vlanId) {
  return readSession(dev, sessionNum, [&](MonitorSession &s) { *vlanId = s.remoteDestVlan; });
}

open_error_t openapiSwRemoteMonitorDstVlanSet(SimDevice &dev, uint32_t sessionNum, uint32_t vlanId) {
  open_error_t rc = checkSessionVlan(dev, vlanId);
  if (rc != OPEN_E_NONE) return rc;
  return readSession(dev, sessionNum, [&](MonitorSession &s) { s.remoteDestVlan = vlanId; });
}

open_error_t openapiSwMonitorReflectorPortGet(SimDevice &dev, uint32_t sessionNum, uint32_t *intIfNum) {
  return readSession(dev, sessionNum, [&](MonitorSession &s) { *intIfNum = s.reflectorPort; });
}

// The reflector loops remote-span frames back: a physical port that is
// neither a source nor a destination.
open_error_t openapiSwMonitorReflectorPortSet(SimDevice &dev, uint32_t sessionNum, uint32_t intIfNum) {
  if (intIfNum != 0 && (!isValidDestination(dev, intIfNum) || dev.mirror().destSessionOf(intIfNum) != 0)) {
    return OPEN_E_PARAM;
  }
  return readSession(dev, sessionNum, [&](MonitorSession &s) { s.reflectorPort = intIfNum; });
}

open_error_t openapiSwMonitorIpAclGet(SimDevice &dev, uint32_t sessionNum, uint32_t *aclId) {
  return readSession(dev, sessionNum, [&](MonitorSession &s) { *aclId = s.ipAcl; });
}

open_error_t openapiSwMonitorIpAclSet(SimDevice &dev, uint32_t sessionNum, uint32_t aclId, uint32_t action) {
  if (action > 1 || (action == 1 && dev.acls().state().ip.count(aclId) == 0)) return OPEN_E_PARAM;
  return readSession(dev, sessionNum, [&](MonitorSession &s) { s.ipAcl = action == 1 ? aclId : 0; });
}

open_error_t openapiSwMonitorMacAclGet(SimDevice &dev, uint32_t sessionNum, open_buffdesc *aclName) {
  MonitorSession *session = nullptr;
  open_error_t rc = sessionOf(dev, sessionNum, &session);
  return rc == OPEN_E_NONE ? putText(aclName, session->macAcl) : rc;
}

open_error_t openapiSwMonitorMacAclSet(SimDevice &dev, uint32_t sessionNum, open_buffdesc *aclName, uint32_t action) {
  std::string name = inputText(aclName);
  if (action > 1 || (action == 1 && !dev.acls().macAclExists(name))) return OPEN_E_PARAM;
  return readSession(dev, sessionNum, [&](MonitorSession &s) { s.macAcl = action == 1 ? name : ""; });
}

open_error_t openapiRemoteSpanVlanGet(SimDevice &dev, uint32_t *vlanId) {
  const std::set<uint32_t> &vlans = dev.mirror().state().rspanVlans;
  if (vlans.empty()) return OPEN_E_NOT_FOUND;
  *vlanId = *vlans.begin();
  return OPEN_E_NONE;
}

// An existing VLAN that no session mirrors becomes a remote-span VLAN.
open_error_t openapiRemoteSpanVlanSet(SimDevice &dev, uint32_t vlanId, uint32_t action) {
  std::set<uint32_t> &vlans = dev.mirror().state().rspanVlans;
  if (action > 1 || vlanId == 0 || vlanId > kMaxMirrorVlan || dev.system().vlanCreated(vlanId) != OPEN_E_NONE) {
    return OPEN_E_PARAM;
  }
  if (action == 0) return vlans.erase(vlanId) != 0 ? OPEN_E_NONE : OPEN_E_PARAM;
  if (dev.mirror().isSourceVlan(vlanId)) return OPEN_E_PARAM;
  return vlans.insert(vlanId).second ? OPEN_E_NONE : OPEN_E_EXISTS;
}

open_error_t openapiRemoteSpanVlanNextGet(SimDevice &dev, uint32_t vlanId, uint32_t *nextVlanId) {
  const std::set<uint32_t> &vlans = dev.mirror().state().rspanVlans;
  auto next = vlans.upper_bound(vlanId);
  if (next == vlans.end()) return OPEN_E_NOT_FOUND;
  *nextVlanId = *next;
  return OPEN_E_NONE;
}

open_error_t openapiRemoteSpanVlanListGet(SimDevice &dev, open_buffdesc *vlanList) {
  return putText(vlanList, joinNumbers(dev.mirror().state().rspanVlans));
}

open_error_t openapiMirrorIsRspanVlan(SimDevice &dev, uint32_t vlanId, uint32_t *isRspan) {
  return putFlag(isRspan, dev.mirror().state().rspanVlans.count(vlanId) != 0);
}

open_error_t openapiMirrorIsSrcVlan(SimDevice &dev, uint32_t vlanId, uint32_t *isSource) {
  return putFlag(isSource, dev.mirror().isSourceVlan(vlanId));
}

open_error_t openapiMirrorSessionReserveStateGet(SimDevice &dev, uint32_t sessionNum, uint32_t *reserveState) {
  return readSession(dev, sessionNum, [&](MonitorSession &s) { *reserveState = s.reserved ? 1 : 0; });
}

open_error_t openapiMirrorSessionReserveStateSet(SimDevice &dev, uint32_t sessionNum, uint32_t reserveState) {
  if (reserveState > 1) return OPEN_E_PARAM;
  return readSession(dev, sessionNum, [&](MonitorSession &s) { s.reserved = reserveState == 1; });
}

open_error_t openapiAclGetFirst(SimDevice &dev, uint32_t aclType, uint32_t *aclId) {
  return dev.acls().first(aclType, aclId);
}

open_error_t openapiAclGetNext(SimDevice &dev, uint32_t aclType, uint32_t aclId, uint32_t *nextAclId) {
  return dev.acls().next(aclType, aclId, nextAclId);
}

open_error_t openapiAclNameGet(SimDevice &dev, uint32_t aclId, open_buffdesc *aclName) {
  std::string name;
  open_error_t rc = dev.acls().name(aclId, name);
  return rc == OPEN_E_NONE ? putText(aclName, name) : rc;
}

open_error_t openapiAclGet(SimDevice &dev, uint32_t aclType, open_buffdesc *aclName, uint32_t *aclId) {
  return dev.acls().byName(aclType, inputText(aclName), aclId);
}

// Physical ports are numbered unit/slot/port in their names.
open_error_t openapiHashIntfUnitSlotPortGet(SimDevice &dev, uint32_t intIfNum, uint32_t *unit, uint32_t *slot,
                                            uint32_t *port) {
  const SimSwitch::Interface *intf = dev.system().findInterface(intIfNum);
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
