#include "routes/engine/request.h"

#include <cstdlib>
#include <cstring>

#include "cgi/request.h"

namespace route {

char **Request::queryString() {
  if (!queryRead_) {
    queryRead_ = true;
    const char *query = getenv("QUERY_STRING");
    queryCopy_.reset(query != nullptr ? strdup(query) : nullptr);
    querySplit_.reset(queryCopy_ ? queryStringSplit(queryCopy_.get()) : nullptr);
  }
  return querySplit_.get();
}

const char *Request::requestText() {
  if (!requestRead_) {
    requestRead_ = true;
    requestText_.reset(requestDataGet());
  }
  return requestText_.get();
}

char **Request::requestData() {
  if (!requestSplitDone_) {
    requestSplitDone_ = true;
    const char *text = requestText();
    requestSplit_.reset(text != nullptr ? queryStringSplit(text) : nullptr);
  }
  return requestSplit_.get();
}

const cJSON *Request::body() {
  if (!bodyParsed_) {
    bodyParsed_ = true;
    const char *text = requestText();
    body_.reset(text != nullptr ? cJSON_ParseWithOpts(text, nullptr, 1) : nullptr);
  }
  return body_.get();
}

void Request::pin(const char *key, uint64_t value) {
  for (size_t i = 0; i < pinCount_; ++i) {
    if (strcmp(pins_[i].key, key) == 0) {
      pins_[i].value = value;
      return;
    }
  }
  if (pinCount_ < kMaxPins) pins_[pinCount_++] = {key, value};
}

bool Request::pinned(const char *key, uint64_t *value) const {
  for (size_t i = 0; i < pinCount_; ++i) {
    if (strcmp(pins_[i].key, key) == 0) {
      *value = pins_[i].value;
      return true;
    }
  }
  return false;
}

const char *findInQueryString(Request &request, const char *key) {
  char **split = request.queryString();
  return split != nullptr ? queryParamValue(key, split) : nullptr;
}

const char *findInRequestData(Request &request, const char *key) {
  char **split = request.requestData();
  return split != nullptr ? queryParamValue(key, split) : nullptr;
}

uint64_t numberFromText(const char *text, Digits digits) {
  if (text == nullptr) return 0;
  if (digits == Digits::Signed) return static_cast<uint64_t>(strtol(text, nullptr, 10));
  return strtoul(text, nullptr, 10);
}

}  // namespace route
