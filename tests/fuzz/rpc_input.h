#pragma once
// The RPC fuzzer's input:
//
//   byte 0      the entry point, modulo the number of entries
//   byte 1, 2   (reply, call and stub only) operation index, little-endian,
//               modulo the number of operations
//   byte 3      (reply, call and stub only) the capacity of every buffer
//               argument on the client's side, as bufferCapacityOf reads it
//   then        the text the entry reads
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
