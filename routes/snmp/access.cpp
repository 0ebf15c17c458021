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
constexpr const char *kAccessText =
    "What the community may do: read only (ro), read and write (rw), or super-user (su), which also reaches the "
    "agent's security tables";
constexpr Bind kTypeRead = bodyChoice("type", kAccessType)
                               .inside(kCommunityObject)
                               .described(kAccessText)
                               .example("\"snmp_community_access_ro\"");
constexpr Bind kIpAddrRead = bodyAddress("ipAddr")
                                 .inside(kCommunityObject)
                                 .described("The managers' network, IPv4 or IPv6, whose requests may use the community")
                                 .example("\"192.168.0.0\"");
constexpr Bind kIpMaskRead =
    bodyAddress("ipMask")
        .inside(kCommunityObject)
        .described("The IPv4 netmask of the managers' network, its ones contiguous; left out for an IPv6 network, "
                   "whose size ipv6PrefixLen gives")
        .example("\"255.255.255.0\"");
constexpr Bind kPrefixRead = body("ipv6PrefixLen")
                                 .of<uint32_t>()
                                 .orDecimalText()
                                 .inside(kCommunityObject)
                                 .described("The prefix length of an IPv6 managers' network, 0 to 128; 0 for IPv4")
                                 .example("0");
constexpr Bind kViewNameRead = bodyText("viewName", kViewName)
                                   .inside(kCommunityObject)
                                   .described("The view that bounds what the community sees; empty for the default "
                                              "view of its access (Default, or DefaultSuper for su)")
                                   .example("\"Default\"");
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

// The inputs the rows share, with what they mean here.
constexpr Bind kAccessTypeIn =
    bodyChoice("accessType", kAccessType).described(kAccessText).example("\"snmp_community_access_ro\"");
constexpr Bind kManager = bodyAddress("addr")
                              .described("The one manager, IPv4 or IPv6, whose requests may use the community; "
                                         "empty for any manager")
                              .example("\"192.168.0.50\"");
constexpr Bind kSecurityModelIn =
    bodyChoice("securityModel", kSecurityModel)
        .described("The SNMP version of the group's members: snmpv1, snmpv2c or usm (SNMPv3 users)")
        .example("\"usm\"");
constexpr Bind kSecurityLevelIn =
    bodyChoice("securityLevel", kSecurityLevel)
        .described("The least security a member's request must carry: none, authentication, or authentication "
                   "and privacy (encryption); snmpv1 and snmpv2c take only noauthnopriv")
        .example("\"authpriv\"");
constexpr const char *kOidTreeText =
    "The subtree, as dotted numbers (1.3.6.1.2.1.2) or as a name of the standard tree with more numbers after it "
    "(interfaces, ifEntry.10, enterprises.32473); at most 128 characters";

constexpr Route kAccessRoutes[] = {
    {"community", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpCommunityCreate>,
      {bodyText("communityName", kText)
           .described("The new community's name, which SNMPv1 and SNMPv2c managers send as their password; "
                      "at most 20 characters on the switch")
           .example("\"monitoring\""),
       kAccessTypeIn,
       bodyText("viewName", kText)
           .described("The view that bounds what the community sees; empty for the default view of its "
                      "access (Default, or DefaultSuper for su)")
           .example("\"Default\""),
       kManager}},
     "Creates a community with its access, view and manager address"},
    {"community", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpCommunityDelete>,
      {queryText("communityName", kText).described("The community to delete").example("\"public\"")}},
     "Deletes a community"},
    {"community-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpCommunityGetNext>,
      {bodyText("communityName", kCommunityKey)
           .described("The community before the one wanted: the nextCommunityName of the previous answer, or "
                      "empty for the first")
           .example("\"private\""),
       outChoice("accessType", kAccessType), outText("viewName", kViewName), outAddress("addr"),
       outText("nextCommunityName", kCommunityKey)}},
     "Reads the community after the one named, for walking the table"},
    {"community-group", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpCommunityGroupCreate>,
      {bodyText("communityName", kText)
           .described("The new community's name, which SNMPv1 and SNMPv2c managers send as their password; "
                      "at most 20 characters on the switch")
           .example("\"noc\""),
       bodyText("groupName", kText)
           .described("The existing group whose views give the community its rights")
           .example("\"DefaultWrite\""),
       kManager}},
     "Creates a community that takes its rights from a group"},
    {"community-and-ip-addr", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpCommunityAndIPAddrCreate>,
      {bodyText("communityName", kText)
           .described("The new entry's community name; at most 20 characters on the switch")
           .example("\"lab-managers\""),
       kCommunityIn}},
     "Creates a community that only the managers of one network may use"},
    {"community-and-ip-addr", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpCommunityAndIPAddrDelete>,
      {queryText("communityName", kText)
           .described("The community of the community-and-address entry to delete")
           .example("\"lab-managers\"")}},
     "Deletes a community-and-address entry"},
    {"community-and-ip-addr-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpCommunityAndIPAddrGetNext>,
      {bodyText("communityName", kText)
           .described("The entry before the one wanted: the nextCommunityName of the previous answer, or empty "
                      "for the first")
           .example("\"\""),
       outText("nextCommunityName", kCommunityKey)}},
     "Reads the name of the next community-and-address entry, for walking the table"},
    {"community-and-ip-addr", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpCommunityAndIPAddrGet>,
      {queryText("communityName", kText)
           .described("The community of the community-and-address entry")
           .example("\"lab-managers\""),
       kCommunityOut}},
     "Reads a community-and-address entry: its access, managers' network and view"},
    {"group", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpGroupCreate>,
      {bodyText("groupName", kText)
           .described("The new group's name; at most 30 characters on the switch")
           .example("\"NetOps\""),
       bodyText("contextPrefix", kText)
           .described("The SNMP context, or the start of the contexts' names, that the group's access holds for; "
                      "empty for the default context")
           .example("\"\""),
       kSecurityModelIn, kSecurityLevelIn,
       bodyText("readView", kText)
           .described("The view the group's members may read; empty: none")
           .example("\"Default\""),
       bodyText("writeView", kText)
           .described("The view the group's members may write; empty: none")
           .example("\"Default\""),
       bodyText("notifyView", kText)
           .described("The view whose objects the group's members may receive in notifications; empty: none")
           .example("\"Default\"")}},
     "Creates a group: the views its members may read, write and be notified of"},
    {"group", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpGroupDelete>,
      {queryText("groupName", kText).described("The name of the group to delete").example("\"DefaultWrite\""),
       queryText("contextPrefix", kText).described("The group's context prefix; empty for the default context")
           .example("\"\""),
       queryChoice("securityModel", kSecurityModel).described("The group's security model").example("\"snmpv1\""),
       queryChoice("securityLevel", kSecurityLevel).described("The group's security level")
           .example("\"noauthnopriv\"")}},
     "Deletes a group of one security model and level"},
    {"group-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpGroupGetNext>,
      {bodyText("groupName", kText)
           .described("The group before the one wanted: the nextGroupName of the previous answer, or empty for "
                      "the first")
           .example("\"DefaultRead\""),
       bodyText("contextPrefix", kText)
           .described("That group's context prefix: the nextContextPrefix of the previous answer")
           .example("\"\""),
       keyChoiceShown("securityModel", kSecurityModel)
           .described("That group's security model, as the previous answer gave it")
           .example("\"snmpv1\""),
       keyChoiceShown("securityLevel", kSecurityLevel)
           .described("That group's security level, as the previous answer gave it")
           .example("\"noauthnopriv\""),
       outText("readView", kText), outText("writeView", kText), outText("notifyView", kText),
       outText("nextGroupName", kText), outText("nextContextPrefix", kText)}},
     "Reads the group after the one named, for walking the table"},
    {"view", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpViewCreate>,
      {bodyText("viewName", kText)
           .described("The view, new or existing, that the subtree belongs to; at most 30 characters on the "
                      "switch")
           .example("\"Monitoring\""),
       bodyText("oidTree", kText).described(kOidTreeText).example("\"1.3.6.1.2.1.2\""),
       bodyChoice("viewType", kTreeType)
           .described("Whether the view holds the subtree, or leaves it out of a wider subtree it holds")
           .example("\"included\"")}},
     "Creates a view entry: a subtree the view includes or excludes"},
    {"view", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpViewDelete>,
      {queryText("viewName", kText).described("The view the entry belongs to").example("\"Default\""),
       queryText("oidTree", kText).described("The entry's subtree, as dotted numbers or a name of the standard "
                                             "tree").example("\"1.3.6.1.6.3.18\"")}},
     "Deletes one subtree of a view"},
    {"view-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpViewGetNext>,
      {bodyText("viewName", kViewName)
           .described("The view of the entry before the one wanted: the nextViewName of the previous answer, or "
                      "empty for the first")
           .example("\"Default\""),
       bodyText("oidTree", kOidTree)
           .described("That entry's subtree: the nextOidTree of the previous answer, or empty for the view's first")
           .example("\"1\""),
       outChoice("viewType", kTreeType), outText("nextViewName", kViewName), outText("nextOidTree", kOidTree)}},
     "Reads the view entry after the one named, for walking the views"},
    {"filter", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpFilterCreate>,
      {bodyText("filterName", kText)
           .described("The notification filter, new or existing, that the subtree belongs to; at most 30 "
                      "characters on the switch")
           .example("\"LinkEvents\""),
       bodyText("oidTree", kText).described(kOidTreeText).example("\"1.3.6.1.6.3.1.1.5\""),
       bodyChoice("filterType", kTreeType)
           .described("Whether notifications of the subtree are sent (included) or held back (excluded)")
           .example("\"included\"")}},
     "Creates a notification filter entry: a subtree whose notifications are sent or held back"},
    {"filter", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpFilterDelete>,
      {queryText("filterName", kText).described("The filter the entry belongs to").example("\"LinkEvents\""),
       queryText("oidTree", kText).described("The entry's subtree, as dotted numbers or a name of the standard "
                                             "tree").example("\"1.3.6.1.6.3.1.1.5\"")}},
     "Deletes one subtree of a notification filter"},
    {"filter-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpFilterGetNext>,
      {bodyText("filterName", kViewName)
           .described("The filter of the entry before the one wanted: the nextFilterName of the previous answer, "
                      "or empty for the first")
           .example("\"\""),
       bodyText("oidTree", kOidTree)
           .described("That entry's subtree: the nextOidTree of the previous answer, or empty for the filter's "
                      "first")
           .example("\"\""),
       outChoice("filterType", kTreeType), outText("nextFilterName", kViewName), outText("nextOidTree", kOidTree)}},
     "Reads the notification filter entry after the one named, for walking the filters"},
};
static_assert(std::size(kAccessRoutes) == 17);

}  // namespace

}  // namespace snmp

constinit const route::RouteGroup route_groups::kSnmpAccess = route::routeGroup<snmp::kAccessRoutes>(snmp::kDir);
