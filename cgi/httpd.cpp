#include "cgi/httpd.h"

#include <strings.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <utility>

#include "cgi/session.h"
#include "log/log.h"

namespace {

constexpr size_t kPathBufferSize = 1024;

// The whole table is rebuilt by every process and never freed, so it is carved
// out of a bump arena: the first block is static and holds the full route set;
// further blocks are only needed by unusually large tables.
constexpr size_t kFirstBlockSize = 48 * 1024;
constexpr size_t kNextBlockSize = 16 * 1024;

alignas(alignof(std::max_align_t)) unsigned char firstBlock[kFirstBlockSize];

struct Arena {
  uintptr_t next;
  uintptr_t limit;
  bool firstBlockTaken;
};
Arena arena = {0, 0, false};

__attribute__((noinline)) bool arenaGrow(size_t need) {
  if (!arena.firstBlockTaken && need <= kFirstBlockSize) {
    arena.firstBlockTaken = true;
    arena.next = reinterpret_cast<uintptr_t>(firstBlock);
    arena.limit = arena.next + kFirstBlockSize;
    return true;
  }
  size_t size = need > kNextBlockSize ? need : kNextBlockSize;
  void *block = malloc(size);
  if (block == nullptr) {
    return false;
  }
  arena.next = reinterpret_cast<uintptr_t>(block);
  arena.limit = arena.next + size;
  return true;
}

// `align` is a power of two. An empty arena has next == limit == 0 and so
// always takes the growing path first.
inline void *arenaAlloc(size_t size, size_t align) {
  uintptr_t start = (arena.next + align - 1) & ~(align - 1);
  if (start + size > arena.limit || start < arena.next) {
    if (!arenaGrow(size + align)) {
      return nullptr;
    }
    start = (arena.next + align - 1) & ~(align - 1);
  }
  arena.next = start + size;
  return reinterpret_cast<void *>(start);
}

// A record followed by `extra` bytes of its own (the name it owns).
template <typename T>
T *arenaNew(size_t extra = 0) {
  return static_cast<T *>(arenaAlloc(sizeof(T) + extra, alignof(T)));
}

httpdDirNode *newDirNode(const char *name, size_t len) {
  auto *node = arenaNew<httpdDirNode>(len + 1);
  if (node == nullptr) {
    return nullptr;
  }
  auto *nameCopy = reinterpret_cast<char *>(node + 1);
  memcpy(nameCopy, name, len);
  nameCopy[len] = '\0';
  *node = httpdDirNode{nameCopy, nullptr, nullptr, nullptr};
  return node;
}

// `name` holds `len` characters, none of them a terminator.
bool isNamed(const httpdDirNode *node, const char *name, size_t len) {
  for (size_t i = 0; i < len; ++i) {
    if (node->name[i] != name[i]) {
      return false;
    }
  }
  return node->name[len] == '\0';
}

httpdDirNode *findChild(httpdDirNode *parent, const char *name, size_t len) {
  for (httpdDirNode *child = parent->children; child != nullptr; child = child->next) {
    if (isNamed(child, name, len)) {
      return child;
    }
  }
  return nullptr;
}

httpdDirNode *findOrCreateChild(httpdDirNode *parent, const char *name, size_t len) {
  httpdDirNode *child = findChild(parent, name, len);
  if (child != nullptr) return child;
  child = newDirNode(name, len);
  if (child != nullptr) {
    child->next = parent->children;
    parent->children = child;
  }
  return child;
}

// Where a walk ended: the node of the whole path and, when the path ends in
// a name, the node of the path before that name (its first parentLength
// characters).
struct DirWalk {
  httpdDirNode *node;
  httpdDirNode *parent;
  size_t parentLength;
};

// Only the first 1023 characters of a path count; empty components (doubled
// slashes) are skipped. Registration creates what is missing; a request
// only looks, so that no request leaves anything behind in the table.
// Plain loops: each first use of another string routine costs more than the
// walk itself.
enum class Missing { Create, Stop };
DirWalk walkDirPath(httpdTable *table, const char *dirPath, Missing missing = Missing::Create) {
  constexpr size_t kMaxPathLen = kPathBufferSize - 1;
  DirWalk walk = {table->root, nullptr, 0};
  size_t i = 0;
  while (walk.node != nullptr && i < kMaxPathLen && dirPath[i] != '\0') {
    if (dirPath[i] == '/') {
      walk.parent = nullptr;
      ++i;
      continue;
    }
    size_t start = i;
    while (i < kMaxPathLen && dirPath[i] != '\0' && dirPath[i] != '/') {
      ++i;
    }
    walk.parent = walk.node;
    walk.parentLength = start;
    walk.node = missing == Missing::Create ? findOrCreateChild(walk.node, dirPath + start, i - start)
                                           : findChild(walk.node, dirPath + start, i - start);
  }
  return walk;
}

// Routes are registered family by family, so nearly every registration names
// the directory of the one before, and a new family's directory is mostly a
// sibling of the last one; nodes are never removed, so the remembered nodes
// stay valid.
struct LastDirLookup {
  const httpdTable *table;
  DirWalk walk;
  char path[kPathBufferSize];
};
LastDirLookup lastDir = {nullptr, {nullptr, nullptr, 0}, {}};

// `dirPath` (`len` characters) as one name below the last directory's parent:
// the walk that reaches it, or one without a node.
DirWalk siblingOfLastDir(const httpdTable *table, const char *dirPath, size_t len) {
  const DirWalk &last = lastDir.walk;
  if (table != lastDir.table || last.parent == nullptr || len <= last.parentLength ||
      strncmp(dirPath, lastDir.path, last.parentLength) != 0) {
    return {nullptr, nullptr, 0};
  }
  for (size_t i = last.parentLength; i < len; ++i) {
    if (dirPath[i] == '/') {
      return {nullptr, nullptr, 0};
    }
  }
  httpdDirNode *node = findOrCreateChild(last.parent, dirPath + last.parentLength, len - last.parentLength);
  return {node, last.parent, last.parentLength};
}

__attribute__((noinline)) httpdDirNode *lookUpDir(httpdTable *table, const char *dirPath) {
  if (table == nullptr || table->root == nullptr || dirPath == nullptr) {
    return nullptr;
  }
  size_t len = strlen(dirPath);
  bool remembered = len < kPathBufferSize;
  DirWalk walk = remembered ? siblingOfLastDir(table, dirPath, len) : DirWalk{nullptr, nullptr, 0};
  if (walk.node == nullptr) {
    walk = walkDirPath(table, dirPath);
  }
  if (walk.node != nullptr && remembered) {
    lastDir.table = table;
    lastDir.walk = walk;
    memcpy(lastDir.path, dirPath, len + 1);
  }
  return walk.node;
}

inline httpdDirNode *findOrCreateDir(httpdTable *table, const char *dirPath) {
  if (table != nullptr && table == lastDir.table && dirPath != nullptr && strcmp(lastDir.path, dirPath) == 0) {
    return lastDir.walk.node;
  }
  return lookUpDir(table, dirPath);
}

// Copies at most 1023 characters of the URI and returns the last "/" of the
// copy, or NULL. One pass, as the request path is read once per process.
char *copyUri(char *dst, const char *uri) {
  char *lastSlash = nullptr;
  size_t i = 0;
  for (; i < kPathBufferSize - 1 && uri[i] != '\0'; ++i) {
    dst[i] = uri[i];
    if (uri[i] == '/') {
      lastSlash = dst + i;
    }
  }
  dst[i] = '\0';
  return lastSlash;
}

// The last non-empty component of a directory path (in place): the name of
// the directory it leads to.
const char *lastComponent(char *path) {
  size_t end = strlen(path);
  while (end > 0 && path[end - 1] == '/') --end;
  path[end] = '\0';
  size_t start = end;
  while (start > 0 && path[start - 1] != '/') --start;
  return path + start;
}

// The operation name ends where the query begins.
void copyOpName(char *dst, const char *src) {
  size_t i = 0;
  for (; src[i] != '\0' && src[i] != '?'; ++i) {
    dst[i] = src[i];
  }
  dst[i] = '\0';
}

// Whether the URI lies below /api/v2/ as the directory lookup reads it:
// empty components do not count, so "//api/v2/..." names the same route as
// "/api/v2/..." and must get the same answer, header included.
bool isRestPath(const char *uri) {
  for (const char *component : {"api", "v2"}) {
    while (*uri == '/') ++uri;
    size_t length = strlen(component);
    if (strncmp(uri, component, length) != 0 || uri[length] != '/') return false;
    uri += length;
  }
  return true;
}

Answer invalidPath(const char *path) {
  constexpr char kFormat[] = "Invalid request path '%s'\n";
  size_t size = sizeof kFormat + strlen(path);
  CText text(static_cast<char *>(malloc(size)));
  if (text) snprintf(text.get(), size, kFormat, path);
  return Answer::text(std::move(text));
}

// Registration logs under the name of the interface it serves.
#define REGISTRATION_ERROR(text) logWrite(LOG_LEVEL_ERROR, "[%s:%d] " text, "httpdAddCContent", __LINE__)

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

httpdDirNode *httpdFindOrCreateDir(httpdTable *table, const char *dirPath) { return findOrCreateDir(table, dirPath); }

namespace {

// The entry keeps `opName` as it is given.
int addEntry(httpdDirNode *dir, const char *opName, int method, int needsSession, httpdHandler handler) {
  if (dir == nullptr) {
    REGISTRATION_ERROR("httpdAddCContent, dirPtr == NULL\n");
    return -1;
  }
  if (opName == nullptr || handler == nullptr) {
    REGISTRATION_ERROR("httpdAddCContent, no operation name or handler\n");
    return -1;
  }
  auto *entry = arenaNew<httpdRouteEntry>();
  if (entry == nullptr) {
    REGISTRATION_ERROR("httpdAddCContent, newEntry == NULL\n");
    return -1;
  }
  *entry = httpdRouteEntry{opName, method, needsSession, handler, dir->operations};
  dir->operations = entry;
  return 0;
}

// A copy of `text` that lives as long as the table; NULL for NULL, or when
// out of memory.
const char *arenaCopy(const char *text) {
  if (text == nullptr) {
    return nullptr;
  }
  size_t size = strlen(text) + 1;
  auto *copy = static_cast<char *>(arenaAlloc(size, 1));
  return copy != nullptr ? static_cast<const char *>(memcpy(copy, text, size)) : nullptr;
}

}  // namespace

int httpdAddEntry(httpdDirNode *dir, const char *opName, int method, int needsSession, httpdHandler handler) {
  return addEntry(dir, opName, method, needsSession, handler);
}

// A caller's name may be gone after the call: the entry keeps a copy.
int httpdAddCContent(httpdTable *table, const char *dirPath, const char *opName, int method,
                     int needsSession, httpdHandler handler) {
  httpdDirNode *dir = findOrCreateDir(table, dirPath);
  const char *copy = dir != nullptr ? arenaCopy(opName) : opName;
  if (copy == nullptr && opName != nullptr) {
    REGISTRATION_ERROR("httpdAddCContent, newEntry == NULL\n");
    return -1;
  }
  return addEntry(dir, copy, method, needsSession, handler);
}

Answer httpdProcessRequest(httpdTable *table, Request &request) {
  const char *uri = request.uri();
  if (uri == nullptr) return Answer();
  char dirPath[kPathBufferSize];
  // The split comes before the query is cut: a "/" inside the query moves it.
  char *lastSlash = copyUri(dirPath, uri);
  if (lastSlash == nullptr) return invalidPath(dirPath);
  char opName[kPathBufferSize];
  copyOpName(opName, lastSlash + 1);
  if (lastSlash == dirPath) {
    lastSlash[1] = '\0';
  } else {
    *lastSlash = '\0';
  }
  const httpdDirNode *dir = table != nullptr && table->root != nullptr ? walkDirPath(table, dirPath, Missing::Stop).node
                                                                       : nullptr;
  const httpdRouteEntry *route = findRoute(dir, request.method(), opName);
  if (route == nullptr) {
    LOG_ERROR("method not found:%s\n%s\n%s\n", LogExcerpt(uri).text(), LogExcerpt(lastComponent(dirPath)).text(),
              LogExcerpt(opName).text());
    return Answer();
  }
  const Request::Fields &fields = request.fields();
  if (route->needsSession != 0 && checkSessionX(fields.session, fields.refresh, route) == -1) {
    LOG_ERROR("403 Forbidden\n");
    return Answer::forbidden();
  }
  Answer answer = route->handler(request);
  if (isRestPath(uri)) answer.addJsonHeader();
  return answer;
}
