#pragma once
// OpEN's interface name of the function a route row calls, for what
// describes or checks rows from outside the program (the program itself
// never needs it).
#include "open/openapi.h"
#include "routes/engine/invoke.h"

namespace apidoc {

struct NamedCall {
  int (*invoke)(route::Slot *);
  const char *name;
};

#define OPEN_OP(kind, name, ...) {route::open<&OPEN_FN_##kind(name)>.invoke, #name},
inline constexpr NamedCall kNamedCalls[] = {
#include "open/open_ops.def"
};
#undef OPEN_OP

// NULL for a row that calls nothing.
inline const char *openNameOf(const route::OpenCall &call) {
  for (const NamedCall &named : kNamedCalls) {
    if (named.invoke == call.invoke) return named.name;
  }
  return nullptr;
}

}  // namespace apidoc
