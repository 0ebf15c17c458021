#include "cgi/httpd.h"

#include <strings.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cgi/session.h"
#include "log/log.h"

namespace {

constexpr size_t kPathBufferSize = 1024;
constexpr const char *kRestPrefix = "/api/v2/";

// The whole table is rebuilt by every process and never freed, so it is carved
// out of a bump arena: the first block is static and holds the full route set;
// further blocks are only needed by unusually large tables.
constexpr size_t kFirstBlockSize = 48 * 1024;
constexpr size_t kNextBlockSize = 16 * 1024;

alignas(alignof(std::max_align_t)) unsigned char firstBlock[kFirstBlockSize];

struct Arena {
  unsigned char *cursor;
  unsigned char *end;
  bool firstBlockTaken;
};
Arena arena = {nullptr, nullptr, false};

bool arenaGrow(size_t need) {
  if (!arena.firstBlockTaken && need <= kFirstBlockSize) {
    arena.firstBlockTaken = true;
    arena.cursor = firstBlock;
    arena.end = firstBlock + kFirstBlockSize;
    return true;
  }
  size_t size = need > kNextBlockSize ? need : kNextBlockSize;
  auto *block = static_cast<unsigned char *>(malloc(size));
  if (block == nullptr) {
    return false;
  }
  arena.cursor = block;
  arena.end = block + size;
  return true;
}

void *arenaAlloc(size_t size, size_t align) {
  auto aligned = [align](unsigned char *p) {
    return reinterpret_cast<unsigned char *>((reinterpret_cast<uintptr_t>(p) + align - 1) & ~(align - 1));
  };
  unsigned char *start = arena.cursor != nullptr ? aligned(arena.cursor) : nullptr;
  if (start == nullptr || size > static_cast<size_t>(arena.end - start)) {
    if (!arenaGrow(size + align)) {
      return nullptr;
    }
    start = aligned(arena.cursor);
  }
  arena.cursor = start + size;
  return start;
}

template <typename T>
T *arenaNew() {
  return static_cast<T *>(arenaAlloc(sizeof(T), alignof(T)));
}

char *arenaCopy(const char *text, size_t len) {
  auto *copy = static_cast<char *>(arenaAlloc(len + 1, 1));
  if (copy != nullptr) {
    memcpy(copy, text, len);
    copy[len] = '\0';
  }
  return copy;
}

httpdDirNode *newDirNode(const char *name, size_t len) {
  auto *node = arenaNew<httpdDirNode>();
  char *nameCopy = node != nullptr ? arenaCopy(name, len) : nullptr;
  if (nameCopy == nullptr) {
    return nullptr;
  }
  *node = httpdDirNode{nameCopy, nullptr, nullptr, nullptr};
  return node;
}

httpdDirNode *findOrCreateChild(httpdDirNode *parent, const char *name, size_t len) {
  for (httpdDirNode *child = parent->children; child != nullptr; child = child->next) {
    if (strncmp(child->name, name, len) == 0 && child->name[len] == '\0') {
      return child;
    }
  }
  httpdDirNode *child = newDirNode(name, len);
  if (child != nullptr) {
    child->next = parent->children;
    parent->children = child;
  }
  return child;
}

// Only the first 1023 characters of a path count; empty components (doubled
// slashes) are skipped.
httpdDirNode *walkDirPath(httpdTable *table, const char *dirPath) {
  const char *end = dirPath + strnlen(dirPath, kPathBufferSize - 1);
  httpdDirNode *node = table->root;
  const char *component = dirPath;
  while (node != nullptr && component < end) {
    const char *slash = static_cast<const char *>(memchr(component, '/', end - component));
    const char *componentEnd = slash != nullptr ? slash : end;
    if (componentEnd > component) {
      node = findOrCreateChild(node, component, componentEnd - component);
    }
    component = componentEnd + 1;
  }
  return node;
}

// Routes are registered family by family, so nearly every registration names
// the directory of the one before; nodes are never removed, so the remembered
// node stays valid.
struct LastDirLookup {
  const httpdTable *table;
  httpdDirNode *node;
  char path[kPathBufferSize];
};
LastDirLookup lastDir = {nullptr, nullptr, {}};

httpdDirNode *findOrCreateDir(httpdTable *table, const char *dirPath) {
  if (table == nullptr || table->root == nullptr || dirPath == nullptr) {
    return nullptr;
  }
  if (lastDir.table == table && strcmp(lastDir.path, dirPath) == 0) {
    return lastDir.node;
  }
  httpdDirNode *node = walkDirPath(table, dirPath);
  size_t len = strlen(dirPath);
  if (node != nullptr && len < kPathBufferSize) {
    lastDir.table = table;
    lastDir.node = node;
    memcpy(lastDir.path, dirPath, len + 1);
  }
  return node;
}

void copyTruncated(char *dst, const char *src) {
  size_t len = strnlen(src, kPathBufferSize - 1);
  memcpy(dst, src, len);
  dst[len] = '\0';
}

const httpdRouteEntry *findRoute(const httpdDirNode *dir, const char *method, const char *opName) {
  if (dir == nullptr || method == nullptr) {
    return nullptr;
  }
  for (const httpdRouteEntry *entry = dir->operations; entry != nullptr; entry = entry->next) {
    if (strcmp(entry->opName, opName) == 0 && strcasecmp(httpdMethodName(entry->method), method) == 0) {
      return entry;
    }
  }
  return nullptr;
}

}  // namespace

const char *httpdMethodName(int method) {
  static const char *const names[] = {"GET", "POST", "DELETE", "PUT"};
  static char invalid[255];
  if (method >= HTTPD_GET && method <= HTTPD_PUT) {
    return names[method];
  }
  snprintf(invalid, sizeof invalid, "Invalid method '%d'", method);
  return invalid;
}

httpdTable *httpdCreateTable(void) {
  auto *table = arenaNew<httpdTable>();
  if (table == nullptr) {
    return nullptr;
  }
  table->root = newDirNode("", 0);
  return table->root != nullptr ? table : nullptr;
}

int httpdAddCContent(httpdTable *table, const char *dirPath, const char *opName, int method,
                     int needsSession, httpdHandler handler) {
  httpdDirNode *dir = findOrCreateDir(table, dirPath);
  if (dir == nullptr) {
    LOG_ERROR("httpdAddCContent, dirPtr == NULL\n");
    return -1;
  }
  if (opName == nullptr || handler == nullptr) {
    LOG_ERROR("httpdAddCContent, no operation name or handler\n");
    return -1;
  }
  auto *entry = arenaNew<httpdRouteEntry>();
  char *opCopy = entry != nullptr ? arenaCopy(opName, strlen(opName)) : nullptr;
  if (opCopy == nullptr) {
    LOG_ERROR("httpdAddCContent, newEntry == NULL\n");
    return -1;
  }
  *entry = httpdRouteEntry{opCopy, method, needsSession, handler, dir->operations};
  dir->operations = entry;
  return 0;
}

void httpdProcessRequest(httpdTable *table) {
  const char *uri = getenv("REQUEST_URI");
  if (uri == nullptr) {
    return;
  }
  char dirPath[kPathBufferSize];
  copyTruncated(dirPath, uri);
  // The split comes before the query is cut: a "/" inside the query moves it.
  char *lastSlash = strrchr(dirPath, '/');
  if (lastSlash == nullptr) {
    printf("Invalid request path '%s'\n", dirPath);
    return;
  }
  char opName[kPathBufferSize];
  copyTruncated(opName, lastSlash + 1);
  opName[strcspn(opName, "?")] = '\0';
  if (lastSlash == dirPath) {
    lastSlash[1] = '\0';
  } else {
    *lastSlash = '\0';
  }
  const httpdDirNode *dir = findOrCreateDir(table, dirPath);
  const httpdRouteEntry *route = findRoute(dir, getenv("REQUEST_METHOD"), opName);
  if (route == nullptr) {
    LOG_ERROR("method not found:%s\n%s\n%s\n", uri, dir != nullptr ? dir->name : "", opName);
    return;
  }
  if (route->needsSession != 0 && checkSessionX(getenv("HTTP_SESSION"), getenv("HTTP_REFRESH"), route) == -1) {
    LOG_ERROR("403 Forbidden\n");
    fputs("Status:403\r\n\r\n", stdout);
    return;
  }
  if (strncmp(uri, kRestPrefix, strlen(kRestPrefix)) == 0) {
    fputs("Content-Type: application/json\r\n\r\n", stdout);
  }
  route->handler();
}
