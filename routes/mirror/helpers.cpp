// The mirror family's shared helpers: its query getter, the conversions
// between interface names and interface numbers, and the IP ACLs by name.
#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cgi/response.h"
#include "routes/engine/values.h"
#include "routes/engine/walk.h"
#include "routes/mirror/mirror.h"
#include "open/startup.h"

namespace mirror {

namespace {


uint32_t firstOfType(uint32_t type) {
  uint32_t ifNum = 0;
  return openapiIfFirstGet(&clientHandle, type, &ifNum) == OPEN_E_NONE ? ifNum : 0;
}

// Calls `visit(ifNum)` for the interfaces of `type` in OpEN's order until it
// returns false.
template <typename Visit>
void forEachInterfaceOf(uint32_t type, Visit visit) {
  route::walkAscending(
      route::kMaxInterfaces, [type](uint32_t *ifNum) { return openapiIfFirstGet(&clientHandle, type, ifNum); },
      [type](uint32_t ifNum, uint32_t *next) { return openapiIfNextGet(&clientHandle, type, ifNum, next); }, visit);
}

uint32_t lagByNumber(const char *digits) {
  int n = 0;
  if (sscanf(digits, "%d", &n) != 1 || n < 1) return 0;
  uint32_t first = firstOfType(OPEN_INTF_TYPE_LAG);
  return first != 0 ? first + static_cast<uint32_t>(n) - 1 : 0;
}

// Walks the physical ports for the one at unit/slot/port.
uint32_t portAt(int unit, int slot, int port) {
  uint32_t found = 0;
  forEachInterfaceOf(OPEN_INTF_TYPE_PHY, [&](uint32_t ifNum) {
    uint32_t u = 0, s = 0, p = 0;
    if (ifNum != 0 && rpcclt_openapiHashIntfUnitSlotPortGet(&clientHandle, ifNum, &u, &s, &p) == OPEN_E_NONE &&
        static_cast<int>(u) == unit && static_cast<int>(s) == slot && static_cast<int>(p) == port) {
      found = ifNum;
    }
    return ifNum != 0 && found == 0;
  });
  return found;
}

// The LAG's position counted from 1 in the switch's LAG order, or 0.
int lagPosition(uint32_t ifNum) {
  int position = 0, counted = 0;
  forEachInterfaceOf(OPEN_INTF_TYPE_LAG, [&](uint32_t lag) {
    ++counted;
    if (lag == ifNum) position = counted;
    return lag != 0 && position == 0;
  });
  return position;
}

bool ipAclListed(uint32_t aclId) {
  bool listed = false;
  route::walkAscending(
      route::kMaxAccessLists, [](uint32_t *id) { return rpcclt_openapiAclGetFirst(&clientHandle, OPEN_ACL_TYPE_IP, id); },
      [](uint32_t id, uint32_t *next) { return rpcclt_openapiAclGetNext(&clientHandle, OPEN_ACL_TYPE_IP, id, next); },
      [&](uint32_t id) {
        listed = id == aclId;
        return !listed;
      });
  return listed;
}

}  // namespace

uint32_t intfNameToIfNum(const char *name) {
  if (name == nullptr) return 0;
  if (strcasecmp(name, "cpu") == 0) return firstOfType(OPEN_INTF_TYPE_CPU);
  if (strncasecmp(name, "lag", 3) == 0) return lagByNumber(name + 3);
  int unit = 0, slot = 0, port = 0;
  if (sscanf(name, "%d/%d/%d", &unit, &slot, &port) >= 2) return portAt(unit, slot, port);
  return static_cast<uint32_t>(strtol(name, nullptr, 10));
}

void ifNumToIntfName(uint32_t ifNum, char (&name)[64]) {
  name[0] = '\0';
  if (ifNum == 0) return;
  if (firstOfType(OPEN_INTF_TYPE_CPU) == ifNum) {
    snprintf(name, sizeof name, "cpu");
    return;
  }
  if (int position = lagPosition(ifNum); position != 0) {
    snprintf(name, sizeof name, "lag%d", position);
    return;
  }
  uint32_t unit = 0, slot = 0, port = 0;
  if (rpcclt_openapiHashIntfUnitSlotPortGet(&clientHandle, ifNum, &unit, &slot, &port) == OPEN_E_NONE) {
    snprintf(name, sizeof name, "%d/%d/%d", static_cast<int>(unit), static_cast<int>(slot), static_cast<int>(port));
  } else {
    snprintf(name, sizeof name, "%u", ifNum);
  }
}

void ipAclNameOf(uint32_t aclId, char (&name)[256]) {
  memset(name, 0, sizeof name);
  if (ipAclListed(aclId)) {
    open_buffdesc desc{sizeof name - 1, name};
    if (rpcclt_openapiAclNameGet(&clientHandle, aclId, &desc) == OPEN_E_NONE && name[0] != '\0') return;
  }
  snprintf(name, 16, "%u", aclId);
}

int32_t ipAclIdByName(const char *name, uint32_t *aclId) {
  char text[256] = {0};
  strncpy(text, name, sizeof text - 1);
  open_buffdesc desc{static_cast<uint32_t>(strlen(text) + 1), text};
  if (rpcclt_openapiAclGet(&clientHandle, OPEN_ACL_TYPE_IP, &desc, aclId) == OPEN_E_NONE) {
    return *aclId != 0 ? RC_SUCCESS : RC_OBJECT_NOT_EXIST;
  }
  char *end = nullptr;
  unsigned long number = strtoul(text, &end, 10);
  bool isNumber = text[0] >= '0' && text[0] <= '9' && *end == '\0' && number <= UINT32_MAX;
  if (!isNumber || number == 0) return RC_OBJECT_NOT_EXIST;
  *aclId = static_cast<uint32_t>(number);
  return RC_SUCCESS;
}

void writeSourcePort(route::Output row, uint32_t session, uint32_t ifNum, bool withNumber) {
  if (withNumber) row.number(kPortNumber, ifNum);
  char name[64];
  ifNumToIntfName(ifNum, name);
  row.text(kPortName, name);
  uint32_t direction = kBoth;
  if (rpcclt_openapiMirrorSourcePortDirectionGet(&clientHandle, session, ifNum, &direction) != OPEN_E_NONE) {
    direction = kBoth;
  }
  row.choice(kPortDirection, direction);
}

}  // namespace mirror
