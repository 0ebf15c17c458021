// The wire form between our OpEN client and the simulated switch.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <type_traits>

#include "open/wire.h"

namespace {

// Whatever 32-bit result a server sends must be a value of the result type:
// only an enumeration with a fixed underlying type holds every one of them
// (and only such a type can be list-initialised from an integer).
template <typename E>
concept HoldsEveryInt32 = requires { E{int32_t{-2147483647 - 1}}; } &&
                          std::is_same_v<std::underlying_type_t<E>, int32_t>;
static_assert(HoldsEveryInt32<open_error_t>);

// Parsed as the simulator parses what it receives.
struct JsonDoc {
  cJSON *json;
  explicit JsonDoc(const char *text) : json(wireParseJson(text)) {}
  ~JsonDoc() { cJSON_Delete(json); }
};

std::string print(cJSON *json) {
  char *text = cJSON_PrintUnformatted(json);
  std::string result = text;
  free(text);
  cJSON_Delete(json);
  return result;
}

TEST(WireTest, IntegersAreExactAndRangeChecked) {
  const struct {
    OpenType type;
    const char *json;
    bool ok;
    uint64_t expected;
  } cases[] = {
      {OPEN_TYPE_U64, R"("18446744073709551615")", true, UINT64_MAX},
      {OPEN_TYPE_U64, "18446744073709551615", false, 0},  // no double holds it: only as text
      {OPEN_TYPE_U64, "18446744073709549568", true, 18446744073709549568ull},  // a double holds it
      {OPEN_TYPE_U64, "9223372036854775808", true, 9223372036854775808ull},
      {OPEN_TYPE_U64, "9007199254740992", true, 9007199254740992ull},
      {OPEN_TYPE_U64, "9007199254740993", false, 0},  // its double is 2^53
      {OPEN_TYPE_U64, R"("9007199254740993")", true, 9007199254740993ull},
      {OPEN_TYPE_U64, R"("18446744073709551616")", false, 0},
      {OPEN_TYPE_U64, "18446744073709551616", false, 0},
      {OPEN_TYPE_U64, R"(" -1")", false, 0},
      {OPEN_TYPE_U64, R"("-1")", false, 0},
      {OPEN_TYPE_U32, R"(" 5")", false, 0},
      {OPEN_TYPE_U32, R"("+5")", false, 0},
      {OPEN_TYPE_U32, R"("5 ")", false, 0},
      {OPEN_TYPE_U32, R"("0x10")", false, 0},
      {OPEN_TYPE_U32, R"("007")", true, 7},
      {OPEN_TYPE_U32, "5.0", false, 0},
      {OPEN_TYPE_U32, "5e0", false, 0},
      {OPEN_TYPE_U32, "-0", false, 0},
      {OPEN_TYPE_U32, "4294967295", true, 4294967295u},
      {OPEN_TYPE_U32, "4294967296", false, 0},
      {OPEN_TYPE_U32, "-1", false, 0},
      {OPEN_TYPE_U32, R"("-1")", false, 0},
      {OPEN_TYPE_U32, "1.5", false, 0},
      {OPEN_TYPE_U32, R"("12x")", false, 0},
      {OPEN_TYPE_U32, R"("")", false, 0},
      {OPEN_TYPE_U32, "true", false, 0},
      {OPEN_TYPE_I32, "-29", true, static_cast<uint64_t>(-29)},
      {OPEN_TYPE_I32, R"("-2147483648")", true, static_cast<uint64_t>(INT32_MIN)},
      {OPEN_TYPE_I32, "2147483648", false, 0},
      {OPEN_TYPE_U8, "255", true, 255},
      {OPEN_TYPE_U8, "256", false, 0},
      {OPEN_TYPE_I8, "-128", true, static_cast<uint64_t>(-128)},
      {OPEN_TYPE_I8, "128", false, 0},
      {OPEN_TYPE_U16, "65535", true, 65535},
      {OPEN_TYPE_U16, "65536", false, 0},
      {OPEN_TYPE_I16, "-32769", false, 0},
      {OPEN_TYPE_I32, R"("-0")", true, 0},
      {OPEN_TYPE_I32, R"("--1")", false, 0},
      {OPEN_TYPE_I32, R"("-")", false, 0},
      {OPEN_TYPE_I32, R"("-2147483649")", false, 0},
      {OPEN_TYPE_I64, R"("-9223372036854775808")", true, static_cast<uint64_t>(INT64_MIN)},
      {OPEN_TYPE_I64, "-9223372036854775808", true, static_cast<uint64_t>(INT64_MIN)},
      {OPEN_TYPE_I64, "9223372036854775807", false, 0},
      {OPEN_TYPE_I64, R"("9223372036854775807")", true, INT64_MAX},
      {OPEN_TYPE_I64, R"("9223372036854775808")", false, 0},
      {OPEN_TYPE_I64, R"("+1")", false, 0},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.json);
    JsonDoc doc(c.json);
    OpenSlot slot;
    OpenArgDesc arg{OpenDir::Out, c.type, "n"};
    bool ok = wireDecodeScriptedOut(arg, doc.json, slot) == 0;
    EXPECT_EQ(ok, c.ok);
    if (!ok || !c.ok) continue;
    // Read back at the type's own width and sign, as the log shows it.
    char expected[24];
    snprintf(expected, sizeof expected, openTypeInfo(c.type).isSigned ? "%lld" : "%llu",
             static_cast<unsigned long long>(c.expected));
    EXPECT_EQ(print(wireRenderArg(arg, slot.object(arg))), expected);
  }
}

// A tree built in memory, or read by a parser that kept no digits, has only
// the double: from 2^53 on it may be the rounded neighbour of what was written.
TEST(WireTest, NumbersWithoutTheirDigitsAreTakenBelowTwoToThe53Only) {
  const struct {
    OpenType type;
    double number;
    bool ok;
  } cases[] = {
      {OPEN_TYPE_U64, 9007199254740991.0, true},  {OPEN_TYPE_U64, 9007199254740992.0, false},
      {OPEN_TYPE_I64, -9007199254740991.0, true}, {OPEN_TYPE_I64, -9007199254740992.0, false},
      {OPEN_TYPE_U64, 1.8446744073709550e19, false}, {OPEN_TYPE_I8, -128, true},
      {OPEN_TYPE_U8, 256, false},                 {OPEN_TYPE_U32, -1, false},
      {OPEN_TYPE_U32, 1.5, false},                {OPEN_TYPE_U32, std::nan(""), false},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.number);
    cJSON *number = cJSON_CreateNumber(c.number);
    uint64_t value = 0;
    EXPECT_EQ(wireDecodeInt(c.type, number, &value) == 0, c.ok);
    cJSON_Delete(number);
  }
}

TEST(WireTest, MacAddressesAreSixPairsOfHexDigits) {
  const struct {
    const char *text;
    bool ok;
  } cases[] = {
      {"00:11:22:5A:3B:C0", true},  {"00:11:22:5a:3b:c0", true},  {"+1:+2:+3:+4:+5:+6", false},
      {" 1: 2: 3: 4: 5: 6", false}, {"0:11:22:5A:3B:C0 ", false}, {"00-11-22-5A-3B-C0", false},
      {"00:11:22:5A:3B:CG", false}, {"00:11:22:5A:3B:C0:", false}, {"00:11:22:5A:3B", false},
      {"0x:11:22:5A:3B:C0", false}, {"", false},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.text);
    std::array<uint8_t, 6> mac{};
    bool ok = wireParseMac(c.text, mac);
    EXPECT_EQ(ok, c.ok);
    if (!ok || !c.ok) continue;
    char back[18];
    snprintf(back, sizeof back, "%02X:%02X:%02X:%02X:%02X:%02X", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    EXPECT_STRCASEEQ(back, c.text);
  }
}

TEST(WireTest, PrintedLinesKeepTheDigitsOfNumbers) {
  const char *text = "{\"out\": [18446744073709549568,\n -5, 9007199254740993, \"7\", 1.5]}";
  JsonDoc doc(text);
  char *line = wirePrintLine(doc.json);
  EXPECT_STREQ(line, R"({"out":[18446744073709549568,-5,9007199254740993,"7",1.5]})");
  free(line);
}

TEST(WireTest, RequestBuffersCarryTheirBytesAndOutputsOnlyTheirCapacity) {
  char text[8] = "abc";
  open_buffdesc desc = {4, text};
  EXPECT_EQ(print(wireEncodeRequestArg({OpenDir::In, OPEN_TYPE_TXT, "t"}, &desc)), R"({"size":4,"hex":"61626300"})");
  desc.size = sizeof text;
  EXPECT_EQ(print(wireEncodeRequestArg({OpenDir::Out, OPEN_TYPE_TXT, "t"}, &desc)), R"({"size":8})");

  OpenSlot slot;
  JsonDoc request(R"({"size":8})");
  OpenArgDesc out{OpenDir::Out, OPEN_TYPE_TXT, "t"};
  ASSERT_EQ(wireDecodeRequestArg(out, request.json, slot), 0);
  open_buffdesc *given = slot.as<open_buffdesc *>(out);
  EXPECT_EQ(given->size, 8u);
  EXPECT_EQ(std::string(given->pstart, 8), std::string(8, '\0'));
  for (const char *bad : {R"({"size":2,"hex":"616263"})", R"({"size":4,"hex":"6x"})", R"({"size":4})",
                          R"({"size":2000000,"hex":""})", R"("abc")"}) {
    SCOPED_TRACE(bad);
    JsonDoc doc(bad);
    EXPECT_EQ(wireDecodeRequestArg({OpenDir::In, OPEN_TYPE_TXT, "t"}, doc.json, slot), -1);
  }
}

TEST(WireTest, ReplyNeverWritesPastTheCallersBuffer) {
  char buffer[6];
  memset(buffer, 'z', sizeof buffer);
  open_buffdesc desc = {4, buffer};
  JsonDoc reply(R"({"size":6,"hex":"414243444546"})");
  ASSERT_EQ(wireDecodeReplyOut({OpenDir::Out, OPEN_TYPE_TXT, "t"}, reply.json, &desc), 0);
  EXPECT_EQ(std::string(buffer, 6), "ABCDzz");
  EXPECT_EQ(desc.size, 4u);
}

// An empty buffer may have no storage at all; no path may hand its null
// pointer to memcpy (the sanitized build stops on that).
TEST(WireTest, EmptyBuffersWithoutStorageTravelEveryPath) {
  const struct {
    OpenType type;
    const char *empty;  // the human form of no content
  } cases[] = {{OPEN_TYPE_TXT, R"("")"}, {OPEN_TYPE_BIN, R"("")"}, {OPEN_TYPE_W64, "[]"}};
  for (const auto &c : cases) {
    SCOPED_TRACE(openTypeInfo(c.type).name);
    OpenArgDesc in{OpenDir::In, c.type, "b"}, out{OpenDir::Out, c.type, "b"};
    open_buffdesc none = {0, nullptr};
    EXPECT_EQ(print(wireRenderArg(in, &none)), c.empty);
    std::string request = print(wireEncodeRequestArg(in, &none));
    EXPECT_EQ(request, R"({"size":0,"hex":""})");
    OpenSlot slot;
    JsonDoc sent(request.c_str());
    ASSERT_EQ(wireDecodeRequestArg(in, sent.json, slot), 0);
    EXPECT_EQ(slot.as<open_buffdesc *>(in)->size, 0u);
    EXPECT_EQ(print(wireEncodeReplyOut(out, slot.object(out))), request);
    for (const char *reply : {R"({"size":0,"hex":""})", R"({"size":2,"hex":"4142"})"}) {
      JsonDoc answer(reply);
      open_buffdesc claimed = {4, nullptr};  // a size without storage: nothing to write into
      ASSERT_EQ(wireDecodeReplyOut(out, answer.json, &none), 0) << reply;
      ASSERT_EQ(wireDecodeReplyOut(out, answer.json, &claimed), 0) << reply;
      EXPECT_EQ(none.size, 0u);
    }
    JsonDoc scripted(c.empty);
    ASSERT_EQ(wireDecodeScriptedOut(out, scripted.json, slot), 0);
    EXPECT_EQ(print(wireRenderArg(out, slot.object(out))), c.empty);
  }
}

TEST(WireTest, AddressesTravelAsFamilyAndText) {
  const struct {
    const char *json;
    bool ok;
    uint32_t family;
  } cases[] = {
      {R"({"family":1,"addr":"192.168.1.20"})", true, OPEN_AF_INET},
      {R"({"family":2,"addr":"2001:db8::1"})", true, OPEN_AF_INET6},
      {R"({"family":0,"addr":""})", true, OPEN_AF_NONE},
      {R"({"family":1,"addr":"2001:db8::1"})", false, 0},
      {R"({"family":3,"addr":"1.2.3.4"})", false, 0},
      {R"({"addr":"1.2.3.4"})", false, 0},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.json);
    JsonDoc doc(c.json);
    OpenSlot slot;
    OpenArgDesc arg{OpenDir::In, OPEN_TYPE_ADDR, "a"};
    ASSERT_EQ(wireDecodeRequestArg(arg, doc.json, slot) == 0, c.ok);
    if (!c.ok) continue;
    EXPECT_EQ(slot.as<open_inet_addr_t *>(arg)->family, c.family);
    EXPECT_EQ(print(wireRenderArg(arg, slot.object(arg))), print(cJSON_Duplicate(doc.json, 1)));
  }
  open_inet_addr_t v4 = {OPEN_AF_INET, {0xC0A80114}};
  EXPECT_EQ(print(wireRenderArg({OpenDir::In, OPEN_TYPE_ADDR, "a"}, &v4)), R"({"family":1,"addr":"192.168.1.20"})");
}

TEST(WireTest, ScriptedOutputsTakeTheirHumanForm) {
  const struct {
    OpenType type;
    const char *json;
    const char *reply;  // nullptr: refused
  } cases[] = {
      {OPEN_TYPE_TXT, R"("ab")", R"({"size":3,"hex":"616200"})"},
      {OPEN_TYPE_W64, R"([2,"18446744073709551615"])", R"({"size":16,"hex":"0200000000000000ffffffffffffffff"})"},
      {OPEN_TYPE_BIN, R"("00ff")", R"({"size":2,"hex":"00ff"})"},
      {OPEN_TYPE_U64, R"("18446744073709551615")", R"("18446744073709551615")"},
      {OPEN_TYPE_VER, R"([1,2,3,4])", R"(["1","2","3","4"])"},
      {OPEN_TYPE_VER, R"([1,2,3])", nullptr},
      {OPEN_TYPE_W64, R"([1.5])", nullptr},
      {OPEN_TYPE_TXT, "5", nullptr},
      {OPEN_TYPE_IN6, R"("fe80::1")", R"("fe80::1")"},
      {OPEN_TYPE_IN6, R"("10.1.2.3")", nullptr},
      // Records of any members; arrays cut after their last non-zero element.
      {OPEN_TYPE_SNMPCOMM, R"([2,{"family":1,"addr":"10.0.0.1"},{"family":0,"addr":""},64,"view1"])",
       R"(["2",{"family":1,"addr":"10.0.0.1"},{"family":0,"addr":""},"64",{"size":6,"hex":"766965773100"}])"},
      {OPEN_TYPE_VLANLIST, R"([2,[10,20]])", R"(["2",["10","20"]])"},
      {OPEN_TYPE_VLANLIST, R"([1,[65536]])", nullptr},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.json);
    JsonDoc doc(c.json);
    OpenSlot slot;
    OpenArgDesc arg{OpenDir::Out, c.type, "o"};
    ASSERT_EQ(wireDecodeScriptedOut(arg, doc.json, slot) == 0, c.reply != nullptr);
    if (c.reply) {
      EXPECT_EQ(print(wireEncodeReplyOut(arg, slot.object(arg))), c.reply);
    }
  }
}

TEST(WireTest, RecordBuffersTravelWithinTheCallersStorage) {
  char view[4] = {};
  open_snmp_community_addr_t record{};
  record.viewName = {sizeof view, view};
  OpenArgDesc arg{OpenDir::Out, OPEN_TYPE_SNMPCOMM, "c"};
  EXPECT_EQ(print(wireEncodeRequestArg(arg, &record)), R"([null,null,null,null,{"size":4}])");

  OpenSlot slot;
  JsonDoc request(R"([null,null,null,null,{"size":4}])");
  ASSERT_EQ(wireDecodeRequestArg(arg, request.json, slot), 0);
  EXPECT_EQ(slot.as<open_snmp_community_addr_t *>(arg)->viewName.size, 4u);

  JsonDoc reply(R"(["1",{"family":2,"addr":"::1"},{"family":0,"addr":""},"0",{"size":9,"hex":"6c6f6e67766965770a"}])");
  ASSERT_EQ(wireDecodeReplyOut(arg, reply.json, &record), 0);
  EXPECT_EQ(record.accessType, 1u);
  EXPECT_EQ(record.ipAddr.family, static_cast<uint32_t>(OPEN_AF_INET6));
  EXPECT_EQ(std::string(view, 4), "long");
  EXPECT_EQ(record.viewName.size, 4u);
}

}  // namespace
