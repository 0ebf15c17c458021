#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "cgi/request.h"

using namespace std::literals;

namespace {

struct DataCase {
  const char *method;
  const char *query;
  const char *contentLength;
  std::string_view body;  // standard input, as the web server passes the body
  const char *expected;   // NULL: no text at all
  size_t expectedSize;
};

const std::string kLongQuery(10000, 'q'), kCutQuery(8192, 'q');

// A short body keeps the byte read at its end (0xFF); a length that is not a
// plain decimal number reads nothing.
const DataCase kDataCases[] = {
    {nullptr, "a=1", "3", "xyz", nullptr, 0}, {"get", "a=1", nullptr, "", nullptr, 0},
    {"PATCH", "a=1", "3", "abc", nullptr, 0}, {"GET", "ifNum=3&x=4", nullptr, "", "ifNum=3&x=4", 11},
    {"GET", nullptr, nullptr, "", "", 0}, {"GET", kLongQuery.c_str(), nullptr, "", kCutQuery.c_str(), 8192},
    {"DELETE", "name=public", "5", "abcde", "name=public", 11},
    {"POST", "ifNum=1", "7", "{\"a\":1}", "{\"a\":1}", 7}, {"PUT", nullptr, "4", "{\"a\":1}", "{\"a\"", 4},
    {"POST", nullptr, "5", "a\0b\xfe\n"sv, "a\0b\xfe\n", 5}, {"POST", nullptr, "10", "{}", "{}\xff", 3},
    {"PUT", nullptr, "3", "", "\xff", 1}, {"POST", nullptr, "0", "{}", "", 0},
    {"POST", nullptr, nullptr, "{}", "", 0}, {"POST", nullptr, "-5", "{}", "", 0},
    {"POST", nullptr, "12abc", "{}", "", 0}, {"PUT", nullptr, "", "{}", "", 0}};

// The body as the web server passes it, counting what was taken of it.
struct BodySource {
  std::string_view bytes;
  size_t taken = 0;
  static int next(void *source) {
    auto *body = static_cast<BodySource *>(source);
    return body->taken < body->bytes.size() ? static_cast<unsigned char>(body->bytes[body->taken++]) : EOF;
  }
};

Request::Fields fieldsOf(const char *method, const char *query, const char *contentLength) {
  Request::Fields fields;
  fields.method = method;
  fields.query = query;
  fields.contentLength = contentLength;
  return fields;
}

TEST(RequestDataTest, ReadsTheInputOfTheMethod) {
  for (const DataCase &c : kDataCases) {
    SCOPED_TRACE(std::string(c.method ? c.method : "(unset)") + " length " + (c.contentLength ? c.contentLength : "-"));
    BodySource body{c.body};
    Request request(fieldsOf(c.method, c.query, c.contentLength), BodySource::next, &body);
    CText data(requestDataGet(request));
    if (c.expected == nullptr) {
      EXPECT_EQ(data.get(), nullptr);
    } else {
      ASSERT_NE(data.get(), nullptr);
      EXPECT_EQ(std::string(data.get(), c.expectedSize + 1), std::string(c.expected, c.expectedSize + 1));
    }
  }
}

// A body past the ceiling is not read at all: the request only knows how
// much was announced.
TEST(RequestDataTest, BodyAboveTheCeilingIsNotRead) {
  const std::string atCeiling(kMaxBodyBytes, 'x');
  for (const auto &[length, tooLarge] : {std::pair{"65536", false}, std::pair{"65537", true},
                                         std::pair{"104857600", true}}) {
    BodySource body{atCeiling};
    Request request(fieldsOf("PUT", nullptr, length), BodySource::next, &body);
    EXPECT_EQ(request.bodyTooLarge(), tooLarge) << length;
    EXPECT_EQ(body.taken, tooLarge ? 0u : kMaxBodyBytes) << length;
    EXPECT_EQ(request.requestData() == nullptr, tooLarge) << length;
  }
}

struct SplitCase {
  std::string text;
  std::vector<std::string> expected;
};

// Many pieces: every one keeps its place in the one block.
SplitCase manyPieces() {
  SplitCase many{"k0=0", {"k0=0"}};
  for (int i = 1; i < 45; ++i) {
    many.text += "&" + many.expected.emplace_back("k" + std::to_string(i) + "=" + std::to_string(i * 7));
  }
  return many;
}

TEST(QuerySplitTest, KeepsEveryPieceInOrder) {
  for (const SplitCase &c : {SplitCase{"ifNum=3&name=x", {"ifNum=3", "name=x"}}, SplitCase{"", {""}},
                             SplitCase{"single", {"single"}}, SplitCase{"&", {"", ""}},
                             SplitCase{"a&&b&", {"a", "", "b", ""}}, SplitCase{"=&=x", {"=", "=x"}}, manyPieces()}) {
    QueryArray array(queryStringSplit(c.text.c_str()));
    ASSERT_NE(array.get(), nullptr);
    std::vector<std::string> pieces;
    for (char **p = array.get(); *p != nullptr; ++p) pieces.emplace_back(*p);
    EXPECT_EQ(pieces, c.expected) << c.text;
  }
}

struct ParamCase {
  const char *key;
  const char *query;
  const char *expected;
};

// The value lives in the array, not in a copy: handlers must not free it.
TEST(QueryParamTest, FirstEntryContainingTheKeyAndAnEqualsSignWins) {
  const ParamCase cases[] = {
      {"intf", "intf=7", "7"}, {"intf", "xintf=5&intf=7", "5"}, {"intf", "vlanintf=2&intf=9", "2"},
      {"intf", "name=intf&intf=3", "intf"}, {"intf", "intf&intf=4", "4"}, {"a", "a=1=2", "1=2"},
      {"name", "name=", ""}, {"vlan", "intf=1&b=2", nullptr}, {"x", "", nullptr}, {nullptr, "a=1", nullptr},
      {"a", nullptr, nullptr}};
  for (const ParamCase &c : cases) {
    SCOPED_TRACE(::testing::Message() << (c.key ? c.key : "(null)") << " in " << (c.query ? c.query : "(null)"));
    QueryArray array(queryStringSplit(c.query));
    const char *value = queryParamValue(c.key, array.get());
    EXPECT_STREQ(value, c.expected);
    bool inArray = value == nullptr;
    for (char **p = array.get(); p && *p; ++p) inArray = inArray || (value > *p && value <= *p + strlen(*p));
    EXPECT_TRUE(inArray);
  }
}

// The mirror family's keys: the text after "<key>=" in the first piece that
// has it, at most 255 bytes, never the value after another key's "=".
TEST(QueryValueTest, KeyFollowedByEqualsIsItsOwnRule) {
  const std::string longQuery = "sessionNum=" + std::string(300, 'v');
  const std::string cutValue(255, 'v');
  const ParamCase cases[] = {
      {"sessionNum", "sessionNum=3", "3"}, {"sessionNum", "xsessionNum=5&sessionNum=7", "5"},
      {"intIfNum", "a=intIfNum&intIfNum=4", "4"}, {"acl-id", "acl-id", nullptr}, {"k", "k=a=b&k=c", "a=b"},
      {"sessionNum", longQuery.c_str(), cutValue.c_str()}, {"x", nullptr, nullptr}};
  for (const ParamCase &c : cases) {
    Request request(fieldsOf("GET", c.query, nullptr), nullptr, nullptr);
    EXPECT_STREQ(request.queryValue(c.key, KeyMatch::FollowedByEquals), c.expected)
        << c.key << " in " << (c.query ? c.query : "(unset)");
  }
}

}  // namespace
