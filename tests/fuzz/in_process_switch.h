#pragma once
// The simulated switch served from a thread of the fuzzing process, on a
// Unix socket of its own, so that the program's OpEN client talks to it as
// it would to opensimd.
#include <string>

#include "sim/device.h"
#include "sim/dispatch.h"
#include "sim/server.h"

class InProcessSwitch {
 public:
  InProcessSwitch() = default;
  InProcessSwitch(const InProcessSwitch &) = delete;
  InProcessSwitch &operator=(const InProcessSwitch &) = delete;

  // Listens on `socketPath` and serves from a detached thread until the
  // process ends; false with `error`.
  bool start(const std::string &socketPath, std::string &error);
  SimDispatcher &dispatcher() { return dispatcher_; }
  // Answers each line as the daemon would: control commands and calls
  // written by hand that set the switch up for a request. The answers are
  // not kept.
  void script(const std::string &lines, size_t maxLines);
  void clearScripts() { dispatcher_.clearScripts(); }
  // The default switch with an empty call log.
  void reset();

 private:
  static void *serve(void *server);

  SimDevice device_;
  SimDispatcher dispatcher_{device_};
  SimServer server_{dispatcher_, ""};
};
