// libFuzzer target: the OpEN wire frames from both ends, and the simulator's lines (control commands, calls
// written by hand), one entry point each (RpcInput); each aborts when its reader breaks a promise.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "open/call_codec.h"
#include "open/opdesc.h"
#include "open/wire.h"
#include "sim/device.h"
#include "sim/dispatch.h"
#include "sim/server.h"
#include "tests/fuzz/file_guard.h"
#include "tests/fuzz/sandbox.h"
#include "open/raii.h"

namespace {

// The input: byte 0 picks the entry point (modulo their number); the entries that name an
// operation take its index from bytes 1 and 2 (little-endian, modulo the number of operations) and the capacity
// of the client's buffers from byte 3 (bufferCapacityOf); the rest is the text the entry reads.
enum class RpcEntry : uint8_t {
  ClientReply,    // an answer frame's body, decoded by the client for the operation
  ServerRequest,  // a request frame's body, answered by the simulator's dispatcher
  Control,        // a control command or a call written by hand, answered by the simulator
  Stub,           // a scripted answer for the operation, then one call of it
  StateLoad,      // a state document, loaded into the simulated switch
  ServerCall,     // the arguments of a request body for the operation
};
constexpr uint8_t kRpcEntryCount = 6;

struct RpcInput {
  RpcEntry entry = RpcEntry::ClientReply;
  uint16_t op = 0;
  uint8_t capacityByte = 0;
  std::string text;

  const OpenOpDesc &operation() const { return kOpenOps[op % OPEN_OP_COUNT]; }
};

// False when the input is too short for its entry point.
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

// A fuzzer's byte as a capacity: small sizes byte by byte, then the sizes
// the routes give texts, counter blocks and lists.
uint32_t bufferCapacityOf(uint8_t byte) {
  constexpr uint32_t kLarge[] = {256, 528, 1024, 4096, 65536};
  constexpr uint8_t kFirstLarge = 256 - sizeof kLarge / sizeof kLarge[0];
  return byte < kFirstLarge ? byte : kLarge[byte - kFirstLarge];
}

// The arguments of one OpEN operation laid out as its client stub passes them: integer inputs by value,
// everything else through a pointer to an object of its exact size, every buffer descriptor (also in records)
// pointing at a heap block of exactly its capacity, so that the sanitizer sees any write past one.
class ClientArgs {
 public:
  ClientArgs(const OpenOpDesc &op, uint32_t capacity) : op_(op), capacity_(capacity) {
    slots_.resize(op.argCount);
    for (uint8_t i = 0; i < op.argCount; ++i) {
      void *object = allocate(openTypeInfo(op.args[i].type).size);
      giveBuffers(op.args[i].type, object);
      slots_[i] = object;
      argv_.push_back(openArgByValue(op.args[i]) ? object : &slots_[i]);
    }
    argv_.push_back(nullptr);
  }

  void *const *argv() const { return argv_.data(); }

  // NULL while every descriptor points where it did, within its capacity.
  const char *buffersProblem() const {
    for (const auto &[desc, start] : buffers_) {
      if (desc->pstart != start) return "a buffer descriptor was pointed elsewhere";
      if (desc->size > capacity_) return "a buffer descriptor grew past its capacity";
    }
    return nullptr;
  }

  // The body of the answer frame that would bring these outputs.
  std::string replyBody(int32_t rc) const {
    WireBuffer body;
    body.append(&rc, sizeof rc);
    wireEncodeOutputs(body, op_, slots_.data());
    return std::string(body.view());
  }

 private:
  // A block of size zero still has an address of its own, and no byte to touch.
  char *allocate(size_t size) {
    blocks_.emplace_back(new char[size]());
    return blocks_.back().get();
  }

  void giveBuffers(OpenType type, void *object) {
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

  const OpenOpDesc &op_;
  uint32_t capacity_;
  std::vector<std::unique_ptr<char[]>> blocks_;
  std::vector<void *> slots_, argv_;  // slots_: each argument's object, a pointer argument's pointer to it
  std::vector<std::pair<open_buffdesc *, char *>> buffers_;
};

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
