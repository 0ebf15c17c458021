#pragma once
// One family of the simulated switch: its state, defaults, refusals and,
// in its own file, its side of the family's OpEN operations. SimDevice
// holds every model and turns a reset, dump or load of the switch into
// calls of each.
#include <cjson/cJSON.h>

#include <cstdint>
#include <functional>

#include "sim/schema.h"

// Nanoseconds of a monotonic clock, shared by every model; tests substitute their own.
using SimClock = std::function<int64_t()>;

constexpr int64_t kNanosPerSecond = 1000000000;

class SimModel {
 public:
  virtual ~SimModel() = default;

  // The model's member of the state file. Empty for the switch itself,
  // whose fields are the document's own.
  virtual const char *stateKey() const = 0;
  // May read the models before it, which are reset first.
  virtual void resetToDefault() = 0;
  virtual cJSON *toJson() const = 0;
  // Replaces the state from the model's part of the document; false with
  // the problem reported through `where`. Loads run on a scratch device,
  // so a refusal anywhere leaves the running switch alone, and a model may
  // check its part against what the models before it have just loaded.
  virtual bool fromJson(const cJSON *json, const schema::Where &where) = 0;
  // Takes over what the same model of a scratch device loaded.
  virtual void adoptState(SimModel &loaded) = 0;
};
