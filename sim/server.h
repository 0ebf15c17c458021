#pragma once
// The simulator's socket server: a Unix stream socket, one thread per
// client. OpEN calls come as frames (open/wire.h) and are answered with
// frames; control commands, and calls written by hand, come as one JSON
// line each and are answered with one: lines with "ctl" are control
// commands, lines with "op" calls in the written form of the call log
// (SimDispatcher::callWritten).
#include <sys/types.h>

#include <condition_variable>
#include <mutex>
#include <set>
#include <string>

#include "sim/dispatch.h"

class SimServer {
 public:
  // Longest request line: a state document with every table full fits.
  static constexpr size_t kMaxLine = 8u << 20;

  SimServer(SimDispatcher &dispatcher, std::string statePath);
  ~SimServer();
  SimServer(const SimServer &) = delete;
  SimServer &operator=(const SimServer &) = delete;

  // Binds the socket, removing a stale one; refuses when a live server
  // answers there. 0, or -1 with `error`.
  int listenOn(const std::string &path, std::string &error);
  // Serves until stop(); then closes every connection and removes the socket.
  void run();
  // Safe from a signal handler.
  void stop();

  // The answer line (without newline) for one request line.
  std::string answer(const std::string &line);

 private:
  struct ConnectionStart;
  static void *connectionThread(void *arg);
  void serveConnection(int fd);
  bool answerPending(int fd, std::string &pending, size_t &scanned, std::string &reply);
  void acceptOne();
  void closeConnections();
  void removeSocket();

  SimDispatcher &dispatcher_;
  std::string statePath_;
  std::string socketPath_;
  int listenFd_ = -1;
  int wakePipe_[2] = {-1, -1};
  dev_t socketDev_ = 0;
  ino_t socketIno_ = 0;

  std::mutex mutex_;
  std::condition_variable idle_;
  std::set<int> connections_;
  size_t running_ = 0;  // connection threads not yet finished
};
