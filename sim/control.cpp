#include "sim/control.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "open/wire.h"
#include "sim/device.h"
#include "open/raii.h"

namespace {

std::string printed(const cJSON *json) {
  CText text(cJSON_PrintUnformatted(json));
  return text ? text.get() : "";
}

std::string failure(const std::string &error) {
  JsonPtr answer(cJSON_CreateObject());
  cJSON_AddFalseToObject(answer.get(), "ok");
  cJSON_AddStringToObject(answer.get(), "error", error.c_str());
  return printed(answer.get());
}

// {"ok": true}, with `key` holding `value` when given (the answer takes it).
std::string success(const char *key = nullptr, cJSON *value = nullptr) {
  JsonPtr answer(cJSON_CreateObject());
  cJSON_AddTrueToObject(answer.get(), "ok");
  if (key != nullptr) cJSON_AddItemToObject(answer.get(), key, value);
  return printed(answer.get());
}

std::string fromRc(int rc, const std::string &error) { return rc == 0 ? success() : failure(error); }

// The operation name and the optional call count of a fault or stub.
bool scriptTarget(const cJSON *request, std::string &op, long &count, std::string &error) {
  const cJSON *name = cJSON_GetObjectItemCaseSensitive(request, "op");
  const cJSON *times = cJSON_GetObjectItemCaseSensitive(request, "count");
  if (!cJSON_IsString(name)) {
    error = "\"op\" must name an operation";
    return false;
  }
  op = name->valuestring;
  count = -1;
  uint32_t value = 0;
  if (times == nullptr) return true;
  if (wireDecodeInt(OPEN_TYPE_U32, times, &value) != 0) {
    error = "\"count\" must be an integer from 0 to 4294967295";
    return false;
  }
  count = value;
  return true;
}

std::string fault(SimDispatcher &dispatcher, const cJSON *request) {
  std::string op, error;
  long count = 0;
  int32_t rc = 0;
  if (!scriptTarget(request, op, count, error)) return failure(error);
  if (wireDecodeInt(OPEN_TYPE_I32, cJSON_GetObjectItemCaseSensitive(request, "rc"), &rc) != 0) {
    return failure("\"rc\" must be a 32-bit signed integer");
  }
  return fromRc(dispatcher.setFault(op.c_str(), rc, count, error), error);
}

std::string stub(SimDispatcher &dispatcher, const cJSON *request) {
  std::string op, error;
  long count = 0;
  if (!scriptTarget(request, op, count, error)) return failure(error);
  const cJSON *answer = cJSON_GetObjectItemCaseSensitive(request, "answer");
  if (!cJSON_IsObject(answer)) return failure("\"answer\" must be an object {\"rc\": n, \"out\": [...]}");
  return fromRc(dispatcher.setStub(op.c_str(), answer, count, error), error);
}

std::string load(SimDispatcher &dispatcher, const cJSON *request) {
  const cJSON *state = cJSON_GetObjectItemCaseSensitive(request, "state");
  if (state == nullptr) return failure("\"state\" is missing");
  std::string error;
  int rc = dispatcher.withSwitch([&](SimDevice &sw) { return sw.fromJson(state, error); });
  return fromRc(rc, error);
}

std::string save(SimDispatcher &dispatcher, const std::string &statePath) {
  if (statePath.empty()) return failure("opensimd was started without --state; there is no file to save to");
  std::string error;
  return fromRc(saveStateFile(dispatcher, statePath, error), error);
}

std::string reset(SimDispatcher &dispatcher) {
  dispatcher.clearScripts();
  dispatcher.withSwitch([](SimDevice &sw) { sw.resetToDefault(); });
  dispatcher.clearCallLog();
  return success();
}

// Saves run one at a time, so that the file ends with the latest state
// rather than with whichever snapshot happened to finish writing last.
std::mutex gSaveMutex;

bool writeAll(int fd, const char *data, size_t size) {
  for (size_t done = 0; done < size;) {
    ssize_t wrote = write(fd, data + done, size - done);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) return false;
    done += static_cast<size_t>(wrote);
  }
  return true;
}

// A temporary file of its own beside `path`: a rename within one directory
// replaces the state file in one step.
int createBeside(const std::string &path, std::string &temp) {
  temp = path + ".XXXXXX";
  // mkstemp's 0600 stays: the state holds the community strings, which
  // are the switch's passwords.
  return mkstemp(temp.data());
}

// The text and its newline on disk, then the file closed; false with errno.
bool writeAndClose(int fd, const char *text) {
  bool written = writeAll(fd, text, strlen(text)) && writeAll(fd, "\n", 1) && fsync(fd) == 0;
  int savedErrno = errno;
  if (close(fd) != 0 && written) return false;
  errno = savedErrno;
  return written;
}

// The rename itself outlives a power cut only once the directory is on disk.
void syncDirectoryOf(const std::string &path) {
  size_t slash = path.rfind('/');
  std::string directory = slash == std::string::npos ? "." : path.substr(0, slash == 0 ? 1 : slash);
  int fd = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  fsync(fd);
  close(fd);
}

}  // namespace

std::string controlAnswer(SimDispatcher &dispatcher, const cJSON *request, const std::string &statePath) {
  const cJSON *command = cJSON_GetObjectItemCaseSensitive(request, "ctl");
  std::string name = cJSON_IsString(command) ? command->valuestring : "";
  if (name == "ping") return success();
  if (name == "reset") return reset(dispatcher);
  if (name == "fault") return fault(dispatcher, request);
  if (name == "stub") return stub(dispatcher, request);
  if (name == "faultClear") {
    dispatcher.clearScripts();
    return success();
  }
  if (name == "calls") return success("calls", cJSON_CreateString(dispatcher.callLogLines().c_str()));
  if (name == "callsClear") {
    dispatcher.clearCallLog();
    return success();
  }
  if (name == "dump") return success("state", dispatcher.withSwitch([](SimDevice &sw) { return sw.toJson(); }));
  if (name == "load") return load(dispatcher, request);
  if (name == "save") return save(dispatcher, statePath);
  return failure("unknown control command \"" + name + "\"");
}

cJSON *readJsonFile(const std::string &path, std::string &error) {
  FILE *file = fopen(path.c_str(), "r");
  if (file == nullptr) {
    error = path + ": " + strerror(errno);
    return nullptr;
  }
  std::string text;
  char chunk[65536];
  size_t got = 0;
  while ((got = fread(chunk, 1, sizeof chunk, file)) > 0) text.append(chunk, got);
  bool failed = ferror(file) != 0;
  fclose(file);
  if (failed) {
    error = path + ": read error";
    return nullptr;
  }
  const char *end = nullptr;
  cJSON *json = wireParseJson(text.c_str(), &end);
  if (json == nullptr) {
    size_t at = end != nullptr && end >= text.c_str() ? static_cast<size_t>(end - text.c_str()) : 0;
    error = path + ": not valid JSON (at byte " + std::to_string(at) + ")";
  }
  return json;
}

int loadStateFile(SimDispatcher &dispatcher, const std::string &path, std::string &error) {
  JsonPtr state(readJsonFile(path, error));
  if (!state) return -1;
  std::string problem;
  int rc = dispatcher.withSwitch([&](SimDevice &sw) { return sw.fromJson(state.get(), problem); });
  if (rc != 0) error = path + ": " + problem;
  return rc;
}

int saveStateFile(SimDispatcher &dispatcher, const std::string &path, std::string &error) {
  std::lock_guard<std::mutex> lock(gSaveMutex);
  JsonPtr state(dispatcher.withSwitch([](SimDevice &sw) { return sw.toJson(); }));
  CText text(cJSON_Print(state.get()));
  if (text == nullptr) {
    error = "cannot print the state for " + path;
    return -1;
  }
  std::string temp;
  int fd = createBeside(path, temp);
  if (fd < 0) {
    error = "cannot create a temporary file beside " + path + ": " + strerror(errno);
    return -1;
  }
  if (!writeAndClose(fd, text.get()) || rename(temp.c_str(), path.c_str()) != 0) {
    error = "cannot write " + path + ": " + strerror(errno);
    unlink(temp.c_str());
    return -1;
  }
  syncDirectoryOf(path);
  return 0;
}
