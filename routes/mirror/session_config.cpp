// A whole monitor session as one document: read from eight OpEN queries,
// and replaced from a document in a fixed order of calls.
#include <strings.h>

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

constexpr uint32_t kSessions = 4;
constexpr uint32_t kMaxSourceVlan = 4093;
constexpr size_t kPortListSize = 5000;
constexpr size_t kVlanListSize = 1024;
constexpr size_t kAclNameSize = 256;

// The words of the session document.
constexpr BufferKind kNameText{64, SizeRule::Capacity, nullptr};
constexpr BufferKind kAclNameText{kAclNameSize, SizeRule::Capacity, nullptr};
constexpr const char *kMacFilter = "L2";
constexpr const char *kIpFilter = "L3";
constexpr Choice kFilterTypeNames[] = {{kMacFilter, 0}, {kIpFilter, 1}};
constexpr ChoiceTable kFilterType = choiceTable(kFilterTypeNames, true, 0, kMacFilter);

// 0 when "sessionId" is absent or not a session number.
uint32_t sessionFromQuery(Inputs &in) {
  uint64_t session = in.number(kMirrorQuery, "sessionId");
  return session >= 1 && session <= kSessions ? static_cast<uint32_t>(session) : 0;
}

// A comma-separated list OpEN fills in a zeroed buffer of `size` bytes (and
// a spare terminator); "" when the call fails.
template <typename Fill>
CText listText(size_t size, Fill fill) {
  CText text(static_cast<char *>(calloc(size + 1, 1)));
  if (!text) return text;
  open_buffdesc desc{static_cast<uint32_t>(size), text.get()};
  if (fill(&desc) != OPEN_E_NONE) text.get()[0] = '\0';
  return text;
}

cJSON *destinationOf(uint32_t session) {
  uint32_t ifNum = 0;
  if (rpcclt_openapiSwPortMonitorDestPortGet(&clientHandle, session, &ifNum) != OPEN_E_NONE || ifNum == 0) {
    return cJSON_CreateNull();
  }
  char name[64];
  ifNumToIntfName(ifNum, name);
  return cJSON_CreateString(name);
}

cJSON *sourcePortsOf(uint32_t session) {
  cJSON *ports = cJSON_CreateArray();
  CText list = listText(kPortListSize, [&](open_buffdesc *desc) {
    return rpcclt_openapiSwPortMonitorSourcePortsListGet(&clientHandle, session, desc);
  });
  forEachListed(list.get(), kPortListSize, kMaxInterfaces, [&](long ifNum) {
    if (ifNum != 0) cJSON_AddItemToArray(ports, sourcePortObject(session, static_cast<uint32_t>(ifNum), false));
  });
  return ports;
}

cJSON *sourceVlansOf(uint32_t session) {
  cJSON *vlans = cJSON_CreateArray();
  CText list = listText(kVlanListSize, [&](open_buffdesc *desc) {
    return rpcclt_openapiSwMonitorVlanListGet(&clientHandle, session, desc);
  });
  forEachListed(list.get(), kVlanListSize, kMaxVlans, [&](long vlan) {
    if (vlan > 0) cJSON_AddItemToArray(vlans, cJSON_CreateNumber(static_cast<double>(vlan)));
  });
  return vlans;
}

cJSON *aclFilter(const char *type, const char *name) {
  cJSON *filter = cJSON_CreateObject();
  cJSON_AddStringToObject(filter, "type", type);
  cJSON_AddStringToObject(filter, "aclName", name);
  return filter;
}

// The IP filter wins over the MAC filter; null when neither is attached.
cJSON *aclFilterOf(uint32_t session) {
  uint32_t aclId = 0;
  bool ipRead = rpcclt_openapiSwMonitorIpAclGet(&clientHandle, session, &aclId) == OPEN_E_NONE;
  char macName[kAclNameSize + 1] = {0};
  open_buffdesc desc{kAclNameSize, macName};
  bool macPresent = rpcclt_openapiSwMonitorMacAclGet(&clientHandle, session, &desc) == OPEN_E_NONE && macName[0] != 0;
  if (ipRead && aclId != 0) {
    char ipName[256];
    ipAclNameOf(aclId, ipName);
    return aclFilter(kIpFilter, ipName);
  }
  return macPresent ? aclFilter(kMacFilter, macName) : cJSON_CreateNull();
}

Answer sessionConfigGet(Inputs &in) {
  uint32_t session = sessionFromQuery(in);
  if (session == 0) return answerOf(kMirror, RC_INVALID_ARGUMENT, nullptr, AnswerStyle::Data);
  JsonPtr document(cJSON_CreateObject());
  cJSON_AddNumberToObject(document.get(), "sessionId", session);
  uint32_t mode = 0;
  if (rpcclt_openapiSwPortMonitorModeGet(&clientHandle, session, &mode) != OPEN_E_NONE) mode = 0;
  cJSON_AddStringToObject(document.get(), "mode", choiceText(kMode, mode));
  cJSON_AddItemToObject(document.get(), "destination", destinationOf(session));
  cJSON *sources = cJSON_AddObjectToObject(document.get(), "sources");
  cJSON_AddItemToObject(sources, "interfaces", sourcePortsOf(session));
  cJSON_AddItemToObject(sources, "vlans", sourceVlansOf(session));
  cJSON_AddItemToObject(document.get(), "aclFilter", aclFilterOf(session));
  return answerOf(kMirror, RC_SUCCESS, document.get(), AnswerStyle::Data);
}

bool nonEmptyArray(const cJSON *item) { return cJSON_IsArray(item) && cJSON_GetArraySize(item) > 0; }

// Each element costs OpEN calls: a list longer than a switch's interfaces or
// VLANs names some twice or is not a session at all.
bool withinBounds(const cJSON *sources) {
  const cJSON *interfaces = cJSON_GetObjectItem(sources, "interfaces");
  const cJSON *vlans = cJSON_GetObjectItem(sources, "vlans");
  return (!cJSON_IsArray(interfaces) || cJSON_GetArraySize(interfaces) <= static_cast<int>(kMaxInterfaces)) &&
         (!cJSON_IsArray(vlans) || cJSON_GetArraySize(vlans) <= static_cast<int>(kMaxVlans));
}

bool onlyDigits(const char *text) { return text[0] != '\0' && strspn(text, "0123456789") == strlen(text); }

// A session mirrors ports or VLANs, never both; an ACL filter names its type
// and a list, and an L3 list given by number is an extended one.
bool documentIsValid(const cJSON *document) {
  const cJSON *sources = cJSON_GetObjectItem(document, "sources");
  if (cJSON_IsObject(sources) && nonEmptyArray(cJSON_GetObjectItem(sources, "interfaces")) &&
      nonEmptyArray(cJSON_GetObjectItem(sources, "vlans"))) {
    return false;
  }
  if (!withinBounds(sources)) return false;
  const cJSON *filter = cJSON_GetObjectItem(document, "aclFilter");
  if (filter == nullptr || cJSON_IsNull(filter)) return true;
  if (!cJSON_IsObject(filter)) return false;
  const cJSON *type = cJSON_GetObjectItem(filter, "type");
  const cJSON *name = cJSON_GetObjectItem(filter, "aclName");
  if (!cJSON_IsString(type) || !cJSON_IsString(name) || name->valuestring[0] == '\0') return false;
  bool l3 = strcasecmp(type->valuestring, kIpFilter) == 0;
  if (!l3 && strcasecmp(type->valuestring, kMacFilter) != 0) return false;
  if (!l3 || !onlyDigits(name->valuestring)) return true;
  unsigned long number = strtoul(name->valuestring, nullptr, 10);
  return number >= 100 && number <= 199;
}

// The first non-zero code wins; later steps still run.
struct Outcome {
  int32_t code = RC_SUCCESS;
  void record(int32_t next) {
    if (code == RC_SUCCESS) code = next;
  }
  void recordOpen(int rc) { record(openRcToResultCode(rc)); }
};

uint32_t directionOf(const cJSON *port) {
  const cJSON *direction = cJSON_GetObjectItem(port, "direction");
  return static_cast<uint32_t>(choiceValue(kDirection, cJSON_IsString(direction) ? direction->valuestring : nullptr));
}

void addSourcePorts(uint32_t session, const cJSON *ports, Outcome &outcome) {
  const cJSON *list = cJSON_IsArray(ports) ? ports : nullptr;
  const cJSON *port = nullptr;
  cJSON_ArrayForEach(port, list) {
    const cJSON *name = cJSON_GetObjectItem(port, "interface");
    if (!cJSON_IsObject(port) || !cJSON_IsString(name)) continue;
    uint32_t ifNum = intfNameToIfNum(name->valuestring);
    if (ifNum == 0) continue;
    outcome.recordOpen(rpcclt_openapiSwPortMonitorSourcePortAdd(&clientHandle, session, ifNum, directionOf(port)));
  }
}

void addSourceVlans(uint32_t session, const cJSON *vlans, Outcome &outcome) {
  const cJSON *list = cJSON_IsArray(vlans) ? vlans : nullptr;
  const cJSON *vlan = nullptr;
  cJSON_ArrayForEach(vlan, list) {
    if (!cJSON_IsNumber(vlan) || vlan->valueint < 1 || vlan->valueint > static_cast<int>(kMaxSourceVlan)) continue;
    char text[16];
    snprintf(text, sizeof text, "%d", vlan->valueint);
    open_buffdesc desc{static_cast<uint32_t>(strlen(text) + 1), text};
    outcome.recordOpen(rpcclt_openapiSwMonitorVlanListSet(&clientHandle, session, &desc, kAttach));
  }
}

void setDestination(uint32_t session, const cJSON *destination, Outcome &outcome) {
  if (!cJSON_IsString(destination) || destination->valuestring[0] == '\0') return;
  uint32_t ifNum = intfNameToIfNum(destination->valuestring);
  if (ifNum == 0) {
    outcome.record(RC_INVALID_ARGUMENT);
    return;
  }
  outcome.recordOpen(rpcclt_openapiSwPortMonitorDestPortSet(&clientHandle, session, ifNum));
}

void attachAclFilter(uint32_t session, const cJSON *filter, Outcome &outcome) {
  if (!cJSON_IsObject(filter)) return;
  const cJSON *type = cJSON_GetObjectItem(filter, "type");
  const cJSON *nameItem = cJSON_GetObjectItem(filter, "aclName");
  const char *name = cJSON_IsString(nameItem) ? nameItem->valuestring : "";
  if (!cJSON_IsString(type) || strcasecmp(type->valuestring, kIpFilter) != 0) {
    char text[kAclNameSize] = {0};
    strncpy(text, name, sizeof text - 1);
    open_buffdesc desc{static_cast<uint32_t>(strlen(text) + 1), text};
    outcome.recordOpen(rpcclt_openapiSwMonitorMacAclSet(&clientHandle, session, &desc, kAttach));
    return;
  }
  uint32_t aclId = 0;
  int32_t found = name[0] != '\0' ? ipAclIdByName(name, &aclId) : RC_OBJECT_NOT_EXIST;
  if (found != RC_SUCCESS) {
    outcome.record(found);
    return;
  }
  outcome.recordOpen(rpcclt_openapiSwMonitorIpAclSet(&clientHandle, session, aclId, kAttach));
}

// Replaces the session's configuration: nothing is merged with what was there.
int32_t applyDocument(uint32_t session, const cJSON *document) {
  (void)rpcclt_openapiSwPortMonitorSessionRemove(&clientHandle, session);
  Outcome outcome;
  const cJSON *sources = cJSON_GetObjectItem(document, "sources");
  addSourcePorts(session, cJSON_GetObjectItem(sources, "interfaces"), outcome);
  addSourceVlans(session, cJSON_GetObjectItem(sources, "vlans"), outcome);
  setDestination(session, cJSON_GetObjectItem(document, "destination"), outcome);
  attachAclFilter(session, cJSON_GetObjectItem(document, "aclFilter"), outcome);
  const cJSON *mode = cJSON_GetObjectItem(document, "mode");
  auto enable = static_cast<uint32_t>(choiceValue(kMode, cJSON_IsString(mode) ? mode->valuestring : nullptr));
  outcome.recordOpen(rpcclt_openapiSwPortMonitorModeSet(&clientHandle, session, enable));
  return outcome.code;
}

Answer sessionConfigPut(Inputs &in) {
  uint32_t session = sessionFromQuery(in);
  const cJSON *document = session != 0 ? in.body() : nullptr;
  int32_t code = document != nullptr && documentIsValid(document) ? applyDocument(session, document)
                                                                   : RC_INVALID_ARGUMENT;
  return answerOf(kMirror, code, nullptr, AnswerStyle::Line);
}

// The session document as GET writes it and PUT reads it.
constexpr Bind kSessionId = query("sessionId").needed();
constexpr Bind kSourcePortShown[] = {outText("interface", kNameText), outChoice("direction", kDirection)};
constexpr Bind kVlanShown[] = {out(nullptr)};
constexpr Bind kSourcesShown[] = {outList("interfaces", kSourcePortShown), outList("vlans", kVlanShown)};
constexpr Bind kFilterShown[] = {outChoice("type", kFilterType), outText("aclName", kAclNameText)};
constexpr Bind kSourcePortRead[] = {bodyText("interface", kNameText), bodyChoice("direction", kDirection)};
constexpr Bind kVlanRead[] = {body(nullptr)};
constexpr Bind kSourcesRead[] = {bodyList("interfaces", kSourcePortRead), bodyList("vlans", kVlanRead)};
constexpr Bind kFilterRead[] = {bodyChoice("type", kFilterType).needed().strictly(),
                                bodyText("aclName", kAclNameText).needed()};

constexpr Answering kDocumentRead{&kMirror, Mapping::ShowDefaults, AnswerStyle::Data, AnswerStyle::Data,
                                  AnswerStyle::Data};
constexpr Answering kDocumentWrite{&kMirror, Mapping::OpenRc, AnswerStyle::Line, AnswerStyle::Line,
                                   AnswerStyle::Line};

constexpr Route kSessionRoutes[] = {
    custom("config", HTTPD_GET, sessionConfigGet, kDocumentRead,
           "A monitor session as one document: mode, destination, source ports or VLANs, ACL filter",
           {kSessionId, out("sessionId"), outChoice("mode", kMode), outText("destination", kNameText).orNull(),
            outObject("sources", kSourcesShown), outObject("aclFilter", kFilterShown).orNull()}),
    custom("config", HTTPD_PUT, sessionConfigPut, kDocumentWrite,
           "Replaces a monitor session with a document; a session mirrors ports or VLANs, never both",
           {kSessionId, bodyChoice("mode", kMode), bodyText("destination", kNameText),
            bodyObject("sources", kSourcesRead), bodyObject("aclFilter", kFilterRead)}),
};

}  // namespace

}  // namespace mirror

constinit const route::RouteGroup route_groups::kSession = route::routeGroup<mirror::kSessionRoutes>(mirror::kSessionDir);
