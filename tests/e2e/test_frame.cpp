// The whole frame as the web server sees it: start-up against OpEN, route
// matching, the session check and the exit statuses.
#include <chrono>

#include "tests/e2e/harness.h"

namespace {

const std::string kStat = "/api/v2/monitoring/stats/stat?ifNum=1&counterId=ctr_rx_64";
const std::string kSnapshot = "/api/v2/monitoring/instru-bst/snapshot";

class FrameTest : public SwitchTest {};

// The matching rules themselves are unit-tested; here the real process reads
// its environment, answers nothing where no route matches, and always exits 0.
TEST_F(FrameTest, RoutesAndSessionsDecideWhoGetsWhichAnswer) {
  const std::string admin = adminSession_, ro = login("guest", "ro"), expired = login("admin", "", 7201);
  const std::string forbidden = "Status:403\r\n\r\n";
  const std::string longBody = R"({"sysLocation":")" + std::string(64 * 1024, 'x') + R"("})";
  const struct {
    const char *session, *method;
    std::string uri, out, body = "";
  } cases[] = {
      {admin.c_str(), "GET", "/api/v2/monitoring/stats/Stat", ""},
      {admin.c_str(), "POST", "/api/v2/monitoring/stats/stat", ""},
      {admin.c_str(), "", "/api/v2/monitoring/stats/stat", ""},  // no method at all
      {admin.c_str(), "GET", "/api/v2/monitoring/lldp/status?x=a/b", ""},
      {admin.c_str(), "GET", "stats", "Invalid request path 'stats'\n"},
      {nullptr, "GET", kStat, forbidden},
      {"../session/x", "GET", kStat, forbidden},
      {ro.c_str(), "get", kSnapshot, reply(17002, "Unsupported Feature")},  // a read-only user reads
      {ro.c_str(), "POST", "/api/v2/monitoring/stats/reset-all-interfaces-stats", forbidden},  // but does not write
      {expired.c_str(), "GET", kStat, forbidden},
      // A body above 64 KiB is refused unread, as the route refuses what it cannot take.
      {admin.c_str(), "PUT", "/api/v2/monitoring/snmp/sys-location", reply(10003, "Invalid argument") + "\n", longBody},
      {admin.c_str(), "GET", "/api/v2/monitoring/snmp/sys-location", reply(0, "Success", "snmp", R"({"sysLocation":""})")},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(std::string(c.session ? c.session : "no session") + " " + c.method + " " + c.uri);
    ProcessResult result = cgi({.method = c.method, .uri = c.uri, .body = c.body, .session = c.session});
    EXPECT_EQ(result.out, c.out);
    EXPECT_EQ(result.status, 0);
  }
  EXPECT_EQ(readFile("/tmp/session/" + expired), "") << "an expired session file is removed";
  std::string refusal = "] body of " + std::to_string(longBody.size()) + " bytes refused, the most a request may send";
  EXPECT_NE(readFile("/tmp/zr301.log").find(refusal), std::string::npos);
}

TEST_F(FrameTest, StartUpAsksForVersionsAndServesWhenTheyFail) {
  if (fastCgiMode()) GTEST_SKIP() << "a FastCGI application starts up once, not for each request";
  ctlOk({"calls", "clear"});
  call("GET", kStat);
  std::vector<std::string> logged = calls();
  ASSERT_EQ(logged.size(), 4u);
  EXPECT_EQ(logged[0], R"({"op":"openapiConnectivityCheck","in":[],"rc":0})");
  const char *next[] = {"openapiNetworkOSVersionGet", "openapiApiVersionGet", "openapiStatGet"};
  for (size_t i = 0; i < 3; ++i) EXPECT_NE(logged[i + 1].find(next[i]), std::string::npos) << logged[i + 1];
  ctlOk({"fault", "openapiNetworkOSVersionGet", "-1"});
  ctlOk({"fault", "openapiApiVersionGet", "-28"});
  EXPECT_EQ(call("GET", kSnapshot).out, reply(17002, "Unsupported Feature"));
  std::string log = readFile("/tmp/zr301.log");
  for (const char *line : {"(ERROR): vexo_cgi: [initHandler:", "] Network OS Version retrieve error\n",
                           "] Open API Version retrieve error\n"}) {
    EXPECT_NE(log.find(line), std::string::npos) << line << "\n" << log;
  }
}

TEST_F(FrameTest, WaitsForAServerThatComesUpLate) {
  ctlOk({"fault", "openapiConnectivityCheck", "-1", "2"});
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(call("GET", kSnapshot).out, reply(17002, "Unsupported Feature"));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(6));
  std::string log = readFile("/tmp/zr301.log");
  const std::string retry = "RPC call can fail until server starts. Keep trying (result = -1)\n";
  size_t first = log.find(retry), second = log.find(retry, first + 1);
  EXPECT_TRUE(second != std::string::npos && log.find(retry, second + 1) == std::string::npos) << log;
  EXPECT_EQ(callsOf("openapiConnectivityCheck").size(), 3u);
}

}  // namespace
