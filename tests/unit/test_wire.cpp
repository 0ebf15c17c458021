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

std::string rendered(const OpenArgDesc &arg, const void *obj) {
  std::string text;
  wireRender(text, arg, obj);
  return text;
}

TEST(WireTest, IntegersAreExactAndRangeChecked) {
  const struct {
    OpenType type;
    const char *json;
    bool ok;
    uint64_t expected;
  } cases[] = {
      {OPEN_TYPE_U64, R"("18446744073709551615")", true, UINT64_MAX},
      {OPEN_TYPE_U64, "18446744073709551615", true, UINT64_MAX},  // read from its digits, not its double
      {OPEN_TYPE_U64, "18446744073709549568", true, 18446744073709549568ull},  // a double holds it
      {OPEN_TYPE_U64, "9223372036854775808", true, 9223372036854775808ull},
      {OPEN_TYPE_U64, "9007199254740992", true, 9007199254740992ull},
      {OPEN_TYPE_U64, "9007199254740993", true, 9007199254740993ull},  // its double would be 2^53
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
      {OPEN_TYPE_I64, "9223372036854775807", true, INT64_MAX},
      {OPEN_TYPE_I64, "9223372036854775808", false, 0},
      {OPEN_TYPE_I64, R"("9223372036854775807")", true, INT64_MAX},
      {OPEN_TYPE_I64, R"("9223372036854775808")", false, 0},
      {OPEN_TYPE_I64, R"("+1")", false, 0},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.json);
    JsonDoc doc(c.json);
    uint64_t value = 0;
    OpenStorage storage;
    OpenArgDesc arg{OpenDir::Out, c.type, "n"};
    bool ok = wireDecodeWritten(arg, doc.json, &value, storage) == 0;
    EXPECT_EQ(ok, c.ok);
    if (!ok || !c.ok) continue;
    // Read back at the type's own width and sign, as the log shows it.
    char expected[24];
    snprintf(expected, sizeof expected, openTypeInfo(c.type).isSigned ? "%lld" : "%llu",
             static_cast<unsigned long long>(c.expected));
    EXPECT_EQ(rendered(arg, &value), expected);
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

// The call log is compared byte for byte: its strings must come out as
// cJSON would print them, whatever the bytes.
TEST(WireTest, WrittenStringsAreEscapedAsCJsonEscapesThem) {
  std::string every;
  for (int c = 1; c < 256; ++c) every += static_cast<char>(c);
  cJSON *json = cJSON_CreateString(every.c_str());
  char *printed = cJSON_PrintUnformatted(json);
  std::string text;
  wireRenderString(text, every);
  EXPECT_EQ(text, printed);
  free(printed);
  cJSON_Delete(json);
  text.clear();
  wireRenderString(text, "ab\xC3\xA9", 3);  // never half a character
  EXPECT_EQ(text, "\"ab[cut, 4 bytes in all]\"");
}

// Every kind of argument, from its written form through the simulator's
// encoder of answers into the client's own objects, comes back the same.
TEST(WireTest, OutputsTravelIntoTheCallersObjects) {
  const struct {
    OpenType type;
    const char *written;
    const char *back;  // nullptr: as written
  } cases[] = {
      {OPEN_TYPE_I8, "-128", nullptr},
      {OPEN_TYPE_U64, "18446744073709551615", nullptr},
      {OPEN_TYPE_TXT, R"("ab")", nullptr},
      {OPEN_TYPE_W64, R"([2,"18446744073709551615"])", "[2,18446744073709551615]"},
      {OPEN_TYPE_BIN, R"("00ff")", nullptr},
      {OPEN_TYPE_ADDR, R"({"family":1,"addr":"192.168.1.20"})", nullptr},
      {OPEN_TYPE_ADDR, R"({"family":2,"addr":"2001:db8::1"})", nullptr},
      {OPEN_TYPE_ADDR, R"({"family":0,"addr":""})", nullptr},
      {OPEN_TYPE_IN6, R"("fe80::1")", nullptr},
      {OPEN_TYPE_VER, "[1,25,0,12]", nullptr},
      {OPEN_TYPE_SNMPCOMM, R"([2,{"family":1,"addr":"10.0.0.1"},{"family":0,"addr":""},64,"view1"])", nullptr},
      {OPEN_TYPE_VLANLIST, "[3,[1,10,20]]", nullptr},
      {OPEN_TYPE_MEDCAP, "[[51]]", nullptr},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.written);
    const OpenArgDesc args[] = {{OpenDir::Out, c.type, "o"}};
    const OpenOpDesc op{"test", 1, args, 0};
    OpenCallArgs server(op);
    JsonDoc doc(c.written);
    ASSERT_EQ(wireDecodeWritten(args[0], doc.json, server.object(0), server.storage()), 0);
    WireBuffer encoded;
    wireEncodeReplyBody(encoded, 7, &server);
    std::string reply(encoded.view());
    // The caller's object, its buffers as large as a route makes them.
    OpenCallArgs caller(op);
    OpenStorage buffers;
    bool textual = c.type == OPEN_TYPE_TXT || c.type == OPEN_TYPE_W64 || c.type == OPEN_TYPE_BIN;
    if (textual || c.type == OPEN_TYPE_SNMPCOMM) {
      auto *desc = static_cast<open_buffdesc *>(
          textual ? caller.object(0) : &static_cast<open_snmp_community_addr_t *>(caller.object(0))->viewName);
      buffers.emplace_back(new char[64]());
      *desc = {64, buffers.back().get()};
    }
    void *objects[] = {caller.object(0)};
    ASSERT_EQ(wireDecodeReply(reply, op, objects), 7);
    EXPECT_EQ(rendered(args[0], caller.object(0)), c.back != nullptr ? c.back : c.written);
    // Any answer cut short is refused (a result alone is a refusal without outputs).
    for (size_t length = 5; length < reply.size(); ++length) {
      EXPECT_EQ(wireDecodeReply(std::string_view(reply).substr(0, length), op, objects), OPEN_E_INTERNAL) << length;
    }
    EXPECT_EQ(wireDecodeReply(reply + "x", op, objects), OPEN_E_INTERNAL);
  }
}

TEST(WireTest, AnswersNeverWritePastTheCallersBuffer) {
  const OpenArgDesc args[] = {{OpenDir::Out, OPEN_TYPE_TXT, "t"}};
  const OpenOpDesc op{"test", 1, args, 0};
  OpenCallArgs server(op);
  JsonDoc doc(R"("ABCDEF")");
  ASSERT_EQ(wireDecodeWritten(args[0], doc.json, server.object(0), server.storage()), 0);
  WireBuffer reply;
  wireEncodeReplyBody(reply, 0, &server);
  char buffer[8];
  memset(buffer, 'z', sizeof buffer);
  open_buffdesc desc = {4, buffer};
  void *objects[] = {&desc};
  ASSERT_EQ(wireDecodeReply(reply.view(), op, objects), 0);
  EXPECT_EQ(std::string(buffer, 8), "ABCDzzzz");
  EXPECT_EQ(desc.size, 4u);
  open_buffdesc claimed = {4, nullptr};  // a size without storage: nothing to write into
  objects[0] = &claimed;
  EXPECT_EQ(wireDecodeReply(reply.view(), op, objects), 0);
  WireBuffer refusal;
  wireEncodeReplyBody(refusal, OPEN_E_NOT_FOUND, nullptr);
  objects[0] = &desc;
  EXPECT_EQ(wireDecodeReply(refusal.view(), op, objects), OPEN_E_NOT_FOUND);
  EXPECT_EQ(desc.size, 4u) << "a refusal leaves the outputs as they were";
}

// Inputs arrive whole; outputs bring only their buffers' sizes, which the
// simulator gives zero-filled storage of its own; no pointer travels.
TEST(WireTest, RequestsCarryInputsAndTheCapacityOfOutputs) {
  char name[8] = "public", view[6] = "xyz";
  open_buffdesc communityName = {7, name};
  open_snmp_community_addr_t community{};
  community.accessType = 9;
  community.viewName = {sizeof view, view};
  void *objects[] = {&communityName, &community};
  WireBuffer encoded;
  wireEncodeRequest(encoded, OPEN_OPID_openapiSnmpCommunityAndIPAddrGet, objects);
  std::string frame(encoded.view());
  ASSERT_EQ(wireBodyLength(frame.data()), static_cast<long>(frame.size() - kWireHeaderSize));
  std::string_view body = std::string_view(frame).substr(kWireHeaderSize);
  const OpenOpDesc *op = wireRequestedOperation(body);
  ASSERT_EQ(op, &kOpenOps[OPEN_OPID_openapiSnmpCommunityAndIPAddrGet]);
  OpenCallArgs server(*op);
  ASSERT_EQ(wireDecodeRequest(body, server), 0);
  EXPECT_EQ(rendered(op->args[0], server.object(0)), R"("public")");
  const auto *got = server.as<open_snmp_community_addr_t *>(1);
  EXPECT_EQ(got->accessType, 0u) << "an output's values stay behind";
  ASSERT_EQ(got->viewName.size, sizeof view);
  EXPECT_EQ(std::string(got->viewName.pstart, sizeof view), std::string(sizeof view, '\0'));

  // An empty buffer may have no storage at all; no path may hand its null
  // pointer to memcpy (the sanitized build stops on that).
  open_buffdesc command = {0, nullptr}, file = {0, nullptr};
  void *show[] = {&command, &file};
  WireBuffer showFrame;
  wireEncodeRequest(showFrame, OPEN_OPID_openapiCliShowExecuteToFile, show);
  OpenCallArgs shown(kOpenOps[OPEN_OPID_openapiCliShowExecuteToFile]);
  ASSERT_EQ(wireDecodeRequest(showFrame.view().substr(kWireHeaderSize), shown), 0);
  EXPECT_EQ(rendered(shown.op().args[0], shown.object(0)), R"("")");
  EXPECT_EQ(shown.as<open_buffdesc *>(1)->size, 0u);
  // Frames of another version, or too long, are no frames.
  frame[3] = '2';
  EXPECT_EQ(wireBodyLength(frame.data()), -1);
  for (uint32_t length : {static_cast<uint32_t>(kWireMaxBody), static_cast<uint32_t>(kWireMaxBody + 1)}) {
    WireBuffer header;
    wireBeginFrame(header);
    memcpy(header.data() + sizeof kWireMagic, &length, sizeof length);
    EXPECT_EQ(wireBodyLength(header.data()), length <= kWireMaxBody ? static_cast<long>(length) : -1);
  }
}

}  // namespace
