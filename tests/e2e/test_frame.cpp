// The whole frame as the web server sees it: start-up against OpEN, route
// matching, the session check and the exit statuses.
#include <chrono>

#include "tests/e2e/harness.h"

namespace {

const std::string kForbidden = "Status:403\r\n\r\n";
const std::string kStat = "/api/v2/monitoring/stats/stat?ifNum=1&counterId=ctr_rx_64";

class FrameTest : public SwitchTest {};

int countOf(const std::string &text, const std::string &part) {
  int count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

// The matching rules themselves are unit-tested; here: the real process
// reads its environment and still exits 0 with nothing written.
TEST_F(FrameTest, RequestsThatMatchNoRouteAnswerNothing) {
  const struct {
    const char *method;
    const char *uri;
  } cases[] = {
      {"GET", "/api/v2/monitoring/stats/Stat"},
      {"POST", "/api/v2/monitoring/stats/stat"},
      {"", "/api/v2/monitoring/stats/stat"},  // no method at all
      {"GET", "/api/v2/monitoring/lldp/status?x=a/b"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(std::string(c.method) + " " + c.uri);
    ProcessResult result = cgiAs(adminSession_.c_str(), c.method, c.uri);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.status, 0);
  }
}

TEST_F(FrameTest, MethodsMatchInAnyCaseAndAPathWithoutSlashIsNamed) {
  CgiRequest request;
  request.method = "get";
  request.uri = "/api/v2/monitoring/instru-bst/snapshot";
  request.session = adminSession_.c_str();
  EXPECT_EQ(cgi(request).out, kJsonHeader + envelope(17002, "Unsupported Feature"));
  request.uri = "stats";
  EXPECT_EQ(cgi(request).out, "Invalid request path 'stats'\n");
}

TEST_F(FrameTest, SessionDecidesWhoMayCallWhat) {
  const std::string ro = login("guest", "ro");
  const std::string expired = login("admin", "", systemUptime() - 7201);
  const struct {
    const char *name;
    const char *session;
    const char *method;
    std::string uri;
    bool allowed;
  } cases[] = {
      {"no session", nullptr, "GET", kStat, false},
      {"identifier with a slash", "../session/x", "GET", kStat, false},
      {"read-only reads", ro.c_str(), "GET", kStat, true},
      {"read-only writes", ro.c_str(), "POST", "/api/v2/monitoring/stats/reset-all-interfaces-stats", false},
      {"expired", expired.c_str(), "GET", kStat, false},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.name);
    ProcessResult result = cgiAs(c.session, c.method, c.uri);
    if (c.allowed) {
      EXPECT_EQ(result.out.rfind(kJsonHeader, 0), 0u) << result.out;
    } else {
      EXPECT_EQ(result.out, kForbidden);
    }
    EXPECT_EQ(result.status, 0);
  }
  EXPECT_EQ(readFile("/tmp/session/" + expired), "") << "an expired session file is removed";
}

TEST_F(FrameTest, StartUpAsksForVersionsAndServesWhenTheyFail) {
  ctlOk({"calls", "clear"});
  call("GET", kStat);
  std::vector<std::string> logged = calls();
  ASSERT_EQ(logged.size(), 4u);
  EXPECT_EQ(logged[0], R"({"op":"openapiConnectivityCheck","in":[],"rc":0})");
  EXPECT_NE(logged[1].find("openapiNetworkOSVersionGet"), std::string::npos);
  EXPECT_NE(logged[2].find("openapiApiVersionGet"), std::string::npos);
  EXPECT_NE(logged[3].find("openapiStatGet"), std::string::npos);

  ctlOk({"fault", "openapiNetworkOSVersionGet", "-1"});
  ctlOk({"fault", "openapiApiVersionGet", "-28"});
  ProcessResult result = call("GET", "/api/v2/monitoring/instru-bst/snapshot");
  EXPECT_EQ(result.out, kJsonHeader + envelope(17002, "Unsupported Feature"));
  std::string log = readFile("/tmp/zr301.log");
  EXPECT_NE(log.find("(ERROR): vexo_cgi: [initHandler:"), std::string::npos) << log;
  EXPECT_NE(log.find("] Network OS Version retrieve error\n"), std::string::npos);
  EXPECT_NE(log.find("] Open API Version retrieve error\n"), std::string::npos);
}

TEST_F(FrameTest, WaitsForAServerThatComesUpLate) {
  ctlOk({"fault", "openapiConnectivityCheck", "-1", "2"});
  auto start = std::chrono::steady_clock::now();
  ProcessResult result = call("GET", "/api/v2/monitoring/instru-bst/snapshot");
  auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(result.out, kJsonHeader + envelope(17002, "Unsupported Feature"));
  EXPECT_GE(waited, std::chrono::seconds(6));
  std::string log = readFile("/tmp/zr301.log");
  EXPECT_EQ(countOf(log, "RPC call can fail until server starts. Keep trying (result = -1)\n"), 2) << log;
  EXPECT_EQ(callsOf("openapiConnectivityCheck").size(), 3u);
}

}  // namespace
