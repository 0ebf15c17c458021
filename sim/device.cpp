#include "sim/device.h"

#include <time.h>

#include "open/raii.h"

namespace {

int64_t monotonicNanos() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<int64_t>(ts.tv_sec) * kNanosPerSecond + ts.tv_nsec;
}

bool defaultFits(SimModel &model, const char *key, const schema::Where &root) {
  std::string problem;
  JsonPtr defaults(model.toJson());
  if (model.fromJson(defaults.get(), schema::Where(key, problem))) return true;
  return root.member(key).fail("missing, and the default does not fit this switch (" + problem +
                               "): give the member");
}

}  // namespace

SimClock monotonicClock() { return monotonicNanos; }

SimClock frozenClock() {
  const int64_t start = monotonicNanos();
  return [start] { return start; };
}

SimDevice::SimDevice() : SimDevice(monotonicClock()) {}

SimDevice::SimDevice(SimClock clock) : clock_(std::move(clock)) { resetToDefault(); }

void SimDevice::resetToDefault() {
  for (SimModel *model : modelsOf(*this)) model->resetToDefault();
}

cJSON *SimDevice::toJson() const {
  // The switch's own fields open the document; each further model adds its member.
  cJSON *json = system_.toJson();
  for (const SimModel *model : modelsOf(*this)) {
    if (*model->stateKey() != '\0') cJSON_AddItemToObject(json, model->stateKey(), model->toJson());
  }
  return json;
}

int SimDevice::fromJson(const cJSON *json, std::string &error) {
  schema::Where root("", error);
  SimDevice incoming(clock_);
  for (SimModel *model : modelsOf(incoming)) {
    const char *key = model->stateKey();
    bool own = *key == '\0';
    const cJSON *part = own ? json : cJSON_GetObjectItemCaseSensitive(json, key);
    if (part == nullptr) {
      // The default is the bench switch's, which names ports the document may
      // not have: it must fit what the models before it loaded, as a dump would.
      model->resetToDefault();
      if (!own && !defaultFits(*model, key, root)) return -1;
    } else if (!model->fromJson(part, own ? root : root.member(key))) {
      return -1;
    }
  }
  std::vector<SimModel *> running = modelsOf(*this), loaded = modelsOf(incoming);
  for (size_t i = 0; i < running.size(); ++i) running[i]->adoptState(*loaded[i]);
  return 0;
}
