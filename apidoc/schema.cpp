#include "apidoc/schema.h"

#include <cstring>
#include <string>

#include "cgi/httpd.h"
#include "cgi/request.h"

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

std::string joined(std::initializer_list<std::string> sentences) {
  std::string text;
  for (const std::string &sentence : sentences) {
    if (sentence.empty()) continue;
    text += (text.empty() ? "" : " ") + sentence;
  }
  return text;
}

std::string quoted(const char *word) { return std::string("\"") + word + "\""; }

// The integer type a number is read into or shown from: the OpEN argument's,
// else the width the route's own code declares.
struct Width {
  unsigned bytes;
  bool isSigned;
};
Width widthOf(const Bind &bind, const route::ArgTag *param) {
  if (param != nullptr && param->intBytes != 0) return {param->intBytes, param->intSigned};
  return {bind.intBytes, bind.intSigned};
}

// Values beyond 2^53 are left unbounded: JSON readers hold numbers as doubles.
cJSON *integerSchema(Width width) {
  cJSON *schema = typed("integer");
  if (width.bytes == 0) return schema;
  unsigned bits = 8u * width.bytes;
  if (bits > 53) {
    if (!width.isSigned) cJSON_AddNumberToObject(schema, "minimum", 0);
    return schema;
  }
  double top = static_cast<double>(uint64_t{1} << (width.isSigned ? bits - 1 : bits));
  cJSON_AddNumberToObject(schema, "minimum", width.isSigned ? -top : 0);
  cJSON_AddNumberToObject(schema, "maximum", top - 1);
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
  if (extra != nullptr && *extra != '\0' && !isWord(table, extra)) {
    cJSON_AddItemToArray(words, cJSON_CreateString(extra));
  }
  return schema;
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

// Both the byte limit and the cut: a character of several bytes may be split.
std::string bytesKept(const route::BufferKind *buffer) {
  if (buffer == nullptr) return "";
  return "At most " + std::to_string(buffer->capacity - 1) +
         " bytes of UTF-8 are kept: a longer text is cut there, not refused, and a character may be split.";
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

std::string wideNumberNote(Width width) {
  if (width.bytes < 8) return "";
  return "A 64-bit value: above 2^53 the JSON writer prints it as a double in exponent form (such as "
         "1.8446744073709552e+19), which a reader cannot take back to the exact value.";
}

std::string outputNote(const Bind &bind, const route::ArgTag *param) {
  switch (bind.show) {
    case Show::Number: return wideNumberNote(widthOf(bind, param));
    case Show::Text: return bind.buffer != nullptr ? "At most " + std::to_string(bind.buffer->capacity - 1) +
                                                         " bytes of UTF-8." : "";
    case Show::Choice: {
      const char *other = bind.choices->outputDefault;
      if (other == nullptr || *other == '\0' || isWord(*bind.choices, other)) return "";
      return "A value the switch gives that has no word of its own shows as " + quoted(other) + ".";
    }
    default: return "";
  }
}

cJSON *outputValue(const Bind &bind, const route::ArgTag *param) {
  cJSON *schema = nullptr;
  switch (bind.show) {
    case Show::Number: schema = integerSchema(widthOf(bind, param)); break;
    case Show::Choice: schema = wordsSchema(*bind.choices, bind.choices->outputDefault); break;
    case Show::Boolean: schema = typed("boolean"); break;
    case Show::Text:
      schema = typed("string");
      if (bind.buffer != nullptr) cJSON_AddNumberToObject(schema, "maxLength", bind.buffer->capacity - 1);
      break;
    case Show::Hex:
      schema = typed("string");
      cJSON_AddStringToObject(schema, "pattern", "^([0-9a-f]{2})*$");
      if (bind.buffer != nullptr) cJSON_AddNumberToObject(schema, "maxLength", 2 * bind.buffer->capacity);
      describe(schema, joined({bind.about ? bind.about : "", "Bytes as lower-case hexadecimal, two digits a byte."}));
      return schema;
    case Show::Address: schema = addressSchema(true); break;
    case Show::Ipv4HostOrder: schema = formattedText("ipv4"); break;
    case Show::Ipv6: schema = formattedText("ipv6"); break;
    case Show::Mac:
      schema = typed("string");
      describe(schema, joined({bind.about ? bind.about : "",
                               "The MAC address as the switch prints it, such as 00:11:22:5A:3B:C0."}));
      return schema;
    case Show::Object: schema = partsObject(bind); break;
    case Show::List: schema = listSchema(bind); break;
    case Show::Custom:
    case Show::Nothing: return typed("null");
  }
  describe(schema, joined({bind.about ? bind.about : "", outputNote(bind, param)}));
  return schema;
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
        addInput(inputs, {Input::Place::Query, bind.key, "", &bind, param, bind.required, false});
        break;
      case route::From::Body:
        addInput(inputs, {Input::Place::Body, bind.key ? bind.key : "", object, &bind, param, bind.required, false});
        break;
      case route::From::BodyOrQuery:
        addInput(inputs, {Input::Place::Body, bind.key, object, &bind, param, false, true});
        addInput(inputs, {Input::Place::Query, bind.key, "", &bind, param, false, true});
        break;
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

// How the program reads a value of the input's kind.
std::string readingRule(const Bind &bind, Input::Place place) {
  switch (bind.value) {
    case Value::Number:
      if (bind.orDigits) return "A JSON number or decimal text.";
      return place == Input::Place::Query ? "Read as a decimal number: the digits at its start count, other text is 0."
                                          : "A JSON number; a fraction is dropped.";
    case Value::Text: {
      std::string rule = bytesKept(bind.buffer);
      if (place != Input::Place::Query) return rule;
      return joined({rule, "The query's text is taken as it stands: %-escapes and \"+\" are not decoded, so a value "
                           "that holds a space, \"&\", \"=\", \"#\" or \"%\" cannot be sent in a query."});
    }
    case Value::Choice: {
      const route::ChoiceTable &table = *bind.choices;
      std::string rule = table.ignoreCase ? "Words are compared ignoring case;" : "Words are compared exactly;";
      if (bind.strict) return rule + " any other text is refused with 10003.";
      const char *fallback = wordOf(table, table.inputDefault);
      return rule + " any other text is taken as " +
             (fallback != nullptr ? quoted(fallback) : "value " + std::to_string(table.inputDefault)) +
             " and the switch decides.";
    }
    case Value::Address:
      return "An IPv4 or IPv6 address; the empty text, as any text that is no address, means no address.";
    case Value::Object:
    case Value::List: return "";
  }
  return "";
}

// What leaving the input out does.
std::string absenceRule(const Input &input) {
  const Bind &bind = *input.bind;
  if (input.eitherPlace) {
    return std::string("Taken from the body, or from the query when the body lacks it or gives 0") +
           (bind.required ? "; 0 in both places is refused with 10003 before the switch is asked." : ".");
  }
  if (input.required) {
    if (bind.value != Value::Number) return "Required: without it the request is refused with 10003.";
    std::string range = bind.ranged ? " or outside " + std::to_string(bind.low) + "-" + std::to_string(bind.high) : "";
    return "Required: absent, 0" + range + ", the request is refused with 10003 before the switch is asked.";
  }
  switch (bind.value) {
    case Value::Number: return "Absent: 0.";
    case Value::Text: return "Absent: the empty text.";
    case Value::Choice: {
      const char *fallback = wordOf(*bind.choices, bind.choices->inputDefault);
      return fallback != nullptr ? "Absent: " + quoted(fallback) + "." : "";
    }
    case Value::Address: return "Absent: no address.";
    case Value::Object:
    case Value::List: return "";
  }
  return "";
}

cJSON *inputValue(const Bind &bind, const route::ArgTag *param);

void setBound(cJSON *schema, const char *key, uint64_t value) {
  cJSON_DeleteItemFromObjectCaseSensitive(schema, key);
  cJSON_AddNumberToObject(schema, key, static_cast<double>(value));
}

cJSON *bodyPartsObject(const Bind &bind) {
  cJSON *schema = typed("object");
  cJSON *properties = cJSON_AddObjectToObject(schema, "properties");
  cJSON *required = cJSON_AddArrayToObject(schema, "required");
  for (size_t i = 0; i < bind.partCount; ++i) {
    const Bind &part = bind.parts[i];
    cJSON *member = inputValue(part, nullptr);
    Input input{Input::Place::Body, part.key, "", &part, nullptr, part.required, false};
    describe(member, inputDescription(input));
    cJSON_AddItemToObject(properties, part.key, member);
    if (part.required) cJSON_AddItemToArray(required, cJSON_CreateString(part.key));
  }
  return schema;
}

cJSON *inputValue(const Bind &bind, const route::ArgTag *param) {
  cJSON *schema = nullptr;
  switch (bind.value) {
    case Value::Number:
      schema = integerSchema(widthOf(bind, param));
      if (bind.ranged) {
        setBound(schema, "minimum", bind.low);
        setBound(schema, "maximum", bind.high);
      }
      if (bind.orDigits) {
        cJSON *either = cJSON_CreateObject();
        cJSON *forms = cJSON_AddArrayToObject(either, "anyOf");
        cJSON_AddItemToArray(forms, schema);
        cJSON_AddItemToArray(forms, typed("string"));
        schema = either;
      }
      break;
    case Value::Text: schema = typed("string"); break;
    case Value::Choice: schema = wordsSchema(*bind.choices, nullptr); break;
    case Value::Address: schema = addressSchema(true); break;
    case Value::Object: schema = bodyPartsObject(bind); break;
    case Value::List: {
      schema = typed("array");
      bool ofValues = bind.partCount == 1 && bind.parts[0].key == nullptr;
      cJSON_AddItemToObject(schema, "items", ofValues ? inputValue(bind.parts[0], nullptr) : bodyPartsObject(bind));
      break;
    }
  }
  if (bind.nullable) schema = nullable(schema);
  return schema;
}

// A value of the input's kind when it declares none.
cJSON *derivedExample(const Bind &bind, const route::ArgTag *param) {
  switch (bind.value) {
    case Value::Number: return cJSON_CreateNumber(bind.ranged ? static_cast<double>(bind.low) : 1);
    case Value::Text: return cJSON_CreateString("");
    case Value::Choice: return cJSON_CreateString(bind.choices->count > 0 ? bind.choices->choices[0].text : "");
    case Value::Address: return cJSON_CreateString("192.0.2.1");
    case Value::Object: {
      cJSON *object = cJSON_CreateObject();
      for (size_t i = 0; i < bind.partCount; ++i) {
        cJSON_AddItemToObject(object, bind.parts[i].key, inputExample(bind.parts[i], nullptr));
      }
      return object;
    }
    case Value::List: {
      cJSON *list = cJSON_CreateArray();
      bool ofValues = bind.partCount == 1 && bind.parts[0].key == nullptr;
      Bind element{.value = ofValues ? bind.parts[0].value : Value::Object};
      element.parts = ofValues ? nullptr : bind.parts;
      element.partCount = ofValues ? 0 : bind.partCount;
      cJSON_AddItemToArray(list, ofValues ? inputExample(bind.parts[0], param) : derivedExample(element, nullptr));
      return list;
    }
  }
  return cJSON_CreateNull();
}

}  // namespace

std::vector<Input> inputsOf(const route::Route &row, int method) {
  std::vector<Input> inputs;
  const route::ArgTag *params = row.call.open.invoke != nullptr ? row.call.open.params : nullptr;
  collectInputs(inputs, row.call.binds, route::bindCount(row.call), params, row, method);
  return inputs;
}

// A number that the declaration gives no width would be described without
// its range; the route's own code declares what it reads it into.
void checkWidth(const Bind &bind, const route::ArgTag *param) {
  if (bind.value == Value::Number && widthOf(bind, param).bytes == 0) {
    problems().push_back(std::string("the number \"") + (bind.key ? bind.key : "(a list's element)") +
                         "\" declares no width: .of<uint32_t>() or the like");
  }
  for (size_t i = 0; i < bind.partCount && (bind.value == Value::Object || bind.value == Value::List); ++i) {
    checkWidth(bind.parts[i], nullptr);
  }
}

cJSON *inputSchema(const Input &input) {
  checkWidth(*input.bind, input.param);
  cJSON *schema = inputValue(*input.bind, input.param);
  if (input.bind->required && !input.eitherPlace && input.place == Input::Place::Query &&
      input.bind->value == Value::Number && !input.bind->ranged) {
    cJSON *zero = cJSON_AddObjectToObject(schema, "not");
    cJSON_AddNumberToObject(zero, "const", 0);
  }
  return schema;
}

std::string inputDescription(const Input &input) {
  const Bind &bind = *input.bind;
  return joined({bind.about != nullptr ? bind.about : "", readingRule(bind, input.place), absenceRule(input)});
}

cJSON *inputExample(const Bind &bind, const route::ArgTag *param) {
  if (bind.sample != nullptr) {
    cJSON *value = cJSON_Parse(bind.sample);
    if (value != nullptr) return value;
    problems().push_back(std::string("the example of \"") + (bind.key ? bind.key : "?") + "\" is not JSON: " +
                         bind.sample);
  }
  return derivedExample(bind, param);
}

cJSON *answerSchema(const route::Route &row, bool *alwaysShown) {
  ObjectSchema object;
  const route::ArgTag *params = row.call.open.invoke != nullptr ? row.call.open.params : nullptr;
  addOutputs(object, row.call.binds, route::bindCount(row.call), params);
  *alwaysShown = object.alwaysShown();
  return object.schema;
}

}  // namespace apidoc
