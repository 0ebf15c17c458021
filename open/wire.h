#pragma once
// The wire form of OpEN arguments: one JSON document per request and per
// answer. Integers travel as decimal text so that 64-bit values stay exact;
// buffers as their size and hexadecimal bytes; addresses as family and text;
// records as the array of their members.
//
// request: {"op": name, "args": [one per argument; outputs carry only a buffer's capacity]}
// answer:  {"rc": n, "out": [one per output argument, or empty when nothing was produced]}
#include <cjson/cJSON.h>

#include <array>
#include <deque>
#include <string_view>
#include <type_traits>
#include <vector>

#include "open/opdesc.h"

// Buffers larger than this are refused as malformed.
constexpr size_t kWireMaxBuffer = 1u << 20;

// Server side: the storage behind one argument of a call, buffers inside
// records included.
struct OpenSlot {
  std::vector<uint64_t> value;  // the argument's object: integer, descriptor, address or record
  std::deque<std::vector<char>> buffers;

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

// Client side: `obj` points at the argument's native object (the integer,
// the buffer descriptor, the address or the record).
cJSON *wireEncodeRequestArg(const OpenArgDesc &arg, const void *obj);
// 0, or -1 when the answer does not fit the argument. Never writes past the
// size that the caller described in a buffer descriptor.
int wireDecodeReplyOut(const OpenArgDesc &arg, const cJSON *json, void *obj);

int wireDecodeRequestArg(const OpenArgDesc &arg, const cJSON *json, OpenSlot &slot);
cJSON *wireEncodeReplyOut(const OpenArgDesc &arg, const void *obj);
// Human form for the call log: integers as numbers, texts up to their first
// NUL, bytes as hexadecimal, words as arrays, addresses as {"family", "addr"},
// IPv6 addresses as text, records as arrays.
cJSON *wireRenderArg(const OpenArgDesc &arg, const void *obj);
// A scripted output in the same human form (integers also as decimal text).
int wireDecodeScriptedOut(const OpenArgDesc &arg, const cJSON *json, OpenSlot &slot);

// Integers of any width, as decimal text or as a JSON number; -1 when out
// of range or not written exactly (see wireParseDecimal and wireParseJson).
int wireDecodeInt(OpenType type, const cJSON *json, void *obj);

// ---- Strict text forms, one reader each for the wire form, scripted
// answers and the state file ----

// An integer of `type` as plain decimal digits, with one leading '-' for a
// signed type only: no spaces, no '+', nothing after. 0, or -1 when the text
// is anything else or the value lies outside the type's range.
int wireParseDecimal(OpenType type, std::string_view text, void *obj);
// Two hexadecimal digits: their octet, or -1.
int wireHexOctet(char high, char low);
// Six octets of exactly two hexadecimal digits each, separated by ':', such
// as 00:11:22:5A:3B:C0.
bool wireParseMac(std::string_view text, std::array<uint8_t, 6> &mac);

// A whole JSON document, as cJSON_ParseWithOpts with a terminating NUL reads
// it, except that every number keeps the digits it was written with, so that
// wireDecodeInt reads it exactly instead of from its double. NULL when the
// text is not one document.
cJSON *wireParseJson(const char *text, const char **end = nullptr);
// A document as one line, every number that kept its digits printed with
// them; the caller frees the text.
char *wirePrintLine(const cJSON *json);
