#pragma once
// The program answering in this process against the default simulated
// switch, on a clock that stands still, so that every example answer of the
// API description is one the program really gives, the same at every build.
#include <memory>
#include <string>

#include "open/raii.h"
#include "routes/engine/engine.h"

namespace apidoc {

class LiveSwitch {
 public:
  LiveSwitch();
  ~LiveSwitch();
  LiveSwitch(const LiveSwitch &) = delete;
  LiveSwitch &operator=(const LiveSwitch &) = delete;

  // False with `error` when the switch or the program cannot start.
  bool start(std::string &error);
  // The envelope a route answers to `query` and `body` on the default
  // switch; NULL when it answers no JSON.
  JsonPtr answer(const route::RouteGroup &group, size_t row, const std::string &query, const std::string &body);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace apidoc
