#pragma once
// The request fuzzer's input, in a form that mutations keep meaningful:
//
//   byte 0, 1   route index, little-endian, modulo the number of routes
//   byte 2      flags (below)
//   then        fields separated by NUL bytes: the query string, then each
//               optional field whose flag is set, in the order of the flags;
//               the body is the rest, NUL bytes included
//
// A field missing at the end of the input is empty.
#include <cstddef>
#include <cstdint>
#include <string>

namespace request_flags {
constexpr uint8_t kSessionMask = 0x03;  // which session: SessionKind
constexpr uint8_t kRefresh = 0x04;      // HTTP_REFRESH is set
constexpr uint8_t kMethodField = 0x08;  // REQUEST_METHOD from a field, else the route's
constexpr uint8_t kUriField = 0x10;     // REQUEST_URI from a field, else the route's path and the query
constexpr uint8_t kLengthField = 0x20;  // CONTENT_LENGTH from a field, else the body's length
constexpr uint8_t kScriptField = 0x40;  // control lines for the simulated switch, one a line
constexpr uint8_t kNoQueryString = 0x80;  // QUERY_STRING is unset
}  // namespace request_flags

enum class SessionKind : uint8_t { Admin = 0, ReadWrite = 1, ReadOnly = 2, FromField = 3 };

struct FuzzRequest {
  uint16_t route = 0;
  uint8_t flags = 0;
  std::string query;
  // Each used only when its flag is set.
  std::string method, uri, session, contentLength, script;
  std::string body;

  bool has(uint8_t flag) const { return (flags & flag) != 0; }
  SessionKind sessionKind() const { return static_cast<SessionKind>(flags & request_flags::kSessionMask); }
};

// False when the input is too short to name a route.
bool decodeRequest(const uint8_t *data, size_t size, FuzzRequest &request);
