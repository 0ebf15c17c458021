#include "open/call_codec.h"

#include <cjson/cJSON.h>

#include <memory>

#include "open/wire.h"

namespace {

struct JsonDelete {
  void operator()(cJSON *json) const { cJSON_Delete(json); }
};
using CJson = std::unique_ptr<cJSON, JsonDelete>;

void *argObject(const OpenArgDesc &arg, void *argAddress) {
  return openArgByValue(arg) ? argAddress : *static_cast<void **>(argAddress);
}

}  // namespace

char *openEncodeRequest(const OpenOpDesc &op, void *const argv[]) {
  CJson request(cJSON_CreateObject());
  cJSON_AddStringToObject(request.get(), "op", op.name);
  cJSON *args = cJSON_AddArrayToObject(request.get(), "args");
  for (uint8_t i = 0; i < op.argCount; ++i) {
    void *obj = argObject(op.args[i], argv[i]);
    if (obj == nullptr) return nullptr;
    cJSON_AddItemToArray(args, wireEncodeRequestArg(op.args[i], obj));
  }
  return cJSON_PrintUnformatted(request.get());
}

int32_t openDecodeReply(const OpenOpDesc &op, void *const argv[], const char *line) {
  CJson reply(wireParseJson(line));
  const cJSON *rc = cJSON_GetObjectItemCaseSensitive(reply.get(), "rc");
  int32_t result = 0;
  if (wireDecodeInt(OPEN_TYPE_I32, rc, &result) != 0) return OPEN_E_INTERNAL;
  const cJSON *outs = cJSON_GetObjectItemCaseSensitive(reply.get(), "out");
  const cJSON *item = cJSON_IsArray(outs) ? outs->child : nullptr;
  // A refusal may come without outputs; then the caller's outputs stay untouched.
  for (uint8_t i = 0; i < op.argCount && item != nullptr; ++i) {
    if (!openArgIsOutput(op.args[i])) continue;
    if (wireDecodeReplyOut(op.args[i], item, argObject(op.args[i], argv[i])) != 0) return OPEN_E_INTERNAL;
    item = item->next;
  }
  return result;
}
