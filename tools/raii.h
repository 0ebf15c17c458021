#pragma once
#include <cjson/cJSON.h>
#include <cstdlib>
#include <memory>

#include "cgi/request.h"

struct JsonDeleter {
  void operator()(cJSON *json) const { cJSON_Delete(json); }
};
using JsonPtr = std::unique_ptr<cJSON, JsonDeleter>;

struct FreeDeleter {
  void operator()(void *p) const { free(p); }
};
using CText = std::unique_ptr<char, FreeDeleter>;

struct QueryDeleter {
  void operator()(char **array) const { queryStringFree(array); }
};
using QueryArray = std::unique_ptr<char *, QueryDeleter>;
