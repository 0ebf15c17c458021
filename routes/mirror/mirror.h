#pragma once
// What the mirror and session routes share: how they read query keys, the
// conversions between interface names and numbers, the IP ACL by name, and
// the family's directions and lists.
#include <cjson/cJSON.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "routes/engine/engine.h"
#include "routes/engine/walk.h"
#include "open/raii.h"

namespace mirror {

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

// Keys come from QUERY_STRING, also on POST, PUT and DELETE: the text after
// "<key>=" up to the next "&", at most 255 bytes.
constexpr route::QueryReader kMirrorQuery{route::QuerySource::QueryString, KeyMatch::FollowedByEquals,
                                          route::Digits::Unsigned};
constexpr route::Family kMirror{
    kMirrorDir, "mirror", &kMirrorQuery,
    "Port mirroring, one setting per route: the monitor sessions' source ports or VLANs, destination port, mode, "
    "ACL filters and reserve state, and the remote-span (RSPAN) VLANs. Interfaces go by their internal number "
    "(intIfNum) and are shown with their names (1/0/5, lag2, cpu)."};

// Any word but "rx" and "tx" (in any case) mirrors both directions.
constexpr uint32_t kBoth = OPEN_MIRROR_BIDIRECTIONAL;
constexpr route::ChoiceTable kDirection = route::choicesOf<OPEN_MIRROR_DIRECTION_t>(true, kBoth, "both");

// A session's mode: "enable" in any case enables.
constexpr route::ChoiceTable kMode = route::choicesOf<OPEN_CONTROL_t>(true, OPEN_DISABLE, "disable");

// Action of the OpEN writes that add to a list or attach a filter.
constexpr uint32_t kAttach = 1;

// Calls `each` with the strtol value of every token of a comma-separated
// list that OpEN filled, reading at most `size` bytes of it and at most
// `limit` tokens: a list cannot name more interfaces or VLANs than a switch has.
template <typename Each>
void forEachListed(const char *list, size_t size, uint32_t limit, Each each) {
  if (list == nullptr) return;
  CText copy(strndup(list, strnlen(list, size)));
  char *rest = copy.get();
  uint32_t count = 0;
  for (char *token = rest ? strtok_r(rest, ",", &rest) : nullptr; token && count < limit;
       token = strtok_r(nullptr, ",", &rest), ++count) {
    each(strtol(token, nullptr, 10));
  }
}

// An interface of an answer: its number and its name.
constexpr route::BufferKind kIntfNameText{64, route::SizeRule::Capacity, nullptr};
constexpr route::Bind kPortNumber = route::out("intIfNum");
constexpr route::Bind kPortName = route::outText("interface", kIntfNameText);
constexpr route::Bind kPortDirection = route::outChoice("direction", kDirection);

// A source port of a session: its number when asked, its name, and its
// direction ("both" when OpEN cannot tell).
void writeSourcePort(route::Output row, uint32_t session, uint32_t ifNum, bool withNumber);


}  // namespace mirror
