#include "log/paths.h"

#include <cstdlib>
#include <cstring>

// Called for every file the program opens, so no formatting machinery here.
const char *rootedPath(const char *absPath, char *buf, size_t size) {
  const char *root = getenv("MONITORING_ROOT");
  if (root == nullptr) {
    return absPath;
  }
  if (absPath == nullptr || buf == nullptr) {
    return nullptr;
  }
  size_t rootLen = strlen(root);
  size_t pathLen = strlen(absPath);
  // A cut path would name some other file inside or outside the sandbox.
  if (rootLen + pathLen >= size) {
    return nullptr;
  }
  memcpy(buf, root, rootLen);
  memcpy(buf + rootLen, absPath, pathLen + 1);
  return buf;
}
