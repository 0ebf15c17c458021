#pragma once
// How OpEN arguments travel, both forms derived from the descriptors of
// opdesc.h:
//
// The binary frame between our client and the simulated switch, one per
// request and one per answer:
//   frame    magic (4 bytes) | length of the body (u32) | body
//   request  operation index (u16) | its signature (u32) | every argument
//   answer   result (i32) | every output, or none at all (a refusal)
// Integers are little-endian at their type's width. A buffer is its size
// (u32), then the number of bytes that follow (u32) and the bytes; an
// address its family (u32) and 16 bytes; an IPv6 address 16 bytes; a record
// its members in order, an array member as the number of elements that
// follow (u32, cut after its last non-zero element) and the elements. An
// output on its way to the server carries only its buffers' sizes.
//
// The written form, for people: the call log, scripted answers and calls
// typed by hand. Integers as numbers, texts up to their first NUL, bytes as
// hexadecimal, words as arrays, addresses as {"family", "addr"}, IPv6
// addresses as text, records as arrays.
#include <cjson/cJSON.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "open/opdesc.h"

// Buffers larger than this are refused as malformed.
constexpr size_t kWireMaxBuffer = 1u << 20;

// ---- Frames ----

constexpr char kWireMagic[4] = {'\xF5', 'O', 'W', '1'};  // never the start of a text line
constexpr size_t kWireHeaderSize = 8;
// Longest body: a request of several buffers of kWireMaxBuffer fits.
constexpr size_t kWireMaxBody = 8u << 20;

// The bytes of frames being written. Growing it never throws, since the
// client runs where no exception may pass: when memory runs out it keeps
// what it had, says so, and the frame is not sent.
class WireBuffer {
 public:
  WireBuffer() = default;
  WireBuffer(const WireBuffer &) = delete;
  WireBuffer &operator=(const WireBuffer &) = delete;

  void append(const void *bytes, size_t count);
  char *data() { return data_; }
  const char *data() const { return data_; }
  size_t size() const { return size_; }
  bool failed() const { return failed_; }
  std::string_view view() const { return {data_, size_}; }

 private:
  char inline_[256];
  std::unique_ptr<char[]> heap_;
  char *data_ = inline_;
  size_t size_ = 0;
  size_t capacity_ = sizeof inline_;
  bool failed_ = false;
};

// Starts a frame at the end of `out`; wireEndFrame writes its length.
void wireBeginFrame(WireBuffer &out);
void wireEndFrame(WireBuffer &out, size_t frameStart);
// The body length announced by the kWireHeaderSize bytes at `header`, or -1
// when they are no frame header or announce more than kWireMaxBody.
long wireBodyLength(const char *header);

// The buffers an argument's objects point at on the simulator's side.
using OpenStorage = std::vector<std::unique_ptr<char[]>>;

// Simulator side: the arguments of one call, each object zero-filled and of
// its type's size, and the buffers they come to point at.
class OpenCallArgs {
 public:
  explicit OpenCallArgs(const OpenOpDesc &op);
  OpenCallArgs(const OpenCallArgs &) = delete;
  OpenCallArgs &operator=(const OpenCallArgs &) = delete;

  const OpenOpDesc &op() const { return op_; }
  void *object(size_t i) const { return objects_[i]; }
  void *const *objects() const { return objects_; }
  OpenStorage &storage() { return storage_; }
  // The argument as the operation's prototype takes it.
  template <typename T>
  T as(size_t i) const {
    if constexpr (std::is_pointer_v<T>) {
      return static_cast<T>(objects_[i]);
    } else {
      return *static_cast<T *>(objects_[i]);
    }
  }

 private:
  const OpenOpDesc &op_;
  alignas(std::max_align_t) unsigned char inline_[256];
  std::unique_ptr<unsigned char[]> heap_;  // as aligned as new makes any block
  void *objects_[kOpenMaxArgs + 1] = {};
  OpenStorage storage_;
};

// `objects[i]` is argument i's native object (the integer, the buffer
// descriptor, the address or the record).
// Client: the request frame of operation `id`.
void wireEncodeRequest(WireBuffer &out, OpenOpId id, void *const objects[]);
// Simulator: the operation a request body names, its inputs decoded into
// `args` (made for that operation); NULL when the body is malformed, names
// no operation, or one of another signature.
const OpenOpDesc *wireRequestedOperation(std::string_view body);
int wireDecodeRequest(std::string_view body, OpenCallArgs &args);
// Simulator: the answer frame; with `args` NULL, a refusal without outputs.
void wireEncodeReply(WireBuffer &out, int32_t rc, const OpenCallArgs *args);
// Its body: the result and, with `args`, the outputs.
void wireEncodeReplyBody(WireBuffer &out, int32_t rc, const OpenCallArgs *args);
// The outputs of an answer body from the objects of `op`'s arguments.
void wireEncodeOutputs(WireBuffer &out, const OpenOpDesc &op, void *const objects[]);
// Client: the result an answer body carries, OPEN_E_INTERNAL when it is not
// an answer of `op`. Outputs are written only through `objects`, never past
// the sizes the caller's descriptors give; a refusal leaves them untouched.
int32_t wireDecodeReply(std::string_view body, const OpenOpDesc &op, void *const objects[]);
// Simulator side of an answer (as a test or a fuzzer reads it): outputs into
// `args` with storage of their own.
int32_t wireDecodeReplyInto(std::string_view body, OpenCallArgs &args);

// ---- The written form ----

// Appends the argument's written form; a text (any string of it) longer than
// `textLimit` bytes keeps its first bytes, never half a UTF-8 character,
// followed by "[cut, N bytes in all]".
void wireRender(std::string &out, const OpenArgDesc &arg, const void *obj, size_t textLimit = SIZE_MAX);
// Appends `text` as a JSON string, escaped as cJSON escapes it.
void wireRenderString(std::string &out, std::string_view text, size_t textLimit = SIZE_MAX);
// {"rc": rc, "out": [the outputs in their written form]}, the outputs left
// out when there are none (a refusal).
std::string wireWrittenAnswer(int32_t rc, const OpenOpDesc &op, void *const objects[], bool withOutputs);
// Reads an argument in its written form (integers also as decimal text)
// into `obj`, its buffers taken from `storage`. 0, or -1 when it is not one.
int wireDecodeWritten(const OpenArgDesc &arg, const cJSON *json, void *obj, OpenStorage &storage);

// Integers of any width, as decimal text or as a JSON number; -1 when out
// of range or not written as plain digits (see wireParseDecimal and
// wireParseJson).
int wireDecodeInt(OpenType type, const cJSON *json, void *obj);

// ---- Strict text forms, one reader each for the written form, scripted
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
