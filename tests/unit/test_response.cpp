#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "cgi/response.h"
#include "frame_sandbox.h"
#include "tools/raii.h"

namespace {

struct MessageCase {
  int32_t code;
  const char *message;
};

class ResultMessageTest : public ::testing::TestWithParam<MessageCase> {};

TEST_P(ResultMessageTest, MessageOfCode) {
  EXPECT_STREQ(resultCodeMessage(GetParam().code), GetParam().message) << GetParam().code;
}

// The irregular spots of the table, the empty message and codes it lacks.
INSTANTIATE_TEST_SUITE_P(
    Codes, ResultMessageTest,
    ::testing::Values(MessageCase{0, "Success"}, MessageCase{10003, "Invalid argument"},
                      MessageCase{10027, "Disable PTP Mode"}, MessageCase{13101, "Create Vlan error"},
                      MessageCase{13103, "Add Interface IP error"}, MessageCase{11000, ""},
                      MessageCase{17002, "Unsupported Feature"}, MessageCase{-7, "Failed to allocate memory"},
                      MessageCase{12345, "Error code unknown"}, MessageCase{10013, "Error code unknown"},
                      MessageCase{-1, "Error code unknown"}));

TEST(OpenRcMapping, EveryOpenResultHasOneCode) {
  struct {
    int openRc;
    int32_t code;
  } cases[] = {{0, 0},         {-22, 10003}, {-24, 10011},    {-28, 17002},   {-29, 10023},
               {-23, 10000},   {-1, 10000},  {-27, 10000},    {-21, 10000},   {1, 10000},
               {-30, 10000},   {500, 10000}, {INT_MIN, 10000}, {INT_MAX, 10000}};
  for (const auto &c : cases) {
    EXPECT_EQ(openRcToResultCode(c.openRc), c.code) << c.openRc;
  }
}

const char *const kOkStats =
    "{\n\t\"stats\":\t{\n\t\t\"counter\":\t7,\n\t\t\"name\":\t\"x\"\n\t},\n"
    "\t\"resp\":\t{\n\t\t\"respCode\":\t0,\n\t\t\"respMsg\":\t\"Success\",\n\t\t\"status\":\t\"success\"\n\t}\n}";

struct EnvelopeCase {
  int32_t code;
  const char *dataKey;
  const char *dataText;
  std::string expected;
};

// An answer without data, in cJSON's formatted layout.
std::string respOnly(const std::string &code, const std::string &message, const std::string &status) {
  return "{\n\t\"resp\":\t{\n\t\t\"respCode\":\t" + code + ",\n\t\t\"respMsg\":\t\"" + message +
         "\",\n\t\t\"status\":\t\"" + status + "\"\n\t}\n}";
}

class EnvelopeTest : public ::testing::TestWithParam<EnvelopeCase> {};

TEST_P(EnvelopeTest, PrintsTheFormattedEnvelope) {
  const EnvelopeCase &c = GetParam();
  SCOPED_TRACE(c.expected);
  char *answer = nullptr;
  ASSERT_EQ(responseJsonRreallocStr(c.code, c.dataKey, c.dataText, &answer), 0);
  CText owned(answer);
  EXPECT_EQ(answer, c.expected);
}

TEST_P(EnvelopeTest, CopiesTheSameEnvelopeWithoutTerminator) {
  const EnvelopeCase &c = GetParam();
  SCOPED_TRACE(c.expected);
  std::string buffer(c.expected.size() + 8, '#');
  ASSERT_EQ(responseJsonStr(c.code, c.dataKey, c.dataText, buffer.data()), 0);
  EXPECT_EQ(buffer, c.expected + std::string(8, '#'));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, EnvelopeTest,
    ::testing::Values(
        EnvelopeCase{0, "stats", "{\"counter\":7,\"name\":\"x\"}", kOkStats},
        EnvelopeCase{0, "stats", " {\"counter\" : 7, \"name\":\"x\"}\n ", kOkStats},
        EnvelopeCase{0, "lldp", "[1,2]",
                     "{\n\t\"lldp\":\t[1, 2],\n\t\"resp\":\t{\n\t\t\"respCode\":\t0,\n\t\t\"respMsg\":\t\"Success\",\n"
                     "\t\t\"status\":\t\"success\"\n\t}\n}"},
        EnvelopeCase{0, "snmp", "\"text\"",
                     "{\n\t\"snmp\":\t\"text\",\n\t\"resp\":\t{\n\t\t\"respCode\":\t0,\n\t\t\"respMsg\":\t\"Success\",\n"
                     "\t\t\"status\":\t\"success\"\n\t}\n}"},
        EnvelopeCase{0, "stats", nullptr, respOnly("0", "Success", "success")},
        EnvelopeCase{0, nullptr, "{\"a\":1}", respOnly("0", "Success", "success")},
        EnvelopeCase{10003, "stats", "{\"a\":1}", respOnly("10003", "Invalid argument", "fail")},
        EnvelopeCase{10003, "stats", "not json at all", respOnly("10003", "Invalid argument", "fail")},
        EnvelopeCase{11000, nullptr, nullptr, respOnly("11000", "", "fail")},
        EnvelopeCase{-7, nullptr, nullptr, respOnly("-7", "Failed to allocate memory", "fail")},
        EnvelopeCase{12345, nullptr, nullptr, respOnly("12345", "Error code unknown", "fail")}));

class ResponseLogTest : public ::testing::Test {
 protected:
  void SetUp() override { box.startDebugLog(); }
  frametest::Sandbox box;
};

TEST_F(ResponseLogTest, ReplacingAnswerFreesThePreviousOne) {
  char *answer = strdup("previous answer");
  ASSERT_EQ(responseJsonRreallocStr(10000, nullptr, nullptr, &answer), 0);
  ASSERT_EQ(responseJsonRreallocStr(0, nullptr, nullptr, &answer), 0);
  CText owned(answer);
  EXPECT_NE(strstr(answer, "\"Success\""), nullptr);
}

TEST_F(ResponseLogTest, UnparsableDataAbandonsTheAnswer) {
  for (const char *data : {"{\"a\":", "{} trailing", ""}) {
    char *answer = strdup("kept");
    EXPECT_EQ(responseJsonRreallocStr(0, "stats", data, &answer), 10000) << data;
    EXPECT_STREQ(answer, "kept");
    free(answer);
    char buffer[16] = "untouched";
    EXPECT_EQ(responseJsonStr(0, "stats", data, buffer), -1);
    EXPECT_STREQ(buffer, "untouched");
  }
  EXPECT_NE(box.logText().find("[responseJsonRreallocStr:"), std::string::npos);
  EXPECT_NE(box.logText().find("] [MEM] Failed to parse data JSON\n"), std::string::npos);
}

TEST_F(ResponseLogTest, JsonToStrPrintsFormatted) {
  JsonPtr json(cJSON_Parse("{\"a\":[1,{\"b\":null}]}"));
  char *text = nullptr;
  ASSERT_EQ(responseJsonToStr(json.get(), &text), 0);
  CText owned(text);
  EXPECT_STREQ(text, "{\n\t\"a\":\t[1, {\n\t\t\t\"b\":\tnull\n\t\t}]\n}");
}

TEST_F(ResponseLogTest, JsonToStrWithoutDocumentFails) {
  char stale[] = "stale";
  char *text = stale;
  EXPECT_EQ(responseJsonToStr(nullptr, &text), 10000);
  EXPECT_EQ(text, nullptr);
  EXPECT_NE(box.logText().find("[responseJsonToStr:"), std::string::npos);
  EXPECT_NE(box.logText().find("] Response error\r\n"), std::string::npos);
}

TEST_F(ResponseLogTest, StringMemberIsCopiedLikeStrncpy) {
  JsonPtr json(cJSON_Parse("{\"Name\":\"public\",\"n\":5}"));
  char dst[8];
  memset(dst, 'Z', sizeof dst);
  ASSERT_EQ(getStrAndCpyTo(json.get(), "name", dst, sizeof dst), 0);
  EXPECT_EQ(std::string(dst, sizeof dst), std::string("public\0\0", 8));
  memset(dst, 'Z', sizeof dst);
  ASSERT_EQ(getStrAndCpyTo(json.get(), "NAME", dst, 6), 0);
  EXPECT_EQ(std::string(dst, sizeof dst), "publicZZ");
  memset(dst, 'Z', sizeof dst);
  ASSERT_EQ(getStrAndCpyTo(json.get(), "name", dst, 3), 0);
  EXPECT_EQ(std::string(dst, sizeof dst), "pubZZZZZ");
}

TEST_F(ResponseLogTest, StringMemberMissingOrOfAnotherType) {
  JsonPtr json(cJSON_Parse("{\"n\":5,\"s\":\"x\"}"));
  char dst[8] = "keep";
  EXPECT_EQ(getStrAndCpyTo(json.get(), "missing", dst, sizeof dst), 10003);
  EXPECT_EQ(getStrAndCpyTo(json.get(), "n", dst, sizeof dst), 10003);
  EXPECT_EQ(getStrAndCpyTo(nullptr, "s", dst, sizeof dst), 10003);
  EXPECT_STREQ(dst, "keep");
  EXPECT_NE(box.logText().find("[getStrAndCpyTo:"), std::string::npos);
  EXPECT_NE(box.logText().find("] missing param error :{\"n\":5,\"s\":\"x\"}\r\n"), std::string::npos) << box.logText();
}

TEST_F(ResponseLogTest, NumberMemberIsStoredAsUnsigned) {
  struct {
    const char *json;
    uint32_t expected;
  } cases[] = {{"{\"Val\":0}", 0},
               {"{\"val\":42}", 42},
               {"{\"VAL\":2147483647}", 2147483647u},
               {"{\"val\":4294967295}", 4294967295u},
               {"{\"val\":-1}", 4294967295u},
               {"{\"val\":7.9}", 7}};
  for (const auto &c : cases) {
    JsonPtr json(cJSON_Parse(c.json));
    uint32_t value = 12345;
    ASSERT_EQ(getIntAndCpyTo(json.get(), "val", &value), 0) << c.json;
    EXPECT_EQ(value, c.expected) << c.json;
  }
}

TEST_F(ResponseLogTest, NumberMemberMissingOrOfAnotherType) {
  JsonPtr json(cJSON_Parse("{\"s\":\"5\"}"));
  uint32_t value = 9;
  EXPECT_EQ(getIntAndCpyTo(json.get(), "s", &value), 10003);
  EXPECT_EQ(getIntAndCpyTo(json.get(), "n", &value), 10003);
  EXPECT_EQ(value, 9u);
  EXPECT_NE(box.logText().find("[getIntAndCpyTo:"), std::string::npos);
  EXPECT_NE(box.logText().find("] n param error :{\"s\":\"5\"}\r\n"), std::string::npos) << box.logText();
}

}  // namespace
