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

constexpr Route kNotificationsRoutes[] = {
    {"host", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpHostCreate>,
      {bodyText("host", kText), body("serverPort"), bodyText("securityName", kText),
       bodyChoice("securityModel", kSecurityModel), bodyChoice("securityLevel", kSecurityLevel),
       bodyChoice("notifyType", kNotifyType), body("timeout"), body("retries"), bodyText("filter", kText)}}},
    {"host", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpHostDelete>, {queryText("host", kText), queryChoice("notifyType", kNotifyType)}}},
    {"host-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpHostGetNext>,
      {bodyText("host", kHostKey), out("serverPort"), outText("securityName", kText),
       outChoice("securityModel", kSecurityModel), outChoice("securityLevel", kSecurityLevel),
       outChoice("notifyType", kNotifyType), out("timeout"), out("retries"), outText("filter", kText),
       outText("nextHost", kHostKey)}}},
    {"trap-manager-config", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiTrapManagerConfigCreate>,
      {bodyText("communityName", kText), bodyAddress("ipAddr"), body("version").inside(kTrapConfig),
       body("status").inside(kTrapConfig)}}},
    {"trap-manager-config", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiTrapManagerConfigDelete>, {queryText("communityName", kText), queryAddress("ipAddr")}}},
    {"trap-manager-config", HTTPD_GET, &kRead,
     {open<rpcclt_openapiTrapManagerConfigGet>,
      {queryText("communityName", kText), queryAddress("ipAddr"), out("version").shownInside(kTrapConfig),
       out("status").shownInside(kTrapConfig)}}},
    {"trap-manager-config-community-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiTrapManagerConfigCommunityGetNext>,
      {bodyText("communityName", kText), bodyAddress("ipAddr"), outText("nextCommunityName", kText)}}},
    {"trap-manager-config-ip-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiTrapManagerConfigIPGetNext>,
      {bodyText("communityName", kText), bodyAddress("ipAddr"), outAddress("nextIPAddr")}}},
    {"trap-flag", HTTPD_GET, &kRead, {open<rpcclt_openapiSnmpTrapFlagGet>, {query("trapFlag"), outChoice("mode", kTrapMode)}}},
    {"trap-flag", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSnmpTrapFlagSet>, {body("trapFlags"), bodyChoice("mode", kTrapMode)}}},
    {"trap-src-intf", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpTrapSrcIntfGet>, {out("intf"), outChoice("type", kIntfType), outAddress("addr")}}},
    {"trap-src-intf", HTTPD_PUT, &kWrite, {open<rpcclt_openapiSnmpTrapSrcIntfSet>, {body("intf")}}},
    {"sys-name", HTTPD_GET, &kRead, {open<rpcclt_openapiSnmpSysNameGet>, {outText("sysName", kText)}}},
    {"sys-name", HTTPD_PUT, &kWrite, {open<rpcclt_openapiSnmpSysNameSet>, {bodyText("sysName", kText)}}},
    {"sys-contact", HTTPD_GET, &kRead, {open<rpcclt_openapiSnmpSysContactGet>, {outText("sysContact", kText)}}},
    {"sys-contact", HTTPD_PUT, &kWrite, {open<rpcclt_openapiSnmpSysContactSet>, {bodyText("sysContact", kText)}}},
    {"sys-location", HTTPD_GET, &kRead, {open<rpcclt_openapiSnmpSysLocationGet>, {outText("sysLocation", kText)}}},
    {"sys-location", HTTPD_PUT, &kWrite, {open<rpcclt_openapiSnmpSysLocationSet>, {bodyText("sysLocation", kText)}}},
    {"server-mode", HTTPD_GET, &kRead, {open<rpcclt_openapiSnmpServerModeGet>, {outChoice("serverMode", kEnableMode)}}},
    {"server-mode", HTTPD_PUT, &kWrite, {open<rpcclt_openapiSnmpServerModeSet>, {bodyChoice("serverMode", kEnableMode)}}},
    {"tree-family-oid-string", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpTreeFamilyOidStringGet>,
      {queryText("name", kText), queryText("oidTree", kText), queryChoice("treeType", kTreeFamily),
       outText("oidString", kOidTree)}}},
    {"tree-family-oid-val", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpTreeFamilyOidValGet>,
      {queryText("name", kText), queryText("oidTree", kText), queryChoice("treeType", kTreeFamily),
       outText("oidVal", kOidTree)}}},
};
static_assert(std::size(kNotificationsRoutes) == 22);

}  // namespace

}  // namespace snmp

constinit const route::RouteGroup route_groups::kSnmpNotifications = route::routeGroup<snmp::kNotificationsRoutes>(snmp::kDir);
