#include "routes/instru/cli_show.h"

#include <cstdio>
#include <cstring>

#include "cgi/response.h"
#include "log/log.h"

int32_t cliShowExecuteToFile(openapiClientHandle_t *client, const char *command, const char *fileName) {
  if (command == nullptr || fileName == nullptr) {
    LOG_ERROR("cliShowExecuteToFile: Invalid argument\r\n");
    return RC_INVALID_ARGUMENT;
  }
  char commandText[255];
  char fileText[kCliShowFileNameSize];
  snprintf(commandText, sizeof commandText, "%s", command);
  snprintf(fileText, sizeof fileText, "%s", fileName);
  remove(fileText);  // the command appends; a stale file must not answer for it
  open_buffdesc commandDesc = {static_cast<uint32_t>(strlen(commandText) + 1), commandText};
  open_buffdesc fileDesc = {static_cast<uint32_t>(strlen(fileText) + 1), fileText};
  open_error_t result = rpcclt_openapiCliShowExecuteToFile(client, &commandDesc, &fileDesc);
  if (result != OPEN_E_NONE) LOG_ERROR("Execute show cmd faile, result:%d\r\n", result);
  return result;
}
