// opensimd: the simulated switch operating system, answering OpEN calls on
// a Unix socket until SIGTERM or SIGINT.
#include <signal.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "sim/control.h"
#include "sim/device.h"
#include "sim/dispatch.h"
#include "sim/server.h"

namespace {

constexpr const char *kDefaultSocket = "/tmp/opensim.sock";

SimServer *gServer = nullptr;

void onStopSignal(int) {
  if (gServer != nullptr) gServer->stop();
}

struct Options {
  std::string socketPath;
  std::string statePath;
  bool frozenClock = false;
};

int usage() {
  fprintf(stderr,
          "usage: opensimd [--socket PATH] [--state FILE] [--frozen-clock]\n"
          "  --socket PATH    the Unix socket to answer on (default: $OPEN_RPC_SOCKET, else %s)\n"
          "  --state FILE     the switch state, loaded at start when the file exists and\n"
          "                   written at stop and by \"opensimctl save\"\n"
          "  --frozen-clock   the clock stands still at its start value: port counters,\n"
          "                   reset times and sFlow receiver time-outs answer the same\n"
          "                   whenever they are asked\n",
          kDefaultSocket);
  return 2;
}

bool parseOptions(int argc, char **argv, Options &options) {
  const char *env = getenv("OPEN_RPC_SOCKET");
  options.socketPath = env != nullptr && *env != '\0' ? env : kDefaultSocket;
  for (int i = 1; i < argc; ++i) {
    bool hasValue = i + 1 < argc;
    if (strcmp(argv[i], "--socket") == 0 && hasValue) {
      options.socketPath = argv[++i];
    } else if (strcmp(argv[i], "--state") == 0 && hasValue) {
      options.statePath = argv[++i];
    } else if (strcmp(argv[i], "--frozen-clock") == 0) {
      options.frozenClock = true;
    } else {
      fprintf(stderr, "opensimd: unexpected argument: %s\n", argv[i]);
      return false;
    }
  }
  return true;
}

void installSignals() {
  struct sigaction action {};
  action.sa_handler = onStopSignal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  // A client that hangs up before its answer must not take the daemon down.
  signal(SIGPIPE, SIG_IGN);
}

bool fileExists(const std::string &path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0;
}

}  // namespace

int main(int argc, char **argv) {
  Options options;
  if (!parseOptions(argc, argv, options)) return usage();
  SimDevice sw(options.frozenClock ? frozenClock() : monotonicClock());
  SimDispatcher dispatcher(sw);
  std::string error;
  if (!options.statePath.empty() && fileExists(options.statePath) &&
      loadStateFile(dispatcher, options.statePath, error) != 0) {
    fprintf(stderr, "opensimd: %s\n", error.c_str());
    return 1;
  }
  SimServer server(dispatcher, options.statePath);
  // Before the socket exists, so that a stop request never finds it unattended.
  gServer = &server;
  installSignals();
  if (server.listenOn(options.socketPath, error) != 0) {
    fprintf(stderr, "opensimd: %s\n", error.c_str());
    return 1;
  }
  fprintf(stderr, "opensimd: listening on %s\n", options.socketPath.c_str());
  server.run();
  gServer = nullptr;
  if (!options.statePath.empty() && saveStateFile(dispatcher, options.statePath, error) != 0) {
    fprintf(stderr, "opensimd: %s\n", error.c_str());
    return 1;
  }
  return 0;
}
