#include "tests/fuzz/client_args.h"

#include <cstdlib>
#include <cstring>

#include "open/wire.h"

namespace {

constexpr uint32_t kLargeCapacities[] = {256, 528, 1024, 4096, 65536};
constexpr uint8_t kFirstLargeByte = 256 - sizeof kLargeCapacities / sizeof kLargeCapacities[0];

}  // namespace

uint32_t bufferCapacityOf(uint8_t byte) {
  return byte < kFirstLargeByte ? byte : kLargeCapacities[byte - kFirstLargeByte];
}

ClientArgs::ClientArgs(const OpenOpDesc &op, uint32_t capacity) : op_(op), capacity_(capacity) {
  slots_.resize(op.argCount);
  for (uint8_t i = 0; i < op.argCount; ++i) {
    void *object = objectFor(op.args[i]);
    objects_.push_back(object);
    if (openArgByValue(op.args[i])) {
      argv_.push_back(object);
    } else {
      slots_[i] = object;
      argv_.push_back(&slots_[i]);
    }
  }
  argv_.push_back(nullptr);
}

ClientArgs::~ClientArgs() {
  for (void *block : blocks_) free(block);
}

void *ClientArgs::allocate(size_t size) {
  // malloc(0) may answer NULL; a zero-sized buffer still needs an address.
  void *block = malloc(size > 0 ? size : 1);
  if (block == nullptr) abort();
  memset(block, 0, size > 0 ? size : 1);
  blocks_.push_back(block);
  return block;
}

void *ClientArgs::objectFor(const OpenArgDesc &arg) {
  const OpenTypeInfo &type = openTypeInfo(arg.type);
  void *object = allocate(type.size);
  giveBuffers(arg.type, object);
  return object;
}

void ClientArgs::giveBuffers(OpenType type, void *object) {
  const OpenTypeInfo &info = openTypeInfo(type);
  if (openKindIsBuffer(info.kind)) {
    auto *desc = static_cast<open_buffdesc *>(object);
    desc->size = capacity_;
    desc->pstart = static_cast<char *>(allocate(capacity_));
    buffers_.push_back({desc, desc->pstart});
    return;
  }
  for (uint8_t f = 0; f < info.fieldCount; ++f) {
    const OpenField &field = info.fields[f];
    const OpenTypeInfo &member = openTypeInfo(field.type);
    if (!openKindIsBuffer(member.kind) && member.kind != OpenKind::Record) continue;
    for (uint32_t e = 0; e < field.length; ++e) {
      giveBuffers(field.type, static_cast<char *>(object) + field.offset + e * member.size);
    }
  }
}

const char *ClientArgs::buffersProblem() const {
  for (const Buffer &buffer : buffers_) {
    if (buffer.desc->pstart != buffer.start) return "a buffer descriptor was pointed elsewhere";
    if (buffer.desc->size > capacity_) return "a buffer descriptor grew past its capacity";
  }
  return nullptr;
}

std::string ClientArgs::replyBody(int32_t rc) const {
  WireBuffer body;
  body.append(&rc, sizeof rc);
  wireEncodeOutputs(body, op_, objects_.data());
  return std::string(body.view());
}

std::string ClientArgs::scriptedAnswer(int32_t rc) const { return wireWrittenAnswer(rc, op_, objects_.data(), true); }
