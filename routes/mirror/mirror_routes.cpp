// The mirror routes: one OpEN port-monitor call each, but for the
// remote-span VLAN ranges.
#include <algorithm>
#include <bitset>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cgi/response.h"
#include "routes/engine/values.h"
#include "routes/families.h"
#include "routes/mirror/mirror.h"
#include "tools/common.h"

namespace mirror {

namespace {

using namespace route;

// Reads never fail: a failed call shows its defaults (0, null, "disable",
// "both", "unreserved") with code 0. Writes map the OpEN result.
constexpr Answering kRead{&kMirror, Mapping::ShowDefaults, AnswerStyle::Line, AnswerStyle::Data, AnswerStyle::Data};
constexpr Answering kWrite{&kMirror, Mapping::OpenRc, AnswerStyle::Line, AnswerStyle::Line, AnswerStyle::Line};
// The VLAN ranges answer 0 whatever the single calls give.
constexpr Answering kVlanRangesWrite{&kMirror, Mapping::ShowDefaults, AnswerStyle::Line, AnswerStyle::Line,
                                     AnswerStyle::Line};

constexpr Choice kReservedName[] = {{"reserved", 1}};
constexpr ChoiceTable kReserveState = choiceTable(kReservedName, true, 0, "unreserved");

constexpr BufferKind kInputText{256, SizeRule::LengthPlusOne, nullptr};
constexpr BufferKind kIntfListText{5000, SizeRule::Capacity, nullptr};
constexpr BufferKind kVlanListText{1024, SizeRule::Capacity, nullptr};
constexpr BufferKind kAclNameText{256, SizeRule::Capacity, nullptr};
constexpr BufferKind kIntfNameText{64, SizeRule::Capacity, nullptr};

constexpr long kMaxRspanVlan = 4093;

// Selectors of the query; values of the body, the query standing in for
// what the body lacks or gives as 0.
constexpr Bind kSession = query("sessionNum");
constexpr Bind kSessionInBody = bodyOrQuery("sessionNum");
constexpr Bind kIntfInBody = bodyOrQuery("intIfNum").needed();
// The yes/no routes read their one key from the query only, and never 0.
constexpr Bind kIntfAsked = query("intIfNum").needed();
constexpr Bind kVlanAsked = query("vlanId").needed();

// The interface as {"intIfNum", "interface"}, or {"interface": null} for 0.
void showInterface(cJSON *data, const Bind &, const Slot &slot, const Slot *) {
  auto ifNum = static_cast<uint32_t>(slot.num);
  if (ifNum == 0) {
    cJSON_AddNullToObject(data, "interface");
    return;
  }
  cJSON_AddNumberToObject(data, "intIfNum", ifNum);
  char name[64];
  ifNumToIntfName(ifNum, name);
  cJSON_AddStringToObject(data, "interface", name);
}
constexpr Bind kInterfaceParts[] = {out("intIfNum").ifKnown(), outText("interface", kIntfNameText).orNull()};
constexpr Bind kInterface = outCustom("interface", ArgKind::IntPointer, showInterface).made(kInterfaceParts);

// The session of a configured destination, shown only beside "configured": true.
void showSessionWhenConfigured(cJSON *data, const Bind &bind, const Slot &slot, const Slot *) {
  if (cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(data, "configured"))) {
    cJSON_AddNumberToObject(data, bind.outKey, static_cast<double>(static_cast<uint32_t>(slot.num)));
  }
}
constexpr Bind kSessionWhenConfigured[] = {out("sessionNum").ifKnown()};

void showInterfaceList(cJSON *data, const Bind &bind, const Slot &slot, const Slot *) {
  cJSON *list = cJSON_AddArrayToObject(data, bind.outKey);
  forEachListed(slot.desc.pstart, slot.capacity, kMaxInterfaces, [&](long value) {
    if (value == 0) return;
    cJSON *intf = cJSON_CreateObject();
    showInterface(intf, bind, Slot{.num = static_cast<uint32_t>(value)}, nullptr);
    cJSON_AddItemToArray(list, intf);
  });
}

void showVlanNumbers(cJSON *data, const Bind &bind, const Slot &slot, const Slot *) {
  cJSON *list = cJSON_AddArrayToObject(data, bind.outKey);
  forEachListed(slot.desc.pstart, slot.capacity, kMaxVlans, [&](long vlan) {
    if (vlan != 0) cJSON_AddItemToArray(list, cJSON_CreateNumber(static_cast<double>(vlan)));
  });
}

// Each source port with its name and direction; the directions are asked of
// the session the call named, its first argument.
void showSourcePorts(cJSON *data, const Bind &bind, const Slot &slot, const Slot *args) {
  auto session = static_cast<uint32_t>(args[0].num);
  cJSON *ports = cJSON_AddArrayToObject(data, bind.outKey);
  forEachListed(slot.desc.pstart, slot.capacity, kMaxInterfaces, [&](long ifNum) {
    if (ifNum != 0) cJSON_AddItemToArray(ports, sourcePortObject(session, static_cast<uint32_t>(ifNum), true));
  });
}

// The attached IP ACL by number and by name; 0 and null when there is none.
void showIpAcl(cJSON *data, const Bind &, const Slot &slot, const Slot *) {
  auto aclId = static_cast<uint32_t>(slot.num);
  cJSON_AddNumberToObject(data, "ip-acl-id", aclId);
  if (aclId == 0) {
    cJSON_AddNullToObject(data, "ip-acl");
    return;
  }
  char name[256];
  ipAclNameOf(aclId, name);
  cJSON_AddStringToObject(data, "ip-acl", name);
}

constexpr Bind kIpAclParts[] = {out("ip-acl-id"), outText("ip-acl", kAclNameText).orNull()};
constexpr Bind kListedInterface[] = {out("intIfNum"), outText("interface", kIntfNameText)};
constexpr Bind kListedSourcePort[] = {out("intIfNum"), outText("interface", kIntfNameText),
                                      outChoice("direction", kDirection)};
constexpr Bind kListedNumber[] = {out(nullptr)};

// The IP ACL to attach: "acl-id" of the body (else of the query), else the
// list that the body's "acl-name" names.
int32_t readIpAclToAttach(const Bind &, Inputs &in, Slot &slot) {
  const cJSON *id = cJSON_GetObjectItem(in.body(), "acl-id");
  uint32_t aclId = cJSON_IsNumber(id) ? jsonNumberToU32(id) : 0;
  if (aclId == 0) aclId = static_cast<uint32_t>(in.number(kMirrorQuery, "acl-id"));
  if (aclId == 0) {
    const cJSON *name = cJSON_GetObjectItem(in.body(), "acl-name");
    if (!cJSON_IsString(name) || name->valuestring[0] == '\0') return RC_INVALID_ARGUMENT;
    int32_t code = ipAclIdByName(name->valuestring, &aclId);
    if (code != RC_SUCCESS) return code;
  }
  slot.num = aclId;
  return RC_SUCCESS;
}

// Reads a decimal number as "%d" would, into a long: white space and a sign
// may lead, what follows the digits is left for the caller; out-of-range
// values saturate instead of wrapping.
bool readNumber(const char *&text, long *value) {
  char *end = nullptr;
  long number = strtol(text, &end, 10);
  if (end == text) return false;
  text = end;
  *value = number;
  return true;
}

// Sets each VLAN of a request once: the 4094 VLANs 0 to 4093 that a range
// can reach, and at most one call for every other token, so that no list
// makes more than 4094 calls plus one per token.
class RspanVlanSetter {
 public:
  void set(long vlan) {
    if (vlan >= 0 && vlan <= kMaxRspanVlan) {
      if (done_.test(static_cast<size_t>(vlan))) return;
      done_.set(static_cast<size_t>(vlan));
    }
    (void)rpcclt_openapiRemoteSpanVlanSet(&clientHandle, static_cast<uint32_t>(vlan), kAttach);
  }
  // VLANs from `first` (no lower than 0) to `last` (no higher than 4093);
  // a reversed range sets nothing.
  void setRange(long first, long last) {
    for (long vlan = std::max(first, 0L), end = std::min(last, kMaxRspanVlan); vlan <= end; ++vlan) set(vlan);
  }

 private:
  std::bitset<kMaxRspanVlan + 1> done_;
};

// "10,20-22" sets VLANs 10, 20, 21 and 22; other tokens are passed over.
// The answer does not depend on the single calls.
Answer rspanVlansSet(Inputs &in) {
  const cJSON *list = cJSON_GetObjectItem(in.body(), "vlan-list");
  if (!cJSON_IsString(list)) return answerOf(kMirror, RC_INVALID_ARGUMENT, nullptr, AnswerStyle::Line);
  char text[256] = {0};
  strncpy(text, list->valuestring, sizeof text - 1);
  RspanVlanSetter setter;
  char *rest = text;
  for (char *token = strtok_r(rest, ",", &rest); token; token = strtok_r(nullptr, ",", &rest)) {
    const char *at = token;
    long first = 0, last = 0;
    if (!readNumber(at, &first)) continue;
    if (*at == '-' && readNumber(++at, &last)) {
      setter.setRange(first, last);
    } else {
      setter.set(first);
    }
  }
  return answerOf(kMirror, RC_SUCCESS, nullptr, AnswerStyle::Line);
}

constexpr Bind kSourcePortsParts[] = {outList("source-ports", kListedSourcePort)};
constexpr Bind kValidSrcParts[] = {outList("valid-src-interfaces", kListedInterface)};
constexpr Bind kValidDestParts[] = {outList("valid-dest-interfaces", kListedInterface)};
constexpr Bind kRspanVlansParts[] = {outList("rspan-vlans", kListedNumber)};
constexpr Bind kIpAclInputs[] = {body("acl-id"), query("acl-id"), bodyText("acl-name", kInputText)};

constexpr Route kMirrorRoutes[] = {
    {"sw-port-monitor-source-ports-list", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorSourcePortsListGet>,
      {kSession, outCustom("source-ports", ArgKind::Buffer, showSourcePorts, &kIntfListText)
                     .made(kSourcePortsParts)}}},
    {"source-port-direction", HTTPD_GET, &kRead,
     {open<rpcclt_openapiMirrorSourcePortDirectionGet>,
      {kSession, query("intIfNum"), outChoice("direction", kDirection)}}},
    {"sw-port-monitor-source-port", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSwPortMonitorSourcePortAdd>,
      {kSessionInBody, kIntfInBody, bodyChoice("direction", kDirection)}}},
    {"sw-port-monitor-source-port", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSwPortMonitorSourcePortRemove>, {kSession, query("intIfNum")}}},
    {"sw-port-monitor-dest-port", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorDestPortGet>, {kSession, kInterface}}},
    {"sw-port-monitor-dest-port", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwPortMonitorDestPortSet>, {kSessionInBody, kIntfInBody}}},
    {"sw-port-monitor-dest-port", HTTPD_DELETE, &kWrite, {open<rpcclt_openapiSwPortMonitorDestPortRemove>, {kSession}}},
    {"sw-port-monitor-mode", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorModeGet>, {kSession, outChoice("mode", kMode)}}},
    {"sw-port-monitor-mode", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwPortMonitorModeSet>, {kSessionInBody, bodyChoice("mode", kMode).needed()}}},
    {"sw-port-monitor-session-count", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSwPortMonitorSessionCount>, {out("session-count")}}},
    {"sw-port-monitor-config", HTTPD_DELETE, &kWrite, {open<rpcclt_openapiSwPortMonitorConfigRemove>, {}}},
    {"sw-port-monitor-session", HTTPD_DELETE, &kWrite, {open<rpcclt_openapiSwPortMonitorSessionRemove>, {kSession}}},
    {"sw-port-monitor-is-dest-configured", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSwPortMonitorIsDestConfigured>,
      {kIntfAsked, outBool("configured"),
       outCustom("sessionNum", ArgKind::IntPointer, showSessionWhenConfigured).made(kSessionWhenConfigured)}}},
    {"sw-port-monitor-is-src-configured", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSwPortMonitorIsSrcConfigured>, {kIntfAsked, outBool("configured")}}},
    {"sw-port-monitor-src-configured-session", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorSrcConfiguredSessionGet>, {query("intIfNum"), out("sessionNum")}}},
    {"sw-port-monitor-is-valid-src-port", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSwPortMonitorIsValidSrcPort>, {kIntfAsked, outBool("valid")}}},
    {"sw-port-monitor-is-valid-dest-port", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSwPortMonitorIsValidDestPort>, {kIntfAsked, outBool("valid")}}},
    {"sw-port-monitor-valid-src-intf-first", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidSrcIntfFirstGet>, {kInterface}}},
    {"sw-port-monitor-valid-src-intf-next", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidSrcIntfNextGet>, {query("intIfNum"), kInterface}}},
    {"sw-port-monitor-valid-src-intf-list", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidSrcIntfListGet>,
      {outCustom("valid-src-interfaces", ArgKind::Buffer, showInterfaceList, &kIntfListText)
           .made(kValidSrcParts)}}},
    {"sw-port-monitor-valid-dest-intf-first", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidDestIntfFirstGet>, {kInterface}}},
    {"sw-port-monitor-valid-dest-intf-next", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidDestIntfNextGet>, {query("intIfNum"), kInterface}}},
    {"sw-port-monitor-valid-dest-intf-list", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidDestIntfListGet>,
      {outCustom("valid-dest-interfaces", ArgKind::Buffer, showInterfaceList, &kIntfListText)
           .made(kValidDestParts)}}},
    {"sw-monitor-vlan-list", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorVlanListGet>, {kSession, outText("vlan-list", kVlanListText)}}},
    {"sw-monitor-vlan-list", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwMonitorVlanListSet>,
      {kSessionInBody, bodyText("vlan-list", kInputText).needed(), constant(kAttach)}}},
    {"sw-monitor-src-type", HTTPD_GET, &kRead, {open<rpcclt_openapiSwMonitorSrcTypeGet>, {kSession, out("src-type")}}},
    {"sw-monitor-dst-type", HTTPD_GET, &kRead, {open<rpcclt_openapiSwMonitorDstTypeGet>, {kSession, out("dst-type")}}},
    {"sw-monitor-remote-src-vlan", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorRemoteSrcVlanGet>, {kSession, out("remote-src-vlan")}}},
    {"sw-remote-monitor-src-vlan", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwRemoteMonitorSrcVlanSet>, {kSessionInBody, bodyOrQuery("vlanId").needed()}}},
    {"sw-monitor-remote-dst-vlan", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorRemoteDstVlanGet>, {kSession, out("remote-dst-vlan")}}},
    {"sw-remote-monitor-dst-vlan", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwRemoteMonitorDstVlanSet>, {kSessionInBody, bodyOrQuery("vlanId").needed()}}},
    {"sw-monitor-reflector-port", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorReflectorPortGet>, {kSession, kInterface}}},
    {"sw-monitor-reflector-port", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwMonitorReflectorPortSet>, {kSessionInBody, kIntfInBody}}},
    {"sw-monitor-ip-acl", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorIpAclGet>,
      {kSession, outCustom("ip-acl-id", ArgKind::IntPointer, showIpAcl).made(kIpAclParts)}}},
    {"sw-monitor-ip-acl", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwMonitorIpAclSet>,
      {kSessionInBody, customInput(ArgKind::IntValue, readIpAclToAttach).made(kIpAclInputs), constant(kAttach)}}},
    {"sw-monitor-mac-acl", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorMacAclGet>, {kSession, outText("mac-acl", kAclNameText)}}},
    {"sw-monitor-mac-acl", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwMonitorMacAclSet>,
      {kSessionInBody, bodyText("mac-acl", kInputText).needed(), constant(kAttach)}}},
    {"remote-span-vlan", HTTPD_GET, &kRead, {open<rpcclt_openapiRemoteSpanVlanGet>, {out("rspan-vlan")}}},
    custom("remote-span-vlan", HTTPD_PUT, rspanVlansSet, kVlanRangesWrite,
           "Makes remote-span VLANs of a list such as \"10,20-22\": ranges end at 4093, other words are passed over",
           {bodyText("vlan-list", kInputText).needed()}),
    {"remote-span-vlan-next", HTTPD_GET, &kRead,
     {open<rpcclt_openapiRemoteSpanVlanNextGet>, {query("rspanVlan"), out("rspan-vlan-next")}}},
    {"remote-span-vlan-list", HTTPD_GET, &kRead,
     {open<rpcclt_openapiRemoteSpanVlanListGet>,
      {outCustom("rspan-vlans", ArgKind::Buffer, showVlanNumbers, &kVlanListText).made(kRspanVlansParts)}}},
    {"is-rspan-vlan", HTTPD_POST, &kRead,
     {open<rpcclt_openapiMirrorIsRspanVlan>, {kVlanAsked, outBool("is-rspan-vlan")}}},
    {"is-src-vlan", HTTPD_POST, &kRead, {open<rpcclt_openapiMirrorIsSrcVlan>, {kVlanAsked, outBool("is-src-vlan")}}},
    {"session-reserve-state", HTTPD_GET, &kRead,
     {open<rpcclt_openapiMirrorSessionReserveStateGet>, {kSession, outChoice("reserve-state", kReserveState)}}},
    {"session-reserve-state", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiMirrorSessionReserveStateSet>,
      {kSessionInBody, bodyChoice("reserve-state", kReserveState).needed()}}},
};
static_assert(std::size(kMirrorRoutes) == 45);

}  // namespace

}  // namespace mirror

constinit const route::RouteGroup route_groups::kMirror = route::routeGroup<mirror::kMirrorRoutes>(mirror::kMirrorDir);
