#include "open/wire.h"

#include <arpa/inet.h>

#include <cerrno>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

// Every record must fit the storage of a simulator argument.
#define OPEN_RECORD(tag, ctype, ...) static_assert(sizeof(ctype) <= sizeof(OpenSlot::value), #ctype " too large");
#include "open/open_records.def"
#undef OPEN_RECORD

namespace {

uint64_t readInt(OpenType type, const void *obj) {
  switch (type) {
    case OPEN_TYPE_U8: return *static_cast<const uint8_t *>(obj);
    case OPEN_TYPE_I32: return static_cast<uint64_t>(static_cast<int64_t>(*static_cast<const int32_t *>(obj)));
    case OPEN_TYPE_U64: return *static_cast<const uint64_t *>(obj);
    default: return *static_cast<const uint32_t *>(obj);
  }
}

void writeInt(OpenType type, void *obj, uint64_t value) {
  switch (type) {
    case OPEN_TYPE_U8: *static_cast<uint8_t *>(obj) = static_cast<uint8_t>(value); break;
    case OPEN_TYPE_I32: *static_cast<int32_t *>(obj) = static_cast<int32_t>(value); break;
    case OPEN_TYPE_U64: *static_cast<uint64_t *>(obj) = value; break;
    default: *static_cast<uint32_t *>(obj) = static_cast<uint32_t>(value); break;
  }
}

void formatInt(OpenType type, uint64_t value, char *text, size_t size) {
  if (openTypeInfo(type).isSigned) {
    snprintf(text, size, "%" PRId64, static_cast<int64_t>(value));
  } else {
    snprintf(text, size, "%" PRIu64, value);
  }
}

cJSON *intAsText(OpenType type, const void *obj) {
  char text[24];
  formatInt(type, readInt(type, obj), text, sizeof text);
  return cJSON_CreateString(text);
}

cJSON *intAsNumber(OpenType type, const void *obj) {
  char text[24];
  formatInt(type, readInt(type, obj), text, sizeof text);
  return cJSON_CreateRaw(text);  // a JSON number with every digit kept
}

bool inRange(OpenType type, int64_t sval, uint64_t uval, bool negative) {
  switch (type) {
    case OPEN_TYPE_U8: return !negative && uval <= UINT8_MAX;
    case OPEN_TYPE_U32: return !negative && uval <= UINT32_MAX;
    case OPEN_TYPE_I32: return sval >= INT32_MIN && sval <= INT32_MAX;
    default: return !negative;
  }
}

int parseIntText(OpenType type, const char *text, uint64_t *value) {
  if (*text == '\0' || (!openTypeInfo(type).isSigned && *text == '-')) return -1;
  char *end = nullptr;
  errno = 0;
  bool negative = *text == '-';
  int64_t sval = 0;
  uint64_t uval = 0;
  if (negative) {
    sval = strtoll(text, &end, 10);
    uval = static_cast<uint64_t>(sval);
  } else {
    uval = strtoull(text, &end, 10);
    sval = static_cast<int64_t>(uval);
    if (openTypeInfo(type).isSigned && uval > INT64_MAX) return -1;
  }
  if (errno != 0 || *end != '\0' || !inRange(type, sval, uval, negative)) return -1;
  *value = uval;
  return 0;
}

int parseIntNumber(OpenType type, double number, uint64_t *value) {
  if (!std::isfinite(number) || number != std::floor(number)) return -1;
  // A double holds integers exactly only up to 2^53; larger ones must come as text.
  if (std::fabs(number) > 9007199254740992.0) return -1;
  bool negative = number < 0;
  int64_t sval = static_cast<int64_t>(number);
  uint64_t uval = static_cast<uint64_t>(sval);
  if (!inRange(type, sval, uval, negative)) return -1;
  if (negative && !openTypeInfo(type).isSigned) return -1;
  *value = uval;
  return 0;
}

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

// Decodes hex text into `out`; -1 when it is not an even run of hex digits.
int unhex(const char *text, std::vector<char> &out) {
  size_t length = strlen(text);
  if (length % 2 != 0 || length / 2 > kWireMaxBuffer) return -1;
  out.resize(length / 2);
  for (size_t i = 0; i < out.size(); ++i) {
    int high = hexNibble(text[2 * i]), low = hexNibble(text[2 * i + 1]);
    if (high < 0 || low < 0) return -1;
    out[i] = static_cast<char>(high << 4 | low);
  }
  return 0;
}

cJSON *addrToJson(const open_inet_addr_t *addr) {
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

int addrFromJson(const cJSON *json, open_inet_addr_t *addr) {
  const cJSON *family = cJSON_GetObjectItemCaseSensitive(json, "family");
  const cJSON *text = cJSON_GetObjectItemCaseSensitive(json, "addr");
  uint32_t code = 0;
  if (!cJSON_IsObject(json) || wireDecodeInt(OPEN_TYPE_U32, family, &code) != 0) return -1;
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

using IntEncoder = cJSON *(*)(OpenType, const void *);

cJSON *recordToJson(OpenType type, const void *obj, IntEncoder encode) {
  const OpenTypeInfo &info = openTypeInfo(type);
  cJSON *array = cJSON_CreateArray();
  for (uint8_t i = 0; i < info.fieldCount; ++i) {
    const OpenField &field = info.fields[i];
    cJSON_AddItemToArray(array, encode(field.type, static_cast<const char *>(obj) + field.offset));
  }
  return array;
}

int recordFromJson(OpenType type, const cJSON *json, void *obj) {
  const OpenTypeInfo &info = openTypeInfo(type);
  if (!cJSON_IsArray(json) || cJSON_GetArraySize(json) != info.fieldCount) return -1;
  for (uint8_t i = 0; i < info.fieldCount; ++i) {
    const OpenField &field = info.fields[i];
    if (wireDecodeInt(field.type, cJSON_GetArrayItem(json, i), static_cast<char *>(obj) + field.offset) != 0) {
      return -1;
    }
  }
  return 0;
}

cJSON *bufferToJson(const open_buffdesc *desc, bool withBytes) {
  cJSON *json = cJSON_CreateObject();
  cJSON_AddNumberToObject(json, "size", desc->size);
  if (withBytes) cJSON_AddItemToObject(json, "hex", hexString(desc->pstart, desc->pstart ? desc->size : 0));
  return json;
}

// Gives the slot a zero-filled buffer of `size` bytes (at least one, so that
// the descriptor always points somewhere).
void sizeSlotBuffer(OpenSlot &slot, size_t size) {
  slot.bytes.assign(size > 0 ? size : 1, '\0');
  slot.desc.pstart = slot.bytes.data();
  slot.desc.size = static_cast<uint32_t>(size);
}

int bufferSize(const cJSON *json, uint32_t *size) {
  const cJSON *item = cJSON_GetObjectItemCaseSensitive(json, "size");
  if (!cJSON_IsObject(json) || wireDecodeInt(OPEN_TYPE_U32, item, size) != 0) return -1;
  return *size <= kWireMaxBuffer ? 0 : -1;
}

int bufferFromRequest(const OpenArgDesc &arg, const cJSON *json, OpenSlot &slot) {
  uint32_t size = 0;
  if (bufferSize(json, &size) != 0) return -1;
  sizeSlotBuffer(slot, size);
  if (arg.dir == OpenDir::Out) return 0;
  const cJSON *hex = cJSON_GetObjectItemCaseSensitive(json, "hex");
  std::vector<char> bytes;
  if (!cJSON_IsString(hex) || unhex(hex->valuestring, bytes) != 0 || bytes.size() > size) return -1;
  memcpy(slot.bytes.data(), bytes.data(), bytes.size());
  return 0;
}

int scriptedWords(const cJSON *json, OpenSlot &slot) {
  if (!cJSON_IsArray(json)) return -1;
  size_t count = static_cast<size_t>(cJSON_GetArraySize(json));
  if (count * 8 > kWireMaxBuffer) return -1;
  sizeSlotBuffer(slot, count * 8);
  size_t i = 0;
  for (const cJSON *item = json->child; item; item = item->next, ++i) {
    uint64_t word = 0;
    if (wireDecodeInt(OPEN_TYPE_U64, item, &word) != 0) return -1;
    memcpy(slot.bytes.data() + i * 8, &word, 8);
  }
  return 0;
}

int scriptedBuffer(const OpenArgDesc &arg, const cJSON *json, OpenSlot &slot) {
  if (arg.type == OPEN_TYPE_W64) return scriptedWords(json, slot);
  if (!cJSON_IsString(json)) return -1;
  if (arg.type == OPEN_TYPE_BIN) {
    std::vector<char> bytes;
    if (unhex(json->valuestring, bytes) != 0) return -1;
    sizeSlotBuffer(slot, bytes.size());
    memcpy(slot.bytes.data(), bytes.data(), bytes.size());
    return 0;
  }
  size_t length = strlen(json->valuestring);
  if (length + 1 > kWireMaxBuffer) return -1;
  sizeSlotBuffer(slot, length + 1);
  memcpy(slot.bytes.data(), json->valuestring, length);
  return 0;
}

}  // namespace

int wireDecodeInt(OpenType type, const cJSON *json, void *obj) {
  uint64_t value = 0;
  int rc = -1;
  if (cJSON_IsString(json)) rc = parseIntText(type, json->valuestring, &value);
  if (cJSON_IsNumber(json)) rc = parseIntNumber(type, json->valuedouble, &value);
  if (rc == 0) writeInt(type, obj, value);
  return rc;
}

void *OpenSlot::object(const OpenArgDesc &arg) {
  return openTypeInfo(arg.type).kind == OpenKind::Buf ? static_cast<void *>(&desc) : static_cast<void *>(value);
}

cJSON *wireEncodeRequestArg(const OpenArgDesc &arg, const void *obj) {
  const OpenTypeInfo &info = openTypeInfo(arg.type);
  if (info.kind == OpenKind::Buf) return bufferToJson(static_cast<const open_buffdesc *>(obj), openArgIsInput(arg));
  if (!openArgIsInput(arg)) return cJSON_CreateNull();
  if (info.kind == OpenKind::Int) return intAsText(arg.type, obj);
  if (info.kind == OpenKind::Addr) return addrToJson(static_cast<const open_inet_addr_t *>(obj));
  return recordToJson(arg.type, obj, intAsText);
}

cJSON *wireEncodeReplyOut(const OpenArgDesc &arg, const void *obj) {
  const OpenTypeInfo &info = openTypeInfo(arg.type);
  if (info.kind == OpenKind::Buf) return bufferToJson(static_cast<const open_buffdesc *>(obj), true);
  if (info.kind == OpenKind::Int) return intAsText(arg.type, obj);
  if (info.kind == OpenKind::Addr) return addrToJson(static_cast<const open_inet_addr_t *>(obj));
  return recordToJson(arg.type, obj, intAsText);
}

int wireDecodeReplyOut(const OpenArgDesc &arg, const cJSON *json, void *obj) {
  const OpenTypeInfo &info = openTypeInfo(arg.type);
  if (info.kind == OpenKind::Int) return wireDecodeInt(arg.type, json, obj);
  if (info.kind == OpenKind::Addr) return addrFromJson(json, static_cast<open_inet_addr_t *>(obj));
  if (info.kind == OpenKind::Record) return recordFromJson(arg.type, json, obj);
  auto *desc = static_cast<open_buffdesc *>(obj);
  uint32_t size = 0;
  std::vector<char> bytes;
  const cJSON *hex = cJSON_GetObjectItemCaseSensitive(json, "hex");
  if (bufferSize(json, &size) != 0 || !cJSON_IsString(hex) || unhex(hex->valuestring, bytes) != 0) return -1;
  // Never past the caller's buffer, whatever the server claims.
  size_t copied = bytes.size() < desc->size ? bytes.size() : desc->size;
  if (copied > 0) memcpy(desc->pstart, bytes.data(), copied);
  desc->size = size < desc->size ? size : desc->size;
  return 0;
}

int wireDecodeRequestArg(const OpenArgDesc &arg, const cJSON *json, OpenSlot &slot) {
  const OpenTypeInfo &info = openTypeInfo(arg.type);
  memset(slot.value, 0, sizeof slot.value);
  if (info.kind == OpenKind::Buf) return bufferFromRequest(arg, json, slot);
  if (!openArgIsInput(arg)) return 0;
  if (info.kind == OpenKind::Int) return wireDecodeInt(arg.type, json, slot.value);
  if (info.kind == OpenKind::Addr) return addrFromJson(json, reinterpret_cast<open_inet_addr_t *>(slot.value));
  return recordFromJson(arg.type, json, slot.value);
}

cJSON *wireRenderArg(const OpenArgDesc &arg, const void *obj) {
  const OpenTypeInfo &info = openTypeInfo(arg.type);
  if (info.kind == OpenKind::Int) return intAsNumber(arg.type, obj);
  if (info.kind == OpenKind::Addr) return addrToJson(static_cast<const open_inet_addr_t *>(obj));
  if (info.kind == OpenKind::Record) return recordToJson(arg.type, obj, intAsNumber);
  const auto *desc = static_cast<const open_buffdesc *>(obj);
  std::string text(desc->pstart ? desc->pstart : "", desc->pstart ? strnlen(desc->pstart, desc->size) : 0);
  return cJSON_CreateString(text.c_str());
}

int wireDecodeScriptedOut(const OpenArgDesc &arg, const cJSON *json, OpenSlot &slot) {
  const OpenTypeInfo &info = openTypeInfo(arg.type);
  memset(slot.value, 0, sizeof slot.value);
  if (info.kind == OpenKind::Buf) return scriptedBuffer(arg, json, slot);
  if (info.kind == OpenKind::Int) return wireDecodeInt(arg.type, json, slot.value);
  if (info.kind == OpenKind::Addr) return addrFromJson(json, reinterpret_cast<open_inet_addr_t *>(slot.value));
  return recordFromJson(arg.type, json, slot.value);
}
