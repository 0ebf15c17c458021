#include "cgi/session.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "log/log.h"
#include "log/paths.h"

sessionUptimeFn sessionUptimeSource = sessionSystemUptime;

// The kernel's uptime as sysinfo(2) gives it, a started second counting as
// whole, read through the vDSO: no system call a request.
int sessionSystemUptime(long *uptime) {
  timespec boot{};
  if (clock_gettime(CLOCK_BOOTTIME, &boot) != 0) {
    return -1;
  }
  *uptime = static_cast<long>(boot.tv_sec) + (boot.tv_nsec != 0 ? 1 : 0);
  return 0;
}

namespace {

constexpr size_t kSessionPathSize = 512;
constexpr size_t kLineSize = 200;
constexpr size_t kPrivilegeSize = 16;
constexpr size_t kRewriteSize = 256;
constexpr const char *kAdminLine = "admin\n";
constexpr int kLockWaitMs = 3000;
constexpr long kFirstLockRetryUs = 20;
constexpr long kLongestLockRetryUs = 10000;

struct SessionLines {
  char user[kLineSize];
  char stamp[kLineSize];
  char privilege[kPrivilegeSize];
};

enum class Verdict { Allowed, Denied, InvalidLevel };

constexpr char kSessionDir[] = "/tmp/session/";
constexpr size_t kSessionDirLen = sizeof kSessionDir - 1;

// The identifier names a file: anything that could leave the session
// directory, or not fit the path buffer, is refused before the file system
// is touched.
bool isSafeSessionId(const char *id) {
  return id != nullptr && *id != '\0' && strchr(id, '/') == nullptr && strcmp(id, ".") != 0 &&
         strcmp(id, "..") != 0 && strlen(id) < kSessionPathSize - kSessionDirLen;
}

const char *sessionFilePath(const char *id, char *path, char *rooted, size_t rootedSize) {
  memcpy(path, kSessionDir, kSessionDirLen);
  memcpy(path + kSessionDirLen, id, strlen(id) + 1);
  return rootedPath(path, rooted, rootedSize);
}

// Only a regular file is a session. Anything else is refused without
// blocking: opening a FIFO for reading would wait for a writer for ever. A
// regular file is read and written alike whether or not it was opened
// non-blocking, so it stays as it was opened.
int openSessionFile(const char *path) {
  if (path == nullptr) return -1;
  int fd = open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return -1;
  struct stat info;
  if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) return fd;
  close(fd);
  return -1;
}

struct FileCloser {
  int fd;
  ~FileCloser() {
    if (fd >= 0) close(fd);
  }
};

// The login page and the other requests hold the lock for a few
// microseconds; a holder that never lets go must not hold the web server's
// slot with it. The retries start short and double, so that two processes
// polling one session wait about as long as the holder needs, not a fixed
// tick; their sleeps add up to at most kLockWaitMs.
bool lockSessionFile(int fd) {
  long retryUs = kFirstLockRetryUs;
  for (long waitedUs = 0;; waitedUs += retryUs, retryUs = std::min(2 * retryUs, kLongestLockRetryUs)) {
    if (flock(fd, LOCK_EX | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK && errno != EINTR) return false;
    if (waitedUs >= kLockWaitMs * 1000L) return false;
    usleep(static_cast<useconds_t>(retryUs));
  }
}

// The start of the file, as far as the lines the check reads can reach, read
// at once; its lines are taken from it as fgets would take them.
struct SessionText {
  char bytes[kLineSize + kLineSize + kPrivilegeSize];
  size_t length = 0;
  size_t at = 0;
};

void readSessionText(int fd, SessionText *text) {
  ssize_t got = pread(fd, text->bytes, sizeof text->bytes, 0);
  text->length = got > 0 ? static_cast<size_t>(got) : 0;
}

// A line must end with its newline within its limit: a longer one would
// carry on into the next read, and a user name could then supply its own
// time stamp and privilege.
bool readLine(char *buf, size_t size, SessionText *text) {
  size_t taken = 0;
  while (taken + 1 < size && text->at < text->length) {
    char c = text->bytes[text->at++];
    buf[taken++] = c;
    if (c == '\n') break;
  }
  buf[taken] = '\0';
  size_t length = strlen(buf);
  return length > 0 && buf[length - 1] == '\n';
}

bool isAdmin(const SessionLines &lines) { return strcmp(lines.user, kAdminLine) == 0; }

// False when a line the check reads is missing or overruns its limit.
bool readSessionLines(SessionText *text, SessionLines *lines) {
  bool whole = readLine(lines->user, sizeof lines->user, text);
  whole = readLine(lines->stamp, sizeof lines->stamp, text) && whole;
  lines->privilege[0] = '\0';
  if (!isAdmin(*lines)) {
    whole = readLine(lines->privilege, sizeof lines->privilege, text) && whole;
  }
  return whole;
}

// Session flag 1 is any logged-in user; every other flag means administrators only.
Verdict privilegeVerdict(const char *privilege, const httpdRouteEntry *route) {
  bool readWrite = strncmp(privilege, "rw", 2) == 0;
  bool readOnly = strncmp(privilege, "ro", 2) == 0;
  if (!readWrite && !readOnly) {
    return Verdict::InvalidLevel;
  }
  if (route->needsSession != 1 || (readOnly && route->method != HTTPD_GET)) {
    return Verdict::Denied;
  }
  return Verdict::Allowed;
}

bool isExpired(long uptime, long stamp) {
  long idle = 0;
  if (stamp == 0) {
    return false;
  }
  // Only a hugely negative stamp overflows, and that is long past.
  return __builtin_sub_overflow(uptime, stamp, &idle) || idle > kIdleLimitSeconds;
}

// The file is rewritten from its start but not shortened: a shorter text
// leaves the old tail behind it, which the readers never look at.
bool writeBack(int fd, const char *text) {
  size_t len = strlen(text);
  return pwrite(fd, text, len, 0) == static_cast<ssize_t>(len);
}

void formatRefreshed(const SessionLines &lines, long uptime, const char *id, char *text) {
  if (isAdmin(lines)) {
    snprintf(text, kRewriteSize, "%s%ld\n%s", lines.user, uptime, id);
  } else {
    snprintf(text, kRewriteSize, "%s%ld\n%s%s", lines.user, uptime, lines.privilege, id);
  }
}

}  // namespace

int checkSessionX(const char *sessionId, const char *refresh, const httpdRouteEntry *route) {
  if (!isSafeSessionId(sessionId) || route == nullptr) {
    LOG_DEBUG("missing or unusable session id, refused\n");
    return -1;
  }
  char path[kSessionPathSize];
  char rooted[PATH_MAX];
  const char *filePath = sessionFilePath(sessionId, path, rooted, sizeof rooted);
  FileCloser file{openSessionFile(filePath)};
  if (file.fd < 0) {
    LOG_DEBUG("%s file not exsits, ignore\n", filePath != nullptr ? filePath : path);
    return -1;
  }
  if (!lockSessionFile(file.fd)) {
    LOG_ERROR("File lock failed\n");
    return -1;
  }
  SessionText text;
  readSessionText(file.fd, &text);
  SessionLines lines;
  if (!readSessionLines(&text, &lines)) {
    LOG_ERROR("Session file line missing or longer than its limit, refused\n");
    return -1;
  }
  Verdict verdict = isAdmin(lines) ? Verdict::Allowed : privilegeVerdict(lines.privilege, route);
  if (verdict == Verdict::Denied) {
    LOG_ERROR("Permission denied, not a priviledged user\n");
    return -1;
  }
  if (verdict == Verdict::InvalidLevel) {
    LOG_ERROR("Invalid priviledged level in user session\n");
    return -1;
  }
  long uptime = 0;
  if (sessionUptimeSource(&uptime) != 0) {
    LOG_ERROR("Failed to get sysinfo\r\n");
    return -1;
  }
  long stamp = strtol(lines.stamp, nullptr, 10);
  if (isExpired(uptime, stamp)) {
    LOG_INFO("Token timeout(%ld - %ld).please login again. (userName: %s timestamp: %s)\r\n", uptime, stamp,
             lines.user, lines.stamp);
    unlink(filePath);
    return -1;
  }
  // Polling requests carry HTTP_REFRESH so that they do not keep a session alive.
  if (refresh == nullptr) {
    char refreshed[kRewriteSize];
    formatRefreshed(lines, uptime, sessionId, refreshed);
    if (writeBack(file.fd, refreshed)) {
      LOG_DEBUG("Token update to file. (%s)\r\n", refreshed);
    } else {
      LOG_ERROR("Token update failed\r\n");
    }
  }
  if (flock(file.fd, LOCK_UN) != 0) {
    LOG_ERROR("File unlock failed\n");
    return -1;
  }
  return 0;
}
