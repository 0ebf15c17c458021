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
constexpr const char *kSessionText = "The monitor session, by its number; this switch has sessions 1 to 4";
constexpr Bind kSession = query("sessionNum").described(kSessionText).example("1");
constexpr Bind kSessionInBody = bodyOrQuery("sessionNum").described(kSessionText).example("1");
constexpr Bind kIntfInBody = bodyOrQuery("intIfNum").needed();
constexpr Bind kIntf = query("intIfNum");
// The yes/no routes read their one key from the query only, and never 0.
constexpr Bind kIntfAsked = query("intIfNum").needed();
constexpr Bind kVlanAsked = query("vlanId").needed();

// Each route's own words for the interface or VLAN it names, with an
// example that works on the default switch: session 1 copies 1/0/1 (both
// directions) and 1/0/2 (received frames) to 1/0/24.
constexpr Bind kSourcePortAsked =
    kIntf.described("The source port whose direction is asked, by its internal interface number (intIfNum)")
        .example("2");
constexpr Bind kSourcePortAdded =
    kIntfInBody.described("The port, LAG or CPU interface to mirror, by its internal interface number (intIfNum)")
        .example("3");
constexpr Bind kSourcePortRemoved =
    kIntf.described("The source port to stop mirroring, by its internal interface number (intIfNum)").example("2");
constexpr Bind kDestPortSet =
    kIntfInBody
        .described("The physical port that receives the session's copies, by its internal interface number (intIfNum)")
        .example("24");
constexpr Bind kReflectorPortSet =
    kIntfInBody
        .described("The physical port that puts the session's copies onto its remote-span VLAN, by its internal "
                   "interface number (intIfNum); it must be neither a source nor a destination")
        .example("23");
constexpr Bind kDestAsked =
    kIntfAsked.described("The interface to look for among the destinations, by its internal number (intIfNum)")
        .example("24");
constexpr Bind kSourceAsked =
    kIntfAsked.described("The interface to look for among the sources, by its internal number (intIfNum)")
        .example("1");
constexpr Bind kSourceSessionAsked =
    kIntf.described("The source interface whose session is asked, by its internal interface number (intIfNum)")
        .example("1");
constexpr Bind kMaySourceAsked =
    kIntfAsked.described("The interface to judge as a source, by its internal interface number (intIfNum)")
        .example("5");
constexpr Bind kMayDestAsked =
    kIntfAsked.described("The interface to judge as a destination, by its internal interface number (intIfNum)")
        .example("23");
constexpr const char *kWalkedText =
    "The interface the walk is at, as the previous answer gave it, by its internal interface number (intIfNum)";
constexpr Bind kValidSourceAfter = kIntf.described(kWalkedText).example("1");
constexpr Bind kValidDestAfter = kIntf.described(kWalkedText).example("3");
constexpr Bind kRspanVlanAsked =
    kVlanAsked.described("The VLAN to look for among the remote-span VLANs, by its ID").example("20");
constexpr Bind kSourceVlanAsked =
    kVlanAsked.described("The VLAN to look for among the sessions' source VLANs, by its ID").example("10");
constexpr Bind kRemoteVlanSet =
    bodyOrQuery("vlanId").needed().described("The VLAN, by its ID; it must be one of the switch's remote-span VLANs");

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
constexpr Bind kAclIdInBody =
    body("acl-id").of<uint32_t>().described("The IP access list, by its number (1-99 standard, 100-199 extended)").example("150");
constexpr Bind kAclIdInQuery =
    query("acl-id").of<uint32_t>().described("The IP access list by its number, when the body gives none").example("150");
constexpr Bind kAclNameInBody =
    bodyText("acl-name", kInputText)
        .described("The IP access list by its name, when no number is given")
        .example("\"voice-rtp\"");
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
constexpr Bind kVlanList =
    bodyText("vlan-list", kInputText)
        .needed()
        .described("VLAN IDs and ranges a-b, separated by commas, such as \"10,20-22\"; a range stops at 4093, "
                   "tokens that are no number are passed over, and the answer is success even for VLANs the switch "
                   "refuses")
        .example("\"20\"");
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
                     .made(kSourcePortsParts)}},
     "Lists a monitor session's source ports with the direction each one mirrors"},
    {"source-port-direction", HTTPD_GET, &kRead,
     {open<rpcclt_openapiMirrorSourcePortDirectionGet>,
      {kSession, kSourcePortAsked, outChoice("direction", kDirection)}},
     "Reads which of a source port's traffic a monitor session copies: received, sent or both"},
    {"sw-port-monitor-source-port", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSwPortMonitorSourcePortAdd>,
      {kSessionInBody, kSourcePortAdded,
       bodyChoice("direction", kDirection)
           .described("Which of the port's traffic the session copies: \"rx\" received, \"tx\" sent, \"both\"")
           .example("\"tx\"")}},
     "Adds a source port to a monitor session, copying its received frames, sent frames or both"},
    {"sw-port-monitor-source-port", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSwPortMonitorSourcePortRemove>, {kSession, kSourcePortRemoved}},
     "Removes a source port from a monitor session"},
    {"sw-port-monitor-dest-port", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorDestPortGet>, {kSession, kInterface}},
     "Reads the destination port that receives a monitor session's copies"},
    {"sw-port-monitor-dest-port", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwPortMonitorDestPortSet>, {kSessionInBody, kDestPortSet}},
     "Sets the destination port that receives a monitor session's copies"},
    {"sw-port-monitor-dest-port", HTTPD_DELETE, &kWrite, {open<rpcclt_openapiSwPortMonitorDestPortRemove>, {kSession}},
     "Removes a monitor session's destination port"},
    {"sw-port-monitor-mode", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorModeGet>, {kSession, outChoice("mode", kMode)}},
     "Tells whether a monitor session is enabled"},
    {"sw-port-monitor-mode", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwPortMonitorModeSet>,
      {kSessionInBody, bodyChoice("mode", kMode)
                           .needed()
                           .described("\"enable\" starts copying; \"disable\" stops it and keeps the configuration")
                           .example("\"enable\"")}},
     "Enables or disables a monitor session"},
    {"sw-port-monitor-session-count", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSwPortMonitorSessionCount>, {out("session-count")}},
     "Reads how many monitor sessions the switch has"},
    {"sw-port-monitor-config", HTTPD_DELETE, &kWrite, {open<rpcclt_openapiSwPortMonitorConfigRemove>, {}},
     "Deletes the configuration of every monitor session"},
    {"sw-port-monitor-session", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSwPortMonitorSessionRemove>, {kSession.example("2")}},
     "Deletes a monitor session's configuration: its sources, destination, VLANs and filters"},
    {"sw-port-monitor-is-dest-configured", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSwPortMonitorIsDestConfigured>,
      {kDestAsked, kConfigured,
       outCustom("sessionNum", ArgKind::IntPointer, showSessionWhenConfigured).made(kSessionWhenConfigured)}},
     "Tells whether an interface is a monitor session's destination, and of which session"},
    {"sw-port-monitor-is-src-configured", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSwPortMonitorIsSrcConfigured>, {kSourceAsked, outBool("configured")}},
     "Tells whether an interface is a source of some monitor session"},
    {"sw-port-monitor-src-configured-session", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorSrcConfiguredSessionGet>, {kSourceSessionAsked, out("sessionNum")}},
     "Reads which monitor session has an interface as a source"},
    {"sw-port-monitor-is-valid-src-port", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSwPortMonitorIsValidSrcPort>, {kMaySourceAsked, outBool("valid")}},
     "Tells whether an interface may be a monitor session's source"},
    {"sw-port-monitor-is-valid-dest-port", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSwPortMonitorIsValidDestPort>, {kMayDestAsked, outBool("valid")}},
     "Tells whether an interface may be a monitor session's destination"},
    {"sw-port-monitor-valid-src-intf-first", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidSrcIntfFirstGet>, {kInterface}},
     "Reads the first interface that may be a monitor session's source"},
    {"sw-port-monitor-valid-src-intf-next", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidSrcIntfNextGet>, {kValidSourceAfter, kInterface}},
     "Reads the next interface that may be a monitor session's source, for walking them"},
    {"sw-port-monitor-valid-src-intf-list", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidSrcIntfListGet>,
      {outCustom("valid-src-interfaces", ArgKind::Buffer, showInterfaceList, &kIntfListText)
           .made(kValidSrcParts)}},
     "Lists the interfaces that may be a monitor session's source"},
    {"sw-port-monitor-valid-dest-intf-first", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidDestIntfFirstGet>, {kInterface}},
     "Reads the first interface that may be a monitor session's destination"},
    {"sw-port-monitor-valid-dest-intf-next", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidDestIntfNextGet>, {kValidDestAfter, kInterface}},
     "Reads the next interface that may be a monitor session's destination, for walking them"},
    {"sw-port-monitor-valid-dest-intf-list", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidDestIntfListGet>,
      {outCustom("valid-dest-interfaces", ArgKind::Buffer, showInterfaceList, &kIntfListText)
           .made(kValidDestParts)}},
     "Lists the interfaces that may be a monitor session's destination"},
    {"sw-monitor-vlan-list", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorVlanListGet>, {kSession, outText("vlan-list", kVlanListText)}},
     "Reads the VLANs a monitor session copies, as a comma-separated list"},
    {"sw-monitor-vlan-list", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwMonitorVlanListSet>,
      {kSessionInBody.example("2"),
       bodyText("vlan-list", kInputText)
           .needed()
           .described("VLAN IDs and ranges a-b, separated by commas; the VLANs must exist, and the session must "
                      "not have source ports")
           .example("\"10\""),
       constant(kAttach)}},
     "Adds VLANs to the sources of a monitor session"},
    {"sw-monitor-src-type", HTTPD_GET, &kRead, {open<rpcclt_openapiSwMonitorSrcTypeGet>, {kSession, out("src-type")}},
     "Reads what a monitor session copies: 0 nothing, 1 ports, 2 VLANs, 3 a remote-span VLAN"},
    {"sw-monitor-dst-type", HTTPD_GET, &kRead, {open<rpcclt_openapiSwMonitorDstTypeGet>, {kSession, out("dst-type")}},
     "Reads where a monitor session sends its copies: 0 nowhere, 1 a port, 2 a remote-span VLAN"},
    {"sw-monitor-remote-src-vlan", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorRemoteSrcVlanGet>, {kSession, out("remote-src-vlan")}},
     "Reads the remote-span VLAN a monitor session takes its copies from"},
    {"sw-remote-monitor-src-vlan", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwRemoteMonitorSrcVlanSet>, {kSessionInBody.example("3"), kRemoteVlanSet.example("20")}},
     "Sets the remote-span VLAN a monitor session takes its copies from"},
    {"sw-monitor-remote-dst-vlan", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorRemoteDstVlanGet>, {kSession, out("remote-dst-vlan")}},
     "Reads the remote-span VLAN a monitor session sends its copies on"},
    {"sw-remote-monitor-dst-vlan", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwRemoteMonitorDstVlanSet>, {kSessionInBody.example("4"), kRemoteVlanSet.example("20")}},
     "Sets the remote-span VLAN a monitor session sends its copies on"},
    {"sw-monitor-reflector-port", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorReflectorPortGet>, {kSession, kInterface}},
     "Reads the reflector port that puts a monitor session's copies onto its remote-span VLAN"},
    {"sw-monitor-reflector-port", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwMonitorReflectorPortSet>, {kSessionInBody, kReflectorPortSet}},
     "Sets the reflector port that puts a monitor session's copies onto its remote-span VLAN"},
    {"sw-monitor-ip-acl", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorIpAclGet>,
      {kSession, outCustom("ip-acl-id", ArgKind::IntPointer, showIpAcl).made(kIpAclParts)}},
     "Reads the IP access list that filters a monitor session's copies, by number and name"},
    // A list named by a name that no list has is refused before the call.
    Route{"sw-monitor-ip-acl", HTTPD_PUT, &kWrite,
          {open<rpcclt_openapiSwMonitorIpAclSet>,
           {kSessionInBody, customInput(ArgKind::IntValue, readIpAclToAttach).made(kIpAclInputs), constant(kAttach)}},
          "Sets the IP access list, by number or name, that filters a monitor session's copies"}
        .answers({RC_OBJECT_NOT_EXIST}),
    {"sw-monitor-mac-acl", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorMacAclGet>, {kSession, outText("mac-acl", kAclNameText)}},
     "Reads the name of the MAC access list that filters a monitor session's copies"},
    {"sw-monitor-mac-acl", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwMonitorMacAclSet>,
      {kSessionInBody,
       bodyText("mac-acl", kInputText)
           .needed()
           .described("The MAC access list, by its name")
           .example("\"trusted-macs\""),
       constant(kAttach)}},
     "Sets the MAC access list, by name, that filters a monitor session's copies"},
    {"remote-span-vlan", HTTPD_GET, &kRead, {open<rpcclt_openapiRemoteSpanVlanGet>, {out("rspan-vlan")}},
     "Reads the switch's first remote-span VLAN"},
    custom("remote-span-vlan", HTTPD_PUT, rspanVlansSet, kVlanRangesWrite,
           "Makes the VLANs of a list such as \"10,20-22\" remote-span VLANs", {kVlanList}).answers({RC_SUCCESS, RC_INVALID_ARGUMENT}),
    {"remote-span-vlan-next", HTTPD_GET, &kRead,
     {open<rpcclt_openapiRemoteSpanVlanNextGet>,
      {query("rspanVlan")
           .described("The remote-span VLAN the walk is at, as the previous answer gave it, by its ID")
           .example("20"),
       out("rspan-vlan-next")}},
     "Reads the remote-span VLAN after the one given, for walking them"},
    {"remote-span-vlan-list", HTTPD_GET, &kRead,
     {open<rpcclt_openapiRemoteSpanVlanListGet>,
      {outCustom("rspan-vlans", ArgKind::Buffer, showVlanNumbers, &kVlanListText).made(kRspanVlansParts)}},
     "Lists the switch's remote-span VLANs"},
    {"is-rspan-vlan", HTTPD_POST, &kRead,
     {open<rpcclt_openapiMirrorIsRspanVlan>, {kRspanVlanAsked, outBool("is-rspan-vlan")}},
     "Tells whether a VLAN is one of the switch's remote-span VLANs"},
    {"is-src-vlan", HTTPD_POST, &kRead,
     {open<rpcclt_openapiMirrorIsSrcVlan>, {kSourceVlanAsked, outBool("is-src-vlan")}},
     "Tells whether a VLAN is a source of some monitor session"},
    {"session-reserve-state", HTTPD_GET, &kRead,
     {open<rpcclt_openapiMirrorSessionReserveStateGet>, {kSession, outChoice("reserve-state", kReserveState)}},
     "Tells whether a monitor session is reserved"},
    {"session-reserve-state", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiMirrorSessionReserveStateSet>,
      {kSessionInBody,
       bodyChoice("reserve-state", kReserveState)
           .needed()
           .described("\"reserved\" reserves the session; \"unreserved\" releases it")
           .example("\"reserved\"")}},
     "Reserves a monitor session or releases its reservation"},
};
static_assert(std::size(kMirrorRoutes) == 45);

}  // namespace

}  // namespace mirror

constinit const route::RouteGroup route_groups::kMirror = route::routeGroup<mirror::kMirrorRoutes>(mirror::kMirrorDir);
