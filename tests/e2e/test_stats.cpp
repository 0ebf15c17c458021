// Statistics routes: the quirks of their rows (every row's plain behaviour
// is the route check's), and the counter block.
#include "tests/e2e/harness.h"

namespace {

const std::string kStats = "/api/v2/monitoring/stats/";

class StatsTest : public SwitchTest {};

TEST_F(StatsTest, CountersKeepTheirWidthAndCounterNamesTheirCase) {
  expectRoutes("/api/v2/monitoring/stats", "stats", {
      // Past 2^53 the number is a double; stat-string keeps every digit.
      {"GET", "stat?ifNum=1&counterId=ctr_tx_total_bytes", "", "openapiStatGet", R"(["9007199254740993"])", "[20,1]",
       R"({"counterValue":9007199254740992})", false},
      {"GET", "stat-string?ifNum=2&counterId=ctr_port_link_down_counter", "", "openapiStatStringGet",
       R"(["18446744073709551615"])", "[64,2]", R"({"counterValueStr":"18446744073709551615"})", false},
      {"GET", "interface-stats-reset-time?ifNum=4294967295", "", "openapiInterfaceStatsResetTimeGet", "[4000000000]",
       "[4294967295]", R"({"lastResetSecs":4000000000})", false},
      // Body members in any case; names exactly, anything else the reserved counter.
      {"POST", "stat-reset?ifNum=7", R"({"COUNTERID":"ctr_rx_fcs_errors"})", "openapiStatReset", "[]", "[17,7]", "",
       true},
      {"POST", "stat-reset?ifNum=7", R"({"counterId":5})", "openapiStatReset", "[]", "[0,7]", "", true},
      {"GET", "stat?ifNum=abc&counterId=ctr_rx_6", "", "openapiStatGet", "[1]", "[0,0]", R"({"counterValue":1})", false},
  });
}

TEST_F(StatsTest, InterfaceStatsShowsTheCountedWordsWithinTheBlock) {
  const struct {
    const char *name;
    const char *size;
    const char *words;
    const char *data;  // nullptr: success without data
  } cases[] = {
      {"count within the block", "40", "[3,10,20,30,40]", R"({"counterArray":[10,20,30]})"},
      {"count past the block", "24", "[5,10,20,30,40]", R"({"counterArray":[10,20]})"},
      {"no counters", "16", "[0,99]", R"({"counterArray":[]})"},
      {"empty block", "0", nullptr, nullptr},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.name);
    ctlOk({"reset"});
    ctlOk({"stub", "openapiInterfaceStatsBufSizeGet", std::string(R"({"rc":0,"out":[)") + c.size + "]}"});
    if (c.words) ctlOk({"stub", "openapiInterfaceStatsGet", std::string(R"({"rc":0,"out":[)") + c.words + "]}"});
    ProcessResult result = call("GET", kStats + "interface-stats?ifNum=2");
    EXPECT_EQ(result.out, kJsonHeader + (c.data ? envelope(0, "Success", "stats", c.data) : envelope(0, "Success")));
    EXPECT_EQ(callsOf("openapiInterfaceStatsGet").size(), c.words ? 1u : 0u);
  }
  ctlOk({"fault", "openapiInterfaceStatsBufSizeGet", "-28"});
  EXPECT_EQ(call("GET", kStats + "interface-stats?ifNum=2").out, kJsonHeader + envelope(17002, "Unsupported Feature"));
  ctlOk({"stub", "openapiInterfaceStatsBufSizeGet", R"({"rc":0,"out":[4294967295]})"});
  EXPECT_EQ(call("GET", kStats + "interface-stats?ifNum=2").out, kJsonHeader + envelope(10000, "General Failed"))
      << "a block of 4 GiB is not asked for";
  EXPECT_TRUE(callsOf("openapiInterfaceStatsGet").empty());
}

}  // namespace
