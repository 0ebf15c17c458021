#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "cgi/session.h"
#include "frame_sandbox.h"

using frametest::fileExists;
using frametest::readFile;
using frametest::writeFile;

namespace {

constexpr const char *kId = "sid-1";
int fakeUptimeResult = 0;

int fakeUptimeSource(long *uptime) {
  *uptime = 100000;
  return fakeUptimeResult;
}

httpdRouteEntry route(int method, int needsSession) {
  return httpdRouteEntry{"op", method, needsSession, nullptr, nullptr};
}

class SessionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    box.startDebugLog();
    fakeUptimeResult = 0;
    sessionUptimeSource = fakeUptimeSource;
  }
  void TearDown() override { sessionUptimeSource = sessionSystemUptime; }

  std::string sessionFile() const { return box.sessionPath(kId); }
  bool logged(const std::string &level, const std::string &message) const {
    return box.logText().find("(" + level + "): frame-test: [checkSessionX] " + message) != std::string::npos;
  }

  frametest::Sandbox box;
};

constexpr const char *kUnchanged = "=";
constexpr const char *kGone = "";  // no file at all

struct SessionCase {
  const char *name;
  const char *content;  // NULL: no session file
  int method;
  int needsSession;
  const char *refresh;
  int expected;
  const char *fileAfter;  // kUnchanged, kGone or the exact new content
  const char *logLevel = nullptr;
  const char *logMessage = nullptr;  // what the log must hold, from after the caller
};

class SessionCaseTest : public SessionTest, public ::testing::WithParamInterface<SessionCase> {};

TEST_P(SessionCaseTest, DecidesAndKeepsTheFile) {
  const SessionCase &c = GetParam();
  if (c.content != nullptr) writeFile(sessionFile(), c.content);
  httpdRouteEntry entry = route(c.method, c.needsSession);
  EXPECT_EQ(checkSessionX(kId, c.refresh, &entry), c.expected);
  EXPECT_EQ(fileExists(sessionFile()), *c.fileAfter != '\0');
  EXPECT_EQ(readFile(sessionFile()), c.fileAfter == kUnchanged ? c.content : c.fileAfter);
  EXPECT_TRUE(c.logLevel == nullptr || logged(c.logLevel, c.logMessage)) << box.logText();
}

// 199 characters of name and its newline fill the user line exactly.
const std::string kLongestUser = std::string(198, 'A') + "\n0\nrw\n";
const std::string kOverlongUser = std::string(199, 'A') + std::string(199, '0') + "rw\n99999\nro\n";

// The clock reads 100000 s; a stamp 7200 s old is the oldest that passes.
INSTANTIATE_TEST_SUITE_P(
    Sessions, SessionCaseTest,
    ::testing::Values(
        SessionCase{"AdminNeverExpiring", "admin\n0\n", HTTPD_PUT, 1, nullptr, 0, "admin\n100000\nsid-1", "DEBUG",
                    "Token update to file. (admin\n100000\nsid-1)\r\n"},
        SessionCase{"RewriteKeepsOldTail", "admin\n99000\nAAAAAAAAAAAAAAAAAAAA\n", HTTPD_GET, 1, nullptr, 0,
                    "admin\n100000\nsid-1AAAAAAAAAAAAAA\n"},
        SessionCase{"ReadWriteUserMayWrite", "bob\n99999\nrw\n", HTTPD_DELETE, 1, nullptr, 0, "bob\n100000\nrw\nsid-1"},
        SessionCase{"ReadOnlyUserMayRead", "eve\n99999\nro\n", HTTPD_GET, 1, nullptr, 0, "eve\n100000\nro\nsid-1"},
        SessionCase{"ReadOnlyUserMayNotPut", "eve\n99999\nro\n", HTTPD_PUT, 1, nullptr, -1, kUnchanged, "ERROR",
                    "Permission denied, not a priviledged user\n"},
        SessionCase{"ReadOnlyUserMayNotDelete", "eve\n99999\nro\n", HTTPD_DELETE, 1, nullptr, -1, kUnchanged},
        SessionCase{"AdminOnlyRouteRefusesReadWrite", "bob\n99999\nrw\n", HTTPD_GET, 2, nullptr, -1, kUnchanged,
                    "ERROR", "Permission denied, not a priviledged user\n"},
        SessionCase{"AdminOnlyRouteAdmitsAdmin", "admin\n99999\n", HTTPD_PUT, 2, nullptr, 0, "admin\n100000\nsid-1"},
        SessionCase{"UnknownPrivilege", "bob\n99999\nrx\n", HTTPD_GET, 1, nullptr, -1, kUnchanged, "ERROR",
                    "Invalid priviledged level in user session\n"},
        SessionCase{"AdminNameMustBeTheWholeLine", "administrator\n99999\n", HTTPD_GET, 1, nullptr, -1, kUnchanged},
        SessionCase{"IdleExactlyTheLimit", "admin\n92800\n", HTTPD_GET, 1, nullptr, 0, "admin\n100000\nsid-1"},
        SessionCase{"IdleOneSecondTooLong", "bob\n92799\nrw\n", HTTPD_GET, 1, nullptr, -1, kGone, "INFO",
                    "Token timeout(100000 - 92799).please login again. (userName: bob\n timestamp: 92799\n)\r\n"},
        SessionCase{"StampFromBeforeAReboot", "admin\n250000\n", HTTPD_GET, 1, nullptr, 0, "admin\n100000\nsid-1"},
        SessionCase{"RefreshLeavesTheFileAlone", "bob\n99000\nrw\nmore\n", HTTPD_GET, 1, "1", 0, kUnchanged},
        SessionCase{"EmptyRefreshAlsoCounts", "admin\n99000\n", HTTPD_GET, 1, "", 0, kUnchanged},
        // A name that overruns its 200-byte line must not supply the stamp and privilege.
        SessionCase{"UserLinePastItsLimit", kOverlongUser.c_str(), HTTPD_PUT, 1, nullptr, -1, kUnchanged, "ERROR",
                    "Session file line missing or longer than its limit, refused\n"},
        SessionCase{"UserLineJustWithinItsLimit", kLongestUser.c_str(), HTTPD_PUT, 1, "1", 0, kUnchanged},
        SessionCase{"PrivilegeLinePastItsLimit", "bob\n99999\nrw-and-fifteen-more\n", HTTPD_GET, 1, nullptr, -1,
                    kUnchanged},
        SessionCase{"PrivilegeLineWithoutItsNewline", "bob\n99999\nrw", HTTPD_GET, 1, nullptr, -1, kUnchanged},
        SessionCase{"NoSessionFile", nullptr, HTTPD_GET, 1, nullptr, -1, kGone, "DEBUG",
                    "/tmp/session/sid-1 file not exsits, ignore\n"}),
    [](const ::testing::TestParamInfo<SessionCase> &info) { return std::string(info.param.name); });

TEST_F(SessionTest, FailingUptimeRefuses) {
  writeFile(sessionFile(), "admin\n0\n");
  fakeUptimeResult = -1;
  httpdRouteEntry entry = route(HTTPD_GET, 1);
  EXPECT_EQ(checkSessionX(kId, nullptr, &entry), -1);
  EXPECT_EQ(readFile(sessionFile()), "admin\n0\n");
  EXPECT_TRUE(logged("ERROR", "Failed to get sysinfo\r\n")) << box.logText();
}

// Only a regular file inside the session directory is a session. Each check
// runs in a child that an alarm ends, as opening a FIFO could block for ever.
TEST_F(SessionTest, NamesOtherThanARegularSessionFileAreRefusedWithoutBlocking) {
  ASSERT_EQ(mkfifo(box.sessionPath("fifo").c_str(), 0600), 0);
  ASSERT_EQ(mkdir(box.sessionPath("a").c_str(), 0755), 0);
  ASSERT_EQ(symlink("/dev/zero", box.sessionPath("device").c_str()), 0);
  // Perfectly good administrator sessions where "a/b" and "../x" would lead.
  writeFile(box.sessionPath("a/b"), "admin\n0\n");
  writeFile(box.path("/tmp/x"), "admin\n0\n");
  httpdRouteEntry entry = route(HTTPD_GET, 1);
  std::string overlong(600, 'a');
  for (const char *id : {"fifo", "a", "device", "a/b", "../x", ".", "..", "", overlong.c_str(),
                         static_cast<const char *>(nullptr)}) {
    pid_t child = fork();
    if (child == 0) {
      alarm(2);
      _exit(checkSessionX(id, nullptr, &entry) == -1 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << (id ? id : "(null)") << ": status " << status;
  }
  EXPECT_EQ(readFile(box.sessionPath("a/b")) + readFile(box.path("/tmp/x")), "admin\n0\nadmin\n0\n");
}

TEST(SessionUptime, IsTheSystemUptime) {
  long uptime = -1;
  double procUptime = 0;
  ASSERT_EQ(sessionSystemUptime(&uptime), 0);
  ASSERT_EQ(sscanf(readFile("/proc/uptime").c_str(), "%lf", &procUptime), 1);
  EXPECT_NEAR(static_cast<double>(uptime), procUptime, 2.0);
}

// Another process holding the session lock (as a concurrent request would)
// makes the check wait instead of reading a half-written session.
TEST_F(SessionTest, WaitsForTheSessionLock) {
  writeFile(sessionFile(), "admin\n0\n");
  FILE *holder = fopen(sessionFile().c_str(), "r+");
  ASSERT_NE(holder, nullptr);
  ASSERT_EQ(flock(fileno(holder), LOCK_EX), 0);
  auto start = std::chrono::steady_clock::now();
  std::thread releaser([holder] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    fputs("admin\n99999\n", holder);
    fflush(holder);
    flock(fileno(holder), LOCK_UN);
  });
  httpdRouteEntry entry = route(HTTPD_GET, 1);
  EXPECT_EQ(checkSessionX(kId, nullptr, &entry), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(250));
  releaser.join();
  fclose(holder);
  EXPECT_EQ(readFile(sessionFile()), "admin\n100000\nsid-1");
}

}  // namespace

namespace {

// A holder that never lets go costs the request three seconds, not the slot.
TEST_F(SessionTest, GivesUpOnALockHeldForEver) {
  writeFile(sessionFile(), "admin\n0\n");
  FILE *holder = fopen(sessionFile().c_str(), "r+");
  ASSERT_NE(holder, nullptr);
  ASSERT_EQ(flock(fileno(holder), LOCK_EX), 0);
  auto start = std::chrono::steady_clock::now();
  httpdRouteEntry entry = route(HTTPD_GET, 1);
  EXPECT_EQ(checkSessionX(kId, nullptr, &entry), -1);
  auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(2900));
  EXPECT_LE(waited, std::chrono::milliseconds(6000));
  EXPECT_TRUE(logged("ERROR", "File lock failed\n")) << box.logText();
  fclose(holder);
}

}  // namespace
