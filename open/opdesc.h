#pragma once
// Descriptors of the OpEN operations and argument types, derived from
// open_ops.def and open_records.def: what the client marshals, what the
// simulator dispatches, logs and scripts.
#include <cstddef>
#include <cstdint>

#include "open/openapi.h"

enum class OpenDir : uint8_t { In, Out, InOut };

enum class OpenKind : uint8_t { Int, Buf, Addr, Record };

enum OpenType : uint8_t {
  OPEN_TYPE_U8,
  OPEN_TYPE_U32,
  OPEN_TYPE_I32,
  OPEN_TYPE_U64,
  OPEN_TYPE_TXT,
  OPEN_TYPE_W64,
  OPEN_TYPE_BIN,
  OPEN_TYPE_ADDR,
#define OPEN_RECORD(tag, ctype, ...) OPEN_TYPE_##tag,
#include "open/open_records.def"
#undef OPEN_RECORD
  OPEN_TYPE_COUNT
};

struct OpenField {
  OpenType type;
  uint16_t offset;
};

struct OpenTypeInfo {
  const char *name;
  OpenKind kind;
  uint8_t size;       // bytes of an integer or of the record
  bool isSigned;
  const OpenField *fields;  // records only
  uint8_t fieldCount;
};

struct OpenArgDesc {
  OpenDir dir;
  OpenType type;
  const char *name;
};

struct OpenOpDesc {
  const char *name;  // interface name, without the client library's prefix
  uint8_t argCount;  // after the client handle
  const OpenArgDesc *args;
};

enum OpenOpId : uint16_t {
#define OPEN_OP(kind, name, ...) OPEN_OPID_##name,
#include "open/open_ops.def"
#undef OPEN_OP
  OPEN_OP_COUNT
};

extern const OpenOpDesc kOpenOps[OPEN_OP_COUNT];
const OpenTypeInfo &openTypeInfo(OpenType type);
// NULL when no operation has that interface name.
const OpenOpDesc *openOpFind(const char *name);

// Inputs travel by value; outputs, buffers and addresses by pointer.
inline bool openArgByValue(const OpenArgDesc &arg) {
  OpenKind kind = openTypeInfo(arg.type).kind;
  return arg.dir == OpenDir::In && (kind == OpenKind::Int || kind == OpenKind::Record);
}
inline bool openArgIsInput(const OpenArgDesc &arg) { return arg.dir != OpenDir::Out; }
inline bool openArgIsOutput(const OpenArgDesc &arg) { return arg.dir != OpenDir::In; }
