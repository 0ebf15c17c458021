#include "sim/sflow_agent.h"

namespace {

constexpr int64_t kNanosPerSecond = 1000000000;

bool isOwned(const SflowReceiver &receiver) { return !receiver.owner.empty(); }

}  // namespace

void SflowAgent::reset(uint32_t agentIpv4, const open_in6_addr_t &agentIpv6) {
  state_ = SflowState{};
  state_.agentIpv4 = agentIpv4;
  state_.agentIpv6 = agentIpv6;
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

void SflowAgent::expire(int64_t now) {
  for (uint32_t index = 1; index <= kSflowReceivers; ++index) {
    const SflowReceiver &receiver = state_.receivers[index - 1];
    if (isOwned(receiver) && receiver.expiresAt != kSflowNever && receiver.expiresAt <= now) release(index);
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
open_error_t SflowAgent::ownerSet(uint32_t index, const std::string &owner, uint32_t timeout, int64_t now) {
  if (index < 1 || index > kSflowReceivers || owner.size() > kSflowOwnerMaxLen) return OPEN_E_PARAM;
  if (owner.empty() || timeout == 0) {
    release(index);
    return OPEN_E_NONE;
  }
  SflowReceiver &receiver = state_.receivers[index - 1];
  receiver.owner = owner;
  receiver.expiresAt = timeout == kSflowNoTimeout ? kSflowNever : now + static_cast<int64_t>(timeout) * kNanosPerSecond;
  return OPEN_E_NONE;
}

open_error_t SflowAgent::timeRemaining(uint32_t index, int64_t now, uint32_t *seconds) const {
  if (index < 1 || index > kSflowReceivers) return OPEN_E_PARAM;
  const SflowReceiver &receiver = state_.receivers[index - 1];
  if (!isOwned(receiver)) {
    *seconds = 0;
  } else if (receiver.expiresAt == kSflowNever) {
    *seconds = kSflowNoTimeout;
  } else {
    // Counted in whole seconds, rounded up: a receiver with time left never shows 0.
    *seconds = static_cast<uint32_t>((receiver.expiresAt - now + kNanosPerSecond - 1) / kNanosPerSecond);
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
