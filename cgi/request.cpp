#include "cgi/request.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "log/log.h"

namespace {

constexpr size_t kQueryCopyLimit = 8192;

bool isMethod(const char *method, const char *name) { return method != nullptr && strcmp(method, name) == 0; }
bool hasQueryData(const char *method) { return isMethod(method, "GET") || isMethod(method, "DELETE"); }
bool hasBody(const char *method) { return isMethod(method, "POST") || isMethod(method, "PUT"); }

char *copyText(const char *text, size_t limit) {
  if (text == nullptr) text = "";
  size_t len = strnlen(text, limit);
  auto *copy = static_cast<char *>(malloc(len + 1));
  if (copy != nullptr) {
    memcpy(copy, text, len);
    copy[len] = '\0';
  }
  return copy;
}

// Anything but a plain non-negative decimal number is taken as an empty body.
size_t contentLength(const char *text) {
  if (text == nullptr || *text == '\0') return 0;
  char *end = nullptr;
  errno = 0;
  long long value = strtoll(text, &end, 10);
  if (errno != 0 || *end != '\0' || value < 0) return 0;
  return static_cast<size_t>(value);
}

// The byte read at end of input is stored before the test, so a short body
// keeps one 0xFF after its text; handlers have always seen it that way.
char *readBody(size_t len, Request::ByteSource nextByte, void *source, size_t *stored) {
  auto *body = static_cast<char *>(calloc(len + 1, 1));
  *stored = 0;
  if (body == nullptr || nextByte == nullptr) return body;
  while (*stored < len) {
    int c = nextByte(source);
    body[(*stored)++] = static_cast<char>(c);
    if (c == EOF) break;
  }
  return body;
}

// The one reader of query keys: the first piece that holds `key`, and the
// value after its first "=" or after the key's own "<key>=".
const char *findQueryValue(char **pieces, const char *key, KeyMatch match) {
  if (key == nullptr || pieces == nullptr) return nullptr;
  size_t keyLength = strlen(key);
  for (char **piece = pieces; *piece != nullptr; ++piece) {
    if (match == KeyMatch::Contained) {
      char *equals = strchr(*piece, '=');
      if (equals != nullptr && strstr(*piece, key) != nullptr) return equals + 1;
      continue;
    }
    for (const char *at = strstr(*piece, key); at != nullptr; at = strstr(at + 1, key)) {
      if (at[keyLength] == '=') return at + keyLength + 1;
    }
  }
  return nullptr;
}

}  // namespace

// One allocation holds the pointers and, after them, a copy of the text
// with every "&" made a terminator: the pieces cost no allocation of their
// own, and the array is freed whole.
char **queryStringSplit(const char *text) {
  if (text == nullptr) return nullptr;
  size_t length = strlen(text);
  size_t pieces = 1;
  for (const char *amp = strchr(text, '&'); amp != nullptr; amp = strchr(amp + 1, '&')) ++pieces;
  // pieces <= length + 1, so the size cannot wrap for a text that exists.
  size_t pointerBytes = (pieces + 1) * sizeof(char *);
  auto *array = static_cast<char **>(malloc(pointerBytes + length + 1));
  if (array == nullptr) return nullptr;
  char *copy = reinterpret_cast<char *>(array) + pointerBytes;
  memcpy(copy, text, length + 1);
  size_t count = 0;
  for (char *start = copy;; ++start) {
    array[count++] = start;
    start = strchr(start, '&');
    if (start == nullptr) break;
    *start = '\0';
  }
  array[count] = nullptr;
  return array;
}

void queryStringFree(char **array) { free(array); }

char *queryParamValue(const char *key, char **array) {
  return const_cast<char *>(findQueryValue(array, key, KeyMatch::Contained));
}

Request::Request(const Fields &fields, ByteSource nextByte, void *source) : fields_(fields) {
  if (hasQueryData(fields.method)) {
    requestData_.reset(copyText(fields.query, kQueryCopyLimit));
    requestDataLength_ = requestData_ ? strlen(requestData_.get()) : 0;
    return;
  }
  if (!hasBody(fields.method)) return;
  announced_ = contentLength(fields.contentLength);
  if (announced_ > kMaxBodyBytes) {
    bodyTooLarge_ = true;
    return;
  }
  requestData_.reset(readBody(announced_, nextByte, source, &requestDataLength_));
}

const char *Request::findIn(QueryArray &pieces, const char *key, KeyMatch match) {
  const char *value = findQueryValue(pieces.get(), key, match);
  if (value == nullptr || match == KeyMatch::Contained) return value;
  // As long as the piece or kFollowedValueBytes, whichever ends first.
  size_t length = strnlen(value, kFollowedValueBytes);
  memcpy(followed_, value, length);
  followed_[length] = '\0';
  return followed_;
}

const char *Request::queryValue(const char *key, KeyMatch match) {
  if (!querySplitDone_) {
    querySplitDone_ = true;
    querySplit_.reset(queryStringSplit(fields_.query));
  }
  return findIn(querySplit_, key, match);
}

const char *Request::requestDataValue(const char *key, KeyMatch match) {
  if (!requestSplitDone_) {
    requestSplitDone_ = true;
    requestSplit_.reset(requestData_ ? queryStringSplit(requestData_.get()) : nullptr);
  }
  return findIn(requestSplit_, key, match);
}

const cJSON *Request::body() {
  if (!bodyParsed_) {
    bodyParsed_ = true;
    body_.reset(requestData_ ? cJSON_ParseWithOpts(requestData_.get(), nullptr, 1) : nullptr);
  }
  return body_.get();
}

char *requestDataGet(const Request &request) {
  const char *data = request.requestData();
  if (data == nullptr) return nullptr;
  auto *copy = static_cast<char *>(malloc(request.requestDataLength() + 1));
  if (copy != nullptr) memcpy(copy, data, request.requestDataLength() + 1);
  return copy;
}
