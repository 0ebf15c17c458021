#pragma once
// Serves the program's OpEN client over a socket pair from a thread,
// answering each request frame with the simulator's dispatcher and keeping
// the bodies of both frames: the wire form as the client really writes and
// reads it.
#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sim/dispatch.h"

struct WireExchange {
  std::string request, reply;
};

class RecordingLink {
 public:
  explicit RecordingLink(SimDispatcher &dispatcher);
  ~RecordingLink();
  RecordingLink(const RecordingLink &) = delete;
  RecordingLink &operator=(const RecordingLink &) = delete;

  // The client's end, non-blocking as the client's own sockets are; -1 when
  // the pair could not be made.
  int clientEnd() const { return fds_[0]; }
  std::vector<WireExchange> exchanges();

 private:
  void serve();
  void answer(const std::string &body);

  SimDispatcher &dispatcher_;
  int fds_[2] = {-1, -1};
  std::atomic<bool> stop_{false};
  std::mutex mutex_;
  std::vector<WireExchange> exchanges_;
  std::thread thread_;
};
