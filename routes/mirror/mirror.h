#pragma once
// What the mirror and session routes share: the query getter, the
// conversions between interface names and numbers, and the family's rules.
#include <cjson/cJSON.h>

#include <cstdint>
#include <span>

#include "routes/engine/engine.h"

namespace mirror {

// The text after "<key>=" in QUERY_STRING (also on POST, PUT and DELETE), up
// to the next "&", at most 255 bytes; NULL when absent. One static result,
// overwritten by every call.
const char *mirrorQueryParamGet(const char *key);

// "cpu", "lagN" (any case), "unit/slot/port", or a decimal number; 0 for what names nothing.
uint32_t intfNameToIfNum(const char *name);
// "" for 0, "cpu", "lagN", "unit/slot/port", or the number itself.
void ifNumToIntfName(uint32_t ifNum, char (&name)[64]);

// The IP ACL's name as the ACL walk and OpEN give it, or its number.
void ipAclNameOf(uint32_t aclId, char (&name)[256]);
// The IP ACL that `name` names, looked up by name first; a name OpEN does
// not know may still be the ACL's number. 0, or 10012 when there is no such ACL.
int32_t ipAclIdByName(const char *name, uint32_t *aclId);

constexpr const char *kMirrorDir = "/api/v2/monitoring/mirror";
constexpr const char *kSessionDir = "/api/v2/monitoring/session";

const char *findInMirrorQuery(route::Request &request, const char *key);
constexpr route::QueryReader kMirrorQuery{findInMirrorQuery, route::Digits::Unsigned};
constexpr route::Family kMirror{kMirrorDir, "mirror", &kMirrorQuery};

// Direction codes: 1 both, 2 receive only, 3 transmit only.
constexpr uint32_t kBoth = 1, kRx = 2, kTx = 3;
constexpr route::Choice kDirectionNames[] = {{"rx", kRx}, {"tx", kTx}};
constexpr route::ChoiceTable kDirection = route::choiceTable(kDirectionNames, true, kBoth, "both");

// The interface as {"intIfNum", "interface"}, or {"interface": null} for 0.
void showInterface(cJSON *data, const route::Bind &bind, const route::Slot &slot);
cJSON *interfaceObject(uint32_t ifNum);

void mirrorRouteTableRegister(httpdTable *table);
void sessionConfigRegister(httpdTable *table);
std::span<const route::Route> mirrorRoutes();

}  // namespace mirror
