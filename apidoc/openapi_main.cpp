// Writes the OpenAPI description of every route to standard output, walking
// the same route groups that main registers. Exits 1, writing nothing, when
// a route cannot be described.
#include <cjson/cJSON.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <set>
#include <span>
#include <string>

#include "cgi/httpd.h"
#include "cgi/response.h"
#include "routes/families.h"
#include "apidoc/open_names.h"
#include "apidoc/schema.h"
#include "tools/raii.h"

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

// The words of an OpEN name, its verb first and its abbreviations spelt out:
// "openapiLldpIntfTransmitModeGet" -> "Get LLDP interface transmit mode".
struct Spelling {
  const char *word, *spelt;
};
constexpr Spelling kSpellings[] = {
    {"Lldp", "LLDP"},     {"Lldpdot3", "LLDP 802.3"}, {"Snmp", "SNMP"},        {"Sflow", "sFlow"},
    {"Med", "MED"},       {"X", "extended"},          {"Tlv", "TLV"},          {"Ip", "IP"},
    {"Ipv4", "IPv4"},     {"Ipv6", "IPv6"},           {"Acl", "ACL"},          {"Mac", "MAC"},
    {"Vlan", "VLAN"},     {"Oid", "OID"},             {"Oui", "OUI"},          {"Mau", "MAU"},
    {"Poe", "PoE"},       {"Pse", "PSE"},             {"Pd", "PD"},            {"Ttl", "TTL"},
    {"Udp", "UDP"},       {"Id", "ID"},               {"Intf", "interface"},   {"Iface", "interface"},
    {"Rem", "remote"},    {"Loc", "local"},           {"Rcvr", "receiver"},    {"Mgmt", "management"},
    {"Dest", "destination"}, {"Src", "source"},       {"Addr", "address"},     {"Sys", "system"},
    {"Cap", "capabilities"}, {"Supp", "supported"},   {"Neg", "negotiation"},  {"Mfg", "manufacturer"},
    {"Rev", "revision"},  {"Fs", "flow sampler"},     {"Cp", "counter poller"}, {"Sw", "switch"},
    {"Av", "available"},  {"Pri", "priority"},        {"Req", "requested"},    {"Str", "string"},
    {"Len", "length"},    {"Cfg", "configuration"},   {"Oper", "operational"}, {"Passwd", "password"},
};
constexpr const char *kVerbs[] = {"Get", "Set", "Create", "Delete", "Reset", "Add", "Remove", "Count", "Check"};

std::vector<std::string> camelWords(const char *name) {
  std::vector<std::string> words;
  for (const char *c = name; *c != '\0'; ++c) {
    auto at = [](char x) { return static_cast<unsigned char>(x); };
    bool starts = isupper(at(*c)) && (c == name || !isupper(at(c[-1])) || (c[1] != '\0' && islower(at(c[1]))));
    if (starts || words.empty()) words.emplace_back();
    words.back() += *c;
  }
  return words;
}

std::string speltOut(const std::string &word) {
  for (const Spelling &spelling : kSpellings) {
    if (word == spelling.word) return spelling.spelt;
  }
  // An abbreviation already in capitals stays as it is.
  if (std::all_of(word.begin(), word.end(), [](char c) { return isupper(static_cast<unsigned char>(c)); })) return word;
  std::string lower = word;
  for (char &c : lower) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  return lower;
}

std::string summaryOf(const char *openName) {
  std::vector<std::string> words = camelWords(openName + strlen("openapi"));
  std::string verb;
  bool next = false;
  for (int pass = 0; pass < 2 && !words.empty(); ++pass) {
    if (words.back() == "Next") {
      next = true;
      words.pop_back();
    } else if (verb.empty() && std::find(std::begin(kVerbs), std::end(kVerbs), words.back()) != std::end(kVerbs)) {
      verb = words.back();
      words.pop_back();
    }
  }
  std::string text = verb.empty() ? "" : verb;
  if (next) text += text.empty() ? "Next" : " next";
  for (const std::string &word : words) text += (text.empty() ? "" : " ") + speltOut(word);
  if (!text.empty()) text[0] = static_cast<char>(toupper(static_cast<unsigned char>(text[0])));
  return text;
}

// ---- Examples ----

// Values that name something on the default simulated switch: port 5 and
// the IP phone it hears over LLDP, session 1 and its VLANs, a community that
// is not the last of its walk.
struct Example {
  const char *key;
  const char *json;
};
constexpr Example kExamples[] = {
    {"ifNum", "5"},           {"intIfNum", "1"},          {"intf", "5"},
    {"remIndex", "4"},        {"timeStamp", "5128807"},   {"timestamp", "5128807"},
    {"sessionNum", "1"},      {"sessionId", "1"},         {"vlanId", "10"},
    {"rspanVlan", "10"},      {"index", "1"},             {"instance", "1"},
    {"policyAppType", "1"},   {"subType", "3"},           {"communityName", "\"private\""},
    {"groupName", "\"DefaultRead\""}, {"viewName", "\"Default\""}, {"oidTree", "\"1.3.6.1\""},
    {"filterName", "\"default\""}, {"userName", "\"admin\""}, {"sysName", "\"switch-1\""},
    {"sysContact", "\"noc@example.com\""}, {"sysLocation", "\"Lab, rack 4\""}, {"host", "\"192.0.2.20\""},
    {"vlan-list", "\"10,20-22\""}, {"owner", "\"collector\""}, {"counterId", "\"ctr_rx_total_bytes\""},
    {"name", "\"Default\""},  {"mauType", "30"},           {"hold", "4"},
    {"interval", "30"},       {"notification-interval", "5"}, {"engineId", "\"80007ed9030011225a3bc0\""},
};

// A value of the schema's own kind: one of its words, or the example a key
// names, or a plain value of its type.
bool listed(const cJSON *words, const cJSON *value) {
  for (const cJSON *word = words ? words->child : nullptr; word != nullptr; word = word->next) {
    if (cJSON_Compare(word, value, true)) return true;
  }
  return words == nullptr;
}

cJSON *exampleOf(const Input &input, const cJSON *schema) {
  const cJSON *words = cJSON_GetObjectItemCaseSensitive(schema, "enum");
  const cJSON *type = cJSON_GetObjectItemCaseSensitive(schema, "type");
  const char *kind = cJSON_IsString(type) ? type->valuestring : "";
  for (const Example &example : kExamples) {
    if (input.name != example.key) continue;
    JsonPtr value(cJSON_Parse(example.json));
    bool fits = strcmp(kind, "integer") == 0 ? cJSON_IsNumber(value.get()) : cJSON_IsString(value.get());
    if (fits && listed(words, value.get())) return value.release();
  }
  if (words != nullptr && words->child != nullptr) return cJSON_Duplicate(words->child, 1);
  if (strcmp(kind, "integer") == 0) return cJSON_CreateNumber(1);
  if (strcmp(kind, "string") == 0) {
    bool address = cJSON_GetObjectItemCaseSensitive(schema, "anyOf") != nullptr;
    return cJSON_CreateString(address ? "192.0.2.20" : "");
  }
  return nullptr;
}

// ---- Operations ----

std::string ruleOf(const route::Route &row, const char *openName) {
  std::string text;
  if (openName != nullptr) text = std::string("Calls `") + openName + "` once. ";
  switch (row.answering->mapping) {
    case route::Mapping::OpenRc:
      text += "OpEN's result is mapped: -22 gives 10003, -24 10011, -28 17002, -29 10023, any other failure 10000.";
      break;
    case route::Mapping::AnyFailure: text += "Any failure of OpEN answers 10000."; break;
    case route::Mapping::ShowDefaults:
      text += openName != nullptr ? "Never fails: when OpEN does, the answer shows the outputs' starting values."
                                  : "Never fails: it shows what could be read.";
      break;
    case route::Mapping::Unsupported:
      text += "This switch lacks the feature: the route always answers 17002 without calling OpEN.";
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
    cJSON *schema = apidoc::inputSchema(input);
    if (!input.note.empty()) cJSON_AddStringToObject(parameter, "description", input.note.c_str());
    cJSON *example = exampleOf(input, schema);
    cJSON_AddItemToObject(parameter, "schema", schema);
    if (example != nullptr) cJSON_AddItemToObject(parameter, "example", example);
    cJSON_AddItemToArray(parameters, parameter);
  }
  cJSON *refresh = cJSON_CreateObject();
  cJSON_AddStringToObject(refresh, "$ref", "#/components/parameters/Refresh");
  cJSON_AddItemToArray(parameters, refresh);
}

// The holder of a body member: the body itself or an object inside it.
cJSON *holderOf(cJSON *body, cJSON *example, const std::string &object, cJSON **exampleHolder) {
  *exampleHolder = example;
  if (object.empty()) return body;
  cJSON *properties = cJSON_GetObjectItemCaseSensitive(body, "properties");
  cJSON *inner = cJSON_GetObjectItemCaseSensitive(properties, object.c_str());
  if (inner == nullptr) {
    inner = cJSON_AddObjectToObject(properties, object.c_str());
    cJSON_AddStringToObject(inner, "type", "object");
    cJSON_AddObjectToObject(inner, "properties");
    cJSON_AddArrayToObject(inner, "required");
    cJSON_AddObjectToObject(example, object.c_str());
  }
  *exampleHolder = cJSON_GetObjectItemCaseSensitive(example, object.c_str());
  return inner;
}

void addRequestBody(cJSON *operation, const std::vector<Input> &inputs) {
  JsonPtr body(cJSON_CreateObject());
  cJSON_AddStringToObject(body.get(), "type", "object");
  cJSON_AddObjectToObject(body.get(), "properties");
  cJSON_AddArrayToObject(body.get(), "required");
  JsonPtr example(cJSON_CreateObject());
  bool any = false;
  for (const Input &input : inputs) {
    if (input.place != Input::Place::Body) continue;
    any = true;
    cJSON *exampleHolder = nullptr;
    cJSON *holder = holderOf(body.get(), example.get(), input.object, &exampleHolder);
    cJSON *schema = apidoc::inputSchema(input);
    if (!input.note.empty()) {
      const cJSON *said = cJSON_GetObjectItemCaseSensitive(schema, "description");
      std::string text = input.note + (cJSON_IsString(said) ? std::string(" ") + said->valuestring : "");
      cJSON_DeleteItemFromObjectCaseSensitive(schema, "description");
      cJSON_AddStringToObject(schema, "description", text.c_str());
    }
    cJSON *value = exampleOf(input, schema);
    if (value != nullptr) cJSON_AddItemToObject(exampleHolder, input.name.c_str(), value);
    cJSON_AddItemToObject(cJSON_GetObjectItemCaseSensitive(holder, "properties"), input.name.c_str(), schema);
    if (input.required) {
      cJSON_AddItemToArray(cJSON_GetObjectItemCaseSensitive(holder, "required"), cJSON_CreateString(input.name.c_str()));
    }
  }
  if (!any) return;
  cJSON *request = cJSON_AddObjectToObject(operation, "requestBody");
  cJSON_AddBoolToObject(request, "required", true);
  cJSON_AddStringToObject(request, "description",
                          "One JSON object; a body that is not one JSON value is refused with 10003. "
                          "Member names are matched ignoring case.");
  cJSON *json = cJSON_AddObjectToObject(cJSON_AddObjectToObject(request, "content"), "application/json");
  cJSON_AddItemToObject(json, "schema", body.release());
  cJSON_AddItemToObject(json, "example", example.release());
}

cJSON *ref(const char *target) {
  cJSON *item = cJSON_CreateObject();
  cJSON_AddStringToObject(item, "$ref", target);
  return item;
}

cJSON *envelope(const char *title, const char *resp) {
  cJSON *schema = cJSON_CreateObject();
  cJSON_AddStringToObject(schema, "title", title);
  cJSON_AddStringToObject(schema, "type", "object");
  cJSON_AddItemToObject(cJSON_AddObjectToObject(schema, "properties"), "resp", ref(resp));
  cJSON_AddItemToArray(cJSON_AddArrayToObject(schema, "required"), cJSON_CreateString("resp"));
  cJSON_AddBoolToObject(schema, "additionalProperties", false);
  return schema;
}

// Either {dataKey: data, "resp": success} or {"resp": failure}: the data
// member comes before "resp", and only on success.
cJSON *envelopeOf(const route::Route &row) {
  bool alwaysShown = false;
  JsonPtr data(apidoc::answerSchema(row, &alwaysShown));
  cJSON *success = envelope("Success", "#/components/schemas/Success");
  if (cJSON_GetArraySize(cJSON_GetObjectItemCaseSensitive(data.get(), "properties")) > 0) {
    const char *dataKey = row.answering->family->dataKey;
    cJSON *properties = cJSON_GetObjectItemCaseSensitive(success, "properties");
    cJSON_DeleteItemFromObject(properties, "resp");
    cJSON_AddItemToObject(properties, dataKey, data.release());
    cJSON_AddItemToObject(properties, "resp", ref("#/components/schemas/Success"));
    if (alwaysShown) cJSON_AddItemToArray(cJSON_GetObjectItemCaseSensitive(success, "required"), cJSON_CreateString(dataKey));
  }
  cJSON *failure = envelope("Failure", "#/components/schemas/Failure");
  if (row.answering->mapping == route::Mapping::Unsupported) {
    cJSON_Delete(success);
    return failure;
  }
  // The two exclude each other by "respCode" and "status".
  cJSON *schema = cJSON_CreateObject();
  cJSON *either = cJSON_AddArrayToObject(schema, "anyOf");
  cJSON_AddItemToArray(either, success);
  cJSON_AddItemToArray(either, failure);
  return schema;
}

cJSON *operationOf(const route::Route &row, const char *dir) {
  const char *openName = row.call.open.invoke != nullptr ? apidoc::openNameOf(row.call.open) : nullptr;
  cJSON *operation = cJSON_CreateObject();
  cJSON_AddStringToObject(operation, "operationId", operationId(row.method, dir, row.op).c_str());
  cJSON_AddItemToArray(cJSON_AddArrayToObject(operation, "tags"), cJSON_CreateString(tagOf(dir)));
  std::string summary = row.summary != nullptr ? row.summary
                        : openName != nullptr  ? summaryOf(openName)
                                               : "Not supported on this switch";
  cJSON_AddStringToObject(operation, "summary", summary.c_str());
  cJSON_AddStringToObject(operation, "description", ruleOf(row, openName).c_str());
  std::vector<Input> inputs = apidoc::inputsOf(row, row.method);
  addParameters(operation, inputs);
  addRequestBody(operation, inputs);
  cJSON *responses = cJSON_AddObjectToObject(operation, "responses");
  cJSON *answer = cJSON_AddObjectToObject(responses, "200");
  cJSON_AddStringToObject(answer, "description", "The envelope: the data on success, then the result code.");
  cJSON *json = cJSON_AddObjectToObject(cJSON_AddObjectToObject(answer, "content"), "application/json");
  cJSON_AddItemToObject(json, "schema", envelopeOf(row));
  cJSON_AddItemToObject(responses, "403", ref("#/components/responses/NoSession"));
  return operation;
}

// ---- The document ----

constexpr const char *kIntroduction =
    "The monitoring API of the switch's web interface. Every route needs a web session: its identifier "
    "travels in the `Session` header. Selectors such as `ifNum` come from the query string, also on POST and "
    "PUT; new values come as a JSON body. A query key is matched as the first `key=value` entry that contains "
    "it. Every answer is the envelope: the family's data member on success, then `resp` with `respCode`, "
    "`respMsg` and `status`. Answers with data are written as they are, answers without data end with a "
    "newline. Enumerations that the program does not know are not refused but taken as their default, and the "
    "switch decides; likewise numbers outside a setting's range reach the switch, which refuses them with its "
    "own result. A path or method that matches no route answers nothing (the web server reports 500).";

// "resp" of a success, and of a failure with the codes and messages of the
// result-code table.
cJSON *respSchemas() {
  cJSON *schemas = cJSON_Parse(R"({
    "Success": {
      "type": "object",
      "properties": {"respCode": {"const": 0}, "respMsg": {"const": "Success"}, "status": {"const": "success"}},
      "required": ["respCode", "respMsg", "status"],
      "additionalProperties": false
    },
    "Failure": {
      "type": "object",
      "properties": {"respCode": {"type": "integer"}, "respMsg": {"type": "string"}, "status": {"const": "fail"}},
      "required": ["respCode", "respMsg", "status"],
      "additionalProperties": false
    }
  })");
  cJSON *failure = cJSON_GetObjectItemCaseSensitive(schemas, "Failure");
  cJSON *properties = cJSON_GetObjectItemCaseSensitive(failure, "properties");
  cJSON *codes = cJSON_AddArrayToObject(cJSON_GetObjectItemCaseSensitive(properties, "respCode"), "enum");
  cJSON *messages = cJSON_AddArrayToObject(cJSON_GetObjectItemCaseSensitive(properties, "respMsg"), "enum");
  std::string table = "The result codes and their messages:";
  std::set<std::string> seen;
  for (const CodeMessage &entry : resultCodeTable()) {
    if (entry.code == 0) continue;
    cJSON_AddItemToArray(codes, cJSON_CreateNumber(entry.code));
    if (seen.insert(entry.message).second) cJSON_AddItemToArray(messages, cJSON_CreateString(entry.message));
    table += "\n- " + std::to_string(entry.code) + ": \"" + entry.message + "\"";
  }
  cJSON_AddStringToObject(failure, "description", table.c_str());
  return schemas;
}

cJSON *components() {
  cJSON *components = cJSON_Parse(R"({
    "securitySchemes": {
      "session": {
        "type": "apiKey", "in": "header", "name": "Session",
        "description": "The identifier of a web session, as the login writes it (scripts/login here). A missing, unknown or expired session (idle for more than 7200 seconds), or a read-only user on anything but GET, gets 403 with an empty body. Each accepted request moves the session's time stamp forward, unless it carries the Refresh header."
      }
    },
    "parameters": {
      "Refresh": {
        "name": "Refresh", "in": "header", "required": false, "schema": {"type": "string"},
        "description": "Any value: the request leaves the session's time stamp as it was, so that a page polling in the background does not keep an idle session alive."
      }
    },
    "responses": {
      "NoSession": {"description": "No session, an unknown or expired one, or a read-only user on anything but GET. The body is empty."}
    },
    "schemas": {}
  })");
  cJSON_ReplaceItemInObject(components, "schemas", respSchemas());
  return components;
}

// What each directory holds, for the explorer's headings.
struct TagText {
  const char *tag, *description;
};
constexpr TagText kTagTexts[] = {
    {"instru-bhd", "Black-hole detection of the switch chip: not supported on this switch"},
    {"instru-bst", "Buffer statistics tracking of the switch chip: not supported on this switch"},
    {"instru-flow-tracker", "Flow tracking of the switch chip: not supported on this switch"},
    {"instru-ifa", "In-band flow analysis: not supported on this switch"},
    {"instru-nos", "The switch's network OS: its burned-in MAC address; the rest is not supported"},
    {"instru-packet-trace", "Packet tracing of the switch chip: not supported on this switch"},
    {"sflow", "sFlow: the agent's addresses, receivers, flow samplers, counter pollers and remote agents"},
    {"snmp", "SNMP: communities, groups, views, filters, users, engine identifiers, notification hosts, "
             "trap managers and flags, the system strings"},
    {"stats", "Interface statistics: counters by name, every counter of an interface, resets"},
    {"lldp", "LLDP and LLDP-MED: timers, interface modes and TLVs, the neighbours and what the switch advertises"},
    {"mirror", "Port mirroring: monitor sessions' sources, destinations, VLANs, filters and remote-span VLANs"},
    {"session", "A monitor session as one document, read and replaced in one request"},
};

void addTags(cJSON *document) {
  cJSON *tags = cJSON_AddArrayToObject(document, "tags");
  std::set<std::string> seen;
  for (const route::RouteGroup *group : routeGroups()) {
    if (!seen.insert(tagOf(group->dir)).second) continue;
    cJSON *tag = cJSON_CreateObject();
    cJSON_AddStringToObject(tag, "name", tagOf(group->dir));
    for (const TagText &text : kTagTexts) {
      if (strcmp(text.tag, tagOf(group->dir)) == 0) cJSON_AddStringToObject(tag, "description", text.description);
    }
    cJSON_AddItemToArray(tags, tag);
  }
}

JsonPtr buildDocument() {
  JsonPtr document(cJSON_CreateObject());
  cJSON_AddStringToObject(document.get(), "openapi", "3.1.0");
  cJSON *info = cJSON_AddObjectToObject(document.get(), "info");
  cJSON_AddStringToObject(info, "title", "monitoring_v2");
  cJSON_AddStringToObject(info, "version", "2");
  cJSON_AddStringToObject(info, "description", kIntroduction);
  cJSON_AddItemToArray(cJSON_AddArrayToObject(document.get(), "security"), cJSON_Parse(R"({"session": []})"));
  cJSON_AddItemToArray(cJSON_AddArrayToObject(document.get(), "servers"),
                       cJSON_Parse(R"({"url": "/", "description": "The switch's web server, which runs the program"})"));
  addTags(document.get());
  cJSON *paths = cJSON_AddObjectToObject(document.get(), "paths");
  for (const route::RouteGroup *group : routeGroups()) {
    for (const route::Route &row : std::span(group->rows, group->count)) {
      std::string path = std::string(group->dir) + "/" + row.op;
      cJSON *item = cJSON_GetObjectItemCaseSensitive(paths, path.c_str());
      if (item == nullptr) item = cJSON_AddObjectToObject(paths, path.c_str());
      if (cJSON_GetObjectItemCaseSensitive(item, methodName(row.method)) != nullptr) {
        apidoc::problems().push_back(path + " " + methodName(row.method) + " is registered twice");
        continue;
      }
      cJSON_AddItemToObject(item, methodName(row.method), operationOf(row, group->dir));
    }
  }
  cJSON_AddItemToObject(document.get(), "components", components());
  return document;
}

}  // namespace

// What the declarations still leave to the generator's guesses: a route
// without its summary, an input without its description or example, a
// family without its description.
int listMissing() {
  int missing = 0;
  std::set<const void *> families;
  for (const route::RouteGroup *group : routeGroups()) {
    const route::Family *family = group->rows[0].answering->family;
    if (families.insert(family).second && family->about == nullptr) {
      printf("%s: family description\n", group->dir);
      ++missing;
    }
    for (const route::Route &row : std::span(group->rows, group->count)) {
      std::string where = std::string(group->dir) + "/" + row.op + " " + methodName(row.method);
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

int main(int argc, char **argv) {
  if (argc > 1 && strcmp(argv[1], "--missing") == 0) return listMissing();
  JsonPtr document = buildDocument();
  if (!apidoc::problems().empty()) {
    for (const std::string &problem : apidoc::problems()) fprintf(stderr, "openapi: %s\n", problem.c_str());
    return 1;
  }
  CText text(cJSON_Print(document.get()));
  if (!text) return 1;
  printf("%s\n", text.get());
  return 0;
}
