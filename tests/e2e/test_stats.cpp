// Statistics routes: the widths of their numbers, and the counter block.
#include "tests/e2e/harness.h"

namespace {

const std::string kStats = "/api/v2/monitoring/stats";

class StatsTest : public SwitchTest {};

TEST_F(StatsTest, CountersKeepTheirWidth) {
  expectRoutes(kStats, "stats", {
      // Past 2^53 the number is a double; stat-string keeps every digit.
      {"GET", "stat?ifNum=1&counterId=ctr_tx_total_bytes", "", "openapiStatGet", R"(["9007199254740993"])", "[20,1]",
       R"({"counterValue":9007199254740992})"},
      {"GET", "stat-string?ifNum=2&counterId=ctr_port_link_down_counter", "", "openapiStatStringGet",
       R"(["18446744073709551615"])", "[64,2]", R"({"counterValueStr":"18446744073709551615"})"},
      // Its buffer keeps 20 characters.
      {"GET", "stat-string?ifNum=2&counterId=ctr_rx_64", "", "openapiStatStringGet", R"(["123456789012345678901234"])",
       "[2,2]", R"({"counterValueStr":"12345678901234567890"})"},
      {"GET", "interface-stats-reset-time?ifNum=4294967295", "", "openapiInterfaceStatsResetTimeGet", "[4000000000]",
       "[4294967295]", R"({"lastResetSecs":4000000000})"},
  });
}

TEST_F(StatsTest, InterfaceStatsShowsTheCountedWordsWithinTheBlock) {
  const struct {
    const char *size, *words;  // the block's size as OpEN answers it; the words, nullptr when not to be asked for
    std::string expected;
  } cases[] = {
      {R"({"rc":0,"out":[40]})", "[3,10,20,30,40]", reply(0, "Success", "stats", R"({"counterArray":[10,20,30]})")},
      {R"({"rc":0,"out":[24]})", "[5,10,20,30,40]", reply(0, "Success", "stats", R"({"counterArray":[10,20]})")},
      {R"({"rc":0,"out":[16]})", "[0,99]", reply(0, "Success", "stats", R"({"counterArray":[]})")},
      {R"({"rc":0,"out":[0]})", nullptr, reply(0, "Success")},
      {R"({"rc":0,"out":[4294967295]})", nullptr, reply(10000, "General Failed")},  // 4 GiB are not asked for
      {R"({"rc":-28,"out":[0]})", nullptr, reply(17002, "Unsupported Feature")},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.size);
    ctlOk({"reset"});
    ctlOk({"stub", "openapiInterfaceStatsBufSizeGet", c.size});
    if (c.words) ctlOk({"stub", "openapiInterfaceStatsGet", std::string(R"({"rc":0,"out":[)") + c.words + "]}"});
    EXPECT_EQ(call("GET", kStats + "/interface-stats?ifNum=2").out, c.expected);
    EXPECT_EQ(callsOf("openapiInterfaceStatsGet").size(), c.words ? 1u : 0u);
  }
}

}  // namespace
