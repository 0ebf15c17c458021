#include "tests/fuzz/sandbox.h"

#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

bool writeFile(const std::string &path, const std::string &text) {
  FILE *file = fopen(path.c_str(), "w");
  if (file == nullptr) return false;
  bool written = fwrite(text.data(), 1, text.size(), file) == text.size();
  return fclose(file) == 0 && written;
}

// Written over from the start, never truncated: on ext4 a truncated file is
// flushed to disk when it is closed, which cost milliseconds a request. The
// program rewrites sessions the same way, and its readers stop at the lines
// they need.
void overwriteFile(const std::string &path, const std::string &text) {
  int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) return;
  ssize_t written = pwrite(fd, text.data(), text.size(), 0);
  (void)written;
  close(fd);
}

int removeEntry(const char *path, const struct stat *, int, struct FTW *) { return ::remove(path); }

}  // namespace

bool FuzzSandbox::create(const char *prefix, std::string &error) {
  const char *tmp = getenv("TMPDIR");
  std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/" + prefix + "-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    error = "cannot create " + pattern + ": " + strerror(errno);
    return false;
  }
  root_ = pattern;
  for (const char *dir : {"/tmp", "/tmp/session", "/mnt", "/mnt/application", "/mnt/application/vexo",
                          "/mnt/application/vexo/tmp"}) {
    mkdir(path(dir).c_str(), 0755);
  }
  // Every level: each log line's format is exercised with its arguments.
  if (!writeFile(path("/tmp/devmgr_log_level"), "7")) {
    error = "cannot write the log level below " + root_;
    return false;
  }
  return true;
}

// The stamp reads 0 and is as long as any uptime the program writes back.
void FuzzSandbox::writeSessions() const {
  const std::string stamp = "\n00000000000000000000\n";
  overwriteFile(path(std::string("/tmp/session/") + kAdminSession), "admin" + stamp);
  overwriteFile(path(std::string("/tmp/session/") + kReadWriteSession), "operator" + stamp + "rw\n");
  overwriteFile(path(std::string("/tmp/session/") + kReadOnlySession), "viewer" + stamp + "ro\n");
  overwriteFile(path(std::string("/tmp/session/") + kOverlongSession),
                std::string(199, 'v') + std::string(199, '0') + "rw" + stamp + "ro\n");
}

void FuzzSandbox::remove() {
  if (!root_.empty()) nftw(root_.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
  root_.clear();
}
