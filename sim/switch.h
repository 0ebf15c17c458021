#pragma once
// The simulated switch: its identity, interfaces, VLANs and port counters.
// Not thread-safe; SimDispatcher serialises every access.
#include <cjson/cJSON.h>

#include <array>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "open/openapi.h"
#include "sim/counters.h"
#include "sim/sflow_agent.h"
#include "sim/snmp_model.h"
#include "sim/traffic.h"

// Interface types as OpEN numbers them.
enum SimIntfType : uint32_t {
  kIntfPhysical = 0,
  kIntfCpu = 1,
  kIntfLag = 2,
  kIntfVlan = 3,
  kIntfLoopback = 4,
  kIntfTunnel = 5,
  kIntfServicePort = 6,
  kIntfAny = 8,  // a walk over every type; no interface has it
};

// OpEN codes of the link and administrative states and of the port speeds.
constexpr uint32_t kLinkUp = 0, kLinkDown = 1;
constexpr uint32_t kAdminDisable = 0, kAdminEnable = 1;
constexpr uint32_t kSpeedUnknown = 0, kSpeedFull100 = 2, kSpeedFull10 = 4, kSpeedFull1000 = 6, kSpeedFull10G = 7;

class SimSwitch {
 public:
  // Nanoseconds of a monotonic clock; tests substitute their own.
  using Clock = std::function<int64_t()>;

  struct PortCounters {
    PortLoad load = PortLoad::Idle;
    std::array<uint64_t, kCounterCount> base{};   // value at `anchor`
    std::array<int64_t, kCounterCount> anchor{};  // clock time since which the counter grows
    int64_t resetAt = 0;                          // clock time of the last interface reset
  };

  struct Interface {
    uint32_t intIfNum = 0;
    uint32_t type = kIntfPhysical;
    std::string name;
    bool linkUp = false;
    bool adminEnabled = true;
    uint32_t speedMbps = 1000;  // negotiated or configured; reported only while the link is up
    uint32_t maxFrameSize = 1518;
    uint32_t pvid = 1;
    PortCounters counters;  // physical ports only
  };

  struct Identity {
    std::string systemDescription, machineType, machineModel, serialNumber, softwareVersion;
    std::array<uint8_t, 6> baseMac{};
    open_revision_data_t apiVersion{};
  };

  SimSwitch();
  explicit SimSwitch(Clock clock);

  void resetToDefault();

  // OpEN-style answers: 0, or the open_error_t of the refusal.
  open_error_t firstInterface(uint32_t type, uint32_t *intIfNum) const;
  open_error_t nextInterface(uint32_t type, uint32_t after, uint32_t *next) const;
  const Interface *findInterface(uint32_t intIfNum) const;
  // The OpEN speed code; unknown while the link is down.
  static uint32_t speedCodeOf(const Interface &intf);
  open_error_t vlanCreated(uint32_t vlanId) const;

  open_error_t counterValue(uint32_t counterId, uint32_t intIfNum, uint64_t *value) const;
  // Counters 0..kCounterCount-1 in id order; the reserved id reads 0.
  open_error_t allCounters(uint32_t intIfNum, std::array<uint64_t, kCounterCount> &values) const;
  open_error_t resetCounter(uint32_t counterId, uint32_t intIfNum);
  open_error_t resetInterfaceCounters(uint32_t intIfNum);
  void resetAllCounters();
  open_error_t secondsSinceReset(uint32_t intIfNum, uint32_t *seconds) const;

  const Identity &identity() const { return state_.identity; }
  SflowAgent &sflow() { return sflow_; }
  SnmpAgent &snmp() { return snmp_; }
  int64_t nowNanos() const { return now(); }
  std::string showVersionText() const;
  std::string baseMacText() const;

  // The whole state; 64-bit values as decimal text. The caller owns the tree.
  cJSON *toJson() const;
  // Replaces the whole state, or nothing: 0, or -1 with `error` naming the problem.
  int fromJson(const cJSON *json, std::string &error);

 private:
  struct State {
    Identity identity;
    std::vector<Interface> interfaces;  // ascending intIfNum
    std::set<uint32_t> vlans;
  };

  int64_t now() const { return clock_(); }
  // Refusal for counter access: unknown interface or one without port counters.
  open_error_t counterPort(uint32_t intIfNum, const Interface **port) const;
  uint64_t currentValue(const Interface &port, uint32_t counterId, int64_t at) const;
  void resetPort(Interface &port, int64_t at);
  cJSON *interfaceJson(const Interface &intf, int64_t at) const;
  Interface *findMutable(uint32_t intIfNum);

  Clock clock_;
  State state_;
  SflowAgent sflow_;
  SnmpAgent snmp_;
};
