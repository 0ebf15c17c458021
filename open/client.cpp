// Our OpEN client: every operation of open_ops.def becomes a stub that sends
// one request frame (open/wire.h) over a Unix stream socket and reads one
// answer frame back.
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
#include <new>

#include "open/call_codec.h"
#include "open/client.h"
#include "open/openapi.h"
#include "open/opdesc.h"
#include "open/wire.h"

namespace {

constexpr const char *kDefaultSocket = "/tmp/opensim.sock";
constexpr int kConnectivityCheckTimeoutMs = 250;
constexpr int kCallTimeoutMs = 5000;
// Most answers fit here; a larger one moves to the heap.
constexpr size_t kReplyOnStack = 4096;

// Closed: the server had closed the connection before a byte of the call
// went out (it restarted since the connection was opened).
enum class Io { Done, Failed, TimedOut, Closed };

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
  const size_t whole = length;
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
    bool closed = sent < 0 && (errno == EPIPE || errno == ECONNRESET) && length == whole;
    return closed ? Io::Closed : Io::Failed;
  }
  return Io::Done;
}

// Where an answer frame lands: on the stack while it is small.
class ReplyBuffer {
 public:
  char *data() { return data_; }
  size_t capacity() const { return capacity_; }
  bool reserve(size_t size, size_t kept) {
    if (size <= capacity_) return true;
    std::unique_ptr<char[]> grown(new (std::nothrow) char[size]);
    if (!grown) return false;
    memcpy(grown.get(), data_, kept);
    heap_ = std::move(grown);
    data_ = heap_.get();
    capacity_ = size;
    return true;
  }

 private:
  char stack_[kReplyOnStack];
  std::unique_ptr<char[]> heap_;
  char *data_ = stack_;
  size_t capacity_ = sizeof stack_;
};

// Reads one answer frame whole into `reply`; `*length` is its size. The
// server answers nothing it was not asked, so bytes beyond the frame are a
// broken connection.
Io receiveFrame(int fd, long long deadlineMs, ReplyBuffer &reply, size_t *length) {
  size_t have = 0, want = kWireHeaderSize;
  while (have < want) {
    Io ready = waitFor(fd, POLLIN, deadlineMs);
    if (ready != Io::Done) return ready;
    ssize_t got = recv(fd, reply.data() + have, reply.capacity() - have, 0);
    if (got < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)) continue;
    if (got <= 0) return Io::Failed;
    have += static_cast<size_t>(got);
    if (want == kWireHeaderSize && have >= kWireHeaderSize) {
      long body = wireBodyLength(reply.data());
      if (body < 0) return Io::Failed;
      want += static_cast<size_t>(body);
      if (!reply.reserve(want, have)) return Io::Failed;
    }
  }
  *length = have;
  return have == want ? Io::Done : Io::Failed;
}

void disconnect(openapiClientHandle_t *client) {
  if (client->fd >= 0) close(client->fd);
  client->fd = -1;
}

// Sends `request` and reads the answer frame within the operation's time.
// A connection kept from an earlier call that the server has closed since
// is opened again once: the call had not reached anyone.
Io exchange(openapiClientHandle_t *client, const WireBuffer &request, int timeoutMs, ReplyBuffer &reply,
            size_t *length) {
  long long deadline = nowMs() + timeoutMs;
  bool reused = client->fd >= 0;
  if (!reused) client->fd = connectServer();
  if (client->fd < 0) return Io::Failed;
  Io sent = sendAll(client->fd, request.data(), request.size(), deadline);
  if (sent == Io::Closed && reused) {
    disconnect(client);
    client->fd = connectServer();
    if (client->fd < 0) return Io::Failed;
    sent = sendAll(client->fd, request.data(), request.size(), deadline);
  }
  return sent == Io::Done ? receiveFrame(client->fd, deadline, reply, length) : sent;
}

open_error_t openRpcCall(openapiClientHandle_t *client, OpenOpId id, void *const argv[]) {
  if (client == nullptr) return OPEN_E_PARAM;
  bool check = id == OPEN_OPID_openapiConnectivityCheck;
  if (client->stalled && !check) return OPEN_E_RPC;
  WireBuffer request;
  if (!openEncodeRequest(request, id, argv)) return OPEN_E_PARAM;
  if (request.failed()) return OPEN_E_RPC;  // no memory for the frame: nothing was sent
  ReplyBuffer reply;
  size_t length = 0;
  Io done = exchange(client, request, check ? kConnectivityCheckTimeoutMs : kCallTimeoutMs, reply, &length);
  if (done != Io::Done) {
    disconnect(client);
    if (done == Io::TimedOut && !check) client->stalled = 1;
    return OPEN_E_RPC;
  }
  std::string_view body(reply.data() + kWireHeaderSize, length - kWireHeaderSize);
  return static_cast<open_error_t>(openDecodeReply(kOpenOps[id], argv, body));
}

}  // namespace

open_error_t openapiClientRegister(const char *clientName, openapiClientHandle_t *clientHandle) {
  if (clientName == nullptr || clientHandle == nullptr) return OPEN_E_PARAM;
  memset(clientHandle, 0, sizeof *clientHandle);
  memcpy(clientHandle->clientName, clientName, strnlen(clientName, sizeof clientHandle->clientName - 1));
  clientHandle->fd = -1;
  return OPEN_E_NONE;
}

void openapiClientRequestBegins(openapiClientHandle_t *client) {
  if (client != nullptr) client->stalled = 0;
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
