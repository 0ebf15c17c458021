#include "tests/fuzz/cgi_answer.h"

#include <cjson/cJSON.h>

#include <cstring>

#include "tools/raii.h"

namespace {

constexpr char kForbidden[] = "Status:403\r\n\r\n";
constexpr char kJsonHeader[] = "Content-Type: application/json\r\n\r\n";
constexpr char kInvalidPathStart[] = "Invalid request path '";
constexpr char kInvalidPathEnd[] = "'\n";
constexpr char kRestPrefix[] = "/api/v2/";

bool startsWith(const std::string &text, const char *prefix) { return text.compare(0, strlen(prefix), prefix) == 0; }

bool endsWith(const std::string &text, const char *suffix) {
  size_t length = strlen(suffix);
  return text.size() >= length && text.compare(text.size() - length, length, suffix) == 0;
}

// Dispatch reads at most this much of the URI.
constexpr size_t kUriKept = 1023;

const char *respProblem(const cJSON *resp) {
  if (!cJSON_IsObject(resp) || strcmp(resp->string, "resp") != 0) return "the last member is not the object \"resp\"";
  const cJSON *code = cJSON_GetObjectItemCaseSensitive(resp, "respCode");
  const cJSON *message = cJSON_GetObjectItemCaseSensitive(resp, "respMsg");
  const cJSON *status = cJSON_GetObjectItemCaseSensitive(resp, "status");
  if (!cJSON_IsNumber(code) || !cJSON_IsString(message) || !cJSON_IsString(status)) {
    return "\"resp\" lacks a numeric respCode, a respMsg text or a status text";
  }
  const char *expected = code->valuedouble == 0 ? "success" : "fail";
  if (strcmp(status->valuestring, expected) != 0) return "\"status\" does not fit \"respCode\"";
  return nullptr;
}

// One envelope: at most one data member, then "resp"; one newline may follow.
const char *envelopeProblem(std::string text) {
  if (endsWith(text, "\n")) text.pop_back();
  if (text.find('\0') != std::string::npos) return "the answer holds a NUL byte";
  // The parser allows white space around the value; the answer has none.
  if (text.empty() || text.front() != '{' || text.back() != '}') return "the answer is more than one object and a newline";
  JsonPtr envelope(cJSON_ParseWithOpts(text.c_str(), nullptr, 1));
  if (!cJSON_IsObject(envelope.get())) return "the answer is not one JSON object";
  int members = cJSON_GetArraySize(envelope.get());
  if (members < 1 || members > 2) return "the envelope has other than one or two members";
  const cJSON *last = envelope->child;
  while (last->next != nullptr) last = last->next;
  return respProblem(last);
}

}  // namespace

const char *cgiAnswerProblem(const std::string &answer, const std::string &uri) {
  std::string kept = uri.substr(0, kUriKept);
  if (kept.find('/') == std::string::npos) {
    bool invalidPath = answer == kInvalidPathStart + kept + kInvalidPathEnd;
    return invalidPath ? nullptr : "a path without \"/\" must get the invalid-path text";
  }
  if (answer.empty() || answer == kForbidden) return nullptr;
  if (!startsWith(uri, kRestPrefix)) return envelopeProblem(answer);
  if (!startsWith(answer, kJsonHeader)) return "the answer does not start with the JSON header";
  return envelopeProblem(answer.substr(strlen(kJsonHeader)));
}
