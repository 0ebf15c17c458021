// Our OpEN client: every operation of open_ops.def becomes a stub that sends
// one JSON line over a Unix stream socket and reads one JSON line back.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "open/openapi.h"
#include "open/opdesc.h"
#include "open/wire.h"

namespace {

constexpr const char *kDefaultSocket = "/tmp/opensim.sock";
constexpr int kReplyTimeoutSecs = 30;

struct JsonDelete {
  void operator()(cJSON *json) const { cJSON_Delete(json); }
};
struct FreeText {
  void operator()(char *text) const { free(text); }
};
using Json = std::unique_ptr<cJSON, JsonDelete>;
using Text = std::unique_ptr<char, FreeText>;

int connectServer() {
  const char *path = getenv("OPEN_RPC_SOCKET");
  if (path == nullptr || *path == '\0') path = kDefaultSocket;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (strlen(path) >= sizeof address.sun_path) return -1;
  strcpy(address.sun_path, path);
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  // A hung server must not hold the web server's CGI slot for ever.
  timeval timeout{kReplyTimeoutSecs, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  if (connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

bool sendAll(int fd, const char *data, size_t length) {
  while (length > 0) {
    ssize_t sent = send(fd, data, length, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    data += sent;
    length -= static_cast<size_t>(sent);
  }
  return true;
}

// Reads one answer line; the caller frees it. NULL when the connection failed.
char *receiveLine(int fd) {
  size_t capacity = 4096, length = 0;
  char *line = static_cast<char *>(malloc(capacity));
  while (line != nullptr) {
    if (length + 1 == capacity) {
      char *grown = static_cast<char *>(realloc(line, capacity * 2));
      if (grown == nullptr) break;
      line = grown;
      capacity *= 2;
    }
    ssize_t got = recv(fd, line + length, capacity - 1 - length, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    char *newline = static_cast<char *>(memchr(line + length, '\n', static_cast<size_t>(got)));
    length += static_cast<size_t>(got);
    if (newline != nullptr) {
      *newline = '\0';
      return line;
    }
  }
  free(line);
  return nullptr;
}

void *argObject(const OpenArgDesc &arg, void *argAddress) {
  return openArgByValue(arg) ? argAddress : *static_cast<void **>(argAddress);
}

char *encodeRequest(const OpenOpDesc &op, void *const argv[]) {
  Json request(cJSON_CreateObject());
  cJSON_AddStringToObject(request.get(), "op", op.name);
  cJSON *args = cJSON_AddArrayToObject(request.get(), "args");
  for (uint8_t i = 0; i < op.argCount; ++i) {
    void *obj = argObject(op.args[i], argv[i]);
    if (obj == nullptr) return nullptr;
    cJSON_AddItemToArray(args, wireEncodeRequestArg(op.args[i], obj));
  }
  return cJSON_PrintUnformatted(request.get());
}

open_error_t decodeReply(const OpenOpDesc &op, void *const argv[], const char *line) {
  Json reply(cJSON_ParseWithOpts(line, nullptr, 1));
  const cJSON *rc = cJSON_GetObjectItemCaseSensitive(reply.get(), "rc");
  int32_t result = 0;
  if (wireDecodeInt(OPEN_TYPE_I32, rc, &result) != 0) return OPEN_E_INTERNAL;
  const cJSON *outs = cJSON_GetObjectItemCaseSensitive(reply.get(), "out");
  const cJSON *item = cJSON_IsArray(outs) ? outs->child : nullptr;
  // A refusal may come without outputs; then the caller's outputs stay untouched.
  for (uint8_t i = 0; i < op.argCount && item != nullptr; ++i) {
    if (!openArgIsOutput(op.args[i])) continue;
    if (wireDecodeReplyOut(op.args[i], item, argObject(op.args[i], argv[i])) != 0) return OPEN_E_INTERNAL;
    item = item->next;
  }
  return static_cast<open_error_t>(result);
}

void disconnect(openapiClientHandle_t *client) {
  if (client->fd >= 0) close(client->fd);
  client->fd = -1;
}

open_error_t openRpcCall(openapiClientHandle_t *client, OpenOpId id, void *const argv[]) {
  if (client == nullptr) return OPEN_E_PARAM;
  const OpenOpDesc &op = kOpenOps[id];
  Text request(encodeRequest(op, argv));
  if (request.get() == nullptr) return OPEN_E_PARAM;
  if (client->fd < 0) client->fd = connectServer();
  if (client->fd < 0) return OPEN_E_RPC;
  size_t length = strlen(request.get());
  request.get()[length] = '\n';  // replaces the terminator; the length is kept apart
  Text reply(sendAll(client->fd, request.get(), length + 1) ? receiveLine(client->fd) : nullptr);
  if (reply.get() == nullptr) {
    disconnect(client);
    return OPEN_E_RPC;
  }
  return decodeReply(op, argv, reply.get());
}

}  // namespace

open_error_t openapiClientRegister(const char *clientName, openapiClientHandle_t *clientHandle) {
  if (clientName == nullptr || clientHandle == nullptr) return OPEN_E_PARAM;
  memset(clientHandle, 0, sizeof *clientHandle);
  strncpy(clientHandle->clientName, clientName, sizeof clientHandle->clientName - 1);
  clientHandle->fd = -1;
  return OPEN_E_NONE;
}

open_error_t openapiClientTearDown(openapiClientHandle_t *clientHandle) {
  if (clientHandle == nullptr) return OPEN_E_PARAM;
  disconnect(clientHandle);
  return OPEN_E_NONE;
}

#define OPEN_PROTO_PARAM(d, T, n) , OPEN_PARAM_##d(T) n
#define OPEN_ARG_ADDRESS(d, T, n) static_cast<void *>(&n),
#define OPEN_OP(kind, name, ...)                                                                \
  open_error_t OPEN_FN_##kind(name)(openapiClientHandle_t * client                              \
                                        OPEN_FOR_EACH(OPEN_PROTO_PARAM, __VA_ARGS__)) {         \
    void *const argv[] = {OPEN_FOR_EACH(OPEN_ARG_ADDRESS, __VA_ARGS__) nullptr};                \
    return openRpcCall(client, OPEN_OPID_##name, argv);                                         \
  }
#include "open/open_ops.def"
#undef OPEN_OP
