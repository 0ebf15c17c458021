#include "open/call_codec.h"

#include "open/wire.h"

namespace {

// Integer inputs arrive by value, so their argument's address is the object;
// everything else arrives as a pointer to it.
bool argObjects(const OpenOpDesc &op, void *const argv[], void *objects[]) {
  for (uint8_t i = 0; i < op.argCount; ++i) {
    objects[i] = openArgByValue(op.args[i]) ? argv[i] : *static_cast<void **>(argv[i]);
    if (objects[i] == nullptr) return false;
  }
  return true;
}

}  // namespace

bool openEncodeRequest(WireBuffer &out, OpenOpId id, void *const argv[]) {
  void *objects[kOpenMaxArgs + 1];
  if (!argObjects(kOpenOps[id], argv, objects)) return false;
  wireEncodeRequest(out, id, objects);
  return true;
}

int32_t openDecodeReply(const OpenOpDesc &op, void *const argv[], std::string_view body) {
  void *objects[kOpenMaxArgs + 1];
  if (!argObjects(op, argv, objects)) return OPEN_E_INTERNAL;
  return wireDecodeReply(body, op, objects);
}
