#pragma once
// Ownership of cJSON trees and of texts from malloc, for every program of
// the project: the JSON forms of calls, the simulator, the program and its
// API document all hand such values around.
#include <cjson/cJSON.h>

#include <cstdlib>
#include <memory>

struct JsonDeleter {
  void operator()(cJSON *json) const { cJSON_Delete(json); }
};
using JsonPtr = std::unique_ptr<cJSON, JsonDeleter>;

struct FreeDeleter {
  void operator()(void *p) const { free(p); }
};
using CText = std::unique_ptr<char, FreeDeleter>;
