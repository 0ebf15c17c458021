#include "tests/fuzz/file_guard.h"

#include <cjson/cJSON.h>

#include <cstring>

#include "open/raii.h"

bool callsFileWriter(const std::string &line) {
  JsonPtr request(cJSON_ParseWithOpts(line.c_str(), nullptr, 1));
  const cJSON *op = cJSON_GetObjectItemCaseSensitive(request.get(), "op");
  return cJSON_IsString(op) && strcmp(op->valuestring, "openapiCliShowExecuteToFile") == 0;
}
