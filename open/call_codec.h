#pragma once
// The client's side of one call on the wire: the request frame it sends and
// the answer it takes apart, over the arguments as its stub receives them.
// Kept apart from the transport so that the decoder can be exercised on its
// own.
#include <string_view>

#include "open/openapi.h"
#include "open/opdesc.h"
#include "open/wire.h"

// Appends the request frame of operation `id` to `out`. False, with nothing
// appended, when an argument the operation needs is a null pointer.
bool openEncodeRequest(WireBuffer &out, OpenOpId id, void *const argv[]);
// The result of the call that `body` answers; OPEN_E_INTERNAL when it is not
// an answer of this operation. Outputs are written only through the
// caller's arguments, never past the sizes its descriptors give.
int32_t openDecodeReply(const OpenOpDesc &op, void *const argv[], std::string_view body);
