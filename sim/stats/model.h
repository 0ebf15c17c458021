#pragma once
// Port counters: the 65 counters of every physical port, growing with the
// simulated traffic of the port's load, link and speed.
#include <array>
#include <cstdint>
#include <map>

#include "open/openapi.h"
#include "sim/model.h"
#include "sim/stats/counters.h"
#include "sim/stats/traffic.h"
#include "sim/system/model.h"

class CounterModel : public SimModel {
 public:
  CounterModel(const SimSwitch &system, const SimClock &clock) : system_(system), clock_(clock) {}

  const char *stateKey() const override { return "counters"; }
  void resetToDefault() override;
  cJSON *toJson() const override;
  bool fromJson(const cJSON *json, const schema::Where &where) override;
  void adoptState(SimModel &loaded) override;

  // OpEN-style answers: 0, or the open_error_t of the refusal.
  open_error_t value(uint32_t counterId, uint32_t intIfNum, uint64_t *value) const;
  // Counters 0..kCounterCount-1 in id order; the reserved id reads 0.
  open_error_t allValues(uint32_t intIfNum, std::array<uint64_t, kCounterCount> &values) const;
  open_error_t resetCounter(uint32_t counterId, uint32_t intIfNum);
  open_error_t resetPort(uint32_t intIfNum);
  void resetAll();
  open_error_t secondsSinceReset(uint32_t intIfNum, uint32_t *seconds) const;

 private:
  struct Port {
    PortLoad load = PortLoad::Idle;
    std::array<uint64_t, kCounterCount> base{};   // value at `anchor`
    std::array<int64_t, kCounterCount> anchor{};  // clock time since which the counter grows
    int64_t resetAt = 0;                          // clock time of the last interface reset
  };

  int64_t now() const { return clock_(); }
  // The port's counters, or the refusal: an unknown interface or one without counters.
  open_error_t find(uint32_t intIfNum, const Port **port) const;
  CounterRates ratesOf(uint32_t intIfNum, const Port &port) const;
  static uint64_t currentValue(const CounterRates &rates, const Port &port, uint32_t counterId, int64_t at);
  static void clear(Port &port, int64_t at);

  const SimSwitch &system_;
  const SimClock &clock_;
  std::map<uint32_t, Port> ports_;  // by intIfNum: every physical port
};
