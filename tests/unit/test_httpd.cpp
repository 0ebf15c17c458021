#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "cgi/httpd.h"
#include "frame_sandbox.h"
#include "routes/families.h"

using frametest::captureStdout;
using frametest::setEnv;

namespace {

const std::string kJsonHeader = "Content-Type: application/json\r\n\r\n";

void statGet() { fputs("stat-get", stdout); }
void statPut() { fputs("stat-put", stdout); }
void lldpStatus() { fputs("lldp-status", stdout); }
void lldpMedStatus() { fputs("lldp-med-status", stdout); }
void snmpDelete() { fputs("snmp-delete", stdout); }
void plainPage() { fputs("plain", stdout); }
void topLevel() { fputs("top", stdout); }
void first() { fputs("first", stdout); }
void second() { fputs("second", stdout); }

class HttpdTest : public ::testing::Test {
 protected:
  void SetUp() override {
    box.startDebugLog();
    for (const char *name : {"REQUEST_URI", "REQUEST_METHOD", "HTTP_SESSION", "HTTP_REFRESH"}) {
      unsetenv(name);
    }
  }

  std::string dispatch(httpdTable *table, const char *uri, const char *method) {
    setEnv("REQUEST_URI", uri);
    setEnv("REQUEST_METHOD", method);
    return captureStdout([table] { httpdProcessRequest(table); });
  }

  frametest::Sandbox box;
};

struct DispatchCase {
  const char *uri;
  const char *method;
  std::string expected;
};

class HttpdDispatchTest : public HttpdTest, public ::testing::WithParamInterface<DispatchCase> {
 protected:
  static httpdTable *buildTable() {
    httpdTable *table = httpdCreateTable();
    httpdAddCContent(table, "/api/v2/monitoring/stats", "stat", HTTPD_GET, 0, statGet);
    httpdAddCContent(table, "/api/v2/monitoring/stats", "stat", HTTPD_PUT, 0, statPut);
    httpdAddCContent(table, "/api/v2/monitoring/lldp", "status", HTTPD_GET, 0, lldpStatus);
    httpdAddCContent(table, "/api/v2/monitoring/lldp-med", "status", HTTPD_GET, 0, lldpMedStatus);
    // Longer than the last directory's parent, with another beginning.
    httpdAddCContent(table, "/cgi-bin/monitoring-pages", "plain", HTTPD_GET, 0, plainPage);
    httpdAddCContent(table, "/api//v2///monitoring/snmp/", "community", HTTPD_DELETE, 0, snmpDelete);
    httpdAddCContent(table, "/", "top", HTTPD_GET, 0, topLevel);
    return table;
  }
};

TEST_P(HttpdDispatchTest, AnswersExactly) {
  SCOPED_TRACE(std::string(GetParam().method ? GetParam().method : "(unset)") + " " + GetParam().uri);
  EXPECT_EQ(dispatch(buildTable(), GetParam().uri, GetParam().method), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Requests, HttpdDispatchTest,
    ::testing::Values(
        DispatchCase{"/api/v2/monitoring/stats/stat?intf=3", "GET", kJsonHeader + "stat-get"},
        DispatchCase{"/api/v2/monitoring/stats/stat", "get", kJsonHeader + "stat-get"},
        DispatchCase{"/api/v2/monitoring/stats/stat", "pUt", kJsonHeader + "stat-put"},
        DispatchCase{"/api/v2/monitoring/stats/stat", "POST", ""},
        DispatchCase{"/api/v2/monitoring/stats/stat", "GETX", ""},
        DispatchCase{"/api/v2/monitoring/stats/stat", nullptr, ""},
        DispatchCase{"/api/v2/monitoring/stats/STAT", "GET", ""},
        DispatchCase{"/api/v2/monitoring/Stats/stat", "GET", ""},
        DispatchCase{"/api/v2/monitoring/stats/", "GET", ""},
        DispatchCase{"/api/v2/monitoring/lldp/status", "GET", kJsonHeader + "lldp-status"},
        DispatchCase{"/api/v2/monitoring/lldp/status?x=a/b", "GET", ""},
        DispatchCase{"/api/v2/monitoring/lldp-med/status", "GET", kJsonHeader + "lldp-med-status"},
        DispatchCase{"/api/v2/monitoring/lldp-/status", "GET", ""},
        DispatchCase{"/api/v2/monitoring//lldp/status", "GET", kJsonHeader + "lldp-status"},
        DispatchCase{"/api/v2/monitoring/snmp/community", "DELETE", kJsonHeader + "snmp-delete"},
        DispatchCase{"/cgi-bin/monitoring-pages/plain", "GET", "plain"},
        DispatchCase{"/top?a=b", "GET", "top"},
        DispatchCase{"no-slash-here?q=1", "GET", "Invalid request path 'no-slash-here?q=1'\n"},
        DispatchCase{"", "GET", "Invalid request path ''\n"}));

TEST_F(HttpdTest, NoRequestUriMeansNoAnswer) {
  httpdTable *table = httpdCreateTable();
  httpdAddCContent(table, "/", "top", HTTPD_GET, 0, topLevel);
  EXPECT_EQ(dispatch(table, nullptr, "GET"), "");
}

TEST_F(HttpdTest, UnknownRouteIsOnlyLogged) {
  httpdTable *table = httpdCreateTable();
  httpdAddCContent(table, "/api/v2/monitoring/stats", "stat", HTTPD_GET, 0, statGet);
  EXPECT_EQ(dispatch(table, "/api/v2/monitoring/stats/nope?x=1", "GET"), "");
  std::regex expected(R"(\(ERROR\): frame-test: \[httpdProcessRequest:\d+\] method not found:)"
                      R"(/api/v2/monitoring/stats/nope\?x=1\nstats\nnope\n)");
  EXPECT_TRUE(std::regex_search(box.logText(), expected)) << box.logText();
}

TEST_F(HttpdTest, LaterRegistrationOfTheSameRouteWins) {
  httpdTable *table = httpdCreateTable();
  httpdAddCContent(table, "/api/v2/monitoring/lldp", "status", HTTPD_GET, 0, first);
  httpdAddCContent(table, "/api/v2/monitoring/lldp", "status", HTTPD_GET, 0, second);
  EXPECT_EQ(dispatch(table, "/api/v2/monitoring/lldp/status", "GET"), kJsonHeader + "second");
}

TEST_F(HttpdTest, OverlongUriIsCutBeforeItIsSplit) {
  std::string dir = "/api/v2/monitoring/" + std::string(980, 'd');
  std::string op = "abcdefghijklmnopqrstuvwxyz0123456789";
  size_t kept = 1023 - dir.size() - 1;
  httpdTable *table = httpdCreateTable();
  httpdAddCContent(table, dir.c_str(), op.substr(0, kept).c_str(), HTTPD_GET, 0, first);
  httpdAddCContent(table, dir.c_str(), op.c_str(), HTTPD_GET, 0, second);
  std::string uri = dir + "/" + op;
  EXPECT_EQ(dispatch(table, uri.c_str(), "GET"), kJsonHeader + "first");
}

// Registration remembers the last directory; that must not leak between
// tables nor trust a caller's buffer whose text has changed since.
TEST_F(HttpdTest, RememberedDirectoryBelongsToOneTableAndOnePath) {
  httpdTable *one = httpdCreateTable();
  httpdTable *two = httpdCreateTable();
  char dir[] = "/api/v2/monitoring/aaaa";
  httpdAddCContent(one, dir, "op", HTTPD_GET, 0, first);
  httpdAddCContent(two, dir, "op", HTTPD_GET, 0, second);
  memcpy(dir + strlen(dir) - 4, "bbbb", 4);
  httpdAddCContent(two, dir, "op", HTTPD_GET, 0, first);
  EXPECT_EQ(dispatch(one, "/api/v2/monitoring/aaaa/op", "GET"), kJsonHeader + "first");
  EXPECT_EQ(dispatch(two, "/api/v2/monitoring/aaaa/op", "GET"), kJsonHeader + "second");
  EXPECT_EQ(dispatch(two, "/api/v2/monitoring/bbbb/op", "GET"), kJsonHeader + "first");
  EXPECT_EQ(dispatch(one, "/api/v2/monitoring/bbbb/op", "GET"), "");
}

// Far more routes than a real table, interleaving directories, so that the
// storage has to grow and directory lookups keep switching.
TEST_F(HttpdTest, LargeInterleavedTableDispatchesEveryRoute) {
  httpdTable *table = httpdCreateTable();
  constexpr int kRoutes = 3000;
  char dir[64];
  char op[64];
  for (int i = 0; i < kRoutes; ++i) {
    snprintf(dir, sizeof dir, "/api/v2/monitoring/family-%d", i % 7);
    snprintf(op, sizeof op, "a-fairly-long-operation-name-%d", i);
    ASSERT_EQ(httpdAddCContent(table, dir, op, i % 4, 0, i % 2 ? first : second), 0);
  }
  for (int i : {0, 1, 1234, kRoutes - 1}) {
    snprintf(op, sizeof op, "/api/v2/monitoring/family-%d/a-fairly-long-operation-name-%d", i % 7, i);
    EXPECT_EQ(dispatch(table, op, httpdMethodName(i % 4)), kJsonHeader + (i % 2 ? "first" : "second")) << i;
  }
}

TEST_F(HttpdTest, RegistrationWithoutTableFailsAndIsLogged) {
  EXPECT_EQ(httpdAddCContent(nullptr, "/x", "op", HTTPD_GET, 0, first), -1);
  EXPECT_NE(box.logText().find("[httpdAddCContent:"), std::string::npos);
  EXPECT_NE(box.logText().find("] httpdAddCContent, dirPtr == NULL\n"), std::string::npos);
}

TEST(HttpdMethodName, NamesAndInvalidCodes) {
  struct {
    int code;
    const char *name;
  } cases[] = {{0, "GET"}, {1, "POST"}, {2, "DELETE"}, {3, "PUT"}, {4, "Invalid method '4'"}, {-1, "Invalid method '-1'"}};
  for (const auto &c : cases) {
    EXPECT_STREQ(httpdMethodName(c.code), c.name);
  }
}

TEST_F(HttpdTest, RouteWithInvalidMethodCodeNeverMatches) {
  httpdTable *table = httpdCreateTable();
  httpdAddCContent(table, "/api/v2/monitoring/x", "op", 9, 0, first);
  EXPECT_EQ(dispatch(table, "/api/v2/monitoring/x/op", "GET"), "");
}

}  // namespace

// The program's whole route set, as main registers it.
TEST(RouteSetTest, EveryFamilyRegistersItsRoutesOnce) {
  httpdTable *table = httpdCreateTable();
  registerAllRoutes(table);
  std::map<std::string, int> perDirectory;
  int perMethod[4] = {};
  std::set<std::string> seen;
  std::vector<const httpdDirNode *> pending = {table->root};
  std::vector<std::string> paths = {""};
  while (!pending.empty()) {
    const httpdDirNode *node = pending.back();
    std::string path = paths.back();
    pending.pop_back();
    paths.pop_back();
    for (const httpdRouteEntry *entry = node->operations; entry; entry = entry->next) {
      ++perDirectory[path];
      ++perMethod[entry->method];
      EXPECT_TRUE(seen.insert(path + " " + httpdMethodName(entry->method) + " " + entry->opName).second)
          << path << " " << entry->opName << " is registered twice";
      EXPECT_EQ(entry->needsSession, 1);
    }
    for (const httpdDirNode *child = node->children; child; child = child->next) {
      pending.push_back(child);
      paths.push_back(path + "/" + child->name);
    }
  }
  const std::string api = "/api/v2/monitoring/";
  const std::map<std::string, int> expected = {
      {api + "instru-bhd", 5}, {api + "instru-bst", 43}, {api + "instru-flow-tracker", 13}, {api + "instru-ifa", 13},
      {api + "instru-nos", 16}, {api + "instru-packet-trace", 5}, {api + "sflow", 53}, {api + "snmp", 54},
      {api + "stats", 8}, {api + "lldp", 109}, {api + "mirror", 45}, {api + "session", 2}};
  EXPECT_EQ(perDirectory, expected);
  EXPECT_EQ(perMethod[HTTPD_GET], 219);
  EXPECT_EQ(perMethod[HTTPD_POST], 54);
  EXPECT_EQ(perMethod[HTTPD_DELETE], 26);
  EXPECT_EQ(perMethod[HTTPD_PUT], 67);
}
