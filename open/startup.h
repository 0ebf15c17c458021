#pragma once
#include "open/openapi.h"

// The process's one OpEN registration; every handler calls OpEN through it.
extern openapiClientHandle_t clientHandle;

// Registers "<clientName>_<pid>" with OpEN and waits for the server.
// 0 on success, -1 when OpEN cannot be reached.
int initHandler(const char *clientName, openapiClientHandle_t *handle);
