#pragma once
// What a route reads of its request: query keys through its family's
// reader and the parsed body, both read once however many bindings ask,
// and the keys an aggregated route fixes itself (the interface it walks),
// which later reads of that key give instead.
#include <cjson/cJSON.h>

#include <cstddef>
#include <cstdint>

#include "cgi/request.h"
#include "routes/engine/bind.h"
#include "routes/engine/custom.h"

namespace route {

class Inputs {
 public:
  // `reader`: how the route's family reads query keys that name no reader of their own.
  Inputs(Request &request, const QueryReader &reader) : request_(request), reader_(reader) {}
  Inputs(const Inputs &) = delete;
  Inputs &operator=(const Inputs &) = delete;

  Request &request() { return request_; }
  // The text of `key` as `reader` finds it; NULL when absent.
  const char *find(const QueryReader &reader, const char *key);
  // `key` read as a number the reader's way, or its pinned value; 0 when absent.
  uint64_t number(const QueryReader &reader, const char *key);
  // The parsed body; NULL when it is empty or not one JSON value.
  const cJSON *body() { return request_.body(); }

  // A declared query input, read by its own reader or the family's.
  uint64_t number(const Bind &input) { return number(readerOf(input), input.key); }
  const char *text(const Bind &input) { return find(readerOf(input), input.key); }
  // The body as an object of declared members; not given when it is not one.
  BodyObject bodyObject() { return BodyObject(body()); }
  const QueryReader &readerOf(const Bind &input) const { return input.reader != nullptr ? *input.reader : reader_; }

  // Later reads of `key` as a number give `value`.
  void pin(const char *key, uint64_t value);

 private:
  bool pinned(const char *key, uint64_t *value) const;

  static constexpr size_t kMaxPins = 4;
  struct Pin {
    const char *key;
    uint64_t value;
  };

  Request &request_;
  const QueryReader &reader_;
  Pin pins_[kMaxPins] = {};
  size_t pinCount_ = 0;
};

// Readers most families use.
inline constexpr QueryReader kQueryStringUnsigned{QuerySource::QueryString, KeyMatch::Contained, Digits::Unsigned};
inline constexpr QueryReader kQueryStringSigned{QuerySource::QueryString, KeyMatch::Contained, Digits::Signed};
inline constexpr QueryReader kRequestDataUnsigned{QuerySource::RequestData, KeyMatch::Contained, Digits::Unsigned};
inline constexpr QueryReader kRequestDataSigned{QuerySource::RequestData, KeyMatch::Contained, Digits::Signed};

// A query text read as a number the given way; 0 for NULL.
uint64_t numberFromText(const char *text, Digits digits);

}  // namespace route
