#pragma once
// The wire form of OpEN arguments: one JSON document per request and per
// answer. Integers travel as decimal text so that 64-bit values stay exact;
// buffers as their size and hexadecimal bytes; addresses as family and text.
//
// request: {"op": name, "args": [one per argument; outputs carry only a buffer's capacity]}
// answer:  {"rc": n, "out": [one per output argument, or empty when nothing was produced]}
#include <cjson/cJSON.h>

#include <type_traits>
#include <vector>

#include "open/opdesc.h"

// Client side: `obj` points at the argument's native object (the integer,
// the buffer descriptor, the address or the record).
cJSON *wireEncodeRequestArg(const OpenArgDesc &arg, const void *obj);
// 0, or -1 when the answer does not fit the argument.
int wireDecodeReplyOut(const OpenArgDesc &arg, const cJSON *json, void *obj);

// Server side: the storage behind one argument of a call.
struct OpenSlot {
  alignas(8) unsigned char value[256];  // an integer, an address or a record
  std::vector<char> bytes;              // a buffer's storage
  open_buffdesc desc;
  void *object(const OpenArgDesc &arg);
  template <typename T>
  T as(const OpenArgDesc &arg) {
    if constexpr (std::is_pointer_v<T>) {
      return static_cast<T>(object(arg));
    } else {
      return *static_cast<T *>(object(arg));
    }
  }
};

// Buffers larger than this are refused as malformed.
constexpr size_t kWireMaxBuffer = 1u << 20;

int wireDecodeRequestArg(const OpenArgDesc &arg, const cJSON *json, OpenSlot &slot);
cJSON *wireEncodeReplyOut(const OpenArgDesc &arg, const void *obj);
// Human form for the call log: integers as numbers, buffers as their text up
// to the first NUL, addresses as {"family", "addr"}, records as arrays.
cJSON *wireRenderArg(const OpenArgDesc &arg, const void *obj);
// A scripted output in its human form (integers as numbers or decimal text,
// text as a string, 64-bit words as an array, bytes as hex, records as arrays).
int wireDecodeScriptedOut(const OpenArgDesc &arg, const cJSON *json, OpenSlot &slot);

// Integers of any width, as text or as a JSON number; -1 when out of range.
int wireDecodeInt(OpenType type, const cJSON *json, void *obj);
