#pragma once
// The program answering requests inside the test process, its OpEN calls
// served by the simulated switch from a thread: fast enough to ask every
// route several things, or a fuzzer millions.
#include <string>
#include <vector>

#include "cgi/httpd.h"
#include "tests/fuzz/in_process_switch.h"
#include "tests/fuzz/sandbox.h"

namespace routetest {

struct Answer {
  std::string raw;
  bool jsonHeader = false;  // began with the JSON content type
  std::string json;         // the envelope, unformatted; "" when it is none
  bool newline = false;     // the answer ended with a newline
};

class InProcessProgram {
 public:
  // Started once a process; the switch is reset by every test that asks.
  static InProcessProgram &get();

  InProcessSwitch &sim() { return sim_; }
  SimDispatcher &dispatcher() { return sim_.dispatcher(); }
  const FuzzSandbox &sandbox() const { return sandbox_; }
  httpdTable *table() { return table_; }
  // As the web server starts the program for one request of an administrator.
  Answer request(const std::string &method, const std::string &path, const std::string &query, const std::string &body);
  // The call log's lines whose operation is `op` (every line for "").
  std::vector<std::string> callsOf(const std::string &op);

 private:
  InProcessProgram() = default;
  bool start(std::string &error);
  static void removeAtExit();

  FuzzSandbox sandbox_;
  InProcessSwitch sim_;
  httpdTable *table_ = nullptr;
};

}  // namespace routetest
