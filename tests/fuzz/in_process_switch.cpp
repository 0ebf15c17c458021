#include "tests/fuzz/in_process_switch.h"

#include <pthread.h>

#include "tests/fuzz/file_guard.h"

bool InProcessSwitch::start(const std::string &socketPath, std::string &error) {
  if (server_.listenOn(socketPath, error) != 0) return false;
  pthread_t thread;
  if (pthread_create(&thread, nullptr, serve, &server_) != 0) {
    error = "cannot start the simulator's thread";
    return false;
  }
  pthread_detach(thread);
  return true;
}

void *InProcessSwitch::serve(void *server) {
  static_cast<SimServer *>(server)->run();
  return nullptr;
}

void InProcessSwitch::script(const std::string &lines, size_t maxLines) {
  size_t start = 0;
  for (size_t count = 0; count < maxLines && start < lines.size(); ++count) {
    size_t end = lines.find('\n', start);
    if (end == std::string::npos) end = lines.size();
    std::string line = lines.substr(start, end - start);
    if (!callsFileWriter(line)) server_.answer(line);
    start = end + 1;
  }
}

void InProcessSwitch::reset() {
  dispatcher_.clearScripts();
  dispatcher_.withSwitch([](SimDevice &sw) { sw.resetToDefault(); });
  dispatcher_.clearCallLog();
}
