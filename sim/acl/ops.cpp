// The simulated switch's answers to the access-list queries.
#include <string>

#include "sim/device.h"
#include "sim/sim_ops.h"

namespace sim {

open_error_t openapiAclGetFirst(SimDevice &dev, uint32_t aclType, uint32_t *aclId) {
  return dev.acls().first(aclType, aclId);
}

open_error_t openapiAclGetNext(SimDevice &dev, uint32_t aclType, uint32_t aclId, uint32_t *nextAclId) {
  return dev.acls().next(aclType, aclId, nextAclId);
}

open_error_t openapiAclNameGet(SimDevice &dev, uint32_t aclId, open_buffdesc *aclName) {
  std::string name;
  open_error_t rc = dev.acls().name(aclId, name);
  return rc == OPEN_E_NONE ? putText(aclName, name) : rc;
}

open_error_t openapiAclGet(SimDevice &dev, uint32_t aclType, open_buffdesc *aclName, uint32_t *aclId) {
  return dev.acls().byName(aclType, inputText(aclName), aclId);
}

}  // namespace sim
