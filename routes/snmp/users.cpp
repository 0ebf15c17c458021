// SNMPv3 users (of the local engine, of a remote engine, or of a remote
// address), the local and remote engine identifiers, and the password
// strength check.
#include "routes/families.h"
#include "routes/snmp/snmp.h"

namespace snmp {

namespace {

using namespace route;

constexpr ChoiceTable kAuthProto = choicesOf<OPEN_SNMP_AUTH_PROTOCOL_t>(false, OPEN_SNMP_AUTH_PROTOCOL_NONE, "none");
constexpr ChoiceTable kPrivProto = choicesOf<OPEN_SNMP_PRIV_PROTOCOL_t>(false, OPEN_SNMP_PRIV_PROTOCOL_NONE, "none");

// The user walk's key and outputs keep fixed descriptor sizes: 30
// characters of user or group name, 32 of engine identifier as given.
constexpr BufferKind kUserWalkName{31, SizeRule::Capacity, nullptr};
constexpr BufferKind kUserWalkEngine{33, SizeRule::Capacity, nullptr};
// Engine identifiers that OpEN gives, shown as hexadecimal: at most 33 bytes.
constexpr BufferKind kEngineId{33, SizeRule::Capacity, nullptr};
// The first remote engine identifier's address and user.
constexpr BufferKind kRemoteAddress{159, SizeRule::Capacity, nullptr};
constexpr BufferKind kRemoteUser{31, SizeRule::Capacity, nullptr};

// A user create: the same body for every kind of user but the last key,
// which names the engine (or the remote address) the user belongs to.
constexpr Call userCreate(const OpenCall &open, const char *engineKey) {
  return {open,
          {bodyText("userName", kText), bodyText("groupName", kText), bodyChoice("authProto", kAuthProto),
           bodyText("authPwd", kText), bodyText("authKey", kText), bodyChoice("privProto", kPrivProto),
           bodyText("privPwd", kText), bodyText("privKey", kText), bodyText(engineKey, kText)}};
}

// The remote engine walk always starts from the empty key, so it always
// answers the first row; the key comes back as that row's.
constexpr Bind emptyKeyShown(const char *key, const BufferKind &buffer) {
  Bind bind = constantText("", buffer);
  bind.show = Show::Text;
  bind.outKey = key;
  return bind;
}

constexpr Route kUsersRoutes[] = {
    {"user", HTTPD_POST, &kWrite, userCreate(open<rpcclt_openapiSnmpUserCreate>, "engineId")},
    {"user", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpUserDelete>, {queryText("userName", kText), queryText("engineId", kText)}}},
    // The key's engine identifier goes out as the text it is, the next one
    // comes back as hexadecimal.
    {"user-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpUserGetNext>,
      {bodyText("userName", kUserWalkName), bodyText("engineId", kUserWalkEngine), outText("groupName", kUserWalkName),
       outChoice("authProto", kAuthProto), outChoice("privProto", kPrivProto), outText("nextUserName", kUserWalkName),
       outHex("nextEngineId", kEngineId)}}},
    {"user-config", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpUserConfigGet>,
      {queryText("userName", kText), queryText("engineId", kText), outText("groupName", kText),
       outChoice("authProto", kAuthProto), outText("authKey", kText), outChoice("privProto", kPrivProto),
       outText("privKey", kText)}}},
    {"user-create-with-remote-ip-address", HTTPD_POST, &kWrite,
     userCreate(open<rpcclt_openapiSnmpUserCreateWithRemoteIPAddress>, "remoteIpAddress")},
    // A POST with a body, unlike the other deletes.
    {"user-delete-with-remote-ip-address", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpUserDeleteWithRemoteIPAddress>,
      {bodyText("userName", kText), bodyText("remoteIpAddress", kText)}}},
    {"user-remote-ip-address", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpUserRemoteIpAddressGet>,
      {queryText("userName", kText), queryText("engineId", kText), outText("remoteIpAddress", kText)}}},
    {"local-engine-id", HTTPD_GET, &kRead, {open<rpcclt_openapiSnmpLocalEngineIdGet>, {outHex("engineId", kEngineId)}}},
    {"local-engine-id", HTTPD_PUT, &kWrite, {open<rpcclt_openapiSnmpLocalEngineIdSet>, {bodyText("engineId", kText)}}},
    {"local-engine-id", HTTPD_DELETE, &kWrite, {open<rpcclt_openapiSnmpLocalEngineIdDelete>, {}}},
    {"remote-engine-id-next", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpRemoteEngineIdNextGet>,
      {emptyKeyShown("addr", kRemoteAddress), outHex("engineId", kEngineId), emptyKeyShown("userName", kRemoteUser)}}},
    {"remote-engine-id", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpRemoteEngineIdDelete>,
      {queryText("addr", kText), queryText("engineId", kText), queryText("userName", kText)}}},
    {"remote-engine-id", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpRemoteEngineIdCreate>,
      {bodyText("addr", kText), bodyText("engineId", kText), bodyText("userName", kText)}}},
    {"password-strength", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpPasswordStrengthCheckGet>, {outChoice("snmpPasswdStrengthMode", kEnableMode)}}},
    // Unlike the other switches of the family, the mode must be there.
    {"password-strength", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSnmpPasswordStrengthCheckSet>, {bodyChoice("snmpPasswdStrengthMode", kEnableMode).needed()}}},
};
static_assert(std::size(kUsersRoutes) == 15);

}  // namespace

}  // namespace snmp

constinit const route::RouteGroup route_groups::kSnmpUsers = route::routeGroup<snmp::kUsersRoutes>(snmp::kDir);
