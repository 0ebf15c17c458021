#pragma once
// The simulated switch's SNMP agent: communities and community-and-address
// entries, VACM groups, views and notification filters, SNMPv3 users with
// localised keys, the local and remote engine identifiers, notification
// hosts, trap managers and flags, the trap source interface, the system
// strings, the server mode and the password-strength check. The state is
// plain records, so that a field table can describe it. Refusals as an
// agent answers: -24 for what exists already, -29 for what does not, -22
// for names too long, OIDs it cannot read and values outside their range.
#include <array>
#include <cstdint>
#include <map>
#include <string>

#include "open/openapi.h"
#include "sim/model.h"
#include "sim/snmp/keys.h"
#include "sim/snmp/mib.h"
#include "sim/system/model.h"

// Enumerations as OpEN numbers them.

constexpr size_t kSnmpCommunityMaxLen = 20;
constexpr size_t kSnmpNameMaxLen = 30;  // views, filters, groups, context prefixes, users
constexpr size_t kSnmpOidTextMaxLen = 128;
constexpr size_t kSnmpHostMaxLen = 158;
constexpr size_t kSnmpSystemTextMaxLen = 255;
constexpr size_t kSnmpMinPasswordLen = 8;
constexpr size_t kSnmpEngineIdMinLen = 5, kSnmpEngineIdMaxLen = 32;
// The enterprise number of the default engine identifier: the one set
// aside for documentation, as this switch belongs to no vendor.
constexpr uint32_t kSnmpEnterprise = 32473;
constexpr uint32_t kSnmpTrapPort = 162;
constexpr uint32_t kSnmpMaxTimeout = 300, kSnmpMaxRetries = 255;

constexpr uint32_t kSnmpTrapFlagsAll = 0xFF;

// An address as a key: family, then the bytes in network order, so that
// "no address" sorts before every address.
struct SnmpAddress {
  uint32_t family = OPEN_AF_NONE;
  std::array<uint8_t, 16> bytes{};
  auto operator<=>(const SnmpAddress &) const = default;

  static SnmpAddress of(const open_inet_addr_t &addr);
  // IPv4 or IPv6 text; false for anything else.
  static bool parse(const std::string &text, SnmpAddress *out);
  open_inet_addr_t toOpen() const;
  std::string text() const;  // "" for no address
};

struct SnmpCommunity {
  uint32_t access = OPEN_SNMP_COMMUNITY_ACCESS_NONE;  // none: the rights come from `group`
  std::string view;
  SnmpAddress address;  // no address: any manager
  std::string group;
};

struct SnmpCommunityAddr {
  uint32_t access = OPEN_SNMP_COMMUNITY_ACCESS_RO;
  SnmpAddress address, mask;
  uint32_t ipv6PrefixLen = 0;
  std::string view;
};

struct SnmpGroupKey {
  std::string name, contextPrefix;
  uint32_t model = OPEN_SNMP_SECURITY_MODEL_ANY, level = OPEN_SNMP_SECURITY_LEVEL_NOAUTHNOPRIV;
  auto operator<=>(const SnmpGroupKey &) const = default;
};
struct SnmpGroup {
  std::string readView, writeView, notifyView;
};

// A view's or filter's subtree; the value is its type, included or excluded.
struct SnmpTreeKey {
  std::string name;
  SnmpOid subtree;
  auto operator<=>(const SnmpTreeKey &) const = default;
};
using SnmpTreeTable = std::map<SnmpTreeKey, uint32_t>;

struct SnmpUserKey {
  std::string name;
  SnmpBytes engineId;
  auto operator<=>(const SnmpUserKey &) const = default;
};
struct SnmpUser {
  std::string group;
  uint32_t authProto = OPEN_SNMP_AUTH_PROTOCOL_NONE, privProto = OPEN_SNMP_PRIV_PROTOCOL_NONE;
  SnmpBytes authKey, privKey;  // localised keys, never the pass phrases
  std::string remoteAddress;   // the address the engine was found by, if it was
};

// What a user create asks for: each secret as a pass phrase or a ready key in hexadecimal.
struct SnmpUserRequest {
  std::string name, group;
  uint32_t authProto = OPEN_SNMP_AUTH_PROTOCOL_NONE, privProto = OPEN_SNMP_PRIV_PROTOCOL_NONE;
  std::string authPassword, authKeyHex, privPassword, privKeyHex;
};

struct SnmpRemoteEngineKey {
  SnmpAddress address;
  std::string user;
  auto operator<=>(const SnmpRemoteEngineKey &) const = default;
};

struct SnmpHost {
  uint32_t port = kSnmpTrapPort;
  std::string securityName;
  uint32_t model = OPEN_SNMP_SECURITY_MODEL_SNMPV2C, level = OPEN_SNMP_SECURITY_LEVEL_NOAUTHNOPRIV, notifyType = OPEN_SNMP_NOTIFY_TYPE_TRAP;
  uint32_t timeout = 15, retries = 3;  // informs only
  std::string filter;
};

struct SnmpTrapManagerKey {
  std::string community;
  SnmpAddress address;
  auto operator<=>(const SnmpTrapManagerKey &) const = default;
};
struct SnmpTrapManager {
  uint32_t version = 2;  // 1 SNMPv1, 2 SNMPv2c
  uint32_t status = 1;   // 1 enabled, 0 disabled
};

struct SnmpState {
  bool serverEnabled = true;
  bool passwordStrengthCheck = false;
  std::string sysName, sysContact, sysLocation;
  SnmpBytes localEngineId;
  uint32_t trapFlags = 0;
  uint32_t trapSourceIfNum = 0;  // 0: traps leave from the management address
  std::map<std::string, SnmpCommunity> communities;
  std::map<std::string, SnmpCommunityAddr> communityAddrs;
  std::map<SnmpGroupKey, SnmpGroup> groups;
  SnmpTreeTable views, filters;
  std::map<SnmpUserKey, SnmpUser> users;
  std::map<SnmpRemoteEngineKey, SnmpBytes> remoteEngines;
  std::map<std::string, SnmpHost> hosts;
  std::map<SnmpTrapManagerKey, SnmpTrapManager> trapManagers;
};

class SnmpAgent : public SimModel {
 public:
  explicit SnmpAgent(const SimSwitch &system) : system_(system) {}

  const char *stateKey() const override { return "snmp"; }
  // The agent of a switch of the system's model and base MAC address, whose
  // management address is where traps leave from by default.
  void resetToDefault() override;
  cJSON *toJson() const override;
  bool fromJson(const cJSON *json, const schema::Where &where) override;
  void adoptState(SimModel &loaded) override;

  SnmpState &state() { return state_; }
  const SnmpState &state() const { return state_; }
  const SnmpBytes &defaultEngineId() const { return defaultEngineId_; }
  uint32_t managementIpv4() const { return managementIpv4_; }

  open_error_t createCommunity(const std::string &name, const SnmpCommunity &community);
  open_error_t createCommunityAddr(const std::string &name, const SnmpCommunityAddr &entry);
  open_error_t createGroup(const SnmpGroupKey &key, const SnmpGroup &group);
  open_error_t deleteGroup(const SnmpGroupKey &key);
  SnmpTreeTable *trees(uint32_t treeType);
  // A view's or filter's key from the texts given; -22 when they cannot be read.
  static open_error_t treeKey(const std::string &name, const std::string &oidText, SnmpTreeKey *key);
  open_error_t createTree(uint32_t treeType, const SnmpTreeKey &key, uint32_t type);
  open_error_t deleteTree(uint32_t treeType, const SnmpTreeKey &key);

  // A user's engine: "" for the local engine, else hexadecimal text.
  open_error_t engineOf(const std::string &text, SnmpBytes *engineId) const;
  // The remote engine known for an address and (failing that) for any user.
  open_error_t remoteEngineOf(const SnmpAddress &address, const std::string &user, SnmpBytes *engineId) const;
  open_error_t createUser(const SnmpUserRequest &request, const SnmpBytes &engineId, const std::string &remoteAddress);
  // The user after (name, engine identifier as the walk's key gives it).
  const std::pair<const SnmpUserKey, SnmpUser> *nextUser(const std::string &name, const SnmpBytes &keyEngine) const;
  open_error_t setLocalEngineId(const std::string &hex);
  open_error_t createRemoteEngine(const std::string &address, const std::string &engineHex, const std::string &user);
  open_error_t deleteRemoteEngine(const std::string &address, const std::string &engineHex, const std::string &user);

  open_error_t createHost(const std::string &host, const SnmpHost &entry);
  open_error_t createTrapManager(const SnmpTrapManagerKey &key, const SnmpTrapManager &manager);
  open_error_t trapFlag(uint32_t flag, bool *enabled) const;
  open_error_t setTrapFlag(uint32_t flag, uint8_t mode);

 private:
  void deriveFromSystem();
  open_error_t secretKey(uint32_t authProto, const std::string &password, const std::string &keyHex,
                         const SnmpBytes &engineId, size_t keyLength, SnmpBytes *key) const;

  const SimSwitch &system_;
  SnmpState state_;
  SnmpBytes defaultEngineId_;
  uint32_t managementIpv4_ = 0;
};

// Hexadecimal text to bytes; false for anything else.
bool snmpUnhex(const std::string &text, SnmpBytes *bytes);
std::string snmpHex(const SnmpBytes &bytes);
