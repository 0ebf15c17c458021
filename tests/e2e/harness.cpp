#include "tests/e2e/harness.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
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

// How long one CGI or opensimctl run may take: the OpEN-down cases retry for
// about 18 s, longer under an emulator; past it the process is killed.
constexpr int kProcessLimitMs = 90000;
// How long opensimd may take to save its state and exit after SIGTERM.
constexpr int kDaemonStopLimitMs = 15000;
// Exit status of a process a sanitizer stopped, apart from the program's own.
constexpr int kSanitizerExit = 86;

// Waits for a child at most limitMs, then kills it. False when it was killed.
bool waitBounded(pid_t pid, int &status, int limitMs) {
  bool ended = false;
  // Through syscall(): glibc 2.36's header declares pidfd_open without C linkage.
  int fd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
  if (fd >= 0) {
    pollfd ready{fd, POLLIN, 0};
    int rc;
    while ((rc = poll(&ready, 1, limitMs)) < 0 && errno == EINTR) {
    }
    close(fd);
    ended = rc > 0;
  } else {
    for (int waited = 0; waited < limitMs && !ended; ++waited) {
      if (waitpid(pid, &status, WNOHANG) == pid) return true;
      usleep(1000);
    }
  }
  if (!ended) kill(pid, SIGKILL);
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return ended;
}

std::vector<std::string> wordsOf(const char *text) {
  std::vector<std::string> words;
  std::string word;
  for (const char *c = text; c != nullptr && *c != '\0'; ++c) {
    if (*c != ' ') {
      word += *c;
    } else if (!word.empty()) {
      words.push_back(word);
      word.clear();
    }
  }
  if (!word.empty()) words.push_back(word);
  return words;
}

// The CGI under test: the one built beside these tests, or the program that
// MONITORING_CGI names (a cross build), started through the command in
// MONITORING_CGI_RUNNER (an emulator) when that is set.
std::vector<std::string> cgiCommand() {
  std::vector<std::string> argv = wordsOf(getenv("MONITORING_CGI_RUNNER"));
  const char *cgi = getenv("MONITORING_CGI");
  argv.push_back(cgi != nullptr && *cgi != '\0' ? cgi : kBin + "/monitoring_v2.cgi");
  return argv;
}

// Sanitizer reports of every spawned process land in the sandbox, where
// TearDown finds them; stderr stays the program's own. Options that the
// tests were started with come first, so that these win.
std::vector<std::string> sanitizerEnv(const std::string &reports) {
  std::string ours = "log_path=" + reports + "/report:exitcode=" + std::to_string(kSanitizerExit);
  std::vector<std::string> env;
  for (const char *name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
    const char *given = getenv(name);
    env.push_back(std::string(name) + "=" + (given != nullptr && *given != '\0' ? given + std::string(":") : "") + ours);
  }
  return env;
}

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

std::string commandLine(const std::vector<std::string> &argv) {
  std::string line;
  for (const std::string &word : argv) line += (line.empty() ? "" : " ") + word;
  return line;
}

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
    // Searched on the tests' PATH: a runner may be named without its directory.
    execvpe(args[0], args.data(), envp.data());
    _exit(127);
  }
  int status = 0;
  if (!waitBounded(pid, status, kProcessLimitMs)) {
    ADD_FAILURE() << commandLine(argv) << " ran longer than " << kProcessLimitMs / 1000 << " s and was killed";
  }
  ProcessResult result;
  int outFd = open(outPath.c_str(), O_RDONLY), errFd = open(errPath.c_str(), O_RDONLY);
  result.out = readAll(outFd);
  result.err = readAll(errFd);
  close(outFd);
  close(errFd);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  if (result.status == kSanitizerExit) ADD_FAILURE() << commandLine(argv) << " was stopped by a sanitizer:\n" << result.err;
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
  makeDirs(root_ + "/sanitizer");
  socket_ = root_ + "/opensim.sock";
  startDaemon();
  adminSession_ = login("admin", "");
}

void SwitchTest::startDaemon() {
  std::string bin = kBin + "/opensimd", state = root_ + "/switch-state.json", log = root_ + "/opensimd.stderr";
  std::vector<std::string> env = sanitizerEnv(root_ + "/sanitizer");
  for (char **e = environ; *e != nullptr; ++e) {
    if (strncmp(*e, "ASAN_OPTIONS=", 13) != 0 && strncmp(*e, "UBSAN_OPTIONS=", 14) != 0 &&
        strncmp(*e, "LSAN_OPTIONS=", 13) != 0) {
      env.push_back(*e);
    }
  }
  std::vector<char *> envp;
  for (std::string &e : env) envp.push_back(e.data());
  envp.push_back(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    // Appended to, so that the log of a daemon restarted within a test keeps the first one's.
    int err = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    dup2(err, 2);
    const char *argv[] = {bin.c_str(), "--socket", socket_.c_str(), "--state", state.c_str(), nullptr};
    execve(bin.c_str(), const_cast<char **>(argv), envp.data());
    _exit(127);
  }
  daemonPid_ = pid;
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

// Every report that a sanitizer wrote for a process this test started: the
// process may have answered correctly all the same.
void SwitchTest::expectNoSanitizerReports() {
  std::string dir = root_ + "/sanitizer";
  DIR *reports = opendir(dir.c_str());
  if (reports == nullptr) return;
  while (const dirent *entry = readdir(reports)) {
    if (entry->d_name[0] == '.') continue;
    ADD_FAILURE() << "sanitizer report " << entry->d_name << ":\n" << readFile("/sanitizer/" + std::string(entry->d_name));
  }
  closedir(reports);
}

void SwitchTest::TearDown() {
  stopDaemon();
  expectNoSanitizerReports();
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
  for (const std::string &e : sanitizerEnv(root_ + "/sanitizer")) env.push_back(e);
  if (request.contentLength) {
    env.push_back(std::string("CONTENT_LENGTH=") + request.contentLength);
  } else if (request.method == "POST" || request.method == "PUT") {
    env.push_back("CONTENT_LENGTH=" + std::to_string(request.body.size()));
  }
  return runProcess(cgiCommand(), env, request.body, root_ + "/scratch");
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
  return runProcess(argv, sanitizerEnv(root_ + "/sanitizer"), "", root_ + "/scratch");
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
