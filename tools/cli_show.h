#pragma once
#include <cstdint>

#include "open/openapi.h"

// Runs a switch command-line "show" command with its output written to
// `fileName`. Returns a result code: 0, 10003 for a missing text, or the
// OpEN result of the execution.
int32_t cliShowExecuteToFile(openapiClientHandle_t *client, const char *command, const char *fileName);
