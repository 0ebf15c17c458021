#include "sim/sflow/model.h"

namespace {

bool isOwned(const SflowReceiver &receiver) { return !receiver.owner.empty(); }

}  // namespace

// The agent's IPv6 address is the link-local one made from the base MAC
// address (modified EUI-64).
open_in6_addr_t linkLocalOf(const schema::MacAddress &mac) {
  open_in6_addr_t addr{};
  addr.u8[0] = 0xfe;
  addr.u8[1] = 0x80;
  uint8_t eui[8] = {static_cast<uint8_t>(mac[0] ^ 0x02), mac[1], mac[2], 0xff, 0xfe, mac[3], mac[4], mac[5]};
  for (int i = 0; i < 8; ++i) addr.u8[8 + i] = eui[i];
  return addr;
}

void SflowAgent::resetToDefault() {
  state_ = SflowState{};
  state_.agentIpv4 = kManagementIpv4;
  state_.agentIpv6 = linkLocalOf(system_.identity().baseMac);
}

void SflowAgent::release(uint32_t index) {
  state_.receivers[index - 1] = SflowReceiver{};
  // Whatever sampled or polled for the receiver stops, as the agent frees it.
  for (auto &[key, sampler] : state_.samplers) {
    if (sampler.receiver == index) sampler = SflowSampler{};
  }
  for (auto &[key, poller] : state_.pollers) {
    if (poller.receiver == index) poller = SflowPoller{};
  }
}

void SflowAgent::expire() {
  int64_t at = now();
  for (uint32_t index = 1; index <= kSflowReceivers; ++index) {
    const SflowReceiver &receiver = state_.receivers[index - 1];
    if (isOwned(receiver) && receiver.expiresAt != kSflowNever && receiver.expiresAt <= at) release(index);
  }
}

open_error_t SflowAgent::receiver(uint32_t index, SflowReceiver **out) {
  if (index < 1 || index > kSflowReceivers) return OPEN_E_PARAM;
  *out = &state_.receivers[index - 1];
  return OPEN_E_NONE;
}

open_error_t SflowAgent::remoteAgent(uint32_t index, SflowRemoteAgent **out) {
  if (index < 1 || index > kSflowRemoteAgents) return OPEN_E_PARAM;
  *out = &state_.remoteAgents[index - 1];
  return OPEN_E_NONE;
}

open_error_t SflowAgent::ownerGet(uint32_t index, std::string &owner) const {
  if (index < 1 || index > kSflowReceivers) return OPEN_E_PARAM;
  owner = state_.receivers[index - 1].owner;
  return OPEN_E_NONE;
}

// An empty owner, or a time-out of 0, frees the receiver at once.
open_error_t SflowAgent::ownerSet(uint32_t index, const std::string &owner, uint32_t timeout) {
  if (index < 1 || index > kSflowReceivers || owner.size() > kSflowOwnerMaxLen) return OPEN_E_PARAM;
  if (owner.empty() || timeout == 0) {
    release(index);
    return OPEN_E_NONE;
  }
  SflowReceiver &receiver = state_.receivers[index - 1];
  receiver.owner = owner;
  receiver.expiresAt = timeout == kSflowNoTimeout ? kSflowNever : now() + static_cast<int64_t>(timeout) * kNanosPerSecond;
  return OPEN_E_NONE;
}

open_error_t SflowAgent::timeRemaining(uint32_t index, uint32_t *seconds) const {
  if (index < 1 || index > kSflowReceivers) return OPEN_E_PARAM;
  const SflowReceiver &receiver = state_.receivers[index - 1];
  if (!isOwned(receiver)) {
    *seconds = 0;
  } else if (receiver.expiresAt == kSflowNever) {
    *seconds = kSflowNoTimeout;
  } else {
    // Counted in whole seconds, rounded up: a receiver with time left never shows 0.
    *seconds = static_cast<uint32_t>((receiver.expiresAt - now() + kNanosPerSecond - 1) / kNanosPerSecond);
  }
  return OPEN_E_NONE;
}

open_error_t SflowAgent::checkReceiverBinding(uint32_t index) const {
  if (index == 0) return OPEN_E_NONE;
  if (index > kSflowReceivers || !isOwned(state_.receivers[index - 1])) return OPEN_E_PARAM;
  return OPEN_E_NONE;
}

bool SflowAgent::operational() const {
  if (!state_.enabled) return false;
  for (const SflowReceiver &receiver : state_.receivers) {
    if (isOwned(receiver)) return true;
  }
  return false;
}

namespace {

const schema::Record<SflowReceiver> kReceiverFields = {
    {"owner", &SflowReceiver::owner, schema::Text(kSflowOwnerMaxLen)},
    {"timeRemaining", &SflowReceiver::secondsLeft, schema::Integer(schema::Range{0, UINT32_MAX})},
    {"address", &SflowReceiver::address, schema::Address{}},
    {"port", &SflowReceiver::port, schema::Integer({1, 65535})},
    {"maxDatagramSize", &SflowReceiver::maxDatagramSize, schema::Integer({kSflowMinDatagram, kSflowMaxDatagram})},
};

const schema::Record<SflowSampler> kSamplerFields = {
    {"receiver", &SflowSampler::receiver, schema::Integer({0, kSflowReceivers})},
    {"ingressRate", &SflowSampler::ingressRate, schema::Integer({{0, 0}, {kSflowMinRate, kSflowMaxRate}})},
    {"egressRate", &SflowSampler::egressRate, schema::Integer({{0, 0}, {kSflowMinRate, kSflowMaxRate}})},
    {"maxHeaderSize", &SflowSampler::maxHeaderSize, schema::Integer({kSflowMinHeader, kSflowMaxHeader})},
    {"remoteAgent", &SflowSampler::remoteAgent, schema::Integer({0, kSflowRemoteAgents})},
};

const schema::Record<SflowPoller> kPollerFields = {
    {"receiver", &SflowPoller::receiver, schema::Integer({0, kSflowReceivers})},
    {"interval", &SflowPoller::interval, schema::Integer({kSflowMinInterval, kSflowMaxInterval})},
};

const schema::Record<SflowRemoteAgent> kRemoteAgentFields = {
    {"address", &SflowRemoteAgent::address, schema::Address{}},
    {"udpPort", &SflowRemoteAgent::udpPort, schema::Integer({1, 65535})},
    {"monitorSession", &SflowRemoteAgent::monitorSession, schema::Integer({0, kSflowMonitorSessions})},
    {"destIfNum", &SflowRemoteAgent::destIfNum, schema::Integer(schema::Range{0, UINT32_MAX})},
};

const schema::Record<SflowSamplerAcl> kSamplerAclFields = {
    {"aclNum", &SflowSamplerAcl::aclNum, schema::Integer(schema::Range{1, UINT32_MAX})},
    {"receiver", &SflowSamplerAcl::receiver, schema::Integer({1, kSflowReceivers})},
};

using PortInstance = std::pair<uint32_t, uint32_t>;
const schema::Record<PortInstance> kPortInstanceFields = {
    {"ifNum", &PortInstance::first, schema::Integer(schema::Range{1, UINT32_MAX})},
    {"instance", &PortInstance::second, schema::Integer({kSflowMinInstance, kSflowMaxInstance})},
};

template <typename V>
schema::Keyed<PortInstance, V> byPortAndInstance(const schema::Record<V> &fields, const char *what) {
  return {schema::fieldsOf(kPortInstanceFields), schema::fieldsOf(fields), what};
}

template <typename V>
schema::Keyed<uint32_t, V> byPort(const schema::Record<V> &fields, const char *what) {
  return {schema::named<uint32_t>("ifNum", schema::Integer(schema::Range{1, UINT32_MAX})), schema::fieldsOf(fields),
          what};
}

const schema::Record<SflowState> kStateFields = {
    {"enabled", &SflowState::enabled, schema::Boolean{}},
    {"sourceIfNum", &SflowState::sourceIfNum, schema::Integer(schema::Range{0, UINT32_MAX})},
    {"remoteAgentSourceIfNum", &SflowState::remoteAgentSourceIfNum, schema::Integer(schema::Range{0, UINT32_MAX})},
    {"agentIpv4", &SflowState::agentIpv4, schema::Ipv4{}},
    {"agentIpv6", &SflowState::agentIpv6, schema::Ipv6{}},
    {"receivers", &SflowState::receivers, schema::table(kReceiverFields, "receivers")},
    {"remoteAgents", &SflowState::remoteAgents, schema::table(kRemoteAgentFields, "remote agents")},
    {"samplers", &SflowState::samplers, byPortAndInstance(kSamplerFields, "samplers")},
    {"pollers", &SflowState::pollers, byPortAndInstance(kPollerFields, "pollers")},
    {"ipAcls", &SflowState::ipAcls, byPort(kSamplerAclFields, "sampler ACLs")},
    {"macAcls", &SflowState::macAcls, byPort(kSamplerAclFields, "sampler ACLs")},
};

// Samplers and pollers live on physical ports and bind to owned receivers.
template <typename Table>
bool checkBindings(const Table &table, const SflowAgent &agent, const SimSwitch &system, const schema::Where &where) {
  size_t index = 0;
  for (const auto &[key, entry] : table) {
    const SimSwitch::Interface *intf = system.findInterface(key.first);
    if (intf == nullptr || intf->type != OPEN_INTF_TYPE_PHY) {
      return where.element(index).member("ifNum").fail(std::to_string(key.first) + " is not a physical port");
    }
    if (agent.checkReceiverBinding(entry.receiver) != OPEN_E_NONE) {
      return where.element(index).member("receiver").fail("receiver " + std::to_string(entry.receiver) +
                                                           " has no owner");
    }
    ++index;
  }
  return true;
}

}  // namespace

// The time an owner has left is kept in seconds, counted on from the load.
cJSON *SflowAgent::toJson() const {
  SflowState saved = state_;
  for (SflowReceiver &receiver : saved.receivers) {
    uint32_t index = static_cast<uint32_t>(&receiver - saved.receivers.data()) + 1;
    timeRemaining(index, &receiver.secondsLeft);
  }
  return schema::dumpRecord(kStateFields, saved);
}

bool SflowAgent::fromJson(const cJSON *json, const schema::Where &where) {
  if (!schema::loadRecord(kStateFields, json, state_, where)) return false;
  for (SflowReceiver &receiver : state_.receivers) {
    if (receiver.owner.empty()) receiver = SflowReceiver{};
    receiver.expiresAt = receiver.secondsLeft == kSflowNoTimeout
                             ? kSflowNever
                             : now() + static_cast<int64_t>(receiver.secondsLeft) * kNanosPerSecond;
  }
  expire();
  return checkBindings(state_.samplers, *this, system_, where.member("samplers")) &&
         checkBindings(state_.pollers, *this, system_, where.member("pollers"));
}

void SflowAgent::adoptState(SimModel &loaded) { state_ = static_cast<SflowAgent &>(loaded).state_; }
