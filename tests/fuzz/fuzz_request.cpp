// libFuzzer target: one CGI request of the program per input, dispatched
// with httpdProcessRequest against the route table main builds, the OpEN
// calls answered by a simulated switch in a thread of this process. The
// answer must be one the web server can take (tests/fuzz/cgi_answer.h);
// anything else aborts with the request and the answer printed.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "tests/fuzz/cgi_answer.h"
#include "tests/fuzz/cgi_run.h"
#include "tests/fuzz/in_process_program.h"
#include "tests/fuzz/request_input.h"
#include "tests/fuzz/route_list.h"
#include "tools/common.h"

namespace {

constexpr size_t kMaxScriptLines = 8;
// The web server passes the length of the body it received, which its own
// request limit bounds; a larger claim would only test the allocator.
constexpr long long kMaxContentLength = 64ll << 20;

struct Harness {
  routetest::InProcessProgram &program = routetest::InProcessProgram::get();
  std::vector<RouteRef> routes = listRoutes(program.table());
  DirTreeGuard tree{program.table()};
};

// Never freed: the simulator's threads serve from it until the process ends.
Harness *harness = nullptr;
// Set while a request runs, so that an exit() from inside it is caught.
bool inRequest = false;

// Read as the program reads CONTENT_LENGTH.
bool claimsHugeBody(const std::optional<std::string> &contentLength) {
  if (!contentLength) return false;
  char *end = nullptr;
  errno = 0;
  long long value = strtoll(contentLength->c_str(), &end, 10);
  return errno == 0 && *end == '\0' && value > kMaxContentLength;
}

[[noreturn]] void fail(const char *problem, const CgiEnvironment &env, const std::string &body,
                       const std::string &answer) {
  fprintf(stderr, "fuzz_request: %s\n", problem);
  printRequest(env, body, answer);
  abort();
}

void exitDuringRequest() {
  if (!inRequest) return;
  fputs("fuzz_request: exit() called while a request was being answered\n", stderr);
  abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  harness = new Harness;
  atexit(exitDuringRequest);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzRequest request;
  if (!decodeRequest(data, size, request)) return 0;
  const RouteRef &route = harness->routes[request.route % harness->routes.size()];
  CgiEnvironment env = environmentFor(request, route);
  if (claimsHugeBody(env.contentLength)) return 0;
  routetest::InProcessProgram &program = harness->program;
  if (request.has(request_flags::kScriptField)) program.sim().script(request.script, kMaxScriptLines);
  program.sandbox().writeSessions();
  applyEnvironment(env);
  std::string answer = captureRequest(program.table(), request.body, inRequest);
  if (const char *problem = cgiAnswerProblem(answer, env.uri.value_or(""))) fail(problem, env, request.body, answer);
  if (clientHandle.stalled) fail("the simulated switch did not answer within the client's time", env, request.body, answer);
  harness->tree.restore();
  program.sim().reset();
  return 0;
}
