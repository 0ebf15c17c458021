#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "cgi/response.h"
#include "frame_sandbox.h"
#include "open/raii.h"

using namespace std::literals;

namespace {

// The whole table as the web interface shares it, and codes it lacks.
const std::pair<int32_t, const char *> kMessages[] = {
    {0, "Success"}, {999, "unknown fail"}, {10000, "General Failed"}, {10001, "system error"},
    {10002, "Invalid Pointer"}, {10027, "Disable PTP Mode"}, {10003, "Invalid argument"}, {10004, "Not implemented"},
    {10005, "Out of memory"}, {10006, "Buffer error"}, {10007, "Permission denied"}, {10008, "Timed out"},
    {10009, "Object not init"}, {10010, "Object init failed"}, {10011, "Object exist"}, {10012, "Object not exist"},
    {10015, "Device or resource empty"}, {10016, "Device or resource open failed"},
    {10017, "Device or resource read failed"}, {10018, "Device or resource write failed"},
    {10019, "Device or resource delete failed"}, {10020, "Network is unreachable"}, {10021, "Illegal request"},
    {10022, "Invalid weibo user"}, {10023, "Request api not found"},
    {10024, "HTTP method is not suported for this request"}, {10025, "Upload file error"},
    {10026, "upgrade file error"}, {12001, "User name or password is incorrect"}, {12002, "Change default password"},
    {12003, "User lockout when login fail more than 5 time, please try again in 5 minutes"},
    {13103, "Add Interface IP error"}, {13101, "Create Vlan error"},
    {14101, "This Template is being used by a Network Profile. Please delete the associated Network Profile first"},
    {14102, "Profile type was duplicated"}, {14103, "The AVB profile template should be only configured on one vlan"},
    {14104, "Unable to set 802.1AS Status with Enable,PTP TC is enable. Disable PTP TC to enable 802.1AS Status"},
    {14105, "Unable to set PTP TC with Enable,802.1AS Status is enable. Disable 802.1AS Status to enable PTP TC"},
    {14106, "The Shure profile template should be only configured on one vlan"},
    {14107, "The profile name is already in use. Please enter a different name."},
    {14108, "The current device does not support this profile"},
    {14109, "The SMPTE profile template should be only configured on one vlan"},
    {15001, "Setting LAG Name is failed. Please check if it is a duplicate name"},
    {16001, "The maximum of 100 Time Ranges is already configured"}, {17001, "The configuration is invalid"},
    {18001, "IP Address/Netmask entered conflicts with the configured IP Address/Netmask of a router interface"},
    {20001, "Invalid physical mode for this port."}, {11000, ""}, {17002, "Unsupported Feature"},
    {17003, "PTP Boundary Clock API is not supported on this model"},
    {26001, "Kernel upgrade required, please upload ONIE file"}, {-200, "Maximum user accounts reached"},
    {-201, "Invalid user name, does not meet policy"}, {-202, "Invalid password, does not meet policy"},
    {-203, "Invalid user type"}, {-204, "Invalid user, user does not exist"}, {-205, "User account already exist"},
    {-206, "Should not modify user type of admin account"}, {-207, "Request failed, not a privileged user"},
    {-208, "Can not create/delete admin account"}, {-300, "Failed to set configuration on the device"},
    {-301, "Failed to get configuration from the device"}, {-302, "Invalid REST API request"},
    {-7, "Failed to allocate memory"},
    {12345, "Error code unknown"}, {10013, "Error code unknown"}, {-1, "Error code unknown"},
};

TEST(ResultMessage, EveryCodeHasItsMessage) {
  for (const auto &[code, message] : kMessages) EXPECT_STREQ(resultCodeMessage(code), message) << code;
}

TEST(OpenRcMapping, EveryOpenResultHasOneCode) {
  const std::pair<int, int32_t> cases[] = {{0, 0},       {-22, 10003}, {-24, 10011}, {-28, 17002}, {-29, 10023},
                                           {-23, 10000}, {-1, 10000},  {-27, 10000}, {-21, 10000}, {1, 10000},
                                           {-30, 10000}, {INT_MIN, 10000}};
  for (const auto &[openRc, code] : cases) EXPECT_EQ(openRcToResultCode(openRc), code) << openRc;
}

// An answer in cJSON's formatted layout: the data member's line, if any, then "resp".
std::string envelope(const std::string &data, const std::string &code, const std::string &message,
                     const std::string &status) {
  return "{\n" + data + "\t\"resp\":\t{\n\t\t\"respCode\":\t" + code + ",\n\t\t\"respMsg\":\t\"" + message +
         "\",\n\t\t\"status\":\t\"" + status + "\"\n\t}\n}";
}

struct EnvelopeCase {
  int32_t code;
  const char *dataKey;
  const char *dataText;
  std::string expected;
};

const EnvelopeCase kEnvelopeCases[] = {
    {0, "stats", " {\"counter\" : 7, \"name\":\"x\"}\n ",
     "{\n\t\"stats\":\t{\n\t\t\"counter\":\t7,\n\t\t\"name\":\t\"x\"\n\t},\n\t\"resp\":\t{\n"
     "\t\t\"respCode\":\t0,\n\t\t\"respMsg\":\t\"Success\",\n\t\t\"status\":\t\"success\"\n\t}\n}"},
    {0, "lldp", "[1,2]", envelope("\t\"lldp\":\t[1, 2],\n", "0", "Success", "success")},
    {0, "snmp", "\"text\"", envelope("\t\"snmp\":\t\"text\",\n", "0", "Success", "success")},
    {0, "stats", nullptr, envelope("", "0", "Success", "success")},
    {0, nullptr, "{\"a\":1}", envelope("", "0", "Success", "success")},
    {10003, "stats", "{\"a\":1}", envelope("", "10003", "Invalid argument", "fail")},
    {10003, "stats", "not json at all", envelope("", "10003", "Invalid argument", "fail")},
    {11000, nullptr, nullptr, envelope("", "11000", "", "fail")},
    {-7, nullptr, nullptr, envelope("", "-7", "Failed to allocate memory", "fail")},
    // Nested objects, objects in lists, an empty object, texts with what JSON escapes, a number past 2^53.
    {0, "mirror", R"({"a":{"b":[{"c":"x\ny\"z"},{}],"d":{}},"e":18446744073709551615})",
     "{\n\t\"mirror\":\t{\n\t\t\"a\":\t{\n\t\t\t\"b\":\t[{\n\t\t\t\t\t\"c\":\t\"x\\ny\\\"z\"\n\t\t\t\t}, {\n\t\t\t\t}],\n"
     "\t\t\t\"d\":\t{\n\t\t\t}\n\t\t},\n\t\t\"e\":\t1.8446744073709552e+19\n\t},\n\t\"resp\":\t{\n"
     "\t\t\"respCode\":\t0,\n\t\t\"respMsg\":\t\"Success\",\n\t\t\"status\":\t\"success\"\n\t}\n}"}};

// Both builders print the same text; the previous answer is the builder's to
// free (the sanitizers see a leak otherwise), the buffer gets no terminator.
TEST(EnvelopeTest, PrintsTheFormattedEnvelope) {
  for (const EnvelopeCase &c : kEnvelopeCases) {
    SCOPED_TRACE(c.expected);
    char *answer = strdup("previous answer");
    ASSERT_EQ(responseJsonRreallocStr(c.code, c.dataKey, c.dataText, &answer), 0);
    CText owned(answer);
    EXPECT_EQ(answer, c.expected);
    std::string buffer(c.expected.size() + 8, '#');
    ASSERT_EQ(responseJsonStr(c.code, c.dataKey, c.dataText, buffer.data()), 0);
    EXPECT_EQ(buffer, c.expected + std::string(8, '#'));
    // The answers' own builder puts the envelope together around the data's print.
    JsonPtr data(c.dataText ? cJSON_Parse(c.dataText) : nullptr);
    if (c.dataText != nullptr && !data) continue;
    char *fromTree = strdup("previous answer");
    ASSERT_EQ(responseJsonTreeStr(c.code, c.dataKey, data.get(), &fromTree), 0);
    EXPECT_EQ(CText(fromTree).get(), c.expected);
  }
}

// Every message of the table prints as cJSON would print it.
TEST(EnvelopeTest, EveryCodeComposesAsCJsonPrintsIt) {
  for (const CodeMessage &entry : resultCodeTable()) {
    char *printed = nullptr, *composed = nullptr;
    ASSERT_EQ(responseJsonRreallocStr(entry.code, nullptr, nullptr, &printed), 0);
    ASSERT_EQ(responseJsonTreeStr(entry.code, nullptr, nullptr, &composed), 0);
    EXPECT_EQ(std::string(CText(composed).get()), CText(printed).get()) << entry.code;
  }
}

class ResponseLogTest : public ::testing::Test {
 protected:
  void SetUp() override { box.startDebugLog(); }
  bool logged(const std::string &line) const {
    return box.logText().find("(ERROR): frame-test: " + line) != std::string::npos;
  }
  frametest::Sandbox box;
};

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
  EXPECT_TRUE(logged("[responseJsonRreallocStr] [MEM] Failed to parse data JSON\n")) << box.logText();
}

TEST_F(ResponseLogTest, JsonToStrPrintsFormattedOrLogs) {
  JsonPtr json(cJSON_Parse("{\"a\":[1,{\"b\":null}]}"));
  char *text = nullptr;
  ASSERT_EQ(responseJsonToStr(json.get(), &text), 0);
  CText owned(text);
  EXPECT_STREQ(text, "{\n\t\"a\":\t[1, {\n\t\t\t\"b\":\tnull\n\t\t}]\n}");
  EXPECT_EQ(responseJsonToStr(nullptr, &text), 10000);
  EXPECT_EQ(text, nullptr);
  EXPECT_TRUE(logged("[responseJsonToStr] Response error\r\n")) << box.logText();
}

// Members are found whatever the case of their key. One missing or of another
// type is refused with the whole object logged, and the destination kept.
TEST_F(ResponseLogTest, MembersAreCopiedLikeStrncpyOrStoredAsUnsigned) {
  const std::string text = "{\"Name\":\"public\",\"n\":5,\"VAL\":4294967295,\"neg\":-1,\"frac\":7.9}";
  JsonPtr object(cJSON_Parse(text.c_str()));
  const cJSON *json = object.get();
  const std::tuple<const cJSON *, const char *, size_t, int, std::string_view> strings[] = {
      {json, "name", 8, 0, "public\0\0"sv},    {json, "NAME", 6, 0, "publicZZ"}, {json, "name", 3, 0, "pubZZZZZ"},
      {json, "missing", 8, 10003, "ZZZZZZZZ"}, {json, "n", 8, 10003, "ZZZZZZZZ"},
      {nullptr, "name", 8, 10003, "ZZZZZZZZ"}};
  for (const auto &[from, key, len, rc, expected] : strings) {
    char dst[8];
    memset(dst, 'Z', sizeof dst);
    EXPECT_EQ(getStrAndCpyTo(from, key, dst, len), rc) << key;
    EXPECT_EQ(std::string_view(dst, sizeof dst), expected) << key << " " << len;
  }
  const std::tuple<const char *, int, uint32_t> numbers[] = {
      {"n", 0, 5},      {"val", 0, 4294967295u}, {"neg", 0, 4294967295u},
      {"frac", 0, 7},   {"name", 10003, 9},      {"absent", 10003, 9}};
  for (const auto &[key, rc, expected] : numbers) {
    uint32_t value = 9;
    EXPECT_EQ(getIntAndCpyTo(json, key, &value), rc) << key;
    EXPECT_EQ(value, expected) << key;
  }
  for (const char *line : {"[getStrAndCpyTo] missing param error :", "[getIntAndCpyTo] absent param error :"}) {
    EXPECT_TRUE(logged(line + text + "\r\n")) << box.logText();
  }
}

}  // namespace
