#include "routes/engine/values.h"

#include <strings.h>

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "cgi/response.h"
#include "routes/engine/custom.h"
#include "routes/engine/address.h"

namespace route {

namespace {

uint32_t describedSize(const BufferKind &kind, size_t length) {
  switch (kind.rule) {
    case SizeRule::Capacity: return kind.capacity;
    case SizeRule::CapacityLessOne: return kind.capacity - 1;
    case SizeRule::LengthPlusOne: return static_cast<uint32_t>(length + 1);
    case SizeRule::Queried: return kind.queriedSize();
  }
  return kind.capacity;
}

cJSON *objectFor(cJSON *data, const char *member) {
  if (member == nullptr) return data;
  cJSON *holder = cJSON_GetObjectItemCaseSensitive(data, member);
  return holder != nullptr ? holder : cJSON_AddObjectToObject(data, member);
}

cJSON *numberOf(const Slot &slot) {
  return slot.isSigned ? integerNumber(static_cast<int64_t>(slot.num)) : integerNumber(slot.num);
}

cJSON *addressOf(const Bind &bind, const Slot &slot) {
  char text[kAddressTextSize] = "";
  if (bind.show == Show::Address) addressToText(slot.addr, text);
  if (bind.show == Show::Ipv4HostOrder) ipv4ToText(static_cast<uint32_t>(slot.num), text);
  if (bind.show == Show::Ipv6 && slot.record && slot.recordSize == sizeof(open_in6_addr_t)) {
    open_in6_addr_t bytes;
    memcpy(&bytes, slot.record.get(), sizeof bytes);
    ipv6ToText(bytes.u8, text);
  }
  return cJSON_CreateString(text);
}

cJSON *valueOf(const Bind &bind, const Slot &slot) {
  switch (bind.show) {
    case Show::Number: return numberOf(slot);
    case Show::Choice: return cJSON_CreateString(choiceText(*bind.choices, slot.num));
    case Show::Boolean: return cJSON_CreateBool(slot.num == 1);
    case Show::Text: return bufferText(slot);
    case Show::Hex: return bufferHex(slot);
    case Show::Address:
    case Show::Ipv4HostOrder:
    case Show::Ipv6: return addressOf(bind, slot);
    case Show::Custom:
    case Show::Object:
    case Show::List:
    case Show::Mac:
    case Show::Nothing: break;
  }
  return nullptr;
}

// cJSON prints a number beyond int's range with "%1.15g" and scans it back
// to see whether 15 digits were enough: a tenth of a polled counter's
// request. Below 10^15 they always are, and the text is the digits. Within
// int's range its "%d" costs less than a text of our own.
cJSON *signedMagnitude(uint64_t magnitude, bool negative) {
  bool withinInt = magnitude <= (negative ? uint64_t{1} << 31 : uint64_t{INT32_MAX});
  if (withinInt || magnitude >= kDigitsExact) {
    double value = static_cast<double>(magnitude);
    return cJSON_CreateNumber(negative ? -value : value);
  }
  char text[24];
  char *at = text;
  if (negative) *at++ = '-';
  *std::to_chars(at, text + sizeof text - 1, magnitude).ptr = '\0';
  return cJSON_CreateRaw(text);
}

}  // namespace

cJSON *integerNumber(uint64_t value) { return signedMagnitude(value, false); }

cJSON *integerNumber(int64_t value) {
  bool negative = value < 0;
  return signedMagnitude(negative ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value), negative);
}

int64_t choiceValue(const ChoiceTable &table, const char *text) {
  if (text == nullptr) return table.inputDefault;
  for (uint8_t i = 0; i < table.count; ++i) {
    const char *name = table.choices[i].text;
    if ((table.ignoreCase ? strcasecmp(name, text) : strcmp(name, text)) == 0) return table.choices[i].value;
  }
  return table.inputDefault;
}

const char *choiceText(const ChoiceTable &table, uint64_t value) {
  if (table.outputMask != 0) value &= table.outputMask;
  for (uint8_t i = 0; i < table.count; ++i) {
    if (static_cast<uint64_t>(table.choices[i].value) == value) return table.choices[i].text;
  }
  return table.outputDefault;
}

void allocateBuffer(Slot &slot, uint32_t capacity, uint32_t size) {
  slot.storage.reset(static_cast<char *>(calloc(capacity + 1u, 1)));
  slot.capacity = slot.storage ? capacity : 0;
  slot.desc.pstart = slot.storage.get();
  slot.desc.size = slot.storage ? size : 0;
}

int32_t fillText(const Bind &bind, const char *text, Slot &slot) {
  const BufferKind &kind = *bind.buffer;
  size_t length = text != nullptr ? strnlen(text, kind.capacity - 1) : 0;
  allocateBuffer(slot, kind.capacity, describedSize(kind, length));
  if (!slot.storage) return RC_GENERAL_FAILED;
  if (length > 0) memcpy(slot.storage.get(), text, length);
  return RC_SUCCESS;
}

void prepareOutputBuffer(const Bind &bind, Slot &slot) {
  const BufferKind &kind = *bind.buffer;
  allocateBuffer(slot, kind.capacity, kind.rule == SizeRule::LengthPlusOne ? kind.capacity : describedSize(kind, 0));
}

cJSON *bufferText(const Slot &slot) {
  if (slot.desc.pstart == nullptr || slot.capacity == 0) return cJSON_CreateString("");
  size_t length = strnlen(slot.desc.pstart, slot.capacity - 1);
  CText text(strndup(slot.desc.pstart, length));
  return cJSON_CreateString(text ? text.get() : "");
}

cJSON *bufferHex(const Slot &slot) {
  static const char kDigits[] = "0123456789abcdef";
  size_t length = slot.desc.pstart != nullptr && slot.desc.size < slot.capacity ? slot.desc.size : slot.capacity;
  CText text(static_cast<char *>(calloc(2 * length + 1, 1)));
  if (!text) return cJSON_CreateString("");
  for (size_t i = 0; i < length; ++i) {
    auto byte = static_cast<unsigned char>(slot.desc.pstart[i]);
    text.get()[2 * i] = kDigits[byte >> 4];
    text.get()[2 * i + 1] = kDigits[byte & 15];
  }
  return cJSON_CreateString(text.get());
}

void showValue(cJSON *data, const Bind &bind, const Slot &slot, const Slot *args) {
  cJSON *holder = objectFor(data, bind.outObject);
  if (holder == nullptr) return;
  if (bind.show == Show::Custom) {
    Output out(holder);
    bind.render(out, bind, slot, args);
    return;
  }
  cJSON_AddItemToObject(holder, bind.outKey, valueOf(bind, slot));
}

}  // namespace route
