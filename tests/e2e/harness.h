#pragma once
// Runs the real monitoring_v2.cgi against a real opensimd, each test in a
// sandbox of its own (socket, MONITORING_ROOT, session files, log).
#include <gtest/gtest.h>

#include <string>
#include <vector>

struct ProcessResult {
  std::string out, err;
  int status = -1;  // exit status, or -1 when killed by a signal
};

struct CgiRequest {
  std::string method = "GET";
  std::string uri;  // the query string is taken from it
  std::string body;
  const char *session = nullptr;  // HTTP_SESSION; nullptr leaves it unset
  const char *refresh = nullptr;  // HTTP_REFRESH; nullptr leaves it unset
  std::string root;    // MONITORING_ROOT; the test's sandbox when empty
  std::string socket;  // OPEN_RPC_SOCKET; the test's simulator when empty
};

// One route answered from a scripted OpEN answer; an answer without data ends with a newline.
struct RouteCase {
  const char *method;
  std::string uri;  // below the family's directory, with its query
  std::string body;
  const char *op;   // the OpEN operation scripted
  std::string out;  // its outputs, as the "out" array of a scripted answer
  std::string in;   // the inputs the call log must show
  std::string data;  // the answer's data member; "" for none
};

// Whether the suite runs the program as a FastCGI application (one process
// answering every request of a test) instead of a CGI process per request.
bool fastCgiMode();

class SwitchTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Writes a session file as the login page does, stamped `age` seconds ago; returns its identifier.
  std::string login(const std::string &user, const std::string &privilege, long age = 0);
  ProcessResult cgi(const CgiRequest &request);
  // With an administrator session already in place.
  ProcessResult call(const std::string &method, const std::string &uri, const std::string &body = "");
  // Each case against a fresh switch: the one call it makes, and its exact answer.
  void expectRoutes(const std::string &dir, const std::string &dataKey, const std::vector<RouteCase> &cases);
  // Runs one of the project's scripts/ with a plain PATH.
  ProcessResult script(const std::string &name, const std::vector<std::string> &args);
  // Runs opensimctl, which must succeed; returns what it printed.
  std::string ctlOk(const std::vector<std::string> &args);
  std::vector<std::string> calls();                         // the call log, oldest first
  std::vector<std::string> callsOf(const std::string &op);  // its lines of one operation
  std::string readFile(const std::string &relative);
  // `options` come after the socket and the state file, such as --frozen-clock.
  void startDaemon(const std::vector<std::string> &options = {});
  void stopDaemon();

  // Answers the following requests as a CGI process each, or by one
  // FastCGI application, whatever the suite runs in.
  void useFastCgi(bool fastCgi) { fastCgi_ = fastCgi; }

  std::string root_, socket_, adminSession_;
  int daemonPid_ = -1;

 private:
  bool fastCgi_ = fastCgiMode();
  // FastCGI mode: the application of each program environment (root and
  // OpEN socket), started at its first request and stopped with the test.
  struct Application {
    std::string root, socket, listenPath;
    int pid = -1;
  };
  const Application &applicationFor(const std::string &root, const std::string &socket);
  ProcessResult fastCgi(const CgiRequest &request, const std::vector<std::string> &params);
  std::vector<Application> applications_;

 protected:
  // Stops every FastCGI application of the test, each checked as TearDown does.
  void stopApplications();
};

// The answer exactly as the program prints it: the header, then the envelope.
std::string reply(int code, const std::string &message, const std::string &dataKey = "",
                  const std::string &dataJson = "");
