#include "open/wire.h"

#include <arpa/inet.h>

#include <charconv>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

// Buffers on the simulator's side; the client decodes into the caller's own
// buffers instead (no storage).
using OpenStorage = std::deque<std::vector<char>>;

// One entry per kind of type: to the wire and back (requests and answers),
// to the call log, from a scripted answer. `content` is false for an output
// on its way to the server: it carries only a buffer's capacity.
struct OpenCodec {
  cJSON *(*toWire)(const OpenTypeInfo &type, const void *obj, bool content);
  int (*fromWire)(const OpenTypeInfo &type, const cJSON *json, void *obj, bool content, OpenStorage *storage);
  cJSON *(*toLog)(const OpenTypeInfo &type, const void *obj);
  int (*fromScript)(const OpenTypeInfo &type, const cJSON *json, void *obj, OpenStorage *storage);
};
const OpenCodec &codecOf(OpenKind kind);

// ---- Integers ----

uint64_t readInt(const OpenTypeInfo &type, const void *obj) {
  switch (type.size) {
    case 1: return type.isSigned ? static_cast<uint64_t>(*static_cast<const int8_t *>(obj)) : *static_cast<const uint8_t *>(obj);
    case 2: return type.isSigned ? static_cast<uint64_t>(*static_cast<const int16_t *>(obj)) : *static_cast<const uint16_t *>(obj);
    case 4: return type.isSigned ? static_cast<uint64_t>(*static_cast<const int32_t *>(obj)) : *static_cast<const uint32_t *>(obj);
    default: return *static_cast<const uint64_t *>(obj);
  }
}

void writeInt(const OpenTypeInfo &type, void *obj, uint64_t value) {
  switch (type.size) {
    case 1: *static_cast<uint8_t *>(obj) = static_cast<uint8_t>(value); break;
    case 2: *static_cast<uint16_t *>(obj) = static_cast<uint16_t>(value); break;
    case 4: *static_cast<uint32_t *>(obj) = static_cast<uint32_t>(value); break;
    default: *static_cast<uint64_t *>(obj) = value; break;
  }
}

void formatInt(const OpenTypeInfo &type, uint64_t value, char *text, size_t size) {
  if (type.isSigned) {
    snprintf(text, size, "%" PRId64, static_cast<int64_t>(value));
  } else {
    snprintf(text, size, "%" PRIu64, value);
  }
}

bool fits(const OpenTypeInfo &type, int64_t value) {
  unsigned bits = 8 * type.size;
  int64_t limit = bits < 64 ? int64_t{1} << (bits - 1) : 0;
  return bits == 64 || (value >= -limit && value < limit);
}

bool fits(const OpenTypeInfo &type, uint64_t value) {
  unsigned bits = 8 * type.size;
  return bits == 64 || value < (uint64_t{1} << bits);
}

// from_chars takes no spaces and no '+', and a '-' only into a signed type.
template <typename T>
int parseDigits(const OpenTypeInfo &type, std::string_view text, uint64_t *value) {
  T number = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size() || !fits(type, number)) return -1;
  *value = static_cast<uint64_t>(number);
  return 0;
}

int parseDecimal(const OpenTypeInfo &type, std::string_view text, uint64_t *value) {
  return type.isSigned ? parseDigits<int64_t>(type, text, value) : parseDigits<uint64_t>(type, text, value);
}

// A double holds the value exactly: it converts there and back unchanged.
bool doubleHolds(const OpenTypeInfo &type, uint64_t value) {
  constexpr double kTwoTo63 = 9223372036854775808.0;
  if (type.isSigned) {
    double near = static_cast<double>(static_cast<int64_t>(value));
    return near < kTwoTo63 && static_cast<int64_t>(near) == static_cast<int64_t>(value);
  }
  double near = static_cast<double>(value);
  return near < 2 * kTwoTo63 && static_cast<uint64_t>(near) == value;
}

// Without its digits a number is only its double, which from 2^53 on may be
// the rounded neighbour of what was written.
int parseBareDouble(const OpenTypeInfo &type, double number, uint64_t *value) {
  constexpr double kTwoTo53 = 9007199254740992.0;
  if (!(std::fabs(number) < kTwoTo53) || number != std::trunc(number)) return -1;
  int64_t whole = static_cast<int64_t>(number);
  bool fitting = type.isSigned ? fits(type, whole) : whole >= 0 && fits(type, static_cast<uint64_t>(whole));
  if (!fitting) return -1;
  *value = static_cast<uint64_t>(whole);
  return 0;
}

// A number with its digits: the same plain digits as decimal text, and a
// value that a double holds, since other JSON readers keep numbers as
// doubles and would read a different value. Larger values come as text.
int parseNumber(const OpenTypeInfo &type, const cJSON *json, uint64_t *value) {
  if (json->valuestring == nullptr) return parseBareDouble(type, json->valuedouble, value);
  if (parseDecimal(type, json->valuestring, value) != 0 || !doubleHolds(type, *value)) return -1;
  return 0;
}

int decodeInt(const OpenTypeInfo &type, const cJSON *json, void *obj) {
  uint64_t value = 0;
  int rc = -1;
  if (cJSON_IsString(json)) rc = parseDecimal(type, json->valuestring, &value);
  if (cJSON_IsNumber(json)) rc = parseNumber(type, json, &value);
  if (rc == 0) writeInt(type, obj, value);
  return rc;
}

cJSON *intToWire(const OpenTypeInfo &type, const void *obj, bool content) {
  if (!content) return cJSON_CreateNull();
  char text[24];
  formatInt(type, readInt(type, obj), text, sizeof text);
  return cJSON_CreateString(text);
}

int intFromWire(const OpenTypeInfo &type, const cJSON *json, void *obj, bool content, OpenStorage *) {
  return content ? decodeInt(type, json, obj) : 0;
}

cJSON *intToLog(const OpenTypeInfo &type, const void *obj) {
  char text[24];
  formatInt(type, readInt(type, obj), text, sizeof text);
  return cJSON_CreateRaw(text);  // a JSON number with every digit kept
}

int intFromScript(const OpenTypeInfo &type, const cJSON *json, void *obj, OpenStorage *) {
  return decodeInt(type, json, obj);
}

// ---- Buffers ----

const char kHex[] = "0123456789abcdef";

cJSON *hexString(const char *bytes, size_t length) {
  std::string text(length * 2, '0');
  for (size_t i = 0; i < length; ++i) {
    unsigned char byte = static_cast<unsigned char>(bytes[i]);
    text[2 * i] = kHex[byte >> 4];
    text[2 * i + 1] = kHex[byte & 15];
  }
  return cJSON_CreateString(text.c_str());
}

int hexNibble(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

int hexOctet(char high, char low) {
  int h = hexNibble(high), l = hexNibble(low);
  return h < 0 || l < 0 ? -1 : h << 4 | l;
}

// Decodes hex text into `out`; -1 when it is not an even run of hex digits.
int unhex(const char *text, std::vector<char> &out) {
  size_t length = strlen(text);
  if (length % 2 != 0 || length / 2 > kWireMaxBuffer) return -1;
  out.resize(length / 2);
  for (size_t i = 0; i < out.size(); ++i) {
    int octet = hexOctet(text[2 * i], text[2 * i + 1]);
    if (octet < 0) return -1;
    out[i] = static_cast<char>(octet);
  }
  return 0;
}

// Gives the descriptor `size` zero-filled bytes of its own (at least one, so
// that it always points somewhere).
void giveStorage(open_buffdesc *desc, size_t size, OpenStorage &storage) {
  storage.emplace_back(size > 0 ? size : 1, '\0');
  desc->pstart = storage.back().data();
  desc->size = static_cast<uint32_t>(size);
}

// Every copy of received bytes goes through here: memcpy wants valid
// pointers even for no bytes, and an empty vector's data() may be null.
void copyBytes(char *to, const std::vector<char> &bytes, size_t count) {
  if (count > 0) memcpy(to, bytes.data(), count);
}

// Copies bytes into a buffer that has storage already: the caller's own on
// the client, never past the size it described (a buffer may claim a size
// without any storage).
void fillWithin(open_buffdesc *desc, const std::vector<char> &bytes) {
  if (desc->pstart != nullptr) copyBytes(desc->pstart, bytes, bytes.size() < desc->size ? bytes.size() : desc->size);
}

cJSON *bufferToWire(const OpenTypeInfo &, const void *obj, bool content) {
  const auto *desc = static_cast<const open_buffdesc *>(obj);
  cJSON *json = cJSON_CreateObject();
  cJSON_AddNumberToObject(json, "size", desc->size);
  if (content) cJSON_AddItemToObject(json, "hex", hexString(desc->pstart, desc->pstart ? desc->size : 0));
  return json;
}

int bufferFromWire(const OpenTypeInfo &, const cJSON *json, void *obj, bool content, OpenStorage *storage) {
  auto *desc = static_cast<open_buffdesc *>(obj);
  uint32_t size = 0;
  if (!cJSON_IsObject(json) || decodeInt(openTypeInfo(OPEN_TYPE_U32), cJSON_GetObjectItemCaseSensitive(json, "size"), &size) != 0 ||
      size > kWireMaxBuffer) {
    return -1;
  }
  std::vector<char> bytes;
  const cJSON *hex = cJSON_GetObjectItemCaseSensitive(json, "hex");
  if (content && (!cJSON_IsString(hex) || unhex(hex->valuestring, bytes) != 0)) return -1;
  if (storage == nullptr) {
    fillWithin(desc, bytes);
    if (size < desc->size) desc->size = size;
    return 0;
  }
  if (bytes.size() > size) return -1;
  giveStorage(desc, size, *storage);
  copyBytes(desc->pstart, bytes, bytes.size());
  return 0;
}

cJSON *bufferToLog(const OpenTypeInfo &type, const void *obj) {
  const auto *desc = static_cast<const open_buffdesc *>(obj);
  size_t size = desc->pstart != nullptr ? desc->size : 0;
  if (type.kind == OpenKind::Bytes) return hexString(desc->pstart, size);
  if (type.kind == OpenKind::Words) {
    cJSON *array = cJSON_CreateArray();
    for (size_t at = 0; at + 8 <= size; at += 8) {
      uint64_t word = 0;
      memcpy(&word, desc->pstart + at, 8);
      cJSON_AddItemToArray(array, intToLog(openTypeInfo(OPEN_TYPE_U64), &word));
    }
    return array;
  }
  std::string text(desc->pstart != nullptr ? desc->pstart : "", strnlen(desc->pstart ? desc->pstart : "", size));
  return cJSON_CreateString(text.c_str());
}

int wordsFromScript(const cJSON *json, open_buffdesc *desc, OpenStorage &storage) {
  if (!cJSON_IsArray(json)) return -1;
  size_t count = static_cast<size_t>(cJSON_GetArraySize(json));
  if (count * 8 > kWireMaxBuffer) return -1;
  giveStorage(desc, count * 8, storage);
  size_t i = 0;
  for (const cJSON *item = json->child; item; item = item->next, ++i) {
    uint64_t word = 0;
    if (decodeInt(openTypeInfo(OPEN_TYPE_U64), item, &word) != 0) return -1;
    memcpy(desc->pstart + i * 8, &word, 8);
  }
  return 0;
}

int bufferFromScript(const OpenTypeInfo &type, const cJSON *json, void *obj, OpenStorage *storage) {
  auto *desc = static_cast<open_buffdesc *>(obj);
  if (type.kind == OpenKind::Words) return wordsFromScript(json, desc, *storage);
  if (!cJSON_IsString(json)) return -1;
  std::vector<char> bytes;
  if (type.kind == OpenKind::Bytes) {
    if (unhex(json->valuestring, bytes) != 0) return -1;
  } else {
    size_t length = strlen(json->valuestring);
    if (length + 1 > kWireMaxBuffer) return -1;
    bytes.assign(json->valuestring, json->valuestring + length + 1);
  }
  giveStorage(desc, bytes.size(), *storage);
  copyBytes(desc->pstart, bytes, bytes.size());
  return 0;
}

// ---- Addresses ----

cJSON *addrToLog(const OpenTypeInfo &, const void *obj) {
  const auto *addr = static_cast<const open_inet_addr_t *>(obj);
  char text[INET6_ADDRSTRLEN] = "";
  if (addr->family == OPEN_AF_INET) {
    uint32_t network = htonl(addr->addr.ipv4);
    inet_ntop(AF_INET, &network, text, sizeof text);
  } else if (addr->family == OPEN_AF_INET6) {
    inet_ntop(AF_INET6, addr->addr.ipv6, text, sizeof text);
  }
  cJSON *json = cJSON_CreateObject();
  cJSON_AddNumberToObject(json, "family", addr->family);
  cJSON_AddStringToObject(json, "addr", text);
  return json;
}

cJSON *addrToWire(const OpenTypeInfo &type, const void *obj, bool content) {
  return content ? addrToLog(type, obj) : cJSON_CreateNull();
}

int addrFromScript(const OpenTypeInfo &, const cJSON *json, void *obj, OpenStorage *) {
  auto *addr = static_cast<open_inet_addr_t *>(obj);
  const cJSON *family = cJSON_GetObjectItemCaseSensitive(json, "family");
  const cJSON *text = cJSON_GetObjectItemCaseSensitive(json, "addr");
  uint32_t code = 0;
  if (!cJSON_IsObject(json) || decodeInt(openTypeInfo(OPEN_TYPE_U32), family, &code) != 0) return -1;
  memset(addr, 0, sizeof *addr);
  addr->family = code;
  if (code == OPEN_AF_NONE) return 0;
  if (!cJSON_IsString(text)) return -1;
  if (code == OPEN_AF_INET) {
    uint32_t network = 0;
    if (inet_pton(AF_INET, text->valuestring, &network) != 1) return -1;
    addr->addr.ipv4 = ntohl(network);
    return 0;
  }
  if (code == OPEN_AF_INET6) return inet_pton(AF_INET6, text->valuestring, addr->addr.ipv6) == 1 ? 0 : -1;
  return -1;
}

int addrFromWire(const OpenTypeInfo &type, const cJSON *json, void *obj, bool content, OpenStorage *storage) {
  return content ? addrFromScript(type, json, obj, storage) : 0;
}

// ---- IPv6 addresses of 16 bytes ----

cJSON *in6ToLog(const OpenTypeInfo &, const void *obj) {
  char text[INET6_ADDRSTRLEN] = "";
  inet_ntop(AF_INET6, static_cast<const open_in6_addr_t *>(obj)->u8, text, sizeof text);
  return cJSON_CreateString(text);
}

cJSON *in6ToWire(const OpenTypeInfo &type, const void *obj, bool content) {
  return content ? in6ToLog(type, obj) : cJSON_CreateNull();
}

int in6FromScript(const OpenTypeInfo &, const cJSON *json, void *obj, OpenStorage *) {
  if (!cJSON_IsString(json)) return -1;
  return inet_pton(AF_INET6, json->valuestring, static_cast<open_in6_addr_t *>(obj)->u8) == 1 ? 0 : -1;
}

int in6FromWire(const OpenTypeInfo &type, const cJSON *json, void *obj, bool content, OpenStorage *storage) {
  return content ? in6FromScript(type, json, obj, storage) : 0;
}

// ---- Records ----

// Members in order; an array member as an array cut after its last non-zero
// element, so that large fixed arrays cost only what they hold.
template <typename Encode>
cJSON *recordArray(const OpenTypeInfo &type, const void *obj, Encode encode) {
  cJSON *array = cJSON_CreateArray();
  for (uint8_t i = 0; i < type.fieldCount; ++i) {
    const OpenField &field = type.fields[i];
    const OpenTypeInfo &member = openTypeInfo(field.type);
    const char *at = static_cast<const char *>(obj) + field.offset;
    if (field.length == 1) {
      cJSON_AddItemToArray(array, encode(member, at));
      continue;
    }
    uint32_t used = field.length;
    static const char kZero[64] = {};
    while (used > 0 && member.size <= sizeof kZero && memcmp(at + (used - 1) * member.size, kZero, member.size) == 0) --used;
    cJSON *elements = cJSON_CreateArray();
    for (uint32_t e = 0; e < used; ++e) cJSON_AddItemToArray(elements, encode(member, at + e * member.size));
    cJSON_AddItemToArray(array, elements);
  }
  return array;
}

template <typename Decode>
int recordFromArray(const OpenTypeInfo &type, const cJSON *json, void *obj, Decode decode) {
  if (!cJSON_IsArray(json) || cJSON_GetArraySize(json) != type.fieldCount) return -1;
  const cJSON *item = json->child;
  for (uint8_t i = 0; i < type.fieldCount; ++i, item = item->next) {
    const OpenField &field = type.fields[i];
    const OpenTypeInfo &member = openTypeInfo(field.type);
    char *at = static_cast<char *>(obj) + field.offset;
    if (field.length == 1) {
      if (decode(member, item, at) != 0) return -1;
      continue;
    }
    if (!cJSON_IsArray(item) || cJSON_GetArraySize(item) > static_cast<int>(field.length)) return -1;
    uint32_t e = 0;
    for (const cJSON *element = item->child; element; element = element->next, ++e) {
      if (decode(member, element, at + e * member.size) != 0) return -1;
    }
  }
  return 0;
}

cJSON *recordToWire(const OpenTypeInfo &type, const void *obj, bool content) {
  return recordArray(type, obj, [content](const OpenTypeInfo &member, const void *at) {
    return codecOf(member.kind).toWire(member, at, content);
  });
}

int recordFromWire(const OpenTypeInfo &type, const cJSON *json, void *obj, bool content, OpenStorage *storage) {
  return recordFromArray(type, json, obj, [content, storage](const OpenTypeInfo &member, const cJSON *item, void *at) {
    return codecOf(member.kind).fromWire(member, item, at, content, storage);
  });
}

cJSON *recordToLog(const OpenTypeInfo &type, const void *obj) {
  return recordArray(type, obj, [](const OpenTypeInfo &member, const void *at) {
    return codecOf(member.kind).toLog(member, at);
  });
}

int recordFromScript(const OpenTypeInfo &type, const cJSON *json, void *obj, OpenStorage *storage) {
  return recordFromArray(type, json, obj, [storage](const OpenTypeInfo &member, const cJSON *item, void *at) {
    return codecOf(member.kind).fromScript(member, item, at, storage);
  });
}

constexpr OpenCodec kIntCodec{intToWire, intFromWire, intToLog, intFromScript};
constexpr OpenCodec kBufferCodec{bufferToWire, bufferFromWire, bufferToLog, bufferFromScript};
constexpr OpenCodec kAddrCodec{addrToWire, addrFromWire, addrToLog, addrFromScript};
constexpr OpenCodec kIn6Codec{in6ToWire, in6FromWire, in6ToLog, in6FromScript};
constexpr OpenCodec kRecordCodec{recordToWire, recordFromWire, recordToLog, recordFromScript};

const OpenCodec &codecOf(OpenKind kind) {
  switch (kind) {
    case OpenKind::Int: return kIntCodec;
    case OpenKind::Text:
    case OpenKind::Words:
    case OpenKind::Bytes: return kBufferCodec;
    case OpenKind::Addr: return kAddrCodec;
    case OpenKind::In6: return kIn6Codec;
    case OpenKind::Record: break;
  }
  return kRecordCodec;
}

const OpenCodec &codecOf(const OpenArgDesc &arg) { return codecOf(openTypeInfo(arg.type).kind); }

// ---- The digits of JSON numbers ----

bool isNumberChar(char c) { return (c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E'; }

size_t pastString(std::string_view text, size_t at) {
  while (at < text.size() && text[at] != '"') at += text[at] == '\\' ? size_t{2} : size_t{1};
  return at + 1;
}

// The numbers of a text that cJSON accepted, in document order: outside
// strings a number is the only token that starts with '-' or a digit.
std::vector<std::string_view> numberTokens(std::string_view text) {
  std::vector<std::string_view> tokens;
  size_t at = 0;
  while (at < text.size()) {
    if (text[at] == '"') {
      at = pastString(text, at + 1);
    } else if (text[at] == '-' || (text[at] >= '0' && text[at] <= '9')) {
      size_t start = at;
      while (at < text.size() && isNumberChar(text[at])) ++at;
      tokens.push_back(text.substr(start, at - start));
    } else {
      ++at;
    }
  }
  return tokens;
}

// Every number item in document order, as cJSON builds the tree.
void numbersIn(cJSON *item, std::vector<cJSON *> &numbers) {
  for (; item != nullptr; item = item->next) {
    if (cJSON_IsNumber(item)) numbers.push_back(item);
    numbersIn(item->child, numbers);
  }
}

// Gives each number its digits in `valuestring`, which cJSON_Delete frees
// for any item; numbers keep their type and double. Should the two walks
// ever disagree, no number gets digits and all are read from their doubles.
void keepDigits(cJSON *json, std::string_view text) {
  std::vector<std::string_view> tokens = numberTokens(text);
  std::vector<cJSON *> numbers;
  numbersIn(json, numbers);
  if (tokens.size() != numbers.size()) return;
  for (size_t i = 0; i < numbers.size(); ++i) {
    char *digits = static_cast<char *>(cJSON_malloc(tokens[i].size() + 1));
    if (digits == nullptr) continue;
    memcpy(digits, tokens[i].data(), tokens[i].size());
    digits[tokens[i].size()] = '\0';
    numbers[i]->valuestring = digits;
  }
}

void sizeSlot(const OpenArgDesc &arg, OpenSlot &slot) {
  slot.buffers.clear();
  slot.value.assign((openTypeInfo(arg.type).size + 7) / 8, 0);
}

}  // namespace

int wireDecodeInt(OpenType type, const cJSON *json, void *obj) { return decodeInt(openTypeInfo(type), json, obj); }

void *OpenSlot::object(const OpenArgDesc &) { return value.data(); }

cJSON *wireEncodeRequestArg(const OpenArgDesc &arg, const void *obj) {
  return codecOf(arg).toWire(openTypeInfo(arg.type), obj, openArgIsInput(arg));
}

cJSON *wireEncodeReplyOut(const OpenArgDesc &arg, const void *obj) {
  return codecOf(arg).toWire(openTypeInfo(arg.type), obj, true);
}

int wireDecodeReplyOut(const OpenArgDesc &arg, const cJSON *json, void *obj) {
  return codecOf(arg).fromWire(openTypeInfo(arg.type), json, obj, true, nullptr);
}

int wireDecodeRequestArg(const OpenArgDesc &arg, const cJSON *json, OpenSlot &slot) {
  sizeSlot(arg, slot);
  return codecOf(arg).fromWire(openTypeInfo(arg.type), json, slot.object(arg), openArgIsInput(arg), &slot.buffers);
}

cJSON *wireRenderArg(const OpenArgDesc &arg, const void *obj) {
  return codecOf(arg).toLog(openTypeInfo(arg.type), obj);
}

int wireDecodeScriptedOut(const OpenArgDesc &arg, const cJSON *json, OpenSlot &slot) {
  sizeSlot(arg, slot);
  return codecOf(arg).fromScript(openTypeInfo(arg.type), json, slot.object(arg), &slot.buffers);
}

int wireParseDecimal(OpenType type, std::string_view text, void *obj) {
  uint64_t value = 0;
  if (parseDecimal(openTypeInfo(type), text, &value) != 0) return -1;
  writeInt(openTypeInfo(type), obj, value);
  return 0;
}

int wireHexOctet(char high, char low) { return hexOctet(high, low); }

bool wireParseMac(std::string_view text, std::array<uint8_t, 6> &mac) {
  constexpr size_t kLength = 6 * 3 - 1;
  if (text.size() != kLength) return false;
  for (size_t i = 0; i < mac.size(); ++i) {
    int octet = hexOctet(text[3 * i], text[3 * i + 1]);
    if (octet < 0 || (3 * i + 2 < kLength && text[3 * i + 2] != ':')) return false;
    mac[i] = static_cast<uint8_t>(octet);
  }
  return true;
}

cJSON *wireParseJson(const char *text, const char **end) {
  const char *stop = nullptr;
  cJSON *json = cJSON_ParseWithOpts(text, &stop, 1);
  if (end != nullptr) *end = stop;
  if (json != nullptr) keepDigits(json, std::string_view(text, static_cast<size_t>(stop - text)));
  return json;
}

char *wirePrintLine(const cJSON *json) {
  std::unique_ptr<cJSON, decltype(&cJSON_Delete)> copy(cJSON_Duplicate(json, 1), cJSON_Delete);
  std::vector<cJSON *> numbers;
  numbersIn(copy.get(), numbers);
  // A raw item prints its text as it is: the number's own digits.
  for (cJSON *number : numbers) {
    if (number->valuestring != nullptr) number->type = cJSON_Raw | (number->type & ~0xFF);
  }
  return cJSON_PrintUnformatted(copy.get());
}
