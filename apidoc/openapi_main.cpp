// Writes the OpenAPI description of every route to standard output, from
// the route declarations that main registers, with every example answer
// taken from the program answering the example request on the default
// simulated switch. Exits 1, writing nothing, when a route cannot be
// described. `--missing` lists what the declarations do not say yet.
#include <cjson/cJSON.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <set>
#include <span>
#include <string>

#include "apidoc/codes.h"
#include "apidoc/live.h"
#include "apidoc/open_names.h"
#include "apidoc/schema.h"
#include "cgi/httpd.h"
#include "cgi/request.h"
#include "cgi/response.h"
#include "cgi/session.h"
#include "open/raii.h"
#include "routes/families.h"

namespace {

using apidoc::Input;

// ---- Names ----

const char *methodName(int method) {
  switch (method) {
    case HTTPD_GET: return "get";
    case HTTPD_POST: return "post";
    case HTTPD_DELETE: return "delete";
    case HTTPD_PUT: return "put";
  }
  return "?";
}

// "/api/v2/monitoring/instru-bst" -> "instru-bst"
const char *tagOf(const char *dir) {
  const char *slash = strrchr(dir, '/');
  return slash != nullptr ? slash + 1 : dir;
}

// "get", "instru-bst", "tx-hold" -> "getInstruBstTxHold"
std::string operationId(int method, const char *dir, const char *op) {
  std::string id = methodName(method);
  for (const char *part : {tagOf(dir), op}) {
    bool upper = true;
    for (const char *c = part; *c != '\0'; ++c) {
      if (*c == '-' || *c == '_') {
        upper = true;
        continue;
      }
      id += upper ? static_cast<char>(toupper(static_cast<unsigned char>(*c))) : *c;
      upper = false;
    }
  }
  return id;
}

const route::Family &familyOf(const route::RouteGroup &group) { return *group.rows[0].answering->family; }

std::string whereOf(const route::RouteGroup &group, const route::Route &row) {
  return std::string(group.dir) + "/" + row.op + " " + methodName(row.method);
}

// ---- Examples ----

// The query of the example request: every query input with its example.
std::string exampleQuery(const std::vector<Input> &inputs) {
  std::string query;
  for (const Input &input : inputs) {
    if (input.place != Input::Place::Query) continue;
    JsonPtr value(apidoc::inputExample(*input.bind, input.param));
    std::string text = cJSON_IsString(value.get()) ? value->valuestring : CText(cJSON_PrintUnformatted(value.get())).get();
    query += (query.empty() ? "" : "&") + input.name + "=" + text;
  }
  return query;
}

// The holder of a body member: the body itself or an object inside it.
cJSON *holderIn(cJSON *body, const std::string &object) {
  if (object.empty()) return body;
  cJSON *inner = cJSON_GetObjectItemCaseSensitive(body, object.c_str());
  return inner != nullptr ? inner : cJSON_AddObjectToObject(body, object.c_str());
}

// ---- Operations ----

std::string ruleOf(const route::Route &row, const char *openName) {
  std::string text;
  if (openName != nullptr) text = std::string("Calls `") + openName + "` once. ";
  switch (row.answering->mapping) {
    case route::Mapping::OpenRc:
      text += "OpEN's result gives the result code: " + apidoc::openMappingText() + ".";
      break;
    case route::Mapping::AnyFailure:
      text += "Any failure of OpEN answers " + std::to_string(RC_GENERAL_FAILED) + ".";
      break;
    case route::Mapping::ShowDefaults:
      text += openName != nullptr ? "Never fails: when OpEN does, the answer shows the outputs' starting values."
                                  : "Never fails: it shows what could be read.";
      break;
    case route::Mapping::Unsupported:
      text += "This switch lacks the feature: the route answers " + std::to_string(RC_UNSUPPORTED_FEATURE) +
              " without calling OpEN.";
      break;
  }
  return text;
}

void addParameters(cJSON *operation, const std::vector<Input> &inputs) {
  cJSON *parameters = cJSON_AddArrayToObject(operation, "parameters");
  for (const Input &input : inputs) {
    if (input.place != Input::Place::Query) continue;
    cJSON *parameter = cJSON_CreateObject();
    cJSON_AddStringToObject(parameter, "name", input.name.c_str());
    cJSON_AddStringToObject(parameter, "in", "query");
    cJSON_AddBoolToObject(parameter, "required", input.required);
    cJSON_AddStringToObject(parameter, "description", apidoc::inputDescription(input).c_str());
    cJSON_AddItemToObject(parameter, "schema", apidoc::inputSchema(input));
    cJSON_AddItemToObject(parameter, "example", apidoc::inputExample(*input.bind, input.param));
    cJSON_AddItemToArray(parameters, parameter);
  }
  cJSON *refresh = cJSON_CreateObject();
  cJSON_AddStringToObject(refresh, "$ref", "#/components/parameters/Refresh");
  cJSON_AddItemToArray(parameters, refresh);
}

cJSON *objectSchema() {
  cJSON *schema = cJSON_CreateObject();
  cJSON_AddStringToObject(schema, "type", "object");
  cJSON_AddObjectToObject(schema, "properties");
  cJSON_AddArrayToObject(schema, "required");
  return schema;
}

// The body's schema and its example, or NULL when the route reads no body.
JsonPtr requestBodyOf(const std::vector<Input> &inputs, JsonPtr *example) {
  JsonPtr body(objectSchema());
  example->reset(cJSON_CreateObject());
  bool any = false;
  for (const Input &input : inputs) {
    if (input.place != Input::Place::Body) continue;
    any = true;
    cJSON *holder = body.get();
    if (!input.object.empty()) {
      cJSON *properties = cJSON_GetObjectItemCaseSensitive(body.get(), "properties");
      holder = cJSON_GetObjectItemCaseSensitive(properties, input.object.c_str());
      if (holder == nullptr) cJSON_AddItemToObject(properties, input.object.c_str(), holder = objectSchema());
    }
    cJSON *schema = apidoc::inputSchema(input);
    cJSON_AddStringToObject(schema, "description", apidoc::inputDescription(input).c_str());
    cJSON_AddItemToObject(cJSON_GetObjectItemCaseSensitive(holder, "properties"), input.name.c_str(), schema);
    if (input.required) {
      cJSON_AddItemToArray(cJSON_GetObjectItemCaseSensitive(holder, "required"), cJSON_CreateString(input.name.c_str()));
    }
    cJSON_AddItemToObject(holderIn(example->get(), input.object), input.name.c_str(),
                          apidoc::inputExample(*input.bind, input.param));
  }
  if (!any) example->reset();
  return any ? std::move(body) : nullptr;
}

// A POST or PUT reads its body whatever the route does with it: a route
// that uses none still takes any body the program accepts.
void addUnusedBody(cJSON *operation) {
  cJSON *request = cJSON_AddObjectToObject(operation, "requestBody");
  cJSON_AddBoolToObject(request, "required", false);
  cJSON_AddStringToObject(request, "description",
                          ("The route reads nothing of a body: any body of at most " + std::to_string(kMaxBodyBytes) +
                           " bytes is taken and not used (a longer one is refused with 10003).")
                              .c_str());
  cJSON *json = cJSON_AddObjectToObject(cJSON_AddObjectToObject(request, "content"), "application/json");
  cJSON_AddObjectToObject(json, "schema");
  cJSON_AddObjectToObject(json, "example");
}

void addRequestBody(cJSON *operation, int method, JsonPtr schema, JsonPtr example) {
  if (!schema) {
    if (method == HTTPD_POST || method == HTTPD_PUT) addUnusedBody(operation);
    return;
  }
  cJSON *request = cJSON_AddObjectToObject(operation, "requestBody");
  cJSON_AddBoolToObject(request, "required", true);
  cJSON_AddStringToObject(request, "description",
                          ("One JSON object of at most " + std::to_string(kMaxBodyBytes) +
                           " bytes; a body that is not one JSON value, or is longer, is refused with 10003. "
                           "Member names are matched ignoring case.")
                              .c_str());
  cJSON *json = cJSON_AddObjectToObject(cJSON_AddObjectToObject(request, "content"), "application/json");
  cJSON_AddItemToObject(json, "schema", schema.release());
  cJSON_AddItemToObject(json, "example", example.release());
}

cJSON *refTo(const std::string &target) {
  cJSON *item = cJSON_CreateObject();
  cJSON_AddStringToObject(item, "$ref", target.c_str());
  return item;
}

std::string respRef(int32_t code) { return "#/components/schemas/Resp" + std::to_string(code); }

cJSON *envelope(const char *title, cJSON *resp) {
  cJSON *schema = cJSON_CreateObject();
  cJSON_AddStringToObject(schema, "title", title);
  cJSON_AddStringToObject(schema, "type", "object");
  cJSON_AddItemToObject(cJSON_AddObjectToObject(schema, "properties"), "resp", resp);
  cJSON_AddItemToArray(cJSON_AddArrayToObject(schema, "required"), cJSON_CreateString("resp"));
  cJSON_AddBoolToObject(schema, "additionalProperties", false);
  return schema;
}

// The failures' "resp": one of the route's codes with its message.
cJSON *failureResp(const std::set<int32_t> &codes) {
  std::vector<int32_t> failures;
  for (int32_t code : codes) {
    if (code != RC_SUCCESS) failures.push_back(code);
  }
  if (failures.size() == 1) return refTo(respRef(failures[0]));
  cJSON *either = cJSON_CreateObject();
  cJSON *forms = cJSON_AddArrayToObject(either, "oneOf");
  for (int32_t code : failures) cJSON_AddItemToArray(forms, refTo(respRef(code)));
  return either;
}

// {dataKey: data, "resp": success} or {"resp": failure}: the data member
// comes before "resp", and only on success.
cJSON *envelopeOf(const route::Route &row, const std::set<int32_t> &codes) {
  cJSON *forms = cJSON_CreateArray();
  if (codes.count(RC_SUCCESS) != 0) {
    bool alwaysShown = false;
    JsonPtr data(apidoc::answerSchema(row, &alwaysShown));
    cJSON *success = envelope("Success", refTo(respRef(RC_SUCCESS)));
    if (cJSON_GetArraySize(cJSON_GetObjectItemCaseSensitive(data.get(), "properties")) > 0) {
      const char *dataKey = row.answering->family->dataKey;
      cJSON *properties = cJSON_GetObjectItemCaseSensitive(success, "properties");
      cJSON *resp = cJSON_DetachItemFromObjectCaseSensitive(properties, "resp");
      cJSON_AddItemToObject(properties, dataKey, data.release());
      cJSON_AddItemToObject(properties, "resp", resp);
      if (alwaysShown) {
        cJSON_AddItemToArray(cJSON_GetObjectItemCaseSensitive(success, "required"), cJSON_CreateString(dataKey));
      }
    }
    cJSON_AddItemToArray(forms, success);
  }
  if (codes.size() > codes.count(RC_SUCCESS)) cJSON_AddItemToArray(forms, envelope("Failure", failureResp(codes)));
  if (cJSON_GetArraySize(forms) == 1) {
    cJSON *only = cJSON_DetachItemFromArray(forms, 0);
    cJSON_Delete(forms);
    return only;
  }
  cJSON *schema = cJSON_CreateObject();
  cJSON_AddItemToObject(schema, "anyOf", forms);
  return schema;
}

std::string codesText(const std::set<int32_t> &codes) {
  std::string text = "Result codes: ";
  bool first = true;
  for (int32_t code : codes) {
    text += (first ? "" : ", ") + std::to_string(code) + " \"" + resultCodeMessage(code) + "\"";
    first = false;
  }
  return text + ".";
}

// Whether a declaration that does not say what it is stops the build.
constexpr bool kEveryDeclarationDescribed = true;

void missing(const std::string &what) {
  if (kEveryDeclarationDescribed) apidoc::problems().push_back(what);
}

std::string summaryOf(const route::Route &row, const std::string &where) {
  if (row.summary == nullptr) {
    missing(where + " has no summary");
    return row.op;
  }
  if (row.answering->mapping == route::Mapping::Unsupported) return std::string(row.summary) + ": not on this switch";
  return row.summary;
}

struct Operation {
  const route::RouteGroup &group;
  size_t index;
  const route::Route &row() const { return group.rows[index]; }
};

cJSON *operationOf(const Operation &at, apidoc::LiveSwitch &live, std::set<int32_t> &codesUsed) {
  const route::Route &row = at.row();
  const char *openName = row.call.open.invoke != nullptr ? apidoc::openNameOf(row.call.open) : nullptr;
  std::set<int32_t> codes = apidoc::resultCodesOf(row);
  codesUsed.insert(codes.begin(), codes.end());
  cJSON *operation = cJSON_CreateObject();
  cJSON_AddStringToObject(operation, "operationId", operationId(row.method, at.group.dir, row.op).c_str());
  cJSON_AddItemToArray(cJSON_AddArrayToObject(operation, "tags"), cJSON_CreateString(tagOf(at.group.dir)));
  cJSON_AddStringToObject(operation, "summary", summaryOf(row, whereOf(at.group, row)).c_str());
  cJSON_AddStringToObject(operation, "description", (ruleOf(row, openName) + " " + codesText(codes)).c_str());
  std::vector<Input> inputs = apidoc::inputsOf(row, row.method);
  addParameters(operation, inputs);
  JsonPtr bodyExample;
  JsonPtr bodySchema = requestBodyOf(inputs, &bodyExample);
  CText bodyText(bodyExample ? cJSON_PrintUnformatted(bodyExample.get()) : nullptr);
  JsonPtr answer = live.answer(at.group, at.index, exampleQuery(inputs), bodyText ? bodyText.get() : "");
  addRequestBody(operation, row.method, std::move(bodySchema), std::move(bodyExample));
  cJSON *responses = cJSON_AddObjectToObject(operation, "responses");
  cJSON *ok = cJSON_AddObjectToObject(responses, "200");
  cJSON_AddStringToObject(ok, "description",
                          "The envelope: the data on success, then the result code. The example is what the "
                          "default simulated switch answers to the example request.");
  cJSON *json = cJSON_AddObjectToObject(cJSON_AddObjectToObject(ok, "content"), "application/json");
  cJSON_AddItemToObject(json, "schema", envelopeOf(row, codes));
  if (answer) {
    cJSON_AddItemToObject(json, "example", answer.release());
  } else {
    apidoc::problems().push_back(whereOf(at.group, row) + " answers its example request with no JSON");
  }
  cJSON_AddItemToObject(responses, "403", refTo("#/components/responses/NoSession"));
  return operation;
}

// ---- The document ----

std::string introduction() {
  return "The monitoring API of the switch's web interface. Every route needs a web session: its identifier "
         "travels in the `Session` header. Selectors such as `ifNum` come from the query string, also on POST "
         "and PUT; new values come as a JSON body of at most " +
         std::to_string(kMaxBodyBytes) +
         " bytes. A query key is matched as the first `&`-separated entry that contains it, and its value is "
         "taken as it stands: %-escapes and `+` are not decoded. Every answer is the envelope: the family's data "
         "member on success, then `resp` with `respCode`, `respMsg` and `status`; each operation lists the "
         "result codes it answers. Answers with data are written as they are, answers without data end with a "
         "newline. Words the program does not know are not refused but taken as their default, and the switch "
         "decides; likewise numbers outside a setting's range reach the switch, which refuses them with its own "
         "result. A path or method that matches no route answers nothing (the web server reports 500).";
}

cJSON *components(const std::set<int32_t> &codesUsed) {
  cJSON *components = cJSON_CreateObject();
  cJSON *session = cJSON_AddObjectToObject(cJSON_AddObjectToObject(components, "securitySchemes"), "session");
  cJSON_AddStringToObject(session, "type", "apiKey");
  cJSON_AddStringToObject(session, "in", "header");
  cJSON_AddStringToObject(session, "name", "Session");
  std::string idle = std::to_string(kIdleLimitSeconds);
  cJSON_AddStringToObject(session, "description",
                          ("The identifier of a web session, as the login writes it (scripts/login here). A "
                           "missing, unknown or expired session (idle for more than " + idle +
                           " seconds), or a read-only user on anything but GET, gets 403 with an empty body. Each "
                           "accepted request moves the session's time stamp forward, unless it carries the "
                           "Refresh header.").c_str());
  cJSON *refresh = cJSON_AddObjectToObject(cJSON_AddObjectToObject(components, "parameters"), "Refresh");
  cJSON_AddStringToObject(refresh, "name", "Refresh");
  cJSON_AddStringToObject(refresh, "in", "header");
  cJSON_AddBoolToObject(refresh, "required", false);
  cJSON_AddStringToObject(cJSON_AddObjectToObject(refresh, "schema"), "type", "string");
  cJSON_AddStringToObject(refresh, "description",
                          "Any value: the request leaves the session's time stamp as it was, so that a page polling "
                          "in the background does not keep an idle session alive.");
  cJSON *noSession = cJSON_AddObjectToObject(cJSON_AddObjectToObject(components, "responses"), "NoSession");
  cJSON_AddStringToObject(noSession, "description",
                          "No session, an unknown or expired one, or a read-only user on anything but GET. The "
                          "body is empty.");
  cJSON *schemas = cJSON_AddObjectToObject(components, "schemas");
  for (int32_t code : codesUsed) {
    cJSON_AddItemToObject(schemas, ("Resp" + std::to_string(code)).c_str(), apidoc::respSchema(code));
  }
  return components;
}

void addTags(cJSON *document) {
  cJSON *tags = cJSON_AddArrayToObject(document, "tags");
  std::set<std::string> seen;
  for (const route::RouteGroup *group : routeGroupsForReaders()) {
    if (!seen.insert(tagOf(group->dir)).second) continue;
    cJSON *tag = cJSON_CreateObject();
    cJSON_AddStringToObject(tag, "name", tagOf(group->dir));
    const char *about = familyOf(*group).about;
    if (about == nullptr) missing(std::string(group->dir) + " has no description");
    cJSON_AddStringToObject(tag, "description", about != nullptr ? about : "");
    cJSON_AddItemToArray(tags, tag);
  }
}

JsonPtr buildDocument(apidoc::LiveSwitch &live) {
  JsonPtr document(cJSON_CreateObject());
  cJSON_AddStringToObject(document.get(), "openapi", "3.1.0");
  cJSON *info = cJSON_AddObjectToObject(document.get(), "info");
  cJSON_AddStringToObject(info, "title", "monitoring_v2");
  cJSON_AddStringToObject(info, "version", "2");
  cJSON_AddStringToObject(info, "description", introduction().c_str());
  cJSON_AddItemToArray(cJSON_AddArrayToObject(document.get(), "security"), cJSON_Parse(R"({"session": []})"));
  cJSON_AddItemToArray(cJSON_AddArrayToObject(document.get(), "servers"),
                       cJSON_Parse(R"({"url": "/", "description": "The switch's web server, which runs the program"})"));
  addTags(document.get());
  cJSON *paths = cJSON_AddObjectToObject(document.get(), "paths");
  std::set<int32_t> codesUsed;
  for (const route::RouteGroup *group : routeGroupsForReaders()) {
    for (size_t i = 0; i < group->count; ++i) {
      const route::Route &row = group->rows[i];
      std::string path = std::string(group->dir) + "/" + row.op;
      cJSON *item = cJSON_GetObjectItemCaseSensitive(paths, path.c_str());
      if (item == nullptr) item = cJSON_AddObjectToObject(paths, path.c_str());
      if (cJSON_GetObjectItemCaseSensitive(item, methodName(row.method)) != nullptr) {
        apidoc::problems().push_back(path + " " + methodName(row.method) + " is registered twice");
        continue;
      }
      cJSON_AddItemToObject(item, methodName(row.method), operationOf({*group, i}, live, codesUsed));
    }
  }
  cJSON_AddItemToObject(document.get(), "components", components(codesUsed));
  return document;
}

// Two spaces a level: tools that read YAML first take tabs for an error.
void printIndentedWithSpaces(const char *text) {
  for (const char *c = text; *c != '\0'; ++c) {
    if (*c == '\t') {
      fputs("  ", stdout);
    } else {
      fputc(*c, stdout);
    }
  }
  fputc('\n', stdout);
}

// What the declarations still leave to the generator's guesses: a route
// without its summary, an input without its description or example, a
// family without its description.
int listMissing() {
  int missing = 0;
  std::set<const void *> families;
  for (const route::RouteGroup *group : routeGroups()) {
    const route::Family &family = familyOf(*group);
    if (families.insert(&family).second && family.about == nullptr) {
      printf("%s: family description\n", group->dir);
      ++missing;
    }
    for (const route::Route &row : std::span(group->rows, group->count)) {
      std::string where = whereOf(*group, row);
      if (row.summary == nullptr) {
        printf("%s: summary\n", where.c_str());
        ++missing;
      }
      for (const Input &input : apidoc::inputsOf(row, row.method)) {
        const char *place = input.place == Input::Place::Query ? "query" : "body";
        if (input.bind->about == nullptr) {
          printf("%s: %s \"%s\" description\n", where.c_str(), place, input.name.c_str());
          ++missing;
        }
        if (input.bind->sample == nullptr) {
          printf("%s: %s \"%s\" example\n", where.c_str(), place, input.name.c_str());
          ++missing;
        }
      }
    }
  }
  printf("%d missing\n", missing);
  return missing == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc > 1 && strcmp(argv[1], "--missing") == 0) return listMissing();
  JsonPtr document;
  {
    apidoc::LiveSwitch live;
    std::string error;
    if (!live.start(error)) {
      fprintf(stderr, "openapi: %s\n", error.c_str());
      return 1;
    }
    document = buildDocument(live);
  }
  if (!apidoc::problems().empty()) {
    for (const std::string &problem : apidoc::problems()) fprintf(stderr, "openapi: %s\n", problem.c_str());
    return 1;
  }
  CText text(cJSON_Print(document.get()));
  if (!text) return 1;
  printIndentedWithSpaces(text.get());
  return 0;
}
