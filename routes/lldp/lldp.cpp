// LLDP: global and interface settings, the neighbour table, and what the
// switch itself advertises.
#include "routes/lldp/lldp.h"

#include "log/log.h"
#include "open/startup.h"

namespace lldp {

namespace {
constexpr uint32_t kDefaultStrLen = 256;
}  // namespace

uint32_t lldpMgmtStrLen() {
  uint32_t length = kDefaultStrLen;
  (void)rpcclt_openapiLldpMgmtStrLenGet(&clientHandle, &length);
  return length - 1 > kDefaultStrLen - 1 ? kDefaultStrLen : length;
}

int swapiIfFirstGet(openapiClientHandle_t *client, uint32_t type, uint32_t *ifNum) {
  int rc = openapiIfFirstGet(client, type, ifNum);
  if (rc != OPEN_E_NONE) LOG_ERROR("Bad return code trying to get first physical interface. result = %d\r\n", rc);
  return rc;
}

}  // namespace lldp
