// Port counters as the statistics operations and the state file show them.
#include <functional>
#include <tuple>

#include "sim_fixture.h"

namespace {

using SimCountersTest = simtest::SimFixture;

TEST_F(SimCountersTest, CountersGrowAtTheRateOfTheirTrafficWhereTheLinkIsUpAndAgreeWithEachOther) {
  // Busy, idle, no cable, a busy uplink at 10G, no module, disabled.
  const std::pair<uint32_t, double> rxPerSecond[] = {{1, 4200}, {9, 1.25}, {17, 0}, {25, 66000}, {27, 0}, {28, 0}};
  for (const auto &[port, rate] : rxPerSecond) {
    SCOPED_TRACE("port " + std::to_string(port));
    const uint64_t before = stat(ctr_rx_total_frames, port);
    EXPECT_EQ(before > 0, rate > 0) << "a port down since boot has counted nothing";
    advanceSeconds(100);
    const uint64_t total = stat(ctr_rx_total_frames, port);
    EXPECT_NEAR(total - before, 100 * rate, 1.0);
    EXPECT_EQ(stat(ctr_rx_rate_frames, port), static_cast<uint64_t>(rate)) << "a gauge, not a total";
    uint64_t bySize = 0;
    for (uint32_t id = ctr_rx_64; id <= ctr_rx_1519_1530; ++id) bySize += stat(id, port);
    // Each counter is rounded down on its own: a few frames of slack.
    EXPECT_NEAR(bySize, total, 8.0);
    EXPECT_NEAR(stat(ctr_rx_ucast_frames, port) + stat(ctr_rx_mcast_frames, port) + stat(ctr_rx_bcast_frames, port),
                total, 8.0);
    EXPECT_NEAR(stat(ctr_tx_rx_64, port), stat(ctr_rx_64, port) + stat(ctr_tx_64, port), 1.0);
    EXPECT_TRUE(stat(ctr_rx_total_bytes, port) >= total * 64 && stat(ctr_rx_total_bytes, port) <= total * 1530);
  }
}

TEST_F(SimCountersTest, ResetsClearWhatTheyNameAndOnlyAPortResetRestartsItsClock) {
  const std::tuple<const char *, std::function<open_error_t()>, bool, bool> cases[] = {  // port 1 whole, port 2
      {"one counter", [&] { return sim::openapiStatReset(dev, ctr_rx_64, 1); }, false, false},
      {"one interface", [&] { return sim::openapiInterfaceStatsReset(dev, 1); }, true, false},
      {"all interfaces", [&] { return sim::openapiResetAllInterfacesStats(dev); }, true, true},
  };
  for (const auto &[what, reset, wholePort, otherPort] : cases) {
    SCOPED_TRACE(what);
    dev.resetToDefault();
    advanceSeconds(30);
    const uint32_t age = number(sim::openapiInterfaceStatsResetTimeGet, 1);
    ASSERT_EQ(reset(), OPEN_E_NONE);
    EXPECT_EQ(stat(ctr_rx_64, 1), 0u);
    EXPECT_EQ(stat(ctr_rx_total_bytes, 1) == 0, wholePort);
    EXPECT_EQ(stat(ctr_rx_total_bytes, 2) == 0, otherPort) << "port 2 is busy too";
    EXPECT_GT(stat(ctr_rx_rate_bits, 1), 0u) << "rates are not totals";
    advanceSeconds(7);
    EXPECT_GT(stat(ctr_rx_64, 1), 0u) << "counting goes on";
    EXPECT_EQ(number(sim::openapiInterfaceStatsResetTimeGet, 1), wholePort ? 7u : age + 7);
  }
}

TEST_F(SimCountersTest, WhatHasNoCountersIsRefused) {
  uint64_t value = 0;
  uint32_t seconds = 0;
  char text[21], block[4096];
  const std::tuple<uint32_t, uint32_t, open_error_t> cases[] = {  // counter, interface, result
      {ctr_reserved, 1, OPEN_E_PARAM}, {kCounterCount, 1, OPEN_E_PARAM}, {ctr_rx_64, 0, OPEN_E_PARAM},
      {ctr_rx_64, 38, OPEN_E_PARAM},   {ctr_rx_64, 29, OPEN_E_UNAVAIL},  {ctr_rx_64, 37, OPEN_E_PARAM},
  };
  for (const auto &[id, intf, expected] : cases) {
    SCOPED_TRACE("counter " + std::to_string(id) + " of " + std::to_string(intf));
    open_buffdesc textDesc{sizeof text, text}, blockDesc{sizeof block, block};
    EXPECT_EQ(sim::openapiStatGet(dev, id, intf, &value), expected);
    EXPECT_EQ(sim::openapiStatStringGet(dev, id, intf, &textDesc), expected);
    EXPECT_EQ(sim::openapiStatReset(dev, id, intf), expected);
    if (id != ctr_rx_64) continue;  // the interface-wide calls take no counter
    EXPECT_EQ(sim::openapiInterfaceStatsReset(dev, intf), expected);
    EXPECT_EQ(sim::openapiInterfaceStatsResetTimeGet(dev, intf, &seconds), expected);
    EXPECT_EQ(sim::openapiInterfaceStatsGet(dev, intf, &blockDesc), expected);
  }
}

// Read as text and as the block: exactly, and in full or not at all.
TEST_F(SimCountersTest, LoadedCountersReadExactlyAbove53BitsAndCountOn) {
  JsonPtr state(dev.toJson());
  // 2^53 + 1, which a double would round, and the largest.
  edit(state.get(), "counters/0/values/" + std::to_string(ctr_rx_total_bytes), R"("9007199254740993")");
  edit(state.get(), "counters/0/values/" + std::to_string(ctr_port_link_down_counter), R"("18446744073709551615")");
  std::string error;
  ASSERT_EQ(dev.fromJson(state.get(), error), 0) << error;

  EXPECT_EQ(text(sim::openapiStatStringGet, ctr_rx_total_bytes, 1), "9007199254740993");
  const uint32_t size = number(sim::openapiInterfaceStatsBufSizeGet);
  ASSERT_EQ(size, 8 * (1 + kCounterCount));
  std::vector<uint64_t> block(size / 8 + 1, 0xdeadbeef);
  open_buffdesc blockDesc{size - 8, reinterpret_cast<char *>(block.data())};
  EXPECT_EQ(sim::openapiInterfaceStatsGet(dev, 1, &blockDesc), OPEN_E_PARAM);
  blockDesc.size = size;
  ASSERT_EQ(sim::openapiInterfaceStatsGet(dev, 1, &blockDesc), OPEN_E_NONE);
  EXPECT_EQ(block[0], kCounterCount);
  EXPECT_EQ(block[1 + ctr_reserved], 0u);
  for (uint32_t id = 1; id < kCounterCount; ++id) EXPECT_EQ(block[1 + id], stat(id, 1)) << "counter " << id;
  EXPECT_EQ(block[1 + ctr_port_link_down_counter], UINT64_MAX);
  EXPECT_EQ(block[size / 8], 0xdeadbeefu) << "nothing written past the block";
  advanceSeconds(2);
  EXPECT_GT(stat(ctr_rx_total_bytes, 1), 9007199254740993u) << "a busy port counts on from the loaded value";
  EXPECT_NE(dumped().find("\"18446744073709551615\""), std::string::npos) << "saved exactly";
}

}  // namespace
