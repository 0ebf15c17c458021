#pragma once
// Simulated traffic: how fast each counter of a port grows, per second.
// Rates depend only on the port number, its load and its speed, so every run
// of the simulator sees the same switch.
#include <array>
#include <cstdint>

#include "sim/stats/counters.h"

using CounterRates = std::array<double, kCounterCount>;

enum class PortLoad : uint8_t { Busy, Idle };

// Zero for a port whose link is down; gauges hold their constant reading.
CounterRates portCounterRates(uint32_t port, PortLoad load, uint32_t speedMbps, bool linkUp);
