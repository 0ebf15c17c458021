#include "sim/dispatch.h"

#include <cstring>
#include <memory>
#include <utility>

#include "open/wire.h"
#include "sim/sim_ops.h"

namespace {

struct JsonDelete {
  void operator()(cJSON *json) const { cJSON_Delete(json); }
};
using Json = std::unique_ptr<cJSON, JsonDelete>;

std::string printed(const cJSON *json) {
  char *text = cJSON_PrintUnformatted(json);
  std::string result = text ? text : "";
  free(text);
  return result;
}

using Thunk = open_error_t (*)(SimDevice &, const OpenOpDesc &, OpenSlot *);

template <typename... A, size_t... I>
open_error_t invokeWith(open_error_t (*fn)(SimDevice &, A...), SimDevice &sw, const OpenOpDesc &op,
                        OpenSlot *slots, std::index_sequence<I...>) {
  return fn(sw, slots[I].template as<A>(op.args[I])...);
}

template <typename... A>
open_error_t invoke(open_error_t (*fn)(SimDevice &, A...), SimDevice &sw, const OpenOpDesc &op, OpenSlot *slots) {
  return invokeWith(fn, sw, op, slots, std::index_sequence_for<A...>{});
}

const Thunk kThunks[OPEN_OP_COUNT] = {
#define OPEN_OP(kind, name, ...) \
  [](SimDevice &sw, const OpenOpDesc &op, OpenSlot *slots) { return invoke(sim::name, sw, op, slots); },
#include "open/open_ops.def"
#undef OPEN_OP
};

std::string replyLine(int rc, cJSON *outs) {
  Json reply(cJSON_CreateObject());
  cJSON_AddNumberToObject(reply.get(), "rc", rc);
  cJSON_AddItemToObject(reply.get(), "out", outs ? outs : cJSON_CreateArray());
  return printed(reply.get());
}

cJSON *encodeOutputs(const OpenOpDesc &op, OpenSlot *slots) {
  cJSON *outs = cJSON_CreateArray();
  for (uint8_t i = 0; i < op.argCount; ++i) {
    if (openArgIsOutput(op.args[i])) {
      cJSON_AddItemToArray(outs, wireEncodeReplyOut(op.args[i], slots[i].object(op.args[i])));
    }
  }
  return outs;
}

// A long text keeps its first bytes (never half a UTF-8 character) and
// says how long it was, so that a megabyte argument costs the log a line.
void cutLongTexts(cJSON *json) {
  if (cJSON_IsString(json)) {
    size_t length = strlen(json->valuestring);
    if (length <= SimDispatcher::kCallLogTextLimit) return;
    size_t keep = SimDispatcher::kCallLogTextLimit;
    while (keep > 0 && (static_cast<unsigned char>(json->valuestring[keep]) & 0xC0) == 0x80) --keep;
    std::string cut = std::string(json->valuestring, keep) + "[cut, " + std::to_string(length) + " bytes in all]";
    cJSON_SetValuestring(json, cut.c_str());
    return;
  }
  for (cJSON *child = json->child; child != nullptr; child = child->next) cutLongTexts(child);
}

const OpenOpDesc *findOperation(const char *opName, std::string &error) {
  const OpenOpDesc *op = openOpFind(opName);
  if (op == nullptr) error = std::string("unknown operation: ") + opName;
  return op;
}

}  // namespace

std::string SimDispatcher::call(const char *requestLine) {
  Json request(wireParseJson(requestLine));
  const cJSON *name = cJSON_GetObjectItemCaseSensitive(request.get(), "op");
  const cJSON *args = cJSON_GetObjectItemCaseSensitive(request.get(), "args");
  const OpenOpDesc *op = cJSON_IsString(name) ? openOpFind(name->valuestring) : nullptr;
  if (op == nullptr || !cJSON_IsArray(args) || cJSON_GetArraySize(args) != op->argCount) {
    return replyLine(OPEN_E_PARAM, nullptr);
  }
  std::lock_guard<std::mutex> lock(mutex_);
  int rc = 0;
  cJSON *logIn = cJSON_CreateArray();
  std::string reply = dispatch(*op, static_cast<OpenOpId>(op - kOpenOps), args, &rc, logIn);
  logCall(op->name, logIn, rc);
  return reply;
}

std::string SimDispatcher::dispatch(const OpenOpDesc &op, OpenOpId id, const cJSON *args, int *rc,
                                    cJSON *logIn) {
  std::unique_ptr<OpenSlot[]> slots(new OpenSlot[op.argCount > 0 ? op.argCount : 1]);
  const cJSON *item = args->child;
  bool malformed = false;
  for (uint8_t i = 0; i < op.argCount; ++i, item = item->next) {
    malformed = malformed || wireDecodeRequestArg(op.args[i], item, slots[i]) != 0;
    if (!malformed && openArgIsInput(op.args[i])) {
      cJSON_AddItemToArray(logIn, wireRenderArg(op.args[i], slots[i].object(op.args[i])));
    }
  }
  std::string scripted;
  if (malformed) {
    *rc = OPEN_E_PARAM;
    return replyLine(*rc, nullptr);
  }
  if (takeScript(id, scripted, rc)) return scripted;
  *rc = kThunks[id](sw_, op, slots.get());
  return replyLine(*rc, encodeOutputs(op, slots.get()));
}

bool SimDispatcher::takeScript(OpenOpId id, std::string &replyLine, int *rc) {
  Script &script = scripts_[id];
  if (script.remaining == 0) return false;
  if (script.remaining > 0) --script.remaining;
  replyLine = script.replyLine;
  *rc = script.rc;
  return true;
}

void SimDispatcher::logCall(const char *opName, cJSON *logIn, int rc) {
  Json entry(cJSON_CreateObject());
  cJSON_AddStringToObject(entry.get(), "op", opName);
  cJSON_AddItemToObject(entry.get(), "in", logIn);
  cJSON_AddNumberToObject(entry.get(), "rc", rc);
  cutLongTexts(logIn);
  callLog_.push_back(printed(entry.get()) + "\n");
  callLogBytes_ += callLog_.back().size();
  while (callLog_.size() > kCallLogLimit || callLogBytes_ > kCallLogByteBudget) {
    callLogBytes_ -= callLog_.front().size();
    callLog_.pop_front();
  }
}

int SimDispatcher::setFault(const char *opName, int rc, long count, std::string &error) {
  const OpenOpDesc *op = findOperation(opName, error);
  if (op == nullptr) return -1;
  std::lock_guard<std::mutex> lock(mutex_);
  scripts_[op - kOpenOps] = Script{count < 0 ? -1 : count, rc, replyLine(rc, nullptr)};
  return 0;
}

int SimDispatcher::setStub(const char *opName, const cJSON *answer, long count, std::string &error) {
  const OpenOpDesc *op = findOperation(opName, error);
  if (op == nullptr) return -1;
  const cJSON *rcItem = cJSON_GetObjectItemCaseSensitive(answer, "rc");
  const cJSON *outs = cJSON_GetObjectItemCaseSensitive(answer, "out");
  int32_t rc = 0;
  if (!cJSON_IsObject(answer) || wireDecodeInt(OPEN_TYPE_I32, rcItem, &rc) != 0) {
    error = "a scripted answer needs an integer \"rc\"";
    return -1;
  }
  int outputs = 0;
  for (uint8_t i = 0; i < op->argCount; ++i) outputs += openArgIsOutput(op->args[i]) ? 1 : 0;
  int given = cJSON_IsArray(outs) ? cJSON_GetArraySize(outs) : (outs == nullptr ? 0 : -1);
  if (given != outputs && !(given == 0 && rc != 0)) {
    error = std::string(op->name) + " has " + std::to_string(outputs) + " output(s); \"out\" must list them in order";
    return -1;
  }
  std::unique_ptr<OpenSlot[]> slots(new OpenSlot[op->argCount > 0 ? op->argCount : 1]);
  cJSON *encoded = cJSON_CreateArray();
  const cJSON *item = given > 0 ? outs->child : nullptr;
  for (uint8_t i = 0; i < op->argCount && item != nullptr; ++i) {
    if (!openArgIsOutput(op->args[i])) continue;
    if (wireDecodeScriptedOut(op->args[i], item, slots[i]) != 0) {
      cJSON_Delete(encoded);
      error = std::string("output \"") + op->args[i].name + "\" of " + op->name + " is not a valid " +
              openTypeInfo(op->args[i].type).name;
      return -1;
    }
    cJSON_AddItemToArray(encoded, wireEncodeReplyOut(op->args[i], slots[i].object(op->args[i])));
    item = item->next;
  }
  std::lock_guard<std::mutex> lock(mutex_);
  scripts_[op - kOpenOps] = Script{count < 0 ? -1 : count, rc, replyLine(rc, encoded)};
  return 0;
}

void SimDispatcher::clearScripts() {
  std::lock_guard<std::mutex> lock(mutex_);
  for (Script &script : scripts_) script = Script{};
}

std::string SimDispatcher::callLogLines() {
  std::lock_guard<std::mutex> lock(mutex_);
  std::string lines;
  lines.reserve(callLogBytes_);
  for (const std::string &line : callLog_) lines += line;
  return lines;
}

void SimDispatcher::clearCallLog() {
  std::lock_guard<std::mutex> lock(mutex_);
  callLog_.clear();
  callLogBytes_ = 0;
}
