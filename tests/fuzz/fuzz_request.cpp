// libFuzzer target: one CGI request of the program per input, dispatched
// with httpdProcessRequest against the route table main builds, the OpEN
// calls answered by a simulated switch in a thread of this process. The
// answer must be one the web server can take (cgiAnswerProblem);
// anything else aborts with the request and the answer printed.
#include <cjson/cJSON.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "tests/fuzz/cgi_run.h"
#include "tests/fuzz/in_process_program.h"
#include "tests/fuzz/request_input.h"
#include "tests/fuzz/route_list.h"
#include "tools/common.h"
#include "tools/raii.h"

namespace {

constexpr char kForbidden[] = "Status:403\r\n\r\n";
constexpr char kJsonHeader[] = "Content-Type: application/json\r\n\r\n";
constexpr char kInvalidPathStart[] = "Invalid request path '";
constexpr char kInvalidPathEnd[] = "'\n";
constexpr char kRestPrefix[] = "/api/v2/";

bool startsWith(const std::string &text, const char *prefix) { return text.compare(0, strlen(prefix), prefix) == 0; }

bool endsWith(const std::string &text, const char *suffix) {
  size_t length = strlen(suffix);
  return text.size() >= length && text.compare(text.size() - length, length, suffix) == 0;
}

// Dispatch reads at most this much of the URI.
constexpr size_t kUriKept = 1023;

const char *respProblem(const cJSON *resp) {
  if (!cJSON_IsObject(resp) || strcmp(resp->string, "resp") != 0) return "the last member is not the object \"resp\"";
  const cJSON *code = cJSON_GetObjectItemCaseSensitive(resp, "respCode");
  const cJSON *message = cJSON_GetObjectItemCaseSensitive(resp, "respMsg");
  const cJSON *status = cJSON_GetObjectItemCaseSensitive(resp, "status");
  if (!cJSON_IsNumber(code) || !cJSON_IsString(message) || !cJSON_IsString(status)) {
    return "\"resp\" lacks a numeric respCode, a respMsg text or a status text";
  }
  const char *expected = code->valuedouble == 0 ? "success" : "fail";
  if (strcmp(status->valuestring, expected) != 0) return "\"status\" does not fit \"respCode\"";
  return nullptr;
}

// One envelope: at most one data member, then "resp"; one newline may follow.
const char *envelopeProblem(std::string text) {
  if (endsWith(text, "\n")) text.pop_back();
  if (text.find('\0') != std::string::npos) return "the answer holds a NUL byte";
  // The parser allows white space around the value; the answer has none.
  if (text.empty() || text.front() != '{' || text.back() != '}') return "the answer is more than one object and a newline";
  JsonPtr envelope(cJSON_ParseWithOpts(text.c_str(), nullptr, 1));
  if (!cJSON_IsObject(envelope.get())) return "the answer is not one JSON object";
  int members = cJSON_GetArraySize(envelope.get());
  if (members < 1 || members > 2) return "the envelope has other than one or two members";
  const cJSON *last = envelope->child;
  while (last->next != nullptr) last = last->next;
  return respProblem(last);
}

// What the program may write to standard output for one request: nothing
// (no route), the 403 refusal, the invalid-path text (exactly when the URI
// holds no "/"), or one JSON envelope, after the JSON header when the URI
// is under /api/v2/; NULL when `answer` is one of those, else what is wrong.
const char *cgiAnswerProblem(const std::string &answer, const std::string &uri) {
  std::string kept = uri.substr(0, kUriKept);
  if (kept.find('/') == std::string::npos) {
    bool invalidPath = answer == kInvalidPathStart + kept + kInvalidPathEnd;
    return invalidPath ? nullptr : "a path without \"/\" must get the invalid-path text";
  }
  if (answer.empty() || answer == kForbidden) return nullptr;
  if (!startsWith(uri, kRestPrefix)) return envelopeProblem(answer);
  if (!startsWith(answer, kJsonHeader)) return "the answer does not start with the JSON header";
  return envelopeProblem(answer.substr(strlen(kJsonHeader)));
}

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
