// The simulated switch's answers to the sFlow operations.
#include <cstring>
#include <string>

#include "sim/sflow/model.h"
#include "sim/sim_ops.h"
#include "sim/device.h"

namespace {

// Every access sees the receivers whose time ran out already freed.
SflowAgent &agentOf(SimDevice &dev) {
  dev.sflow().expire();
  return dev.sflow();
}

bool isPhysicalPort(const SimDevice &dev, uint32_t ifNum) {
  const SimSwitch::Interface *intf = dev.system().findInterface(ifNum);
  return intf != nullptr && intf->type == OPEN_INTF_TYPE_PHY;
}

// The agent's source is any interface but the CPU; 0 lets the agent choose.
open_error_t checkSourceInterface(const SimDevice &dev, uint32_t ifNum) {
  if (ifNum == 0) return OPEN_E_NONE;
  const SimSwitch::Interface *intf = dev.system().findInterface(ifNum);
  return intf != nullptr && intf->type != OPEN_INTF_TYPE_CPU ? OPEN_E_NONE : OPEN_E_PARAM;
}

bool validInstance(uint32_t instance) { return instance >= kSflowMinInstance && instance <= kSflowMaxInstance; }

template <typename Table>
open_error_t entryAt(SimDevice &dev, Table &table, uint32_t ifNum, uint32_t instance,
                     typename Table::mapped_type **out) {
  if (!isPhysicalPort(dev, ifNum) || !validInstance(instance)) return OPEN_E_PARAM;
  *out = &table[{ifNum, instance}];
  return OPEN_E_NONE;
}

open_error_t samplerAt(SimDevice &dev, uint32_t ifNum, uint32_t instance, SflowSampler **out) {
  return entryAt(dev, agentOf(dev).state().samplers, ifNum, instance, out);
}

open_error_t pollerAt(SimDevice &dev, uint32_t ifNum, uint32_t instance, SflowPoller **out) {
  return entryAt(dev, agentOf(dev).state().pollers, ifNum, instance, out);
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

open_error_t samplerAclSet(SimDevice &dev, std::map<uint32_t, SflowSamplerAcl> &acls, uint32_t index, uint32_t ifNum,
                           uint32_t aclNum, uint32_t action) {
  if (!isPhysicalPort(dev, ifNum) || action > 1) return OPEN_E_PARAM;
  if (action == 0) {
    acls.erase(ifNum);
    return OPEN_E_NONE;
  }
  if (aclNum == 0 || index < 1 || index > kSflowReceivers) return OPEN_E_PARAM;
  acls[ifNum] = SflowSamplerAcl{aclNum, index};
  return OPEN_E_NONE;
}

open_error_t samplerAclGet(SimDevice &dev, const std::map<uint32_t, SflowSamplerAcl> &acls, uint32_t ifNum,
                           uint32_t *aclNum) {
  if (!isPhysicalPort(dev, ifNum)) return OPEN_E_PARAM;
  auto found = acls.find(ifNum);
  *aclNum = found == acls.end() ? 0 : found->second.aclNum;
  return OPEN_E_NONE;
}

}  // namespace

namespace sim {

open_error_t openapiSflowSourceInterfaceGet(SimDevice &dev, uint32_t *ifNum) {
  *ifNum = agentOf(dev).state().sourceIfNum;
  return OPEN_E_NONE;
}

open_error_t openapiSflowSourceInterfaceSet(SimDevice &dev, uint32_t ifNum) {
  open_error_t rc = checkSourceInterface(dev, ifNum);
  if (rc == OPEN_E_NONE) agentOf(dev).state().sourceIfNum = ifNum;
  return rc;
}

open_error_t openapiSflowRemoteAgentSourceInterfaceGet(SimDevice &dev, uint32_t *ifNum) {
  *ifNum = agentOf(dev).state().remoteAgentSourceIfNum;
  return OPEN_E_NONE;
}

open_error_t openapiSflowRemoteAgentSourceInterfaceSet(SimDevice &dev, uint32_t ifNum) {
  open_error_t rc = checkSourceInterface(dev, ifNum);
  if (rc == OPEN_E_NONE) agentOf(dev).state().remoteAgentSourceIfNum = ifNum;
  return rc;
}

// The remote agents leave from the agent's own management address.
open_error_t openapiSflowRemoteAgentSourceIpv4AddrGet(SimDevice &dev, uint32_t *ipAddr) {
  *ipAddr = agentOf(dev).state().agentIpv4;
  return OPEN_E_NONE;
}

open_error_t openapiSflowRemoteAgentSourceIpv6AddrGet(SimDevice &dev, open_in6_addr_t *ipv6Addr) {
  *ipv6Addr = agentOf(dev).state().agentIpv6;
  return OPEN_E_NONE;
}

open_error_t openapiSflowSourceIpv4AddrGet(SimDevice &dev, uint32_t *ipAddr) {
  *ipAddr = agentOf(dev).state().agentIpv4;
  return OPEN_E_NONE;
}

open_error_t openapiSflowSourceIpv6AddrGet(SimDevice &dev, open_in6_addr_t *ipv6Addr) {
  *ipv6Addr = agentOf(dev).state().agentIpv6;
  return OPEN_E_NONE;
}

open_error_t openapiSflowRcvrCountGet(SimDevice &, uint32_t *count) {
  *count = kSflowReceivers;
  return OPEN_E_NONE;
}

open_error_t openapiSflowRcvrOwnerStringLenGet(SimDevice &, uint32_t *maxLen) {
  *maxLen = kSflowOwnerMaxLen;
  return OPEN_E_NONE;
}

open_error_t openapiSflowRcvrOwnerGet(SimDevice &dev, uint32_t index, open_buffdesc *owner) {
  std::string text;
  open_error_t rc = agentOf(dev).ownerGet(index, text);
  return rc == OPEN_E_NONE ? putText(owner, text) : rc;
}

open_error_t openapiSflowRcvrOwnerSet(SimDevice &dev, uint32_t index, open_buffdesc *owner, uint32_t timeout) {
  return agentOf(dev).ownerSet(index, inputText(owner), timeout);
}

open_error_t openapiSflowRcvrTimeRemainingGet(SimDevice &dev, uint32_t index, uint32_t *timeRemaining) {
  return agentOf(dev).timeRemaining(index, timeRemaining);
}

open_error_t openapiSflowRcvrAddressGet(SimDevice &dev, uint32_t index, open_inet_addr_t *ipAddr) {
  SflowReceiver *receiver = nullptr;
  open_error_t rc = agentOf(dev).receiver(index, &receiver);
  if (rc == OPEN_E_NONE) *ipAddr = receiver->address;
  return rc;
}

open_error_t openapiSflowRcvrAddressSet(SimDevice &dev, uint32_t index, open_inet_addr_t *ipAddr) {
  SflowReceiver *receiver = nullptr;
  open_error_t rc = agentOf(dev).receiver(index, &receiver);
  if (rc == OPEN_E_NONE) rc = checkAddress(ipAddr);
  if (rc == OPEN_E_NONE) receiver->address = *ipAddr;
  return rc;
}

open_error_t openapiSflowRcvrPortGet(SimDevice &dev, uint32_t index, uint32_t *port) {
  return readField<SflowReceiver>([&](SflowReceiver **r) { return agentOf(dev).receiver(index, r); },
                                  &SflowReceiver::port, port);
}

open_error_t openapiSflowRcvrPortSet(SimDevice &dev, uint32_t index, uint32_t port) {
  return writeField<SflowReceiver>([&](SflowReceiver **r) { return agentOf(dev).receiver(index, r); },
                                   &SflowReceiver::port, port, sflowInRange(port, 1, 65535));
}

open_error_t openapiSflowRcvrMaxDatagramSizeRangeGet(SimDevice &, uint32_t *minSize, uint32_t *maxSize) {
  return putRange(kSflowMinDatagram, kSflowMaxDatagram, minSize, maxSize);
}

open_error_t openapiSflowRcvrMaxDatagramSizeGet(SimDevice &dev, uint32_t index, uint32_t *size) {
  return readField<SflowReceiver>([&](SflowReceiver **r) { return agentOf(dev).receiver(index, r); },
                                  &SflowReceiver::maxDatagramSize, size);
}

open_error_t openapiSflowRcvrMaxDatagramSizeSet(SimDevice &dev, uint32_t index, uint32_t size) {
  return writeField<SflowReceiver>([&](SflowReceiver **r) { return agentOf(dev).receiver(index, r); },
                                   &SflowReceiver::maxDatagramSize, size,
                                   sflowInRange(size, kSflowMinDatagram, kSflowMaxDatagram));
}

open_error_t openapiSflowInstanceRangeGet(SimDevice &, uint32_t *minInstance, uint32_t *maxInstance) {
  return putRange(kSflowMinInstance, kSflowMaxInstance, minInstance, maxInstance);
}

open_error_t openapiSflowFsRcvrIndexGet(SimDevice &dev, uint32_t ifNum, uint32_t instance, uint32_t *rcvrIndex) {
  return readField<SflowSampler>([&](SflowSampler **s) { return samplerAt(dev, ifNum, instance, s); },
                                 &SflowSampler::receiver, rcvrIndex);
}

open_error_t openapiSflowFsRcvrIndexSet(SimDevice &dev, uint32_t ifNum, uint32_t instance, uint32_t rcvrIndex) {
  return writeField<SflowSampler>([&](SflowSampler **s) { return samplerAt(dev, ifNum, instance, s); },
                                  &SflowSampler::receiver, rcvrIndex, agentOf(dev).checkReceiverBinding(rcvrIndex));
}

open_error_t openapiSflowFsPacketSamplingRateRangeGet(SimDevice &, uint32_t *minRate, uint32_t *maxRate) {
  return putRange(kSflowMinRate, kSflowMaxRate, minRate, maxRate);
}

// Type 1 samples what the port receives, 2 what it sends.
open_error_t openapiSflowFsPacketSamplingRateGet(SimDevice &dev, uint32_t ifNum, uint32_t instance, uint32_t type,
                                                 uint32_t *rate) {
  if (type != 1 && type != 2) return OPEN_E_PARAM;
  return readField<SflowSampler>([&](SflowSampler **s) { return samplerAt(dev, ifNum, instance, s); },
                                 type == 1 ? &SflowSampler::ingressRate : &SflowSampler::egressRate, rate);
}

open_error_t openapiSflowFsPacketSamplingRateSet(SimDevice &dev, uint32_t ifNum, uint32_t instance, uint32_t type,
                                                 uint32_t rate) {
  if (type != 1 && type != 2) return OPEN_E_PARAM;
  open_error_t check = rate == 0 ? OPEN_E_NONE : sflowInRange(rate, kSflowMinRate, kSflowMaxRate);
  return writeField<SflowSampler>([&](SflowSampler **s) { return samplerAt(dev, ifNum, instance, s); },
                                  type == 1 ? &SflowSampler::ingressRate : &SflowSampler::egressRate, rate, check);
}

open_error_t openapiSflowFsMaximumHeaderSizeRangeGet(SimDevice &, uint32_t *minHeaderSize, uint32_t *maxHeaderSize) {
  return putRange(kSflowMinHeader, kSflowMaxHeader, minHeaderSize, maxHeaderSize);
}

open_error_t openapiSflowFsMaximumHeaderSizeGet(SimDevice &dev, uint32_t ifNum, uint32_t instance, uint32_t *size) {
  return readField<SflowSampler>([&](SflowSampler **s) { return samplerAt(dev, ifNum, instance, s); },
                                 &SflowSampler::maxHeaderSize, size);
}

open_error_t openapiSflowFsMaximumHeaderSizeSet(SimDevice &dev, uint32_t ifNum, uint32_t instance, uint32_t size) {
  return writeField<SflowSampler>([&](SflowSampler **s) { return samplerAt(dev, ifNum, instance, s); },
                                  &SflowSampler::maxHeaderSize, size,
                                  sflowInRange(size, kSflowMinHeader, kSflowMaxHeader));
}

open_error_t openapiSflowSamplerIpAclGet(SimDevice &dev, uint32_t ifNum, uint32_t *aclNum) {
  return samplerAclGet(dev, agentOf(dev).state().ipAcls, ifNum, aclNum);
}

open_error_t openapiSflowSamplerIpAclSet(SimDevice &dev, uint32_t index, uint32_t ifNum, uint32_t aclNum,
                                         uint32_t action) {
  return samplerAclSet(dev, agentOf(dev).state().ipAcls, index, ifNum, aclNum, action);
}

open_error_t openapiSflowSamplerMacAclGet(SimDevice &dev, uint32_t ifNum, uint32_t *aclNum) {
  return samplerAclGet(dev, agentOf(dev).state().macAcls, ifNum, aclNum);
}

open_error_t openapiSflowSamplerMacAclSet(SimDevice &dev, uint32_t index, uint32_t ifNum, uint32_t aclNum,
                                          uint32_t action) {
  return samplerAclSet(dev, agentOf(dev).state().macAcls, index, ifNum, aclNum, action);
}

open_error_t openapiSflowCpRcvrIndexGet(SimDevice &dev, uint32_t ifNum, uint32_t instance, uint32_t *rcvrIndex) {
  return readField<SflowPoller>([&](SflowPoller **p) { return pollerAt(dev, ifNum, instance, p); },
                                &SflowPoller::receiver, rcvrIndex);
}

open_error_t openapiSflowCpRcvrIndexSet(SimDevice &dev, uint32_t ifNum, uint32_t instance, uint32_t rcvrIndex) {
  return writeField<SflowPoller>([&](SflowPoller **p) { return pollerAt(dev, ifNum, instance, p); },
                                 &SflowPoller::receiver, rcvrIndex, agentOf(dev).checkReceiverBinding(rcvrIndex));
}

open_error_t openapiSflowCpIntervalRangeGet(SimDevice &, uint32_t *minInterval, uint32_t *maxInterval) {
  return putRange(kSflowMinInterval, kSflowMaxInterval, minInterval, maxInterval);
}

open_error_t openapiSflowCpIntervalGet(SimDevice &dev, uint32_t ifNum, uint32_t instance, uint32_t *interval) {
  return readField<SflowPoller>([&](SflowPoller **p) { return pollerAt(dev, ifNum, instance, p); },
                                &SflowPoller::interval, interval);
}

open_error_t openapiSflowCpIntervalSet(SimDevice &dev, uint32_t ifNum, uint32_t instance, uint32_t interval) {
  return writeField<SflowPoller>([&](SflowPoller **p) { return pollerAt(dev, ifNum, instance, p); },
                                 &SflowPoller::interval, interval,
                                 sflowInRange(interval, kSflowMinInterval, kSflowMaxInterval));
}

open_error_t openapiSflowFsRemoteAgentMaxIndexGet(SimDevice &, uint32_t *maxIndex) {
  *maxIndex = kSflowRemoteAgents;
  return OPEN_E_NONE;
}

open_error_t openapiSflowFsRemoteAgentIndexGet(SimDevice &dev, uint32_t ifNum, uint32_t instance, uint32_t *index) {
  return readField<SflowSampler>([&](SflowSampler **s) { return samplerAt(dev, ifNum, instance, s); },
                                 &SflowSampler::remoteAgent, index);
}

open_error_t openapiSflowFsRemoteAgentIndexSet(SimDevice &dev, uint32_t ifNum, uint32_t instance, uint32_t index) {
  return writeField<SflowSampler>([&](SflowSampler **s) { return samplerAt(dev, ifNum, instance, s); },
                                  &SflowSampler::remoteAgent, index, sflowInRange(index, 0, kSflowRemoteAgents));
}

open_error_t openapiSflowFsRemoteAgentMaxMonitorSessionIdGet(SimDevice &, uint32_t *maxMonitorSessionId) {
  *maxMonitorSessionId = kSflowMonitorSessions;
  return OPEN_E_NONE;
}

open_error_t openapiSflowRemoteAgentMonitorSessionGet(SimDevice &dev, uint32_t index, uint32_t *monitorSessionId) {
  return readField<SflowRemoteAgent>([&](SflowRemoteAgent **a) { return agentOf(dev).remoteAgent(index, a); },
                                     &SflowRemoteAgent::monitorSession, monitorSessionId);
}

open_error_t openapiSflowRemoteAgentMonitorSessionSet(SimDevice &dev, uint32_t index, uint32_t monitorSessionId) {
  return writeField<SflowRemoteAgent>([&](SflowRemoteAgent **a) { return agentOf(dev).remoteAgent(index, a); },
                                      &SflowRemoteAgent::monitorSession, monitorSessionId,
                                      sflowInRange(monitorSessionId, 0, kSflowMonitorSessions));
}

open_error_t openapiSflowRemoteAgentAddressGet(SimDevice &dev, uint32_t index, open_inet_addr_t *ipAddr) {
  SflowRemoteAgent *agent = nullptr;
  open_error_t rc = agentOf(dev).remoteAgent(index, &agent);
  if (rc == OPEN_E_NONE) *ipAddr = agent->address;
  return rc;
}

open_error_t openapiSflowRemoteAgentAddressSet(SimDevice &dev, uint32_t index, open_inet_addr_t *ipAddr) {
  SflowRemoteAgent *agent = nullptr;
  open_error_t rc = agentOf(dev).remoteAgent(index, &agent);
  if (rc == OPEN_E_NONE) rc = checkAddress(ipAddr);
  if (rc == OPEN_E_NONE) agent->address = *ipAddr;
  return rc;
}

open_error_t openapiSflowRemoteAgentUdpDestPortGet(SimDevice &dev, uint32_t index, uint32_t *port) {
  return readField<SflowRemoteAgent>([&](SflowRemoteAgent **a) { return agentOf(dev).remoteAgent(index, a); },
                                     &SflowRemoteAgent::udpPort, port);
}

open_error_t openapiSflowRemoteAgentUdpDestPortSet(SimDevice &dev, uint32_t index, uint32_t port) {
  return writeField<SflowRemoteAgent>([&](SflowRemoteAgent **a) { return agentOf(dev).remoteAgent(index, a); },
                                      &SflowRemoteAgent::udpPort, port, sflowInRange(port, 1, 65535));
}

open_error_t openapiSflowRemoteAgentMonitorSessionDestIfaceGet(SimDevice &dev, uint32_t index, uint32_t *ifNum) {
  return readField<SflowRemoteAgent>([&](SflowRemoteAgent **a) { return agentOf(dev).remoteAgent(index, a); },
                                     &SflowRemoteAgent::destIfNum, ifNum);
}

open_error_t openapiSflowRemoteAgentMonitorSessionDestIfaceSet(SimDevice &dev, uint32_t index, uint32_t ifNum) {
  open_error_t check = ifNum == 0 || isPhysicalPort(dev, ifNum) ? OPEN_E_NONE : OPEN_E_PARAM;
  return writeField<SflowRemoteAgent>([&](SflowRemoteAgent **a) { return agentOf(dev).remoteAgent(index, a); },
                                      &SflowRemoteAgent::destIfNum, ifNum, check);
}

open_error_t openapiSflowCfgModeGet(SimDevice &dev, uint32_t *mode) {
  *mode = agentOf(dev).state().enabled ? 1 : 0;
  return OPEN_E_NONE;
}

open_error_t openapiSflowCfgModeSet(SimDevice &dev, uint32_t mode) {
  if (mode > 1) return OPEN_E_PARAM;
  agentOf(dev).state().enabled = mode == 1;
  return OPEN_E_NONE;
}

open_error_t openapiSflowOperModeGet(SimDevice &dev, uint32_t *mode) {
  *mode = agentOf(dev).operational() ? 1 : 0;
  return OPEN_E_NONE;
}

}  // namespace sim
