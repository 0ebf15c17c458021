#pragma once
// The arguments of one OpEN operation laid out as its client stub passes them: integer inputs by value,
// everything else through a pointer to an object of its exact size, every buffer descriptor (also in records)
// pointing at a heap block of exactly its capacity, so that the sanitizer sees any write past one.
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "open/opdesc.h"

// A fuzzer's byte as a capacity: small sizes byte by byte, then the sizes
// the routes give texts, counter blocks and lists.
uint32_t bufferCapacityOf(uint8_t byte);

class ClientArgs {
 public:
  ClientArgs(const OpenOpDesc &op, uint32_t capacity);

  void *const *argv() const { return argv_.data(); }
  // NULL while every descriptor points where it did, within its capacity.
  const char *buffersProblem() const;
  // The body of the answer frame that would bring these outputs.
  std::string replyBody(int32_t rc) const;

 private:
  char *allocate(size_t size);
  void giveBuffers(OpenType type, void *object);

  const OpenOpDesc &op_;
  uint32_t capacity_;
  std::vector<std::unique_ptr<char[]>> blocks_;
  std::vector<void *> slots_, argv_;  // slots_: each argument's object, a pointer argument's pointer to it
  std::vector<std::pair<open_buffdesc *, char *>> buffers_;
};
