#pragma once
// Turns request frames (open/wire.h) into calls of the simulated
// operations, applying the faults and scripted answers set through the
// control tool, and keeps the call log. One mutex serialises everything, as
// one switch answers one call at a time.
#include <cjson/cJSON.h>

#include <deque>
#include <mutex>
#include <string>
#include <string_view>

#include "open/opdesc.h"

class SimDevice;

class SimDispatcher {
 public:
  // The call log keeps the newest calls: at most this many entries, of at
  // most this many bytes together (their lines as callLogLines() gives
  // them), each text in an entry cut after this many bytes.
  static constexpr size_t kCallLogLimit = 10000;
  static constexpr size_t kCallLogByteBudget = 8u << 20;
  static constexpr size_t kCallLogTextLimit = 1024;

  explicit SimDispatcher(SimDevice &sw) : sw_(sw) {}

  // Output buffers of a call written by hand have this many bytes.
  static constexpr uint32_t kWrittenCallCapacity = 1024;

  // One request frame's body in; its answer frame appended to `reply`. A
  // request that is not one is refused with OPEN_E_PARAM and not logged.
  void call(std::string_view request, std::string &reply);
  // A call written by hand, {"op": name, "in": [its inputs in the written
  // form of the call log]}, made as a frame. 0 with `answer` holding
  // {"rc": n, "out": [the outputs as a scripted answer gives them]}, or -1
  // with `answer` saying what is wrong with the call.
  int callWritten(const cJSON *request, std::string &answer);

  // COUNT < 0 means every call. 0 on success, otherwise `error` says why.
  int setFault(const char *opName, int rc, long count, std::string &error);
  int setStub(const char *opName, const cJSON *answer, long count, std::string &error);
  void clearScripts();

  std::string callLogLines();  // oldest first, one JSON object a line
  void clearCallLog();

  // Runs `fn` with the switch state locked against concurrent calls.
  template <typename Fn>
  auto withSwitch(Fn fn) {
    std::lock_guard<std::mutex> lock(mutex_);
    return fn(sw_);
  }

 private:
  struct Script {
    long remaining = 0;     // < 0: for ever
    std::string replyBody;  // a fault's or a stub's answer: result and outputs
  };

  const Script *takeScript(OpenOpId id);
  void logCall(std::string &entry, int32_t rc);

  SimDevice &sw_;
  std::mutex mutex_;
  Script scripts_[OPEN_OP_COUNT];
  std::deque<std::string> callLog_;  // each line with its newline
  size_t callLogBytes_ = 0;
};
