#pragma once
// The per-port counters of the switch chip, numbered as OpEN numbers them.
#include <cstdint>

#include "open/openapi.h"

constexpr uint32_t kCounterCount = 65;

// The ids and names are OpEN's own (OPEN_COUNTER_ID_t, open/open_counters.def).
static_assert(ctr_port_link_down_counter + 1 == kCounterCount);

// The rate counters are gauges of the current load, not totals: they do not
// grow with time and a reset does not clear them.
inline bool counterIsGauge(uint32_t id) { return id >= ctr_rx_rate_bits && id <= ctr_tx_rate_frames; }
