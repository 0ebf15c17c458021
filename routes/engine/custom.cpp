#include "routes/engine/custom.h"

#include <cstdlib>

#include "cgi/response.h"
#include "routes/engine/values.h"
#include "routes/engine/address.h"

namespace route {

const cJSON *BodyObject::member(const Bind &member) const {
  return object_ != nullptr && member.key != nullptr ? cJSON_GetObjectItem(object_, member.key) : nullptr;
}

const cJSON *BodyObject::typed(const Bind &member) const {
  const cJSON *item = this->member(member);
  bool fits = false;
  switch (member.value) {
    case Value::Number: fits = cJSON_IsNumber(item); break;
    case Value::Text:
    case Value::Choice:
    case Value::Address: fits = cJSON_IsString(item); break;
    case Value::Object: fits = cJSON_IsObject(item); break;
    case Value::List: fits = cJSON_IsArray(item); break;
  }
  return fits ? item : nullptr;
}

bool BodyObject::isNull(const Bind &member) const { return cJSON_IsNull(this->member(member)); }

bool BodyObject::mistyped(const Bind &member) const { return this->member(member) != nullptr && !has(member); }

uint32_t BodyObject::numberOf(const cJSON *item) { return jsonNumberToU32(item); }

uint32_t BodyObject::number(const Bind &member) const {
  const cJSON *item = typed(member);
  if (item != nullptr) return numberOf(item);
  const cJSON *text = this->member(member);
  if (member.orDigits && cJSON_IsString(text)) return static_cast<uint32_t>(strtoul(text->valuestring, nullptr, 10));
  return 0;
}

int64_t BodyObject::choice(const Bind &member) const { return choiceValue(*member.choices, text(member)); }

const char *BodyObject::text(const Bind &member) const {
  const cJSON *item = typed(member);
  return item != nullptr ? item->valuestring : nullptr;
}

size_t BodyObject::count(const Bind &list) const {
  const cJSON *array = typed(list);
  return array != nullptr ? static_cast<size_t>(cJSON_GetArraySize(array)) : 0;
}

const cJSON *BodyObject::firstElement(const Bind &list) const {
  const cJSON *array = typed(list);
  return array != nullptr ? array->child : nullptr;
}

void Output::add(const Bind &part, cJSON *value) { cJSON_AddItemToObject(object_, part.outKey, value); }

void Output::number(const Bind &part, double value) { add(part, cJSON_CreateNumber(value)); }

void Output::choice(const Bind &part, int64_t value) {
  add(part, cJSON_CreateString(choiceText(*part.choices, static_cast<uint64_t>(value))));
}

void Output::text(const Bind &part, const char *text) { add(part, cJSON_CreateString(text != nullptr ? text : "")); }

void Output::address(const Bind &part, const open_inet_addr_t &addr) {
  char text[kAddressTextSize];
  addressToText(addr, text);
  add(part, cJSON_CreateString(text));
}

void Output::null(const Bind &part) { add(part, cJSON_CreateNull()); }

Output Output::object(const Bind &part) {
  cJSON *object = cJSON_CreateObject();
  add(part, object);
  return Output(object);
}

List Output::list(const Bind &part) {
  cJSON *array = cJSON_CreateArray();
  add(part, array);
  return List(array);
}

Output List::addObject() {
  cJSON *object = cJSON_CreateObject();
  cJSON_AddItemToArray(array_, object);
  return Output(object);
}

void List::addNumber(double value) { cJSON_AddItemToArray(array_, cJSON_CreateNumber(value)); }

}  // namespace route
