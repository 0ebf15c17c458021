// opensimctl: controls a running opensimd: faults, scripted answers, the
// call log and the switch state.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "open/wire.h"
#include "sim/control.h"
#include "open/raii.h"

namespace {

constexpr const char *kDefaultSocket = "/tmp/opensim.sock";
constexpr int kExitFailed = 1, kExitUsage = 2;

const char kUsage[] =
    "usage: opensimctl [--socket PATH] COMMAND ...\n"
    "commands:\n"
    "  reset                  default switch, no faults or stubs, empty call log\n"
    "  fault OP RC [COUNT]    the next COUNT calls of OP (every call without COUNT) answer RC\n"
    "  fault clear            removes every fault and stub\n"
    "  stub OP JSON [COUNT]   the next COUNT calls of OP answer JSON: {\"rc\": n, \"out\": [...]}\n"
    "  calls                  prints the call log\n"
    "  calls clear            empties the call log\n"
    "  dump                   prints the switch state\n"
    "  load FILE              replaces the switch state with FILE\n"
    "  save                   writes the daemon's --state file\n"
    "OP is an OpEN interface name such as openapiStatGet.\n";

int usage(const char *problem = nullptr) {
  if (problem != nullptr) fprintf(stderr, "opensimctl: %s\n", problem);
  fputs(kUsage, stderr);
  return kExitUsage;
}

// A value that is not what its command takes: the message says enough.
int badArgument(const std::string &message) {
  fprintf(stderr, "opensimctl: %s\n", message.c_str());
  return kExitUsage;
}

int failed(const std::string &message) {
  fprintf(stderr, "opensimctl: %s\n", message.c_str());
  return kExitFailed;
}

struct Connection {
  int fd = -1;
  ~Connection() {
    if (fd >= 0) close(fd);
  }
};

int connectDaemon(const std::string &path, Connection &connection, std::string &reason) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    reason = "socket path too long";
    return -1;
  }
  memcpy(address.sun_path, path.c_str(), path.size() + 1);
  connection.fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  timeval timeout{30, 0};
  if (connection.fd >= 0) setsockopt(connection.fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  if (connection.fd < 0 || connect(connection.fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
    reason = strerror(errno);
    return -1;
  }
  return 0;
}

bool exchange(int fd, const std::string &request, std::string &reply) {
  std::string line = request + "\n";
  for (size_t done = 0; done < line.size();) {
    ssize_t sent = send(fd, line.data() + done, line.size() - done, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    done += static_cast<size_t>(sent);
  }
  char chunk[65536];
  while (reply.find('\n') == std::string::npos) {
    ssize_t got = recv(fd, chunk, sizeof chunk, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    reply.append(chunk, static_cast<size_t>(got));
  }
  reply.resize(reply.find('\n'));
  return true;
}

// Sends one control request; on success the answer is handed to `answer`.
// A refusal is reported after `context` (such as the file being loaded).
int sendControl(const std::string &socketPath, cJSON *request, JsonPtr &answer, const std::string &context) {
  Connection connection;
  std::string reason, reply;
  if (connectDaemon(socketPath, connection, reason) != 0) {
    return failed("cannot reach opensimd at " + socketPath + ": " + reason);
  }
  CText text(wirePrintLine(request));  // numbers as written, not as their doubles
  if (!text || !exchange(connection.fd, text.get(), reply)) {
    return failed("opensimd at " + socketPath + " did not answer: " + (errno ? strerror(errno) : "connection closed"));
  }
  answer.reset(cJSON_ParseWithOpts(reply.c_str(), nullptr, 1));
  const cJSON *ok = cJSON_GetObjectItemCaseSensitive(answer.get(), "ok");
  if (cJSON_IsTrue(ok)) return 0;
  const cJSON *error = cJSON_GetObjectItemCaseSensitive(answer.get(), "error");
  return failed(cJSON_IsString(error) ? context + error->valuestring : "unexpected answer from opensimd: " + reply);
}

cJSON *controlRequest(const char *command) {
  cJSON *request = cJSON_CreateObject();
  cJSON_AddStringToObject(request, "ctl", command);
  return request;
}

// Adds "count" from an optional argument; a usage error when it is not a count.
int addCount(cJSON *request, const char *text) {
  if (text == nullptr) return 0;
  uint32_t count = 0;
  JsonPtr item(cJSON_CreateString(text));
  if (wireDecodeInt(OPEN_TYPE_U32, item.get(), &count) != 0) {
    return badArgument(std::string("COUNT must be an integer of at least 0, got \"") + text + "\"");
  }
  cJSON_AddNumberToObject(request, "count", count);
  return 0;
}

// The builders below fill `request` from a command line and return 0, or
// report the problem and return the exit status.
int faultRequest(int argc, char **argv, JsonPtr &request) {
  if (argc == 2 && strcmp(argv[1], "clear") == 0) {
    request.reset(controlRequest("faultClear"));
    return 0;
  }
  if (argc < 3 || argc > 4) return usage("fault needs OP RC [COUNT], or \"clear\"");
  request.reset(controlRequest("fault"));
  cJSON_AddStringToObject(request.get(), "op", argv[1]);
  int32_t rc = 0;
  JsonPtr rcText(cJSON_CreateString(argv[2]));
  if (wireDecodeInt(OPEN_TYPE_I32, rcText.get(), &rc) != 0) {
    return badArgument(std::string("RC must be a 32-bit integer, got \"") + argv[2] + "\"");
  }
  cJSON_AddNumberToObject(request.get(), "rc", rc);
  return addCount(request.get(), argc == 4 ? argv[3] : nullptr);
}

int stubRequest(int argc, char **argv, JsonPtr &request) {
  if (argc < 3 || argc > 4) return usage("stub needs OP JSON [COUNT]");
  request.reset(controlRequest("stub"));
  cJSON_AddStringToObject(request.get(), "op", argv[1]);
  cJSON *answer = wireParseJson(argv[2]);
  if (!cJSON_IsObject(answer)) {
    cJSON_Delete(answer);
    return badArgument("JSON must be an object like {\"rc\": 0, \"out\": [\"42\"]}");
  }
  cJSON_AddItemToObject(request.get(), "answer", answer);
  return addCount(request.get(), argc == 4 ? argv[3] : nullptr);
}

int loadRequest(int argc, char **argv, JsonPtr &request) {
  if (argc != 2) return usage("load needs FILE");
  std::string error;
  cJSON *state = readJsonFile(argv[1], error);
  if (state == nullptr) return failed(error);
  request.reset(controlRequest("load"));
  cJSON_AddItemToObject(request.get(), "state", state);
  return 0;
}

// Commands without arguments, and "calls clear".
int simpleRequest(int argc, char **argv, JsonPtr &request) {
  std::string command = argv[0];
  bool clear = argc == 2 && strcmp(argv[1], "clear") == 0;
  if (command == "calls" && (argc == 1 || clear)) {
    request.reset(controlRequest(clear ? "callsClear" : "calls"));
    return 0;
  }
  if ((command == "reset" || command == "dump" || command == "save") && argc == 1) {
    request.reset(controlRequest(command.c_str()));
    return 0;
  }
  return usage(("unknown command or wrong arguments: " + command).c_str());
}

int buildRequest(int argc, char **argv, JsonPtr &request) {
  if (strcmp(argv[0], "fault") == 0) return faultRequest(argc, argv, request);
  if (strcmp(argv[0], "stub") == 0) return stubRequest(argc, argv, request);
  if (strcmp(argv[0], "load") == 0) return loadRequest(argc, argv, request);
  return simpleRequest(argc, argv, request);
}

// Prints what a query answered; other commands print nothing.
void printResult(const cJSON *request, const cJSON *answer) {
  const char *command = cJSON_GetObjectItemCaseSensitive(request, "ctl")->valuestring;
  if (strcmp(command, "calls") == 0) {
    const cJSON *calls = cJSON_GetObjectItemCaseSensitive(answer, "calls");
    if (cJSON_IsString(calls)) fputs(calls->valuestring, stdout);
  } else if (strcmp(command, "dump") == 0) {
    CText text(cJSON_Print(cJSON_GetObjectItemCaseSensitive(answer, "state")));
    if (text) printf("%s\n", text.get());
  }
}

}  // namespace

int main(int argc, char **argv) {
  const char *env = getenv("OPEN_RPC_SOCKET");
  std::string socketPath = env != nullptr && *env != '\0' ? env : kDefaultSocket;
  int first = 1;
  if (argc > 2 && strcmp(argv[1], "--socket") == 0) {
    socketPath = argv[2];
    first = 3;
  }
  if (first >= argc) return usage();
  JsonPtr request;
  int status = buildRequest(argc - first, argv + first, request);
  if (status != 0) return status;
  JsonPtr answer;
  bool loading = strcmp(argv[first], "load") == 0;
  if (sendControl(socketPath, request.get(), answer, loading ? std::string(argv[first + 1]) + ": " : "") != 0) {
    return kExitFailed;
  }
  printResult(request.get(), answer.get());
  return fflush(stdout) == 0 ? 0 : kExitFailed;
}
