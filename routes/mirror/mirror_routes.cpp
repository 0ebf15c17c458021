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
#include "open/startup.h"

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

constexpr ChoiceTable kReserveState = choicesOf<OPEN_MIRROR_RESERVE_STATE_t>(true, OPEN_MIRROR_UNRESERVED, "unreserved");

constexpr BufferKind kInputText{256, SizeRule::LengthPlusOne, nullptr};
constexpr BufferKind kIntfListText{5000, SizeRule::Capacity, nullptr};
constexpr BufferKind kVlanListText{1024, SizeRule::Capacity, nullptr};
constexpr BufferKind kAclNameText{256, SizeRule::Capacity, nullptr};

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
constexpr Bind kKnownPortNumber = kPortNumber.ifKnown();
constexpr Bind kPortNameOrNull = kPortName.orNull();
void showInterface(Output &out, const Bind &, const Slot &slot, const Slot *) {
  auto ifNum = static_cast<uint32_t>(slot.num);
  if (ifNum == 0) {
    out.null(kPortNameOrNull);
    return;
  }
  out.number(kKnownPortNumber, ifNum);
  char name[64];
  ifNumToIntfName(ifNum, name);
  out.text(kPortNameOrNull, name);
}
constexpr Bind kInterfaceParts[] = {kKnownPortNumber, kPortNameOrNull};
constexpr Bind kInterface = outCustom("interface", ArgKind::IntPointer, showInterface).made(kInterfaceParts);

// The session of a configured destination, shown only beside "configured":
// true, the call's output before it.
constexpr Bind kConfigured = outBool("configured");
constexpr Bind kConfiguredSession = out("sessionNum").ifKnown();
void showSessionWhenConfigured(Output &out, const Bind &, const Slot &slot, const Slot *args) {
  if (args[1].num == 1) out.number(kConfiguredSession, static_cast<double>(static_cast<uint32_t>(slot.num)));
}
constexpr Bind kSessionWhenConfigured[] = {kConfiguredSession};

constexpr Bind kListedInterface[] = {kPortNumber, kPortName};
constexpr Bind kListedSourcePort[] = {kPortNumber, kPortName, kPortDirection};
constexpr Bind kListedNumber[] = {out(nullptr)};

void showInterfaceList(Output &out, const Bind &bind, const Slot &slot, const Slot *) {
  List list = out.list(bind.parts[0]);
  forEachListed(slot.desc.pstart, slot.capacity, kMaxInterfaces, [&](long value) {
    if (value == 0) return;
    Output intf = list.addObject();
    char name[64];
    ifNumToIntfName(static_cast<uint32_t>(value), name);
    intf.number(kPortNumber, static_cast<uint32_t>(value));
    intf.text(kPortName, name);
  });
}

void showVlanNumbers(Output &out, const Bind &bind, const Slot &slot, const Slot *) {
  List list = out.list(bind.parts[0]);
  forEachListed(slot.desc.pstart, slot.capacity, kMaxVlans, [&](long vlan) {
    if (vlan != 0) list.addNumber(static_cast<double>(vlan));
  });
}

// Each source port with its name and direction; the directions are asked of
// the session the call named, its first argument.
void showSourcePorts(Output &out, const Bind &bind, const Slot &slot, const Slot *args) {
  auto session = static_cast<uint32_t>(args[0].num);
  List ports = out.list(bind.parts[0]);
  forEachListed(slot.desc.pstart, slot.capacity, kMaxInterfaces, [&](long ifNum) {
    if (ifNum != 0) writeSourcePort(ports.addObject(), session, static_cast<uint32_t>(ifNum), true);
  });
}

// The attached IP ACL by number and by name; 0 and null when there is none.
constexpr Bind kIpAclId = out("ip-acl-id");
constexpr Bind kIpAclName = outText("ip-acl", kAclNameText).orNull();
void showIpAcl(Output &out, const Bind &, const Slot &slot, const Slot *) {
  auto aclId = static_cast<uint32_t>(slot.num);
  out.number(kIpAclId, aclId);
  if (aclId == 0) {
    out.null(kIpAclName);
    return;
  }
  char name[256];
  ipAclNameOf(aclId, name);
  out.text(kIpAclName, name);
}
constexpr Bind kIpAclParts[] = {kIpAclId, kIpAclName};

// The IP ACL to attach: "acl-id" of the body (else of the query), else the
// list that the body's "acl-name" names.
constexpr Bind kAclIdInBody = body("acl-id");
constexpr Bind kAclIdInQuery = query("acl-id");
constexpr Bind kAclNameInBody = bodyText("acl-name", kInputText);
int32_t readIpAclToAttach(const Bind &, Inputs &in, Slot &slot) {
  BodyObject body = in.bodyObject();
  uint32_t aclId = body.number(kAclIdInBody);
  if (aclId == 0) aclId = static_cast<uint32_t>(in.number(kAclIdInQuery));
  if (aclId == 0) {
    const char *name = body.text(kAclNameInBody);
    if (name == nullptr || name[0] == '\0') return RC_INVALID_ARGUMENT;
    int32_t code = ipAclIdByName(name, &aclId);
    if (code != RC_SUCCESS) return code;
  }
  slot.num = aclId;
  return RC_SUCCESS;
}
constexpr Bind kIpAclInputs[] = {kAclIdInBody, kAclIdInQuery, kAclNameInBody};

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
constexpr Bind kVlanList = bodyText("vlan-list", kInputText).needed();
int32_t rspanVlansSet(Inputs &in, Output &) {
  const char *list = in.bodyObject().text(kVlanList);
  if (list == nullptr) return RC_INVALID_ARGUMENT;
  char text[256] = {0};
  strncpy(text, list, sizeof text - 1);
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
  return RC_SUCCESS;
}

constexpr Bind kSourcePortsParts[] = {outList("source-ports", kListedSourcePort)};
constexpr Bind kValidSrcParts[] = {outList("valid-src-interfaces", kListedInterface)};
constexpr Bind kValidDestParts[] = {outList("valid-dest-interfaces", kListedInterface)};
constexpr Bind kRspanVlansParts[] = {outList("rspan-vlans", kListedNumber)};

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
      {kIntfAsked, kConfigured,
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
           {kVlanList}),
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
