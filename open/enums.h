#pragma once
// The words of the OpEN enumerations (open_enums.def, open_counters.def),
// value by value in declaration order, for whatever reads or prints them.
#include <cstdint>
#include <span>

#include "open/openapi.h"

struct OpenWord {
  const char *text;
  int64_t value;
};

// openWords<OPEN_CONTROL_t>: the words of one enumeration.
template <typename Enumeration>
inline constexpr std::span<const OpenWord> openWords{};

#define OPEN_ENUM_WORD(name, value, word) {word, value},
#define OPEN_ENUM(type, ...)                                                                          \
  inline constexpr OpenWord kOpenWords_##type[] = {OPEN_FOR_EACH(OPEN_ENUM_WORD, __VA_ARGS__)};        \
  template <>                                                                                         \
  inline constexpr std::span<const OpenWord> openWords<type>{kOpenWords_##type};
#include "open/open_enums.def"
#undef OPEN_ENUM
#undef OPEN_ENUM_WORD

#define OPEN_COUNTER(name, id) {#name, id},
inline constexpr OpenWord kOpenWords_OPEN_COUNTER_ID_t[] = {
#include "open/open_counters.def"
};
#undef OPEN_COUNTER
template <>
inline constexpr std::span<const OpenWord> openWords<OPEN_COUNTER_ID_t>{kOpenWords_OPEN_COUNTER_ID_t};
