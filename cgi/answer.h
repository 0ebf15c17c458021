#pragma once
// What the program answers one request: the bytes the web server receives,
// built here and nowhere else, written by the front end that read the
// request.
#include <cjson/cJSON.h>

#include <cstddef>
#include <cstdint>

#include "open/raii.h"

// How an envelope leaves its route: answers with data are written as they
// are, answers without data (writes, creates, deletes) end with a newline.
enum class AnswerStyle : uint8_t { Data, Line };

class Answer {
 public:
  // No route: nothing at all, which the web server reports as a failed program.
  Answer() = default;
  // The session check failed: the status alone.
  static Answer forbidden();
  // A text as it is, for a request path that names nothing.
  static Answer text(CText text);
  // The envelope around `data` (may be NULL; the caller keeps it) under
  // `dataKey`. An envelope that cannot be built answers only the header
  // dispatch adds.
  static Answer envelope(int32_t code, const char *dataKey, const cJSON *data, AnswerStyle style);

  // The JSON content type goes first, as for every route below /api/v2/.
  void addJsonHeader() { header_ = kJsonHeader; }

  // Hands each piece to `put` in order; `put` writes where the front end's
  // answer goes.
  template <typename Put>
  void writeTo(Put put) const {
    if (header_ != nullptr) put(header_, headerLength());
    if (body_) put(body_.get(), bodyLength_);
    if (newline_) put("\n", 1);
  }
  bool empty() const { return header_ == nullptr && !body_; }

 private:
  static constexpr const char *kJsonHeader = "Content-Type: application/json\r\n\r\n";
  size_t headerLength() const;

  const char *header_ = nullptr;
  CText body_;
  size_t bodyLength_ = 0;
  bool newline_ = false;
};
