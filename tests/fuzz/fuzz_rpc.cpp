// libFuzzer target: the OpEN wire form from both ends, and the simulator's
// control side. The first byte picks the entry point (rpc_input.h); the
// rest is the text it reads. Besides the sanitizers, each entry checks what
// its reader promises (a reply the client can read, a stub that answers as
// scripted, a load that is whole or nothing) and aborts when it does not.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "open/call_codec.h"
#include "open/wire.h"
#include "sim/control.h"
#include "sim/device.h"
#include "sim/dispatch.h"
#include "tests/fuzz/client_args.h"
#include "tests/fuzz/file_guard.h"
#include "tests/fuzz/rpc_input.h"
#include "tests/fuzz/sandbox.h"
#include "tools/raii.h"

namespace {

// Long enough after boot for every default counter's history; frozen, so
// that two dumps of the same state are the same text.
constexpr int64_t kFrozenNanos = 200000 * kNanosPerSecond;
// What the routes give most texts.
constexpr uint32_t kRouteTextCapacity = 256;

struct Harness {
  FuzzSandbox sandbox;
  std::string statePath;
  SimDevice device{[] { return kFrozenNanos; }};
  SimDispatcher dispatcher{device};
  std::string defaultDump;
};

Harness *harness = nullptr;

[[noreturn]] void fail(const char *entry, const std::string &problem, const std::string &text) {
  fprintf(stderr, "fuzz_rpc (%s): %s\n  input: %s\n", entry, problem.c_str(), text.c_str());
  abort();
}

std::string printed(const cJSON *json) {
  CText text(cJSON_PrintUnformatted(json));
  return text ? text.get() : "";
}

std::string dumpState() {
  JsonPtr state(harness->dispatcher.withSwitch([](SimDevice &sw) { return sw.toJson(); }));
  return printed(state.get());
}

int loadState(const cJSON *state, std::string &error) {
  return harness->dispatcher.withSwitch([&](SimDevice &sw) { return sw.fromJson(state, error); });
}

// The reply, decoded again after encoding what the first decode wrote, must
// come out the same: the client reads what the server's encoder writes.
void checkClientRoundTrip(const OpenOpDesc &op, uint32_t capacity, const ClientArgs &args, int32_t rc,
                          const std::string &line) {
  std::string again = args.replyLine(rc);
  ClientArgs fresh(op, capacity);
  int32_t rcAgain = openDecodeReply(op, fresh.argv(), again.c_str());
  if (rcAgain != rc || fresh.replyLine(rc) != again) {
    fail("reply", std::string(op.name) + ": the outputs do not survive encoding and decoding: " + again, line);
  }
}

void clientReply(const RpcInput &input) {
  const OpenOpDesc &op = input.operation();
  uint32_t capacity = bufferCapacityOf(input.capacityByte);
  ClientArgs args(op, capacity);
  int32_t rc = openDecodeReply(op, args.argv(), input.text.c_str());
  if (const char *problem = args.buffersProblem()) fail("reply", std::string(op.name) + ": " + problem, input.text);
  checkClientRoundTrip(op, capacity, args, rc, input.text);
}

// 0 with the answer's result, or -1 when it is no OpEN answer.
int answerResult(const std::string &reply, int32_t *rc) {
  JsonPtr answer(cJSON_ParseWithOpts(reply.c_str(), nullptr, 1));
  const cJSON *out = cJSON_GetObjectItemCaseSensitive(answer.get(), "out");
  if (!cJSON_IsArray(out)) return -1;
  return wireDecodeInt(OPEN_TYPE_I32, cJSON_GetObjectItemCaseSensitive(answer.get(), "rc"), rc);
}

const OpenOpDesc *requestedOperation(const std::string &line) {
  JsonPtr request(cJSON_ParseWithOpts(line.c_str(), nullptr, 1));
  const cJSON *name = cJSON_GetObjectItemCaseSensitive(request.get(), "op");
  return cJSON_IsString(name) ? openOpFind(name->valuestring) : nullptr;
}

// Whatever the simulator answers a request, the client of that operation
// reads, with buffers of any capacity.
void answerRequestLine(const char *entry, const std::string &line, uint32_t capacity) {
  if (callsFileWriter(line)) return;
  std::string reply = harness->dispatcher.call(line.c_str());
  int32_t rc = 0;
  if (answerResult(reply, &rc) != 0) fail(entry, "the answer is no OpEN answer: " + reply, line);
  const OpenOpDesc *op = requestedOperation(line);
  if (op == nullptr) return;
  ClientArgs args(*op, capacity);
  if (openDecodeReply(*op, args.argv(), reply.c_str()) != rc) {
    fail(entry, std::string(op->name) + ": the client cannot read the answer " + reply, line);
  }
}

void serverRequest(const RpcInput &input) { answerRequestLine("request", input.text, kRouteTextCapacity); }

void serverCall(const RpcInput &input) {
  std::string line = std::string(R"({"op":")") + input.operation().name + R"(","args":)" + input.text + "}";
  answerRequestLine("call", line, bufferCapacityOf(input.capacityByte));
}

void control(const RpcInput &input) {
  JsonPtr request(cJSON_ParseWithOpts(input.text.c_str(), nullptr, 1));
  if (!cJSON_IsObject(request.get())) return;
  std::string answerText = controlAnswer(harness->dispatcher, request.get(), harness->statePath);
  JsonPtr answer(cJSON_ParseWithOpts(answerText.c_str(), nullptr, 1));
  const cJSON *ok = cJSON_GetObjectItemCaseSensitive(answer.get(), "ok");
  const cJSON *error = cJSON_GetObjectItemCaseSensitive(answer.get(), "error");
  bool explained = cJSON_IsTrue(ok) || (cJSON_IsFalse(ok) && cJSON_IsString(error) && *error->valuestring != '\0');
  if (!explained) fail("control", "neither success nor an explained failure: " + answerText, input.text);
}

// A stub the dispatcher takes answers the next call as scripted, and the
// client of that operation reads that answer.
void stub(const RpcInput &input) {
  const OpenOpDesc &op = input.operation();
  JsonPtr answer(cJSON_ParseWithOpts(input.text.c_str(), nullptr, 1));
  if (!cJSON_IsObject(answer.get())) return;
  std::string error;
  if (harness->dispatcher.setStub(op.name, answer.get(), -1, error) != 0) {
    if (error.empty()) fail("stub", "refused without a reason", input.text);
    return;
  }
  int32_t scripted = 0;
  wireDecodeInt(OPEN_TYPE_I32, cJSON_GetObjectItemCaseSensitive(answer.get(), "rc"), &scripted);
  ClientArgs args(op, bufferCapacityOf(input.capacityByte));
  CText request(openEncodeRequest(op, args.argv()));
  std::string reply = harness->dispatcher.call(request.get());
  int32_t rc = openDecodeReply(op, args.argv(), reply.c_str());
  if (rc != scripted) fail("stub", std::string(op.name) + ": the client read " + std::to_string(rc) + " from " + reply, input.text);
  if (const char *problem = args.buffersProblem()) fail("stub", std::string(op.name) + ": " + problem, input.text);
}

// A load is whole or nothing, and what it leaves dumps to a document that
// loads to the same state.
void stateLoad(const RpcInput &input) {
  JsonPtr state(cJSON_ParseWithOpts(input.text.c_str(), nullptr, 1));
  if (state == nullptr) return;
  std::string error;
  if (loadState(state.get(), error) != 0) {
    if (error.empty()) fail("load", "refused without naming the problem", input.text);
    if (dumpState() != harness->defaultDump) fail("load", "a refused load changed the state: " + error, input.text);
    return;
  }
  std::string dumped = dumpState();
  JsonPtr reloaded(cJSON_Parse(dumped.c_str()));
  if (loadState(reloaded.get(), error) != 0) fail("load", "its own dump does not load: " + error, input.text);
  if (dumpState() != dumped) fail("load", "its own dump loads to another state", input.text);
}

void resetSwitch() {
  harness->dispatcher.clearScripts();
  harness->dispatcher.withSwitch([](SimDevice &sw) { sw.resetToDefault(); });
  harness->dispatcher.clearCallLog();
}

void removeSandbox() {
  if (harness != nullptr) harness->sandbox.remove();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  harness = new Harness;
  std::string error;
  if (!harness->sandbox.create("fuzz-rpc", error)) {
    fprintf(stderr, "fuzz_rpc: %s\n", error.c_str());
    exit(1);
  }
  atexit(removeSandbox);
  harness->statePath = harness->sandbox.path("/switch-state.json");
  harness->defaultDump = dumpState();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  RpcInput input;
  if (!decodeRpcInput(data, size, input)) return 0;
  switch (input.entry) {
    case RpcEntry::ClientReply: clientReply(input); return 0;  // the switch is not involved
    case RpcEntry::ServerRequest: serverRequest(input); break;
    case RpcEntry::ServerCall: serverCall(input); break;
    case RpcEntry::Control: control(input); break;
    case RpcEntry::Stub: stub(input); break;
    case RpcEntry::StateLoad: stateLoad(input); break;
  }
  resetSwitch();
  return 0;
}
