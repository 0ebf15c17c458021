#include "sim/dispatch.h"

#include <cstring>
#include <utility>

#include "open/wire.h"
#include "sim/sim_ops.h"

namespace {

using Thunk = open_error_t (*)(SimDevice &, const OpenCallArgs &);

template <typename... A, size_t... I>
open_error_t invokeWith(open_error_t (*fn)(SimDevice &, A...), SimDevice &sw, const OpenCallArgs &args,
                        std::index_sequence<I...>) {
  return fn(sw, args.template as<A>(I)...);
}

template <typename... A>
open_error_t invoke(open_error_t (*fn)(SimDevice &, A...), SimDevice &sw, const OpenCallArgs &args) {
  return invokeWith(fn, sw, args, std::index_sequence_for<A...>{});
}

const Thunk kThunks[OPEN_OP_COUNT] = {
#define OPEN_OP(kind, name, ...) [](SimDevice &sw, const OpenCallArgs &args) { return invoke(sim::name, sw, args); },
#include "open/open_ops.def"
#undef OPEN_OP
};

OpenOpId idOf(const OpenOpDesc &op) { return static_cast<OpenOpId>(&op - kOpenOps); }

// The call log's entry up to its result: the operation and its inputs as
// they came, before the operation changes those that are also outputs. A
// long text keeps its first bytes and says how long it was, so that a
// megabyte argument costs the log a line.
std::string logEntryOf(const OpenCallArgs &args) {
  const OpenOpDesc &op = args.op();
  std::string entry;
  entry.reserve(128);
  entry += "{\"op\":";
  wireRenderString(entry, op.name);
  entry += ",\"in\":[";
  bool first = true;
  for (uint8_t i = 0; i < op.argCount; ++i) {
    if (!openArgIsInput(op.args[i])) continue;
    if (!first) entry += ',';
    first = false;
    wireRender(entry, op.args[i], args.object(i), SimDispatcher::kCallLogTextLimit);
  }
  entry += "],\"rc\":";
  return entry;
}

const OpenOpDesc *findOperation(const char *opName, std::string &error) {
  const OpenOpDesc *op = openOpFind(opName);
  if (op == nullptr) error = std::string("unknown operation: ") + opName;
  return op;
}

// Every buffer of an output, records' included, gets `capacity` bytes.
void giveBuffers(OpenType type, void *obj, uint32_t capacity, OpenStorage &storage) {
  const OpenTypeInfo &info = openTypeInfo(type);
  if (openKindIsBuffer(info.kind)) {
    auto *desc = static_cast<open_buffdesc *>(obj);
    storage.emplace_back(new char[capacity > 0 ? capacity : 1]());
    *desc = {capacity, storage.back().get()};
    return;
  }
  for (uint8_t f = 0; f < info.fieldCount; ++f) {
    const OpenField &field = info.fields[f];
    for (uint32_t e = 0; e < field.length; ++e) {
      giveBuffers(field.type, static_cast<char *>(obj) + field.offset + e * openTypeInfo(field.type).size,
                  capacity, storage);
    }
  }
}

// The arguments of a call written by hand; -1 with `error`.
int writtenArguments(const OpenOpDesc &op, const cJSON *inputs, OpenCallArgs &args, std::string &error) {
  int expected = 0;
  for (uint8_t i = 0; i < op.argCount; ++i) expected += openArgIsInput(op.args[i]) ? 1 : 0;
  if (!cJSON_IsArray(inputs) || cJSON_GetArraySize(inputs) != expected) {
    error = std::string(op.name) + " has " + std::to_string(expected) + " input(s); \"in\" must list them in order";
    return -1;
  }
  const cJSON *item = inputs->child;
  for (uint8_t i = 0; i < op.argCount; ++i) {
    const OpenArgDesc &arg = op.args[i];
    if (!openArgIsInput(arg)) {
      giveBuffers(arg.type, args.object(i), SimDispatcher::kWrittenCallCapacity, args.storage());
      continue;
    }
    if (wireDecodeWritten(arg, item, args.object(i), args.storage()) != 0) {
      error = std::string("input \"") + arg.name + "\" of " + op.name + " is not a valid " + openTypeInfo(arg.type).name;
      return -1;
    }
    item = item->next;
  }
  return 0;
}

void refuse(std::string &reply) {
  WireBuffer frame;
  wireEncodeReply(frame, OPEN_E_PARAM, nullptr);
  reply.append(frame.data(), frame.size());
}

// {"rc": n, "out": [...]} of an answer frame.
std::string writtenAnswer(const OpenOpDesc &op, std::string_view reply) {
  std::string_view body = reply.substr(kWireHeaderSize);
  OpenCallArgs outputs(op);
  int32_t rc = wireDecodeReplyInto(body, outputs);
  return wireWrittenAnswer(rc, op, outputs.objects(), body.size() > sizeof rc);
}

}  // namespace

void SimDispatcher::call(std::string_view request, std::string &reply) {
  const OpenOpDesc *op = wireRequestedOperation(request);
  if (op == nullptr) return refuse(reply);
  OpenCallArgs args(*op);
  if (wireDecodeRequest(request, args) != 0) return refuse(reply);
  WireBuffer frame;
  std::string entry = logEntryOf(args);
  std::lock_guard<std::mutex> lock(mutex_);
  int32_t rc = 0;
  if (const Script *script = takeScript(idOf(*op))) {
    wireBeginFrame(frame);
    frame.append(script->replyBody.data(), script->replyBody.size());
    wireEndFrame(frame, 0);
    memcpy(&rc, script->replyBody.data(), sizeof rc);
  } else {
    rc = kThunks[idOf(*op)](sw_, args);
    wireEncodeReply(frame, rc, &args);
  }
  reply.append(frame.data(), frame.size());
  logCall(entry, rc);
}

int SimDispatcher::callWritten(const cJSON *request, std::string &answer) {
  const cJSON *name = cJSON_GetObjectItemCaseSensitive(request, "op");
  const OpenOpDesc *op = cJSON_IsString(name) ? findOperation(name->valuestring, answer) : nullptr;
  if (op == nullptr) {
    if (answer.empty()) answer = "\"op\" must name an operation";
    return -1;
  }
  OpenCallArgs args(*op);
  if (writtenArguments(*op, cJSON_GetObjectItemCaseSensitive(request, "in"), args, answer) != 0) return -1;
  WireBuffer frame;
  std::string reply;
  wireEncodeRequest(frame, idOf(*op), args.objects());
  call(frame.view().substr(kWireHeaderSize), reply);
  answer = writtenAnswer(*op, reply);
  return 0;
}

const SimDispatcher::Script *SimDispatcher::takeScript(OpenOpId id) {
  Script &script = scripts_[id];
  if (script.remaining == 0) return nullptr;
  if (script.remaining > 0) --script.remaining;
  return &script;
}

void SimDispatcher::logCall(std::string &entry, int32_t rc) {
  entry += std::to_string(rc);
  entry += "}\n";
  callLogBytes_ += entry.size();
  callLog_.push_back(std::move(entry));
  while (callLog_.size() > kCallLogLimit || callLogBytes_ > kCallLogByteBudget) {
    callLogBytes_ -= callLog_.front().size();
    callLog_.pop_front();
  }
}

int SimDispatcher::setFault(const char *opName, int rc, long count, std::string &error) {
  const OpenOpDesc *op = findOperation(opName, error);
  if (op == nullptr) return -1;
  WireBuffer body;
  wireEncodeReplyBody(body, rc, nullptr);
  std::lock_guard<std::mutex> lock(mutex_);
  scripts_[idOf(*op)] = Script{count < 0 ? -1 : count, std::string(body.view())};
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
  OpenCallArgs args(*op);
  const cJSON *item = given > 0 ? outs->child : nullptr;
  for (uint8_t i = 0; i < op->argCount && item != nullptr; ++i) {
    if (!openArgIsOutput(op->args[i])) continue;
    if (wireDecodeWritten(op->args[i], item, args.object(i), args.storage()) != 0) {
      error = std::string("output \"") + op->args[i].name + "\" of " + op->name + " is not a valid " +
              openTypeInfo(op->args[i].type).name;
      return -1;
    }
    item = item->next;
  }
  WireBuffer body;
  wireEncodeReplyBody(body, rc, given > 0 ? &args : nullptr);
  std::lock_guard<std::mutex> lock(mutex_);
  scripts_[idOf(*op)] = Script{count < 0 ? -1 : count, std::string(body.view())};
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
