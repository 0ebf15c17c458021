// Who may reach the SNMP agent and what they see: communities, community-
// and-address entries, VACM groups, views and notification filters.
#include <cstdlib>
#include <cstring>

#include "cgi/response.h"
#include "routes/engine/values.h"
#include "routes/families.h"
#include "routes/snmp/snmp.h"
#include "tools/address.h"

namespace snmp {

namespace {

using namespace route;

// Community names of the community walk: 20 characters.
constexpr BufferKind kCommunityKey{21, SizeRule::LengthPlusOne, nullptr};

// An unknown access type goes out as 0 and prints as no access.
constexpr Choice kAccessTypeNames[] = {
    {"snmp_community_access_ro", 1}, {"snmp_community_access_rw", 2}, {"snmp_community_access_su", 3}};
constexpr ChoiceTable kAccessType = choiceTable(kAccessTypeNames, false, 0, "snmp_community_access_none");
// Views and filters include a subtree unless told, or shown, to exclude it.
constexpr Choice kTreeTypeNames[] = {{"included", 1}, {"excluded", 2}};
constexpr ChoiceTable kTreeType = choiceTable(kTreeTypeNames, false, 1, "included");

constexpr const char *kCommunityObject = "community";

const char *memberText(const cJSON *object, const char *key) {
  const cJSON *item = cJSON_GetObjectItem(object, key);
  return cJSON_IsString(item) ? item->valuestring : nullptr;
}

// A prefix length as a number or as decimal text; 0 when absent.
uint32_t prefixLength(const cJSON *item) {
  if (cJSON_IsNumber(item)) return jsonNumberToU32(item);
  return cJSON_IsString(item) ? static_cast<uint32_t>(strtoul(item->valuestring, nullptr, 10)) : 0;
}

// The body's "community" object as the record; absent members are no
// access, no address, prefix 0 and an empty view name.
int32_t communityFromBody(const Bind &bind, Inputs &in, Slot &slot) {
  auto *community = slot.recordAs<open_snmp_community_addr_t>();
  const cJSON *object = cJSON_GetObjectItem(in.body(), kCommunityObject);
  if (!cJSON_IsObject(object)) object = nullptr;
  if (community == nullptr || fillText(bind, memberText(object, "viewName"), slot) != RC_SUCCESS) {
    return RC_GENERAL_FAILED;
  }
  community->accessType = static_cast<uint32_t>(choiceValue(kAccessType, memberText(object, "type")));
  addressFromText(memberText(object, "ipAddr"), &community->ipAddr);
  addressFromText(memberText(object, "ipMask"), &community->ipMask);
  community->ipv6PrefixLen = prefixLength(cJSON_GetObjectItem(object, "ipv6PrefixLen"));
  community->viewName = slot.desc;
  return RC_SUCCESS;
}

// The record OpEN fills: its view name goes into the slot's own buffer.
int32_t communityToFill(const Bind &bind, Inputs &, Slot &slot) {
  auto *community = slot.recordAs<open_snmp_community_addr_t>();
  if (community == nullptr) return RC_GENERAL_FAILED;
  prepareOutputBuffer(bind, slot);
  if (!slot.storage) return RC_GENERAL_FAILED;
  community->viewName = slot.desc;
  return RC_SUCCESS;
}

void addAddress(cJSON *object, const char *key, const open_inet_addr_t &addr) {
  char text[kAddressTextSize];
  addressToText(addr, text);
  cJSON_AddStringToObject(object, key, text);
}

void showCommunity(cJSON *data, const Bind &bind, const Slot &slot, const Slot *) {
  open_snmp_community_addr_t community{};
  if (slot.record && slot.recordSize == sizeof community) memcpy(&community, slot.record.get(), sizeof community);
  cJSON *object = cJSON_AddObjectToObject(data, bind.outKey);
  if (object == nullptr) return;
  cJSON_AddStringToObject(object, "type", choiceText(kAccessType, community.accessType));
  addAddress(object, "ipAddr", community.ipAddr);
  addAddress(object, "ipMask", community.ipMask);
  cJSON_AddNumberToObject(object, "ipv6PrefixLen", community.ipv6PrefixLen);
  cJSON_AddItemToObject(object, "viewName", bufferText(slot));
}

constexpr Bind withViewName(Bind bind) {
  bind.buffer = &kViewName;
  return bind;
}
constexpr Bind kCommunityRead[] = {
    bodyChoice("type", kAccessType).inside(kCommunityObject), bodyAddress("ipAddr").inside(kCommunityObject),
    bodyAddress("ipMask").inside(kCommunityObject), body("ipv6PrefixLen").inside(kCommunityObject),
    bodyText("viewName", kViewName).inside(kCommunityObject)};
constexpr Bind kCommunityMembers[] = {outChoice("type", kAccessType), outAddress("ipAddr"), outAddress("ipMask"),
                                      out("ipv6PrefixLen"), outText("viewName", kViewName)};
constexpr Bind kCommunityShown[] = {outObject(kCommunityObject, kCommunityMembers)};
constexpr Bind kCommunityIn =
    withViewName(record<open_snmp_community_addr_t>(communityFromBody, nullptr)).made(kCommunityRead);
constexpr Bind kCommunityOut =
    withViewName(record<open_snmp_community_addr_t>(communityToFill, showCommunity, kCommunityObject))
        .made(kCommunityShown);

// A part of the walk's key that comes back as the next row's.
constexpr Bind keyChoiceShown(const char *key, const ChoiceTable &table) {
  Bind bind = bodyChoice(key, table);
  bind.kind = ArgKind::IntPointer;
  bind.show = Show::Choice;
  bind.outKey = key;
  return bind;
}

constexpr Route kAccessRoutes[] = {
    {"community", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpCommunityCreate>,
      {bodyText("communityName", kText), bodyChoice("accessType", kAccessType), bodyText("viewName", kText),
       bodyAddress("addr")}}},
    {"community", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpCommunityDelete>, {queryText("communityName", kText)}}},
    {"community-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpCommunityGetNext>,
      {bodyText("communityName", kCommunityKey), outChoice("accessType", kAccessType),
       outText("viewName", kViewName), outAddress("addr"), outText("nextCommunityName", kCommunityKey)}}},
    {"community-group", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpCommunityGroupCreate>,
      {bodyText("communityName", kText), bodyText("groupName", kText), bodyAddress("addr")}}},
    {"community-and-ip-addr", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpCommunityAndIPAddrCreate>, {bodyText("communityName", kText), kCommunityIn}}},
    {"community-and-ip-addr", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpCommunityAndIPAddrDelete>, {queryText("communityName", kText)}}},
    {"community-and-ip-addr-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpCommunityAndIPAddrGetNext>,
      {bodyText("communityName", kText), outText("nextCommunityName", kCommunityKey)}}},
    {"community-and-ip-addr", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpCommunityAndIPAddrGet>, {queryText("communityName", kText), kCommunityOut}}},
    {"group", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpGroupCreate>,
      {bodyText("groupName", kText), bodyText("contextPrefix", kText), bodyChoice("securityModel", kSecurityModel),
       bodyChoice("securityLevel", kSecurityLevel), bodyText("readView", kText), bodyText("writeView", kText),
       bodyText("notifyView", kText)}}},
    {"group", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpGroupDelete>,
      {queryText("groupName", kText), queryText("contextPrefix", kText), queryChoice("securityModel", kSecurityModel),
       queryChoice("securityLevel", kSecurityLevel)}}},
    {"group-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpGroupGetNext>,
      {bodyText("groupName", kText), bodyText("contextPrefix", kText),
       keyChoiceShown("securityModel", kSecurityModel), keyChoiceShown("securityLevel", kSecurityLevel),
       outText("readView", kText), outText("writeView", kText), outText("notifyView", kText),
       outText("nextGroupName", kText), outText("nextContextPrefix", kText)}}},
    {"view", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpViewCreate>,
      {bodyText("viewName", kText), bodyText("oidTree", kText), bodyChoice("viewType", kTreeType)}}},
    {"view", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpViewDelete>, {queryText("viewName", kText), queryText("oidTree", kText)}}},
    {"view-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpViewGetNext>,
      {bodyText("viewName", kViewName), bodyText("oidTree", kOidTree), outChoice("viewType", kTreeType),
       outText("nextViewName", kViewName), outText("nextOidTree", kOidTree)}}},
    {"filter", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpFilterCreate>,
      {bodyText("filterName", kText), bodyText("oidTree", kText), bodyChoice("filterType", kTreeType)}}},
    {"filter", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpFilterDelete>, {queryText("filterName", kText), queryText("oidTree", kText)}}},
    {"filter-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpFilterGetNext>,
      {bodyText("filterName", kViewName), bodyText("oidTree", kOidTree), outChoice("filterType", kTreeType),
       outText("nextFilterName", kViewName), outText("nextOidTree", kOidTree)}}},
};
static_assert(std::size(kAccessRoutes) == 17);

}  // namespace

}  // namespace snmp

constinit const route::RouteGroup route_groups::kSnmpAccess = route::routeGroup<snmp::kAccessRoutes>(snmp::kDir);
