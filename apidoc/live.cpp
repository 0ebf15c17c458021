#include "apidoc/live.h"

#include <ftw.h>
#include <pthread.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>

#include "cgi/httpd.h"
#include "log/log.h"
#include "open/startup.h"
#include "sim/device.h"
#include "sim/dispatch.h"
#include "sim/server.h"

namespace apidoc {

namespace {

// Long after boot, as the default switch's counters assume.
constexpr int64_t kStillClock = 200000 * kNanosPerSecond;
constexpr int kLogFacilityUser = 8;

int removeEntry(const char *path, const struct stat *, int, struct FTW *) { return ::remove(path); }

struct BodyReader {
  const std::string &body;
  size_t at = 0;
};

int nextBodyByte(void *source) {
  auto *reader = static_cast<BodyReader *>(source);
  return reader->at < reader->body.size() ? static_cast<unsigned char>(reader->body[reader->at++]) : EOF;
}

}  // namespace

struct LiveSwitch::Parts {
  SimDevice device{[] { return kStillClock; }};
  SimDispatcher dispatcher{device};
  SimServer server{dispatcher, ""};
  pthread_t thread{};
  bool serving = false;
  bool registered = false;
  std::string root;
};

LiveSwitch::LiveSwitch() : parts_(std::make_unique<Parts>()) {}

LiveSwitch::~LiveSwitch() {
  if (parts_->registered) openapiClientTearDown(&clientHandle);
  logClose();
  if (parts_->serving) {
    parts_->server.stop();
    pthread_join(parts_->thread, nullptr);
  }
  if (!parts_->root.empty()) nftw(parts_->root.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
}

bool LiveSwitch::start(std::string &error) {
  const char *tmp = getenv("TMPDIR");
  std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/openapi-gen-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    error = "cannot create a directory for the simulated switch below " + pattern;
    return false;
  }
  parts_->root = pattern;
  for (const char *dir : {"/tmp", "/tmp/session", "/mnt", "/mnt/application", "/mnt/application/vexo",
                          "/mnt/application/vexo/tmp"}) {
    mkdir((pattern + dir).c_str(), 0700);
  }
  std::string socket = pattern + "/opensim.sock";
  setenv("MONITORING_ROOT", pattern.c_str(), 1);
  setenv("OPEN_RPC_SOCKET", socket.c_str(), 1);
  if (parts_->server.listenOn(socket, error) != 0) return false;
  auto run = [](void *server) -> void * {
    static_cast<SimServer *>(server)->run();
    return nullptr;
  };
  if (pthread_create(&parts_->thread, nullptr, run, &parts_->server) != 0) {
    error = "cannot start the simulated switch's thread";
    return false;
  }
  parts_->serving = true;
  // The program's log goes below the directory, never to the document.
  logInit(LOG_MODE_FILE, kLogFacilityUser, "openapi_gen");
  if (initHandler("openapi_gen", &clientHandle) != 0) {
    error = "the program cannot reach the simulated switch";
    return false;
  }
  parts_->registered = true;
  return true;
}

JsonPtr LiveSwitch::answer(const route::RouteGroup &group, size_t row, const std::string &query,
                           const std::string &body) {
  parts_->dispatcher.clearScripts();
  parts_->dispatcher.withSwitch([](SimDevice &sw) { sw.resetToDefault(); });
  std::string uri = std::string(group.dir) + "/" + group.rows[row].op + (query.empty() ? "" : "?" + query);
  std::string length = std::to_string(body.size());
  Request::Fields fields;
  fields.method = httpdMethodName(group.rows[row].method);
  fields.uri = uri.c_str();
  fields.query = query.c_str();
  fields.contentLength = length.c_str();
  BodyReader reader{body};
  Request request(fields, nextBodyByte, &reader);
  std::string bytes;
  group.handlers[row](request).writeTo([&bytes](const char *text, size_t size) { bytes.append(text, size); });
  return JsonPtr(cJSON_Parse(bytes.c_str()));
}

}  // namespace apidoc
