#pragma once
// What a route reads from its request: query keys and the JSON body, each
// read once however many bindings ask. Aggregated routes replace a key by a
// value of their own (the interface they are walking) with `pin`.
#include <cjson/cJSON.h>

#include <cstddef>
#include <cstdint>

#include "routes/engine/bind.h"
#include "tools/raii.h"

namespace route {

class Request {
 public:
  Request() = default;
  Request(const Request &) = delete;
  Request &operator=(const Request &) = delete;

  // The split QUERY_STRING, or of the request data (requestDataGet).
  char **queryString();
  char **requestData();
  // The parsed body; NULL when it is empty or not one JSON value.
  const cJSON *body();

  // Later reads of `key` as a number give `value`.
  void pin(const char *key, uint64_t value);
  bool pinned(const char *key, uint64_t *value) const;

 private:
  static constexpr size_t kMaxPins = 4;
  struct Pin {
    const char *key;
    uint64_t value;
  };

  CText queryCopy_;
  QueryArray querySplit_;
  bool queryRead_ = false;
  CText requestText_;
  bool requestRead_ = false;
  QueryArray requestSplit_;
  bool requestSplitDone_ = false;
  JsonPtr body_;
  bool bodyParsed_ = false;
  Pin pins_[kMaxPins] = {};
  size_t pinCount_ = 0;

  const char *requestText();
};

// Finds a key the way queryParamValue does, in QUERY_STRING or in the request data.
const char *findInQueryString(Request &request, const char *key);
const char *findInRequestData(Request &request, const char *key);

// Readers most families use.
inline constexpr QueryReader kQueryStringUnsigned{findInQueryString, Digits::Unsigned};
inline constexpr QueryReader kQueryStringSigned{findInQueryString, Digits::Signed};
inline constexpr QueryReader kRequestDataUnsigned{findInRequestData, Digits::Unsigned};
inline constexpr QueryReader kRequestDataSigned{findInRequestData, Digits::Signed};

// A query text read as a number the given way; 0 for NULL.
uint64_t numberFromText(const char *text, Digits digits);

}  // namespace route
