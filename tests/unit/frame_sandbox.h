#pragma once
// A private MONITORING_ROOT per test, so that the session files, the log and
// its level page never touch the real /tmp; plus capture of standard output.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

#include "log/log.h"

namespace frametest {

inline std::string readFile(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void writeFile(const std::string &path, const std::string &text) {
  std::ofstream(path, std::ios::binary) << text;
}

inline bool fileExists(const std::string &path) { return access(path.c_str(), F_OK) == 0; }

class Sandbox {
 public:
  Sandbox() {
    char pattern[] = "/tmp/frame-test-XXXXXX";
    root_ = mkdtemp(pattern) != nullptr ? pattern : "";
    setenv("MONITORING_ROOT", root_.c_str(), 1);
    std::filesystem::create_directories(path("/tmp/session"));
  }
  ~Sandbox() {
    logClose();
    unsetenv("MONITORING_ROOT");
    std::error_code ignored;
    if (!root_.empty()) std::filesystem::remove_all(root_, ignored);
  }
  Sandbox(const Sandbox &) = delete;
  Sandbox &operator=(const Sandbox &) = delete;

  std::string path(const std::string &absPath) const { return root_ + absPath; }
  std::string sessionPath(const std::string &id) const { return path("/tmp/session/" + id); }

  // The log as it would read on the switch, less the callers' line numbers,
  // so that whole lines can be looked for.
  std::string logText() const {
    std::string text = std::regex_replace(readFile(path("/tmp/zr301.log")), std::regex(root_), "");
    return std::regex_replace(text, std::regex(R"((\[\w+):\d+\] )"), "$1] ");
  }

  // File logging with every level shown, as an administrator debugging would set it.
  void startDebugLog() const {
    writeFile(path("/tmp/devmgr_log_level"), "7");
    logInit(LOG_MODE_FILE, 8, "frame-test");
  }

 private:
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
  std::string text = readFile("/proc/self/fd/" + std::to_string(fileno(sink)));
  fclose(sink);
  return text;
}

// Sets or (with NULL) unsets one environment variable.
inline void setEnv(const char *name, const char *value) { value ? setenv(name, value, 1) : unsetenv(name); }

}  // namespace frametest
