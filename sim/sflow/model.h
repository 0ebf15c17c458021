#pragma once
// The simulated switch's sFlow agent: receivers that an owner claims for a
// while, a flow sampler and a counter poller per physical port and
// instance, remote agents, sampler access lists and the agent's mode.
// Answers as an sFlow agent refuses: -22 for values outside their range,
// unknown receivers and samplers bound to a receiver nobody owns.
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "open/openapi.h"
#include "sim/model.h"
#include "sim/system/model.h"

struct SflowReceiver {
  std::string owner;  // empty: free
  int64_t expiresAt = 0;  // clock nanoseconds; kSflowNever for no time-out
  uint32_t secondsLeft = 0;  // what the state file keeps of expiresAt
  open_inet_addr_t address{};
  uint32_t port = 6343;
  uint32_t maxDatagramSize = 1400;
};

struct SflowSampler {
  uint32_t receiver = 0;
  uint32_t ingressRate = 0;  // 0: not sampling
  uint32_t egressRate = 0;
  uint32_t maxHeaderSize = 128;
  uint32_t remoteAgent = 0;
};

struct SflowPoller {
  uint32_t receiver = 0;
  uint32_t interval = 0;  // seconds; 0: not polling
};

struct SflowRemoteAgent {
  open_inet_addr_t address{};
  uint32_t udpPort = 6343;
  uint32_t monitorSession = 0;
  uint32_t destIfNum = 0;
};

struct SflowSamplerAcl {
  uint32_t aclNum = 0;  // 0: none
  uint32_t receiver = 0;
};

constexpr int64_t kSflowNever = INT64_MAX;
constexpr uint32_t kSflowNoTimeout = UINT32_MAX;  // an owner's time-out that never runs out
constexpr uint32_t kSflowReceivers = 8;
constexpr uint32_t kSflowRemoteAgents = 8;
constexpr uint32_t kSflowMonitorSessions = 4;
constexpr uint32_t kSflowOwnerMaxLen = 127;
constexpr uint32_t kSflowMinInstance = 1, kSflowMaxInstance = 1;
constexpr uint32_t kSflowMinDatagram = 200, kSflowMaxDatagram = 9116;
constexpr uint32_t kSflowMinRate = 1024, kSflowMaxRate = 65535;
constexpr uint32_t kSflowMinHeader = 20, kSflowMaxHeader = 256;
constexpr uint32_t kSflowMinInterval = 0, kSflowMaxInterval = 86400;

struct SflowState {
  bool enabled = true;
  uint32_t sourceIfNum = 0;  // 0: the agent picks its management address
  uint32_t remoteAgentSourceIfNum = 0;
  uint32_t agentIpv4 = 0;  // host order
  open_in6_addr_t agentIpv6{};
  std::array<SflowReceiver, kSflowReceivers> receivers;
  std::array<SflowRemoteAgent, kSflowRemoteAgents> remoteAgents;
  // Keyed by (interface, instance); an absent entry has the defaults.
  std::map<std::pair<uint32_t, uint32_t>, SflowSampler> samplers;
  std::map<std::pair<uint32_t, uint32_t>, SflowPoller> pollers;
  std::map<uint32_t, SflowSamplerAcl> ipAcls, macAcls;  // by interface
};

class SflowAgent : public SimModel {
 public:
  SflowAgent(const SimSwitch &system, const SimClock &clock) : system_(system), clock_(clock) {}

  const char *stateKey() const override { return "sflow"; }
  void resetToDefault() override;
  cJSON *toJson() const override;
  bool fromJson(const cJSON *json, const schema::Where &where) override;
  void adoptState(SimModel &loaded) override;

  SflowState &state() { return state_; }
  const SflowState &state() const { return state_; }
  int64_t now() const { return clock_(); }

  // Frees every receiver whose owner's time ran out, as the agent's
  // one-second timer would have.
  void expire();
  open_error_t ownerGet(uint32_t index, std::string &owner) const;
  open_error_t ownerSet(uint32_t index, const std::string &owner, uint32_t timeout);
  open_error_t timeRemaining(uint32_t index, uint32_t *seconds) const;
  open_error_t receiver(uint32_t index, SflowReceiver **out);
  open_error_t remoteAgent(uint32_t index, SflowRemoteAgent **out);
  // A sampler's or poller's receiver: 0, or a receiver that has an owner.
  open_error_t checkReceiverBinding(uint32_t index) const;
  bool operational() const;

 private:
  void release(uint32_t index);
  const SimSwitch &system_;
  const SimClock &clock_;
  SflowState state_;
};

// Whether `value` lies within [low, high]; -22 otherwise.
inline open_error_t sflowInRange(uint32_t value, uint32_t low, uint32_t high) {
  return value >= low && value <= high ? OPEN_E_NONE : OPEN_E_PARAM;
}
