#include "tests/fuzz/recording_link.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

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
    for (size_t newline; (newline = pending.find('\n')) != std::string::npos;) {
      std::string line = pending.substr(0, newline);
      pending.erase(0, newline + 1);
      answer(line);
    }
  }
}

void RecordingLink::answer(const std::string &line) {
  std::string reply = dispatcher_.call(line.c_str());
  {
    std::lock_guard<std::mutex> lock(mutex_);
    exchanges_.push_back({line, reply});
  }
  std::string data = reply + "\n";
  for (size_t done = 0; done < data.size();) {
    ssize_t sent = send(fds_[1], data.data() + done, data.size() - done, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return;
    done += static_cast<size_t>(sent);
  }
}
