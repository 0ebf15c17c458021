// Every row of every route table, checked against what the engine promises
// for a row: the values of each input reach OpEN in argument order, the
// outputs appear under their keys in binding order, success, failure and
// refusal are answered and written as the row's family says, a missing
// required value or a body that is not JSON is refused before OpEN is
// called, and every result code answered is one the route declares. The
// rows drive the check, so it cannot see a misspelt key or a wrong choice
// word: those are the explicit rows of each family's tests. That the
// answers fit the API document is checked against the document itself, by
// Prism, in the web checks.
#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "cgi/httpd.h"
#include "open/opdesc.h"
#include "routes/families.h"
#include "tests/fuzz/in_process_program.h"
#include "apidoc/open_names.h"
#include "apidoc/codes.h"
#include "apidoc/schema.h"
#include "open/raii.h"

namespace {

using apidoc::Input;
using route::Bind;
using route::Show;
using route::Value;
using routetest::Answer;
using routetest::InProcessProgram;

const char *const kRefused = R"({"resp":{"respCode":10003,"respMsg":"Invalid argument","status":"fail"}})";
const char *const kFailed = R"({"resp":{"respCode":10000,"respMsg":"General Failed","status":"fail"}})";
const char *const kUnsupported = R"({"resp":{"respCode":17002,"respMsg":"Unsupported Feature","status":"fail"}})";
const char *const kSuccess = R"({"respCode":0,"respMsg":"Success","status":"success"})";

std::string printed(const cJSON *json) { return json ? CText(cJSON_PrintUnformatted(json)).get() : ""; }

InProcessProgram &program() { return InProcessProgram::get(); }

// Calls `check` with each row's directory and row, in registration order.
void forEachRow(const std::function<void(const char *, const route::Route &)> &check) {
  for (const route::RouteGroup *group : routeGroups()) {
    for (const route::Route &row : std::span(group->rows, group->count)) {
      SCOPED_TRACE(std::string(httpdMethodName(row.method)) + " " + group->dir + "/" + row.op);
      check(group->dir, row);
    }
  }
}

bool withNewline(AnswerStyle style) { return style == AnswerStyle::Line; }

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

struct Request {
  Request(const char *dir, const route::Route &row) : path_(std::string(dir) + "/" + row.op), row_(row) {
    for (size_t i = 0; i < inputs_.size(); ++i) values_.emplace_back(sampleValue(*inputs_[i].bind, i));
  }
  bool hasBody() const {
    return std::any_of(inputs_.begin(), inputs_.end(), [](const Input &in) { return in.place == Input::Place::Body; });
  }
  // The value sent for a binding (the body's when it goes to both places).
  const cJSON *valueOf(const Bind &bind) const {
    for (size_t i = 0; i < inputs_.size(); ++i) {
      if (inputs_[i].bind == &bind) return values_[i].get();
    }
    return nullptr;
  }

  // Leaves out `skipped`, or sends it with the other JSON type; or sends `rawBody`.
  Answer send(const Input *skipped = nullptr, bool otherType = false, const char *rawBody = nullptr) const {
    std::vector<std::pair<std::string, std::string>> query;
    JsonPtr body(cJSON_CreateObject());
    for (size_t i = 0; i < inputs_.size(); ++i) {
      const Input &in = inputs_[i];
      if (&in == skipped && !otherType) continue;
      JsonPtr value(&in != skipped                     ? cJSON_Duplicate(values_[i].get(), 1)
                    : cJSON_IsNumber(values_[i].get()) ? cJSON_CreateString("7")
                                                       : cJSON_CreateNumber(7));
      if (in.place == Input::Place::Query) {
        query.emplace_back(in.name, cJSON_IsString(value.get()) ? value->valuestring : printed(value.get()));
        continue;
      }
      cJSON *holder = in.object.empty() ? body.get() : cJSON_GetObjectItemCaseSensitive(body.get(), in.object.c_str());
      if (holder == nullptr) holder = cJSON_AddObjectToObject(body.get(), in.object.c_str());
      cJSON_AddItemToObject(holder, in.name.c_str(), value.release());
    }
    // Keys are matched as the first entry that contains them: shorter keys first.
    std::stable_sort(query.begin(), query.end(), [](auto &a, auto &b) { return a.first.size() < b.first.size(); });
    std::string text;
    for (const auto &[key, value] : query) text += (text.empty() ? "" : "&") + key + "=" + value;
    std::string sentBody = rawBody ? rawBody : hasBody() ? printed(body.get()) : "";
    return program().request(httpdMethodName(row_.method), path_, text, sentBody);
  }

  std::string path_;
  const route::Route &row_;
  std::vector<Input> inputs_ = apidoc::inputsOf(row_, row_.method);
  std::vector<JsonPtr> values_;
};

// ---- What OpEN receives and answers ----

// The argument as the call log shows it, or NULL where a family's own code decides it.
cJSON *expectedInput(const Bind &bind, const cJSON *sent) {
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
    case Value::Address: return cJSON_Parse((R"({"family":1,"addr":")" + std::string(sent->valuestring) + "\"}").c_str());
    case Value::Object:
    case Value::List: break;
  }
  return nullptr;
}

// A value of each type, as scripted answers write it; records all zeros.
cJSON *scripted(const OpenTypeInfo &type, int n) {
  switch (type.kind) {
    case OpenKind::Int: return cJSON_CreateNumber(n);
    case OpenKind::Text: return cJSON_CreateString(n ? ("o" + std::to_string(n)).c_str() : "");
    case OpenKind::Bytes: return cJSON_CreateString(n ? "0a1b" : "");
    case OpenKind::Words: return cJSON_CreateArray();
    case OpenKind::Addr: return cJSON_Parse(n ? R"({"family":2,"addr":"2001:db8::9"})" : R"({"family":0,"addr":""})");
    case OpenKind::In6: return cJSON_CreateString(n ? "2001:db8::7" : "::");
    case OpenKind::Record: break;
  }
  cJSON *members = cJSON_CreateArray();
  for (uint8_t i = 0; i < type.fieldCount; ++i) {
    const OpenField &field = type.fields[i];
    cJSON_AddItemToArray(members, field.length == 1 ? scripted(openTypeInfo(field.type), 0) : cJSON_CreateArray());
  }
  return members;
}

// What an output shows of the value OpEN gives (`preset` when the family
// shows a failed read's starting values); NULL where a family's own code writes it.
cJSON *shown(const Bind &bind, const cJSON *given, int64_t preset, bool failed) {
  if (bind.show == Show::Choice || bind.show == Show::Boolean || bind.show == Show::Number ||
      bind.show == Show::Ipv4HostOrder) {
    int64_t value = failed ? preset : static_cast<int64_t>(given->valuedouble);
    if (bind.show == Show::Number) return cJSON_CreateNumber(static_cast<double>(value));
    if (bind.show == Show::Boolean) return cJSON_CreateBool(value == 1);
    if (bind.show == Show::Ipv4HostOrder) {
      return cJSON_CreateString(value ? ("10.0.0." + std::to_string(value - 167772160)).c_str() : "0.0.0.0");
    }
    const route::ChoiceTable &table = *bind.choices;
    for (uint8_t i = 0; i < table.count; ++i) {
      if (table.choices[i].value == value) return cJSON_CreateString(table.choices[i].text);
    }
    return cJSON_CreateString(table.outputDefault);
  }
  if (bind.show == Show::Text || bind.show == Show::Hex) return cJSON_CreateString(failed ? "" : given->valuestring);
  if (bind.show == Show::Address) return cJSON_CreateString(failed ? "" : "2001:db8::9");
  if (bind.show == Show::Ipv6) return cJSON_CreateString(failed ? "::" : given->valuestring);
  return nullptr;
}

// What OpEN is scripted to answer, and the data the answer then shows, on
// success and when a family shows a failed read's starting values.
struct Expected {
  JsonPtr outputs{cJSON_CreateArray()}, data{cJSON_CreateObject()}, defaults{cJSON_CreateObject()};
  bool complete = true;  // false when a family's own code writes some members
  bool anyOutput = false;
};

void addShown(cJSON *data, const Bind &bind, cJSON *value) {
  cJSON *holder = bind.outObject ? cJSON_GetObjectItemCaseSensitive(data, bind.outObject) : data;
  if (holder == nullptr) holder = cJSON_AddObjectToObject(data, bind.outObject);
  cJSON_AddItemToObject(holder, bind.outKey, value);
}

Expected expectedOf(const route::Route &row, const OpenOpDesc &op) {
  Expected expected;
  for (size_t i = 0; i < op.argCount; ++i) {
    const Bind &bind = row.call.binds[i];
    expected.anyOutput = expected.anyOutput || bind.isOutput();
    if (!openArgIsOutput(op.args[i])) continue;
    int n = static_cast<int>(10 + 9 * i);
    if (bind.show == Show::Boolean) n = 1;
    if (bind.show == Show::Choice) n = static_cast<int>(bind.choices->choices[bind.choices->count - 1].value);
    if (bind.show == Show::Ipv4HostOrder) n += 167772160;
    cJSON *value = scripted(openTypeInfo(op.args[i].type), n);
    cJSON_AddItemToArray(expected.outputs.get(), value);
    if (!bind.isOutput()) continue;
    cJSON *onSuccess = shown(bind, value, bind.preset, false);
    expected.complete = expected.complete && onSuccess != nullptr;
    if (onSuccess == nullptr) continue;
    addShown(expected.data.get(), bind, onSuccess);
    addShown(expected.defaults.get(), bind, shown(bind, value, bind.preset, true));
  }
  return expected;
}

// The answer's data member, or of it the members the row's own outputs write.
std::string dataShown(const Answer &answer, const char *dataKey, const Expected &expected) {
  JsonPtr json(cJSON_Parse(answer.json.c_str()));
  cJSON *data = cJSON_GetObjectItemCaseSensitive(json.get(), dataKey);
  if (data == nullptr || expected.complete) return printed(data);
  JsonPtr kept(cJSON_CreateObject());
  for (const cJSON *member = expected.data->child; member != nullptr; member = member->next) {
    const cJSON *found = cJSON_GetObjectItemCaseSensitive(data, member->string);
    if (found != nullptr) cJSON_AddItemToObject(kept.get(), member->string, cJSON_Duplicate(found, 1));
  }
  return printed(kept.get());
}

std::string respOf(const Answer &answer) {
  return printed(cJSON_GetObjectItemCaseSensitive(JsonPtr(cJSON_Parse(answer.json.c_str())).get(), "resp"));
}

// ---- The checks ----

// The API document lists, per route, the result codes it answers.
void expectDeclaredCode(const route::Route &row, const Answer &answer) {
  JsonPtr json(cJSON_Parse(answer.json.c_str()));
  const cJSON *code = cJSON_GetObjectItemCaseSensitive(cJSON_GetObjectItemCaseSensitive(json.get(), "resp"), "respCode");
  ASSERT_TRUE(cJSON_IsNumber(code)) << answer.raw;
  EXPECT_EQ(apidoc::resultCodesOf(row).count(static_cast<int32_t>(code->valuedouble)), 1u) << answer.json;
}

void expectRefused(const route::Route &row, const Answer &answer, AnswerStyle style, const char *what) {
  SCOPED_TRACE(what);
  EXPECT_EQ(answer.json, kRefused);
  expectDeclaredCode(row, answer);
  EXPECT_EQ(answer.newline, withNewline(style));
  EXPECT_TRUE(program().callsOf("").empty()) << "OpEN was called before the refusal";
}

// Each required input left out or sent with the other JSON type; a body that is not one JSON value.
void expectRefusals(const route::Route &row, const Request &request) {
  AnswerStyle style = row.answering->refused;
  for (const Input &input : request.inputs_) {
    if (!input.required || (route::isCustom(row) && !input.object.empty())) continue;
    SCOPED_TRACE(input.name);
    program().dispatcher().clearCallLog();
    expectRefused(row, request.send(&input), style, "left out");
    if (input.place != Input::Place::Body || route::isCustom(row)) continue;
    program().dispatcher().clearCallLog();
    expectRefused(row, request.send(&input, true), style, "of the other type");
  }
  if (!request.hasBody() || route::isCustom(row)) return;
  for (const char *body : {"{", R"({"x":1} x)"}) {
    program().dispatcher().clearCallLog();
    expectRefused(row, request.send(nullptr, false, body), style, body);
  }
}

void expectInputsReachOpen(const route::Route &row, const Request &request, const OpenOpDesc &op) {
  std::vector<std::string> logged = program().callsOf(op.name);
  ASSERT_EQ(logged.size(), 1u);
  JsonPtr line(cJSON_Parse(logged[0].c_str()));
  const cJSON *in = cJSON_GetObjectItemCaseSensitive(line.get(), "in");
  in = in != nullptr ? in->child : nullptr;
  for (size_t i = 0; i < op.argCount; ++i) {
    if (!openArgIsInput(op.args[i])) continue;
    ASSERT_NE(in, nullptr) << "argument " << op.args[i].name << " is not in the call log";
    JsonPtr expected(expectedInput(row.call.binds[i], request.valueOf(row.call.binds[i])));
    if (expected) {
      EXPECT_EQ(printed(in), printed(expected.get())) << "argument " << op.args[i].name;
    }
    in = in->next;
  }
}

void checkRow(const char *dir, const route::Route &row) {
  const route::Answering &answering = *row.answering;
  const char *dataKey = answering.family->dataKey;
  const OpenOpDesc *op = openOpFind(apidoc::openNameOf(row.call.open));
  ASSERT_NE(op, nullptr);
  Request request(dir, row);
  Expected expected = expectedOf(row, *op);
  expectRefusals(row, request);

  std::string error;
  JsonPtr answer(cJSON_CreateObject());
  cJSON_AddNumberToObject(answer.get(), "rc", 0);
  cJSON_AddItemToObject(answer.get(), "out", cJSON_Duplicate(expected.outputs.get(), 1));
  ASSERT_EQ(program().dispatcher().setStub(op->name, answer.get(), 1, error), 0) << error;
  program().dispatcher().clearCallLog();
  Answer success = request.send();
  EXPECT_TRUE(success.jsonHeader) << success.raw;
  EXPECT_EQ(respOf(success), kSuccess);
  if (expected.anyOutput) {
    EXPECT_EQ(dataShown(success, dataKey, expected), printed(expected.data.get()));
  }
  EXPECT_EQ(success.newline, withNewline(answering.succeeded));
  expectDeclaredCode(row, success);
  expectInputsReachOpen(row, request, *op);

  ASSERT_EQ(program().dispatcher().setFault(op->name, -22, 1, error), 0) << error;
  Answer failure = request.send();
  SCOPED_TRACE("OpEN fails");
  if (answering.mapping == route::Mapping::ShowDefaults) {
    EXPECT_EQ(respOf(failure), kSuccess);
    if (expected.anyOutput) {
      EXPECT_EQ(dataShown(failure, dataKey, expected), printed(expected.defaults.get()));
    }
    EXPECT_EQ(failure.newline, withNewline(answering.succeeded));
    return;
  }
  EXPECT_EQ(failure.json, answering.mapping == route::Mapping::AnyFailure ? kFailed : kRefused);
  expectDeclaredCode(row, failure);
  EXPECT_EQ(failure.newline, withNewline(answering.failed));
}

class EveryRoute : public ::testing::Test {
 protected:
  void SetUp() override { program().reset(); }
};

TEST_F(EveryRoute, RowsPassInputsToOpenAndAnswerAsTheirFamilySays) {
  size_t checked = 0;
  forEachRow([&](const char *dir, const route::Route &row) {
    if (route::isCustom(row) || row.call.open.invoke == nullptr) return;
    program().reset();
    checkRow(dir, row);
    ++checked;
  });
  EXPECT_GT(checked, 200u);
}

TEST_F(EveryRoute, PlaceholdersAnswerUnsupportedWithoutCallingOpen) {
  size_t checked = 0;
  forEachRow([&](const char *dir, const route::Route &row) {
    if (row.answering->mapping != route::Mapping::Unsupported) return;
    program().dispatcher().clearCallLog();
    Answer answer = program().request(httpdMethodName(row.method), std::string(dir) + "/" + row.op, "", "{}");
    EXPECT_EQ(answer.json, kUnsupported);
    expectDeclaredCode(row, answer);
    EXPECT_EQ(answer.newline, row.method != HTTPD_GET);
    EXPECT_TRUE(program().callsOf("").empty());
    ++checked;
  });
  EXPECT_EQ(checked, 94u);
}

// What custom routes declare they need, they refuse without.
TEST_F(EveryRoute, CustomRoutesRefuseWhatTheyDeclareRequired) {
  forEachRow([&](const char *dir, const route::Route &row) {
    if (route::isCustom(row)) expectRefusals(row, Request(dir, row));
  });
}

}  // namespace
