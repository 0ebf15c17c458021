#pragma once
// Walks over OpEN tables inside one request. OpEN hands out its tables in
// ascending key order, one get-next call per entry; a walk here stops when a
// call fails, when the key does not advance, and at the latest after the
// most entries such a table can hold, so that no answer of OpEN can keep a
// request calling for ever.
#include <cstdint>

#include "open/openapi.h"

namespace route {

// The bounds, chosen above anything a real switch has: a stack of twelve
// units of 64 ports has 768 physical ports, switches keep at most a few
// hundred LAGs and IP access lists, and LLDP keeps a few neighbours per port.
// kMaxInterfaces bounds the interfaces of one type, and those of one list.
constexpr uint32_t kMaxInterfaces = 1024;
constexpr uint32_t kMaxVlans = 4094;
constexpr uint32_t kMaxAccessLists = 1024;
constexpr uint32_t kMaxLldpNeighbours = 1024;

// Calls `visit(key)` for the first key and each following one until `visit`
// returns false, at most `limit` times. `first(&key)` and `next(key, &key)`
// are the table's OpEN calls; a following key that is not above the last
// ends the walk. At most `limit` + 1 OpEN calls.
template <typename First, typename Next, typename Visit>
void walkAscending(uint32_t limit, First first, Next next, Visit visit) {
  uint32_t key = 0;
  if (limit == 0 || first(&key) != OPEN_E_NONE) return;
  for (uint32_t visited = 1; visit(key) && visited < limit; ++visited) {
    uint32_t following = key;
    if (next(key, &following) != OPEN_E_NONE || following <= key) return;
    key = following;
  }
}

}  // namespace route
