#include "tests/fuzz/in_process_program.h"

#include <cjson/cJSON.h>
#include <pthread.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "routes/families.h"
#include "tests/fuzz/file_guard.h"
#include "open/startup.h"
#include "open/raii.h"

void applyEnvironment(const CgiEnvironment &env) {
  for (const auto &variable : kCgiVariables) {
    const std::optional<std::string> &value = env.*variable.value;
    value ? setenv(variable.name, value->c_str(), 1) : unsetenv(variable.name);
  }
}

namespace {

struct BodyReader {
  const std::string &body;
  size_t at = 0;
};

int nextBodyByte(void *source) {
  auto *reader = static_cast<BodyReader *>(source);
  if (reader->at >= reader->body.size()) return EOF;
  return static_cast<unsigned char>(reader->body[reader->at++]);
}

const char *variable(const char *name) { return getenv(name); }

}  // namespace

std::string answerBytes(const Answer &answer) {
  std::string bytes;
  answer.writeTo([&bytes](const char *text, size_t length) { bytes.append(text, length); });
  return bytes;
}

std::string captureRequest(httpdTable *table, const std::string &body, bool &running) {
  BodyReader reader{body};
  Request::Fields fields{variable("REQUEST_METHOD"), variable("REQUEST_URI"),  variable("QUERY_STRING"),
                         variable("CONTENT_LENGTH"), variable("HTTP_SESSION"), variable("HTTP_REFRESH")};
  running = true;
  std::string answer;
  {
    Request request(fields, nextBodyByte, &reader);
    answer = answerBytes(httpdProcessRequest(table, request));
  }
  running = false;
  return answer;
}

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
  if (!serve(socket, error)) return false;
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

// Serves from a detached thread until the process ends.
bool InProcessProgram::serve(const std::string &socketPath, std::string &error) {
  if (server_.listenOn(socketPath, error) != 0) return false;
  pthread_t thread;
  auto run = [](void *server) -> void * {
    static_cast<SimServer *>(server)->run();
    return nullptr;
  };
  if (pthread_create(&thread, nullptr, run, &server_) != 0) {
    error = "cannot start the simulator's thread";
    return false;
  }
  pthread_detach(thread);
  return true;
}

void InProcessProgram::reset() {
  dispatcher_.clearScripts();
  dispatcher_.withSwitch([](SimDevice &sw) { sw.resetToDefault(); });
  dispatcher_.clearCallLog();
}

void InProcessProgram::script(const std::string &lines, size_t maxLines) {
  size_t start = 0;
  for (size_t count = 0; count < maxLines && start < lines.size(); ++count) {
    size_t end = lines.find('\n', start);
    if (end == std::string::npos) end = lines.size();
    std::string line = lines.substr(start, end - start);
    if (!callsFileWriter(line)) server_.answer(line);
    start = end + 1;
  }
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
