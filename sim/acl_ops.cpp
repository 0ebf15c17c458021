// The simulated switch's answers to the access-list queries.
#include <string>

#include "sim/acl_model.h"
#include "sim/sim_ops.h"
#include "sim/sim_text.h"
#include "sim/switch.h"

namespace sim {

open_error_t openapiAclGetFirst(SimSwitch &sw, uint32_t aclType, uint32_t *aclId) {
  return sw.acls().first(aclType, aclId);
}

open_error_t openapiAclGetNext(SimSwitch &sw, uint32_t aclType, uint32_t aclId, uint32_t *nextAclId) {
  return sw.acls().next(aclType, aclId, nextAclId);
}

open_error_t openapiAclNameGet(SimSwitch &sw, uint32_t aclId, open_buffdesc *aclName) {
  std::string name;
  open_error_t rc = sw.acls().name(aclId, name);
  return rc == OPEN_E_NONE ? putText(aclName, name) : rc;
}

open_error_t openapiAclGet(SimSwitch &sw, uint32_t aclType, open_buffdesc *aclName, uint32_t *aclId) {
  return sw.acls().byName(aclType, inputText(aclName), aclId);
}

}  // namespace sim
