// The wire form between our OpEN client and the simulated switch.
#include <gtest/gtest.h>

#include <cstring>

#include "open/wire.h"

namespace {

struct JsonDoc {
  cJSON *json;
  explicit JsonDoc(const char *text) : json(cJSON_Parse(text)) {}
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
      {OPEN_TYPE_U64, "18446744073709551615", false, 0},  // past 2^53 a number is not exact
      {OPEN_TYPE_U64, "9007199254740992", true, 9007199254740992ull},
      {OPEN_TYPE_U64, R"("18446744073709551616")", false, 0},
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
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.json);
    JsonDoc doc(c.json);
    uint64_t value = 0;
    int32_t small = 0;
    void *target = openTypeInfo(c.type).size == 8 ? static_cast<void *>(&value) : static_cast<void *>(&small);
    ASSERT_EQ(wireDecodeInt(c.type, doc.json, target) == 0, c.ok);
    if (!c.ok) continue;
    uint64_t got = value;
    if (c.type == OPEN_TYPE_I32) got = static_cast<uint64_t>(static_cast<int64_t>(small));
    if (c.type == OPEN_TYPE_U32) got = static_cast<uint32_t>(small);
    if (c.type == OPEN_TYPE_U8) got = static_cast<uint8_t>(small);
    EXPECT_EQ(got, c.expected);
  }
}

TEST(WireTest, RequestBuffersCarryTheirBytesAndOutputsOnlyTheirCapacity) {
  char text[8] = "abc";
  open_buffdesc desc = {4, text};
  EXPECT_EQ(print(wireEncodeRequestArg({OpenDir::In, OPEN_TYPE_TXT, "t"}, &desc)), R"({"size":4,"hex":"61626300"})");
  desc.size = sizeof text;
  EXPECT_EQ(print(wireEncodeRequestArg({OpenDir::Out, OPEN_TYPE_TXT, "t"}, &desc)), R"({"size":8})");

  OpenSlot slot;
  JsonDoc request(R"({"size":8})");
  ASSERT_EQ(wireDecodeRequestArg({OpenDir::Out, OPEN_TYPE_TXT, "t"}, request.json, slot), 0);
  EXPECT_EQ(slot.desc.size, 8u);
  EXPECT_EQ(slot.bytes, std::vector<char>(8, '\0'));
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

}  // namespace
