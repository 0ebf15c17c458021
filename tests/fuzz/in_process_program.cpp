#include "tests/fuzz/in_process_program.h"

#include <cjson/cJSON.h>

#include <cstdio>
#include <cstdlib>

#include "log/log.h"
#include "routes/families.h"
#include "tests/fuzz/cgi_run.h"
#include "tools/common.h"
#include "tools/raii.h"

namespace routetest {

namespace {

const std::string kJsonHeader = "Content-Type: application/json\r\n\r\n";
constexpr int kLogFacilityUser = 8;

InProcessProgram *running = nullptr;

}  // namespace

void InProcessProgram::removeAtExit() {
  if (running != nullptr) running->sandbox_.remove();
}

InProcessProgram &InProcessProgram::get() {
  if (running == nullptr) {
    // Never freed: the switch's threads serve from it until the process ends.
    running = new InProcessProgram;
    std::string error;
    if (!running->start(error)) {
      fprintf(stderr, "cannot start the program in this process: %s\n", error.c_str());
      abort();
    }
  }
  return *running;
}

bool InProcessProgram::start(std::string &error) {
  if (!sandbox_.create("in-process", error)) return false;
  atexit(removeAtExit);
  std::string socket = sandbox_.path("/opensim.sock");
  setenv("MONITORING_ROOT", sandbox_.root().c_str(), 1);
  setenv("OPEN_RPC_SOCKET", socket.c_str(), 1);
  if (!sim_.start(socket, error)) return false;
  logInit(LOG_MODE_FILE, kLogFacilityUser, "vexo_cgi");
  if (initHandler("monitoring_v2.cgi", &clientHandle) != 0) {
    error = "the OpEN client cannot reach the simulated switch";
    return false;
  }
  table_ = httpdCreateTable();
  if (table_ == nullptr) {
    error = "no route table";
    return false;
  }
  registerAllRoutes(table_);
  return true;
}

Answer InProcessProgram::request(const std::string &method, const std::string &path, const std::string &query,
                                 const std::string &body) {
  sandbox_.writeSessions();
  CgiEnvironment env;
  env.method = method;
  env.uri = path + (query.empty() ? "" : "?" + query);
  env.query = query;
  env.contentLength = std::to_string(body.size());
  env.session = FuzzSandbox::kAdminSession;
  applyEnvironment(env);
  bool inRequest = false;
  Answer answer;
  answer.raw = captureRequest(table_, body, inRequest);
  answer.jsonHeader = answer.raw.compare(0, kJsonHeader.size(), kJsonHeader) == 0;
  answer.newline = !answer.raw.empty() && answer.raw.back() == '\n';
  JsonPtr json(answer.jsonHeader ? cJSON_Parse(answer.raw.c_str() + kJsonHeader.size()) : nullptr);
  if (json) answer.json = CText(cJSON_PrintUnformatted(json.get())).get();
  return answer;
}

std::vector<std::string> InProcessProgram::callsOf(const std::string &op) {
  std::vector<std::string> lines;
  std::string log = dispatcher().callLogLines();
  std::string marker = "\"op\":\"" + op + "\"";
  for (size_t start = 0, end; (end = log.find('\n', start)) != std::string::npos; start = end + 1) {
    std::string line = log.substr(start, end - start);
    if (op.empty() || line.find(marker) != std::string::npos) lines.push_back(line);
  }
  return lines;
}

}  // namespace routetest
