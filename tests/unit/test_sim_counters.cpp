// Port counters as the statistics operations and the state file show them.
#include <cstring>
#include <functional>

#include "sim_fixture.h"

namespace {

using simtest::SimFixture;

class SimCountersTest : public SimFixture {
 protected:
  std::vector<uint32_t> ports() { return walk(kIntfPhysical); }
  uint32_t resetSeconds(uint32_t intIfNum) {
    uint32_t seconds = 0;
    EXPECT_EQ(sim::openapiInterfaceStatsResetTimeGet(dev, intIfNum, &seconds), OPEN_E_NONE);
    return seconds;
  }
};

TEST_F(SimCountersTest, CountersGrowAtTheSteadyRateOfTheirTraffic) {
  int up = 0, down = 0;
  for (uint32_t port : ports()) {
    SCOPED_TRACE("port " + std::to_string(port));
    uint64_t rate = stat(ctr_rx_rate_frames, port), frames = stat(ctr_rx_total_frames, port);
    uint64_t bytes = stat(ctr_rx_total_bytes, port);
    advanceSeconds(10);
    EXPECT_EQ(stat(ctr_rx_rate_frames, port), rate) << "a gauge, not a total";
    frames = stat(ctr_rx_total_frames, port) - frames;
    bytes = stat(ctr_rx_total_bytes, port) - bytes;
    EXPECT_NEAR(static_cast<double>(frames), 10.0 * static_cast<double>(rate), 10.0);
    EXPECT_GE(bytes, frames * 64);
    EXPECT_LE(bytes, frames * 1530);
    bool flows = linkUp(port);
    (flows ? up : down) += 1;
    EXPECT_EQ(frames > 0, flows);
    EXPECT_EQ(stat(ctr_rx_total_frames, port) > 0, flows) << "a port down since boot has counted nothing";
  }
  EXPECT_GT(up, 0);
  EXPECT_GT(down, 0);
}

TEST_F(SimCountersTest, CountersOfOnePortAgreeWithEachOther) {
  for (uint32_t port : ports()) {
    SCOPED_TRACE("port " + std::to_string(port));
    const uint64_t total = stat(ctr_rx_total_frames, port);
    uint64_t byCast = stat(ctr_rx_ucast_frames, port) + stat(ctr_rx_mcast_frames, port) + stat(ctr_rx_bcast_frames, port);
    uint64_t bySize = 0;
    for (uint32_t id = ctr_rx_64; id <= ctr_rx_1519_1530; ++id) bySize += stat(id, port);
    // Each counter is rounded down on its own: a few frames of slack.
    EXPECT_NEAR(static_cast<double>(byCast), static_cast<double>(total), 8.0);
    EXPECT_NEAR(static_cast<double>(bySize), static_cast<double>(total), 8.0);
    EXPECT_LE(stat(ctr_rx_fcs_errors, port) * 1000, total) << "errors are rare";
    EXPECT_NEAR(static_cast<double>(stat(ctr_tx_rx_64, port)),
                static_cast<double>(stat(ctr_rx_64, port) + stat(ctr_tx_64, port)), 1.0);
  }
}

TEST_F(SimCountersTest, ResetsClearWhatTheyName) {
  std::vector<uint32_t> busy;
  for (uint32_t port : ports()) {
    if (linkUp(port)) busy.push_back(port);
  }
  ASSERT_GE(busy.size(), 2u);
  const uint32_t port = busy[0], other = busy[1];
  const struct {
    const char *what;
    std::function<open_error_t()> reset;
    bool portCleared, sameCounterOnly, otherCleared;
  } cases[] = {
      {"one counter", [&] { return sim::openapiStatReset(dev, ctr_rx_64, port); }, true, true, false},
      {"one interface", [&] { return sim::openapiInterfaceStatsReset(dev, port); }, true, false, false},
      {"all interfaces", [&] { return sim::openapiResetAllInterfacesStats(dev); }, true, false, true},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.what);
    dev.resetToDefault();
    advanceSeconds(30);
    uint32_t ageBefore = resetSeconds(port);
    ASSERT_EQ(c.reset(), OPEN_E_NONE);
    EXPECT_EQ(stat(ctr_rx_64, port), 0u);
    EXPECT_EQ(stat(ctr_rx_total_bytes, port) == 0, !c.sameCounterOnly);
    EXPECT_EQ(stat(ctr_rx_total_bytes, other) == 0, c.otherCleared);
    EXPECT_GT(stat(ctr_rx_rate_bits, port), 0u) << "rates are not totals";
    // Clearing one counter is not a reset of the interface.
    EXPECT_EQ(resetSeconds(port), c.sameCounterOnly ? ageBefore : 0u);
    advanceSeconds(7);
    EXPECT_GT(stat(ctr_rx_64, port), 0u) << "counting goes on after a reset";
    EXPECT_EQ(resetSeconds(port), c.sameCounterOnly ? ageBefore + 7 : 7u);
  }
}

TEST_F(SimCountersTest, CounterAccessRefusesWhatHasNoCounters) {
  uint32_t port = ports().front(), lag = walk(kIntfLag).front(), cpu = walk(kIntfCpu).front();
  uint64_t value = 0;
  uint32_t seconds = 0;
  char text[21];
  open_buffdesc desc{sizeof text, text};
  const struct {
    uint32_t counterId, intIfNum;
    open_error_t expected;
  } cases[] = {
      {ctr_reserved, port, OPEN_E_PARAM}, {kCounterCount, port, OPEN_E_PARAM}, {ctr_rx_64, 0, OPEN_E_PARAM},
      {ctr_rx_64, 100000, OPEN_E_PARAM},  {ctr_rx_64, lag, OPEN_E_UNAVAIL},     {ctr_rx_64, cpu, OPEN_E_PARAM},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE("counter " + std::to_string(c.counterId) + " of " + std::to_string(c.intIfNum));
    EXPECT_EQ(sim::openapiStatGet(dev, c.counterId, c.intIfNum, &value), c.expected);
    EXPECT_EQ(sim::openapiStatStringGet(dev, c.counterId, c.intIfNum, &desc), c.expected);
    EXPECT_EQ(sim::openapiStatReset(dev, c.counterId, c.intIfNum), c.expected);
    if (c.counterId != ctr_rx_64) continue;  // the interface-wide calls take no counter
    EXPECT_EQ(sim::openapiInterfaceStatsReset(dev, c.intIfNum), c.expected);
    EXPECT_EQ(sim::openapiInterfaceStatsResetTimeGet(dev, c.intIfNum, &seconds), c.expected);
    desc.size = 4096;
    std::vector<char> block(4096);
    desc.pstart = block.data();
    EXPECT_EQ(sim::openapiInterfaceStatsGet(dev, c.intIfNum, &desc), c.expected);
    desc = {sizeof text, text};
  }
}

TEST_F(SimCountersTest, CounterTextAndBlockShowTheSameValues) {
  uint32_t port = ports().front();
  char text[21];
  open_buffdesc desc{sizeof text, text};
  ASSERT_EQ(sim::openapiStatStringGet(dev, ctr_rx_total_bytes, port, &desc), OPEN_E_NONE);
  EXPECT_EQ(std::to_string(stat(ctr_rx_total_bytes, port)), text);
  EXPECT_EQ(desc.size, strlen(text) + 1);

  uint32_t size = 0;
  ASSERT_EQ(sim::openapiInterfaceStatsBufSizeGet(dev, &size), OPEN_E_NONE);
  std::vector<uint64_t> block(size / 8 + 1, 0xdeadbeef);
  open_buffdesc blockDesc{size, reinterpret_cast<char *>(block.data())};
  ASSERT_EQ(sim::openapiInterfaceStatsGet(dev, port, &blockDesc), OPEN_E_NONE);
  EXPECT_EQ(blockDesc.size, size);
  ASSERT_EQ(block[0], kCounterCount);
  ASSERT_EQ(size, 8 * (1 + block[0]));
  EXPECT_EQ(block[1 + ctr_reserved], 0u);
  for (uint32_t id = 1; id < kCounterCount; ++id) EXPECT_EQ(block[1 + id], stat(id, port)) << "counter " << id;
  EXPECT_EQ(block[size / 8], 0xdeadbeefu) << "nothing written past the block";

  blockDesc.size = size - 8;
  EXPECT_EQ(sim::openapiInterfaceStatsGet(dev, port, &blockDesc), OPEN_E_PARAM);
  char tiny[4] = {'x', 'x', 'x', 'x'};
  open_buffdesc tinyDesc{3, tiny};
  EXPECT_EQ(sim::openapiStatStringGet(dev, ctr_rx_total_bytes, port, &tinyDesc), OPEN_E_PARAM);
  EXPECT_EQ(tiny[3], 'x');
}

TEST_F(SimCountersTest, LoadedCountersContinueExactlyAbove53BitsWhereTheLinkIsUp) {
  const char *big = "9007199254740993";  // 2^53 + 1: a double would round it
  JsonPtr state(dev.toJson());
  cJSON *port1 = cJSON_GetArrayItem(cJSON_GetObjectItemCaseSensitive(state.get(), "counters"), 0);
  cJSON *values = cJSON_GetObjectItemCaseSensitive(port1, "values");
  cJSON_ReplaceItemInArray(values, ctr_rx_total_bytes, cJSON_CreateString(big));
  cJSON_ReplaceItemInArray(values, ctr_port_link_down_counter, cJSON_CreateString("18446744073709551615"));
  cJSON_ReplaceItemInObject(port1, "secondsSinceReset", cJSON_CreateNumber(600));
  cJSON *intf2 = cJSON_GetArrayItem(cJSON_GetObjectItemCaseSensitive(state.get(), "interfaces"), 1);
  cJSON_ReplaceItemInObject(intf2, "link", cJSON_CreateString("down"));
  std::string error;
  ASSERT_EQ(dev.fromJson(state.get(), error), 0) << error;

  EXPECT_EQ(stat(ctr_rx_total_bytes, 1), 9007199254740993u);
  EXPECT_EQ(stat(ctr_port_link_down_counter, 1), UINT64_MAX);
  char text[21];
  open_buffdesc desc{sizeof text, text};
  ASSERT_EQ(sim::openapiStatStringGet(dev, ctr_rx_total_bytes, 1, &desc), OPEN_E_NONE);
  EXPECT_STREQ(text, big);
  EXPECT_EQ(resetSeconds(1), 600u);
  uint64_t port2 = stat(ctr_rx_total_frames, 2);

  advanceSeconds(2);
  EXPECT_GT(stat(ctr_rx_total_bytes, 1), 9007199254740993u) << "a busy port keeps counting from the loaded value";
  EXPECT_EQ(resetSeconds(1), 602u);
  EXPECT_EQ(stat(ctr_rx_total_frames, 2), port2) << "its link is down now";
  EXPECT_EQ(stat(ctr_rx_rate_bits, 2), 0u);
  EXPECT_NE(dumped().find("\"18446744073709551615\""), std::string::npos) << "saved exactly";
}

}  // namespace
