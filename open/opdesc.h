#pragma once
// Descriptors of the OpEN operations and argument types, derived from
// open_ops.def, open_types.def and open_records.def: what the client
// marshals, what the simulator dispatches, logs and scripts.
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "open/openapi.h"

enum class OpenDir : uint8_t { In, Out, InOut };

enum class OpenKind : uint8_t { Int, Text, Words, Bytes, Addr, In6, Record };

enum OpenType : uint8_t {
#define OPEN_TYPE(tag, ctype, kind) OPEN_TYPE_##tag,
#include "open/open_types.def"
#undef OPEN_TYPE
#define OPEN_RECORD(tag, ctype, ...) OPEN_TYPE_##tag,
#include "open/open_records.def"
#undef OPEN_RECORD
  OPEN_TYPE_COUNT
};

struct OpenField {
  OpenType type;
  const char *name;
  uint32_t offset;
  uint32_t length;  // elements: 1, or the length of an array member
};

struct OpenTypeInfo {
  const char *name;
  OpenKind kind;
  uint32_t size;  // bytes of the C type
  bool isSigned;
  const OpenField *fields;  // records only
  uint8_t fieldCount;
};

inline bool openKindIsBuffer(OpenKind kind) {
  return kind == OpenKind::Text || kind == OpenKind::Words || kind == OpenKind::Bytes;
}

struct OpenArgDesc {
  OpenDir dir;
  OpenType type;
  const char *name;
};

struct OpenOpDesc {
  const char *name;  // interface name, without the client library's prefix
  uint8_t argCount;  // after the client handle
  const OpenArgDesc *args;
  // A hash of the operation's declaration and of every type and record it
  // may use: client and server built from different lists disagree on it.
  uint32_t signature;
};

enum OpenOpId : uint16_t {
#define OPEN_OP(kind, name, ...) OPEN_OPID_##name,
#include "open/open_ops.def"
#undef OPEN_OP
  OPEN_OP_COUNT
};

extern const OpenOpDesc kOpenOps[OPEN_OP_COUNT];

// The most arguments any operation has.
inline constexpr uint8_t kOpenMaxArgs = [] {
  uint8_t most = 0;
  for (uint8_t count : {
#define OPEN_OP(kind, name, ...) static_cast<uint8_t>(OPEN_NARGS(__VA_ARGS__)),
#include "open/open_ops.def"
#undef OPEN_OP
       }) {
    most = count > most ? count : most;
  }
  return most;
}();
const OpenTypeInfo &openTypeInfo(OpenType type);
// NULL when no operation has that interface name.
const OpenOpDesc *openOpFind(const char *name);

// Integer inputs travel by value; everything else by pointer.
inline bool openArgByValue(const OpenArgDesc &arg) {
  return arg.dir == OpenDir::In && openTypeInfo(arg.type).kind == OpenKind::Int;
}
inline bool openArgIsInput(const OpenArgDesc &arg) { return arg.dir != OpenDir::Out; }
inline bool openArgIsOutput(const OpenArgDesc &arg) { return arg.dir != OpenDir::In; }
