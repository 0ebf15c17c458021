#include "tests/fuzz/cgi_run.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/fuzz/sandbox.h"

namespace {

const struct {
  const char *name;
  std::optional<std::string> CgiEnvironment::*value;
} kVariables[] = {
    {"REQUEST_METHOD", &CgiEnvironment::method}, {"REQUEST_URI", &CgiEnvironment::uri},
    {"QUERY_STRING", &CgiEnvironment::query},    {"CONTENT_LENGTH", &CgiEnvironment::contentLength},
    {"HTTP_SESSION", &CgiEnvironment::session},  {"HTTP_REFRESH", &CgiEnvironment::refresh},
};

void setVariable(const char *name, const std::optional<std::string> &value) {
  if (value) {
    setenv(name, value->c_str(), 1);
  } else {
    unsetenv(name);
  }
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

}  // namespace

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

void applyEnvironment(const CgiEnvironment &env) {
  for (const auto &variable : kVariables) setVariable(variable.name, env.*variable.value);
}

std::string captureRequest(httpdTable *table, const std::string &body, bool &running) {
  char *text = nullptr;
  size_t length = 0;
  FILE *in = fmemopen(const_cast<char *>(body.data()), body.size(), "r");
  FILE *out = open_memstream(&text, &length);
  if (in == nullptr || out == nullptr) {
    fprintf(stderr, "cannot open memory streams for a request: %s\n", strerror(errno));
    abort();
  }
  FILE *savedIn = stdin, *savedOut = stdout;
  stdin = in;
  stdout = out;
  running = true;
  httpdProcessRequest(table);
  running = false;
  stdin = savedIn;
  stdout = savedOut;
  fclose(in);
  fclose(out);
  std::string answer(text, length);
  free(text);
  return answer;
}

void printRequest(const CgiEnvironment &env, const std::string &body, const std::string &answer) {
  for (const auto &variable : kVariables) printEscaped(variable.name, env.*variable.value);
  printEscaped("body", body);
  printEscaped("answer", answer);
}
