#include "apidoc/codes.h"

#include <map>

#include "cgi/response.h"

namespace apidoc {

namespace {

using route::Bind;
using route::From;

std::set<int32_t> mappedCodes() {
  std::set<int32_t> codes = {openRcToResultCode(1)};
  for (int rc = kLowestOpenRc; rc <= 0; ++rc) codes.insert(openRcToResultCode(rc));
  return codes;
}

bool readsBody(int method) { return method == HTTPD_POST || method == HTTPD_PUT; }

// Whether the route can refuse a request with 10003 before calling OpEN: a
// body that is not JSON, or longer than the program takes, a needed input
// missing, a reader of its own refusing.
bool refuses(const route::Route &row) {
  if (readsBody(row.method)) return true;
  const route::Call &call = row.call;
  for (size_t i = 0; i < route::bindCount(call); ++i) {
    const Bind &bind = call.binds[i];
    bool custom = bind.from == From::Custom && bind.read != nullptr;
    if (bind.required || custom || bind.from == From::Body || bind.from == From::BodyOrQuery) return true;
  }
  return false;
}

std::set<int32_t> codesOfMapping(const route::Route &row) {
  switch (row.answering->mapping) {
    case route::Mapping::OpenRc: return mappedCodes();
    case route::Mapping::AnyFailure: return {RC_SUCCESS, RC_GENERAL_FAILED};
    case route::Mapping::ShowDefaults: return {RC_SUCCESS};
    case route::Mapping::Unsupported: return {RC_UNSUPPORTED_FEATURE};
  }
  return {};
}

}  // namespace

std::set<int32_t> resultCodesOf(const route::Route &row) {
  std::set<int32_t> codes;
  if (row.answering->mapping == route::Mapping::Unsupported || !isCustom(row)) codes = codesOfMapping(row);
  if (isCustom(row)) codes.insert(RC_SUCCESS);
  for (uint8_t i = 0; i < row.codes.count; ++i) codes.insert(row.codes.codes[i]);
  if (refuses(row)) codes.insert(RC_INVALID_ARGUMENT);
  return codes;
}

cJSON *respSchema(int32_t code) {
  cJSON *schema = cJSON_CreateObject();
  cJSON_AddStringToObject(schema, "title", (std::to_string(code) + " " + resultCodeMessage(code)).c_str());
  cJSON_AddStringToObject(schema, "type", "object");
  cJSON *properties = cJSON_AddObjectToObject(schema, "properties");
  cJSON_AddNumberToObject(cJSON_AddObjectToObject(properties, "respCode"), "const", code);
  cJSON_AddStringToObject(cJSON_AddObjectToObject(properties, "respMsg"), "const", resultCodeMessage(code));
  cJSON_AddStringToObject(cJSON_AddObjectToObject(properties, "status"), "const",
                          code == RC_SUCCESS ? "success" : "fail");
  cJSON *required = cJSON_AddArrayToObject(schema, "required");
  for (const char *key : {"respCode", "respMsg", "status"}) cJSON_AddItemToArray(required, cJSON_CreateString(key));
  cJSON_AddBoolToObject(schema, "additionalProperties", false);
  return schema;
}

std::string openMappingText() {
  std::map<int32_t, std::string> results;
  int32_t otherwise = openRcToResultCode(1);
  for (int rc = kLowestOpenRc; rc < 0; ++rc) {
    int32_t code = openRcToResultCode(rc);
    if (code == otherwise) continue;
    results[code] += (results[code].empty() ? "" : " or ") + std::to_string(rc);
  }
  std::string text;
  for (const auto &[code, rcs] : results) text += rcs + " gives " + std::to_string(code) + ", ";
  return text + "any other failure " + std::to_string(otherwise);
}

}  // namespace apidoc
