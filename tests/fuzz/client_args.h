#pragma once
// The arguments of one OpEN operation laid out as its client stub passes
// them: an argument vector of addresses, integer inputs by value, every
// other argument through a pointer to an object of its exact size, buffer
// descriptors (also inside records) pointing at heap blocks of exactly the
// capacity they describe, so that the sanitizer sees any write past one.
#include <cstdint>
#include <string>
#include <vector>

#include "open/opdesc.h"

// The capacity a fuzzer's byte gives every buffer: small sizes byte by byte,
// then the sizes the routes use for texts, counter blocks and lists.
uint32_t bufferCapacityOf(uint8_t byte);

class ClientArgs {
 public:
  ClientArgs(const OpenOpDesc &op, uint32_t capacity);
  ~ClientArgs();
  ClientArgs(const ClientArgs &) = delete;
  ClientArgs &operator=(const ClientArgs &) = delete;

  void *const *argv() const { return argv_.data(); }
  // NULL while every buffer still points where it did and describes no more
  // than its capacity; otherwise what changed.
  const char *buffersProblem() const;
  // The body of the answer frame that would bring these outputs.
  std::string replyBody(int32_t rc) const;
  // The outputs in the written form of a scripted answer (opensimctl stub):
  // {"rc": rc, "out": [...]}.
  std::string scriptedAnswer(int32_t rc) const;

 private:
  struct Buffer {
    open_buffdesc *desc;
    char *start;
  };
  void *allocate(size_t size);
  void *objectFor(const OpenArgDesc &arg);
  void giveBuffers(OpenType type, void *object);

  const OpenOpDesc &op_;
  uint32_t capacity_;
  std::vector<void *> blocks_;
  std::vector<void *> slots_;   // where each pointer argument's pointer lives
  std::vector<void *> argv_;
  std::vector<void *> objects_;  // each argument's object
  std::vector<Buffer> buffers_;
};
