#include "log/log.h"

#include <fcntl.h>
#include <limits.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "log/paths.h"

namespace {

constexpr const char *kLogFile = "/tmp/zr301.log";
constexpr const char *kOldLogFile = "/tmp/zr301.log.old";
constexpr const char *kLevelFile = "/tmp/devmgr_log_level";
constexpr long kRotateAfterBytes = 1048576;
constexpr int kDefaultLevel = 6;
constexpr int kUserFacility = 8;
constexpr size_t kLevelPageSize = 4;

struct LoggerState {
  int mode;
  int facility;
  char ident[64];
  FILE *file;
  int fileFd;  // the log file opened at start, until the first line written makes it `file`
  long bytesWritten;
  char *levelPage;
  int levelFd;
  bool opened;
  bool pageMapped;
  pthread_mutex_t fileMutex;
  char logPath[PATH_MAX];
  char oldLogPath[PATH_MAX];
};

// Constant-initialised: the logger must not cost a static constructor.
LoggerState logger = {-1, -1, {}, nullptr, -1, 0, nullptr, -1, false, false, PTHREAD_MUTEX_INITIALIZER, {}, {}};

const char *levelName(int level) {
  static const char *const names[] = {"", "", "", "ERROR", "WARN", "NOTICE", "INFO", "DEBUG"};
  if (level < 0 || level > 7) {
    return "";
  }
  return names[level];
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

void setIdent(const char *ident) {
  if (ident == nullptr) {
    logger.ident[0] = '\0';
    return;
  }
  snprintf(logger.ident, sizeof logger.ident, "%s", ident);
}

int openLevelFile(const char *path) {
  int fd = open(path, O_RDWR | O_CLOEXEC);
  if (fd >= 0 || errno != ENOENT) {
    return fd;
  }
  fd = open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd >= 0) {
    // Every process of the web interface shares this file, whatever its umask.
    fchmod(fd, 0666);
    return fd;
  }
  return errno == EEXIST ? open(path, O_RDWR | O_CLOEXEC) : -1;
}

void mapLevelPage() {
  char buf[PATH_MAX];
  const char *path = rootedPath(kLevelFile, buf, sizeof buf);
  if (path == nullptr) {
    return;
  }
  int fd = openLevelFile(path);
  if (fd < 0) {
    return;
  }
  void *page = MAP_FAILED;
  if (ftruncate(fd, kLevelPageSize) == 0) {
    page = mmap(nullptr, kLevelPageSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  }
  if (page == MAP_FAILED) {
    close(fd);
    return;
  }
  logger.levelPage = static_cast<char *>(page);
  logger.levelFd = fd;
  logger.pageMapped = true;
  if (!isDigit(logger.levelPage[0])) {
    logger.levelPage[0] = '0' + kDefaultLevel;
  }
}

void unmapLevelPage() {
  if (logger.pageMapped) {
    munmap(logger.levelPage, kLevelPageSize);
  }
  if (logger.levelFd >= 0) {
    close(logger.levelFd);
  }
  logger.levelPage = nullptr;
  logger.levelFd = -1;
  logger.pageMapped = false;
}

// Rotation needs the log's name later, so it is kept whether rooted or not.
bool resolvePath(const char *absPath, char *out, size_t size) {
  const char *path = rootedPath(absPath, out, size);
  if (path == nullptr) {
    return false;
  }
  if (path != out) {
    snprintf(out, size, "%s", path);
  }
  return true;
}

// Called with the file mutex held. Most processes write no line at all, so
// the file is only opened here, as "a+" would open it; the stream around it
// waits for the first line (streamLogFile).
void openLogFile() {
  logger.file = nullptr;
  logger.fileFd = -1;
  logger.bytesWritten = 0;
  if (!resolvePath(kLogFile, logger.logPath, sizeof logger.logPath)) {
    return;
  }
  logger.fileFd = open(logger.logPath, O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
}

// Called with the file mutex held: the stream for a line, NULL without a file.
FILE *streamLogFile() {
  if (logger.file != nullptr || logger.fileFd < 0) {
    return logger.file;
  }
  logger.file = fdopen(logger.fileFd, "a+");
  if (logger.file == nullptr) {
    return nullptr;
  }
  logger.fileFd = -1;
  struct stat st;
  if (fstat(fileno(logger.file), &st) == 0) {
    logger.bytesWritten = st.st_size;
  }
  return logger.file;
}

void closeLogFile() {
  if (logger.file != nullptr) {
    fclose(logger.file);
  }
  if (logger.fileFd >= 0) {
    close(logger.fileFd);
  }
  logger.file = nullptr;
  logger.fileFd = -1;
  logger.bytesWritten = 0;
}

void rotateLogFile() {
  fclose(logger.file);
  if (resolvePath(kOldLogFile, logger.oldLogPath, sizeof logger.oldLogPath)) {
    unlink(logger.oldLogPath);
    rename(logger.logPath, logger.oldLogPath);
  }
  logger.file = fopen(logger.logPath, "a+");
  logger.bytesWritten = 0;
}

void identFromProcessName() {
  FILE *status = fopen("/proc/self/status", "r");
  if (status == nullptr) {
    return;
  }
  char line[256];
  while (fgets(line, sizeof line, status) != nullptr) {
    if (strncmp(line, "Name:", 5) != 0) {
      continue;
    }
    char *save = nullptr;
    strtok_r(line, "\t\n", &save);
    setIdent(strtok_r(nullptr, "\t\n", &save));
    break;
  }
  fclose(status);
}

void openOnFirstWrite() {
  if (logger.mode == -1) {
    logger.mode = LOG_MODE_STDOUT;
    logger.facility = kUserFacility;
    logger.opened = true;
    return;
  }
  if (logger.facility == -1) {
    logger.facility = kUserFacility;
  }
  if (logger.ident[0] == '\0' && logger.mode != LOG_MODE_STDOUT) {
    identFromProcessName();
  }
  if (logger.mode & LOG_MODE_SYSLOG) {
    openlog(logger.ident[0] != '\0' ? logger.ident : nullptr, 0, logger.facility);
  }
  logger.opened = true;
}

bool formatTime(char *text, size_t size) {
  struct timespec now;
  struct tm local;
  if (clock_gettime(CLOCK_REALTIME, &now) != 0 || localtime_r(&now.tv_sec, &local) == nullptr) {
    return false;
  }
  int len = snprintf(text, size, "%04d-%02d-%02d %02d:%02d:%02d.%03ld", local.tm_year + 1900,
                     local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                     now.tv_nsec / 1000000);
  return len > 0 && static_cast<size_t>(len) < size;
}

// Returns the number of bytes written.
long writeLine(FILE *out, int level, const char *timeText, const char *format, va_list args) {
  int prefix = timeText != nullptr
                   ? fprintf(out, "%s (%s): %s: ", timeText, levelName(level), logger.ident)
                   : fprintf(out, "(%s): %s: ", levelName(level), logger.ident);
  int message = vfprintf(out, format, args);
  return (prefix > 0 ? prefix : 0) + (message > 0 ? message : 0);
}

void writeToLogFile(int level, const char *timeText, const char *format, va_list args) {
  pthread_mutex_lock(&logger.fileMutex);
  if (streamLogFile() == nullptr) {
    // Without a log file the lines land in the CGI answer, on purpose: they must not vanish.
    writeLine(stdout, level, timeText, format, args);
  } else {
    logger.bytesWritten += writeLine(logger.file, level, timeText, format, args);
    fflush(logger.file);
    if (logger.bytesWritten > kRotateAfterBytes) {
      rotateLogFile();
    }
  }
  pthread_mutex_unlock(&logger.fileMutex);
}

}  // namespace

int logInit(int mode, int facility, const char *ident) {
  if (logger.opened) {
    logClose();
  }
  logger.mode = mode;
  logger.facility = facility;
  setIdent(ident);
  if (!logger.pageMapped) {
    mapLevelPage();
  }
  if (!(mode & LOG_MODE_FILE)) {
    return 0;
  }
  pthread_mutex_lock(&logger.fileMutex);
  closeLogFile();
  openLogFile();
  bool haveFile = logger.fileFd >= 0;
  pthread_mutex_unlock(&logger.fileMutex);
  return haveFile ? 0 : -1;
}

void logWrite(int level, const char *format, ...) {
  if (level > logLevelGet()) {
    return;
  }
  if (!logger.opened) {
    openOnFirstWrite();
  }
  char timeBuf[64];
  const char *timeText = formatTime(timeBuf, sizeof timeBuf) ? timeBuf : nullptr;
  va_list args;
  va_start(args, format);
  if (logger.mode & LOG_MODE_STDOUT) {
    va_list copy;
    va_copy(copy, args);
    writeLine(stdout, level, timeText, format, copy);
    va_end(copy);
  }
  if (logger.mode & LOG_MODE_FILE) {
    va_list copy;
    va_copy(copy, args);
    writeToLogFile(level, timeText, format, copy);
    va_end(copy);
  }
  if (logger.mode & LOG_MODE_SYSLOG) {
    vsyslog(level, format, args);
  }
  va_end(args);
}

void logClose(void) {
  if (logger.opened && (logger.mode & LOG_MODE_SYSLOG)) {
    closelog();
  }
  pthread_mutex_lock(&logger.fileMutex);
  closeLogFile();
  pthread_mutex_unlock(&logger.fileMutex);
  unmapLevelPage();
  logger.opened = false;
  logger.mode = -1;
  logger.facility = -1;
  logger.ident[0] = '\0';
}

int logLevelGet(void) {
  if (logger.pageMapped && isDigit(logger.levelPage[0])) {
    return logger.levelPage[0] - '0';
  }
  return kDefaultLevel;
}

LogExcerpt::LogExcerpt(const char *text) {
  if (text == nullptr) {
    text_[0] = '\0';
    return;
  }
  size_t length = strnlen(text, kLogExcerptBytes + 1);
  if (length <= kLogExcerptBytes) {
    memcpy(text_, text, length + 1);
    return;
  }
  memcpy(text_, text, kLogExcerptBytes);
  snprintf(text_ + kLogExcerptBytes, sizeof text_ - kLogExcerptBytes, "[cut, %zu bytes in all]",
           kLogExcerptBytes + 1 + strlen(text + kLogExcerptBytes + 1));
}
