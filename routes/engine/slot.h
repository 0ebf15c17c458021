#pragma once
// The storage behind one OpEN argument of a route while it runs.
#include <cstdint>

#include "open/openapi.h"
#include "tools/raii.h"

namespace route {

struct Slot {
  uint64_t num = 0;  // an integer; signed values sign-extended
  bool isSigned = false;
  open_inet_addr_t addr{};
  open_buffdesc desc{};
  CText storage;          // a buffer's bytes, zero-filled, one more than its capacity
  uint32_t capacity = 0;  // bytes of `storage` that OpEN may use
  alignas(8) unsigned char record[128] = {};
};

}  // namespace route
