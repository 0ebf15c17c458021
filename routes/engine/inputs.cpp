#include "routes/engine/inputs.h"

#include <cstdlib>
#include <cstring>

namespace route {

const char *Inputs::find(const QueryReader &reader, const char *key) {
  return reader.source == QuerySource::QueryString ? request_.queryValue(key, reader.match)
                                                   : request_.requestDataValue(key, reader.match);
}

uint64_t Inputs::number(const QueryReader &reader, const char *key) {
  uint64_t value = 0;
  return pinned(key, &value) ? value : numberFromText(find(reader, key), reader.digits);
}

void Inputs::pin(const char *key, uint64_t value) {
  for (size_t i = 0; i < pinCount_; ++i) {
    if (strcmp(pins_[i].key, key) == 0) {
      pins_[i].value = value;
      return;
    }
  }
  if (pinCount_ < kMaxPins) pins_[pinCount_++] = {key, value};
}

bool Inputs::pinned(const char *key, uint64_t *value) const {
  for (size_t i = 0; i < pinCount_; ++i) {
    if (strcmp(pins_[i].key, key) == 0) {
      *value = pins_[i].value;
      return true;
    }
  }
  return false;
}

uint64_t numberFromText(const char *text, Digits digits) {
  if (text == nullptr) return 0;
  if (digits == Digits::Signed) return static_cast<uint64_t>(strtol(text, nullptr, 10));
  return strtoul(text, nullptr, 10);
}

}  // namespace route
