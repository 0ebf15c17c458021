#pragma once
// Runs the real monitoring_v2.cgi against a real opensimd, each test in a
// sandbox of its own (socket, MONITORING_ROOT, session files, log).
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

struct ProcessResult {
  std::string out;
  std::string err;
  int status = -1;  // exit status, or -1 when killed by a signal
};

struct CgiRequest {
  std::string method = "GET";
  std::string uri;  // the query string is taken from it
  std::string body;
  const char *session = nullptr;  // HTTP_SESSION; nullptr leaves it unset
  const char *refresh = nullptr;  // HTTP_REFRESH
  const char *contentLength = nullptr;  // overrides the body's length
  std::string root;    // MONITORING_ROOT; the test's sandbox when empty
  std::string socket;  // OPEN_RPC_SOCKET; the test's simulator when empty
};

// One route answered from a scripted OpEN answer.
struct RouteCase {
  const char *method;
  std::string uri;  // below the family's directory, with its query
  std::string body;
  const char *op;   // the OpEN operation scripted
  std::string out;  // its outputs, as the "out" array of a scripted answer
  std::string in;   // the inputs the call log must show
  std::string data;  // the answer's data member; "" for none
  bool newline;     // the answer ends with a newline
};

class SwitchTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Writes a session file as the login page does; returns its identifier.
  // The stamp defaults to the current uptime; it may lie before boot (negative).
  std::string login(const std::string &user, const std::string &privilege, std::optional<long> stamp = std::nullopt);
  ProcessResult cgi(const CgiRequest &request);
  ProcessResult cgiAs(const char *session, const std::string &method, const std::string &uri);
  // A GET or other method with an administrator session already in place.
  ProcessResult call(const std::string &method, const std::string &uri, const std::string &body = "");
  // Each case against a fresh switch: the one call it makes, and its exact answer.
  void expectRoutes(const std::string &dir, const std::string &dataKey, const std::vector<RouteCase> &cases);
  ProcessResult ctl(const std::vector<std::string> &args);
  void ctlOk(const std::vector<std::string> &args);
  // The call log as lines, oldest first.
  std::vector<std::string> calls();
  // Calls whose "op" is the given interface name.
  std::vector<std::string> callsOf(const std::string &op);
  std::string readFile(const std::string &relative);
  void startDaemon();
  void stopDaemon();
  void expectNoSanitizerReports();

  std::string root_;
  std::string socket_;
  std::string adminSession_;
  int daemonPid_ = -1;
};

// What dispatch writes before every REST answer.
extern const std::string kJsonHeader;

long systemUptime();
// The envelope exactly as the program prints it.
std::string envelope(int code, const std::string &message, const std::string &dataKey = "",
                     const std::string &dataJson = "");
