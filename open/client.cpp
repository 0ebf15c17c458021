// Our OpEN client: every operation of open_ops.def becomes a stub that sends
// one JSON line over a Unix stream socket and reads one JSON line back.
//
// Every wait is bounded. A CGI process holds one of the web server's few CGI
// slots, so a server that accepts and never answers must cost a request
// seconds, not minutes:
//   kConnectivityCheckTimeoutMs  each start-up check; seven of them plus the
//                                six 3-second pauses stay near 20 seconds
//   kCallTimeoutMs               any other call, from connect to the answer
// A call that runs out of time fails with OPEN_E_RPC like any broken
// connection. The connection is dropped, since a late answer would be taken
// for the next call's, and the client does not ask that server again: an
// aggregated route's hundreds of calls then fail at once instead of each
// waiting out its time.
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "open/call_codec.h"
#include "open/openapi.h"
#include "open/opdesc.h"

namespace {

constexpr const char *kDefaultSocket = "/tmp/opensim.sock";
constexpr int kConnectivityCheckTimeoutMs = 250;
constexpr int kCallTimeoutMs = 5000;
constexpr size_t kMaxReplyBytes = 64u << 20;

struct FreeText {
  void operator()(char *text) const { free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

enum class Io { Done, Failed, TimedOut };

long long nowMs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

// Waits until `fd` is ready for `events` or the deadline passes.
Io waitFor(int fd, short events, long long deadlineMs) {
  for (;;) {
    long long left = deadlineMs - nowMs();
    if (left <= 0) return Io::TimedOut;
    pollfd p{fd, events, 0};
    int ready = poll(&p, 1, static_cast<int>(left));
    if (ready > 0) return Io::Done;
    if (ready == 0) return Io::TimedOut;
    if (errno != EINTR) return Io::Failed;
  }
}

// Non-blocking from the start: a server whose backlog is full refuses at
// once instead of holding the caller in connect().
int connectServer() {
  const char *path = getenv("OPEN_RPC_SOCKET");
  if (path == nullptr || *path == '\0') path = kDefaultSocket;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  size_t length = strnlen(path, sizeof address.sun_path);
  if (length >= sizeof address.sun_path) return -1;
  memcpy(address.sun_path, path, length);
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) return -1;
  if (connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

Io sendAll(int fd, const char *data, size_t length, long long deadlineMs) {
  while (length > 0) {
    ssize_t sent = send(fd, data, length, MSG_NOSIGNAL);
    if (sent > 0) {
      data += sent;
      length -= static_cast<size_t>(sent);
      continue;
    }
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      Io ready = waitFor(fd, POLLOUT, deadlineMs);
      if (ready != Io::Done) return ready;
      continue;
    }
    return Io::Failed;
  }
  return Io::Done;
}

// Reads one answer line into `*line` (the caller frees it).
Io receiveLine(int fd, long long deadlineMs, char **line) {
  size_t capacity = 4096, length = 0;
  Text buffer(static_cast<char *>(malloc(capacity)));
  while (buffer) {
    if (length + 1 == capacity) {
      if (capacity >= kMaxReplyBytes) return Io::Failed;
      char *grown = static_cast<char *>(realloc(buffer.get(), capacity * 2));
      if (grown == nullptr) return Io::Failed;
      buffer.release();
      buffer.reset(grown);
      capacity *= 2;
    }
    ssize_t got = recv(fd, buffer.get() + length, capacity - 1 - length, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      Io ready = waitFor(fd, POLLIN, deadlineMs);
      if (ready != Io::Done) return ready;
      continue;
    }
    if (got <= 0) return Io::Failed;
    char *newline = static_cast<char *>(memchr(buffer.get() + length, '\n', static_cast<size_t>(got)));
    length += static_cast<size_t>(got);
    if (newline != nullptr) {
      *newline = '\0';
      *line = buffer.release();
      return Io::Done;
    }
  }
  return Io::Failed;
}

void disconnect(openapiClientHandle_t *client) {
  if (client->fd >= 0) close(client->fd);
  client->fd = -1;
}

// Sends `request` (its terminator already replaced by a newline) and reads
// the answer line within the operation's time.
Io exchange(openapiClientHandle_t *client, const char *request, size_t length, int timeoutMs, char **reply) {
  long long deadline = nowMs() + timeoutMs;
  if (client->fd < 0) client->fd = connectServer();
  if (client->fd < 0) return Io::Failed;
  Io sent = sendAll(client->fd, request, length, deadline);
  return sent == Io::Done ? receiveLine(client->fd, deadline, reply) : sent;
}

open_error_t openRpcCall(openapiClientHandle_t *client, OpenOpId id, void *const argv[]) {
  if (client == nullptr) return OPEN_E_PARAM;
  bool check = id == OPEN_OPID_openapiConnectivityCheck;
  if (client->stalled && !check) return OPEN_E_RPC;
  const OpenOpDesc &op = kOpenOps[id];
  Text request(openEncodeRequest(op, argv));
  if (!request) return OPEN_E_PARAM;
  size_t length = strlen(request.get());
  request.get()[length] = '\n';  // replaces the terminator; the length is kept apart
  char *line = nullptr;
  Io done = exchange(client, request.get(), length + 1, check ? kConnectivityCheckTimeoutMs : kCallTimeoutMs, &line);
  Text reply(line);
  if (done != Io::Done) {
    disconnect(client);
    if (done == Io::TimedOut && !check) client->stalled = 1;
    return OPEN_E_RPC;
  }
  return static_cast<open_error_t>(openDecodeReply(op, argv, reply.get()));
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
