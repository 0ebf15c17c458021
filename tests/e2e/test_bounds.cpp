// What a hostile or broken peer can do to one CGI process: an OpEN server
// that accepts and never answers, texts from OpEN without a terminator,
// results outside the known list, and file names that do not fit.
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

#include "open/wire.h"
#include "tests/e2e/harness.h"

namespace {

using Clock = std::chrono::steady_clock;

const std::string kStat = "/api/v2/monitoring/stats/stat?ifNum=1&counterId=ctr_rx_64";

// An OpEN server that takes every connection and reads every request but
// answers, at most, the three calls of the client's start-up.
class SilentServer {
 public:
  SilentServer(const std::string &path, bool answerStartUp) : path_(path), answerStartUp_(answerStartUp) {
    listenFd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    bind(listenFd_, reinterpret_cast<sockaddr *>(&address), sizeof address);
    listen(listenFd_, 16);
    thread_ = std::thread([this] { serve(); });
  }
  ~SilentServer() {
    stop_ = true;
    shutdown(listenFd_, SHUT_RDWR);
    thread_.join();
    close(listenFd_);
    for (int fd : clients_) close(fd);
    unlink(path_.c_str());
  }

 private:
  void serve() {
    while (!stop_) {
      pollfd fds[17] = {{listenFd_, POLLIN, 0}};
      for (size_t i = 0; i < clients_.size() && i < 16; ++i) fds[i + 1] = {clients_[i], POLLIN, 0};
      if (poll(fds, static_cast<nfds_t>(1 + std::min<size_t>(clients_.size(), 16)), 100) <= 0) continue;
      if (fds[0].revents & POLLIN) {
        int fd = accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd >= 0) clients_.push_back(fd);
      }
      for (size_t i = 0; i < clients_.size() && i < 16; ++i) {
        if (fds[i + 1].revents & POLLIN) readRequests(clients_[i]);
      }
    }
  }
  void readRequests(int fd) {
    char chunk[4096];
    ssize_t got = read(fd, chunk, sizeof chunk);
    if (got <= 0 || !answerStartUp_) return;
    // One request a read: the client waits for each answer.
    std::string_view body(chunk, static_cast<size_t>(got));
    const OpenOpDesc *op = body.size() >= kWireHeaderSize ? wireRequestedOperation(body.substr(kWireHeaderSize)) : nullptr;
    for (OpenOpId startUp : {OPEN_OPID_openapiConnectivityCheck, OPEN_OPID_openapiNetworkOSVersionGet,
                             OPEN_OPID_openapiApiVersionGet}) {
      WireBuffer answer;
      wireEncodeReply(answer, OPEN_E_NONE, nullptr);
      if (op == &kOpenOps[startUp]) (void)!write(fd, answer.data(), answer.size());
    }
  }

  std::string path_;
  bool answerStartUp_;
  int listenFd_ = -1;
  std::vector<int> clients_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

class BoundsTest : public SwitchTest {
 protected:
  // Runs `uri` against a silent server; returns the seconds it took.
  double againstSilentServer(bool answerStartUp, const std::string &uri, ProcessResult *result) {
    SilentServer server(root_ + "/silent.sock", answerStartUp);
    CgiRequest request;
    request.uri = uri;
    request.session = adminSession_.c_str();
    request.socket = root_ + "/silent.sock";
    Clock::time_point start = Clock::now();
    *result = cgi(request);
    return std::chrono::duration<double>(Clock::now() - start).count();
  }
};

// The start-up checks each wait a short time, so a hung server costs what an
// absent one does: seven checks and six 3-second pauses.
TEST_F(BoundsTest, HungServerAtStartUpCostsAboutEighteenSeconds) {
  ProcessResult result;
  double seconds = againstSilentServer(false, kStat, &result);
  EXPECT_EQ(result.status, 255);
  EXPECT_EQ(result.out, "");
  EXPECT_GE(seconds, 18.0);
  EXPECT_LE(seconds, 21.0);
}

// A server that stops answering after start-up: the first call runs out of
// time and the handler answers; an aggregated route does not wait again for
// each of its hundreds of calls.
TEST_F(BoundsTest, HungServerAfterStartUpFailsTheCallsInSeconds) {
  for (const std::string &uri : {kStat, std::string("/api/v2/monitoring/lldp/all-interface-status")}) {
    SCOPED_TRACE(uri);
    ProcessResult result;
    double seconds = againstSilentServer(true, uri, &result);
    EXPECT_EQ(result.status, 0);
    if (uri == kStat) {
      EXPECT_EQ(result.out, kJsonHeader + envelope(10000, "General Failed"));
    } else {
      EXPECT_EQ(result.out.rfind(kJsonHeader + "{", 0), 0u) << result.out;
    }
    EXPECT_LE(seconds, 7.0);
  }
}

// A version that fills its whole buffer is logged within it.
TEST_F(BoundsTest, UnterminatedVersionIsLoggedWithinItsBuffer) {
  FILE *level = fopen((root_ + "/tmp/devmgr_log_level").c_str(), "w");
  ASSERT_NE(level, nullptr);
  fputs("7", level);
  fclose(level);
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
    EXPECT_EQ(call("GET", kStat).out, kJsonHeader + envelope(10000, "General Failed"));
  }
}

bool treeHasFile(const std::string &dir, const std::string &prefix) {
  std::string command = "find '" + dir + "' -type f -name '" + prefix + "*' | grep -q .";
  return system(command.c_str()) == 0;
}

// The command runner would cut a long scratch name and write some other file.
TEST_F(BoundsTest, ScratchNameThatDoesNotFitFailsBeforeAnythingIsWritten) {
  std::string root = root_ + "/" + std::string(60, 'r');
  for (const char *dir : {"", "/tmp", "/tmp/session", "/mnt", "/mnt/application", "/mnt/application/vexo",
                          "/mnt/application/vexo/tmp"}) {
    ASSERT_EQ(mkdir((root + dir).c_str(), 0755), 0) << dir;
  }
  FILE *session = fopen((root + "/tmp/session/long").c_str(), "w");
  ASSERT_NE(session, nullptr);
  fputs("admin\n0\n", session);
  fclose(session);
  ctlOk({"calls", "clear"});
  CgiRequest request;
  request.uri = "/api/v2/monitoring/instru-nos/mac-addr";
  request.session = "long";
  request.root = root;
  EXPECT_EQ(cgi(request).out, kJsonHeader + envelope(10000, "General Failed"));
  EXPECT_TRUE(callsOf("openapiCliShowExecuteToFile").empty());
  EXPECT_FALSE(treeHasFile(root + "/mnt", "")) << "a scratch file was left behind";
}

}  // namespace
