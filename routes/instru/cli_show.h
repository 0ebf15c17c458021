#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "open/openapi.h"

// Runs a switch command-line "show" command with its output written to
// `fileName`. Returns a result code: 0, 10003 for a missing text, or the
// OpEN result of the execution.
//
// The file name is cut to kCliShowFileNameSize - 1 characters, as the
// switch's command runner takes it; a caller whose name may be longer checks
// with cliShowFileNameFits first, or the output lands in some other file.
constexpr size_t kCliShowFileNameSize = 96;
inline bool cliShowFileNameFits(const char *fileName) {
  return strnlen(fileName, kCliShowFileNameSize) < kCliShowFileNameSize;
}
int32_t cliShowExecuteToFile(openapiClientHandle_t *client, const char *command, const char *fileName);
