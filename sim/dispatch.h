#pragma once
// Turns request lines into calls of the simulated operations, applying the
// faults and scripted answers set through the control tool, and keeps the
// call log. One mutex serialises everything, as one switch answers one call
// at a time.
#include <cjson/cJSON.h>

#include <deque>
#include <mutex>
#include <string>

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

  // One request line in, one answer line out (without the newline).
  std::string call(const char *requestLine);

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
    long remaining = 0;      // < 0: for ever
    int rc = 0;
    std::string replyLine;   // a fault's or a stub's whole answer
  };

  std::string dispatch(const OpenOpDesc &op, OpenOpId id, const cJSON *args, int *rc, cJSON *logIn);
  bool takeScript(OpenOpId id, std::string &replyLine, int *rc);
  void logCall(const char *opName, cJSON *logIn, int rc);

  SimDevice &sw_;
  std::mutex mutex_;
  Script scripts_[OPEN_OP_COUNT];
  std::deque<std::string> callLog_;  // each line with its newline
  size_t callLogBytes_ = 0;
};
