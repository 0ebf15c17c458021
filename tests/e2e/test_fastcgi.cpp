// One FastCGI application answers a long mixed sequence of requests (every
// route of the API document, sessions of each privilege and none, bodies
// that do not parse, OpEN failures) exactly as a fresh CGI process answers
// each of them, with the same OpEN calls in the same order and the same log
// lines: nothing of one request reaches the next.
#include <cjson/cJSON.h>

#include <cstring>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "tests/e2e/harness.h"

namespace {

namespace fs = std::filesystem;

struct Step {
  std::string fault;  // an OpEN operation failing once with -22 first; "" for none
  CgiRequest request;
};

std::string exampleText(const cJSON *value) {
  if (cJSON_IsString(value)) return value->valuestring;
  char *printed = cJSON_PrintUnformatted(value);
  std::string text = printed != nullptr ? printed : "";
  free(printed);
  return text;
}

// The request the document's examples make for an operation.
CgiRequest exampleRequest(const std::string &path, const std::string &method, const cJSON *operation) {
  std::string query;
  const cJSON *parameter = nullptr;
  cJSON_ArrayForEach(parameter, cJSON_GetObjectItemCaseSensitive(operation, "parameters")) {
    const cJSON *example = cJSON_GetObjectItemCaseSensitive(parameter, "example");
    if (example == nullptr || strcmp(cJSON_GetStringValue(cJSON_GetObjectItem(parameter, "in")), "query") != 0) continue;
    query += (query.empty() ? "" : "&") + std::string(cJSON_GetStringValue(cJSON_GetObjectItem(parameter, "name"))) +
             "=" + exampleText(example);
  }
  const cJSON *content = cJSON_GetObjectItemCaseSensitive(
      cJSON_GetObjectItemCaseSensitive(cJSON_GetObjectItemCaseSensitive(operation, "requestBody"), "content"),
      "application/json");
  std::string body = content != nullptr ? exampleText(cJSON_GetObjectItemCaseSensitive(content, "example")) : "";
  std::string upper = method;
  for (char &c : upper) c = static_cast<char>(toupper(c));
  return {.method = upper, .uri = path + (query.empty() ? "" : "?" + query), .body = body};
}

// The OpEN operation a row calls, as its description names it; "" for none.
std::string calledOperation(const cJSON *operation) {
  static const std::regex called("Calls `(openapi\\w+)`");
  std::smatch match;
  std::string description = cJSON_GetStringValue(cJSON_GetObjectItem(operation, "description"));
  return std::regex_search(description, match, called) ? match[1].str() : "";
}

class FastCgiTest : public SwitchTest {
 protected:
  struct Run {
    std::vector<std::string> answers, calls, log;
  };

  // The sessions of each privilege, written afresh for each run.
  void writeSessions() {
    for (const auto &[id, text] : {std::pair{"mix-admin", "admin\n0\n"}, std::pair{"mix-rw", "operator\n0\nrw\n"},
                                   std::pair{"mix-ro", "viewer\n0\nro\n"}, std::pair{"mix-old", "viewer\n5\nro\n"}}) {
      std::ofstream(root_ + "/tmp/session/" + id) << text;
    }
  }

  std::vector<Step> mixedSequence() {
    std::ifstream file(std::string(BIN_DIR) + "/../www/openapi.json");
    std::stringstream text;
    text << file.rdbuf();
    cJSON *document = cJSON_Parse(text.str().c_str());
    std::vector<Step> steps;
    const cJSON *path = nullptr;
    size_t n = 0;
    cJSON_ArrayForEach(path, cJSON_GetObjectItemCaseSensitive(document, "paths")) {
      const cJSON *operation = nullptr;
      cJSON_ArrayForEach(operation, path) {
        CgiRequest example = exampleRequest(path->string, operation->string, operation);
        const char *session = n % 4 == 0 ? "mix-rw" : n % 9 == 0 ? "mix-old" : "mix-admin";
        Step step{"", example};
        step.request.session = session;
        if (n % 5 == 0) step.request.refresh = "1";
        if (n % 11 == 0) step.fault = calledOperation(operation);
        steps.push_back(step);
        Step readOnly{"", example};
        readOnly.request.session = n % 7 == 0 ? nullptr : "mix-ro";
        steps.push_back(readOnly);
        if (!example.body.empty() && n % 3 == 0) {
          Step broken{"", example};
          broken.request.session = "mix-admin";
          broken.request.body = example.body.substr(0, example.body.size() / 2);
          steps.push_back(broken);
        }
        ++n;
      }
    }
    cJSON_Delete(document);
    return steps;
  }

  // The sequence against a switch and a program started afresh; the call
  // log and the log lines without what each process's start-up adds.
  Run run(const std::vector<Step> &steps, bool fastCgi) {
    stopDaemon();
    fs::remove(root_ + "/switch-state.json");
    fs::remove(root_ + "/tmp/zr301.log");
    startDaemon({"--frozen-clock"});
    writeSessions();
    useFastCgi(fastCgi);
    Run result;
    for (const Step &step : steps) {
      if (!step.fault.empty()) ctlOk({"fault", step.fault, "-22", "1"});
      result.answers.push_back(cgi(step.request).out);
    }
    stopApplications();
    // A process's scratch file carries its process id.
    static const std::regex startUp("openapiConnectivityCheck|openapiNetworkOSVersionGet|openapiApiVersionGet"),
        scratch("instru_nos_[0-9]+");
    for (const std::string &line : calls()) {
      if (!std::regex_search(line, startUp)) result.calls.push_back(std::regex_replace(line, scratch, "instru_nos_"));
    }
    static const std::regex stamp("^[0-9-]+ [0-9:.]+ "), lineNumber(":[0-9]+\\]"), uptime("[0-9]{3,}");
    std::istringstream log(readFile("/tmp/zr301.log"));
    for (std::string line; std::getline(log, line);) {
      if (line.find("[initHandler:") != std::string::npos) continue;
      line = std::regex_replace(std::regex_replace(std::regex_replace(line, stamp, ""), lineNumber, ":]"), uptime, "N");
      result.log.push_back(line);
    }
    return result;
  }
};

void expectSameLines(const std::vector<std::string> &got, const std::vector<std::string> &expected, const char *what) {
  EXPECT_EQ(got.size(), expected.size()) << what << "s";
  for (size_t i = 0; i < std::min(got.size(), expected.size()); ++i) {
    if (got[i] == expected[i]) continue;
    ADD_FAILURE() << what << " " << i << ": " << got[i] << "\n  a fresh process: " << expected[i];
    return;
  }
}

TEST_F(FastCgiTest, OneApplicationAnswersAMixedSequenceAsFreshProcessesDo) {
  if (fastCgiMode()) GTEST_SKIP() << "the test runs both modes itself";
  std::vector<Step> steps = mixedSequence();
  ASSERT_GT(steps.size(), 700u);
  Run cgi = run(steps, false);
  Run fastCgi = run(steps, true);
  ASSERT_EQ(fastCgi.answers.size(), cgi.answers.size());
  for (size_t i = 0; i < steps.size(); ++i) {
    EXPECT_EQ(fastCgi.answers[i], cgi.answers[i])
        << steps[i].request.method << " " << steps[i].request.uri << " " << steps[i].request.body;
  }
  expectSameLines(fastCgi.calls, cgi.calls, "OpEN call");
  expectSameLines(fastCgi.log, cgi.log, "log line");
}

}  // namespace
