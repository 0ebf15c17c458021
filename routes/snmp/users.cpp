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

// The SNMPv3 user the examples create, and the manager whose engine the
// examples make known.
constexpr Bind kNewUserName = bodyText("userName", kText)
                                  .described("The new user's name; at most 30 characters on the switch")
                                  .example("\"monitor\"");
constexpr Bind kUserGroup = bodyText("groupName", kText)
                                .described("The existing group the user belongs to, whose views give the user's rights")
                                .example("\"DefaultRead\"");
constexpr Bind kAuthProtoIn =
    bodyChoice("authProto", kAuthProto)
        .described("How the user's messages are authenticated: HMAC with SHA-1, MD5 or SHA-512, or none")
        .example("\"sha\"");
constexpr Bind kAuthPwd =
    bodyText("authPwd", kText)
        .described("The authentication pass phrase, from which the switch makes the user's key; while the "
                   "password strength check is on it must pass it (8 characters at least); not kept, not shown")
        .example("\"monitor-auth-pw\"");
constexpr Bind kAuthKey =
    bodyText("authKey", kText)
        .described("A ready authentication key instead of authPwd, localised to the user's engine, in hexadecimal: "
                   "16 bytes for MD5, 20 for SHA, 64 for SHA-512; empty to use the pass phrase")
        .example("\"\"");
constexpr Bind kPrivProtoIn =
    bodyChoice("privProto", kPrivProto)
        .described("How the user's messages are encrypted: DES, 3DES or AES with a 128-, 192- or 256-bit key, or "
                   "none; only with authentication")
        .example("\"aes128\"");
constexpr Bind kPrivPwd =
    bodyText("privPwd", kText)
        .described("The privacy pass phrase, from which the switch makes the user's encryption key; not kept, not "
                   "shown")
        .example("\"monitor-priv-pw\"");
constexpr Bind kPrivKey =
    bodyText("privKey", kText)
        .described("A ready privacy key instead of privPwd, localised to the user's engine, in hexadecimal: 16 bytes "
                   "for DES and AES-128, 24 for AES-192, 32 for 3DES and AES-256; empty to use the pass phrase")
        .example("\"\"");

// A user create: the same body for every kind of user but the last key,
// which names the engine (or the remote address) the user belongs to.
constexpr Call userCreate(const OpenCall &open, const Bind &engine) {
  return {open, {kNewUserName, kUserGroup, kAuthProtoIn, kAuthPwd, kAuthKey, kPrivProtoIn, kPrivPwd, kPrivKey, engine}};
}

// A user is named by its name and engine; the examples name the user the
// create makes, of the switch's own engine as the user walk writes it.
constexpr const char *kLocalEngine = "\"80007ed9030011225a3bc0\"";
constexpr Bind kUserName = queryText("userName", kText).described("The user's name").example("\"monitor\"");
constexpr Bind kUserEngine =
    queryText("engineId", kText)
        .described("The engine the user belongs to, in hexadecimal as the user walk's nextEngineId gives it; empty "
                   "for the switch's own engine")
        .example(kLocalEngine);
// A manager of the network and the identifier of its SNMP engine.
constexpr const char *kManagerAddress = "\"192.168.0.50\"";
constexpr const char *kManagerEngine = "\"80001f88033cecef1a275e\"";

// The remote engine walk always starts from the empty key, so it always
// answers the first row; the key comes back as that row's.
constexpr Bind emptyKeyShown(const char *key, const BufferKind &buffer) {
  Bind bind = constantText("", buffer);
  bind.show = Show::Text;
  bind.outKey = key;
  return bind;
}

constexpr Route kUsersRoutes[] = {
    {"user", HTTPD_POST, &kWrite,
     userCreate(open<rpcclt_openapiSnmpUserCreate>,
                bodyText("engineId", kText)
                    .described("The engine the user belongs to, in hexadecimal (5 to 32 bytes); empty for the "
                               "switch's own engine")
                    .example("\"\"")),
     "Creates an SNMPv3 user of the switch's own engine or of an engine named by its identifier"},
    {"user", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpUserDelete>, {kUserName.described("The name of the user to delete"), kUserEngine}},
     "Deletes an SNMPv3 user"},
    // The key's engine identifier goes out as the text it is, the next one
    // comes back as hexadecimal.
    {"user-get-next", HTTPD_POST, &kRead,
     {open<rpcclt_openapiSnmpUserGetNext>,
      {bodyText("userName", kUserWalkName)
           .described("The user before the one wanted: the nextUserName of the previous answer, or empty for the "
                      "first")
           .example("\"\""),
       bodyText("engineId", kUserWalkEngine)
           .described("That user's engine: the nextEngineId of the previous answer (hexadecimal, of which 32 digits "
                      "are enough), or empty for the first")
           .example("\"\""),
       outText("groupName", kUserWalkName), outChoice("authProto", kAuthProto), outChoice("privProto", kPrivProto),
       outText("nextUserName", kUserWalkName), outHex("nextEngineId", kEngineId)}},
     "Reads the SNMPv3 user after the one named, for walking the users"},
    {"user-config", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpUserConfigGet>,
      {kUserName, kUserEngine, outText("groupName", kText), outChoice("authProto", kAuthProto),
       outText("authKey", kText), outChoice("privProto", kPrivProto), outText("privKey", kText)}},
     "Reads an SNMPv3 user's group, protocols and localised keys"},
    {"user-create-with-remote-ip-address", HTTPD_POST, &kWrite,
     userCreate(open<rpcclt_openapiSnmpUserCreateWithRemoteIPAddress>,
                bodyText("remoteIpAddress", kText)
                    .described("The manager's address, IPv4 or IPv6: the user belongs to the engine known for "
                               "this address and user name, or for the address alone (remote-engine-id)")
                    .example(kManagerAddress)),
     "Creates an SNMPv3 user of the remote engine known for a manager's address"},
    // A POST with a body, unlike the other deletes.
    {"user-delete-with-remote-ip-address", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpUserDeleteWithRemoteIPAddress>,
      {bodyText("userName", kText).described("The name of the user to delete").example("\"monitor\""),
       bodyText("remoteIpAddress", kText)
           .described("The manager's address the user was created with")
           .example(kManagerAddress)}},
     "Deletes an SNMPv3 user created with a manager's address"},
    {"user-remote-ip-address", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpUserRemoteIpAddressGet>,
      {kUserName, kUserEngine.example(kManagerEngine), outText("remoteIpAddress", kText)}},
     "Reads the manager's address an SNMPv3 user was created with"},
    {"local-engine-id", HTTPD_GET, &kRead, {open<rpcclt_openapiSnmpLocalEngineIdGet>, {outHex("engineId", kEngineId)}},
     "Reads the engine identifier of the switch's own SNMP agent"},
    {"local-engine-id", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSnmpLocalEngineIdSet>,
      {bodyText("engineId", kText)
           .described("The new identifier in hexadecimal, 5 to 32 bytes, neither all zeros nor all ff; users keep "
                      "the identifier they were made with")
           .example("\"80007ed9046c61622d73772d34\"")}},
     "Sets the engine identifier of the switch's own SNMP agent"},
    {"local-engine-id", HTTPD_DELETE, &kWrite, {open<rpcclt_openapiSnmpLocalEngineIdDelete>, {}},
     "Resets the local engine identifier to the switch's default"},
    {"remote-engine-id-next", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpRemoteEngineIdNextGet>,
      {emptyKeyShown("addr", kRemoteAddress), outHex("engineId", kEngineId), emptyKeyShown("userName", kRemoteUser)}},
     "Reads the first remote engine identifier, its address and user (no key: it cannot walk)"},
    {"remote-engine-id", HTTPD_DELETE, &kWrite,
     {open<rpcclt_openapiSnmpRemoteEngineIdDelete>,
      {queryText("addr", kText).described("The manager's address, IPv4 or IPv6").example(kManagerAddress),
       queryText("engineId", kText)
           .described("The identifier known for it, in hexadecimal, which must match")
           .example(kManagerEngine),
       queryText("userName", kText)
           .described("The user the identifier was given for; empty for the whole address")
           .example("\"\"")}},
     "Deletes a remote engine identifier"},
    {"remote-engine-id", HTTPD_POST, &kWrite,
     {open<rpcclt_openapiSnmpRemoteEngineIdCreate>,
      {bodyText("addr", kText).described("The manager's address, IPv4 or IPv6").example(kManagerAddress),
       bodyText("engineId", kText)
           .described("The identifier of the manager's SNMP engine, in hexadecimal, 5 to 32 bytes")
           .example(kManagerEngine),
       bodyText("userName", kText)
           .described("The user the identifier holds for; empty for every user of that address")
           .example("\"\"")}},
     "Creates a remote engine identifier: the engine a manager's address (and user) stands for"},
    {"password-strength", HTTPD_GET, &kRead,
     {open<rpcclt_openapiSnmpPasswordStrengthCheckGet>, {outChoice("snmpPasswdStrengthMode", kEnableMode)}},
     "Tells whether new SNMPv3 pass phrases must pass the password strength check"},
    // Unlike the other switches of the family, the mode must be there.
    {"password-strength", HTTPD_PUT, &kWrite,
     {open<rpcclt_openapiSnmpPasswordStrengthCheckSet>,
      {bodyChoice("snmpPasswdStrengthMode", kEnableMode)
           .needed()
           .described("enable to refuse, when users are created, pass phrases that fail the check (shorter than 8 "
                      "characters), disable to take any")
           .example("\"enable\"")}},
     "Sets whether new SNMPv3 pass phrases must pass the password strength check"},
};
static_assert(std::size(kUsersRoutes) == 15);

}  // namespace

}  // namespace snmp

constinit const route::RouteGroup route_groups::kSnmpUsers = route::routeGroup<snmp::kUsersRoutes>(snmp::kDir);
