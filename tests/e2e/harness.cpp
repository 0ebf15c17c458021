#include "tests/e2e/harness.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <cjson/cJSON.h>

namespace {

const std::string kBin = BIN_DIR;

std::string readAll(int fd) {
  std::string data;
  char chunk[4096];
  ssize_t got;
  while ((got = read(fd, chunk, sizeof chunk)) > 0 || (got < 0 && errno == EINTR)) {
    if (got > 0) data.append(chunk, static_cast<size_t>(got));
  }
  return data;
}

std::string tempFile(const std::string &root, const char *name) { return root + "/" + name; }

// Runs argv with env additions, feeding `input`; waits and collects everything.
ProcessResult runProcess(const std::vector<std::string> &argv, const std::vector<std::string> &env,
                         const std::string &input, const std::string &scratch) {
  std::string inPath = tempFile(scratch, "stdin"), outPath = tempFile(scratch, "stdout"),
              errPath = tempFile(scratch, "stderr");
  FILE *in = fopen(inPath.c_str(), "w");
  fwrite(input.data(), 1, input.size(), in);
  fclose(in);
  pid_t pid = fork();
  if (pid == 0) {
    int inFd = open(inPath.c_str(), O_RDONLY), outFd = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600),
        errFd = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(inFd, 0);
    dup2(outFd, 1);
    dup2(errFd, 2);
    std::vector<char *> args, envp;
    for (const std::string &a : argv) args.push_back(const_cast<char *>(a.c_str()));
    args.push_back(nullptr);
    for (const std::string &e : env) envp.push_back(const_cast<char *>(e.c_str()));
    envp.push_back(nullptr);
    execve(args[0], args.data(), envp.data());
    _exit(127);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  ProcessResult result;
  int outFd = open(outPath.c_str(), O_RDONLY), errFd = open(errPath.c_str(), O_RDONLY);
  result.out = readAll(outFd);
  result.err = readAll(errFd);
  close(outFd);
  close(errFd);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
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

void makeDirs(const std::string &path) {
  for (size_t at = 1; (at = path.find('/', at)) != std::string::npos; ++at) mkdir(path.substr(0, at).c_str(), 0755);
  mkdir(path.c_str(), 0755);
}

std::string queryOf(const std::string &uri) {
  size_t at = uri.find('?');
  return at == std::string::npos ? "" : uri.substr(at + 1);
}

}  // namespace

const std::string kJsonHeader = "Content-Type: application/json\r\n\r\n";

long systemUptime() {
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  return now.tv_sec;
}

std::string envelope(int code, const std::string &message, const std::string &dataKey,
                     const std::string &dataJson) {
  cJSON *root = cJSON_CreateObject();
  if (!dataKey.empty()) cJSON_AddItemToObject(root, dataKey.c_str(), cJSON_Parse(dataJson.c_str()));
  cJSON *resp = cJSON_AddObjectToObject(root, "resp");
  cJSON_AddNumberToObject(resp, "respCode", code);
  cJSON_AddStringToObject(resp, "respMsg", message.c_str());
  cJSON_AddStringToObject(resp, "status", code == 0 ? "success" : "fail");
  char *text = cJSON_Print(root);
  std::string result = text;
  free(text);
  cJSON_Delete(root);
  return result;
}

void SwitchTest::SetUp() {
  char pattern[] = "/tmp/mon-e2e-XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  root_ = pattern;
  makeDirs(root_ + "/tmp/session");
  makeDirs(root_ + "/mnt/application/vexo/tmp");
  makeDirs(root_ + "/scratch");
  socket_ = root_ + "/opensim.sock";
  startDaemon();
  adminSession_ = login("admin", "");
}

void SwitchTest::startDaemon() {
  pid_t pid = fork();
  if (pid == 0) {
    int devnull = open("/dev/null", O_WRONLY);
    dup2(devnull, 2);
    std::string bin = kBin + "/opensimd";
    std::string state = root_ + "/switch-state.json";
    execl(bin.c_str(), bin.c_str(), "--socket", socket_.c_str(), "--state", state.c_str(), static_cast<char *>(nullptr));
    _exit(127);
  }
  daemonPid_ = pid;
  for (int i = 0; i < 500 && !socketAnswers(socket_); ++i) usleep(10000);
  ASSERT_TRUE(socketAnswers(socket_)) << "opensimd did not come up";
}

void SwitchTest::stopDaemon() {
  if (daemonPid_ <= 0) return;
  kill(daemonPid_, SIGTERM);
  waitpid(daemonPid_, nullptr, 0);
  daemonPid_ = -1;
}

void SwitchTest::TearDown() {
  stopDaemon();
  if (!HasFailure() && !root_.empty()) {
    std::string command = "rm -rf '" + root_ + "'";
    if (system(command.c_str()) != 0) ADD_FAILURE() << "could not remove " << root_;
  }
}

std::string SwitchTest::login(const std::string &user, const std::string &privilege, std::optional<long> stamp) {
  static int counter = 0;
  std::string id = "s" + std::to_string(getpid()) + "x" + std::to_string(++counter);
  std::string content = user + "\n" + std::to_string(stamp.value_or(systemUptime())) + "\n";
  if (user != "admin") content += privilege + "\n";
  FILE *file = fopen((root_ + "/tmp/session/" + id).c_str(), "w");
  fputs(content.c_str(), file);
  fclose(file);
  return id;
}

ProcessResult SwitchTest::cgi(const CgiRequest &request) {
  std::vector<std::string> env = {"MONITORING_ROOT=" + (request.root.empty() ? root_ : request.root),
                                  "OPEN_RPC_SOCKET=" + (request.socket.empty() ? socket_ : request.socket),
                                  "REQUEST_URI=" + request.uri, "QUERY_STRING=" + queryOf(request.uri)};
  if (!request.method.empty()) env.push_back("REQUEST_METHOD=" + request.method);
  if (request.session) env.push_back(std::string("HTTP_SESSION=") + request.session);
  if (request.refresh) env.push_back(std::string("HTTP_REFRESH=") + request.refresh);
  if (request.contentLength) {
    env.push_back(std::string("CONTENT_LENGTH=") + request.contentLength);
  } else if (request.method == "POST" || request.method == "PUT") {
    env.push_back("CONTENT_LENGTH=" + std::to_string(request.body.size()));
  }
  return runProcess({kBin + "/monitoring_v2.cgi"}, env, request.body, root_ + "/scratch");
}

ProcessResult SwitchTest::cgiAs(const char *session, const std::string &method, const std::string &uri) {
  CgiRequest request;
  request.method = method;
  request.uri = uri;
  request.session = session;
  return cgi(request);
}

ProcessResult SwitchTest::call(const std::string &method, const std::string &uri, const std::string &body) {
  CgiRequest request;
  request.method = method;
  request.uri = uri;
  request.body = body;
  request.session = adminSession_.c_str();
  return cgi(request);
}

ProcessResult SwitchTest::ctl(const std::vector<std::string> &args) {
  std::vector<std::string> argv = {kBin + "/opensimctl", "--socket", socket_};
  argv.insert(argv.end(), args.begin(), args.end());
  return runProcess(argv, {}, "", root_ + "/scratch");
}

void SwitchTest::ctlOk(const std::vector<std::string> &args) {
  ProcessResult result = ctl(args);
  ASSERT_EQ(result.status, 0) << result.err;
}

std::vector<std::string> SwitchTest::calls() {
  ProcessResult result = ctl({"calls"});
  std::vector<std::string> lines;
  size_t start = 0, end;
  while ((end = result.out.find('\n', start)) != std::string::npos) {
    lines.push_back(result.out.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

std::vector<std::string> SwitchTest::callsOf(const std::string &op) {
  std::vector<std::string> selected;
  for (const std::string &line : calls()) {
    if (line.find("\"op\":\"" + op + "\"") != std::string::npos) selected.push_back(line);
  }
  return selected;
}

std::string SwitchTest::readFile(const std::string &relative) {
  FILE *file = fopen((root_ + relative).c_str(), "r");
  if (file == nullptr) return "";
  std::string data;
  char chunk[4096];
  size_t got;
  while ((got = fread(chunk, 1, sizeof chunk, file)) > 0) data.append(chunk, got);
  fclose(file);
  return data;
}

void SwitchTest::expectRoutes(const std::string &dir, const std::string &dataKey, const std::vector<RouteCase> &cases) {
  for (const RouteCase &c : cases) {
    SCOPED_TRACE(std::string(c.method) + " " + c.uri);
    ctlOk({"reset"});
    ctlOk({"stub", c.op, R"({"rc":0,"out":)" + c.out + "}"});
    ProcessResult result = call(c.method, dir + "/" + c.uri, c.body);
    std::string expected = kJsonHeader + envelope(0, "Success", c.data.empty() ? "" : dataKey, c.data);
    EXPECT_EQ(result.out, expected + (c.newline ? "\n" : ""));
    std::vector<std::string> logged = callsOf(c.op);
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0], R"({"op":")" + std::string(c.op) + R"(","in":)" + c.in + R"(,"rc":0})");
  }
}
