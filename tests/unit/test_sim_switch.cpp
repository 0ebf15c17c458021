// The simulated switch as the OpEN operations show it.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "sim_fixture.h"

namespace {

using simtest::SimFixture;

class SimSwitchTest : public SimFixture {
 protected:
  std::vector<uint32_t> ports() { return walk(kIntfPhysical); }
  uint32_t firstOf(uint32_t type) {
    uint32_t intIfNum = 0;
    EXPECT_EQ(sim::openapiIfFirstGet(sw, type, &intIfNum), OPEN_E_NONE);
    return intIfNum;
  }
  uint32_t resetSeconds(uint32_t intIfNum) {
    uint32_t seconds = 0;
    EXPECT_EQ(sim::openapiInterfaceStatsResetTimeGet(sw, intIfNum, &seconds), OPEN_E_NONE);
    return seconds;
  }
};

TEST_F(SimSwitchTest, DefaultLayoutWalksByType) {
  std::vector<uint32_t> phys = ports(), lags = walk(kIntfLag), cpus = walk(kIntfCpu), all = walk(kIntfAny);
  EXPECT_EQ(phys.size(), 28u);
  EXPECT_EQ(lags.size(), 8u);
  EXPECT_EQ(cpus.size(), 1u);
  EXPECT_EQ(all.size(), phys.size() + lags.size() + cpus.size());
  EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
  for (uint32_t type : {kIntfVlan, kIntfLoopback, kIntfTunnel, kIntfServicePort}) EXPECT_TRUE(walk(type).empty());
  for (uint32_t p = 0; p < phys.size(); ++p) EXPECT_EQ(text(sim::openapiIfNameGet, phys[p]), "1/0/" + std::to_string(p + 1));
  // LAG n is found as the first LAG plus n - 1.
  for (uint32_t n = 1; n <= lags.size(); ++n) {
    EXPECT_EQ(lags[n - 1], lags[0] + n - 1);
    EXPECT_EQ(text(sim::openapiIfNameGet, lags[n - 1]), "lag" + std::to_string(n));
  }
  EXPECT_EQ(text(sim::openapiIfNameGet, cpus[0]), "cpu");
  for (uint32_t type : {kIntfPhysical, kIntfLag, kIntfCpu}) {
    for (uint32_t intIfNum : walk(type)) {
      uint32_t got = 99;
      EXPECT_EQ(sim::openapiIfTypeGet(sw, intIfNum, &got), OPEN_E_NONE);
      EXPECT_EQ(got, type);
    }
  }
}

TEST_F(SimSwitchTest, InterfaceQueriesRefuseUnknownArguments) {
  uint32_t out = 0;
  char small[3];
  open_buffdesc tooSmall{sizeof small, small};
  uint32_t last = walk(kIntfAny).back();
  const struct {
    const char *what;
    open_error_t rc, expected;
  } cases[] = {
      {"first of an unknown type", sim::openapiIfFirstGet(sw, 9, &out), OPEN_E_PARAM},
      {"next after the last", sim::openapiIfNextGet(sw, kIntfAny, last, &out), OPEN_E_NOT_FOUND},
      {"type of interface 0", sim::openapiIfTypeGet(sw, 0, &out), OPEN_E_PARAM},
      {"link of an unknown interface", sim::openapiIfLinkStateGet(sw, last + 1, &out), OPEN_E_PARAM},
      {"speed of an unknown interface", sim::openapiIfSpeedGet(sw, last + 1, &out), OPEN_E_PARAM},
      {"PVID of an unknown interface", sim::openapiVlanIfPvidGet(sw, last + 1, &out), OPEN_E_PARAM},
      {"name into a 3-byte buffer", sim::openapiIfNameGet(sw, 1, &tooSmall), OPEN_E_PARAM},
      {"VLAN 1", sim::openapiVlanCreatedCheck(sw, 1), OPEN_E_NONE},
      {"VLAN 4094, never created", sim::openapiVlanCreatedCheck(sw, 4094), OPEN_E_NOT_FOUND},
      {"VLAN 0", sim::openapiVlanCreatedCheck(sw, 0), OPEN_E_PARAM},
      {"VLAN 4095", sim::openapiVlanCreatedCheck(sw, 4095), OPEN_E_PARAM},
  };
  for (const auto &c : cases) EXPECT_EQ(c.rc, c.expected) << c.what;
}

TEST_F(SimSwitchTest, CountersGrowOnlyWhereTrafficFlows) {
  int up = 0, down = 0;
  for (uint32_t port : ports()) {
    uint64_t before = stat(ctr_rx_total_frames, port), bytesBefore = stat(ctr_rx_total_bytes, port);
    advanceSeconds(10);
    uint64_t frames = stat(ctr_rx_total_frames, port) - before, bytes = stat(ctr_rx_total_bytes, port) - bytesBefore;
    if (!linkUp(port)) {
      ++down;
      EXPECT_EQ(before, 0u) << "port " << port << " is down";
      EXPECT_EQ(frames, 0u) << "port " << port << " is down";
      continue;
    }
    ++up;
    EXPECT_GT(frames, 0u) << "port " << port;
    EXPECT_GE(bytes, frames * 64) << "port " << port;
    EXPECT_LE(bytes, frames * 1530) << "port " << port;
  }
  EXPECT_GT(up, 0);
  EXPECT_GT(down, 0);
}

TEST_F(SimSwitchTest, CountersOfOnePortAgreeWithEachOther) {
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

TEST_F(SimSwitchTest, RateCountersStayPutAndMatchTheGrowth) {
  for (uint32_t port : ports()) {
    uint64_t rate = stat(ctr_rx_rate_frames, port), frames = stat(ctr_rx_total_frames, port);
    advanceSeconds(1);
    EXPECT_EQ(stat(ctr_rx_rate_frames, port), rate) << "port " << port;
    EXPECT_NEAR(static_cast<double>(stat(ctr_rx_total_frames, port) - frames), static_cast<double>(rate), 1.0);
  }
}

TEST_F(SimSwitchTest, ResetsClearWhatTheyName) {
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
      {"one counter", [&] { return sim::openapiStatReset(sw, ctr_rx_64, port); }, true, true, false},
      {"one interface", [&] { return sim::openapiInterfaceStatsReset(sw, port); }, true, false, false},
      {"all interfaces", [&] { return sim::openapiResetAllInterfacesStats(sw); }, true, false, true},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.what);
    sw.resetToDefault();
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

TEST_F(SimSwitchTest, CounterAccessRefusesWhatHasNoCounters) {
  uint32_t port = ports().front(), lag = firstOf(kIntfLag), cpu = firstOf(kIntfCpu);
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
    EXPECT_EQ(sim::openapiStatGet(sw, c.counterId, c.intIfNum, &value), c.expected);
    EXPECT_EQ(sim::openapiStatStringGet(sw, c.counterId, c.intIfNum, &desc), c.expected);
    EXPECT_EQ(sim::openapiStatReset(sw, c.counterId, c.intIfNum), c.expected);
    if (c.counterId != ctr_rx_64) continue;  // the interface-wide calls take no counter
    EXPECT_EQ(sim::openapiInterfaceStatsReset(sw, c.intIfNum), c.expected);
    EXPECT_EQ(sim::openapiInterfaceStatsResetTimeGet(sw, c.intIfNum, &seconds), c.expected);
    desc.size = 4096;
    std::vector<char> block(4096);
    desc.pstart = block.data();
    EXPECT_EQ(sim::openapiInterfaceStatsGet(sw, c.intIfNum, &desc), c.expected);
    desc = {sizeof text, text};
  }
}

TEST_F(SimSwitchTest, CounterTextAndBlockShowTheSameValues) {
  uint32_t port = ports().front();
  char text[21];
  open_buffdesc desc{sizeof text, text};
  ASSERT_EQ(sim::openapiStatStringGet(sw, ctr_rx_total_bytes, port, &desc), OPEN_E_NONE);
  EXPECT_EQ(std::to_string(stat(ctr_rx_total_bytes, port)), text);
  EXPECT_EQ(desc.size, strlen(text) + 1);

  uint32_t size = 0;
  ASSERT_EQ(sim::openapiInterfaceStatsBufSizeGet(sw, &size), OPEN_E_NONE);
  std::vector<uint64_t> block(size / 8 + 1, 0xdeadbeef);
  open_buffdesc blockDesc{size, reinterpret_cast<char *>(block.data())};
  ASSERT_EQ(sim::openapiInterfaceStatsGet(sw, port, &blockDesc), OPEN_E_NONE);
  EXPECT_EQ(blockDesc.size, size);
  ASSERT_EQ(block[0], kCounterCount);
  ASSERT_EQ(size, 8 * (1 + block[0]));
  EXPECT_EQ(block[1 + ctr_reserved], 0u);
  for (uint32_t id = 1; id < kCounterCount; ++id) EXPECT_EQ(block[1 + id], stat(id, port)) << "counter " << id;
  EXPECT_EQ(block[size / 8], 0xdeadbeefu) << "nothing written past the block";

  blockDesc.size = size - 8;
  EXPECT_EQ(sim::openapiInterfaceStatsGet(sw, port, &blockDesc), OPEN_E_PARAM);
  char tiny[4] = {'x', 'x', 'x', 'x'};
  open_buffdesc tinyDesc{3, tiny};
  EXPECT_EQ(sim::openapiStatStringGet(sw, ctr_rx_total_bytes, port, &tinyDesc), OPEN_E_PARAM);
  EXPECT_EQ(tiny[3], 'x');
}

// Reads the MAC the way the web interface does: after the label, skip the
// leader of dots, blanks and colons, then take the value.
std::string macFromShowVersion(const std::string &output) {
  size_t at = output.find("Burned In MAC Address");
  if (at == std::string::npos) return "";
  at = output.find_first_not_of("\t .:", at + 21);
  return output.substr(at, output.find_first_of("\t\r\n ", at) - at);
}

TEST_F(SimSwitchTest, ShowVersionGoesToTheNamedFile) {
  char dir[] = "/tmp/simswitch.XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  std::string path = std::string(dir) + "/out";
  auto run = [&](std::string command, std::string file) {
    open_buffdesc c{static_cast<uint32_t>(command.size() + 1), command.data()};
    open_buffdesc f{static_cast<uint32_t>(file.size() + 1), file.data()};
    return sim::openapiCliShowExecuteToFile(sw, &c, &f);
  };
  const struct {
    const char *command;
    std::string file;
    open_error_t expected;
  } cases[] = {
      {"show version", path, OPEN_E_NONE},
      {"  SHOW   Version ", path, OPEN_E_NONE},
      {"show running-config", path, OPEN_E_UNAVAIL},
      {"", path, OPEN_E_PARAM},
      {"show version", "", OPEN_E_PARAM},
      {"show version", std::string(dir) + "/missing/out", OPEN_E_FAIL},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.command);
    unlink(path.c_str());
    ASSERT_EQ(run(c.command, c.file), c.expected);
    FILE *file = fopen(path.c_str(), "r");
    ASSERT_EQ(file != nullptr, c.expected == OPEN_E_NONE);
    if (file == nullptr) continue;
    char buf[4096] = {};
    EXPECT_GT(fread(buf, 1, sizeof buf - 1, file), 0u);
    fclose(file);
    EXPECT_EQ(macFromShowVersion(buf), sw.baseMacText());
    EXPECT_NE(strstr(buf, sw.identity().softwareVersion.c_str()), nullptr);
  }
  unlink(path.c_str());
  rmdir(dir);
}

}  // namespace
