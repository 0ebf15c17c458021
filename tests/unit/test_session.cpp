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

constexpr long kNow = 100000;
constexpr const char *kId = "sid-1";

long fakeUptime = kNow;
int fakeUptimeResult = 0;

int fakeUptimeSource(long *uptime) {
  *uptime = fakeUptime;
  return fakeUptimeResult;
}

void noHandler() {}

httpdRouteEntry route(int method, int needsSession) {
  return httpdRouteEntry{const_cast<char *>("op"), method, needsSession, noHandler, nullptr};
}

class SessionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    box.startDebugLog();
    fakeUptime = kNow;
    fakeUptimeResult = 0;
    sessionUptimeSource = fakeUptimeSource;
  }
  void TearDown() override { sessionUptimeSource = sessionSystemUptime; }

  std::string sessionFile() const { return box.sessionPath(kId); }

  frametest::Sandbox box;
};

constexpr const char *kUnchanged = "=";
constexpr const char *kDeleted = nullptr;

struct SessionCase {
  const char *name;
  const char *content;
  int method;
  int needsSession;
  const char *refresh;
  int expected;
  const char *fileAfter;   // kUnchanged, kDeleted or the exact new content
  const char *logMessage;  // a line the log must hold, or ""
};

class SessionCaseTest : public SessionTest, public ::testing::WithParamInterface<SessionCase> {};

TEST_P(SessionCaseTest, DecidesAndKeepsTheFile) {
  const SessionCase &c = GetParam();
  writeFile(sessionFile(), c.content);
  httpdRouteEntry entry = route(c.method, c.needsSession);
  EXPECT_EQ(checkSessionX(kId, c.refresh, &entry), c.expected);
  if (c.fileAfter == kDeleted) {
    EXPECT_FALSE(fileExists(sessionFile()));
  } else {
    EXPECT_EQ(readFile(sessionFile()), c.fileAfter == kUnchanged ? c.content : c.fileAfter);
  }
  EXPECT_NE(box.logText().find(c.logMessage), std::string::npos) << box.logText();
}

const char *const kDenied = "[checkSessionX:";

INSTANTIATE_TEST_SUITE_P(
    Sessions, SessionCaseTest,
    ::testing::Values(
        SessionCase{"AdminNeverExpiring", "admin\n0\n", HTTPD_PUT, 1, nullptr, 0, "admin\n100000\nsid-1",
                    "] Token update to file. (admin\n100000\nsid-1)\r\n"},
        SessionCase{"RewriteKeepsOldTail", "admin\n99000\nAAAAAAAAAAAAAAAAAAAA\n", HTTPD_GET, 1, nullptr, 0,
                    "admin\n100000\nsid-1AAAAAAAAAAAAAA\n", ""},
        SessionCase{"ReadWriteUserMayWrite", "bob\n99999\nrw\n", HTTPD_DELETE, 1, nullptr, 0,
                    "bob\n100000\nrw\nsid-1", ""},
        SessionCase{"ReadOnlyUserMayRead", "eve\n99999\nro\n", HTTPD_GET, 1, nullptr, 0, "eve\n100000\nro\nsid-1",
                    ""},
        SessionCase{"ReadOnlyUserMayNotPut", "eve\n99999\nro\n", HTTPD_PUT, 1, nullptr, -1, kUnchanged,
                    "] Permission denied, not a priviledged user\n"},
        SessionCase{"ReadOnlyUserMayNotPost", "eve\n99999\nro\n", HTTPD_POST, 1, nullptr, -1, kUnchanged, kDenied},
        SessionCase{"ReadOnlyUserMayNotDelete", "eve\n99999\nro\n", HTTPD_DELETE, 1, nullptr, -1, kUnchanged,
                    kDenied},
        SessionCase{"AdminOnlyRouteRefusesReadWrite", "bob\n99999\nrw\n", HTTPD_GET, 2, nullptr, -1, kUnchanged,
                    "] Permission denied, not a priviledged user\n"},
        SessionCase{"AdminOnlyRouteAdmitsAdmin", "admin\n99999\n", HTTPD_PUT, 2, nullptr, 0, "admin\n100000\nsid-1",
                    ""},
        SessionCase{"UnknownPrivilege", "bob\n99999\nrx\n", HTTPD_GET, 1, nullptr, -1, kUnchanged,
                    "] Invalid priviledged level in user session\n"},
        SessionCase{"AdminNameMustBeTheWholeLine", "administrator\n99999\n", HTTPD_GET, 1, nullptr, -1, kUnchanged,
                    "] Invalid priviledged level in user session\n"},
        SessionCase{"IdleExactlyTheLimit", "admin\n92800\n", HTTPD_GET, 1, nullptr, 0, "admin\n100000\nsid-1", ""},
        SessionCase{"IdleOneSecondTooLong", "bob\n92799\nrw\n", HTTPD_GET, 1, nullptr, -1, kDeleted,
                    "(INFO): frame-test: [checkSessionX:"},
        SessionCase{"TimeoutMessage", "admin\n92799\n", HTTPD_GET, 1, nullptr, -1, kDeleted,
                    "] Token timeout(100000 - 92799).please login again. (userName: admin\n timestamp: 92799\n)\r\n"},
        SessionCase{"StampFromBeforeAReboot", "admin\n250000\n", HTTPD_GET, 1, nullptr, 0, "admin\n100000\nsid-1",
                    ""},
        SessionCase{"RefreshLeavesTheFileAlone", "bob\n99000\nrw\nmore\n", HTTPD_GET, 1, "1", 0, kUnchanged, ""},
        SessionCase{"EmptyRefreshAlsoCounts", "admin\n99000\n", HTTPD_GET, 1, "", 0, kUnchanged, ""}),
    [](const ::testing::TestParamInfo<SessionCase> &info) { return std::string(info.param.name); });

TEST_F(SessionTest, MissingSessionFileIsRefused) {
  httpdRouteEntry entry = route(HTTPD_GET, 1);
  EXPECT_EQ(checkSessionX("nobody", nullptr, &entry), -1);
  EXPECT_NE(box.logText().find("] " + box.sessionPath("nobody") + " file not exsits, ignore\n"), std::string::npos)
      << box.logText();
}

// A session name that is not a regular file is refused as a missing session,
// at once: the check runs in a child that an alarm ends if it blocks.
TEST_F(SessionTest, NamesThatAreNotRegularFilesAreRefusedWithoutBlocking) {
  ASSERT_EQ(mkfifo(box.sessionPath("fifo").c_str(), 0600), 0);
  ASSERT_EQ(mkdir(box.sessionPath("dir").c_str(), 0755), 0);
  ASSERT_EQ(symlink("/dev/zero", box.sessionPath("device").c_str()), 0);
  for (const char *id : {"fifo", "dir", "device"}) {
    pid_t child = fork();
    if (child == 0) {
      alarm(2);
      httpdRouteEntry entry = route(HTTPD_GET, 1);
      _exit(checkSessionX(id, nullptr, &entry) == -1 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << id << ": status " << status;
  }
}

TEST_F(SessionTest, IdentifiersThatLeaveTheSessionDirectoryAreRefused) {
  // A perfectly good administrator session where "a/b" would lead.
  ASSERT_EQ(mkdir(box.sessionPath("a").c_str(), 0755), 0);
  writeFile(box.sessionPath("a/b"), "admin\n0\n");
  writeFile(box.path("/tmp/x"), "admin\n0\n");
  httpdRouteEntry entry = route(HTTPD_GET, 1);
  std::string overlong(600, 'a');
  for (const char *id : {"a/b", "../x", ".", "..", "", overlong.c_str(), static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(checkSessionX(id, nullptr, &entry), -1) << (id ? id : "(null)");
  }
  EXPECT_EQ(readFile(box.sessionPath("a/b")), "admin\n0\n");
  EXPECT_EQ(readFile(box.path("/tmp/x")), "admin\n0\n");
}

TEST_F(SessionTest, FailingUptimeRefuses) {
  writeFile(sessionFile(), "admin\n0\n");
  fakeUptimeResult = -1;
  httpdRouteEntry entry = route(HTTPD_GET, 1);
  EXPECT_EQ(checkSessionX(kId, nullptr, &entry), -1);
  EXPECT_EQ(readFile(sessionFile()), "admin\n0\n");
  EXPECT_NE(box.logText().find("] Failed to get sysinfo\r\n"), std::string::npos);
}

TEST_F(SessionTest, StampIsTheSystemUptime) {
  sessionUptimeSource = sessionSystemUptime;
  writeFile(sessionFile(), "admin\n0\n");
  httpdRouteEntry entry = route(HTTPD_GET, 1);
  ASSERT_EQ(checkSessionX(kId, nullptr, &entry), 0);
  double procUptime = 0;
  FILE *file = fopen("/proc/uptime", "r");
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(fscanf(file, "%lf", &procUptime), 1);
  fclose(file);
  long stamp = strtol(readFile(sessionFile()).substr(6).c_str(), nullptr, 10);
  EXPECT_NEAR(static_cast<double>(stamp), procUptime, 2.0);
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
  int rc = checkSessionX(kId, nullptr, &entry);
  auto waited = std::chrono::steady_clock::now() - start;
  releaser.join();
  fclose(holder);
  EXPECT_EQ(rc, 0);
  EXPECT_GE(waited, std::chrono::milliseconds(250));
  EXPECT_EQ(readFile(sessionFile()), "admin\n100000\nsid-1");
}

}  // namespace
