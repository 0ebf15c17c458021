// libFuzzer target: the OpEN wire frames from both ends, and the simulator's lines (control commands, calls
// written by hand), one entry point each (rpc_input.h); each aborts when its reader breaks a promise.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "open/call_codec.h"
#include "open/wire.h"
#include "sim/device.h"
#include "sim/dispatch.h"
#include "sim/server.h"
#include "tests/fuzz/client_args.h"
#include "tests/fuzz/file_guard.h"
#include "tests/fuzz/rpc_input.h"
#include "tests/fuzz/sandbox.h"
#include "tools/raii.h"

namespace {

// Long enough after boot for every default counter's history; frozen, so
// that two dumps of the same state are the same text.
constexpr int64_t kFrozenNanos = 200000 * kNanosPerSecond;
constexpr uint32_t kRouteTextCapacity = 256;  // what the routes give most texts

struct Harness {
  FuzzSandbox sandbox;
  SimDevice device{[] { return kFrozenNanos; }};
  SimDispatcher dispatcher{device};
  std::unique_ptr<SimServer> server;  // answers lines; never listens
  std::string defaultDump;
};

Harness *harness = nullptr;

[[noreturn]] void fail(const char *entry, const std::string &problem, const std::string &input) {
  fprintf(stderr, "fuzz_rpc (%s): %s\n  input (%zu bytes):", entry, problem.c_str(), input.size());
  for (unsigned char c : input) fprintf(stderr, " %02x", c);
  fputc('\n', stderr);
  abort();
}

std::string dumpState() {
  JsonPtr state(harness->device.toJson());
  CText text(cJSON_PrintUnformatted(state.get()));
  return text ? text.get() : "";
}

// What the client takes stays within its buffers and, encoded again, is read
// back the same: the client reads what the server's encoder writes.
void clientReply(const RpcInput &input) {
  const OpenOpDesc &op = input.operation();
  uint32_t capacity = bufferCapacityOf(input.capacityByte);
  ClientArgs args(op, capacity);
  int32_t rc = openDecodeReply(op, args.argv(), input.text);
  if (const char *problem = args.buffersProblem()) fail("reply", std::string(op.name) + ": " + problem, input.text);
  if (rc == OPEN_E_INTERNAL) return;
  std::string again = args.replyBody(rc);
  ClientArgs fresh(op, capacity);
  if (openDecodeReply(op, fresh.argv(), again) != rc || fresh.replyBody(rc) != again) {
    fail("reply", std::string(op.name) + ": the outputs do not survive encoding and decoding", input.text);
  }
}

// Whatever the simulator answers a request body is one whole frame, and the
// client of the operation it names reads it, with buffers of any capacity.
void answerRequest(const char *entry, const std::string &body, uint32_t capacity) {
  const OpenOpDesc *op = wireRequestedOperation(body);
  if (op == &kOpenOps[OPEN_OPID_openapiCliShowExecuteToFile]) return;
  std::string reply;
  harness->dispatcher.call(body, reply);
  if (reply.size() < kWireHeaderSize + sizeof(int32_t) ||
      wireBodyLength(reply.data()) != static_cast<long>(reply.size() - kWireHeaderSize)) {
    fail(entry, "the answer is no frame", body);
  }
  if (op == nullptr) return;
  ClientArgs args(*op, capacity);
  if (openDecodeReply(*op, args.argv(), std::string_view(reply).substr(kWireHeaderSize)) == OPEN_E_INTERNAL) {
    fail(entry, std::string(op->name) + ": the client cannot read the answer", body);
  }
}

// The arguments after a valid head, so that every operation's decoder is
// within reach.
void serverCall(const RpcInput &input) {
  const OpenOpDesc &op = input.operation();
  uint16_t index = static_cast<uint16_t>(&op - kOpenOps);
  std::string body(reinterpret_cast<const char *>(&index), sizeof index);
  body.append(reinterpret_cast<const char *>(&op.signature), sizeof op.signature);
  answerRequest("call", body + input.text, bufferCapacityOf(input.capacityByte));
}

// A line succeeds, says why not, or is answered as an OpEN call.
void control(const RpcInput &input) {
  if (input.text.find('\n') != std::string::npos || callsFileWriter(input.text)) return;
  std::string answerText = harness->server->answer(input.text);
  JsonPtr answer(cJSON_ParseWithOpts(answerText.c_str(), nullptr, 1));
  const cJSON *ok = cJSON_GetObjectItemCaseSensitive(answer.get(), "ok");
  const cJSON *error = cJSON_GetObjectItemCaseSensitive(answer.get(), "error");
  int32_t rc = 0;
  bool called = cJSON_IsArray(cJSON_GetObjectItemCaseSensitive(answer.get(), "out")) &&
                wireDecodeInt(OPEN_TYPE_I32, cJSON_GetObjectItemCaseSensitive(answer.get(), "rc"), &rc) == 0;
  bool explained = cJSON_IsTrue(ok) || (cJSON_IsFalse(ok) && cJSON_IsString(error) && *error->valuestring != '\0');
  if (!explained && !called) {
    fail("control", "neither success, an explained failure nor an answer: " + answerText, input.text);
  }
}

// A stub the dispatcher takes answers the next call as scripted, and the
// client of that operation reads that answer.
void stub(const RpcInput &input) {
  const OpenOpDesc &op = input.operation();
  JsonPtr answer(cJSON_ParseWithOpts(input.text.c_str(), nullptr, 1));
  if (!cJSON_IsObject(answer.get())) return;
  std::string error, reply;
  if (harness->dispatcher.setStub(op.name, answer.get(), -1, error) != 0) {
    if (error.empty()) fail("stub", "refused without a reason", input.text);
    return;
  }
  int32_t scripted = 0;
  wireDecodeInt(OPEN_TYPE_I32, cJSON_GetObjectItemCaseSensitive(answer.get(), "rc"), &scripted);
  ClientArgs args(op, bufferCapacityOf(input.capacityByte));
  WireBuffer request;
  openEncodeRequest(request, static_cast<OpenOpId>(&op - kOpenOps), args.argv());
  harness->dispatcher.call(request.view().substr(kWireHeaderSize), reply);
  int32_t rc = openDecodeReply(op, args.argv(), std::string_view(reply).substr(kWireHeaderSize));
  if (rc != scripted) fail("stub", std::string(op.name) + ": the client read " + std::to_string(rc), input.text);
  if (const char *problem = args.buffersProblem()) fail("stub", std::string(op.name) + ": " + problem, input.text);
}

// A load is whole or nothing, and what it leaves dumps to a document that
// loads to the same state.
void stateLoad(const RpcInput &input) {
  JsonPtr state(cJSON_ParseWithOpts(input.text.c_str(), nullptr, 1));
  if (state == nullptr) return;
  std::string error;
  if (harness->device.fromJson(state.get(), error) != 0) {
    if (error.empty()) fail("load", "refused without naming the problem", input.text);
    if (dumpState() != harness->defaultDump) fail("load", "a refused load changed the state: " + error, input.text);
    return;
  }
  std::string dumped = dumpState();
  JsonPtr reloaded(cJSON_Parse(dumped.c_str()));
  if (harness->device.fromJson(reloaded.get(), error) != 0) {
    fail("load", "its own dump does not load: " + error, input.text);
  }
  if (dumpState() != dumped) fail("load", "its own dump loads to another state", input.text);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  harness = new Harness;
  std::string error;
  if (!harness->sandbox.create("fuzz-rpc", error)) {
    fprintf(stderr, "fuzz_rpc: %s\n", error.c_str());
    exit(1);
  }
  atexit([] { harness->sandbox.remove(); });
  harness->server = std::make_unique<SimServer>(harness->dispatcher, harness->sandbox.path("/switch-state.json"));
  harness->defaultDump = dumpState();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  RpcInput input;
  if (!decodeRpcInput(data, size, input)) return 0;
  switch (input.entry) {
    case RpcEntry::ClientReply: clientReply(input); return 0;  // the switch is not involved
    case RpcEntry::ServerRequest: answerRequest("request", input.text, kRouteTextCapacity); break;
    case RpcEntry::ServerCall: serverCall(input); break;
    case RpcEntry::Control: control(input); break;
    case RpcEntry::Stub: stub(input); break;
    case RpcEntry::StateLoad: stateLoad(input); break;
  }
  harness->dispatcher.clearScripts();
  harness->device.resetToDefault();
  harness->dispatcher.clearCallLog();
  return 0;
}
