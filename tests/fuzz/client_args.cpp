#include "tests/fuzz/client_args.h"

#include "open/wire.h"

uint32_t bufferCapacityOf(uint8_t byte) {
  constexpr uint32_t kLarge[] = {256, 528, 1024, 4096, 65536};
  constexpr uint8_t kFirstLarge = 256 - sizeof kLarge / sizeof kLarge[0];
  return byte < kFirstLarge ? byte : kLarge[byte - kFirstLarge];
}

ClientArgs::ClientArgs(const OpenOpDesc &op, uint32_t capacity) : op_(op), capacity_(capacity) {
  slots_.resize(op.argCount);
  for (uint8_t i = 0; i < op.argCount; ++i) {
    void *object = allocate(openTypeInfo(op.args[i].type).size);
    giveBuffers(op.args[i].type, object);
    slots_[i] = object;
    argv_.push_back(openArgByValue(op.args[i]) ? object : &slots_[i]);
  }
  argv_.push_back(nullptr);
}

// A block of size zero still has an address of its own, and no byte to touch.
char *ClientArgs::allocate(size_t size) {
  blocks_.emplace_back(new char[size]());
  return blocks_.back().get();
}

void ClientArgs::giveBuffers(OpenType type, void *object) {
  const OpenTypeInfo &info = openTypeInfo(type);
  if (openKindIsBuffer(info.kind)) {
    auto *desc = static_cast<open_buffdesc *>(object);
    *desc = {capacity_, allocate(capacity_)};
    buffers_.emplace_back(desc, desc->pstart);
    return;
  }
  for (uint8_t f = 0; f < info.fieldCount; ++f) {
    const OpenField &field = info.fields[f];
    for (uint32_t e = 0; e < field.length; ++e) {
      giveBuffers(field.type, static_cast<char *>(object) + field.offset + e * openTypeInfo(field.type).size);
    }
  }
}

const char *ClientArgs::buffersProblem() const {
  for (const auto &[desc, start] : buffers_) {
    if (desc->pstart != start) return "a buffer descriptor was pointed elsewhere";
    if (desc->size > capacity_) return "a buffer descriptor grew past its capacity";
  }
  return nullptr;
}

std::string ClientArgs::replyBody(int32_t rc) const {
  WireBuffer body;
  body.append(&rc, sizeof rc);
  wireEncodeOutputs(body, op_, slots_.data());
  return std::string(body.view());
}
