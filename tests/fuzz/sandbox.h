#pragma once
// A private MONITORING_ROOT for a fuzzing process: the directories the
// program expects, a debug-level log, and one session file per kind of
// user, rewritten before each request so that none ever expires.
#include <string>

class FuzzSandbox {
 public:
  static constexpr const char *kAdminSession = "fuzz-admin";
  static constexpr const char *kReadWriteSession = "fuzz-rw";
  static constexpr const char *kReadOnlySession = "fuzz-ro";
  // A read-only user whose name runs past its line's limit into the lines
  // the check reads next, as if it could make itself read-write.
  static constexpr const char *kOverlongSession = "fuzz-overlong";

  // Creates the directory below $TMPDIR (or /tmp); false with `error`.
  bool create(const char *prefix, std::string &error);
  const std::string &root() const { return root_; }
  std::string path(const std::string &absPath) const { return root_ + absPath; }
  // Stamp 0: the session never times out, whatever the uptime.
  void writeSessions() const;
  // Removes the whole directory.
  void remove();

 private:
  std::string root_;
};
