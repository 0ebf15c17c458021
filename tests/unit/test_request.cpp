#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "cgi/request.h"
#include "frame_sandbox.h"
#include "tools/raii.h"

using frametest::setEnv;

namespace {

class RequestDataTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char *name : {"REQUEST_METHOD", "QUERY_STRING", "CONTENT_LENGTH"}) {
      unsetenv(name);
    }
  }
  void TearDown() override { (void)freopen("/dev/null", "r", stdin); }

  // Standard input of the request: the body as the web server passes it.
  void bodyIs(const std::string &body) {
    std::string path = box.path("/body");
    frametest::writeFile(path, body);
    ASSERT_NE(freopen(path.c_str(), "r", stdin), nullptr);
  }

  frametest::Sandbox box;
};

struct DataCase {
  const char *method;
  const char *query;
  const char *contentLength;
  const char *body;
  const char *expected;  // NULL: no text at all
  size_t expectedSize;
};

class RequestDataCaseTest : public RequestDataTest, public ::testing::WithParamInterface<DataCase> {};

TEST_P(RequestDataCaseTest, ReadsTheInputOfTheMethod) {
  const DataCase &c = GetParam();
  SCOPED_TRACE(std::string(c.method ? c.method : "(unset)") + " length " + (c.contentLength ? c.contentLength : "(unset)"));
  setEnv("REQUEST_METHOD", c.method);
  setEnv("QUERY_STRING", c.query);
  setEnv("CONTENT_LENGTH", c.contentLength);
  bodyIs(c.body);
  CText data(requestDataGet());
  if (c.expected == nullptr) {
    EXPECT_EQ(data.get(), nullptr);
    return;
  }
  ASSERT_NE(data.get(), nullptr);
  EXPECT_EQ(std::string(data.get(), c.expectedSize + 1), std::string(c.expected, c.expectedSize + 1));
}

INSTANTIATE_TEST_SUITE_P(
    Methods, RequestDataCaseTest,
    ::testing::Values(DataCase{nullptr, "a=1", "3", "xyz", nullptr, 0},
                      DataCase{"GET", "ifNum=3&x=4", nullptr, "", "ifNum=3&x=4", 11},
                      DataCase{"DELETE", "name=public", "5", "abcde", "name=public", 11},
                      DataCase{"GET", nullptr, nullptr, "", "", 0},
                      DataCase{"get", "a=1", nullptr, "", nullptr, 0},
                      DataCase{"PATCH", "a=1", "3", "abc", nullptr, 0},
                      DataCase{"POST", "ifNum=1", "7", "{\"a\":1}", "{\"a\":1}", 7},
                      DataCase{"PUT", nullptr, "4", "{\"a\":1}", "{\"a\"", 4},
                      DataCase{"POST", nullptr, "10", "{}", "{}\xff", 3},
                      DataCase{"PUT", nullptr, "3", "", "\xff", 1},
                      DataCase{"POST", nullptr, "0", "{}", "", 0},
                      DataCase{"POST", nullptr, nullptr, "{}", "", 0},
                      DataCase{"POST", nullptr, "-5", "{}", "", 0},
                      DataCase{"POST", nullptr, "12abc", "{}", "", 0},
                      DataCase{"PUT", nullptr, "", "{}", "", 0}));

TEST_F(RequestDataTest, LongQueryStringIsCutToItsFirst8192Bytes) {
  std::string query(10000, 'q');
  query[8191] = 'L';
  setEnv("REQUEST_METHOD", "GET");
  setEnv("QUERY_STRING", query.c_str());
  CText data(requestDataGet());
  ASSERT_NE(data.get(), nullptr);
  EXPECT_EQ(std::string(data.get()), query.substr(0, 8192));
}

TEST_F(RequestDataTest, BodyBytesPassUnchanged) {
  std::string body("a\0b\xfe\n", 5);
  bodyIs(body);
  setEnv("REQUEST_METHOD", "POST");
  setEnv("CONTENT_LENGTH", "5");
  CText data(requestDataGet());
  ASSERT_NE(data.get(), nullptr);
  EXPECT_EQ(std::string(data.get(), 6), body + std::string(1, '\0'));
}

std::vector<std::string> pieces(char **array) {
  std::vector<std::string> out;
  for (char **p = array; p != nullptr && *p != nullptr; ++p) {
    out.emplace_back(*p);
  }
  return out;
}

struct SplitCase {
  const char *text;
  std::vector<std::string> expected;
};

class QuerySplitTest : public ::testing::TestWithParam<SplitCase> {};

TEST_P(QuerySplitTest, KeepsEveryPieceInOrder) {
  SCOPED_TRACE(GetParam().text);
  QueryArray array(queryStringSplit(GetParam().text));
  ASSERT_NE(array.get(), nullptr);
  EXPECT_EQ(pieces(array.get()), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Texts, QuerySplitTest,
                         ::testing::Values(SplitCase{"ifNum=3&name=x", {"ifNum=3", "name=x"}},
                                           SplitCase{"", {""}},
                                           SplitCase{"single", {"single"}},
                                           SplitCase{"&", {"", ""}},
                                           SplitCase{"a&&b&", {"a", "", "b", ""}},
                                           SplitCase{"=&=x", {"=", "=x"}}));

TEST(QuerySplit, GrowsPastItsFirstRoom) {
  std::string text;
  std::vector<std::string> expected;
  for (int i = 0; i < 45; ++i) {
    expected.push_back("k" + std::to_string(i) + "=" + std::to_string(i * 7));
    text += (i ? "&" : "") + expected.back();
  }
  QueryArray array(queryStringSplit(text.c_str()));
  EXPECT_EQ(pieces(array.get()), expected);
}

TEST(QuerySplit, NoTextGivesNoArray) {
  EXPECT_EQ(queryStringSplit(nullptr), nullptr);
  queryStringFree(nullptr);
}

struct ParamCase {
  const char *key;
  const char *query;
  const char *expected;
};

class QueryParamTest : public ::testing::TestWithParam<ParamCase> {};

TEST_P(QueryParamTest, FirstEntryContainingTheKeyAndAnEqualsSignWins) {
  SCOPED_TRACE(std::string(GetParam().key) + " in " + GetParam().query);
  QueryArray array(queryStringSplit(GetParam().query));
  const char *value = queryParamValue(GetParam().key, array.get());
  if (GetParam().expected == nullptr) {
    EXPECT_EQ(value, nullptr);
    return;
  }
  ASSERT_NE(value, nullptr);
  EXPECT_STREQ(value, GetParam().expected);
  // The value lives in the array; handlers must not free it.
  bool inArray = false;
  for (char **p = array.get(); *p != nullptr; ++p) {
    inArray = inArray || (value > *p && value <= *p + strlen(*p));
  }
  EXPECT_TRUE(inArray);
}

INSTANTIATE_TEST_SUITE_P(Queries, QueryParamTest,
                         ::testing::Values(ParamCase{"intf", "intf=7", "7"},
                                           ParamCase{"intf", "xintf=5&intf=7", "5"},
                                           ParamCase{"intf", "vlanintf=2&intf=9", "2"},
                                           ParamCase{"intf", "name=intf&intf=3", "intf"},
                                           ParamCase{"intf", "intf&intf=4", "4"},
                                           ParamCase{"a", "a=1=2", "1=2"},
                                           ParamCase{"name", "name=", ""},
                                           ParamCase{"vlan", "intf=1&b=2", nullptr},
                                           ParamCase{"x", "", nullptr}));

TEST(QueryParam, NoArrayOrKeyFindsNothing) {
  QueryArray array(queryStringSplit("a=1"));
  EXPECT_EQ(queryParamValue("a", nullptr), nullptr);
  EXPECT_EQ(queryParamValue(nullptr, array.get()), nullptr);
}

}  // namespace
