#pragma once
// The simulated switch's side of every OpEN operation: one function per row
// of open_ops.def, with the row's arguments after the switch state.
#include "open/openapi.h"

class SimSwitch;

namespace sim {
#define OPEN_PROTO_PARAM(d, T, n) , OPEN_PARAM_##d(T) n
#define OPEN_OP(kind, name, ...) \
  open_error_t name(SimSwitch &sw OPEN_FOR_EACH(OPEN_PROTO_PARAM, __VA_ARGS__));
#include "open/open_ops.def"
#undef OPEN_OP
#undef OPEN_PROTO_PARAM
}  // namespace sim
