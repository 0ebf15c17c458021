// The wire form between our OpEN client and the simulated switch.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "open/wire.h"
#include "open/raii.h"

namespace {

// Whatever 32-bit result a server sends must be a value of the result type: only an enumeration with a fixed
// underlying type holds every one of them (and only such a type can be list-initialised from an integer).
static_assert(requires { open_error_t{int32_t{-2147483647 - 1}}; } &&
              std::is_same_v<std::underlying_type_t<open_error_t>, int32_t>);

std::string rendered(const OpenArgDesc &arg, const void *obj) {
  std::string text;
  wireRender(text, arg, obj);
  return text;
}

// A number without its digits: a tree built in memory, or read by a parser that kept none, has only the
// double, which from 2^53 on may be the rounded neighbour of what was written.
constexpr bool kBare = true;

TEST(WireTest, IntegersAreExactAndRangeChecked) {
  const struct {
    OpenType type;
    const char *json;
    bool ok;
    uint64_t expected;
    bool bare = false;
  } cases[] = {
      {OPEN_TYPE_U64, R"("18446744073709551615")", true, UINT64_MAX},
      {OPEN_TYPE_U64, "18446744073709551615", true, UINT64_MAX},  // read from its digits, not its double
      {OPEN_TYPE_U64, "9007199254740993", true, 9007199254740993ull},  // its double would be 2^53
      {OPEN_TYPE_U64, "9223372036854775808", true, 9223372036854775808ull},
      {OPEN_TYPE_U64, "18446744073709551616", false}, {OPEN_TYPE_U32, R"(" 5")", false},
      {OPEN_TYPE_U32, R"("+5")", false}, {OPEN_TYPE_U32, R"("5 ")", false}, {OPEN_TYPE_U32, R"("0x10")", false},
      {OPEN_TYPE_U32, R"("007")", true, 7}, {OPEN_TYPE_U32, "5.0", false}, {OPEN_TYPE_U32, "-1", false},
      {OPEN_TYPE_U32, R"("-1")", false}, {OPEN_TYPE_U32, R"("")", false}, {OPEN_TYPE_U32, "true", false},
      {OPEN_TYPE_U32, "4294967295", true, 4294967295u}, {OPEN_TYPE_U32, "4294967296", false},
      {OPEN_TYPE_U8, "255", true, 255}, {OPEN_TYPE_U8, "256", false}, {OPEN_TYPE_U16, "65535", true, 65535},
      {OPEN_TYPE_U16, "65536", false}, {OPEN_TYPE_I8, "-128", true, static_cast<uint64_t>(-128)},
      {OPEN_TYPE_I8, "128", false}, {OPEN_TYPE_I16, "-32769", false}, {OPEN_TYPE_I32, R"("-0")", true, 0},
      {OPEN_TYPE_I32, "-29", true, static_cast<uint64_t>(-29)}, {OPEN_TYPE_I32, R"("--1")", false},
      {OPEN_TYPE_I32, R"("-2147483648")", true, static_cast<uint64_t>(INT32_MIN)},
      {OPEN_TYPE_I32, R"("-2147483649")", false}, {OPEN_TYPE_I32, "2147483648", false},
      {OPEN_TYPE_I64, "-9223372036854775808", true, static_cast<uint64_t>(INT64_MIN)},
      {OPEN_TYPE_I64, "9223372036854775807", true, INT64_MAX}, {OPEN_TYPE_I64, "9223372036854775808", false},
      {OPEN_TYPE_U64, "9007199254740991", true, 9007199254740991ull, kBare},
      {OPEN_TYPE_I64, "-9007199254740991", true, static_cast<uint64_t>(-9007199254740991ll), kBare},
      {OPEN_TYPE_U64, "9007199254740992", false, 0, kBare}, {OPEN_TYPE_I64, "-9007199254740992", false, 0, kBare},
      {OPEN_TYPE_I8, "-128", true, static_cast<uint64_t>(-128), kBare}, {OPEN_TYPE_U8, "256", false, 0, kBare},
      {OPEN_TYPE_U32, "-1", false, 0, kBare}, {OPEN_TYPE_U32, "1.5", false, 0, kBare},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(std::string(c.json) + (c.bare ? " without its digits" : ""));
    JsonPtr json(c.bare ? cJSON_CreateNumber(strtod(c.json, nullptr)) : wireParseJson(c.json));
    uint64_t value = 0;
    OpenStorage storage;
    OpenArgDesc arg{OpenDir::Out, c.type, "n"};
    bool ok = wireDecodeWritten(arg, json.get(), &value, storage) == 0;
    EXPECT_EQ(ok, c.ok);
    if (!ok || !c.ok) continue;
    // Read back at the type's own width and sign, as the log shows it.
    char expected[24];
    snprintf(expected, sizeof expected, openTypeInfo(c.type).isSigned ? "%lld" : "%llu",
             static_cast<unsigned long long>(c.expected));
    EXPECT_EQ(rendered(arg, &value), expected);
  }
}

TEST(WireTest, MacAddressesAreSixPairsOfHexDigits) {
  const struct {
    const char *text;
    bool ok;
  } cases[] = {
      {"00:11:22:5A:3B:C0", true}, {"00:11:22:5a:3b:c0", true}, {"+1:+2:+3:+4:+5:+6", false},
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
  JsonPtr json(wireParseJson("{\"out\": [18446744073709549568,\n -5, 9007199254740993, \"7\", 1.5]}"));
  CText line(wirePrintLine(json.get()));
  EXPECT_STREQ(line.get(), R"({"out":[18446744073709549568,-5,9007199254740993,"7",1.5]})");
}

// The call log is compared byte for byte: its strings must come out as
// cJSON would print them, whatever the bytes.
TEST(WireTest, WrittenStringsAreEscapedAsCJsonEscapesThem) {
  std::string every, text, cut;
  for (int c = 1; c < 256; ++c) every += static_cast<char>(c);
  JsonPtr json(cJSON_CreateString(every.c_str()));
  CText printed(cJSON_PrintUnformatted(json.get()));
  wireRenderString(text, every);
  EXPECT_EQ(text, printed.get());
  wireRenderString(cut, "ab\xC3\xA9", 3);  // never half a character
  EXPECT_EQ(cut, "\"ab[cut, 4 bytes in all]\"");
}

// Every kind of argument, from its written form through the simulator's encoder of answers into the caller's
// objects, comes back the same; an answer longer than the caller's buffer is cut to it, never written past it.
TEST(WireTest, OutputsTravelIntoTheCallersObjectsWithinTheirBuffers) {
  constexpr uint32_t kCapacity = 16;
  const struct {
    OpenType type;
    const char *written;
    const char *back = nullptr;  // nullptr: as written
  } cases[] = {
      {OPEN_TYPE_I8, "-128"}, {OPEN_TYPE_U64, "18446744073709551615"}, {OPEN_TYPE_TXT, R"("ab")"},
      {OPEN_TYPE_TXT, R"("ABCDEFGHIJKLMNOPQRST")", R"("ABCDEFGHIJKLMNOP")"}, {OPEN_TYPE_BIN, R"("00ff")"},
      {OPEN_TYPE_W64, R"([2,"18446744073709551615"])", "[2,18446744073709551615]"},  // fills its buffer exactly
      {OPEN_TYPE_ADDR, R"({"family":1,"addr":"192.168.1.20"})"}, {OPEN_TYPE_ADDR, R"({"family":0,"addr":""})"},
      {OPEN_TYPE_ADDR, R"({"family":2,"addr":"2001:db8::1"})"}, {OPEN_TYPE_IN6, R"("fe80::1")"},
      {OPEN_TYPE_VER, "[1,25,0,12]"}, {OPEN_TYPE_VLANLIST, "[3,[1,10,20]]"},
      {OPEN_TYPE_SNMPCOMM, R"([2,{"family":1,"addr":"10.0.0.1"},{"family":0,"addr":""},64,"view1"])"},
      {OPEN_TYPE_MEDCAP, "[[51,7]]"},  // an array member full to its last element
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.written);
    const OpenArgDesc args[] = {{OpenDir::Out, c.type, "o"}};
    const OpenOpDesc op{"test", 1, args, 0};
    OpenCallArgs server(op), caller(op);
    JsonPtr written(wireParseJson(c.written));
    ASSERT_EQ(wireDecodeWritten(args[0], written.get(), server.object(0), server.storage()), 0);
    WireBuffer encoded;
    wireEncodeReplyBody(encoded, 7, &server);
    std::string reply(encoded.view());
    char buffer[kCapacity + 8];  // the caller's buffer, then bytes no answer may touch
    memset(buffer, 'z', sizeof buffer);
    bool textual = c.type == OPEN_TYPE_TXT || c.type == OPEN_TYPE_W64 || c.type == OPEN_TYPE_BIN;
    auto *desc = textual                          ? caller.as<open_buffdesc *>(0)
                 : c.type == OPEN_TYPE_SNMPCOMM ? &caller.as<open_snmp_community_addr_t *>(0)->viewName
                                                : nullptr;
    if (desc != nullptr) *desc = {kCapacity, buffer};
    void *objects[] = {caller.object(0)};
    ASSERT_EQ(wireDecodeReply(reply, op, objects), 7);
    EXPECT_EQ(rendered(args[0], caller.object(0)), c.back != nullptr ? c.back : c.written);
    EXPECT_EQ(std::string(buffer + kCapacity, 8), "zzzzzzzz");
    // A result alone is a refusal without outputs; any other answer cut short, or longer, is refused.
    for (size_t length = 4; length < reply.size(); ++length) {
      EXPECT_EQ(wireDecodeReply(std::string_view(reply).substr(0, length), op, objects),
                length == 4 ? 7 : OPEN_E_INTERNAL) << length;
    }
    EXPECT_EQ(wireDecodeReply(reply + "x", op, objects), OPEN_E_INTERNAL);
    if (desc == nullptr) continue;
    *desc = {kCapacity, nullptr};  // a size without storage: nothing to write into
    EXPECT_EQ(wireDecodeReply(reply, op, objects), 7);
  }
}

// Inputs arrive whole; outputs bring only their buffers' sizes, which the
// simulator gives zero-filled storage of its own; no pointer travels.
TEST(WireTest, RequestsCarryInputsAndTheCapacityOfOutputs) {
  char name[8] = "public", view[6] = "xyz";
  open_buffdesc communityName = {7, name};
  open_snmp_community_addr_t community{.accessType = 9, .viewName = {sizeof view, view}};
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
