#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "cgi/httpd.h"
#include "frame_sandbox.h"
#include "routes/families.h"
#include "tests/fuzz/in_process_program.h"

namespace {

const std::string kJsonHeader = "Content-Type: application/json\r\n\r\n";

// Each handler answers its own number, so that an answer names the route that ran.
template <int N>
Answer handler(Request &) {
  return Answer::text(CText(strdup(("h" + std::to_string(N)).c_str())));
}

class HttpdTest : public ::testing::Test {
 protected:
  void SetUp() override { box.startDebugLog(); }

  std::string dispatch(httpdTable *table, const char *uri, const char *method) {
    Request::Fields fields;
    fields.uri = uri;
    fields.method = method;
    Request request(fields, nullptr, nullptr);
    return answerBytes(httpdProcessRequest(table, request));
  }

  frametest::Sandbox box;
};

struct DispatchCase {
  const char *uri;
  const char *method;
  std::string expected;
};

const std::string kLongDir = "/api/v2/monitoring/" + std::string(980, 'd');  // 999 characters
const std::string kLongUri = kLongDir + "/abcdefghijklmnopqrstuvwxyz0123456789";
// A route whose path is all the 1023 characters a request path keeps, and
// the same path one character longer, which loses that character.
const std::string kLongestRoute = "/api/v2/" + std::string(1000, 'e') + "/" + std::string(14, 'o');
const std::string kOneTooLong = kLongestRoute + "x";

class HttpdDispatchTest : public HttpdTest, public ::testing::WithParamInterface<DispatchCase> {};

TEST_P(HttpdDispatchTest, AnswersExactly) {
  const DispatchCase &c = GetParam();
  SCOPED_TRACE(std::string(c.method ? c.method : "(unset)") + " " + (c.uri ? c.uri : "(unset)"));
  httpdTable *table = httpdCreateTable();
  httpdAddCContent(table, "/api/v2/monitoring/stats", "stat", HTTPD_GET, 0, handler<0>);
  httpdAddCContent(table, "/api/v2/monitoring/stats", "stat", HTTPD_GET, 0, handler<1>);  // the later one wins
  httpdAddCContent(table, "/api/v2/monitoring/stats", "stat", HTTPD_PUT, 0, handler<2>);
  httpdAddCContent(table, "/api/v2/monitoring/lldp", "status", HTTPD_GET, 0, handler<3>);
  httpdAddCContent(table, "/api/v2/monitoring/lldp-med", "status", HTTPD_GET, 0, handler<4>);
  // Longer than the last directory's parent, with another beginning.
  httpdAddCContent(table, "/cgi-bin/monitoring-pages", "plain", HTTPD_GET, 0, handler<5>);
  httpdAddCContent(table, "/api//v2///monitoring/snmp/", "community", HTTPD_DELETE, 0, handler<6>);
  httpdAddCContent(table, "/", "top", HTTPD_GET, 0, handler<7>);
  httpdAddCContent(table, "/api/v2/monitoring/x", "op", 9, 0, handler<8>);  // no request has method code 9
  httpdAddCContent(table, "/api/v2/monitoring/", "all", HTTPD_GET, 0, handler<9>);  // the last one's parent
  // The first 1023 characters of kLongUri, which are all that count, before the URI is split.
  httpdAddCContent(table, kLongDir.c_str(), "abcdefghijklmnopqrstuvw", HTTPD_GET, 0, handler<10>);
  httpdAddCContent(table, kLongestRoute.substr(0, 1008).c_str(), std::string(14, 'o').c_str(), HTTPD_PUT, 0,
                   handler<11>);
  EXPECT_EQ(dispatch(table, c.uri, c.method), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Requests, HttpdDispatchTest,
    ::testing::ValuesIn(std::vector<DispatchCase>{
        {"/api/v2/monitoring/stats/stat?intf=3", "GET", kJsonHeader + "h1"},
        {"/api/v2/monitoring/stats/stat", "get", kJsonHeader + "h1"},
        {"/api/v2/monitoring/stats/stat", "pUt", kJsonHeader + "h2"},
        {"/api/v2/monitoring/stats/stat", "POST", ""}, {"/api/v2/monitoring/stats/stat", "GETX", ""},
        {"/api/v2/monitoring/stats/stat", nullptr, ""}, {"/api/v2/monitoring/stats/", "GET", ""},
        {"/api/v2/monitoring/stats/STAT", "GET", ""}, {"/api/v2/monitoring/Stats/stat", "GET", ""},
        {"/api/v2/monitoring/lldp/status", "GET", kJsonHeader + "h3"},
        {"/api/v2/monitoring/lldp/status?x=a/b", "GET", ""},
        {"/api/v2/monitoring/lldp-med/status", "GET", kJsonHeader + "h4"},
        {"/api/v2/monitoring/lldp-/status", "GET", ""},
        {"/api/v2/monitoring//lldp/status", "GET", kJsonHeader + "h3"},
        // Empty components do not count, also those that decide the JSON header.
        {"//api/v2/monitoring/stats/stat", "GET", kJsonHeader + "h1"},
        {"/api//v2/monitoring/stats/stat", "GET", kJsonHeader + "h1"},
        {"/cgi-bin//monitoring-pages/plain", "GET", "h5"},
        {"/api/v2/monitoring/snmp/community", "DELETE", kJsonHeader + "h6"},
        {"/cgi-bin/monitoring-pages/plain", "GET", "h5"},
        {"/top?a=b", "GET", "h7"},
        {"/api/v2/monitoring/all", "GET", kJsonHeader + "h9"}, {"/api/v2/monitoring/x/op", "GET", ""},
        {kLongUri.c_str(), "GET", kJsonHeader + "h10"}, {nullptr, "GET", ""},
        {kLongestRoute.c_str(), "PUT", kJsonHeader + "h11"}, {kOneTooLong.c_str(), "PUT", kJsonHeader + "h11"},
        {"no-slash-here?q=1", "GET", "Invalid request path 'no-slash-here?q=1'\n"},
        {"", "GET", "Invalid request path ''\n"}}));

// Refusals answer nothing, or the bare status, and say why in the log only.
TEST_F(HttpdTest, RefusalsAreLogged) {
  EXPECT_EQ(httpdAddCContent(nullptr, "/x", "op", HTTPD_GET, 0, handler<1>), -1);
  httpdTable *table = httpdCreateTable();
  httpdAddCContent(table, "/api/v2/monitoring/stats", "stat", HTTPD_GET, 1, handler<1>);
  EXPECT_EQ(dispatch(table, "/api/v2/monitoring/stats/nope?x=1", "GET"), "");
  EXPECT_EQ(dispatch(table, "/api/v2/monitoring/stats/stat", "GET"), "Status:403\r\n\r\n");
  // A stranger's long request costs the log a bounded line.
  std::string longQuery = "/api/v2/monitoring/stats/nope?" + std::string(7000, 'q');
  EXPECT_EQ(dispatch(table, longQuery.c_str(), "GET"), "");
  std::string cut = "[httpdProcessRequest] method not found:" + longQuery.substr(0, 512) + "[cut, 7030 bytes in all]\nstats\nnope\n";
  for (const char *line : {"[httpdAddCContent] httpdAddCContent, dirPtr == NULL\n", cut.c_str(),
                           "[httpdProcessRequest] method not found:/api/v2/monitoring/stats/nope?x=1\nstats\nnope\n",
                           "[httpdProcessRequest] 403 Forbidden\n"}) {
    EXPECT_NE(box.logText().find(std::string("(ERROR): frame-test: ") + line), std::string::npos) << box.logText();
  }
}

// Registration remembers the last directory; that must not leak between
// tables nor trust a caller's buffer whose text has changed since.
TEST_F(HttpdTest, RememberedDirectoryBelongsToOneTableAndOnePath) {
  httpdTable *one = httpdCreateTable();
  httpdTable *two = httpdCreateTable();
  char dir[] = "/api/v2/monitoring/aaaa";
  httpdAddCContent(one, dir, "op", HTTPD_GET, 0, handler<1>);
  httpdAddCContent(two, dir, "op", HTTPD_GET, 0, handler<2>);
  memcpy(dir + strlen(dir) - 4, "bbbb", 4);
  httpdAddCContent(two, dir, "op", HTTPD_GET, 0, handler<3>);
  EXPECT_EQ(dispatch(one, "/api/v2/monitoring/aaaa/op", "GET"), kJsonHeader + "h1");
  EXPECT_EQ(dispatch(two, "/api/v2/monitoring/aaaa/op", "GET"), kJsonHeader + "h2");
  EXPECT_EQ(dispatch(two, "/api/v2/monitoring/bbbb/op", "GET"), kJsonHeader + "h3");
  EXPECT_EQ(dispatch(one, "/api/v2/monitoring/bbbb/op", "GET"), "");
}

// Far more routes than a real table, interleaving directories, so that the
// storage has to grow and directory lookups keep switching.
TEST_F(HttpdTest, LargeInterleavedTableDispatchesEveryRoute) {
  httpdTable *table = httpdCreateTable();
  constexpr int kRoutes = 3000;
  char path[128];
  for (int i = 0; i < kRoutes; ++i) {
    snprintf(path, sizeof path, "/api/v2/monitoring/family-%d", i % 7);
    std::string op = "a-fairly-long-operation-name-" + std::to_string(i);
    ASSERT_EQ(httpdAddCContent(table, path, op.c_str(), i % 4, 0, i % 2 ? handler<1> : handler<2>), 0);
  }
  for (int i : {0, 1, 1234, kRoutes - 1}) {
    snprintf(path, sizeof path, "/api/v2/monitoring/family-%d/a-fairly-long-operation-name-%d", i % 7, i);
    EXPECT_EQ(dispatch(table, path, httpdMethodName(i % 4)), kJsonHeader + (i % 2 ? "h1" : "h2")) << i;
  }
}

TEST(HttpdMethodName, NamesAndInvalidCodes) {
  const std::pair<int, const char *> cases[] = {{0, "GET"}, {1, "POST"}, {2, "DELETE"}, {3, "PUT"},
                                                {4, "Invalid method '4'"}, {-1, "Invalid method '-1'"}};
  for (const auto &[code, name] : cases) EXPECT_STREQ(httpdMethodName(code), name);
}

}  // namespace

// The program's whole route set, as main registers it.
TEST(RouteSetTest, EveryFamilyRegistersItsRoutesOnce) {
  httpdTable *table = httpdCreateTable();
  registerAllRoutes(table);
  std::map<std::string, int> perDirectory;
  int perMethod[4] = {};
  std::set<std::string> seen;
  std::vector<std::pair<const httpdDirNode *, std::string>> pending = {{table->root, ""}};
  while (!pending.empty()) {
    auto [node, path] = pending.back();
    pending.pop_back();
    for (const httpdRouteEntry *entry = node->operations; entry; entry = entry->next) {
      ++perDirectory[path];
      ++perMethod[entry->method];
      EXPECT_TRUE(seen.insert(path + " " + httpdMethodName(entry->method) + " " + entry->opName).second)
          << path << " " << entry->opName << " is registered twice";
      EXPECT_EQ(entry->needsSession, 1);
    }
    for (const httpdDirNode *child = node->children; child; child = child->next) {
      pending.emplace_back(child, path + "/" + child->name);
    }
  }
  const std::string api = "/api/v2/monitoring/";
  const std::map<std::string, int> expected = {
      {api + "instru-bhd", 5}, {api + "instru-bst", 43}, {api + "instru-flow-tracker", 13}, {api + "instru-ifa", 13},
      {api + "instru-nos", 16}, {api + "instru-packet-trace", 5}, {api + "sflow", 53}, {api + "snmp", 54},
      {api + "stats", 8}, {api + "lldp", 109}, {api + "mirror", 45}, {api + "session", 2}};
  EXPECT_EQ(perDirectory, expected);
  EXPECT_EQ(std::vector<int>(perMethod, perMethod + 4), (std::vector<int>{219, 54, 26, 67}));  // GET POST DELETE PUT
}
