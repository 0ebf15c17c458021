#pragma once
// The client's side of one call on the wire: the request line it sends and
// the answer line it takes apart. Kept apart from the transport so that the
// decoder can be exercised on its own.
#include "open/openapi.h"
#include "open/opdesc.h"

// The request document for `op`, printed without a newline; the caller frees
// it. NULL when an argument the operation needs is a null pointer.
char *openEncodeRequest(const OpenOpDesc &op, void *const argv[]);
// The result of the call that `line` answers; OPEN_E_INTERNAL when the line
// is not an answer of this operation. Outputs are written only through the
// caller's arguments, never past the sizes its descriptors give.
int32_t openDecodeReply(const OpenOpDesc &op, void *const argv[], const char *line);
