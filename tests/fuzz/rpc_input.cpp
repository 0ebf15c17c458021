#include "tests/fuzz/rpc_input.h"

namespace {

bool namesOperation(RpcEntry entry) {
  return entry == RpcEntry::ClientReply || entry == RpcEntry::Stub || entry == RpcEntry::ServerCall;
}

}  // namespace

bool decodeRpcInput(const uint8_t *data, size_t size, RpcInput &input) {
  if (size < 1) return false;
  input = RpcInput{};
  input.entry = static_cast<RpcEntry>(data[0] % kRpcEntryCount);
  size_t header = namesOperation(input.entry) ? 4 : 1;
  if (size < header) return false;
  if (header == 4) {
    input.op = static_cast<uint16_t>(data[1] | data[2] << 8);
    input.capacityByte = data[3];
  }
  input.text.assign(reinterpret_cast<const char *>(data) + header, size - header);
  return true;
}
