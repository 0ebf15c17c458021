#pragma once
// One CGI request of the program inside this process: the environment the
// web server would set for a fuzzer's request, and dispatch with standard
// input and output in memory.
#include <optional>
#include <string>

#include "cgi/httpd.h"
#include "tests/fuzz/request_input.h"
#include "tests/fuzz/route_list.h"

struct CgiEnvironment {
  std::optional<std::string> method, uri, query, contentLength, session, refresh;
};

CgiEnvironment environmentFor(const FuzzRequest &request, const RouteRef &route);
// Sets every variable of `env`, unsetting those it leaves out.
void applyEnvironment(const CgiEnvironment &env);
// Feeds `body` as standard input to httpdProcessRequest and returns what it
// wrote to standard output. `running` is true meanwhile.
std::string captureRequest(httpdTable *table, const std::string &body, bool &running);
// The variables, the body and the answer on standard error, escaped.
void printRequest(const CgiEnvironment &env, const std::string &body, const std::string &answer);
