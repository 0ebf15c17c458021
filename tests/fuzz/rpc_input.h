#pragma once
// The RPC fuzzer's input: byte 0 picks the entry point (modulo their number); the entries that name an
// operation take its index from bytes 1 and 2 (little-endian, modulo the number of operations) and the capacity
// of the client's buffers from byte 3 (bufferCapacityOf); the rest is the text the entry reads.
#include <cstddef>
#include <cstdint>
#include <string>

#include "open/opdesc.h"

enum class RpcEntry : uint8_t {
  ClientReply,    // an answer frame's body, decoded by the client for the operation
  ServerRequest,  // a request frame's body, answered by the simulator's dispatcher
  Control,        // a control command or a call written by hand, answered by the simulator
  Stub,           // a scripted answer for the operation, then one call of it
  StateLoad,      // a state document, loaded into the simulated switch
  ServerCall,     // the arguments of a request body for the operation
};
constexpr uint8_t kRpcEntryCount = 6;

struct RpcInput {
  RpcEntry entry = RpcEntry::ClientReply;
  uint16_t op = 0;
  uint8_t capacityByte = 0;
  std::string text;

  const OpenOpDesc &operation() const { return kOpenOps[op % OPEN_OP_COUNT]; }
};

// False when the input is too short for its entry point.
bool decodeRpcInput(const uint8_t *data, size_t size, RpcInput &input);
