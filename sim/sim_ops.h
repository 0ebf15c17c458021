#pragma once
// The simulated switch's side of every OpEN operation: one function per row
// of open_ops.def, with the row's arguments after the device. Each family's
// ops.cpp defines its operations; since the prototypes come from the list,
// a missing or doubled definition fails the link of opensimd.
#include <string>

#include "open/openapi.h"

class SimDevice;

namespace sim {
#define OPEN_PROTO_PARAM(d, T, n) , OPEN_PARAM_##d(T) n
#define OPEN_OP(kind, name, ...) \
  open_error_t name(SimDevice &dev OPEN_FOR_EACH(OPEN_PROTO_PARAM, __VA_ARGS__));
#include "open/open_ops.def"
#undef OPEN_OP
#undef OPEN_PROTO_PARAM
}  // namespace sim

// A real switch refuses an output buffer that cannot take the whole text.
open_error_t putText(open_buffdesc *desc, const std::string &text);
// The text of an input buffer, up to its first NUL or its size.
std::string inputText(const open_buffdesc *desc);
