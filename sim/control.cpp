#include "sim/control.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "open/wire.h"
#include "sim/device.h"
#include "tools/raii.h"

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

bool writeAll(FILE *file, const std::string &text) {
  return fwrite(text.data(), 1, text.size(), file) == text.size() && fflush(file) == 0 && fsync(fileno(file)) == 0;
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
  cJSON *json = cJSON_ParseWithOpts(text.c_str(), &end, 1);
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
  JsonPtr state(dispatcher.withSwitch([](SimDevice &sw) { return sw.toJson(); }));
  CText text(cJSON_Print(state.get()));
  std::string temp = path + ".tmp." + std::to_string(getpid());
  FILE *file = fopen(temp.c_str(), "w");
  if (file == nullptr || text == nullptr) {
    error = "cannot write " + temp + ": " + strerror(errno);
    if (file != nullptr) fclose(file);
    return -1;
  }
  bool written = writeAll(file, std::string(text.get()) + "\n");
  int savedErrno = errno;
  if (fclose(file) != 0 && written) {
    written = false;
    savedErrno = errno;
  }
  if (!written || rename(temp.c_str(), path.c_str()) != 0) {
    error = "cannot write " + path + ": " + strerror(written ? errno : savedErrno);
    unlink(temp.c_str());
    return -1;
  }
  return 0;
}
