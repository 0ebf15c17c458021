#include "tests/fuzz/rpc_input.h"

bool decodeRpcInput(const uint8_t *data, size_t size, RpcInput &input) {
  if (size < 1) return false;
  input = RpcInput{static_cast<RpcEntry>(data[0] % kRpcEntryCount)};
  bool namesOp = input.entry == RpcEntry::ClientReply || input.entry == RpcEntry::Stub ||
                 input.entry == RpcEntry::ServerCall;
  size_t header = namesOp ? 4 : 1;
  if (size < header) return false;
  if (namesOp) {
    input.op = static_cast<uint16_t>(data[1] | data[2] << 8);
    input.capacityByte = data[3];
  }
  input.text.assign(reinterpret_cast<const char *>(data) + header, size - header);
  return true;
}
