#include "apidoc/schema.h"

#include <cstring>
#include <string>

#include "cgi/httpd.h"

namespace apidoc {

using route::Bind;
using route::Show;
using route::Value;

std::vector<std::string> &problems() {
  static std::vector<std::string> list;
  return list;
}

namespace {

cJSON *typed(const char *type) {
  cJSON *schema = cJSON_CreateObject();
  cJSON_AddStringToObject(schema, "type", type);
  return schema;
}

void describe(cJSON *schema, const std::string &text) {
  if (!text.empty()) cJSON_AddStringToObject(schema, "description", text.c_str());
}

// An integer as wide as the OpEN argument it becomes or comes from; values
// beyond 2^53 are left unbounded, since JSON readers hold numbers as doubles.
cJSON *integerSchema(const route::ArgTag *param) {
  cJSON *schema = typed("integer");
  if (param == nullptr || param->intBytes == 0) return schema;
  unsigned bits = 8u * param->intBytes;
  if (bits > 53) {
    if (!param->intSigned) cJSON_AddNumberToObject(schema, "minimum", 0);
    return schema;
  }
  double top = static_cast<double>(uint64_t{1} << (param->intSigned ? bits - 1 : bits));
  cJSON_AddNumberToObject(schema, "minimum", param->intSigned ? -top : 0);
  cJSON_AddNumberToObject(schema, "maximum", top - 1);
  return schema;
}

cJSON *textSchema(const route::BufferKind *buffer) {
  cJSON *schema = typed("string");
  if (buffer != nullptr) cJSON_AddNumberToObject(schema, "maxLength", buffer->capacity - 1);
  return schema;
}

bool isWord(const route::ChoiceTable &table, const char *word) {
  for (uint8_t i = 0; i < table.count; ++i) {
    if (strcmp(table.choices[i].text, word) == 0) return true;
  }
  return false;
}

const char *wordOf(const route::ChoiceTable &table, int64_t value) {
  for (uint8_t i = 0; i < table.count; ++i) {
    if (table.choices[i].value == value) return table.choices[i].text;
  }
  return nullptr;
}

cJSON *wordsSchema(const route::ChoiceTable &table, const char *extra) {
  cJSON *schema = typed("string");
  cJSON *words = cJSON_AddArrayToObject(schema, "enum");
  for (uint8_t i = 0; i < table.count; ++i) cJSON_AddItemToArray(words, cJSON_CreateString(table.choices[i].text));
  if (extra != nullptr && !isWord(table, extra)) cJSON_AddItemToArray(words, cJSON_CreateString(extra));
  return schema;
}

std::string choiceNote(const Bind &bind) {
  const route::ChoiceTable &table = *bind.choices;
  std::string note = table.ignoreCase ? "Compared ignoring case. " : "Compared exactly. ";
  if (bind.strict) return note + "Other texts are refused with 10003.";
  const char *fallback = wordOf(table, table.inputDefault);
  note += "Other texts are not refused: they are taken as ";
  note += fallback != nullptr ? std::string("\"") + fallback + "\"" : "value " + std::to_string(table.inputDefault);
  return note + " and the switch decides.";
}

cJSON *addressSchema(bool orEmpty) {
  cJSON *schema = typed("string");
  cJSON *forms = cJSON_AddArrayToObject(schema, "anyOf");
  for (const char *format : {"ipv4", "ipv6"}) {
    cJSON *form = cJSON_CreateObject();
    cJSON_AddStringToObject(form, "format", format);
    cJSON_AddItemToArray(forms, form);
  }
  if (orEmpty) {
    cJSON *empty = cJSON_CreateObject();
    cJSON_AddStringToObject(empty, "const", "");
    cJSON_AddItemToArray(forms, empty);
  }
  return schema;
}

cJSON *formattedText(const char *format) {
  cJSON *schema = typed("string");
  cJSON_AddStringToObject(schema, "format", format);
  return schema;
}

cJSON *nullable(cJSON *schema) {
  cJSON *either = cJSON_CreateObject();
  cJSON *forms = cJSON_AddArrayToObject(either, "anyOf");
  cJSON_AddItemToArray(forms, schema);
  cJSON_AddItemToArray(forms, typed("null"));
  return either;
}

// ---- Answers ----

struct ObjectSchema {
  cJSON *schema = typed("object");
  cJSON *properties = cJSON_AddObjectToObject(schema, "properties");
  cJSON *required = cJSON_AddArrayToObject(schema, "required");

  ObjectSchema() { cJSON_AddBoolToObject(schema, "additionalProperties", false); }

  void add(const char *key, cJSON *value, bool always) {
    if (cJSON_GetObjectItemCaseSensitive(properties, key) != nullptr) {
      problems().push_back(std::string("answer key \"") + key + "\" is written twice");
      cJSON_Delete(value);
      return;
    }
    cJSON_AddItemToObject(properties, key, value);
    if (always) cJSON_AddItemToArray(required, cJSON_CreateString(key));
  }
  // The object named `key` among the properties, made when first asked for.
  ObjectSchema inner(const char *key) {
    ObjectSchema found;
    cJSON *existing = cJSON_GetObjectItemCaseSensitive(properties, key);
    if (existing != nullptr) {
      cJSON_Delete(found.schema);
      found.schema = existing;
      found.properties = cJSON_GetObjectItemCaseSensitive(existing, "properties");
      found.required = cJSON_GetObjectItemCaseSensitive(existing, "required");
      return found;
    }
    add(key, found.schema, true);
    return found;
  }
  bool alwaysShown() const { return cJSON_GetArraySize(required) > 0; }
};

void addOutputs(ObjectSchema &object, const Bind *binds, size_t count, const route::ArgTag *params);

cJSON *partsObject(const Bind &bind) {
  ObjectSchema object;
  addOutputs(object, bind.parts, bind.partCount, nullptr);
  return object.schema;
}

cJSON *outputValue(const Bind &bind, const route::ArgTag *param);

cJSON *listSchema(const Bind &bind) {
  cJSON *schema = typed("array");
  bool ofValues = bind.partCount == 1 && bind.parts[0].outKey == nullptr;
  cJSON_AddItemToObject(schema, "items", ofValues ? outputValue(bind.parts[0], nullptr) : partsObject(bind));
  return schema;
}

cJSON *outputValue(const Bind &bind, const route::ArgTag *param) {
  switch (bind.show) {
    case Show::Number: return integerSchema(param);
    case Show::Choice: return wordsSchema(*bind.choices, bind.choices->outputDefault);
    case Show::Boolean: return typed("boolean");
    case Show::Text: return textSchema(bind.buffer);
    case Show::Hex: {
      cJSON *schema = typed("string");
      cJSON_AddStringToObject(schema, "pattern", "^([0-9a-f]{2})*$");
      if (bind.buffer != nullptr) cJSON_AddNumberToObject(schema, "maxLength", 2 * bind.buffer->capacity);
      describe(schema, "Bytes as lower-case hexadecimal, two digits a byte.");
      return schema;
    }
    case Show::Address: return addressSchema(true);
    case Show::Ipv4HostOrder: return formattedText("ipv4");
    case Show::Ipv6: return formattedText("ipv6");
    case Show::Mac: {
      cJSON *schema = textSchema(nullptr);
      describe(schema, "The MAC address as the switch prints it, such as 00:11:22:5A:3B:C0.");
      return schema;
    }
    case Show::Object: return partsObject(bind);
    case Show::List: return listSchema(bind);
    case Show::Custom:
    case Show::Nothing: break;
  }
  return typed("null");
}

void addOutput(ObjectSchema &object, const Bind &bind, const route::ArgTag *param) {
  bool expands = bind.show == Show::Custom || (bind.show == Show::Object && bind.outKey == nullptr);
  if (expands) {
    if (bind.parts == nullptr) {
      problems().push_back(std::string("a custom output of \"") + (bind.outKey ? bind.outKey : "?") +
                           "\" does not declare what it writes");
      return;
    }
    addOutputs(object, bind.parts, bind.partCount, nullptr);
    return;
  }
  cJSON *value = outputValue(bind, param);
  if (bind.nullable) value = nullable(value);
  if (bind.outObject != nullptr) {
    object.inner(bind.outObject).add(bind.outKey, value, !bind.optional);
    return;
  }
  object.add(bind.outKey, value, !bind.optional);
}

void addOutputs(ObjectSchema &object, const Bind *binds, size_t count, const route::ArgTag *params) {
  for (size_t i = 0; i < count; ++i) {
    if (binds[i].isOutput()) addOutput(object, binds[i], params != nullptr ? &params[i] : nullptr);
  }
}

// ---- Inputs ----

bool readsRequestData(const Bind &bind, const route::Family &family) {
  const route::QueryReader *reader = bind.reader != nullptr ? bind.reader : family.reader;
  return reader != nullptr && reader->source == route::QuerySource::RequestData;
}

std::string requiredNote(const Bind &bind) {
  if (!bind.required) return "";
  if (bind.from == route::From::Query && bind.value == Value::Number) return "Absent or 0 is refused with 10003.";
  return "Absent or not of this type is refused with 10003.";
}

void addInput(std::vector<Input> &inputs, Input input) {
  for (Input &seen : inputs) {
    if (seen.place == input.place && seen.name == input.name && seen.object == input.object) {
      seen.required = seen.required || input.required;
      return;
    }
  }
  inputs.push_back(std::move(input));
}

void collectInputs(std::vector<Input> &inputs, const Bind *binds, size_t count, const route::ArgTag *params,
                   const route::Route &row, int method) {
  const route::Family &family = *row.answering->family;
  for (size_t i = 0; i < count; ++i) {
    const Bind &bind = binds[i];
    const route::ArgTag *param = params != nullptr ? &params[i] : nullptr;
    std::string object = bind.object != nullptr ? bind.object : "";
    switch (bind.from) {
      case route::From::Query:
        if (readsRequestData(bind, family) && (method == HTTPD_POST || method == HTTPD_PUT)) {
          problems().push_back(std::string(row.op) + ": \"" + bind.key + "\" is read from a body as a query");
        }
        addInput(inputs, {Input::Place::Query, bind.key, "", &bind, param, bind.required, requiredNote(bind)});
        break;
      case route::From::Body:
        addInput(inputs, {Input::Place::Body, bind.key ? bind.key : "", object, &bind, param, bind.required,
                          requiredNote(bind)});
        break;
      case route::From::BodyOrQuery: {
        std::string note = "Taken from the body; when the body lacks it or gives 0, from the query.";
        if (bind.required) note += " 0 in both places is refused with 10003.";
        addInput(inputs, {Input::Place::Body, bind.key, object, &bind, param, false, note});
        addInput(inputs, {Input::Place::Query, bind.key, "", &bind, param, false, note});
        break;
      }
      case route::From::Custom:
        if (bind.show != Show::Nothing) break;  // it only prepares what OpEN fills
        if (bind.parts == nullptr) {
          problems().push_back(std::string(row.op) + ": a custom input does not declare what it reads");
          break;
        }
        collectInputs(inputs, bind.parts, bind.partCount, nullptr, row, method);
        break;
      case route::From::Constant:
      case route::From::Nothing: break;
    }
  }
}

cJSON *inputValue(const Bind &bind, const route::ArgTag *param);

cJSON *bodyPartsObject(const Bind &bind) {
  cJSON *schema = typed("object");
  cJSON *properties = cJSON_AddObjectToObject(schema, "properties");
  cJSON *required = cJSON_AddArrayToObject(schema, "required");
  for (size_t i = 0; i < bind.partCount; ++i) {
    const Bind &part = bind.parts[i];
    cJSON_AddItemToObject(properties, part.key, inputValue(part, nullptr));
    if (part.required) cJSON_AddItemToArray(required, cJSON_CreateString(part.key));
  }
  return schema;
}

cJSON *inputValue(const Bind &bind, const route::ArgTag *param) {
  cJSON *schema = nullptr;
  std::string note;
  switch (bind.value) {
    case Value::Number: schema = integerSchema(param); break;
    case Value::Text:
      schema = textSchema(bind.buffer);
      if (bind.buffer != nullptr) note = "Longer texts are cut to " + std::to_string(bind.buffer->capacity - 1) + " characters, not refused.";
      break;
    case Value::Choice:
      schema = wordsSchema(*bind.choices, nullptr);
      note = choiceNote(bind);
      break;
    case Value::Address:
      schema = addressSchema(false);
      note = "Tried as IPv4, then as IPv6; other texts mean no address, which the switch judges.";
      break;
    case Value::Object: schema = bodyPartsObject(bind); break;
    case Value::List: {
      schema = typed("array");
      bool ofValues = bind.partCount == 1 && bind.parts[0].key == nullptr;
      cJSON_AddItemToObject(schema, "items", ofValues ? inputValue(bind.parts[0], nullptr) : bodyPartsObject(bind));
      break;
    }
  }
  describe(schema, note);
  return schema;
}

}  // namespace

std::vector<Input> inputsOf(const route::Route &row, int method) {
  std::vector<Input> inputs;
  const route::ArgTag *params = row.call.open.invoke != nullptr ? row.call.open.params : nullptr;
  collectInputs(inputs, row.call.binds, route::bindCount(row.call), params, row, method);
  return inputs;
}

cJSON *inputSchema(const Input &input) {
  cJSON *schema = inputValue(*input.bind, input.param);
  if (input.bind->required && input.place == Input::Place::Query && input.bind->value == Value::Number) {
    cJSON *zero = cJSON_AddObjectToObject(schema, "not");
    cJSON_AddNumberToObject(zero, "const", 0);
  }
  return schema;
}

cJSON *answerSchema(const route::Route &row, bool *alwaysShown) {
  ObjectSchema object;
  const route::ArgTag *params = row.call.open.invoke != nullptr ? row.call.open.params : nullptr;
  addOutputs(object, row.call.binds, route::bindCount(row.call), params);
  *alwaysShown = object.alwaysShown();
  return object.schema;
}

}  // namespace apidoc
