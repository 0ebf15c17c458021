// Statistics routes: what reaches OpEN, and how each OpEN answer is answered.
#include <unistd.h>

#include <cstdlib>

#include "tests/e2e/harness.h"

namespace {

const std::string kStats = "/api/v2/monitoring/stats/";

class StatsTest : public SwitchTest {};

TEST_F(StatsTest, AnswersEachRouteFromTheScriptedOpenAnswer) {
  expectRoutes("/api/v2/monitoring/stats", "stats", {
      {"GET", "stat?ifNum=3&counterId=ctr_rx_64", "", "openapiStatGet", "[12345]", "[2,3]",
       R"({"counterValue":12345})", false},
      // Past 2^53 the number is a double; stat-string keeps every digit.
      {"GET", "stat?ifNum=1&counterId=ctr_tx_total_bytes", "", "openapiStatGet", R"(["9007199254740993"])", "[20,1]",
       R"({"counterValue":9007199254740992})", false},
      {"GET", "stat-string?ifNum=2&counterId=ctr_port_link_down_counter", "", "openapiStatStringGet",
       R"(["18446744073709551615"])", "[64,2]", R"({"counterValueStr":"18446744073709551615"})", false},
      {"POST", "stat-reset?ifNum=7", R"({"COUNTERID":"ctr_rx_fcs_errors"})", "openapiStatReset", "[]", "[17,7]", "",
       true},
      {"GET", "interface-stats-buf-size", "", "openapiInterfaceStatsBufSizeGet", "[528]", "[]",
       R"({"bufSize":528})", false},
      {"POST", "interface-stats-reset?ifNum=12", "", "openapiInterfaceStatsReset", "[]", "[12]", "", true},
      {"POST", "reset-all-interfaces-stats", "", "openapiResetAllInterfacesStats", "[]", "[]", "", true},
      {"GET", "interface-stats-reset-time?ifNum=5", "", "openapiInterfaceStatsResetTimeGet", "[4000000000]", "[5]",
       R"({"lastResetSecs":4000000000})", false},
  });
}

TEST_F(StatsTest, MapsOpenResultsOntoResultCodes) {
  const struct {
    int openRc;
    int code;
    const char *message;
  } cases[] = {
      {-22, 10003, "Invalid argument"}, {-24, 10011, "Object exist"}, {-28, 17002, "Unsupported Feature"},
      {-29, 10023, "Request api not found"}, {-23, 10000, "General Failed"}, {-1, 10000, "General Failed"},
      {1, 10000, "General Failed"}, {-30, 10000, "General Failed"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.openRc);
    ctlOk({"fault", "openapiStatGet", std::to_string(c.openRc), "1"});
    EXPECT_EQ(call("GET", kStats + "stat?ifNum=1&counterId=ctr_rx_64").out, kJsonHeader + envelope(c.code, c.message));
    ctlOk({"fault", "openapiInterfaceStatsReset", std::to_string(c.openRc), "1"});
    EXPECT_EQ(call("POST", kStats + "interface-stats-reset?ifNum=1").out,
              kJsonHeader + envelope(c.code, c.message) + "\n");
  }
}

TEST_F(StatsTest, ReadsSelectorsAsTheQueryGivesThem) {
  const struct {
    const char *query;
    const char *in;
  } cases[] = {
      {"ifNum=4&counterId=ctr_rx_64", "[2,4]"},
      {"ifNum=4&counterId=CTR_RX_64", "[0,4]"},       // names are case-sensitive
      {"ifNum=4&counterId=ctr_rx_6", "[0,4]"},        // and compared whole
      {"ifNum=4", "[0,4]"},                           // no counter: the reserved one
      {"counterId=ctr_rx_65_127", "[3,0]"},           // no interface: 0
      {"xifNum=4&ifNum=9&counterId=ctr_rx_64", "[2,4]"},  // first entry containing the key
      {"ifNum=abc&counterId=ctr_tx_64", "[21,0]"},
      {"ifNum=4294967295&counterId=ctr_tx_64", "[21,4294967295]"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.query);
    ctlOk({"calls", "clear"});
    call("GET", kStats + "stat?" + c.query);
    std::vector<std::string> logged = callsOf("openapiStatGet");
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_NE(logged[0].find(std::string("\"in\":") + c.in), std::string::npos) << logged[0];
  }
}

TEST_F(StatsTest, StatResetRefusesABodyThatIsNotJson) {
  for (const char *body : {"", "counterId=ctr_rx_64", "{\"counterId\":\"ctr_rx_64\"} x", "{"}) {
    SCOPED_TRACE(body);
    ctlOk({"calls", "clear"});
    EXPECT_EQ(call("POST", kStats + "stat-reset?ifNum=1", body).out, kJsonHeader + envelope(10003, "Invalid argument") + "\n");
    EXPECT_TRUE(callsOf("openapiStatReset").empty());
  }
  // A body without a usable name still resets, with the reserved counter.
  call("POST", kStats + "stat-reset?ifNum=1", R"({"counterId":5})");
  ASSERT_EQ(callsOf("openapiStatReset").size(), 1u);
  EXPECT_EQ(callsOf("openapiStatReset")[0], R"({"op":"openapiStatReset","in":[0,1],"rc":-22})");
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

TEST_F(StatsTest, BusyPortCountersGrowAndResetOnTheSimulatedSwitch) {
  auto bytes = [&] {
    ProcessResult result = call("GET", kStats + "stat-string?ifNum=1&counterId=ctr_rx_total_bytes");
    size_t at = result.out.find("\"counterValueStr\":\t\"");
    EXPECT_NE(at, std::string::npos) << result.out;
    return at == std::string::npos ? 0ull : strtoull(result.out.c_str() + at + 20, nullptr, 10);
  };
  unsigned long long first = bytes();
  usleep(1100000);
  unsigned long long second = bytes();
  EXPECT_GT(second, first);
  EXPECT_EQ(call("POST", kStats + "interface-stats-reset?ifNum=1").out, kJsonHeader + envelope(0, "Success") + "\n");
  EXPECT_LT(bytes(), second);
}

}  // namespace
