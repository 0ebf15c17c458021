#pragma once
// The program answering requests inside the test process, its OpEN calls
// served by the simulated switch from a thread on a Unix socket of its own,
// as opensimd would serve them: fast enough to ask every route several
// things, or a fuzzer millions.
#include <optional>
#include <string>
#include <vector>

#include "cgi/httpd.h"
#include "sim/device.h"
#include "sim/dispatch.h"
#include "sim/server.h"
#include "tests/fuzz/sandbox.h"

// The variables the web server sets for one request; unset when empty.
struct CgiEnvironment {
  std::optional<std::string> method, uri, query, contentLength, session, refresh;
};

inline constexpr struct {
  const char *name;
  std::optional<std::string> CgiEnvironment::*value;
} kCgiVariables[] = {
    {"REQUEST_METHOD", &CgiEnvironment::method}, {"REQUEST_URI", &CgiEnvironment::uri},
    {"QUERY_STRING", &CgiEnvironment::query},    {"CONTENT_LENGTH", &CgiEnvironment::contentLength},
    {"HTTP_SESSION", &CgiEnvironment::session},  {"HTTP_REFRESH", &CgiEnvironment::refresh},
};

// Sets every variable of `env`, unsetting those it leaves out.
void applyEnvironment(const CgiEnvironment &env);
// Answers the request the environment describes, with `body` as what the
// web server passes on, and returns the bytes of the answer. `running` is
// true meanwhile.
std::string captureRequest(httpdTable *table, const std::string &body, bool &running);
// The bytes of an answer, as the web server receives them.
std::string answerBytes(const Answer &answer);

namespace routetest {

struct Answer {
  std::string raw;
  bool jsonHeader = false;  // began with the JSON content type
  std::string json;         // the envelope, unformatted; "" when it is none
  bool newline = false;     // the answer ended with a newline
};

// Long after boot, as the default switch's counters assume.
inline constexpr int64_t kStillClock = 200000 * kNanosPerSecond;

class InProcessProgram {
 public:
  // Started once a process; the switch is reset by every test that asks.
  static InProcessProgram &get();

  SimDispatcher &dispatcher() { return dispatcher_; }
  const FuzzSandbox &sandbox() const { return sandbox_; }
  httpdTable *table() { return table_; }
  // The default switch, without scripts, with an empty call log.
  void reset();
  // Answers each of the first `maxLines` lines as the daemon would (control
  // commands, calls written by hand), setting the switch up for a request.
  void script(const std::string &lines, size_t maxLines);
  // As the web server starts the program for one request of an administrator.
  Answer request(const std::string &method, const std::string &path, const std::string &query, const std::string &body);
  // The call log's lines whose operation is `op` (every line for "").
  std::vector<std::string> callsOf(const std::string &op);

 private:
  InProcessProgram() = default;
  bool start(std::string &error);
  bool serve(const std::string &socketPath, std::string &error);
  static void removeAtExit();

  FuzzSandbox sandbox_;
  // A clock that stands still: the same request answers alike whenever it comes.
  SimDevice device_{[] { return kStillClock; }};
  SimDispatcher dispatcher_{device_};
  SimServer server_{dispatcher_, ""};
  httpdTable *table_ = nullptr;
};

}  // namespace routetest
