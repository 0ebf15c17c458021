#include "tests/fuzz/recording_link.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "open/wire.h"

namespace {

// Short, so that the destructor's stop is seen soon.
constexpr int kPollMs = 50;

}  // namespace

RecordingLink::RecordingLink(SimDispatcher &dispatcher) : dispatcher_(dispatcher) {
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds_) != 0) {
    fds_[0] = fds_[1] = -1;
    return;
  }
  fcntl(fds_[0], F_SETFL, fcntl(fds_[0], F_GETFL) | O_NONBLOCK);
  thread_ = std::thread([this] { serve(); });
}

RecordingLink::~RecordingLink() {
  stop_ = true;
  if (thread_.joinable()) thread_.join();
  for (int fd : fds_) {
    if (fd >= 0) close(fd);
  }
}

std::vector<WireExchange> RecordingLink::exchanges() {
  std::lock_guard<std::mutex> lock(mutex_);
  return exchanges_;
}

void RecordingLink::serve() {
  std::string pending;
  char chunk[65536];
  while (!stop_) {
    pollfd ready{fds_[1], POLLIN, 0};
    if (poll(&ready, 1, kPollMs) <= 0) continue;
    ssize_t got = recv(fds_[1], chunk, sizeof chunk, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    pending.append(chunk, static_cast<size_t>(got));
    long body = 0;
    while (pending.size() >= kWireHeaderSize && (body = wireBodyLength(pending.data())) >= 0 &&
           pending.size() >= kWireHeaderSize + static_cast<size_t>(body)) {
      answer(pending.substr(kWireHeaderSize, static_cast<size_t>(body)));
      pending.erase(0, kWireHeaderSize + static_cast<size_t>(body));
    }
  }
}

void RecordingLink::answer(const std::string &body) {
  std::string reply;
  dispatcher_.call(body, reply);
  {
    std::lock_guard<std::mutex> lock(mutex_);
    exchanges_.push_back({body, reply.substr(kWireHeaderSize)});
  }
  for (size_t done = 0; done < reply.size();) {
    ssize_t sent = send(fds_[1], reply.data() + done, reply.size() - done, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return;
    done += static_cast<size_t>(sent);
  }
}
