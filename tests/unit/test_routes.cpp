// Every row of every route table, checked against what the engine promises
// for a row: the values of each input reach OpEN in argument order, the
// outputs appear under their keys in binding order, success, failure and
// refusal are answered and written as the row's family says, a missing
// required value or a body that is not JSON is refused before OpEN is
// called, and every answer fits the description the API document gives of
// it. The rows drive the check, so it cannot see a misspelt key or a wrong
// choice word: those are the explicit rows of each family's tests.
#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "cgi/httpd.h"
#include "open/opdesc.h"
#include "routes/families.h"
#include "tests/unit/in_process_program.h"
#include "tools/openapi/open_names.h"
#include "tools/openapi/schema.h"
#include "tools/raii.h"

namespace {

using apidoc::Input;
using route::Bind;
using route::Show;
using route::Value;
using routetest::Answer;
using routetest::InProcessProgram;

std::string printed(const cJSON *json) { return CText(cJSON_PrintUnformatted(json)).get(); }

struct Row {
  const route::RouteGroup &group;
  const route::Route &row;
  std::string path() const { return std::string(group.dir) + "/" + row.op; }
  const char *method() const { return httpdMethodName(row.method); }
};

std::vector<Row> allRows() {
  std::vector<Row> rows;
  for (const route::RouteGroup *group : routeGroups()) {
    for (const route::Route &row : std::span(group->rows, group->count)) rows.push_back({*group, row});
  }
  return rows;
}

bool writtenWithNewline(AnswerStyle style) { return style == AnswerStyle::Line; }

// ---- A request that gives every input a value of its own ----

// The word of a choice that is not what other texts become.
const route::Choice &chosenWord(const route::ChoiceTable &table) {
  for (uint8_t i = 0; i < table.count; ++i) {
    if (table.choices[i].value != table.inputDefault) return table.choices[i];
  }
  return table.choices[0];
}

cJSON *sampleValue(const Bind &bind, size_t index) {
  switch (bind.value) {
    case Value::Number: return cJSON_CreateNumber(static_cast<double>(100 + 7 * index));
    case Value::Text: return cJSON_CreateString(("t" + std::to_string(index)).c_str());
    case Value::Choice: return cJSON_CreateString(chosenWord(*bind.choices).text);
    case Value::Address: return cJSON_CreateString(("10.0.0." + std::to_string(index + 1)).c_str());
    case Value::Object:
    case Value::List: break;
  }
  return cJSON_CreateNull();
}

std::string queryText(const cJSON *value) { return cJSON_IsString(value) ? value->valuestring : printed(value); }

struct Sent {
  const Input *input;
  JsonPtr value;
};

class Request {
 public:
  explicit Request(const Row &row) : row_(row), inputs_(apidoc::inputsOf(row.row, row.row.method)) {
    for (size_t i = 0; i < inputs_.size(); ++i)
      sent_.push_back({&inputs_[i], JsonPtr(sampleValue(*inputs_[i].bind, i))});
  }

  bool hasBody() const {
    return std::any_of(inputs_.begin(), inputs_.end(), [](const Input &in) { return in.place == Input::Place::Body; });
  }
  const std::vector<Input> &inputs() const { return inputs_; }

  // The value sent for a binding; NULL when none is.
  const cJSON *valueOf(const Bind &bind) const {
    for (const Sent &s : sent_) {
      if (s.input->bind == &bind) return s.value.get();
    }
    return nullptr;
  }

  // Leaves out `skipped`, or sends it with the other JSON type.
  Answer send(const Input *skipped = nullptr, bool wrongType = false, const char *rawBody = nullptr) const {
    std::vector<std::pair<std::string, std::string>> query;
    JsonPtr body(cJSON_CreateObject());
    for (const Sent &s : sent_) {
      if (s.input == skipped && !wrongType) continue;
      JsonPtr value(s.input == skipped ? otherType(s.value.get()) : cJSON_Duplicate(s.value.get(), 1));
      if (s.input->place == Input::Place::Query) {
        query.emplace_back(s.input->name, queryText(value.get()));
        continue;
      }
      cJSON *holder = body.get();
      if (!s.input->object.empty()) {
        holder = cJSON_GetObjectItemCaseSensitive(body.get(), s.input->object.c_str());
        if (holder == nullptr) holder = cJSON_AddObjectToObject(body.get(), s.input->object.c_str());
      }
      cJSON_AddItemToObject(holder, s.input->name.c_str(), value.release());
    }
    return InProcessProgram::get().request(row_.method(), row_.path(), queryString(query),
                                           rawBody     ? rawBody
                                           : hasBody() ? printed(body.get())
                                                       : "");
  }

 private:
  static cJSON *otherType(const cJSON *value) {
    return cJSON_IsNumber(value) ? cJSON_CreateString("7") : cJSON_CreateNumber(7);
  }
  // Keys are matched as the first entry that contains them: a key comes
  // before every longer key that might contain it.
  static std::string queryString(std::vector<std::pair<std::string, std::string>> entries) {
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto &a, const auto &b) { return a.first.size() < b.first.size(); });
    std::string text;
    for (const auto &[key, value] : entries) text += (text.empty() ? "" : "&") + key + "=" + value;
    return text;
  }

  const Row &row_;
  std::vector<Input> inputs_;
  std::vector<Sent> sent_;
};

// ---- What OpEN receives and answers ----

const OpenOpDesc &operationOf(const route::Route &row) {
  const OpenOpDesc *op = openOpFind(apidoc::openNameOf(row.call.open));
  EXPECT_NE(op, nullptr) << row.op;
  return *op;
}

// The argument as the call log shows it, or NULL where a family's own code
// decides the value.
cJSON *expectedInput(const Bind &bind, const route::ArgTag &param, const cJSON *sent) {
  switch (bind.from) {
    case route::From::Custom: return nullptr;
    case route::From::Constant:
      return bind.value == Value::Text ? cJSON_CreateString(bind.key)
                                       : cJSON_CreateNumber(static_cast<double>(bind.preset));
    case route::From::Nothing:
      return bind.kind == route::ArgKind::Buffer ? cJSON_CreateString("")
                                                 : cJSON_CreateNumber(static_cast<double>(bind.preset));
    default: break;
  }
  switch (bind.value) {
    case Value::Number: return cJSON_CreateNumber(sent->valuedouble);
    case Value::Text: return cJSON_CreateString(sent->valuestring);
    case Value::Choice: return cJSON_CreateNumber(static_cast<double>(chosenWord(*bind.choices).value));
    case Value::Address: {
      cJSON *addr = cJSON_CreateObject();
      cJSON_AddNumberToObject(addr, "family", 1);
      cJSON_AddStringToObject(addr, "addr", sent->valuestring);
      return addr;
    }
    case Value::Object:
    case Value::List: break;
  }
  (void)param;
  return nullptr;
}

// One output of OpEN, in the form scripted answers take, and the member the
// answer then shows (NULL where a family's own code writes it).
struct Output {
  JsonPtr scripted;
  JsonPtr shown;
};

// A record of zeros, member by member, as scripted answers write records.
cJSON *zeroOf(const OpenTypeInfo &type) {
  switch (type.kind) {
    case OpenKind::Int: return cJSON_CreateNumber(0);
    case OpenKind::Text:
    case OpenKind::Bytes: return cJSON_CreateString("");
    case OpenKind::Words: return cJSON_CreateArray();
    case OpenKind::Addr: return cJSON_Parse(R"({"family":0,"addr":""})");
    case OpenKind::In6: return cJSON_CreateString("::");
    case OpenKind::Record: break;
  }
  cJSON *members = cJSON_CreateArray();
  for (uint8_t i = 0; i < type.fieldCount; ++i) {
    const OpenField &field = type.fields[i];
    cJSON_AddItemToArray(members, field.length == 1 ? zeroOf(openTypeInfo(field.type)) : cJSON_CreateArray());
  }
  return members;
}

Output scriptedOutput(const Bind &bind, const OpenArgDesc &arg, size_t index) {
  const OpenTypeInfo &type = openTypeInfo(arg.type);
  int n = static_cast<int>(10 + 9 * index);
  std::string text = "o" + std::to_string(index);
  switch (type.kind) {
    case OpenKind::Int:
      if (bind.show == Show::Boolean) return {JsonPtr(cJSON_CreateNumber(1)), JsonPtr(cJSON_CreateTrue())};
      if (bind.show == Show::Choice) {
        const route::Choice &word = bind.choices->choices[bind.choices->count - 1];
        return {JsonPtr(cJSON_CreateNumber(static_cast<double>(word.value))), JsonPtr(cJSON_CreateString(word.text))};
      }
      if (bind.show == Show::Ipv4HostOrder) {
        return {JsonPtr(cJSON_CreateNumber(167772160 + n)),
                JsonPtr(cJSON_CreateString(("10.0.0." + std::to_string(n)).c_str()))};
      }
      return {JsonPtr(cJSON_CreateNumber(n)), JsonPtr(bind.show == Show::Number ? cJSON_CreateNumber(n) : nullptr)};
    case OpenKind::Text:
      return {JsonPtr(cJSON_CreateString(text.c_str())),
              JsonPtr(bind.show == Show::Text ? cJSON_CreateString(text.c_str()) : nullptr)};
    case OpenKind::Bytes:
      return {JsonPtr(cJSON_CreateString("0a1b")),
              JsonPtr(bind.show == Show::Hex ? cJSON_CreateString("0a1b") : nullptr)};
    case OpenKind::Words: return {JsonPtr(cJSON_CreateArray()), nullptr};
    case OpenKind::Addr: {
      JsonPtr addr(cJSON_Parse(R"({"family":2,"addr":"2001:db8::9"})"));
      return {std::move(addr), JsonPtr(bind.show == Show::Address ? cJSON_CreateString("2001:db8::9") : nullptr)};
    }
    case OpenKind::In6:
      return {JsonPtr(cJSON_CreateString("2001:db8::7")),
              JsonPtr(bind.show == Show::Ipv6 ? cJSON_CreateString("2001:db8::7") : nullptr)};
    case OpenKind::Record: break;
  }
  return {JsonPtr(zeroOf(type)), nullptr};
}

// What an output shows when the family answers a failed read with its
// starting values.
cJSON *startingValue(const Bind &bind) {
  switch (bind.show) {
    case Show::Number: return cJSON_CreateNumber(static_cast<double>(bind.preset));
    case Show::Boolean: return cJSON_CreateBool(bind.preset == 1);
    case Show::Choice: {
      const route::ChoiceTable &table = *bind.choices;
      for (uint8_t i = 0; i < table.count; ++i) {
        if (table.choices[i].value == bind.preset) return cJSON_CreateString(table.choices[i].text);
      }
      return cJSON_CreateString(table.outputDefault);
    }
    case Show::Text:
    case Show::Hex:
    case Show::Address: return cJSON_CreateString("");
    case Show::Ipv4HostOrder: return cJSON_CreateString("0.0.0.0");
    case Show::Ipv6: return cJSON_CreateString("::");
    default: break;
  }
  return nullptr;
}

void addShown(cJSON *data, const Bind &bind, cJSON *value) {
  cJSON *holder = data;
  if (bind.outObject != nullptr) {
    holder = cJSON_GetObjectItemCaseSensitive(data, bind.outObject);
    if (holder == nullptr) holder = cJSON_AddObjectToObject(data, bind.outObject);
  }
  cJSON_AddItemToObject(holder, bind.outKey, value);
}

// The members a row's own outputs show; `complete` is cleared when a
// family's own code writes some of them.
struct Expected {
  JsonPtr scripted = JsonPtr(cJSON_CreateArray());
  JsonPtr data = JsonPtr(cJSON_CreateObject());
  JsonPtr defaults = JsonPtr(cJSON_CreateObject());
  bool complete = true;
  bool anyOutput = false;
};

Expected expectedOutputs(const route::Route &row, const OpenOpDesc &op) {
  Expected expected;
  for (size_t i = 0; i < op.argCount; ++i) {
    const Bind &bind = row.call.binds[i];
    expected.anyOutput = expected.anyOutput || bind.isOutput();
    if (!openArgIsOutput(op.args[i])) continue;
    Output out = scriptedOutput(bind, op.args[i], i);
    cJSON_AddItemToArray(expected.scripted.get(), out.scripted.release());
    if (!bind.isOutput()) continue;
    if (!out.shown) {
      expected.complete = false;
      continue;
    }
    addShown(expected.data.get(), bind, out.shown.release());
    addShown(expected.defaults.get(), bind, startingValue(bind));
  }
  return expected;
}

// The answer's data, or those of its members a family's own code does not write.
std::string dataShown(const Answer &answer, const char *dataKey, const Expected &expected) {
  JsonPtr json(cJSON_Parse(answer.json.c_str()));
  cJSON *data = cJSON_GetObjectItemCaseSensitive(json.get(), dataKey);
  if (data == nullptr) return "";
  if (expected.complete) return printed(data);
  JsonPtr kept(cJSON_CreateObject());
  for (const cJSON *member = expected.data->child; member != nullptr; member = member->next) {
    const cJSON *found = cJSON_GetObjectItemCaseSensitive(data, member->string);
    if (found != nullptr) cJSON_AddItemToObject(kept.get(), member->string, cJSON_Duplicate(found, 1));
  }
  return printed(kept.get());
}

std::string envelope(int code, const char *message, const char *dataKey, const cJSON *data) {
  JsonPtr root(cJSON_CreateObject());
  if (data != nullptr) cJSON_AddItemToObject(root.get(), dataKey, cJSON_Duplicate(data, 1));
  cJSON *resp = cJSON_AddObjectToObject(root.get(), "resp");
  cJSON_AddNumberToObject(resp, "respCode", code);
  cJSON_AddStringToObject(resp, "respMsg", message);
  cJSON_AddStringToObject(resp, "status", code == 0 ? "success" : "fail");
  return printed(root.get());
}

std::string respOf(const Answer &answer) {
  JsonPtr json(cJSON_Parse(answer.json.c_str()));
  return printed(cJSON_GetObjectItemCaseSensitive(json.get(), "resp"));
}

std::string respText(int code, const char *message) {
  JsonPtr with(cJSON_Parse(envelope(code, message, nullptr, nullptr).c_str()));
  return printed(cJSON_GetObjectItemCaseSensitive(with.get(), "resp"));
}

// ---- The description ----

// Where `value` strays from what the API description promises of it: the
// JSON types, members and lengths the generator writes. "" when it fits.
std::string strayFrom(const cJSON *schema, const cJSON *value, const std::string &at) {
  const cJSON *either = cJSON_GetObjectItemCaseSensitive(schema, "anyOf");
  if (either != nullptr) {
    for (const cJSON *form = either->child; form != nullptr; form = form->next) {
      if (strayFrom(form, value, at).empty()) return "";
    }
    return at + " fits none of its forms";
  }
  const char *type = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(schema, "type"));
  std::string kind = cJSON_IsString(value) ? "string" : cJSON_IsBool(value) ? "boolean" : cJSON_IsNull(value) ? "null"
                     : cJSON_IsArray(value) ? "array" : cJSON_IsObject(value) ? "object" : "number";
  if (kind == "number" && value->valuedouble == static_cast<double>(static_cast<int64_t>(value->valuedouble))) {
    kind = "integer";
  }
  if (type != nullptr && kind != type) return at + " is " + kind + ", described as " + type;
  const cJSON *longest = cJSON_GetObjectItemCaseSensitive(schema, "maxLength");
  if (longest != nullptr && strlen(value->valuestring) > static_cast<size_t>(longest->valuedouble)) {
    return at + " is longer than described";
  }
  const cJSON *words = cJSON_GetObjectItemCaseSensitive(schema, "enum");
  bool listed = words == nullptr;
  for (const cJSON *word = words ? words->child : nullptr; word != nullptr; word = word->next) {
    listed = listed || cJSON_Compare(word, value, true);
  }
  if (!listed) return at + " is not one of its words";
  const cJSON *items = cJSON_GetObjectItemCaseSensitive(schema, "items");
  for (const cJSON *item = items ? value->child : nullptr; item != nullptr; item = item->next) {
    std::string stray = strayFrom(items, item, at + "[]");
    if (!stray.empty()) return stray;
  }
  const cJSON *members = cJSON_GetObjectItemCaseSensitive(schema, "properties");
  if (members == nullptr) return "";
  for (const cJSON *member = value->child; member != nullptr; member = member->next) {
    const cJSON *described = cJSON_GetObjectItemCaseSensitive(members, member->string);
    if (described == nullptr) return at + "." + member->string + " is not described";
    std::string stray = strayFrom(described, member, at + "." + member->string);
    if (!stray.empty()) return stray;
  }
  const cJSON *required = cJSON_GetObjectItemCaseSensitive(schema, "required");
  for (const cJSON *key = required ? required->child : nullptr; key != nullptr; key = key->next) {
    if (cJSON_GetObjectItemCaseSensitive(value, key->valuestring) == nullptr) return at + "." + key->valuestring + " is missing";
  }
  return "";
}

// The answer's data against the description of the row's data.
void expectDescribed(const route::Route &row, const Answer &answer) {
  bool alwaysShown = false;
  JsonPtr schema(apidoc::answerSchema(row, &alwaysShown));
  JsonPtr json(cJSON_Parse(answer.json.c_str()));
  const cJSON *data = cJSON_GetObjectItemCaseSensitive(json.get(), row.answering->family->dataKey);
  if (data == nullptr) {
    EXPECT_FALSE(alwaysShown) << "the data described as always there is missing";
    return;
  }
  EXPECT_EQ(strayFrom(schema.get(), data, "data"), "");
}

// ---- The checks ----

class EveryRoute : public ::testing::Test {
 protected:
  void SetUp() override { program().sim().reset(); }
  static InProcessProgram &program() { return InProcessProgram::get(); }

  void expectNoCall(const Row &row, const Answer &answer, AnswerStyle style, const char *what) {
    SCOPED_TRACE(what);
    EXPECT_EQ(answer.json, envelope(10003, "Invalid argument", nullptr, nullptr));
    EXPECT_EQ(answer.newline, writtenWithNewline(style));
    EXPECT_TRUE(program().callsOf("").empty()) << row.path() << " called OpEN before refusing";
  }

  // Each required input left out, or sent with the other JSON type; a body that is not JSON.
  void expectRefusals(const Row &row, const Request &request) {
    AnswerStyle style = row.row.answering->refused;
    for (const Input &input : request.inputs()) {
      if (!input.required) continue;
      SCOPED_TRACE(input.name);
      program().dispatcher().clearCallLog();
      expectNoCall(row, request.send(&input), style, "left out");
      bool typed = input.place == Input::Place::Body || input.bind->value == Value::Number;
      if (input.place == Input::Place::Body && typed) {
        program().dispatcher().clearCallLog();
        expectNoCall(row, request.send(&input, true), style, "of the other type");
      }
    }
    if (request.hasBody()) {
      program().dispatcher().clearCallLog();
      expectNoCall(row, request.send(nullptr, false, "{"), style, "a body that is not JSON");
      program().dispatcher().clearCallLog();
      expectNoCall(row, request.send(nullptr, false, R"({"x":1} x)"), style, "a body with more after its JSON");
    }
  }

  void expectInputsReachOpen(const Row &row, const Request &request, const OpenOpDesc &op) {
    std::vector<std::string> logged = program().callsOf(op.name);
    ASSERT_EQ(logged.size(), 1u) << row.path();
    JsonPtr line(cJSON_Parse(logged[0].c_str()));
    const cJSON *in = cJSON_GetObjectItemCaseSensitive(line.get(), "in");
    in = in != nullptr ? in->child : nullptr;
    for (size_t i = 0; i < op.argCount; ++i) {
      if (!openArgIsInput(op.args[i])) continue;
      ASSERT_NE(in, nullptr) << "argument " << op.args[i].name << " is not in the call log";
      const Bind &bind = row.row.call.binds[i];
      JsonPtr expected(expectedInput(bind, row.row.call.open.params[i], request.valueOf(bind)));
      if (expected) {
        EXPECT_EQ(printed(in), printed(expected.get())) << "argument " << op.args[i].name;
      }
      in = in->next;
    }
  }

  void checkRow(const Row &row) {
    const route::Route &r = row.row;
    const route::Answering &answering = *r.answering;
    const char *dataKey = answering.family->dataKey;
    const OpenOpDesc &op = operationOf(r);
    Request request(row);
    Expected expected = expectedOutputs(r, op);
    expectRefusals(row, request);

    std::string error;
    JsonPtr answer(cJSON_CreateObject());
    cJSON_AddNumberToObject(answer.get(), "rc", 0);
    cJSON_AddItemToObject(answer.get(), "out", cJSON_Duplicate(expected.scripted.get(), 1));
    ASSERT_EQ(program().dispatcher().setStub(op.name, answer.get(), 1, error), 0) << error;
    program().dispatcher().clearCallLog();
    Answer success = request.send();
    {
      SCOPED_TRACE("success");
      EXPECT_TRUE(success.jsonHeader) << success.raw;
      EXPECT_EQ(respOf(success), respText(0, "Success"));
      if (expected.anyOutput) {
        EXPECT_EQ(dataShown(success, dataKey, expected), printed(expected.data.get()));
      }
      EXPECT_EQ(success.newline, writtenWithNewline(answering.succeeded));
      expectDescribed(r, success);
      expectInputsReachOpen(row, request, op);
    }

    ASSERT_EQ(program().dispatcher().setFault(op.name, -22, 1, error), 0) << error;
    Answer failure = request.send();
    SCOPED_TRACE("failure");
    switch (answering.mapping) {
      case route::Mapping::OpenRc:
        EXPECT_EQ(failure.json, envelope(10003, "Invalid argument", nullptr, nullptr));
        EXPECT_EQ(failure.newline, writtenWithNewline(answering.failed));
        break;
      case route::Mapping::AnyFailure:
        EXPECT_EQ(failure.json, envelope(10000, "General Failed", nullptr, nullptr));
        EXPECT_EQ(failure.newline, writtenWithNewline(answering.failed));
        break;
      case route::Mapping::ShowDefaults:
        EXPECT_EQ(respOf(failure), respText(0, "Success"));
        if (expected.anyOutput) {
          EXPECT_EQ(dataShown(failure, dataKey, expected), printed(expected.defaults.get()));
        }
        EXPECT_EQ(failure.newline, writtenWithNewline(answering.succeeded));
        expectDescribed(r, failure);
        break;
      case route::Mapping::Unsupported: ADD_FAILURE() << "a placeholder that calls OpEN"; break;
    }
  }
};

TEST_F(EveryRoute, RowsPassInputsToOpenAndAnswerAsTheirFamilySays) {
  size_t checked = 0;
  for (const Row &row : allRows()) {
    if (route::isCustom(row.row) || row.row.call.open.invoke == nullptr) continue;
    SCOPED_TRACE(std::string(row.method()) + " " + row.path());
    program().sim().reset();
    checkRow(row);
    ++checked;
  }
  EXPECT_GT(checked, 200u);
}

TEST_F(EveryRoute, PlaceholdersAnswerUnsupportedWithoutCallingOpen) {
  size_t checked = 0;
  for (const Row &row : allRows()) {
    if (row.row.answering->mapping != route::Mapping::Unsupported) continue;
    SCOPED_TRACE(std::string(row.method()) + " " + row.path());
    program().dispatcher().clearCallLog();
    Answer answer = program().request(row.method(), row.path(), "", R"({"ignored":true})");
    EXPECT_EQ(answer.json, envelope(17002, "Unsupported Feature", nullptr, nullptr));
    EXPECT_EQ(answer.newline, row.row.method != HTTPD_GET);
    EXPECT_TRUE(program().callsOf("").empty());
    ++checked;
  }
  EXPECT_EQ(checked, 94u);
}

// What custom routes declare they need, they refuse without.
TEST_F(EveryRoute, CustomRoutesRefuseWhatTheyDeclareRequired) {
  for (const Row &row : allRows()) {
    if (!route::isCustom(row.row)) continue;
    SCOPED_TRACE(std::string(row.method()) + " " + row.path());
    Request request(row);
    for (const Input &input : request.inputs()) {
      if (!input.required || !input.object.empty()) continue;
      SCOPED_TRACE(input.name);
      program().dispatcher().clearCallLog();
      expectNoCall(row, request.send(&input), row.row.answering->refused, "left out");
    }
  }
}

}  // namespace
