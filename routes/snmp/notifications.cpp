// Where the agent sends notifications and what it says about itself:
// notification hosts, trap managers, trap flags, the trap source
// interface, the system strings, the server mode and the OID-tree lookups.
#include "routes/families.h"
#include "routes/snmp/snmp.h"

namespace snmp {

namespace {

using namespace route;

constexpr ChoiceTable kNotifyType = choicesOf<OPEN_SNMP_NOTIFY_TYPE_t>(false, OPEN_SNMP_NOTIFY_TYPE_TRAP, "trap");
// The trap source interface's type; a type OpEN does not name prints as "other".
constexpr ChoiceTable kIntfType = choicesOf<OPEN_INTF_TYPES_t>(false, OPEN_INTF_TYPE_PHY, "other");
// Lookups name a filter's subtree only when told; anything else is a view's.
constexpr ChoiceTable kTreeFamily = choicesOf<OPEN_SNMP_TREE_FAMILY_t>(false, OPEN_SNMP_VIEW_TREE, "");
// A trap flag is set only by "true"; its one-byte mode reads true when the low bit is set.
constexpr ChoiceTable kTrapMode = choicesOf<OPEN_BOOL_t>(false, OPEN_FALSE, "false", 1);

// Host names and addresses of the host walk: 158 characters.
constexpr BufferKind kHostKey{159, SizeRule::LengthPlusOne, nullptr};

constexpr const char *kTrapConfig = "trapConfig";

// The manager the examples send notifications to.
constexpr const char *kManagerAddress = "\"192.168.0.50\"";

constexpr Bind kNotifyTypeIn = bodyChoice("notifyType", kNotifyType)
                                   .described("trap, sent once, or inform, which the host acknowledges and which is "
                                              "sent again until it does (not with snmpv1)")
                                   .example("\"inform\"");
constexpr Bind kTrapCommunity = queryText("communityName", kText)
                                    .described("The community of the trap manager")
                                    .example("\"public\"");
constexpr Bind kTrapAddress = queryAddress("ipAddr").described("The trap manager's address").example(kManagerAddress);
constexpr Bind kTrapWalkCommunity = bodyText("communityName", kText)
                                        .described("The community of the trap manager before the one wanted; empty "
                                                   "for the first")
                                        .example("\"\"");
constexpr Bind kTrapWalkAddress = bodyAddress("ipAddr")
                                      .described("The address of that trap manager; empty for the first")
                                      .example("\"\"");
constexpr const char *kTrapFlagText =
    "The kind of trap, by its bit: 1 authentication, 2 link up/down, 4 multiple users, 8 spanning tree, 16 ACL, "
    "32 port security, 64 fans and power supplies, 128 temperature";
constexpr const char *kTreeName = "The name of the view, or of the notification filter";
constexpr const char *kTreeSubtree =
    "One of its subtrees, as dotted numbers (1.3.6.1.6.3.16) or as a name of the standard tree with more numbers "
    "after it (snmpVacmMIB, ifEntry.10)";
constexpr Bind kTreeFamilyIn = queryChoice("treeType", kTreeFamily)
                                   .described("snmp_filter_tree when name is a notification filter's; anything "
                                              "else names a view")
                                   .example("\"snmp_view_tree\"");

constexpr Route kNotificationsRoutes[] = {
    {"host", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpHostCreate>,
      {bodyText("host", kText)
           .described("The host's IPv4 or IPv6 address or DNS name; at most 158 characters on the switch")
           .example(kManagerAddress),
       body("serverPort").described("The UDP port the host listens on; 0 for 162, the usual one").example("162"),
       bodyText("securityName", kText)
           .described("The community (snmpv1, snmpv2c) or SNMPv3 user (usm) the notifications are sent as; at most "
                      "30 characters on the switch")
           .example("\"public\""),
       bodyChoice("securityModel", kSecurityModel)
           .described("The SNMP version of the notifications: snmpv1, snmpv2c or usm (SNMPv3)")
           .example("\"snmpv2c\""),
       bodyChoice("securityLevel", kSecurityLevel)
           .described("With usm, whether notifications are authenticated and encrypted; snmpv1 and snmpv2c take "
                      "only noauthnopriv")
           .example("\"noauthnopriv\""),
       kNotifyTypeIn,
       body("timeout").described("Seconds to wait for an inform's acknowledgement, 0 to 300").example("15"),
       body("retries").described("How many times an unacknowledged inform is sent again, 0 to 255").example("3"),
       bodyText("filter", kText)
           .described("The notification filter that chooses what the host gets; empty for every notification")
           .example("\"\"")}},
     "Creates a notification host: where the agent sends its traps or informs"},
    {"host", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpHostDelete>,
      {queryText("host", kText).described("The host to delete, as it was created").example(kManagerAddress),
       queryChoice("notifyType", kNotifyType)
           .described("The host's notification type, which must match its entry")
           .example("\"inform\"")}},
     "Deletes a notification host"},
    {"host-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpHostGetNext>,
      {bodyText("host", kHostKey)
           .described("The host before the one wanted: the nextHost of the previous answer, or empty for the first")
           .example("\"\""),
       out("serverPort"), outText("securityName", kText), outChoice("securityModel", kSecurityModel),
       outChoice("securityLevel", kSecurityLevel), outChoice("notifyType", kNotifyType), out("timeout"),
       out("retries"), outText("filter", kText), outText("nextHost", kHostKey)}},
     "Reads the notification host after the one named, for walking the hosts"},
    {"trap-manager-config", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiTrapManagerConfigCreate>,
      {bodyText("communityName", kText)
           .described("The community the traps carry; at most 20 characters on the switch")
           .example("\"public\""),
       bodyAddress("ipAddr").described("The manager's address").example(kManagerAddress),
       body("version").inside(kTrapConfig).described("1 for SNMPv1 traps, 2 for SNMPv2c").example("2"),
       body("status")
           .inside(kTrapConfig)
           .described("1 sends the manager traps, 0 keeps the entry but sends none")
           .example("1")}},
     "Creates a trap manager: an address and community that receive SNMPv1 or SNMPv2c traps"},
    {"trap-manager-config", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiTrapManagerConfigDelete>, {kTrapCommunity, kTrapAddress}}, "Deletes a trap manager"},
    {"trap-manager-config", HTTPD_GET, &kRead,
     {open<rpcclt_openapiTrapManagerConfigGet>,
      {kTrapCommunity, kTrapAddress, out("version").shownInside(kTrapConfig),
       out("status").shownInside(kTrapConfig)}},
     "Reads a trap manager's SNMP version and status"},
    {"trap-manager-config-community-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiTrapManagerConfigCommunityGetNext>,
      {kTrapWalkCommunity, kTrapWalkAddress, outText("nextCommunityName", kText)}},
     "Reads the community of the next trap manager, for walking the table"},
    {"trap-manager-config-ip-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiTrapManagerConfigIPGetNext>,
      {kTrapWalkCommunity, kTrapWalkAddress, outAddress("nextIPAddr")}},
     "Reads the address of the next trap manager, for walking the table"},
    {"trap-flag", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpTrapFlagGet>,
      {query("trapFlag").described(kTrapFlagText).example("2"), outChoice("mode", kTrapMode)}},
     "Tells whether the agent sends one kind of trap"},
    {"trap-flag", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSnmpTrapFlagSet>,
      {body("trapFlags").described(kTrapFlagText).example("16"),
       bodyChoice("mode", kTrapMode).described("true to send these traps, false to hold them back")
           .example("\"true\"")}},
     "Sets whether the agent sends one kind of trap"},
    {"trap-src-intf", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpTrapSrcIntfGet>, {out("intf"), outChoice("type", kIntfType), outAddress("addr")}},
     "Reads the interface whose address traps leave from"},
    {"trap-src-intf", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSnmpTrapSrcIntfSet>,
      {body("intf")
           .described("The interface, as the switch numbers it internally (intIfNum); 0 for the management address")
           .example("25")}},
     "Sets the interface whose address traps leave from"},
    {"sys-name", HTTPD_GET, &kRead, {open<rpcclt_openapiSnmpSysNameGet>, {outText("sysName", kText)}},
     "Reads the system name (sysName)"},
    {"sys-name", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSnmpSysNameSet>,
      {bodyText("sysName", kText)
           .described("The switch's administrative name, as SNMP managers read it")
           .example("\"lab-sw-4\"")}},
     "Sets the system name (sysName)"},
    {"sys-contact", HTTPD_GET, &kRead, {open<rpcclt_openapiSnmpSysContactGet>, {outText("sysContact", kText)}},
     "Reads the system contact (sysContact)"},
    {"sys-contact", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSnmpSysContactSet>,
      {bodyText("sysContact", kText)
           .described("Who looks after the switch and how to reach them")
           .example("\"Network operations, noc@example.net\"")}},
     "Sets the system contact (sysContact)"},
    {"sys-location", HTTPD_GET, &kRead, {open<rpcclt_openapiSnmpSysLocationGet>, {outText("sysLocation", kText)}},
     "Reads the system location (sysLocation)"},
    {"sys-location", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSnmpSysLocationSet>,
      {bodyText("sysLocation", kText)
           .described("Where the switch stands, such as building, room and rack")
           .example("\"Building 2, room 114, rack 4\"")}},
     "Sets the system location (sysLocation)"},
    {"server-mode", HTTPD_GET, &kRead, {open<rpcclt_openapiSnmpServerModeGet>, {outChoice("serverMode", kEnableMode)}},
     "Tells whether the SNMP agent is enabled"},
    {"server-mode", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSnmpServerModeSet>,
      {bodyChoice("serverMode", kEnableMode)
           .described("enable to run the SNMP agent, disable to stop it answering managers")
           .example("\"enable\"")}},
     "Sets whether the SNMP agent is enabled"},
    {"tree-family-oid-string", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpTreeFamilyOidStringGet>,
      {queryText("name", kText).described(kTreeName).example("\"Default\""),
       queryText("oidTree", kText).described(kTreeSubtree).example("\"1.3.6.1.6.3.16\""), kTreeFamilyIn,
       outText("oidString", kOidTree)}},
     "Reads a subtree of a view or filter as the name of the standard tree it lies in"},
    {"tree-family-oid-val", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpTreeFamilyOidValGet>,
      {queryText("name", kText).described(kTreeName).example("\"Default\""),
       queryText("oidTree", kText).described(kTreeSubtree).example("\"snmpVacmMIB\""), kTreeFamilyIn,
       outText("oidVal", kOidTree)}},
     "Reads a subtree of a view or filter as dotted numbers"},
};
static_assert(std::size(kNotificationsRoutes) == 22);

}  // namespace

}  // namespace snmp

constinit const route::RouteGroup route_groups::kSnmpNotifications = route::routeGroup<snmp::kNotificationsRoutes>(snmp::kDir);
