// Who may reach the SNMP agent and what they see: communities, community-
// and-address entries, VACM groups, views and notification filters.
#include <cstdlib>
#include <cstring>

#include "cgi/response.h"
#include "routes/engine/values.h"
#include "routes/families.h"
#include "routes/snmp/snmp.h"
#include "routes/engine/address.h"

namespace snmp {

namespace {

using namespace route;

// Community names of the community walk: 20 characters.
constexpr BufferKind kCommunityKey{21, SizeRule::LengthPlusOne, nullptr};

// An unknown access type goes out as 0 and prints as no access.
constexpr ChoiceTable kAccessType =
    choicesOf<OPEN_SNMP_COMMUNITY_ACCESS_TYPE_t>(false, OPEN_SNMP_COMMUNITY_ACCESS_NONE, "snmp_community_access_none");
// Views and filters include a subtree unless told, or shown, to exclude it.
constexpr ChoiceTable kTreeType = choicesOf<OPEN_SNMP_VIEW_TYPE_t>(false, OPEN_SNMP_VIEW_TYPE_INCLUDED, "included");

constexpr const char *kCommunityObject = "community";

// The community record as a body's "community" object gives it and as an
// answer shows it.
constexpr Bind kTypeRead = bodyChoice("type", kAccessType).inside(kCommunityObject);
constexpr Bind kIpAddrRead = bodyAddress("ipAddr").inside(kCommunityObject);
constexpr Bind kIpMaskRead = bodyAddress("ipMask").inside(kCommunityObject);
constexpr Bind kPrefixRead = body("ipv6PrefixLen").orDecimalText().inside(kCommunityObject);
constexpr Bind kViewNameRead = bodyText("viewName", kViewName).inside(kCommunityObject);
constexpr Bind kCommunityRead[] = {kTypeRead, kIpAddrRead, kIpMaskRead, kPrefixRead, kViewNameRead};
constexpr Bind kCommunityBody = bodyObject(kCommunityObject, kCommunityRead);

constexpr Bind kTypeShown = outChoice("type", kAccessType);
constexpr Bind kIpAddrShown = outAddress("ipAddr");
constexpr Bind kIpMaskShown = outAddress("ipMask");
constexpr Bind kPrefixShown = out("ipv6PrefixLen");
constexpr Bind kViewNameShown = outText("viewName", kViewName);
constexpr Bind kCommunityMembers[] = {kTypeShown, kIpAddrShown, kIpMaskShown, kPrefixShown, kViewNameShown};
constexpr Bind kCommunityObjectShown = outObject(kCommunityObject, kCommunityMembers);

// The body's "community" object as the record; absent members are no
// access, no address, prefix 0 and an empty view name.
int32_t communityFromBody(const Bind &bind, Inputs &in, Slot &slot) {
  auto *community = slot.recordAs<open_snmp_community_addr_t>();
  BodyObject object = in.bodyObject().object(kCommunityBody);
  if (community == nullptr || fillText(bind, object.text(kViewNameRead), slot) != RC_SUCCESS) {
    return RC_GENERAL_FAILED;
  }
  community->accessType = static_cast<uint32_t>(object.choice(kTypeRead));
  addressFromText(object.text(kIpAddrRead), &community->ipAddr);
  addressFromText(object.text(kIpMaskRead), &community->ipMask);
  community->ipv6PrefixLen = object.number(kPrefixRead);
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

void showCommunity(Output &out, const Bind &, const Slot &slot, const Slot *) {
  open_snmp_community_addr_t community{};
  if (slot.record && slot.recordSize == sizeof community) memcpy(&community, slot.record.get(), sizeof community);
  Output object = out.object(kCommunityObjectShown);
  object.choice(kTypeShown, community.accessType);
  object.address(kIpAddrShown, community.ipAddr);
  object.address(kIpMaskShown, community.ipMask);
  object.number(kPrefixShown, community.ipv6PrefixLen);
  JsonPtr view(bufferText(slot));
  object.text(kViewNameShown, cJSON_GetStringValue(view.get()));
}

constexpr Bind withViewName(Bind bind) {
  bind.buffer = &kViewName;
  return bind;
}
constexpr Bind kCommunityShown[] = {kCommunityObjectShown};
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
