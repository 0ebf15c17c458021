#include "tools/paths.h"

#include <cstdio>
#include <cstdlib>

const char *rootedPath(const char *absPath, char *buf, size_t size) {
  const char *root = getenv("MONITORING_ROOT");
  if (root == nullptr) {
    return absPath;
  }
  if (absPath == nullptr || buf == nullptr || size == 0) {
    return nullptr;
  }
  // A cut path would name some other file inside or outside the sandbox.
  int len = snprintf(buf, size, "%s%s", root, absPath);
  if (len < 0 || static_cast<size_t>(len) >= size) {
    return nullptr;
  }
  return buf;
}
