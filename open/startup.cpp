#include "open/startup.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "log/log.h"

openapiClientHandle_t clientHandle;

namespace {

constexpr int kConnectivityChecks = 7;
constexpr unsigned kRetrySleepSecs = 3;

int waitForServer(openapiClientHandle_t *handle) {
  for (int attempt = 1;; ++attempt) {
    open_error_t result = rpcclt_openapiConnectivityCheck(handle);
    if (result == OPEN_E_NONE) return 0;
    if (attempt == kConnectivityChecks) return -1;
    logWrite(LOG_LEVEL_WARN, "[%s:%d] RPC call can fail until server starts. Keep trying (result = %d)\n",
             "initHandler", __LINE__, result);
    sleep(kRetrySleepSecs);
  }
}

void logVersions(openapiClientHandle_t *handle) {
  char version[100] = {0};
  open_buffdesc desc = {sizeof version, version};
  if (rpcclt_openapiNetworkOSVersionGet(handle, &desc) == OPEN_E_NONE) {
    // OpEN may fill the whole buffer without a terminator.
    logWrite(LOG_LEVEL_DEBUG, "[%s:%d] ICOS Version = %.*s\n", "initHandler", __LINE__,
             static_cast<int>(strnlen(version, sizeof version)), version);
  } else {
    logWrite(LOG_LEVEL_ERROR, "[%s:%d] Network OS Version retrieve error\n", "initHandler", __LINE__);
  }
  open_revision_data_t api = {};
  if (rpcclt_openapiApiVersionGet(handle, &api) == OPEN_E_NONE) {
    logWrite(LOG_LEVEL_DEBUG, "[%s:%d] Open API Version = %d.%d.%d.%d\n", "initHandler", __LINE__,
             static_cast<int>(api.release), static_cast<int>(api.version), static_cast<int>(api.maint_level),
             static_cast<int>(api.build_num));
  } else {
    logWrite(LOG_LEVEL_ERROR, "[%s:%d] Open API Version retrieve error\n", "initHandler", __LINE__);
  }
}

}  // namespace

int initHandler(const char *clientName, openapiClientHandle_t *handle) {
  // The platform's crash-log registration belongs to the switch build only.
  char name[100];
  snprintf(name, sizeof name, "%s_%d", clientName, static_cast<int>(getpid()));
  open_error_t result = openapiClientRegister(name, handle);
  if (result != OPEN_E_NONE) {
    LOG_ERROR("\nFailed to initialize RPC to OpEN. Exiting (result = %d)\n", result);
    return -1;
  }
  LOG_DEBUG("Register RPC to OpEN success. (client name = %s)\n", name);
  if (waitForServer(handle) != 0) return -1;
  logVersions(handle);
  return 0;
}
