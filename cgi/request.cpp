#include "cgi/request.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t kQueryCopyLimit = 8192;
constexpr size_t kSplitGrowth = 10;

char *copyQueryString() {
  const char *query = getenv("QUERY_STRING");
  if (query == nullptr) {
    query = "";
  }
  size_t len = strnlen(query, kQueryCopyLimit);
  auto *copy = static_cast<char *>(malloc(len + 1));
  if (copy != nullptr) {
    memcpy(copy, query, len);
    copy[len] = '\0';
  }
  return copy;
}

// Anything but a plain non-negative decimal number is taken as an empty body.
size_t contentLength() {
  const char *text = getenv("CONTENT_LENGTH");
  if (text == nullptr || *text == '\0') {
    return 0;
  }
  char *end = nullptr;
  errno = 0;
  long long value = strtoll(text, &end, 10);
  if (errno != 0 || *end != '\0' || value < 0) {
    return 0;
  }
  return static_cast<size_t>(value);
}

char *readBody() {
  size_t len = contentLength();
  auto *body = static_cast<char *>(calloc(len + 1, 1));
  if (body == nullptr) {
    return nullptr;
  }
  // The byte read at end of input is stored before the test, so a short body
  // keeps one 0xFF after its text; handlers have always seen it that way.
  for (size_t i = 0; i < len; ++i) {
    int c = getchar_unlocked();
    body[i] = static_cast<char>(c);
    if (c == EOF) {
      break;
    }
  }
  return body;
}

char *copyPiece(const char *start, size_t len) {
  auto *piece = static_cast<char *>(malloc(len + 1));
  if (piece != nullptr) {
    memcpy(piece, start, len);
    piece[len] = '\0';
  }
  return piece;
}

// Keeps room for the terminating NULL; a failure to grow ends the process.
char **ensureRoom(char **array, size_t count, size_t *capacity) {
  if (count + 1 < *capacity) {
    return array;
  }
  size_t grown = *capacity + kSplitGrowth;
  auto *bigger = static_cast<char **>(realloc(array, grown * sizeof(char *)));
  if (bigger == nullptr) {
    exit(1);
  }
  *capacity = grown;
  return bigger;
}

}  // namespace

char *requestDataGet(void) {
  const char *method = getenv("REQUEST_METHOD");
  if (method == nullptr) {
    return nullptr;
  }
  if (strcmp(method, "GET") == 0 || strcmp(method, "DELETE") == 0) {
    return copyQueryString();
  }
  if (strcmp(method, "POST") == 0 || strcmp(method, "PUT") == 0) {
    return readBody();
  }
  return nullptr;
}

char **queryStringSplit(const char *text) {
  if (text == nullptr) {
    return nullptr;
  }
  size_t capacity = kSplitGrowth;
  auto *array = static_cast<char **>(malloc(capacity * sizeof(char *)));
  if (array == nullptr) {
    return nullptr;
  }
  size_t count = 0;
  for (const char *start = text;; ++start) {
    const char *amp = strchr(start, '&');
    size_t len = amp != nullptr ? static_cast<size_t>(amp - start) : strlen(start);
    array = ensureRoom(array, count, &capacity);
    array[count] = copyPiece(start, len);
    if (array[count] == nullptr) {
      queryStringFree(array);
      return nullptr;
    }
    array[++count] = nullptr;
    if (amp == nullptr) {
      break;
    }
    start = amp;
  }
  return array;
}

void queryStringFree(char **array) {
  if (array == nullptr) {
    return;
  }
  for (char **entry = array; *entry != nullptr; ++entry) {
    free(*entry);
  }
  free(array);
}

char *queryParamValue(const char *key, char **array) {
  if (key == nullptr || array == nullptr) {
    return nullptr;
  }
  for (char **entry = array; *entry != nullptr; ++entry) {
    char *equals = strchr(*entry, '=');
    if (equals != nullptr && strstr(*entry, key) != nullptr) {
      return equals + 1;
    }
  }
  return nullptr;
}
