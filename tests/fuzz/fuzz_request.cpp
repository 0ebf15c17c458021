// libFuzzer target: one CGI request of the program per input, dispatched
// with httpdProcessRequest against the route table main builds, the OpEN
// calls answered by a simulated switch in a thread of this process. The
// answer must be one the web server can take (cgiAnswerProblem);
// anything else aborts with the request and the answer printed.
#include <cjson/cJSON.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "tests/fuzz/in_process_program.h"
#include "open/client.h"
#include "open/startup.h"
#include "open/raii.h"

namespace {

// ---- The routes ----

struct RouteRef {
  std::string path;  // directory and operation: "/api/v2/monitoring/lldp/tx-hold"
  int method;
};

void collectRoutes(const httpdDirNode *dir, const std::string &path, std::vector<RouteRef> &routes) {
  for (const httpdRouteEntry *entry = dir->operations; entry != nullptr; entry = entry->next) {
    routes.push_back({path + "/" + entry->opName, entry->method});
  }
  for (const httpdDirNode *child = dir->children; child != nullptr; child = child->next) {
    collectRoutes(child, path + "/" + child->name, routes);
  }
}

// Every route of the table, sorted by path and method, so that an index
// names the same route whatever order the families register in.
std::vector<RouteRef> listRoutes(const httpdTable *table) {
  std::vector<RouteRef> routes;
  if (table != nullptr && table->root != nullptr) collectRoutes(table->root, "", routes);
  std::sort(routes.begin(), routes.end(), [](const RouteRef &a, const RouteRef &b) {
    return std::tie(a.path, a.method) < std::tie(b.path, b.method);
  });
  return routes;
}

// ---- The input ----

// The request fuzzer's input, in a form that mutations keep meaningful:
//
//   byte 0, 1   route index, little-endian, modulo the number of routes
//   byte 2      flags (below)
//   then        fields separated by NUL bytes: the query string, then each
//               optional field whose flag is set, in the order of the flags;
//               the body is the rest, NUL bytes included
//
// A field missing at the end of the input is empty.
namespace request_flags {
constexpr uint8_t kSessionMask = 0x03;  // which session: SessionKind
constexpr uint8_t kRefresh = 0x04;      // HTTP_REFRESH is set
constexpr uint8_t kMethodField = 0x08;  // REQUEST_METHOD from a field, else the route's
constexpr uint8_t kUriField = 0x10;     // REQUEST_URI from a field, else the route's path and the query
constexpr uint8_t kLengthField = 0x20;  // CONTENT_LENGTH from a field, else the body's length
constexpr uint8_t kScriptField = 0x40;  // control lines for the simulated switch, one a line
constexpr uint8_t kNoQueryString = 0x80;  // QUERY_STRING is unset
}  // namespace request_flags

enum class SessionKind : uint8_t { Admin = 0, ReadWrite = 1, ReadOnly = 2, FromField = 3 };

struct FuzzRequest {
  uint16_t route = 0;
  uint8_t flags = 0;
  std::string query;
  // Each used only when its flag is set.
  std::string method, uri, session, contentLength, script;
  std::string body;

  bool has(uint8_t flag) const { return (flags & flag) != 0; }
  SessionKind sessionKind() const { return static_cast<SessionKind>(flags & request_flags::kSessionMask); }
};


constexpr size_t kHeaderSize = 3;

// The optional fields in input order, with the flag that brings each.
struct OptionalField {
  uint8_t flag;
  std::string FuzzRequest::*member;
};
constexpr OptionalField kOptionalFields[] = {
    {request_flags::kMethodField, &FuzzRequest::method},
    {request_flags::kUriField, &FuzzRequest::uri},
    {request_flags::kSessionMask, &FuzzRequest::session},
    {request_flags::kLengthField, &FuzzRequest::contentLength},
    {request_flags::kScriptField, &FuzzRequest::script},
};

bool isPresent(const FuzzRequest &request, const OptionalField &field) {
  if (field.flag == request_flags::kSessionMask) return request.sessionKind() == SessionKind::FromField;
  return request.has(field.flag);
}

// Takes the text up to the next NUL (or the end) and moves past the NUL.
std::string takeField(const char *&at, const char *end) {
  const char *stop = static_cast<const char *>(memchr(at, '\0', static_cast<size_t>(end - at)));
  if (stop == nullptr) stop = end;
  std::string field(at, stop);
  at = stop < end ? stop + 1 : end;
  return field;
}


// False when the input is too short to name a route.
bool decodeRequest(const uint8_t *data, size_t size, FuzzRequest &request) {
  if (size < kHeaderSize) return false;
  request = FuzzRequest{};
  request.route = static_cast<uint16_t>(data[0] | data[1] << 8);
  request.flags = data[2];
  const char *at = reinterpret_cast<const char *>(data) + kHeaderSize;
  const char *end = reinterpret_cast<const char *>(data) + size;
  request.query = takeField(at, end);
  for (const OptionalField &field : kOptionalFields) {
    if (isPresent(request, field)) request.*field.member = takeField(at, end);
  }
  request.body.assign(at, end);
  return true;
}

std::string sessionOf(const FuzzRequest &request) {
  switch (request.sessionKind()) {
    case SessionKind::Admin: return FuzzSandbox::kAdminSession;
    case SessionKind::ReadWrite: return FuzzSandbox::kReadWriteSession;
    case SessionKind::ReadOnly: return FuzzSandbox::kReadOnlySession;
    case SessionKind::FromField: break;
  }
  return request.session;
}

// The variables the web server would set for a request.
CgiEnvironment environmentFor(const FuzzRequest &request, const RouteRef &route) {
  using namespace request_flags;
  CgiEnvironment env;
  env.method = request.has(kMethodField) ? request.method : httpdMethodName(route.method);
  env.uri = request.has(kUriField) ? request.uri : route.path + (request.query.empty() ? "" : "?" + request.query);
  if (!request.has(kNoQueryString)) env.query = request.query;
  env.contentLength = request.has(kLengthField) ? request.contentLength : std::to_string(request.body.size());
  env.session = sessionOf(request);
  if (request.has(kRefresh)) env.refresh = "1";
  return env;
}

void printEscaped(const char *label, const std::optional<std::string> &text) {
  fprintf(stderr, "  %s: ", label);
  if (!text) {
    fputs("(unset)\n", stderr);
    return;
  }
  fputc('"', stderr);
  for (unsigned char c : *text) {
    if (c >= 0x20 && c < 0x7F && c != '"' && c != '\\') {
      fputc(c, stderr);
    } else {
      fprintf(stderr, "\\x%02x", c);
    }
  }
  fputs("\"\n", stderr);
}

// The variables, the body and the answer on standard error, escaped.
void printRequest(const CgiEnvironment &env, const std::string &body, const std::string &answer) {
  for (const auto &variable : kCgiVariables) printEscaped(variable.name, env.*variable.value);
  printEscaped("body", body);
  printEscaped("answer", answer);
}

// ---- The answer ----

constexpr char kForbidden[] = "Status:403\r\n\r\n";
constexpr char kJsonHeader[] = "Content-Type: application/json\r\n\r\n";
constexpr char kInvalidPathStart[] = "Invalid request path '";
constexpr char kInvalidPathEnd[] = "'\n";

bool startsWith(const std::string &text, const char *prefix) { return text.compare(0, strlen(prefix), prefix) == 0; }

bool endsWith(const std::string &text, const char *suffix) {
  size_t length = strlen(suffix);
  return text.size() >= length && text.compare(text.size() - length, length, suffix) == 0;
}

// Below /api/v2/ as a directory lookup reads paths: runs of "/" count as one.
bool isRestUri(const std::string &uri) {
  std::string folded;
  for (char c : uri) {
    if (c != '/' || folded.empty() || folded.back() != '/') folded += c;
  }
  if (!folded.empty() && folded.front() != '/') folded.insert(0, "/");
  return startsWith(folded, "/api/v2/");
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
  if (!isRestUri(uri)) return envelopeProblem(answer);
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

// One request of an input as the web server passes it: its answer, which
// must be one the web server can take; NULL when the input is none.
std::optional<std::string> answerOf(const FuzzRequest &request) {
  const RouteRef &route = harness->routes[request.route % harness->routes.size()];
  CgiEnvironment env = environmentFor(request, route);
  if (claimsHugeBody(env.contentLength)) return std::nullopt;
  routetest::InProcessProgram &program = harness->program;
  if (request.has(request_flags::kScriptField)) program.script(request.script, kMaxScriptLines);
  program.sandbox().writeSessions();
  applyEnvironment(env);
  std::string answer = captureRequest(program.table(), request.body, inRequest);
  if (const char *problem = cgiAnswerProblem(answer, env.uri.value_or(""))) fail(problem, env, request.body, answer);
  if (clientHandle.stalled) fail("the simulated switch did not answer within the client's time", env, request.body, answer);
  return answer;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  harness = new Harness;
  atexit(exitDuringRequest);
  return 0;
}

#ifndef FUZZ_PERSISTENT

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzRequest request;
  if (decodeRequest(data, size, request)) answerOf(request);
  harness->program.reset();
  return 0;
}

#else

// The persistent target: an input is up to kMaxRequests requests, separated
// by kNextRequest, that one program answers one after another as a FastCGI
// application does, the switch keeping what each request set. A GET that
// no script of the input has made fail must answer alike when it comes
// again at once: nothing of one request may reach the next.
constexpr std::string_view kNextRequest = "\x01next\x01";
constexpr size_t kMaxRequests = 8;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::string_view rest(reinterpret_cast<const char *>(data), size);
  bool scripted = false;
  for (size_t n = 0; n < kMaxRequests && !rest.empty(); ++n) {
    size_t end = rest.find(kNextRequest);
    std::string_view piece = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + kNextRequest.size());
    FuzzRequest request;
    if (!decodeRequest(reinterpret_cast<const uint8_t *>(piece.data()), piece.size(), request)) continue;
    scripted = scripted || request.has(request_flags::kScriptField);
    openapiClientRequestBegins(&clientHandle);
    std::optional<std::string> first = answerOf(request);
    const RouteRef &route = harness->routes[request.route % harness->routes.size()];
    bool plainRead = !scripted && route.method == HTTPD_GET && !request.has(request_flags::kMethodField);
    if (!first || !plainRead) continue;
    openapiClientRequestBegins(&clientHandle);
    std::optional<std::string> again = answerOf(request);
    if (again != first) {
      CgiEnvironment env = environmentFor(request, route);
      fail("the same read answered otherwise when it came again", env, request.body, again.value_or(""));
    }
  }
  harness->program.reset();
  return 0;
}

#endif
