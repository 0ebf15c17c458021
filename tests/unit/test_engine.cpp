// A row's bindings must fit the OpEN function it calls, argument by argument:
// static assertions, so that the unit tests do not build when the check goes
// wrong. Then the bounds of the walks over OpEN tables.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include <cstring>

#include "routes/engine/address.h"
#include "routes/engine/engine.h"
#include "routes/engine/values.h"
#include "routes/engine/walk.h"

namespace {

using namespace route;

constexpr BufferKind kText{21, SizeRule::Capacity, nullptr};

static_assert(callFits(Call{open<rpcclt_openapiStatGet>, {query("c"), query("i"), out("v")}}));
static_assert(callFits(Call{open<rpcclt_openapiStatStringGet>, {constant(1), body("i"), outText("v", kText)}}));
// A record needs something to fill or show it.
static_assert(!callFits(Call{open<rpcclt_openapiApiVersionGet>, {record<open_revision_data_t>(nullptr, nullptr)}}));
// Too few, too many, out of order, an input for an output, a text for a number, the wrong record.
static_assert(!callFits(Call{open<rpcclt_openapiStatGet>, {query("c"), query("i")}}));
static_assert(!callFits(Call{open<rpcclt_openapiStatReset>, {query("c"), query("i"), out("v")}}));
static_assert(!callFits(Call{open<rpcclt_openapiStatGet>, {query("c"), out("v"), query("i")}}));
static_assert(!callFits(Call{open<rpcclt_openapiStatGet>, {query("c"), query("i"), query("v")}}));
static_assert(!callFits(Call{open<rpcclt_openapiStatStringGet>, {query("c"), query("i"), out("v")}}));
static_assert(!callFits(
    Call{open<rpcclt_openapiSflowSourceIpv6AddrGet>, {record<open_revision_data_t>(nullptr, nullptr, "v")}}));
static_assert(callFits(Call{open<rpcclt_openapiSflowSourceIpv6AddrGet>, {outIpv6("v")}}));

// `answers` are the keys the first call and each next call give, a call past
// them fails; an endless table answers every next call with the key after the
// one asked about. The visitor asks to stop after `stopAt` (0: never).
TEST(WalkTest, EndsWithTheTableAtAKeyThatDoesNotAdvanceAndAtItsBound) {
  const struct {
    const char *name;
    std::vector<uint32_t> answers;
    bool endless;
    uint32_t limit;
    uint32_t stopAt;
    std::vector<uint32_t> visited;
    int calls;
  } cases[] = {
      {"whole table", {3, 5, 9}, false, 100, 0, {3, 5, 9}, 4},
      {"empty table", {}, false, 100, 0, {}, 1},
      {"key stands still", {3, 5, 5, 7}, false, 100, 0, {3, 5}, 3},
      {"key goes back", {3, 7, 2, 9}, false, 100, 0, {3, 7}, 3},
      {"visitor stops", {3, 5, 9}, false, 100, 5, {3, 5}, 2},
      {"endless table", {1}, true, 4, 0, {1, 2, 3, 4}, 4},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.name);
    int calls = 0;
    auto answer = [&](uint32_t asked, uint32_t *key) {
      size_t at = static_cast<size_t>(calls++);
      bool counting = c.endless && at > 0;
      if (!counting && at >= c.answers.size()) return OPEN_E_NOT_FOUND;
      *key = counting ? asked + 1 : c.answers[at];
      return OPEN_E_NONE;
    };
    std::vector<uint32_t> visited;
    route::walkAscending(c.limit, [&](uint32_t *key) { return answer(0, key); }, answer, [&](uint32_t key) {
      visited.push_back(key);
      return key != c.stopAt;
    });
    EXPECT_EQ(visited, c.visited);
    EXPECT_EQ(calls, c.calls);
  }
}

// A record that held an address before keeps nothing of it when the new
// text is no address: a stale family or stale bytes would reach OpEN.
TEST(AddressTest, TextThatIsNoAddressLeavesAnEmptyRecord) {
  const struct {
    const char *text;
    uint32_t family;
    const char *shown;
  } cases[] = {{"10.1.2.3", OPEN_AF_INET, "10.1.2.3"}, {"2001:db8::1", OPEN_AF_INET6, "2001:db8::1"},
               {"", OPEN_AF_NONE, ""},         {"10.1.2", OPEN_AF_NONE, ""},
               {"2001:db8::1::2", OPEN_AF_NONE, ""}, {nullptr, OPEN_AF_NONE, ""}};
  const open_inet_addr_t empty{};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.text ? c.text : "(null)");
    open_inet_addr_t addr;
    memset(&addr, 0xAB, sizeof addr);
    addressFromText(c.text, &addr);
    EXPECT_EQ(addr.family, c.family);
    char text[kAddressTextSize];
    addressToText(addr, text);
    EXPECT_STREQ(text, c.shown);
    if (c.family == OPEN_AF_NONE) {
      EXPECT_EQ(memcmp(&addr, &empty, sizeof addr), 0);
    }
  }
}

}  // namespace

// Integers printed from their digits must read exactly as cJSON prints the
// double: on both sides of int's range, of 10^15 and of 2^53.
TEST(IntegerNumberTest, PrintsAsCJsonPrintsTheDouble) {
  const int64_t kSigned[] = {0, -1, 7, INT32_MAX, INT32_MIN, int64_t{INT32_MAX} + 1, int64_t{INT32_MIN} - 1,
                             999999999999999, -999999999999999, 1000000000000000, INT64_MIN, INT64_MAX};
  const uint64_t kUnsigned[] = {190874412379, 999999999999999, 1000000000000000, (uint64_t{1} << 53) + 1, UINT64_MAX};
  auto printed = [](cJSON *item) {
    JsonPtr owner(item);
    CText text(cJSON_PrintUnformatted(item));
    return std::string(text.get());
  };
  for (int64_t value : kSigned) {
    EXPECT_EQ(printed(integerNumber(value)), printed(cJSON_CreateNumber(static_cast<double>(value)))) << value;
  }
  for (uint64_t value : kUnsigned) {
    EXPECT_EQ(printed(integerNumber(value)), printed(cJSON_CreateNumber(static_cast<double>(value)))) << value;
  }
}
