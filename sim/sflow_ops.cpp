// The simulated switch's answers to the sFlow operations.
#include <cstring>
#include <string>

#include "sim/sflow_agent.h"
#include "sim/sim_ops.h"
#include "sim/sim_text.h"
#include "sim/switch.h"

namespace {

// Every access sees the receivers whose time ran out already freed.
SflowAgent &agentOf(SimSwitch &sw) {
  sw.sflow().expire(sw.nowNanos());
  return sw.sflow();
}

bool isPhysicalPort(const SimSwitch &sw, uint32_t ifNum) {
  const SimSwitch::Interface *intf = sw.findInterface(ifNum);
  return intf != nullptr && intf->type == kIntfPhysical;
}

// The agent's source is any interface but the CPU; 0 lets the agent choose.
open_error_t checkSourceInterface(const SimSwitch &sw, uint32_t ifNum) {
  if (ifNum == 0) return OPEN_E_NONE;
  const SimSwitch::Interface *intf = sw.findInterface(ifNum);
  return intf != nullptr && intf->type != kIntfCpu ? OPEN_E_NONE : OPEN_E_PARAM;
}

bool validInstance(uint32_t instance) { return instance >= kSflowMinInstance && instance <= kSflowMaxInstance; }

template <typename Table>
open_error_t entryAt(SimSwitch &sw, Table &table, uint32_t ifNum, uint32_t instance,
                     typename Table::mapped_type **out) {
  if (!isPhysicalPort(sw, ifNum) || !validInstance(instance)) return OPEN_E_PARAM;
  *out = &table[{ifNum, instance}];
  return OPEN_E_NONE;
}

open_error_t samplerAt(SimSwitch &sw, uint32_t ifNum, uint32_t instance, SflowSampler **out) {
  return entryAt(sw, agentOf(sw).state().samplers, ifNum, instance, out);
}

open_error_t pollerAt(SimSwitch &sw, uint32_t ifNum, uint32_t instance, SflowPoller **out) {
  return entryAt(sw, agentOf(sw).state().pollers, ifNum, instance, out);
}

// Reads one field of a looked-up entry.
template <typename Entry, typename Lookup, typename Field>
open_error_t readField(Lookup lookup, Field field, uint32_t *out) {
  Entry *entry = nullptr;
  open_error_t rc = lookup(&entry);
  if (rc == OPEN_E_NONE) *out = entry->*field;
  return rc;
}

// Writes one field of a looked-up entry when `check` accepts the value.
template <typename Entry, typename Lookup, typename Field>
open_error_t writeField(Lookup lookup, Field field, uint32_t value, open_error_t check) {
  Entry *entry = nullptr;
  open_error_t rc = lookup(&entry);
  if (rc != OPEN_E_NONE) return rc;
  if (check != OPEN_E_NONE) return check;
  entry->*field = value;
  return OPEN_E_NONE;
}

open_error_t checkAddress(const open_inet_addr_t *addr) {
  return addr->family == OPEN_AF_INET || addr->family == OPEN_AF_INET6 ? OPEN_E_NONE : OPEN_E_PARAM;
}

open_error_t putRange(uint32_t low, uint32_t high, uint32_t *min, uint32_t *max) {
  *min = low;
  *max = high;
  return OPEN_E_NONE;
}

open_error_t samplerAclSet(SimSwitch &sw, std::map<uint32_t, SflowSamplerAcl> &acls, uint32_t index, uint32_t ifNum,
                           uint32_t aclNum, uint32_t action) {
  if (!isPhysicalPort(sw, ifNum) || action > 1) return OPEN_E_PARAM;
  if (action == 0) {
    acls.erase(ifNum);
    return OPEN_E_NONE;
  }
  if (aclNum == 0 || index < 1 || index > kSflowReceivers) return OPEN_E_PARAM;
  acls[ifNum] = SflowSamplerAcl{aclNum, index};
  return OPEN_E_NONE;
}

open_error_t samplerAclGet(SimSwitch &sw, const std::map<uint32_t, SflowSamplerAcl> &acls, uint32_t ifNum,
                           uint32_t *aclNum) {
  if (!isPhysicalPort(sw, ifNum)) return OPEN_E_PARAM;
  auto found = acls.find(ifNum);
  *aclNum = found == acls.end() ? 0 : found->second.aclNum;
  return OPEN_E_NONE;
}

}  // namespace

namespace sim {

open_error_t openapiSflowSourceInterfaceGet(SimSwitch &sw, uint32_t *ifNum) {
  *ifNum = agentOf(sw).state().sourceIfNum;
  return OPEN_E_NONE;
}

open_error_t openapiSflowSourceInterfaceSet(SimSwitch &sw, uint32_t ifNum) {
  open_error_t rc = checkSourceInterface(sw, ifNum);
  if (rc == OPEN_E_NONE) agentOf(sw).state().sourceIfNum = ifNum;
  return rc;
}

open_error_t openapiSflowRemoteAgentSourceInterfaceGet(SimSwitch &sw, uint32_t *ifNum) {
  *ifNum = agentOf(sw).state().remoteAgentSourceIfNum;
  return OPEN_E_NONE;
}

open_error_t openapiSflowRemoteAgentSourceInterfaceSet(SimSwitch &sw, uint32_t ifNum) {
  open_error_t rc = checkSourceInterface(sw, ifNum);
  if (rc == OPEN_E_NONE) agentOf(sw).state().remoteAgentSourceIfNum = ifNum;
  return rc;
}

// The remote agents leave from the agent's own management address.
open_error_t openapiSflowRemoteAgentSourceIpv4AddrGet(SimSwitch &sw, uint32_t *ipAddr) {
  *ipAddr = agentOf(sw).state().agentIpv4;
  return OPEN_E_NONE;
}

open_error_t openapiSflowRemoteAgentSourceIpv6AddrGet(SimSwitch &sw, open_in6_addr_t *ipv6Addr) {
  *ipv6Addr = agentOf(sw).state().agentIpv6;
  return OPEN_E_NONE;
}

open_error_t openapiSflowSourceIpv4AddrGet(SimSwitch &sw, uint32_t *ipAddr) {
  *ipAddr = agentOf(sw).state().agentIpv4;
  return OPEN_E_NONE;
}

open_error_t openapiSflowSourceIpv6AddrGet(SimSwitch &sw, open_in6_addr_t *ipv6Addr) {
  *ipv6Addr = agentOf(sw).state().agentIpv6;
  return OPEN_E_NONE;
}

open_error_t openapiSflowRcvrCountGet(SimSwitch &, uint32_t *count) {
  *count = kSflowReceivers;
  return OPEN_E_NONE;
}

open_error_t openapiSflowRcvrOwnerStringLenGet(SimSwitch &, uint32_t *maxLen) {
  *maxLen = kSflowOwnerMaxLen;
  return OPEN_E_NONE;
}

open_error_t openapiSflowRcvrOwnerGet(SimSwitch &sw, uint32_t index, open_buffdesc *owner) {
  std::string text;
  open_error_t rc = agentOf(sw).ownerGet(index, text);
  return rc == OPEN_E_NONE ? putText(owner, text) : rc;
}

open_error_t openapiSflowRcvrOwnerSet(SimSwitch &sw, uint32_t index, open_buffdesc *owner, uint32_t timeout) {
  return agentOf(sw).ownerSet(index, inputText(owner), timeout, sw.nowNanos());
}

open_error_t openapiSflowRcvrTimeRemainingGet(SimSwitch &sw, uint32_t index, uint32_t *timeRemaining) {
  return agentOf(sw).timeRemaining(index, sw.nowNanos(), timeRemaining);
}

open_error_t openapiSflowRcvrAddressGet(SimSwitch &sw, uint32_t index, open_inet_addr_t *ipAddr) {
  SflowReceiver *receiver = nullptr;
  open_error_t rc = agentOf(sw).receiver(index, &receiver);
  if (rc == OPEN_E_NONE) *ipAddr = receiver->address;
  return rc;
}

open_error_t openapiSflowRcvrAddressSet(SimSwitch &sw, uint32_t index, open_inet_addr_t *ipAddr) {
  SflowReceiver *receiver = nullptr;
  open_error_t rc = agentOf(sw).receiver(index, &receiver);
  if (rc == OPEN_E_NONE) rc = checkAddress(ipAddr);
  if (rc == OPEN_E_NONE) receiver->address = *ipAddr;
  return rc;
}

open_error_t openapiSflowRcvrPortGet(SimSwitch &sw, uint32_t index, uint32_t *port) {
  return readField<SflowReceiver>([&](SflowReceiver **r) { return agentOf(sw).receiver(index, r); },
                                  &SflowReceiver::port, port);
}

open_error_t openapiSflowRcvrPortSet(SimSwitch &sw, uint32_t index, uint32_t port) {
  return writeField<SflowReceiver>([&](SflowReceiver **r) { return agentOf(sw).receiver(index, r); },
                                   &SflowReceiver::port, port, sflowInRange(port, 1, 65535));
}

open_error_t openapiSflowRcvrMaxDatagramSizeRangeGet(SimSwitch &, uint32_t *minSize, uint32_t *maxSize) {
  return putRange(kSflowMinDatagram, kSflowMaxDatagram, minSize, maxSize);
}

open_error_t openapiSflowRcvrMaxDatagramSizeGet(SimSwitch &sw, uint32_t index, uint32_t *size) {
  return readField<SflowReceiver>([&](SflowReceiver **r) { return agentOf(sw).receiver(index, r); },
                                  &SflowReceiver::maxDatagramSize, size);
}

open_error_t openapiSflowRcvrMaxDatagramSizeSet(SimSwitch &sw, uint32_t index, uint32_t size) {
  return writeField<SflowReceiver>([&](SflowReceiver **r) { return agentOf(sw).receiver(index, r); },
                                   &SflowReceiver::maxDatagramSize, size,
                                   sflowInRange(size, kSflowMinDatagram, kSflowMaxDatagram));
}

open_error_t openapiSflowInstanceRangeGet(SimSwitch &, uint32_t *minInstance, uint32_t *maxInstance) {
  return putRange(kSflowMinInstance, kSflowMaxInstance, minInstance, maxInstance);
}

open_error_t openapiSflowFsRcvrIndexGet(SimSwitch &sw, uint32_t ifNum, uint32_t instance, uint32_t *rcvrIndex) {
  return readField<SflowSampler>([&](SflowSampler **s) { return samplerAt(sw, ifNum, instance, s); },
                                 &SflowSampler::receiver, rcvrIndex);
}

open_error_t openapiSflowFsRcvrIndexSet(SimSwitch &sw, uint32_t ifNum, uint32_t instance, uint32_t rcvrIndex) {
  return writeField<SflowSampler>([&](SflowSampler **s) { return samplerAt(sw, ifNum, instance, s); },
                                  &SflowSampler::receiver, rcvrIndex, agentOf(sw).checkReceiverBinding(rcvrIndex));
}

open_error_t openapiSflowFsPacketSamplingRateRangeGet(SimSwitch &, uint32_t *minRate, uint32_t *maxRate) {
  return putRange(kSflowMinRate, kSflowMaxRate, minRate, maxRate);
}

// Type 1 samples what the port receives, 2 what it sends.
open_error_t openapiSflowFsPacketSamplingRateGet(SimSwitch &sw, uint32_t ifNum, uint32_t instance, uint32_t type,
                                                 uint32_t *rate) {
  if (type != 1 && type != 2) return OPEN_E_PARAM;
  return readField<SflowSampler>([&](SflowSampler **s) { return samplerAt(sw, ifNum, instance, s); },
                                 type == 1 ? &SflowSampler::ingressRate : &SflowSampler::egressRate, rate);
}

open_error_t openapiSflowFsPacketSamplingRateSet(SimSwitch &sw, uint32_t ifNum, uint32_t instance, uint32_t type,
                                                 uint32_t rate) {
  if (type != 1 && type != 2) return OPEN_E_PARAM;
  open_error_t check = rate == 0 ? OPEN_E_NONE : sflowInRange(rate, kSflowMinRate, kSflowMaxRate);
  return writeField<SflowSampler>([&](SflowSampler **s) { return samplerAt(sw, ifNum, instance, s); },
                                  type == 1 ? &SflowSampler::ingressRate : &SflowSampler::egressRate, rate, check);
}

open_error_t openapiSflowFsMaximumHeaderSizeRangeGet(SimSwitch &, uint32_t *minHeaderSize, uint32_t *maxHeaderSize) {
  return putRange(kSflowMinHeader, kSflowMaxHeader, minHeaderSize, maxHeaderSize);
}

open_error_t openapiSflowFsMaximumHeaderSizeGet(SimSwitch &sw, uint32_t ifNum, uint32_t instance, uint32_t *size) {
  return readField<SflowSampler>([&](SflowSampler **s) { return samplerAt(sw, ifNum, instance, s); },
                                 &SflowSampler::maxHeaderSize, size);
}

open_error_t openapiSflowFsMaximumHeaderSizeSet(SimSwitch &sw, uint32_t ifNum, uint32_t instance, uint32_t size) {
  return writeField<SflowSampler>([&](SflowSampler **s) { return samplerAt(sw, ifNum, instance, s); },
                                  &SflowSampler::maxHeaderSize, size,
                                  sflowInRange(size, kSflowMinHeader, kSflowMaxHeader));
}

open_error_t openapiSflowSamplerIpAclGet(SimSwitch &sw, uint32_t ifNum, uint32_t *aclNum) {
  return samplerAclGet(sw, agentOf(sw).state().ipAcls, ifNum, aclNum);
}

open_error_t openapiSflowSamplerIpAclSet(SimSwitch &sw, uint32_t index, uint32_t ifNum, uint32_t aclNum,
                                         uint32_t action) {
  return samplerAclSet(sw, agentOf(sw).state().ipAcls, index, ifNum, aclNum, action);
}

open_error_t openapiSflowSamplerMacAclGet(SimSwitch &sw, uint32_t ifNum, uint32_t *aclNum) {
  return samplerAclGet(sw, agentOf(sw).state().macAcls, ifNum, aclNum);
}

open_error_t openapiSflowSamplerMacAclSet(SimSwitch &sw, uint32_t index, uint32_t ifNum, uint32_t aclNum,
                                          uint32_t action) {
  return samplerAclSet(sw, agentOf(sw).state().macAcls, index, ifNum, aclNum, action);
}

open_error_t openapiSflowCpRcvrIndexGet(SimSwitch &sw, uint32_t ifNum, uint32_t instance, uint32_t *rcvrIndex) {
  return readField<SflowPoller>([&](SflowPoller **p) { return pollerAt(sw, ifNum, instance, p); },
                                &SflowPoller::receiver, rcvrIndex);
}

open_error_t openapiSflowCpRcvrIndexSet(SimSwitch &sw, uint32_t ifNum, uint32_t instance, uint32_t rcvrIndex) {
  return writeField<SflowPoller>([&](SflowPoller **p) { return pollerAt(sw, ifNum, instance, p); },
                                 &SflowPoller::receiver, rcvrIndex, agentOf(sw).checkReceiverBinding(rcvrIndex));
}

open_error_t openapiSflowCpIntervalRangeGet(SimSwitch &, uint32_t *minInterval, uint32_t *maxInterval) {
  return putRange(kSflowMinInterval, kSflowMaxInterval, minInterval, maxInterval);
}

open_error_t openapiSflowCpIntervalGet(SimSwitch &sw, uint32_t ifNum, uint32_t instance, uint32_t *interval) {
  return readField<SflowPoller>([&](SflowPoller **p) { return pollerAt(sw, ifNum, instance, p); },
                                &SflowPoller::interval, interval);
}

open_error_t openapiSflowCpIntervalSet(SimSwitch &sw, uint32_t ifNum, uint32_t instance, uint32_t interval) {
  return writeField<SflowPoller>([&](SflowPoller **p) { return pollerAt(sw, ifNum, instance, p); },
                                 &SflowPoller::interval, interval,
                                 sflowInRange(interval, kSflowMinInterval, kSflowMaxInterval));
}

open_error_t openapiSflowFsRemoteAgentMaxIndexGet(SimSwitch &, uint32_t *maxIndex) {
  *maxIndex = kSflowRemoteAgents;
  return OPEN_E_NONE;
}

open_error_t openapiSflowFsRemoteAgentIndexGet(SimSwitch &sw, uint32_t ifNum, uint32_t instance, uint32_t *index) {
  return readField<SflowSampler>([&](SflowSampler **s) { return samplerAt(sw, ifNum, instance, s); },
                                 &SflowSampler::remoteAgent, index);
}

open_error_t openapiSflowFsRemoteAgentIndexSet(SimSwitch &sw, uint32_t ifNum, uint32_t instance, uint32_t index) {
  return writeField<SflowSampler>([&](SflowSampler **s) { return samplerAt(sw, ifNum, instance, s); },
                                  &SflowSampler::remoteAgent, index, sflowInRange(index, 0, kSflowRemoteAgents));
}

open_error_t openapiSflowFsRemoteAgentMaxMonitorSessionIdGet(SimSwitch &, uint32_t *maxMonitorSessionId) {
  *maxMonitorSessionId = kSflowMonitorSessions;
  return OPEN_E_NONE;
}

open_error_t openapiSflowRemoteAgentMonitorSessionGet(SimSwitch &sw, uint32_t index, uint32_t *monitorSessionId) {
  return readField<SflowRemoteAgent>([&](SflowRemoteAgent **a) { return agentOf(sw).remoteAgent(index, a); },
                                     &SflowRemoteAgent::monitorSession, monitorSessionId);
}

open_error_t openapiSflowRemoteAgentMonitorSessionSet(SimSwitch &sw, uint32_t index, uint32_t monitorSessionId) {
  return writeField<SflowRemoteAgent>([&](SflowRemoteAgent **a) { return agentOf(sw).remoteAgent(index, a); },
                                      &SflowRemoteAgent::monitorSession, monitorSessionId,
                                      sflowInRange(monitorSessionId, 0, kSflowMonitorSessions));
}

open_error_t openapiSflowRemoteAgentAddressGet(SimSwitch &sw, uint32_t index, open_inet_addr_t *ipAddr) {
  SflowRemoteAgent *agent = nullptr;
  open_error_t rc = agentOf(sw).remoteAgent(index, &agent);
  if (rc == OPEN_E_NONE) *ipAddr = agent->address;
  return rc;
}

open_error_t openapiSflowRemoteAgentAddressSet(SimSwitch &sw, uint32_t index, open_inet_addr_t *ipAddr) {
  SflowRemoteAgent *agent = nullptr;
  open_error_t rc = agentOf(sw).remoteAgent(index, &agent);
  if (rc == OPEN_E_NONE) rc = checkAddress(ipAddr);
  if (rc == OPEN_E_NONE) agent->address = *ipAddr;
  return rc;
}

open_error_t openapiSflowRemoteAgentUdpDestPortGet(SimSwitch &sw, uint32_t index, uint32_t *port) {
  return readField<SflowRemoteAgent>([&](SflowRemoteAgent **a) { return agentOf(sw).remoteAgent(index, a); },
                                     &SflowRemoteAgent::udpPort, port);
}

open_error_t openapiSflowRemoteAgentUdpDestPortSet(SimSwitch &sw, uint32_t index, uint32_t port) {
  return writeField<SflowRemoteAgent>([&](SflowRemoteAgent **a) { return agentOf(sw).remoteAgent(index, a); },
                                      &SflowRemoteAgent::udpPort, port, sflowInRange(port, 1, 65535));
}

open_error_t openapiSflowRemoteAgentMonitorSessionDestIfaceGet(SimSwitch &sw, uint32_t index, uint32_t *ifNum) {
  return readField<SflowRemoteAgent>([&](SflowRemoteAgent **a) { return agentOf(sw).remoteAgent(index, a); },
                                     &SflowRemoteAgent::destIfNum, ifNum);
}

open_error_t openapiSflowRemoteAgentMonitorSessionDestIfaceSet(SimSwitch &sw, uint32_t index, uint32_t ifNum) {
  open_error_t check = ifNum == 0 || isPhysicalPort(sw, ifNum) ? OPEN_E_NONE : OPEN_E_PARAM;
  return writeField<SflowRemoteAgent>([&](SflowRemoteAgent **a) { return agentOf(sw).remoteAgent(index, a); },
                                      &SflowRemoteAgent::destIfNum, ifNum, check);
}

open_error_t openapiSflowCfgModeGet(SimSwitch &sw, uint32_t *mode) {
  *mode = agentOf(sw).state().enabled ? 1 : 0;
  return OPEN_E_NONE;
}

open_error_t openapiSflowCfgModeSet(SimSwitch &sw, uint32_t mode) {
  if (mode > 1) return OPEN_E_PARAM;
  agentOf(sw).state().enabled = mode == 1;
  return OPEN_E_NONE;
}

open_error_t openapiSflowOperModeGet(SimSwitch &sw, uint32_t *mode) {
  *mode = agentOf(sw).operational() ? 1 : 0;
  return OPEN_E_NONE;
}

}  // namespace sim
