#pragma once
// The storage behind one OpEN argument of a route while it runs.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "open/openapi.h"
#include "open/raii.h"

namespace route {

struct Slot {
  uint64_t num = 0;  // an integer; signed values sign-extended
  bool isSigned = false;
  open_inet_addr_t addr{};
  open_buffdesc desc{};
  CText storage;          // a buffer's bytes, zero-filled, one more than its capacity
  uint32_t capacity = 0;  // bytes of `storage` that OpEN may use
  CText record;  // a record argument, zero-filled until something fills it
  size_t recordSize = 0;

  // The record argument's storage, made on first use; NULL only when out of memory.
  template <typename R>
  R *recordAs() {
    if (!record) {
      record.reset(static_cast<char *>(calloc(1, sizeof(R))));
      recordSize = record ? sizeof(R) : 0;
    }
    return reinterpret_cast<R *>(record.get());
  }
};

}  // namespace route
