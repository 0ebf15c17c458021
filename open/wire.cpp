#include "open/wire.h"

#include <arpa/inet.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "integers are copied to and from the wire as they lie in memory: little-endian");
static_assert(sizeof(open_inet_addr_t) == 20 && sizeof(open_in6_addr_t) == 16);

namespace {

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

// A number with its digits is read from them, exactly, whatever its double.
int parseNumber(const OpenTypeInfo &type, const cJSON *json, uint64_t *value) {
  if (json->valuestring == nullptr) return parseBareDouble(type, json->valuedouble, value);
  return parseDecimal(type, json->valuestring, value);
}

int decodeInt(const OpenTypeInfo &type, const cJSON *json, void *obj) {
  uint64_t value = 0;
  int rc = -1;
  if (cJSON_IsString(json)) rc = parseDecimal(type, json->valuestring, &value);
  if (cJSON_IsNumber(json)) rc = parseNumber(type, json, &value);
  if (rc == 0) writeInt(type, obj, value);
  return rc;
}

void renderInt(std::string &out, const OpenTypeInfo &type, uint64_t value) {
  char text[24];
  auto written = type.isSigned ? std::to_chars(text, text + sizeof text, static_cast<int64_t>(value))
                               : std::to_chars(text, text + sizeof text, value);
  out.append(text, written.ptr);
}

// ---- Hexadecimal ----

const char kHex[] = "0123456789abcdef";

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

std::string hexText(const char *bytes, size_t length) {
  std::string text(length * 2, '0');
  for (size_t i = 0; i < length; ++i) {
    unsigned char byte = static_cast<unsigned char>(bytes[i]);
    text[2 * i] = kHex[byte >> 4];
    text[2 * i + 1] = kHex[byte & 15];
  }
  return text;
}

// ---- Buffers and addresses, in both forms ----

// Gives the descriptor `size` zero-filled bytes of its own (at least one, so
// that it always points somewhere).
void giveStorage(open_buffdesc *desc, size_t size, OpenStorage &storage) {
  storage.emplace_back(new char[size > 0 ? size : 1]());
  desc->pstart = storage.back().get();
  desc->size = static_cast<uint32_t>(size);
}

// Every copy of received bytes goes through here: memcpy wants valid
// pointers even for no bytes.
void copyBytes(char *to, const char *from, size_t count) {
  if (count > 0) memcpy(to, from, count);
}

size_t contentOf(const open_buffdesc *desc) { return desc->pstart != nullptr ? desc->size : 0; }

// An address as the receiver keeps it: the bytes its family does not use
// are zero, so that what was never set does not travel.
open_inet_addr_t normalAddress(uint32_t family, const void *bytes) {
  open_inet_addr_t addr{};
  addr.family = family;
  if (family == OPEN_AF_INET) memcpy(&addr.addr.ipv4, bytes, sizeof addr.addr.ipv4);
  if (family == OPEN_AF_INET6) memcpy(addr.addr.ipv6, bytes, sizeof addr.addr.ipv6);
  return addr;
}

const char *addressText(const open_inet_addr_t *addr, char (&text)[INET6_ADDRSTRLEN]) {
  text[0] = '\0';
  if (addr->family == OPEN_AF_INET) {
    uint32_t network = htonl(addr->addr.ipv4);
    inet_ntop(AF_INET, &network, text, sizeof text);
  } else if (addr->family == OPEN_AF_INET6) {
    inet_ntop(AF_INET6, addr->addr.ipv6, text, sizeof text);
  }
  return text;
}

// Members in order; an array member only up to its last non-zero element,
// so that large fixed arrays cost only what they hold.
uint32_t usedLength(const OpenField &field, const OpenTypeInfo &member, const char *at) {
  static const char kZero[64] = {};
  uint32_t used = field.length;
  while (used > 0 && member.size <= sizeof kZero && memcmp(at + (used - 1) * member.size, kZero, member.size) == 0) {
    --used;
  }
  return used;
}

bool holdsBuffers(const OpenTypeInfo &type) { return openKindIsBuffer(type.kind) || type.kind == OpenKind::Record; }

// ---- The binary form ----

void putU32(WireBuffer &out, uint32_t value) { out.append(&value, sizeof value); }

// Reads within the bytes it was given, never past them.
struct Reader {
  const char *at;
  const char *end;

  const char *take(size_t count) {
    if (static_cast<size_t>(end - at) < count) return nullptr;
    const char *taken = at;
    at += count;
    return taken;
  }
  bool copy(void *to, size_t count) {
    const char *from = take(count);
    if (from != nullptr) copyBytes(static_cast<char *>(to), from, count);
    return from != nullptr;
  }
  bool u32(uint32_t &value) { return copy(&value, sizeof value); }
  bool done() const { return at == end; }
};

void encodeValue(WireBuffer &out, const OpenTypeInfo &type, const void *obj, bool content);

void encodeBuffer(WireBuffer &out, const open_buffdesc *desc, bool content) {
  putU32(out, desc->size);
  if (!content) return;
  putU32(out, static_cast<uint32_t>(contentOf(desc)));
  if (desc->pstart != nullptr) out.append(desc->pstart, desc->size);
}

void encodeRecord(WireBuffer &out, const OpenTypeInfo &type, const char *obj, bool content) {
  for (uint8_t i = 0; i < type.fieldCount; ++i) {
    const OpenField &field = type.fields[i];
    const OpenTypeInfo &member = openTypeInfo(field.type);
    const char *at = obj + field.offset;
    if (field.length == 1) {
      encodeValue(out, member, at, content);
    } else if (content) {
      uint32_t used = usedLength(field, member, at);
      putU32(out, used);
      for (uint32_t e = 0; e < used; ++e) encodeValue(out, member, at + e * member.size, true);
    } else if (holdsBuffers(member)) {
      for (uint32_t e = 0; e < field.length; ++e) encodeValue(out, member, at + e * member.size, false);
    }
  }
}

void encodeValue(WireBuffer &out, const OpenTypeInfo &type, const void *obj, bool content) {
  switch (type.kind) {
    case OpenKind::Int:
    case OpenKind::In6:
      if (content) out.append(static_cast<const char *>(obj), type.size);
      return;
    case OpenKind::Text:
    case OpenKind::Words:
    case OpenKind::Bytes: return encodeBuffer(out, static_cast<const open_buffdesc *>(obj), content);
    case OpenKind::Addr: {
      if (!content) return;
      const auto *addr = static_cast<const open_inet_addr_t *>(obj);
      open_inet_addr_t sent = normalAddress(addr->family, &addr->addr);
      out.append(&sent, sizeof sent);
      return;
    }
    case OpenKind::Record: return encodeRecord(out, type, static_cast<const char *>(obj), content);
  }
}

bool decodeValue(Reader &in, const OpenTypeInfo &type, void *obj, bool content, OpenStorage *storage);

// The simulator gives a buffer storage of the size asked for; the client
// copies into its caller's buffer, never past the size the caller described
// (a buffer may claim a size without any storage), and takes a smaller size.
bool decodeBuffer(Reader &in, open_buffdesc *desc, bool content, OpenStorage *storage) {
  uint32_t size = 0, count = 0;
  if (!in.u32(size) || size > kWireMaxBuffer) return false;
  if (content && (!in.u32(count) || count > size)) return false;
  const char *bytes = content ? in.take(count) : nullptr;
  if (content && bytes == nullptr) return false;
  if (storage != nullptr) {
    giveStorage(desc, size, *storage);
    copyBytes(desc->pstart, bytes, count);
    return true;
  }
  if (desc->pstart != nullptr) copyBytes(desc->pstart, bytes, count < desc->size ? count : desc->size);
  if (size < desc->size) desc->size = size;
  return true;
}

bool decodeRecord(Reader &in, const OpenTypeInfo &type, char *obj, bool content, OpenStorage *storage) {
  for (uint8_t i = 0; i < type.fieldCount; ++i) {
    const OpenField &field = type.fields[i];
    const OpenTypeInfo &member = openTypeInfo(field.type);
    char *at = obj + field.offset;
    uint32_t count = field.length;
    if (field.length == 1) {
      if (!decodeValue(in, member, at, content, storage)) return false;
      continue;
    }
    if (content && (!in.u32(count) || count > field.length)) return false;
    if (!content && !holdsBuffers(member)) continue;
    for (uint32_t e = 0; e < count; ++e) {
      if (!decodeValue(in, member, at + e * member.size, content, storage)) return false;
    }
  }
  return true;
}

bool decodeValue(Reader &in, const OpenTypeInfo &type, void *obj, bool content, OpenStorage *storage) {
  switch (type.kind) {
    case OpenKind::Int:
    case OpenKind::In6: return !content || in.copy(obj, type.size);
    case OpenKind::Text:
    case OpenKind::Words:
    case OpenKind::Bytes: return decodeBuffer(in, static_cast<open_buffdesc *>(obj), content, storage);
    case OpenKind::Addr: {
      uint32_t family = 0;
      const char *bytes = nullptr;
      if (!content) return true;
      if (!in.u32(family) || family > OPEN_AF_INET6 || (bytes = in.take(16)) == nullptr) return false;
      *static_cast<open_inet_addr_t *>(obj) = normalAddress(family, bytes);
      return true;
    }
    case OpenKind::Record: return decodeRecord(in, type, static_cast<char *>(obj), content, storage);
  }
  return false;
}

struct RequestHead {
  uint16_t op;
  uint32_t signature;
};

// ---- The written form ----

void renderValue(std::string &out, const OpenTypeInfo &type, const void *obj, size_t textLimit);

void renderWords(std::string &out, const open_buffdesc *desc) {
  out += '[';
  size_t size = contentOf(desc);
  for (size_t at = 0; at + 8 <= size; at += 8) {
    uint64_t word = 0;
    memcpy(&word, desc->pstart + at, 8);
    if (at > 0) out += ',';
    renderInt(out, openTypeInfo(OPEN_TYPE_U64), word);
  }
  out += ']';
}

void renderBuffer(std::string &out, const OpenTypeInfo &type, const open_buffdesc *desc, size_t textLimit) {
  size_t size = contentOf(desc);
  if (type.kind == OpenKind::Words) return renderWords(out, desc);
  if (type.kind == OpenKind::Bytes) return wireRenderString(out, hexText(desc->pstart, size), textLimit);
  wireRenderString(out, std::string_view(desc->pstart != nullptr ? desc->pstart : "", strnlen(desc->pstart ? desc->pstart : "", size)),
                   textLimit);
}

void renderRecord(std::string &out, const OpenTypeInfo &type, const char *obj, size_t textLimit) {
  out += '[';
  for (uint8_t i = 0; i < type.fieldCount; ++i) {
    const OpenField &field = type.fields[i];
    const OpenTypeInfo &member = openTypeInfo(field.type);
    const char *at = obj + field.offset;
    if (i > 0) out += ',';
    if (field.length == 1) {
      renderValue(out, member, at, textLimit);
      continue;
    }
    out += '[';
    uint32_t used = usedLength(field, member, at);
    for (uint32_t e = 0; e < used; ++e) {
      if (e > 0) out += ',';
      renderValue(out, member, at + e * member.size, textLimit);
    }
    out += ']';
  }
  out += ']';
}

void renderValue(std::string &out, const OpenTypeInfo &type, const void *obj, size_t textLimit) {
  char text[INET6_ADDRSTRLEN];
  switch (type.kind) {
    case OpenKind::Int: return renderInt(out, type, readInt(type, obj));
    case OpenKind::Text:
    case OpenKind::Words:
    case OpenKind::Bytes: return renderBuffer(out, type, static_cast<const open_buffdesc *>(obj), textLimit);
    case OpenKind::Addr: {
      const auto *addr = static_cast<const open_inet_addr_t *>(obj);
      out += "{\"family\":";
      renderInt(out, openTypeInfo(OPEN_TYPE_U32), addr->family);
      out += ",\"addr\":";
      wireRenderString(out, addressText(addr, text), textLimit);
      out += '}';
      return;
    }
    case OpenKind::In6:
      inet_ntop(AF_INET6, static_cast<const open_in6_addr_t *>(obj)->u8, text, sizeof text);
      return wireRenderString(out, text, textLimit);
    case OpenKind::Record: return renderRecord(out, type, static_cast<const char *>(obj), textLimit);
  }
}

int decodeWritten(const OpenTypeInfo &type, const cJSON *json, void *obj, OpenStorage &storage);

int wordsFromJson(const cJSON *json, open_buffdesc *desc, OpenStorage &storage) {
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

int bufferFromJson(const OpenTypeInfo &type, const cJSON *json, open_buffdesc *desc, OpenStorage &storage) {
  if (type.kind == OpenKind::Words) return wordsFromJson(json, desc, storage);
  if (!cJSON_IsString(json)) return -1;
  std::vector<char> bytes;
  if (type.kind == OpenKind::Bytes) {
    if (unhex(json->valuestring, bytes) != 0) return -1;
  } else {
    size_t length = strlen(json->valuestring);
    if (length + 1 > kWireMaxBuffer) return -1;
    bytes.assign(json->valuestring, json->valuestring + length + 1);
  }
  giveStorage(desc, bytes.size(), storage);
  copyBytes(desc->pstart, bytes.data(), bytes.size());
  return 0;
}

int addrFromJson(const cJSON *json, open_inet_addr_t *addr) {
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

int recordFromJson(const OpenTypeInfo &type, const cJSON *json, char *obj, OpenStorage &storage) {
  if (!cJSON_IsArray(json) || cJSON_GetArraySize(json) != type.fieldCount) return -1;
  const cJSON *item = json->child;
  for (uint8_t i = 0; i < type.fieldCount; ++i, item = item->next) {
    const OpenField &field = type.fields[i];
    const OpenTypeInfo &member = openTypeInfo(field.type);
    char *at = obj + field.offset;
    if (field.length == 1) {
      if (decodeWritten(member, item, at, storage) != 0) return -1;
      continue;
    }
    if (!cJSON_IsArray(item) || cJSON_GetArraySize(item) > static_cast<int>(field.length)) return -1;
    uint32_t e = 0;
    for (const cJSON *element = item->child; element; element = element->next, ++e) {
      if (decodeWritten(member, element, at + e * member.size, storage) != 0) return -1;
    }
  }
  return 0;
}

int decodeWritten(const OpenTypeInfo &type, const cJSON *json, void *obj, OpenStorage &storage) {
  switch (type.kind) {
    case OpenKind::Int: return decodeInt(type, json, obj);
    case OpenKind::Text:
    case OpenKind::Words:
    case OpenKind::Bytes: return bufferFromJson(type, json, static_cast<open_buffdesc *>(obj), storage);
    case OpenKind::Addr: return addrFromJson(json, static_cast<open_inet_addr_t *>(obj));
    case OpenKind::In6:
      if (!cJSON_IsString(json)) return -1;
      return inet_pton(AF_INET6, json->valuestring, static_cast<open_in6_addr_t *>(obj)->u8) == 1 ? 0 : -1;
    case OpenKind::Record: return recordFromJson(type, json, static_cast<char *>(obj), storage);
  }
  return -1;
}

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

// What a request begins with: the operation and the signature it was built
// with.
bool readHead(Reader &in, RequestHead &head) { return in.copy(&head.op, sizeof head.op) && in.copy(&head.signature, sizeof head.signature); }

const OpenTypeInfo &typeOf(const OpenArgDesc &arg) { return openTypeInfo(arg.type); }

}  // namespace

// ---- Frames ----

void WireBuffer::append(const void *bytes, size_t count) {
  if (failed_ || count == 0) return;
  if (count > capacity_ - size_) {
    size_t capacity = capacity_ * 2 > size_ + count ? capacity_ * 2 : size_ + count;
    std::unique_ptr<char[]> grown(new (std::nothrow) char[capacity]);
    if (!grown) {
      failed_ = true;
      return;
    }
    memcpy(grown.get(), data_, size_);
    heap_ = std::move(grown);
    data_ = heap_.get();
    capacity_ = capacity;
  }
  memcpy(data_ + size_, bytes, count);
  size_ += count;
}

void wireBeginFrame(WireBuffer &out) {
  out.append(kWireMagic, sizeof kWireMagic);
  putU32(out, 0);
}

void wireEndFrame(WireBuffer &out, size_t frameStart) {
  uint32_t length = static_cast<uint32_t>(out.size() - frameStart - kWireHeaderSize);
  if (!out.failed()) memcpy(out.data() + frameStart + sizeof kWireMagic, &length, sizeof length);
}

long wireBodyLength(const char *header) {
  uint32_t length = 0;
  if (memcmp(header, kWireMagic, sizeof kWireMagic) != 0) return -1;
  memcpy(&length, header + sizeof kWireMagic, sizeof length);
  return length <= kWireMaxBody ? static_cast<long>(length) : -1;
}

OpenCallArgs::OpenCallArgs(const OpenOpDesc &op) : op_(op) {
  size_t total = 0;
  constexpr size_t kAlign = alignof(std::max_align_t);
  for (uint8_t i = 0; i < op.argCount; ++i) total += (typeOf(op.args[i]).size + kAlign - 1) / kAlign * kAlign;
  unsigned char *at = inline_;
  if (total > sizeof inline_) {
    heap_.reset(new unsigned char[total]);
    at = heap_.get();
  }
  memset(at, 0, total);
  for (uint8_t i = 0; i < op.argCount; ++i) {
    objects_[i] = at;
    at += (typeOf(op.args[i]).size + kAlign - 1) / kAlign * kAlign;
  }
}

void wireEncodeRequest(WireBuffer &out, OpenOpId id, void *const objects[]) {
  const OpenOpDesc &op = kOpenOps[id];
  size_t start = out.size();
  wireBeginFrame(out);
  RequestHead head{static_cast<uint16_t>(id), op.signature};
  out.append(&head.op, sizeof head.op);
  putU32(out, head.signature);
  for (uint8_t i = 0; i < op.argCount; ++i) encodeValue(out, typeOf(op.args[i]), objects[i], openArgIsInput(op.args[i]));
  wireEndFrame(out, start);
}

const OpenOpDesc *wireRequestedOperation(std::string_view body) {
  Reader in{body.data(), body.data() + body.size()};
  RequestHead head{};
  if (!readHead(in, head) || head.op >= OPEN_OP_COUNT || kOpenOps[head.op].signature != head.signature) return nullptr;
  return &kOpenOps[head.op];
}

int wireDecodeRequest(std::string_view body, OpenCallArgs &args) {
  Reader in{body.data() + sizeof(uint16_t) + sizeof(uint32_t), body.data() + body.size()};
  if (wireRequestedOperation(body) != &args.op()) return -1;
  const OpenOpDesc &op = args.op();
  for (uint8_t i = 0; i < op.argCount; ++i) {
    if (!decodeValue(in, typeOf(op.args[i]), args.object(i), openArgIsInput(op.args[i]), &args.storage())) return -1;
  }
  return in.done() ? 0 : -1;
}

void wireEncodeOutputs(WireBuffer &out, const OpenOpDesc &op, void *const objects[]) {
  for (uint8_t i = 0; i < op.argCount; ++i) {
    if (openArgIsOutput(op.args[i])) encodeValue(out, typeOf(op.args[i]), objects[i], true);
  }
}

void wireEncodeReplyBody(WireBuffer &out, int32_t rc, const OpenCallArgs *args) {
  out.append(&rc, sizeof rc);
  if (args != nullptr) wireEncodeOutputs(out, args->op(), args->objects());
}

void wireEncodeReply(WireBuffer &out, int32_t rc, const OpenCallArgs *args) {
  size_t start = out.size();
  wireBeginFrame(out);
  wireEncodeReplyBody(out, rc, args);
  wireEndFrame(out, start);
}

namespace {

int32_t decodeReply(std::string_view body, const OpenOpDesc &op, void *const objects[], OpenStorage *storage) {
  Reader in{body.data(), body.data() + body.size()};
  int32_t rc = 0;
  if (!in.copy(&rc, sizeof rc)) return OPEN_E_INTERNAL;
  if (in.done()) return rc;  // a refusal: the outputs stay as they were
  for (uint8_t i = 0; i < op.argCount; ++i) {
    if (openArgIsOutput(op.args[i]) && !decodeValue(in, typeOf(op.args[i]), objects[i], true, storage)) {
      return OPEN_E_INTERNAL;
    }
  }
  return in.done() ? rc : OPEN_E_INTERNAL;
}

}  // namespace

int32_t wireDecodeReply(std::string_view body, const OpenOpDesc &op, void *const objects[]) {
  return decodeReply(body, op, objects, nullptr);
}

int32_t wireDecodeReplyInto(std::string_view body, OpenCallArgs &args) {
  return decodeReply(body, args.op(), args.objects(), &args.storage());
}

// ---- The written form ----

void wireRender(std::string &out, const OpenArgDesc &arg, const void *obj, size_t textLimit) {
  renderValue(out, typeOf(arg), obj, textLimit);
}

void wireRenderString(std::string &out, std::string_view text, size_t textLimit) {
  size_t keep = text.size();
  if (keep > textLimit) {
    keep = textLimit;
    while (keep > 0 && (static_cast<unsigned char>(text[keep]) & 0xC0) == 0x80) --keep;
  }
  out += '"';
  size_t plain = 0;  // where the run of bytes that need no escape began
  for (size_t i = 0; i < keep; ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0x20 && c != '"' && c != '\\') continue;
    out.append(text.data() + plain, i - plain);
    plain = i + 1;
    const char *escape = c == '"' ? "\\\"" : c == '\\' ? "\\\\" : c == '\b' ? "\\b" : c == '\f' ? "\\f"
                       : c == '\n' ? "\\n" : c == '\r' ? "\\r" : c == '\t' ? "\\t" : nullptr;
    if (escape != nullptr) {
      out += escape;
      continue;
    }
    char code[8];
    snprintf(code, sizeof code, "\\u%04x", c);
    out += code;
  }
  out.append(text.data() + plain, keep - plain);
  if (keep < text.size()) {
    out += "[cut, ";
    out += std::to_string(text.size());
    out += " bytes in all]";
  }
  out += '"';
}

std::string wireWrittenAnswer(int32_t rc, const OpenOpDesc &op, void *const objects[], bool withOutputs) {
  std::string answer = "{\"rc\":" + std::to_string(rc) + ",\"out\":[";
  bool first = true;
  for (uint8_t i = 0; i < op.argCount && withOutputs; ++i) {
    if (!openArgIsOutput(op.args[i])) continue;
    if (!first) answer += ',';
    first = false;
    wireRender(answer, op.args[i], objects[i]);
  }
  return answer + "]}";
}

int wireDecodeWritten(const OpenArgDesc &arg, const cJSON *json, void *obj, OpenStorage &storage) {
  return json != nullptr ? decodeWritten(typeOf(arg), json, obj, storage) : -1;
}

int wireDecodeInt(OpenType type, const cJSON *json, void *obj) { return decodeInt(openTypeInfo(type), json, obj); }

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
