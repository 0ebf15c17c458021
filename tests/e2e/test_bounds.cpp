// What a hostile or broken peer can do to one CGI process: an OpEN server that never
// answers, texts without a terminator, results outside the known list, names that do not fit.
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

#include "open/wire.h"
#include "tests/e2e/harness.h"

namespace {

const std::string kStat = "/api/v2/monitoring/stats/stat?ifNum=1&counterId=ctr_rx_64";

enum class AfterStartUp { Silent, HangUp };

// Answers the three calls of the client's start-up only, then stays silent
// until the client hangs up, or hangs up itself; one request a read, as the
// client waits for each answer.
void answerStartUpOnly(int listener, AfterStartUp after) {
  int fd = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
  char chunk[4096];
  int answered = 0;
  for (ssize_t got; fd >= 0 && (got = read(fd, chunk, sizeof chunk)) > 0;) {
    std::string_view body(chunk, static_cast<size_t>(got));
    const OpenOpDesc *op = body.size() >= kWireHeaderSize ? wireRequestedOperation(body.substr(kWireHeaderSize)) : nullptr;
    for (OpenOpId startUp : {OPEN_OPID_openapiConnectivityCheck, OPEN_OPID_openapiNetworkOSVersionGet,
                             OPEN_OPID_openapiApiVersionGet}) {
      WireBuffer answer;
      wireEncodeReply(answer, OPEN_E_NONE, nullptr);
      if (op == &kOpenOps[startUp]) (void)!write(fd, answer.data(), answer.size()), ++answered;
    }
    if (after == AfterStartUp::HangUp && answered == 3) break;
  }
  if (fd >= 0) close(fd);
}

class BoundsTest : public SwitchTest {
 protected:
  // Runs `uri` against a server that never answers, or answers start-up only;
  // returns the seconds it took. Nobody accepts on the first: its connections wait in the backlog.
  double againstSilentServer(bool answerStartUp, const std::string &uri, ProcessResult &result,
                             AfterStartUp after = AfterStartUp::Silent) {
    int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // A path of its own each time: a FastCGI application started for one server is not the next one's.
    snprintf(address.sun_path, sizeof address.sun_path, "%s/silent%d.sock", root_.c_str(), ++servers_);
    bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address);
    listen(listener, 16);
    std::thread server = answerStartUp ? std::thread(answerStartUpOnly, listener, after) : std::thread();
    auto start = std::chrono::steady_clock::now();
    result = cgi({.uri = uri, .session = adminSession_.c_str(), .socket = address.sun_path});
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    shutdown(listener, SHUT_RDWR);  // wakes accept() when no client came
    if (server.joinable()) server.join();
    close(listener);
    unlink(address.sun_path);
    return seconds;
  }

  int servers_ = 0;
};

// Hung at start-up, each check waits a short time: it costs what an absent server does, seven
// checks and six 3-second pauses. Hung after start-up, the first call runs out of time and the
// handler answers; a route of several calls does not wait again for each of them. A server
// that hangs up is called again on a new connection, once, which here nobody accepts.
TEST_F(BoundsTest, HungServerCostsBoundedTime) {
  const struct {
    bool answerStartUp;
    AfterStartUp after;
    std::string uri, out;
    int status;
    double least, most;
  } cases[] = {
      {false, AfterStartUp::Silent, kStat, "", 255, 18, 21},
      {true, AfterStartUp::Silent, kStat, reply(10000, "General Failed"), 0, 0, 7},
      {true, AfterStartUp::Silent, "/api/v2/monitoring/lldp/status", reply(0, "Success", "lldp", "{}"), 0, 0, 7},
      {true, AfterStartUp::HangUp, kStat, reply(10000, "General Failed"), 0, 0, 7},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.uri);
    if (fastCgiMode() && !c.answerStartUp) continue;  // its start-up fails before any request
    ProcessResult result;
    double seconds = againstSilentServer(c.answerStartUp, c.uri, result, c.after);
    EXPECT_EQ(result.out, c.out);
    EXPECT_EQ(result.status, c.status);
    EXPECT_GE(seconds, c.least);
    EXPECT_LE(seconds, c.most);
  }
}

// A server that stops answering costs the request in flight one call's
// time; once it answers again, so does the program: a process that answers
// many requests does not stay with the connection it gave up on.
TEST_F(BoundsTest, AServerThatPausesCostsOnlyTheRequestInFlight) {
  if (!fastCgiMode()) GTEST_SKIP() << "a CGI process starts afresh; HungServerCostsBoundedTime bounds its calls";
  const std::string success = "\"respCode\":\t0,";
  EXPECT_NE(call("GET", kStat).out.find(success), std::string::npos);
  kill(daemonPid_, SIGSTOP);
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(call("GET", kStat).out, reply(10000, "General Failed"));
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  kill(daemonPid_, SIGCONT);
  EXPECT_LE(seconds, 7);
  EXPECT_NE(call("GET", kStat).out.find(success), std::string::npos);
}

// A version that fills its whole buffer is logged within it.
TEST_F(BoundsTest, UnterminatedVersionIsLoggedWithinItsBuffer) {
  std::ofstream(root_ + "/tmp/devmgr_log_level") << "7";
  std::string version(150, 'V');
  ctlOk({"stub", "openapiNetworkOSVersionGet", R"({"rc":0,"out":[")" + version + R"("]})"});
  call("GET", kStat);
  std::string log = readFile("/tmp/zr301.log");
  EXPECT_NE(log.find("] ICOS Version = " + version.substr(0, 100) + "\n"), std::string::npos) << log;
}

// Results travel as plain integers: whatever OpEN answers is a failure that
// the handler maps, never a value the program cannot hold.
TEST_F(BoundsTest, ResultsOutsideTheKnownListAreGeneralFailures) {
  for (const char *rc : {"1", "12345", "-30", "-2147483648", "2147483647"}) {
    SCOPED_TRACE(rc);
    ctlOk({"stub", "openapiStatGet", std::string(R"({"rc":)") + rc + R"(,"out":[7]})", "1"});
    EXPECT_EQ(call("GET", kStat).out, reply(10000, "General Failed"));
  }
}

// The command runner would cut a long scratch name and write some other file.
TEST_F(BoundsTest, ScratchNameThatDoesNotFitFailsBeforeAnythingIsWritten) {
  namespace fs = std::filesystem;
  std::string root = root_ + "/" + std::string(60, 'r');
  fs::create_directories(root + "/tmp/session");
  fs::create_directories(root + "/mnt/application/vexo/tmp");
  std::ofstream(root + "/tmp/session/long") << "admin\n0\n";
  ctlOk({"calls", "clear"});
  EXPECT_EQ(cgi({.uri = "/api/v2/monitoring/instru-nos/mac-addr", .session = "long", .root = root}).out,
            reply(10000, "General Failed"));
  EXPECT_TRUE(callsOf("openapiCliShowExecuteToFile").empty());
  for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root + "/mnt")) {
    EXPECT_FALSE(entry.is_regular_file()) << entry.path() << ": a scratch file was left behind";
  }
}

}  // namespace
