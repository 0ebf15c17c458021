#pragma once
// The get-next of every table. OpEN walks a table by asking for the entry
// after the one it holds, starts with a zero or empty key, and hears
// OPEN_E_NOT_FOUND past the last entry. Tables are kept in ascending key
// order (a std::map or std::set, or a sorted vector); keys compare with
// `less`, so a composite key can be a struct with a defaulted <=>.
//
//   const Interface *found = nullptr;
//   open_error_t rc = walk::next(interfaces, after, found, &Interface::intIfNum, ofType);
#include <algorithm>
#include <functional>
#include <ranges>
#include <type_traits>

#include "open/openapi.h"

namespace walk {

struct Everything {
  bool operator()(const auto &) const { return true; }
};

template <typename Table>
using Entry = std::ranges::range_value_t<Table>;

// The first entry that `accept` takes after `after`; for a default key (0,
// "", all zero) the first of the table. `keyOf` projects an entry to its key.
template <std::ranges::forward_range Table, typename Key, typename KeyOf = std::identity,
          typename Accept = Everything, typename Less = std::ranges::less>
open_error_t next(const Table &table, const Key &after, const Entry<Table> *&found, KeyOf keyOf = {},
                  Accept accept = {}, Less less = {}) {
  auto from = after == Key{} ? std::ranges::begin(table) : std::ranges::upper_bound(table, after, less, keyOf);
  auto entry = std::find_if(from, std::ranges::end(table), accept);
  if (entry == std::ranges::end(table)) return OPEN_E_NOT_FOUND;
  found = &*entry;
  return OPEN_E_NONE;
}

template <std::ranges::forward_range Table, typename KeyOf = std::identity, typename Accept = Everything>
open_error_t first(const Table &table, const Entry<Table> *&found, KeyOf keyOf = {}, Accept accept = {}) {
  using Key = std::remove_cvref_t<std::invoke_result_t<KeyOf &, const Entry<Table> &>>;
  return next(table, Key{}, found, keyOf, accept);
}

}  // namespace walk
