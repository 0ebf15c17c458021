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
#include "open/startup.h"

namespace mirror {

namespace {

using namespace route;

constexpr uint32_t kSessions = 4;
constexpr uint32_t kMaxSourceVlan = 4093;
constexpr size_t kPortListSize = 5000;
constexpr size_t kVlanListSize = 1024;
constexpr size_t kAclNameSize = 256;

// The words of the session document.
constexpr BufferKind kAclNameText{kAclNameSize, SizeRule::Capacity, nullptr};
constexpr const char *kMacFilter = "L2";
constexpr const char *kIpFilter = "L3";
constexpr Choice kFilterTypeNames[] = {{kMacFilter, 0}, {kIpFilter, 1}};
constexpr ChoiceTable kFilterType = choiceTable(kFilterTypeNames, true, 0, kMacFilter);
constexpr int64_t kL3 = 1;

// The session document as GET writes it ...
constexpr Bind kSessionId =
    query("sessionId").of<uint64_t>().needed().within(1, kSessions).described("The monitor session, by its number").example("1");
constexpr Bind kSessionShown = out("sessionId");
constexpr Bind kModeShown = outChoice("mode", kMode);
constexpr Bind kDestinationShown = outText("destination", kIntfNameText).orNull();
constexpr Bind kSourcePortShown[] = {kPortName, kPortDirection};
constexpr Bind kInterfacesShown = outList("interfaces", kSourcePortShown);
constexpr Bind kVlanShown[] = {out(nullptr)};
constexpr Bind kVlansShown = outList("vlans", kVlanShown);
constexpr Bind kSourcesShownParts[] = {kInterfacesShown, kVlansShown};
constexpr Bind kSourcesShown = outObject("sources", kSourcesShownParts);
constexpr Bind kFilterTypeShown = outChoice("type", kFilterType);
constexpr Bind kFilterNameShown = outText("aclName", kAclNameText);
constexpr Bind kFilterShownParts[] = {kFilterTypeShown, kFilterNameShown};
constexpr Bind kFilterShown = outObject("aclFilter", kFilterShownParts).orNull();

// ... and as PUT reads it. The examples make up the document GET answers
// for session 1 of the default switch, so that what is read can be written
// back as it is.
constexpr Bind kModeRead =
    bodyChoice("mode", kMode)
        .described("\"enable\" copies as soon as the document is applied; \"disable\" keeps the session "
                   "configured but idle")
        .example("\"disable\"");
constexpr Bind kDestinationRead =
    bodyText("destination", kIntfNameText)
        .orNull()
        .described("The physical port that receives the copies, by its name (unit/slot/port); null or \"\" for "
                   "none. A name the switch does not know answers 10003, while the rest of the document is applied")
        .example("\"1/0/24\"");
constexpr Bind kPortNameRead =
    bodyText("interface", kIntfNameText)
        .described("The source interface, by its name: unit/slot/port such as \"1/0/1\", lagN or cpu; names the "
                   "switch does not know are passed over")
        .example("\"1/0/1\"");
constexpr Bind kPortDirectionRead =
    bodyChoice("direction", kDirection)
        .described("Which of the interface's traffic is copied: \"rx\" received, \"tx\" sent, \"both\"")
        .example("\"both\"");
constexpr Bind kSourcePortRead[] = {kPortNameRead, kPortDirectionRead};
constexpr Bind kInterfacesRead =
    bodyList("interfaces", kSourcePortRead)
        .described("The source interfaces, each with the direction it mirrors; empty when the session mirrors VLANs")
        .example(R"([{"interface": "1/0/1", "direction": "both"}, {"interface": "1/0/2", "direction": "rx"}])");
constexpr Bind kVlanRead[] = {
    body(nullptr).of<uint32_t>().described("A source VLAN, by its ID; IDs outside 1-4093 are passed over").example("10")};
constexpr Bind kVlansRead = bodyList("vlans", kVlanRead)
                                .described("The source VLANs, by ID; empty when the session mirrors interfaces")
                                .example("[]");
constexpr Bind kSourcesReadParts[] = {kInterfacesRead, kVlansRead};
constexpr Bind kSourcesRead =
    bodyObject("sources", kSourcesReadParts)
        .described("What the session copies: interfaces or VLANs, never both; a document that names both is refused")
        .example(R"({"interfaces": [{"interface": "1/0/1", "direction": "both"},)"
                 R"( {"interface": "1/0/2", "direction": "rx"}], "vlans": []})");
constexpr Bind kFilterTypeRead = bodyChoice("type", kFilterType)
                                     .needed()
                                     .strictly()
                                     .described("\"L3\" for an IP access list, \"L2\" for a MAC access list")
                                     .example("\"L3\"");
constexpr Bind kFilterNameRead =
    bodyText("aclName", kAclNameText)
        .needed()
        .described("The access list's name; an IP list may also be given by its number, which must then be an "
                   "extended one (100-199)")
        .example("\"voice-rtp\"");
constexpr Bind kFilterReadParts[] = {kFilterTypeRead, kFilterNameRead};
constexpr Bind kFilterRead =
    bodyObject("aclFilter", kFilterReadParts)
        .orNull()
        .described("The access list that selects the frames to copy, or null for none; when a session has both "
                   "kinds, GET shows the IP list")
        .example("null");

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

void writeDestination(Output &document, uint32_t session) {
  uint32_t ifNum = 0;
  if (rpcclt_openapiSwPortMonitorDestPortGet(&clientHandle, session, &ifNum) != OPEN_E_NONE || ifNum == 0) {
    document.null(kDestinationShown);
    return;
  }
  char name[64];
  ifNumToIntfName(ifNum, name);
  document.text(kDestinationShown, name);
}

void writeSourcePorts(Output &sources, uint32_t session) {
  List ports = sources.list(kInterfacesShown);
  CText list = listText(kPortListSize, [&](open_buffdesc *desc) {
    return rpcclt_openapiSwPortMonitorSourcePortsListGet(&clientHandle, session, desc);
  });
  forEachListed(list.get(), kPortListSize, kMaxInterfaces, [&](long ifNum) {
    if (ifNum != 0) writeSourcePort(ports.addObject(), session, static_cast<uint32_t>(ifNum), false);
  });
}

void writeSourceVlans(Output &sources, uint32_t session) {
  List vlans = sources.list(kVlansShown);
  CText list = listText(kVlanListSize, [&](open_buffdesc *desc) {
    return rpcclt_openapiSwMonitorVlanListGet(&clientHandle, session, desc);
  });
  forEachListed(list.get(), kVlanListSize, kMaxVlans, [&](long vlan) {
    if (vlan > 0) vlans.addNumber(static_cast<double>(vlan));
  });
}

void writeAclFilter(Output &document, int64_t type, const char *name) {
  Output filter = document.object(kFilterShown);
  filter.choice(kFilterTypeShown, type);
  filter.text(kFilterNameShown, name);
}

// The IP filter wins over the MAC filter; null when neither is attached.
void writeAclFilterOf(Output &document, uint32_t session) {
  uint32_t aclId = 0;
  bool ipRead = rpcclt_openapiSwMonitorIpAclGet(&clientHandle, session, &aclId) == OPEN_E_NONE;
  char macName[kAclNameSize + 1] = {0};
  open_buffdesc desc{kAclNameSize, macName};
  bool macPresent = rpcclt_openapiSwMonitorMacAclGet(&clientHandle, session, &desc) == OPEN_E_NONE && macName[0] != 0;
  if (ipRead && aclId != 0) {
    char ipName[256];
    ipAclNameOf(aclId, ipName);
    writeAclFilter(document, kL3, ipName);
  } else if (macPresent) {
    writeAclFilter(document, 0, macName);
  } else {
    document.null(kFilterShown);
  }
}

int32_t sessionConfigGet(Inputs &in, Output &document) {
  auto session = static_cast<uint32_t>(in.number(kSessionId));
  document.number(kSessionShown, session);
  uint32_t mode = 0;
  if (rpcclt_openapiSwPortMonitorModeGet(&clientHandle, session, &mode) != OPEN_E_NONE) mode = 0;
  document.choice(kModeShown, mode);
  writeDestination(document, session);
  Output sources = document.object(kSourcesShown);
  writeSourcePorts(sources, session);
  writeSourceVlans(sources, session);
  writeAclFilterOf(document, session);
  return RC_SUCCESS;
}

// Each element costs OpEN calls: a list longer than a switch's interfaces or
// VLANs names some twice or is not a session at all.
bool withinBounds(const BodyObject &sources) {
  return sources.count(kInterfacesRead) <= kMaxInterfaces && sources.count(kVlansRead) <= kMaxVlans;
}

bool onlyDigits(const char *text) { return text[0] != '\0' && strspn(text, "0123456789") == strlen(text); }

// An ACL filter names its type and a list, and an L3 list given by number
// is an extended one.
bool filterIsValid(const BodyObject &document) {
  if (!document.has(kFilterRead)) return document.isNull(kFilterRead) || !document.mistyped(kFilterRead);
  BodyObject filter = document.object(kFilterRead);
  const char *type = filter.text(kFilterTypeRead);
  const char *name = filter.text(kFilterNameRead);
  if (type == nullptr || name == nullptr || name[0] == '\0') return false;
  if (choiceValue(kFilterType, type) != kL3 && strcasecmp(type, kMacFilter) != 0) return false;
  if (choiceValue(kFilterType, type) != kL3 || !onlyDigits(name)) return true;
  unsigned long number = strtoul(name, nullptr, 10);
  return number >= 100 && number <= 199;
}

// A session mirrors ports or VLANs, never both.
bool documentIsValid(const BodyObject &document) {
  BodyObject sources = document.object(kSourcesRead);
  if (sources.count(kInterfacesRead) > 0 && sources.count(kVlansRead) > 0) return false;
  return withinBounds(sources) && filterIsValid(document);
}

// The first non-zero code wins; later steps still run.
struct Outcome {
  int32_t code = RC_SUCCESS;
  void record(int32_t next) {
    if (code == RC_SUCCESS) code = next;
  }
  void recordOpen(int rc) { record(openRcToResultCode(rc)); }
};

void addSourcePorts(uint32_t session, const BodyObject &sources, Outcome &outcome) {
  sources.forEachObject(kInterfacesRead, kMaxInterfaces, [&](const BodyObject &port) {
    const char *name = port.text(kPortNameRead);
    if (name == nullptr) return;
    uint32_t ifNum = intfNameToIfNum(name);
    if (ifNum == 0) return;
    auto direction = static_cast<uint32_t>(port.choice(kPortDirectionRead));
    outcome.recordOpen(rpcclt_openapiSwPortMonitorSourcePortAdd(&clientHandle, session, ifNum, direction));
  });
}

void addSourceVlans(uint32_t session, const BodyObject &sources, Outcome &outcome) {
  sources.forEachNumber(kVlansRead, kMaxVlans, [&](uint32_t vlan) {
    if (vlan < 1 || vlan > kMaxSourceVlan) return;
    char text[16];
    snprintf(text, sizeof text, "%u", vlan);
    open_buffdesc desc{static_cast<uint32_t>(strlen(text) + 1), text};
    outcome.recordOpen(rpcclt_openapiSwMonitorVlanListSet(&clientHandle, session, &desc, kAttach));
  });
}

void setDestination(uint32_t session, const BodyObject &document, Outcome &outcome) {
  const char *destination = document.text(kDestinationRead);
  if (destination == nullptr || destination[0] == '\0') return;
  uint32_t ifNum = intfNameToIfNum(destination);
  if (ifNum == 0) {
    outcome.record(RC_INVALID_ARGUMENT);
    return;
  }
  outcome.recordOpen(rpcclt_openapiSwPortMonitorDestPortSet(&clientHandle, session, ifNum));
}

void attachAclFilter(uint32_t session, const BodyObject &document, Outcome &outcome) {
  if (!document.has(kFilterRead)) return;
  BodyObject filter = document.object(kFilterRead);
  const char *name = filter.text(kFilterNameRead);
  if (name == nullptr) name = "";
  const char *type = filter.text(kFilterTypeRead);
  if (type == nullptr || choiceValue(kFilterType, type) != kL3) {
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
int32_t applyDocument(uint32_t session, const BodyObject &document) {
  (void)rpcclt_openapiSwPortMonitorSessionRemove(&clientHandle, session);
  Outcome outcome;
  BodyObject sources = document.object(kSourcesRead);
  addSourcePorts(session, sources, outcome);
  addSourceVlans(session, sources, outcome);
  setDestination(session, document, outcome);
  attachAclFilter(session, document, outcome);
  auto enable = static_cast<uint32_t>(document.choice(kModeRead));
  outcome.recordOpen(rpcclt_openapiSwPortMonitorModeSet(&clientHandle, session, enable));
  return outcome.code;
}

int32_t sessionConfigPut(Inputs &in, Output &) {
  auto session = static_cast<uint32_t>(in.number(kSessionId));
  if (in.body() == nullptr) return RC_INVALID_ARGUMENT;
  BodyObject document = in.bodyObject();
  return documentIsValid(document) ? applyDocument(session, document) : RC_INVALID_ARGUMENT;
}

// The family's routes answer under "mirror" and read the query as the mirror
// routes do; the record of its own carries the family's description.
constexpr Family kSessionDocument{
    kSessionDir, "mirror", &kMirrorQuery,
    "A whole monitor session as one document (mode, destination, source interfaces or VLANs, ACL filter), read "
    "and replaced in one request: what a page shows and saves. Interfaces go by name (1/0/5, lag2, cpu)."};
constexpr Answering kDocumentRead{&kSessionDocument, Mapping::ShowDefaults, AnswerStyle::Data, AnswerStyle::Data,
                                  AnswerStyle::Data};
constexpr Answering kDocumentWrite{&kSessionDocument, Mapping::OpenRc, AnswerStyle::Line, AnswerStyle::Line,
                                   AnswerStyle::Line};

constexpr Route kSessionRoutes[] = {
    custom("config", HTTPD_GET, sessionConfigGet, kDocumentRead,
           "Reads a monitor session as one document: mode, destination, sources and ACL filter",
           {kSessionId, kSessionShown, kModeShown, kDestinationShown, kSourcesShown, kFilterShown}).answers({RC_SUCCESS}),
    custom("config", HTTPD_PUT, sessionConfigPut, kDocumentWrite,
           "Replaces a monitor session's whole configuration with a document like the one GET reads",
           {kSessionId, kModeRead, kDestinationRead, kSourcesRead, kFilterRead}).answers({RC_SUCCESS, RC_GENERAL_FAILED, RC_INVALID_ARGUMENT, RC_OBJECT_EXIST, RC_OBJECT_NOT_EXIST,
                      RC_API_NOT_FOUND, RC_UNSUPPORTED_FEATURE}),
};

}  // namespace

}  // namespace mirror

constinit const route::RouteGroup route_groups::kSession = route::routeGroup<mirror::kSessionRoutes>(mirror::kSessionDir);
