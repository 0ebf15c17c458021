// The mirror routes: one OpEN port-monitor call each, but for the lists,
// the IP ACL filter and the remote-span VLAN ranges.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cgi/response.h"
#include "routes/engine/values.h"
#include "routes/mirror/mirror.h"
#include "tools/common.h"

namespace mirror {

namespace {

using namespace route;

// Reads never fail: a failed call shows its defaults (0, null, "disable",
// "both", "unreserved") with code 0. Writes map the OpEN result.
constexpr Answering kRead{&kMirror, Mapping::ShowDefaults, AnswerStyle::Line, AnswerStyle::Data, AnswerStyle::Data};
constexpr Answering kWrite{&kMirror, Mapping::OpenRc, AnswerStyle::Line, AnswerStyle::Line, AnswerStyle::Line};

constexpr Choice kEnableName[] = {{"enable", 1}};
constexpr ChoiceTable kMode = choiceTable(kEnableName, true, 0, "disable");
constexpr Choice kReservedName[] = {{"reserved", 1}};
constexpr ChoiceTable kReserveState = choiceTable(kReservedName, true, 0, "unreserved");

constexpr BufferKind kInputText{256, SizeRule::LengthPlusOne, nullptr};
constexpr BufferKind kIntfListText{5000, SizeRule::Capacity, nullptr};
constexpr BufferKind kVlanListText{1024, SizeRule::Capacity, nullptr};
constexpr BufferKind kAclNameText{256, SizeRule::Capacity, nullptr};

constexpr uint32_t kAttach = 1;
constexpr uint32_t kMaxRspanVlan = 4093;

// Selectors of the query; values of the body, the query standing in for
// what the body lacks or gives as 0.
constexpr Bind kSession = query("sessionNum");
constexpr Bind kSessionInBody = bodyOrQuery("sessionNum");
constexpr Bind kIntfInBody = bodyOrQuery("intIfNum").needed();
// The yes/no routes read their one key from the query only, and never 0.
constexpr Bind kIntfAsked = query("intIfNum").needed();
constexpr Bind kVlanAsked = query("vlanId").needed();
constexpr Bind kInterface = outCustom("interface", ArgKind::IntPointer, showInterface);

// The session of a configured destination, shown only beside "configured": true.
void showSessionWhenConfigured(cJSON *data, const Bind &bind, const Slot &slot) {
  if (cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(data, "configured"))) {
    cJSON_AddNumberToObject(data, bind.outKey, static_cast<double>(static_cast<uint32_t>(slot.num)));
  }
}

// Calls `each` with every non-zero number of a comma-separated list.
template <typename Each>
void forEachListed(const Slot &slot, Each each) {
  if (slot.desc.pstart == nullptr || slot.capacity == 0) return;
  CText list(strndup(slot.desc.pstart, strnlen(slot.desc.pstart, slot.capacity - 1)));
  char *rest = list.get();
  for (char *token = rest ? strtok_r(rest, ",", &rest) : nullptr; token; token = strtok_r(nullptr, ",", &rest)) {
    long value = strtol(token, nullptr, 10);
    if (value != 0) each(value);
  }
}

void showInterfaceList(cJSON *data, const Bind &bind, const Slot &slot) {
  cJSON *list = cJSON_AddArrayToObject(data, bind.outKey);
  forEachListed(slot, [&](long ifNum) { cJSON_AddItemToArray(list, interfaceObject(static_cast<uint32_t>(ifNum))); });
}

void showVlanNumbers(cJSON *data, const Bind &bind, const Slot &slot) {
  cJSON *list = cJSON_AddArrayToObject(data, bind.outKey);
  forEachListed(slot, [&](long vlan) { cJSON_AddItemToArray(list, cJSON_CreateNumber(static_cast<double>(vlan))); });
}

uint32_t sessionFromQuery() {
  return static_cast<uint32_t>(numberFromText(mirrorQueryParamGet("sessionNum"), Digits::Unsigned));
}

// Each source port with its name and its direction ("both" when unknown).
void sourcePortsListGet() {
  uint32_t session = sessionFromQuery();
  CText list(static_cast<char *>(calloc(kIntfListText.capacity + 1, 1)));
  JsonPtr data(cJSON_CreateObject());
  cJSON *ports = cJSON_AddArrayToObject(data.get(), "source-ports");
  open_buffdesc desc{kIntfListText.capacity, list.get()};
  if (list && rpcclt_openapiSwPortMonitorSourcePortsListGet(&clientHandle, session, &desc) == OPEN_E_NONE) {
    Slot slot;
    slot.desc = {kIntfListText.capacity, list.get()};
    slot.capacity = kIntfListText.capacity;
    forEachListed(slot, [&](long value) {
      auto ifNum = static_cast<uint32_t>(value);
      cJSON *port = interfaceObject(ifNum);
      uint32_t direction = kBoth;
      if (rpcclt_openapiMirrorSourcePortDirectionGet(&clientHandle, session, ifNum, &direction) != OPEN_E_NONE) {
        direction = kBoth;
      }
      cJSON_AddStringToObject(port, "direction", choiceText(kDirection, direction));
      cJSON_AddItemToArray(ports, port);
    });
  }
  answerWith(RC_SUCCESS, kMirror.dataKey, data.get(), AnswerStyle::Data);
}

// The attached IP ACL by number and by name; 0 and null when there is none.
void ipAclGet() {
  uint32_t aclId = 0;
  if (rpcclt_openapiSwMonitorIpAclGet(&clientHandle, sessionFromQuery(), &aclId) != OPEN_E_NONE) aclId = 0;
  JsonPtr data(cJSON_CreateObject());
  cJSON_AddNumberToObject(data.get(), "ip-acl-id", aclId);
  if (aclId == 0) {
    cJSON_AddNullToObject(data.get(), "ip-acl");
  } else {
    char name[256];
    ipAclNameOf(aclId, name);
    cJSON_AddStringToObject(data.get(), "ip-acl", name);
  }
  answerWith(RC_SUCCESS, kMirror.dataKey, data.get(), AnswerStyle::Data);
}

uint32_t bodyNumber(const cJSON *body, const char *key) {
  const cJSON *item = cJSON_GetObjectItem(body, key);
  return cJSON_IsNumber(item) ? jsonNumberToU32(item) : 0;
}

// Attaches the IP ACL given by "acl-id", else by "acl-name".
void ipAclSet() {
  Request request;
  const cJSON *body = request.body();
  if (body == nullptr) {
    answerWith(RC_INVALID_ARGUMENT, nullptr, nullptr, AnswerStyle::Line);
    return;
  }
  uint32_t session = bodyNumber(body, "sessionNum");
  if (session == 0) session = sessionFromQuery();
  uint32_t aclId = bodyNumber(body, "acl-id");
  const cJSON *name = cJSON_GetObjectItem(body, "acl-name");
  int32_t code = RC_SUCCESS;
  if (aclId == 0) {
    code = cJSON_IsString(name) && name->valuestring[0] != '\0' ? ipAclIdByName(name->valuestring, &aclId)
                                                                : RC_INVALID_ARGUMENT;
  }
  if (code == RC_SUCCESS) {
    code = openRcToResultCode(rpcclt_openapiSwMonitorIpAclSet(&clientHandle, session, aclId, kAttach));
  }
  answerWith(code, nullptr, nullptr, AnswerStyle::Line);
}

void setRspanVlans(long first, long last) {
  for (long vlan = first; vlan <= last; ++vlan) {
    (void)rpcclt_openapiRemoteSpanVlanSet(&clientHandle, static_cast<uint32_t>(vlan), kAttach);
  }
}

// "10,20-22" sets VLANs 10, 20, 21 and 22; ranges stop at 4093; other
// tokens are passed over. The answer does not depend on the single calls.
void rspanVlansSet() {
  Request request;
  const cJSON *list = cJSON_GetObjectItem(request.body(), "vlan-list");
  if (!cJSON_IsString(list)) {
    answerWith(RC_INVALID_ARGUMENT, nullptr, nullptr, AnswerStyle::Line);
    return;
  }
  char text[256] = {0};
  strncpy(text, list->valuestring, sizeof text - 1);
  char *rest = text;
  for (char *token = strtok_r(rest, ",", &rest); token; token = strtok_r(nullptr, ",", &rest)) {
    int first = 0, last = 0;
    if (sscanf(token, "%d-%d", &first, &last) == 2) {
      setRspanVlans(first, last < static_cast<int>(kMaxRspanVlan) ? last : kMaxRspanVlan);
    } else if (sscanf(token, "%d", &first) == 1) {
      setRspanVlans(first, first);
    }
  }
  answerWith(RC_SUCCESS, nullptr, nullptr, AnswerStyle::Line);
}

constexpr Route kMirrorRoutes[] = {
    custom("sw-port-monitor-source-ports-list", HTTPD_GET, sourcePortsListGet),
    {"source-port-direction", HTTPD_GET, &kRead,
     {open<rpcclt_openapiMirrorSourcePortDirectionGet>,
      {kSession, query("intIfNum"), outChoice("direction", kDirection)}}},
    {"sw-port-monitor-source-port", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSwPortMonitorSourcePortAdd>,
      {kSessionInBody, kIntfInBody, bodyChoice("direction", kDirection)}}},
    {"sw-port-monitor-source-port", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSwPortMonitorSourcePortRemove>, {kSession, query("intIfNum")}}},
    {"sw-port-monitor-dest-port", HTTPD_GET, &kRead, {open<rpcclt_openapiSwPortMonitorDestPortGet>, {kSession, kInterface}}},
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
      {kIntfAsked, outBool("configured"), outCustom("sessionNum", ArgKind::IntPointer, showSessionWhenConfigured)}}},
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
      {outCustom("valid-src-interfaces", ArgKind::Buffer, showInterfaceList, &kIntfListText)}}},
    {"sw-port-monitor-valid-dest-intf-first", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidDestIntfFirstGet>, {kInterface}}},
    {"sw-port-monitor-valid-dest-intf-next", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidDestIntfNextGet>, {query("intIfNum"), kInterface}}},
    {"sw-port-monitor-valid-dest-intf-list", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwPortMonitorValidDestIntfListGet>,
      {outCustom("valid-dest-interfaces", ArgKind::Buffer, showInterfaceList, &kIntfListText)}}},
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
    custom("sw-monitor-ip-acl", HTTPD_GET, ipAclGet),
    custom("sw-monitor-ip-acl", HTTPD_PUT, ipAclSet),
    {"sw-monitor-mac-acl", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSwMonitorMacAclGet>, {kSession, outText("mac-acl", kAclNameText)}}},
    {"sw-monitor-mac-acl", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSwMonitorMacAclSet>,
      {kSessionInBody, bodyText("mac-acl", kInputText).needed(), constant(kAttach)}}},
    {"remote-span-vlan", HTTPD_GET, &kRead, {open<rpcclt_openapiRemoteSpanVlanGet>, {out("rspan-vlan")}}},
    custom("remote-span-vlan", HTTPD_PUT, rspanVlansSet),
    {"remote-span-vlan-next", HTTPD_GET, &kRead,
     {open<rpcclt_openapiRemoteSpanVlanNextGet>, {query("rspanVlan"), out("rspan-vlan-next")}}},
    {"remote-span-vlan-list", HTTPD_GET, &kRead,
     {open<rpcclt_openapiRemoteSpanVlanListGet>,
      {outCustom("rspan-vlans", ArgKind::Buffer, showVlanNumbers, &kVlanListText)}}},
    {"is-rspan-vlan", HTTPD_POST, &kRead, {open<rpcclt_openapiMirrorIsRspanVlan>, {kVlanAsked, outBool("is-rspan-vlan")}}},
    {"is-src-vlan", HTTPD_POST, &kRead, {open<rpcclt_openapiMirrorIsSrcVlan>, {kVlanAsked, outBool("is-src-vlan")}}},
    {"session-reserve-state", HTTPD_GET, &kRead,
     {open<rpcclt_openapiMirrorSessionReserveStateGet>, {kSession, outChoice("reserve-state", kReserveState)}}},
    {"session-reserve-state", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiMirrorSessionReserveStateSet>,
      {kSessionInBody, bodyChoice("reserve-state", kReserveState).needed()}}},
};
static_assert(std::size(kMirrorRoutes) == 45);

}  // namespace

void mirrorRouteTableRegister(httpdTable *table) { registerRoutes<kMirrorRoutes>(table, kMirrorDir); }
std::span<const Route> mirrorRoutes() { return kMirrorRoutes; }

}  // namespace mirror
