#pragma once
// Calls an OpEN function through its own type: the argument kinds are
// deduced from its parameters, so that a route's bindings are checked
// against them at compile time, and the slots of a route become typed
// arguments at run time.
#include <array>
#include <concepts>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

#include "routes/engine/bind.h"
#include "routes/engine/slot.h"
#include "open/startup.h"

namespace route {

struct ArgTag {
  ArgKind kind;
  const void *recordType;
  uint8_t intBytes;  // integers and pointers to them: the integer's width
  bool intSigned;
};

template <typename P>
constexpr ArgTag argTagOf() {
  if constexpr (std::is_integral_v<P>) {
    return {ArgKind::IntValue, nullptr, sizeof(P), std::is_signed_v<P>};
  } else if constexpr (std::is_pointer_v<P> && std::is_integral_v<std::remove_pointer_t<P>>) {
    return {ArgKind::IntPointer, nullptr, sizeof(std::remove_pointer_t<P>), std::is_signed_v<std::remove_pointer_t<P>>};
  } else if constexpr (std::is_same_v<P, open_buffdesc *>) {
    return {ArgKind::Buffer, nullptr, 0, false};
  } else if constexpr (std::is_same_v<P, open_inet_addr_t *>) {
    return {ArgKind::Address, nullptr, 0, false};
  } else {
    static_assert(std::is_pointer_v<P> && std::is_class_v<std::remove_pointer_t<P>>,
                  "an OpEN argument is an integer, or a pointer to an integer, buffer, address or record");
    return {ArgKind::RecordPointer, &recordTag<std::remove_pointer_t<P>>, 0, false};
  }
}

// One argument on its way into and out of the call.
template <typename P>
struct Pass;

template <std::integral T>
struct Pass<T> {
  T value;
  explicit Pass(Slot &slot) : value(static_cast<T>(slot.num)) {}
  T arg() { return value; }
  void back(Slot &) {}
};

template <std::integral T>
struct Pass<T *> {
  T value;
  explicit Pass(Slot &slot) : value(static_cast<T>(slot.num)) {}
  T *arg() { return &value; }
  void back(Slot &slot) {
    slot.isSigned = std::is_signed_v<T>;
    slot.num = std::is_signed_v<T> ? static_cast<uint64_t>(static_cast<int64_t>(value)) : static_cast<uint64_t>(value);
  }
};

template <>
struct Pass<open_buffdesc *> {
  Slot &slot;
  explicit Pass(Slot &s) : slot(s) {}
  open_buffdesc *arg() { return &slot.desc; }
  void back(Slot &) {}
};

template <>
struct Pass<open_inet_addr_t *> {
  Slot &slot;
  explicit Pass(Slot &s) : slot(s) {}
  open_inet_addr_t *arg() { return &slot.addr; }
  void back(Slot &) {}
};

// Records are copied in and out of the slot, so that they may be as large as
// the caller's list and still live in the slot alone.
template <typename R>
  requires std::is_class_v<R>
struct Pass<R *> {
  R value{};
  explicit Pass(Slot &slot) {
    if (slot.record && slot.recordSize == sizeof(R)) memcpy(&value, slot.record.get(), sizeof value);
  }
  R *arg() { return &value; }
  void back(Slot &slot) {
    R *stored = slot.recordAs<R>();
    if (stored != nullptr) memcpy(stored, &value, sizeof value);
  }
};

template <typename... P, size_t... I>
int invokeWith(open_error_t (*fn)(openapiClientHandle_t *, P...), Slot *slots, std::index_sequence<I...>) {
  std::tuple<Pass<P>...> args{Pass<P>(slots[I])...};
  int rc = fn(&clientHandle, std::get<I>(args).arg()...);
  (std::get<I>(args).back(slots[I]), ...);
  return rc;
}

template <typename... P>
struct Signature {
  static constexpr std::array<ArgTag, sizeof...(P)> tags{argTagOf<P>()...};
};

template <typename... P>
constexpr const ArgTag *tagsOf(open_error_t (*)(openapiClientHandle_t *, P...)) {
  return Signature<P...>::tags.data();
}
template <typename... P>
constexpr uint8_t countOf(open_error_t (*)(openapiClientHandle_t *, P...)) {
  return sizeof...(P);
}

template <auto F>
int invokeOpen(Slot *slots) {
  return invokeWith(F, slots, std::make_index_sequence<countOf(F)>{});
}

// An OpEN function as a route sees it.
struct OpenCall {
  int (*invoke)(Slot *slots);
  const ArgTag *params;
  uint8_t paramCount;
};

template <auto F>
inline constexpr OpenCall open = {invokeOpen<F>, tagsOf(F), countOf(F)};

}  // namespace route
