#include "tests/fuzz/request_input.h"

#include <cstring>

namespace {

constexpr size_t kHeaderSize = 3;

// The optional fields in input order, with the flag that brings each.
struct OptionalField {
  uint8_t flag;
  std::string FuzzRequest::*member;
};
constexpr OptionalField kOptionalFields[] = {
    {request_flags::kMethodField, &FuzzRequest::method},
    {request_flags::kUriField, &FuzzRequest::uri},
    {request_flags::kSessionMask, &FuzzRequest::session},
    {request_flags::kLengthField, &FuzzRequest::contentLength},
    {request_flags::kScriptField, &FuzzRequest::script},
};

bool isPresent(const FuzzRequest &request, const OptionalField &field) {
  if (field.flag == request_flags::kSessionMask) return request.sessionKind() == SessionKind::FromField;
  return request.has(field.flag);
}

// Takes the text up to the next NUL (or the end) and moves past the NUL.
std::string takeField(const char *&at, const char *end) {
  const char *stop = static_cast<const char *>(memchr(at, '\0', static_cast<size_t>(end - at)));
  if (stop == nullptr) stop = end;
  std::string field(at, stop);
  at = stop < end ? stop + 1 : end;
  return field;
}

}  // namespace

bool decodeRequest(const uint8_t *data, size_t size, FuzzRequest &request) {
  if (size < kHeaderSize) return false;
  request = FuzzRequest{};
  request.route = static_cast<uint16_t>(data[0] | data[1] << 8);
  request.flags = data[2];
  const char *at = reinterpret_cast<const char *>(data) + kHeaderSize;
  const char *end = reinterpret_cast<const char *>(data) + size;
  request.query = takeField(at, end);
  for (const OptionalField &field : kOptionalFields) {
    if (isPresent(request, field)) request.*field.member = takeField(at, end);
  }
  request.body.assign(at, end);
  return true;
}
