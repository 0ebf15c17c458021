#include "sim/server.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "open/wire.h"
#include "sim/control.h"
#include "open/raii.h"

namespace {

// Understood by both kinds of client: the OpEN one reads "rc", opensimctl "ok".
std::string malformed(const char *problem) {
  JsonPtr answer(cJSON_CreateObject());
  cJSON_AddNumberToObject(answer.get(), "rc", OPEN_E_PARAM);
  cJSON_AddArrayToObject(answer.get(), "out");
  cJSON_AddFalseToObject(answer.get(), "ok");
  cJSON_AddStringToObject(answer.get(), "error", problem);
  CText text(cJSON_PrintUnformatted(answer.get()));
  return text ? text.get() : "";
}

bool sendAll(int fd, const std::string &data) {
  size_t done = 0;
  while (done < data.size()) {
    ssize_t sent = send(fd, data.data() + done, data.size() - done, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    done += static_cast<size_t>(sent);
  }
  return true;
}

bool fillAddress(const std::string &path, sockaddr_un &address, std::string &error) {
  address = sockaddr_un{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof address.sun_path) {
    error = "socket path must have 1 to " + std::to_string(sizeof address.sun_path - 1) + " bytes: " + path;
    return false;
  }
  memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return true;
}

// A socket file nobody answers on is left over from a crash and may go.
int clearStaleSocket(const std::string &path, const sockaddr_un &address, std::string &error) {
  struct stat info {};
  if (lstat(path.c_str(), &info) != 0) return 0;
  if (!S_ISSOCK(info.st_mode)) {
    error = path + " exists and is not a socket";
    return -1;
  }
  int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  bool live = probe >= 0 && connect(probe, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
  if (probe >= 0) close(probe);
  if (live) {
    error = "another opensimd is already listening on " + path;
    return -1;
  }
  unlink(path.c_str());
  return 0;
}

}  // namespace

SimServer::SimServer(SimDispatcher &dispatcher, std::string statePath)
    : dispatcher_(dispatcher), statePath_(std::move(statePath)) {
  if (pipe2(wakePipe_, O_CLOEXEC | O_NONBLOCK) != 0) wakePipe_[0] = wakePipe_[1] = -1;
}

SimServer::~SimServer() {
  if (listenFd_ >= 0) close(listenFd_);
  for (int fd : wakePipe_) {
    if (fd >= 0) close(fd);
  }
}

int SimServer::listenOn(const std::string &path, std::string &error) {
  sockaddr_un address;
  if (wakePipe_[0] < 0) {
    error = std::string("cannot create the wake-up pipe: ") + strerror(errno);
    return -1;
  }
  if (!fillAddress(path, address, error) || clearStaleSocket(path, address, error) != 0) return -1;
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 || listen(fd, 64) != 0) {
    error = "cannot listen on " + path + ": " + strerror(errno);
    if (fd >= 0) close(fd);
    return -1;
  }
  struct stat info {};
  stat(path.c_str(), &info);
  socketDev_ = info.st_dev;
  socketIno_ = info.st_ino;
  socketPath_ = path;
  listenFd_ = fd;
  return 0;
}

void SimServer::stop() {
  char byte = 1;
  ssize_t ignored = write(wakePipe_[1], &byte, 1);
  (void)ignored;
}

void SimServer::run() {
  pollfd fds[2] = {{listenFd_, POLLIN, 0}, {wakePipe_[0], POLLIN, 0}};
  while (true) {
    if (poll(fds, 2, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    if (fds[1].revents != 0) break;
    if (fds[0].revents & POLLIN) acceptOne();
  }
  close(listenFd_);
  listenFd_ = -1;
  removeSocket();
  closeConnections();
}

struct SimServer::ConnectionStart {
  SimServer *server;
  int fd;
};

void *SimServer::connectionThread(void *arg) {
  ConnectionStart *start = static_cast<ConnectionStart *>(arg);
  start->server->serveConnection(start->fd);
  delete start;
  return nullptr;
}

void SimServer::acceptOne() {
  int fd = accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
  if (fd < 0) {
    // Out of descriptors: give the other connections a moment to finish
    // rather than spinning on a listening socket that stays readable.
    if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) usleep(10000);
    return;
  }
  std::lock_guard<std::mutex> lock(mutex_);
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
  pthread_t thread;
  auto *start = new ConnectionStart{this, fd};
  if (pthread_create(&thread, &attr, connectionThread, start) == 0) {
    connections_.insert(fd);
    ++running_;
  } else {
    delete start;
    close(fd);  // the client sees the connection end and may retry
  }
  pthread_attr_destroy(&attr);
}

void SimServer::serveConnection(int fd) {
  std::string pending, reply;
  size_t scanned = 0;  // bytes of `pending` known to hold no newline
  char chunk[65536];
  bool open = true;
  while (open) {
    ssize_t got = recv(fd, chunk, sizeof chunk, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    pending.append(chunk, static_cast<size_t>(got));
    open = answerPending(fd, pending, scanned, reply);
  }
  std::lock_guard<std::mutex> lock(mutex_);
  connections_.erase(fd);
  close(fd);
  if (--running_ == 0) idle_.notify_all();
}

// A frame's first byte never begins a line of text, so each request says
// which it is. Whole requests are answered and dropped from `pending`; the
// rest waits for more bytes. False when the connection is to end: a frame
// header that is none leaves no way to find the next request.
bool SimServer::answerPending(int fd, std::string &pending, size_t &scanned, std::string &reply) {
  size_t start = 0;
  bool open = true;
  while (open && start < pending.size()) {
    size_t left = pending.size() - start;
    reply.clear();
    if (pending[start] == kWireMagic[0]) {
      if (left < kWireHeaderSize) break;
      long body = wireBodyLength(pending.data() + start);
      if (body < 0) {
        WireBuffer refusal;
        wireEncodeReply(refusal, OPEN_E_PARAM, nullptr);
        sendAll(fd, std::string(refusal.view()));
        return false;
      }
      if (left - kWireHeaderSize < static_cast<size_t>(body)) break;
      dispatcher_.call(std::string_view(pending).substr(start + kWireHeaderSize, static_cast<size_t>(body)), reply);
      start += kWireHeaderSize + static_cast<size_t>(body);
    } else {
      size_t newline = pending.find('\n', start > scanned ? start : scanned);
      if (newline == std::string::npos) {
        scanned = pending.size();
        if (left <= kMaxLine) break;
        sendAll(fd, malformed("request line too long") + "\n");
        return false;
      }
      reply = answer(pending.substr(start, newline - start)) + "\n";
      start = newline + 1;
    }
    open = sendAll(fd, reply);
  }
  pending.erase(0, start);
  scanned = scanned > start ? scanned - start : 0;
  return open;
}

void SimServer::closeConnections() {
  std::unique_lock<std::mutex> lock(mutex_);
  // Wakes every connection thread out of its read; each then closes its own socket.
  for (int fd : connections_) shutdown(fd, SHUT_RDWR);
  idle_.wait(lock, [this] { return running_ == 0; });
}

void SimServer::removeSocket() {
  struct stat info {};
  // Only our own: another daemon may have taken the path over since.
  if (stat(socketPath_.c_str(), &info) == 0 && info.st_dev == socketDev_ && info.st_ino == socketIno_) {
    unlink(socketPath_.c_str());
  }
}

std::string SimServer::answer(const std::string &line) {
  if (line.find('\0') != std::string::npos) return malformed("a request line must not contain NUL bytes");
  JsonPtr request(wireParseJson(line.c_str()));
  if (!cJSON_IsObject(request.get())) return malformed("a request is one JSON object per line");
  if (cJSON_GetObjectItemCaseSensitive(request.get(), "ctl") != nullptr) {
    return controlAnswer(dispatcher_, request.get(), statePath_);
  }
  if (cJSON_GetObjectItemCaseSensitive(request.get(), "op") == nullptr) {
    return malformed("a request needs \"op\" (an OpEN call) or \"ctl\" (a control command)");
  }
  std::string answer;
  return dispatcher_.callWritten(request.get(), answer) == 0 ? answer : malformed(answer.c_str());
}
