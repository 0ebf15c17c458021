#include "tests/e2e/harness.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <cjson/cJSON.h>

namespace {

namespace fs = std::filesystem;

const std::string kBin = BIN_DIR;

// How long one CGI or opensimctl run may take: the OpEN-down cases retry for
// about 18 s, longer under an emulator; past it the process is killed.
constexpr int kProcessLimitMs = 90000;
// How long opensimd may take to save its state and exit after SIGTERM.
constexpr int kDaemonStopLimitMs = 15000;
// Exit status of a process a sanitizer stopped, apart from the program's own.
constexpr int kSanitizerExit = 86;

// Waits for a child at most limitMs, then kills it. False when it was killed.
bool waitBounded(pid_t pid, int &status, int limitMs) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMs);
  while (std::chrono::steady_clock::now() < deadline) {
    if (waitpid(pid, &status, WNOHANG) == pid) return true;
    usleep(1000);
  }
  kill(pid, SIGKILL);
  waitpid(pid, &status, 0);
  return false;
}

std::string slurp(const std::string &path) {
  std::ostringstream data;
  data << std::ifstream(path).rdbuf();
  return data.str();
}

// The CGI under test: the one built beside these tests, or MONITORING_CGI (a cross build), started
// through the command in MONITORING_CGI_RUNNER (an emulator) when that is set.
std::vector<std::string> cgiCommand() {
  const char *runner = getenv("MONITORING_CGI_RUNNER"), *cgi = getenv("MONITORING_CGI");
  std::vector<std::string> argv;
  std::istringstream words(runner != nullptr ? runner : "");
  for (std::string word; words >> word;) argv.push_back(word);
  argv.push_back(cgi != nullptr && *cgi != '\0' ? cgi : kBin + "/monitoring_v2.cgi");
  return argv;
}

// Sanitizer reports of every spawned process land in the sandbox, where TearDown finds them, not in
// the program's stderr. Options that the tests were started with come first, so that these win.
std::vector<std::string> sanitizerEnv(const std::string &reports) {
  std::string ours = "log_path=" + reports + "/report:exitcode=" + std::to_string(kSanitizerExit);
  std::vector<std::string> env;
  for (const char *name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
    const char *given = getenv(name);
    env.push_back(std::string(name) + "=" + (given != nullptr && *given != '\0' ? given + std::string(":") : "") + ours);
  }
  return env;
}

// Starts argv with exactly env, its standard streams on these files.
pid_t spawn(const std::vector<std::string> &argv, const std::vector<std::string> &env, const std::string &in,
            const std::string &out, const std::string &err, int errMode) {
  std::vector<char *> args, envp;
  for (const std::string &a : argv) args.push_back(const_cast<char *>(a.c_str()));
  for (const std::string &e : env) envp.push_back(const_cast<char *>(e.c_str()));
  args.push_back(nullptr);
  envp.push_back(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    dup2(open(in.c_str(), O_RDONLY), 0);
    dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
    dup2(open(err.c_str(), O_WRONLY | O_CREAT | errMode, 0600), 2);
    // Searched on the tests' PATH: a runner may be named without its directory.
    execvpe(args[0], args.data(), envp.data());
    _exit(127);
  }
  return pid;
}

// Runs argv, feeding `input`; waits and collects everything.
ProcessResult runProcess(const std::vector<std::string> &argv, const std::vector<std::string> &env,
                         const std::string &input, const std::string &scratch) {
  std::ofstream(scratch + "/stdin") << input;
  pid_t pid = spawn(argv, env, scratch + "/stdin", scratch + "/stdout", scratch + "/stderr", O_TRUNC);
  std::string command;
  for (const std::string &word : argv) command += word + " ";
  int status = 0;
  if (!waitBounded(pid, status, kProcessLimitMs)) {
    ADD_FAILURE() << command << "ran longer than " << kProcessLimitMs / 1000 << " s and was killed";
  }
  ProcessResult result{slurp(scratch + "/stdout"), slurp(scratch + "/stderr"),
                       WIFEXITED(status) ? WEXITSTATUS(status) : -1};
  if (result.status == kSanitizerExit) ADD_FAILURE() << command << "was stopped by a sanitizer:\n" << result.err;
  return result;
}

// A Unix socket listening at `path`, as a web server makes for a FastCGI application.
int listenAt(const std::string &path) {
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
  if (bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 || listen(fd, 16) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

bool socketAnswers(const std::string &path) {
  int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
  bool ok = connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
  close(fd);
  return ok;
}

}  // namespace

bool fastCgiMode() {
  const char *frontEnd = getenv("MONITORING_FRONTEND");
  return frontEnd != nullptr && std::string(frontEnd) == "fastcgi";
}

std::string reply(int code, const std::string &message, const std::string &dataKey, const std::string &dataJson) {
  cJSON *root = cJSON_CreateObject();
  if (!dataKey.empty()) cJSON_AddItemToObject(root, dataKey.c_str(), cJSON_Parse(dataJson.c_str()));
  cJSON *resp = cJSON_AddObjectToObject(root, "resp");
  cJSON_AddNumberToObject(resp, "respCode", code);
  cJSON_AddStringToObject(resp, "respMsg", message.c_str());
  cJSON_AddStringToObject(resp, "status", code == 0 ? "success" : "fail");
  char *text = cJSON_Print(root);
  std::string result = "Content-Type: application/json\r\n\r\n" + std::string(text);
  free(text);
  cJSON_Delete(root);
  return result;
}

void SwitchTest::SetUp() {
  char pattern[] = "/tmp/mon-e2e-XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  root_ = pattern;
  for (const char *dir : {"/tmp/session", "/mnt/application/vexo/tmp", "/scratch", "/sanitizer"}) {
    fs::create_directories(root_ + dir);
  }
  socket_ = root_ + "/opensim.sock";
  startDaemon();
  adminSession_ = login("admin", "");
}

void SwitchTest::startDaemon(const std::vector<std::string> &options) {
  std::vector<std::string> env = sanitizerEnv(root_ + "/sanitizer");
  for (char **e = environ; *e != nullptr; ++e) {
    std::string var = *e;
    if (!var.substr(0, var.find('=')).ends_with("SAN_OPTIONS")) env.push_back(var);
  }
  // Appended to, so that the log of a daemon restarted within a test keeps the first one's.
  std::vector<std::string> argv = {kBin + "/opensimd", "--socket", socket_, "--state", root_ + "/switch-state.json"};
  argv.insert(argv.end(), options.begin(), options.end());
  daemonPid_ = spawn(argv, env, "/dev/null", "/dev/null", root_ + "/opensimd.stderr", O_APPEND);
  for (int i = 0; i < 500 && !socketAnswers(socket_); ++i) usleep(10000);
  ASSERT_TRUE(socketAnswers(socket_)) << "opensimd did not come up:\n" << readFile("/opensimd.stderr");
}

void SwitchTest::stopDaemon() {
  if (daemonPid_ <= 0) return;
  kill(daemonPid_, SIGTERM);
  int status = 0;
  bool stopped = waitBounded(daemonPid_, status, kDaemonStopLimitMs);
  daemonPid_ = -1;
  if (!stopped) ADD_FAILURE() << "opensimd did not stop within " << kDaemonStopLimitMs / 1000 << " s of SIGTERM";
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    ADD_FAILURE() << "opensimd ended with wait status " << status << ":\n" << readFile("/opensimd.stderr");
  }
}

// A process may have answered correctly all the same: every report a
// sanitizer wrote for a process of this test fails it.
void SwitchTest::TearDown() {
  stopApplications();
  stopDaemon();
  std::error_code none;  // no sandbox when SetUp failed
  for (const fs::directory_entry &report : fs::directory_iterator(root_ + "/sanitizer", none)) {
    ADD_FAILURE() << "sanitizer report " << report.path().filename() << ":\n" << slurp(report.path());
  }
  if (!HasFailure() && !root_.empty()) fs::remove_all(root_);
}

std::string SwitchTest::login(const std::string &user, const std::string &privilege, long age) {
  static int counter = 0;
  std::string id = "s" + std::to_string(getpid()) + "x" + std::to_string(++counter);
  timespec uptime{};
  clock_gettime(CLOCK_BOOTTIME, &uptime);
  std::ofstream(root_ + "/tmp/session/" + id)
      << user << "\n" << uptime.tv_sec - age << "\n" << (user != "admin" ? privilege + "\n" : "");
  return id;
}

ProcessResult SwitchTest::cgi(const CgiRequest &request) {
  size_t query = request.uri.find('?');
  std::vector<std::string> params = {"REQUEST_URI=" + request.uri,
                                     "QUERY_STRING=" + (query == std::string::npos ? "" : request.uri.substr(query + 1))};
  if (!request.method.empty()) params.push_back("REQUEST_METHOD=" + request.method);
  if (request.session) params.push_back(std::string("HTTP_SESSION=") + request.session);
  if (request.refresh) params.push_back(std::string("HTTP_REFRESH=") + request.refresh);
  if (request.method == "POST" || request.method == "PUT") {
    params.push_back("CONTENT_LENGTH=" + std::to_string(request.body.size()));
  }
  if (fastCgi_) return fastCgi(request, params);
  std::vector<std::string> env = {"MONITORING_ROOT=" + (request.root.empty() ? root_ : request.root),
                                  "OPEN_RPC_SOCKET=" + (request.socket.empty() ? socket_ : request.socket)};
  env.insert(env.end(), params.begin(), params.end());
  for (const std::string &e : sanitizerEnv(root_ + "/sanitizer")) env.push_back(e);
  return runProcess(cgiCommand(), env, request.body, root_ + "/scratch");
}

// The application listens on a socket the harness made, as lighttpd's
// bin-path starts one: the socket on its standard input.
const SwitchTest::Application &SwitchTest::applicationFor(const std::string &root, const std::string &socket) {
  for (const Application &app : applications_) {
    if (app.root == root && app.socket == socket) return app;
  }
  Application app{root, socket, root_ + "/app" + std::to_string(applications_.size()) + ".sock"};
  int listener = listenAt(app.listenPath);
  std::vector<std::string> env = {"MONITORING_ROOT=" + root, "OPEN_RPC_SOCKET=" + socket};
  for (const std::string &e : sanitizerEnv(root_ + "/sanitizer")) env.push_back(e);
  std::vector<std::string> argv = cgiCommand();
  std::vector<char *> args, envp;
  for (const std::string &a : argv) args.push_back(const_cast<char *>(a.c_str()));
  for (const std::string &e : env) envp.push_back(const_cast<char *>(e.c_str()));
  args.push_back(nullptr);
  envp.push_back(nullptr);
  std::string err = root_ + "/app.stderr";
  app.pid = fork();
  if (app.pid == 0) {
    dup2(listener, 0);
    dup2(open("/dev/null", O_WRONLY), 1);
    dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), 2);
    execvpe(args[0], args.data(), envp.data());
    _exit(127);
  }
  close(listener);
  applications_.push_back(app);
  return applications_.back();
}

// One request through cgi-fcgi, which passes its environment on as the
// request's parameters and its standard input as the body.
ProcessResult SwitchTest::fastCgi(const CgiRequest &request, const std::vector<std::string> &params) {
  const Application &app = applicationFor(request.root.empty() ? root_ : request.root,
                                          request.socket.empty() ? socket_ : request.socket);
  return runProcess({"cgi-fcgi", "-bind", "-connect", app.listenPath}, params, request.body, root_ + "/scratch");
}

// SIGTERM, as the web server stops its applications: each must finish and
// exit 0, its leaks reported by LeakSanitizer as it exits.
void SwitchTest::stopApplications() {
  for (Application &app : applications_) {
    if (app.pid <= 0) continue;
    kill(app.pid, SIGTERM);
    int status = 0;
    bool stopped = waitBounded(app.pid, status, kDaemonStopLimitMs);
    if (!stopped) ADD_FAILURE() << "the FastCGI application did not stop within " << kDaemonStopLimitMs / 1000 << " s";
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      ADD_FAILURE() << "the FastCGI application ended with wait status " << status << ":\n" << readFile("/app.stderr");
    }
    app.pid = -1;
  }
  applications_.clear();
}

ProcessResult SwitchTest::call(const std::string &method, const std::string &uri, const std::string &body) {
  return cgi({.method = method, .uri = uri, .body = body, .session = adminSession_.c_str()});
}

ProcessResult SwitchTest::script(const std::string &name, const std::vector<std::string> &args) {
  std::vector<std::string> argv = {std::string(SOURCE_DIR) + "/scripts/" + name};
  argv.insert(argv.end(), args.begin(), args.end());
  return runProcess(argv, {"PATH=/usr/local/bin:/usr/bin:/bin"}, "", root_ + "/scratch");
}

std::string SwitchTest::ctlOk(const std::vector<std::string> &args) {
  std::vector<std::string> argv = {kBin + "/opensimctl", "--socket", socket_};
  argv.insert(argv.end(), args.begin(), args.end());
  ProcessResult result = runProcess(argv, sanitizerEnv(root_ + "/sanitizer"), "", root_ + "/scratch");
  EXPECT_EQ(result.status, 0) << result.err;
  return result.out;
}

std::vector<std::string> SwitchTest::calls() {
  std::vector<std::string> lines;
  std::istringstream log(ctlOk({"calls"}));
  for (std::string line; std::getline(log, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> SwitchTest::callsOf(const std::string &op) {
  std::vector<std::string> lines = calls();
  std::erase_if(lines, [&](const std::string &l) { return l.find("\"op\":\"" + op + "\"") == std::string::npos; });
  return lines;
}

std::string SwitchTest::readFile(const std::string &relative) { return slurp(root_ + relative); }

void SwitchTest::expectRoutes(const std::string &dir, const std::string &dataKey, const std::vector<RouteCase> &cases) {
  for (const RouteCase &c : cases) {
    SCOPED_TRACE(std::string(c.method) + " " + c.uri);
    ctlOk({"reset"});
    ctlOk({"stub", c.op, R"({"rc":0,"out":)" + c.out + "}"});
    EXPECT_EQ(call(c.method, dir + "/" + c.uri, c.body).out,
              c.data.empty() ? reply(0, "Success") + "\n" : reply(0, "Success", dataKey, c.data));
    std::vector<std::string> logged = callsOf(c.op);
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0], R"({"op":")" + std::string(c.op) + R"(","in":)" + c.in + R"(,"rc":0})");
  }
}
