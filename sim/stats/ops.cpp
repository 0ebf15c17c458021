// The simulated switch's answers to the statistics operations.
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "sim/device.h"
#include "sim/sim_ops.h"

namespace sim {

open_error_t openapiStatGet(SimDevice &dev, uint32_t counterId, uint32_t intIfNum, uint64_t *value) {
  return dev.counters().value(counterId, intIfNum, value);
}

open_error_t openapiStatStringGet(SimDevice &dev, uint32_t counterId, uint32_t intIfNum, open_buffdesc *value) {
  uint64_t number = 0;
  open_error_t rc = dev.counters().value(counterId, intIfNum, &number);
  if (rc != OPEN_E_NONE) return rc;
  char text[24];
  snprintf(text, sizeof text, "%" PRIu64, number);
  return putText(value, text);
}

open_error_t openapiStatReset(SimDevice &dev, uint32_t counterId, uint32_t intIfNum) {
  return dev.counters().resetCounter(counterId, intIfNum);
}

open_error_t openapiInterfaceStatsBufSizeGet(SimDevice &, uint32_t *bufSize) {
  *bufSize = static_cast<uint32_t>(sizeof(uint64_t) * (1 + kCounterCount));
  return OPEN_E_NONE;
}

open_error_t openapiInterfaceStatsGet(SimDevice &dev, uint32_t intIfNum, open_buffdesc *counters) {
  std::array<uint64_t, kCounterCount> values{};
  open_error_t rc = dev.counters().allValues(intIfNum, values);
  if (rc != OPEN_E_NONE) return rc;
  const uint64_t count = kCounterCount;
  size_t needed = sizeof count + sizeof values;
  if (counters == nullptr || counters->pstart == nullptr || counters->size < needed) return OPEN_E_PARAM;
  memcpy(counters->pstart, &count, sizeof count);
  memcpy(counters->pstart + sizeof count, values.data(), sizeof values);
  counters->size = static_cast<uint32_t>(needed);
  return OPEN_E_NONE;
}

open_error_t openapiInterfaceStatsReset(SimDevice &dev, uint32_t intIfNum) {
  return dev.counters().resetPort(intIfNum);
}

open_error_t openapiResetAllInterfacesStats(SimDevice &dev) {
  dev.counters().resetAll();
  return OPEN_E_NONE;
}

open_error_t openapiInterfaceStatsResetTimeGet(SimDevice &dev, uint32_t intIfNum, uint32_t *seconds) {
  return dev.counters().secondsSinceReset(intIfNum, seconds);
}

}  // namespace sim
