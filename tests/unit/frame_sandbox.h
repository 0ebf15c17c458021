#pragma once
// A private MONITORING_ROOT per test, so that the session files, the log and
// its level page never touch the real /tmp; plus capture of standard output.
#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "log/log.h"

namespace frametest {

inline std::string readRest(FILE *file) {
  std::string text;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, file)) > 0) {
    text.append(buf, n);
  }
  return text;
}

inline std::string readFile(const std::string &path) {
  FILE *file = fopen(path.c_str(), "rb");
  if (file == nullptr) {
    return "";
  }
  std::string text = readRest(file);
  fclose(file);
  return text;
}

inline void writeFile(const std::string &path, const std::string &text) {
  FILE *file = fopen(path.c_str(), "wb");
  if (file != nullptr) {
    fwrite(text.data(), 1, text.size(), file);
    fclose(file);
  }
}

inline bool fileExists(const std::string &path) { return access(path.c_str(), F_OK) == 0; }

class Sandbox {
 public:
  Sandbox() {
    char pattern[] = "/tmp/frame-test-XXXXXX";
    root_ = mkdtemp(pattern) != nullptr ? pattern : "";
    setenv("MONITORING_ROOT", root_.c_str(), 1);
    mkdir(path("/tmp").c_str(), 0755);
    mkdir(path("/tmp/session").c_str(), 0755);
  }
  ~Sandbox() {
    logClose();
    unsetenv("MONITORING_ROOT");
    if (!root_.empty()) {
      nftw(root_.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
    }
  }
  Sandbox(const Sandbox &) = delete;
  Sandbox &operator=(const Sandbox &) = delete;

  std::string path(const std::string &absPath) const { return root_ + absPath; }
  std::string sessionPath(const std::string &id) const { return path("/tmp/session/" + id); }
  std::string logText() const { return readFile(path("/tmp/zr301.log")); }

  // File logging with every level shown, as an administrator debugging would set it.
  void startDebugLog() const {
    writeFile(path("/tmp/devmgr_log_level"), "7");
    logInit(LOG_MODE_FILE, 8, "frame-test");
  }

 private:
  static int removeEntry(const char *p, const struct stat *, int, struct FTW *) { return remove(p); }
  std::string root_;
};

template <typename Fn>
std::string captureStdout(Fn fn) {
  fflush(stdout);
  FILE *sink = tmpfile();
  int saved = dup(STDOUT_FILENO);
  dup2(fileno(sink), STDOUT_FILENO);
  fn();
  fflush(stdout);
  dup2(saved, STDOUT_FILENO);
  close(saved);
  rewind(sink);
  std::string text = readRest(sink);
  fclose(sink);
  return text;
}

// Sets or (with NULL) unsets one environment variable.
inline void setEnv(const char *name, const char *value) {
  if (value != nullptr) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
}

}  // namespace frametest
