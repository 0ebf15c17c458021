#pragma once
// How one argument of an OpEN call is bound to a request and to an answer.
// A route lists one binding per argument of the OpEN function it calls, in
// the function's own order; the engine checks at compile time that each
// binding fits the argument it stands for.
#include <cjson/cJSON.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include <span>

#include "cgi/request.h"
#include "open/enums.h"
#include "open/openapi.h"

namespace route {

class Inputs;
class Output;
struct Slot;
struct Bind;

// What an OpEN argument is, as far as a binding must fit it.
enum class ArgKind : uint8_t { IntValue, IntPointer, Buffer, Address, RecordPointer };

// How a family reads its query keys: in QUERY_STRING or in the request
// data of requestDataGet (the query of a GET, the body of a PUT), which
// piece holds the key, and whether numbers are read with strtoul or strtol.
enum class QuerySource : uint8_t { QueryString, RequestData };
enum class Digits : uint8_t { Unsigned, Signed };
struct QueryReader {
  QuerySource source;
  KeyMatch match;
  Digits digits;
};

// How a buffer is described to OpEN: its whole capacity, one byte less (so
// that a terminator always remains), the input text's length plus one, or a
// size that an OpEN query gives.
enum class SizeRule : uint8_t { Capacity, CapacityLessOne, LengthPlusOne, Queried };
struct BufferKind {
  uint32_t capacity;
  SizeRule rule;
  uint32_t (*queriedSize)();  // SizeRule::Queried only
};

// A text enumeration. Request texts outside the table become `inputDefault`;
// values outside the table print as `outputDefault`. `outputMask`, when not
// 0, keeps only those bits of a value before it is looked up.
using Choice = OpenWord;
struct ChoiceTable {
  const Choice *choices;
  uint8_t count;
  bool ignoreCase;
  int64_t inputDefault;
  const char *outputDefault;
  uint64_t outputMask;
};
constexpr ChoiceTable choiceTable(std::span<const Choice> choices, bool ignoreCase, int64_t inputDefault,
                                  const char *outputDefault, uint64_t outputMask = 0) {
  return {choices.data(), static_cast<uint8_t>(choices.size()), ignoreCase, inputDefault, outputDefault, outputMask};
}
// The words of an OpEN enumeration as a choice.
template <typename Enumeration>
constexpr ChoiceTable choicesOf(bool ignoreCase, int64_t inputDefault, const char *outputDefault,
                                uint64_t outputMask = 0) {
  return choiceTable(openWords<Enumeration>, ignoreCase, inputDefault, outputDefault, outputMask);
}

enum class From : uint8_t { Nothing, Query, Body, BodyOrQuery, Constant, Custom };
// What an input is. Object and List only describe what custom code reads.
enum class Value : uint8_t { Number, Text, Choice, Address, Object, List };
// How an output appears in the answer. Object, List and Mac only describe
// what custom code writes, for the API description; no row shows them.
enum class Show : uint8_t { Nothing, Number, Choice, Boolean, Text, Hex, Address, Ipv4HostOrder, Ipv6, Custom, Object, List, Mac };

// A custom input fills the slot itself: 0, or a result code that refuses the request.
using ReadFn = int32_t (*)(const Bind &bind, Inputs &in, Slot &slot);
// A custom output writes what it shows to `out` through the parts its
// binding declares; `args` are the call's arguments in order, for an output
// that depends on an input.
using ShowFn = void (*)(Output &out, const Bind &bind, const Slot &slot, const Slot *args);

struct Bind {
  From from = From::Nothing;
  Value value = Value::Number;
  ArgKind kind = ArgKind::IntValue;
  const char *key = nullptr;        // query key or body member
  const char *object = nullptr;     // body: the member sits in this object of the body
  const QueryReader *reader = nullptr;  // NULL: the family's reader
  const ChoiceTable *choices = nullptr;
  const BufferKind *buffer = nullptr;
  int64_t preset = 0;               // a constant input, or where an output starts
  bool required = false;            // absent, 0 or of the wrong JSON type: 10003 before any OpEN call
  Show show = Show::Nothing;
  const char *outKey = nullptr;
  const char *outObject = nullptr;  // the answer shows it inside this object
  ReadFn read = nullptr;
  ShowFn render = nullptr;
  const void *recordType = nullptr;  // records: which C type the argument must be
  uint16_t recordSize = 0;
  // For the API description: what a custom input reads, or what a custom,
  // object or list output writes (a list of one unnamed part is a list of
  // values); and whether an output may be null or left out.
  const Bind *parts = nullptr;
  uint8_t partCount = 0;
  bool nullable = false;
  bool optional = false;
  bool strict = false;  // a choice whose other texts the route refuses
  // For the API description: what the input or output is, and an input's
  // example as JSON text.
  const char *about = nullptr;
  const char *sample = nullptr;
  bool orDigits = false;  // a body number that may also come as decimal text
  // A number a route's own code reads: the width it is read into (0: as
  // read), and the range outside which the route refuses it with 10003.
  uint8_t intBytes = 0;
  bool intSigned = false;
  bool ranged = false;
  uint64_t low = 0, high = 0;

  constexpr bool isEnd() const { return from == From::Nothing && show == Show::Nothing; }
  constexpr bool isInput() const { return from != From::Nothing; }
  constexpr bool isOutput() const { return show != Show::Nothing; }

  // Modifiers, so that a row reads as one phrase.
  constexpr Bind needed() const {
    Bind b = *this;
    b.required = true;
    return b;
  }
  constexpr Bind via(const QueryReader &r) const {
    Bind b = *this;
    b.reader = &r;
    return b;
  }
  constexpr Bind inside(const char *member) const {
    Bind b = *this;
    b.object = member;
    return b;
  }
  constexpr Bind shownInside(const char *member) const {
    Bind b = *this;
    b.outObject = member;
    return b;
  }
  constexpr Bind startingAt(int64_t value) const {
    Bind b = *this;
    b.preset = value;
    return b;
  }
  template <size_t N>
  constexpr Bind made(const Bind (&list)[N]) const {
    return made(list, N);
  }
  template <size_t N>
  constexpr Bind made(const std::array<Bind, N> &list) const {
    return made(list.data(), N);
  }
  constexpr Bind made(const Bind *list, size_t count) const {
    Bind b = *this;
    b.parts = list;
    b.partCount = static_cast<uint8_t>(count);
    return b;
  }
  constexpr Bind described(const char *text) const {
    Bind b = *this;
    b.about = text;
    return b;
  }
  constexpr Bind example(const char *json) const {
    Bind b = *this;
    b.sample = json;
    return b;
  }
  // A number that may also be sent as decimal text.
  constexpr Bind orDecimalText() const {
    Bind b = *this;
    b.orDigits = true;
    return b;
  }
  // Read into an integer of type T, as the route's own code uses it.
  template <typename T>
  constexpr Bind of() const {
    Bind b = *this;
    b.intBytes = sizeof(T);
    b.intSigned = static_cast<T>(-1) < T{0};
    return b;
  }
  // Refused with 10003 outside [first, last].
  constexpr Bind within(uint64_t first, uint64_t last) const {
    Bind b = *this;
    b.ranged = true;
    b.low = first;
    b.high = last;
    return b;
  }
  constexpr Bind strictly() const {
    Bind b = *this;
    b.strict = true;
    return b;
  }
  constexpr Bind orNull() const {
    Bind b = *this;
    b.nullable = true;
    return b;
  }
  // Left out of the answer when OpEN cannot tell.
  constexpr Bind ifKnown() const {
    Bind b = *this;
    b.optional = true;
    return b;
  }
  // An in-out integer: read from the request, shown in the answer.
  constexpr Bind andShown(const char *answerKey) const {
    Bind b = *this;
    b.show = Show::Number;
    b.outKey = answerKey;
    b.kind = ArgKind::IntPointer;
    return b;
  }
};

template <typename T>
inline constexpr char recordTag = 0;

// ---- Inputs ----
constexpr Bind query(const char *key) { return {.from = From::Query, .key = key}; }
constexpr Bind queryText(const char *key, const BufferKind &buffer) {
  return {.from = From::Query, .value = Value::Text, .kind = ArgKind::Buffer, .key = key, .buffer = &buffer};
}
constexpr Bind queryChoice(const char *key, const ChoiceTable &table) {
  return {.from = From::Query, .value = Value::Choice, .key = key, .choices = &table};
}
constexpr Bind queryAddress(const char *key) {
  return {.from = From::Query, .value = Value::Address, .kind = ArgKind::Address, .key = key};
}
constexpr Bind body(const char *key) { return {.from = From::Body, .key = key}; }
constexpr Bind bodyText(const char *key, const BufferKind &buffer) {
  return {.from = From::Body, .value = Value::Text, .kind = ArgKind::Buffer, .key = key, .buffer = &buffer};
}
constexpr Bind bodyChoice(const char *key, const ChoiceTable &table) {
  return {.from = From::Body, .value = Value::Choice, .key = key, .choices = &table};
}
constexpr Bind bodyAddress(const char *key) {
  return {.from = From::Body, .value = Value::Address, .kind = ArgKind::Address, .key = key};
}
// A number of the body; when it is absent, not a number or 0, the query's.
constexpr Bind bodyOrQuery(const char *key) { return {.from = From::BodyOrQuery, .key = key}; }
constexpr Bind constant(int64_t value) { return {.from = From::Constant, .preset = value}; }
// A text the route always sends, whatever the request holds.
constexpr Bind constantText(const char *text, const BufferKind &buffer) {
  return {.from = From::Constant, .value = Value::Text, .kind = ArgKind::Buffer, .key = text, .buffer = &buffer};
}
constexpr Bind customInput(ArgKind kind, ReadFn read, const BufferKind *buffer = nullptr) {
  return {.from = From::Custom, .kind = kind, .buffer = buffer, .read = read};
}

// ---- Outputs ----
constexpr Bind out(const char *key) { return {.kind = ArgKind::IntPointer, .show = Show::Number, .outKey = key}; }
constexpr Bind outChoice(const char *key, const ChoiceTable &table) {
  return {.kind = ArgKind::IntPointer, .choices = &table, .show = Show::Choice, .outKey = key};
}
// JSON true exactly when OpEN gives 1.
constexpr Bind outBool(const char *key) { return {.kind = ArgKind::IntPointer, .show = Show::Boolean, .outKey = key}; }
constexpr Bind outText(const char *key, const BufferKind &buffer) {
  return {.kind = ArgKind::Buffer, .buffer = &buffer, .show = Show::Text, .outKey = key};
}
// Bytes as lower-case hexadecimal, as many as OpEN reports within the buffer.
constexpr Bind outHex(const char *key, const BufferKind &buffer) {
  return {.kind = ArgKind::Buffer, .buffer = &buffer, .show = Show::Hex, .outKey = key};
}
constexpr Bind outAddress(const char *key) {
  return {.kind = ArgKind::Address, .show = Show::Address, .outKey = key};
}
// An IPv4 address that OpEN gives as a number in host order.
constexpr Bind outIpv4(const char *key) {
  return {.kind = ArgKind::IntPointer, .show = Show::Ipv4HostOrder, .outKey = key};
}
constexpr Bind outIpv6(const char *key) {
  return {.kind = ArgKind::RecordPointer,
          .show = Show::Ipv6,
          .outKey = key,
          .recordType = &recordTag<open_in6_addr_t>,
          .recordSize = sizeof(open_in6_addr_t)};
}
constexpr Bind outCustom(const char *key, ArgKind kind, ShowFn render, const BufferKind *buffer = nullptr) {
  return {.kind = kind, .buffer = buffer, .show = Show::Custom, .outKey = key, .render = render};
}
// What custom code reads and writes, for the API description only: the
// inputs `parts`; a body object or list of `parts`; the outputs `parts` at
// this level of the answer; an object or a list of `parts`; a MAC address.
template <typename Parts>
constexpr Bind reads(const Parts &parts) {
  return Bind{.from = From::Custom}.made(parts);
}
template <typename Parts>
constexpr Bind bodyObject(const char *key, const Parts &parts) {
  return Bind{.from = From::Body, .value = Value::Object, .key = key}.made(parts);
}
template <typename Parts>
constexpr Bind bodyList(const char *key, const Parts &parts) {
  return Bind{.from = From::Body, .value = Value::List, .key = key}.made(parts);
}
template <typename Parts>
constexpr Bind outMembers(const Parts &parts) {
  return Bind{.show = Show::Object}.made(parts);
}
template <typename Parts>
constexpr Bind outObject(const char *key, const Parts &parts) {
  return Bind{.show = Show::Object, .outKey = key}.made(parts);
}
template <typename Parts>
constexpr Bind outList(const char *key, const Parts &parts) {
  return Bind{.show = Show::List, .outKey = key}.made(parts);
}
constexpr Bind outMac(const char *key) { return {.show = Show::Mac, .outKey = key}; }

// A record argument, filled or shown by the family's own functions.
template <typename R>
constexpr Bind record(ReadFn read, ShowFn render, const char *outKey = nullptr) {
  return {.from = read ? From::Custom : From::Nothing,
          .kind = ArgKind::RecordPointer,
          .show = render ? Show::Custom : Show::Nothing,
          .outKey = outKey,
          .read = read,
          .render = render,
          .recordType = &recordTag<R>,
          .recordSize = sizeof(R)};
}

}  // namespace route
