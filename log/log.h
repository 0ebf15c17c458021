#pragma once
// Process-wide logger: one-step rotated log file, syslog and/or standard
// output, with a threshold kept in a 4-byte page shared by every process.

#define LOG_MODE_FILE 1
#define LOG_MODE_SYSLOG 2
#define LOG_MODE_STDOUT 4

#define LOG_LEVEL_ERROR 3
#define LOG_LEVEL_WARN 4
#define LOG_LEVEL_NOTICE 5
#define LOG_LEVEL_INFO 6
#define LOG_LEVEL_DEBUG 7

int logInit(int mode, int facility, const char *ident);
void logWrite(int level, const char *format, ...) __attribute__((format(printf, 2, 3)));
void logClose(void);
int logLevelGet(void);

#include <cstddef>

// A text from the request (URI, query, body) as a log line shows it: its
// first kLogExcerptBytes, then how long it was, so that nobody can fill the
// log, and push its earlier lines out, with a few long requests.
constexpr size_t kLogExcerptBytes = 512;
class LogExcerpt {
 public:
  explicit LogExcerpt(const char *text);
  const char *text() const { return text_; }

 private:
  char text_[kLogExcerptBytes + 48];
};

// Every message starts with the calling function's name and line.
#define LOG_ERROR(fmt, ...) logWrite(LOG_LEVEL_ERROR, "[%s:%d] " fmt, __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
#define LOG_WARN(fmt, ...) logWrite(LOG_LEVEL_WARN, "[%s:%d] " fmt, __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
#define LOG_INFO(fmt, ...) logWrite(LOG_LEVEL_INFO, "[%s:%d] " fmt, __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
#define LOG_DEBUG(fmt, ...) logWrite(LOG_LEVEL_DEBUG, "[%s:%d] " fmt, __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
