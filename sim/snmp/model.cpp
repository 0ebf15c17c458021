#include "sim/snmp/model.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "open/wire.h"
#include "sim/walk.h"

namespace {

// The usual engine identifier format: the enterprise number with its top
// bit set, format 3 (a MAC address), then the address.
constexpr uint8_t kEngineIdFormatMac = 3;
// A walk's key carries at most 32 hexadecimal digits of engine identifier.
constexpr size_t kWalkKeyEngineBytes = 16;

constexpr uint32_t kDefaultTrapFlags = OPEN_SNMP_TRAP_AUTHENTICATION | OPEN_SNMP_TRAP_LINK_UP_DOWN | OPEN_SNMP_TRAP_MULTIPLE_USERS |
                                       OPEN_SNMP_TRAP_SPANNING_TREE | OPEN_SNMP_TRAP_FAN_AND_POWER | OPEN_SNMP_TRAP_TEMPERATURE;

struct DefaultGroup {
  const char *name, *readView, *writeView, *notifyView;
};
const DefaultGroup kDefaultGroups[] = {
    {"DefaultRead", "Default", "", "Default"},
    {"DefaultWrite", "Default", "Default", "Default"},
    {"DefaultSuper", "DefaultSuper", "DefaultSuper", "DefaultSuper"},
};

struct DefaultTree {
  const char *name, *oid;
  uint32_t type;
};
// Everything but the agent's own security tables, or everything.
const DefaultTree kDefaultViews[] = {
    {"Default", "1", OPEN_SNMP_VIEW_TYPE_INCLUDED},
    {"Default", "1.3.6.1.6.3.15", OPEN_SNMP_VIEW_TYPE_EXCLUDED},
    {"Default", "1.3.6.1.6.3.16", OPEN_SNMP_VIEW_TYPE_EXCLUDED},
    {"Default", "1.3.6.1.6.3.18", OPEN_SNMP_VIEW_TYPE_EXCLUDED},
    {"DefaultSuper", "1", OPEN_SNMP_VIEW_TYPE_INCLUDED},
};

bool validName(const std::string &name, size_t maxLength) { return !name.empty() && name.size() <= maxLength; }
bool inRange(uint32_t value, uint32_t low, uint32_t high) { return value >= low && value <= high; }

// A community without a view of its own sees the default view of its access.
std::string viewOrDefault(const std::string &view, uint32_t access) {
  if (!view.empty()) return view;
  return access == OPEN_SNMP_COMMUNITY_ACCESS_SU ? "DefaultSuper" : "Default";
}

bool contiguousMask(const SnmpAddress &mask) {
  uint32_t bits = static_cast<uint32_t>(mask.bytes[0]) << 24 | mask.bytes[1] << 16 | mask.bytes[2] << 8 | mask.bytes[3];
  return (~bits & (~bits + 1)) == 0;
}

bool hasGroup(const SnmpState &state, const std::string &name) {
  return std::any_of(state.groups.begin(), state.groups.end(), [&](const auto &g) { return g.first.name == name; });
}

bool hasTree(const SnmpTreeTable &table, const std::string &name) {
  return std::any_of(table.begin(), table.end(), [&](const auto &t) { return t.first.name == name; });
}

// SNMPv1 and SNMPv2c carry no authentication or privacy.
bool levelFitsModel(uint32_t model, uint32_t level) {
  return inRange(level, OPEN_SNMP_SECURITY_LEVEL_NOAUTHNOPRIV, OPEN_SNMP_SECURITY_LEVEL_AUTHPRIV) && (model == OPEN_SNMP_SECURITY_MODEL_USM || level == OPEN_SNMP_SECURITY_LEVEL_NOAUTHNOPRIV);
}

bool validEngineId(const SnmpBytes &id) {
  if (id.size() < kSnmpEngineIdMinLen || id.size() > kSnmpEngineIdMaxLen) return false;
  bool zeros = std::all_of(id.begin(), id.end(), [](uint8_t b) { return b == 0; });
  bool ones = std::all_of(id.begin(), id.end(), [](uint8_t b) { return b == 0xFF; });
  return !zeros && !ones;
}

// A host is an address or a DNS name.
bool validHostName(const std::string &host) {
  if (!validName(host, kSnmpHostMaxLen)) return false;
  SnmpAddress address;
  if (SnmpAddress::parse(host, &address)) return true;
  return std::all_of(host.begin(), host.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
  });
}

bool hashOf(uint32_t authProto, SnmpHash *hash) {
  switch (authProto) {
    case OPEN_SNMP_AUTH_PROTOCOL_SHA: *hash = SnmpHash::Sha1; return true;
    case OPEN_SNMP_AUTH_PROTOCOL_MD5: *hash = SnmpHash::Md5; return true;
    case OPEN_SNMP_AUTH_PROTOCOL_SHA512: *hash = SnmpHash::Sha512; return true;
    default: return false;
  }
}

// Key and pre-IV material each cipher takes from the privacy key.
size_t privKeyLength(uint32_t privProto) {
  switch (privProto) {
    case OPEN_SNMP_PRIV_PROTOCOL_DES:
    case OPEN_SNMP_PRIV_PROTOCOL_AES128: return 16;
    case OPEN_SNMP_PRIV_PROTOCOL_AES192: return 24;
    case OPEN_SNMP_PRIV_PROTOCOL_3DES:
    case OPEN_SNMP_PRIV_PROTOCOL_AES256: return 32;
    default: return 0;
  }
}

}  // namespace

SnmpAddress SnmpAddress::of(const open_inet_addr_t &addr) {
  SnmpAddress address;
  if (addr.family == OPEN_AF_INET) {
    address.family = OPEN_AF_INET;
    uint32_t network = htonl(addr.addr.ipv4);
    memcpy(address.bytes.data(), &network, 4);
  } else if (addr.family == OPEN_AF_INET6) {
    address.family = OPEN_AF_INET6;
    memcpy(address.bytes.data(), addr.addr.ipv6, 16);
  }
  return address;
}

bool SnmpAddress::parse(const std::string &text, SnmpAddress *out) {
  *out = SnmpAddress{};
  if (inet_pton(AF_INET, text.c_str(), out->bytes.data()) == 1) {
    out->family = OPEN_AF_INET;
    return true;
  }
  if (inet_pton(AF_INET6, text.c_str(), out->bytes.data()) == 1) {
    out->family = OPEN_AF_INET6;
    return true;
  }
  *out = SnmpAddress{};
  return false;
}

open_inet_addr_t SnmpAddress::toOpen() const {
  open_inet_addr_t addr{};
  addr.family = family;
  if (family == OPEN_AF_INET) {
    uint32_t network = 0;
    memcpy(&network, bytes.data(), 4);
    addr.addr.ipv4 = ntohl(network);
  } else if (family == OPEN_AF_INET6) {
    memcpy(addr.addr.ipv6, bytes.data(), 16);
  }
  return addr;
}

std::string SnmpAddress::text() const {
  char text[INET6_ADDRSTRLEN] = "";
  if (family == OPEN_AF_INET) inet_ntop(AF_INET, bytes.data(), text, sizeof text);
  if (family == OPEN_AF_INET6) inet_ntop(AF_INET6, bytes.data(), text, sizeof text);
  return text;
}

bool snmpUnhex(const std::string &text, SnmpBytes *bytes) {
  bytes->clear();
  if (text.size() % 2 != 0) return false;
  for (size_t i = 0; i < text.size(); i += 2) {
    int octet = wireHexOctet(text[i], text[i + 1]);
    if (octet < 0) return false;
    bytes->push_back(static_cast<uint8_t>(octet));
  }
  return true;
}

std::string snmpHex(const SnmpBytes &bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string text;
  for (uint8_t b : bytes) text += {kDigits[b >> 4], kDigits[b & 15]};
  return text;
}

// What the agent takes from the switch it runs on.
void SnmpAgent::deriveFromSystem() {
  const schema::MacAddress &baseMac = system_.identity().baseMac;
  managementIpv4_ = kManagementIpv4;
  defaultEngineId_ = {static_cast<uint8_t>(0x80 | kSnmpEnterprise >> 24), static_cast<uint8_t>(kSnmpEnterprise >> 16),
                      static_cast<uint8_t>(kSnmpEnterprise >> 8), static_cast<uint8_t>(kSnmpEnterprise),
                      kEngineIdFormatMac};
  defaultEngineId_.insert(defaultEngineId_.end(), baseMac.begin(), baseMac.end());
}

void SnmpAgent::resetToDefault() {
  const std::string &machineModel = system_.identity().machineModel;
  const schema::MacAddress &baseMac = system_.identity().baseMac;
  deriveFromSystem();
  state_ = SnmpState{};
  state_.localEngineId = defaultEngineId_;
  // The same name the switch gives itself elsewhere: its model and the end of its MAC address.
  char suffix[8];
  snprintf(suffix, sizeof suffix, "%02X%02X%02X", baseMac[3], baseMac[4], baseMac[5]);
  state_.sysName = machineModel + "-" + suffix;
  state_.trapFlags = kDefaultTrapFlags;
  state_.communities["public"] = {OPEN_SNMP_COMMUNITY_ACCESS_RO, "Default", {}, ""};
  state_.communities["private"] = {OPEN_SNMP_COMMUNITY_ACCESS_RW, "Default", {}, ""};
  for (const DefaultGroup &g : kDefaultGroups) {
    for (uint32_t model : {OPEN_SNMP_SECURITY_MODEL_SNMPV1, OPEN_SNMP_SECURITY_MODEL_SNMPV2C, OPEN_SNMP_SECURITY_MODEL_USM}) {
      state_.groups[{g.name, "", model, OPEN_SNMP_SECURITY_LEVEL_NOAUTHNOPRIV}] = {g.readView, g.writeView, g.notifyView};
    }
  }
  for (const DefaultTree &v : kDefaultViews) {
    SnmpTreeKey key{v.name, {}};
    snmpOidParse(v.oid, &key.subtree);
    state_.views[key] = v.type;
  }
}

open_error_t SnmpAgent::createCommunity(const std::string &name, const SnmpCommunity &community) {
  if (!validName(name, kSnmpCommunityMaxLen) || community.view.size() > kSnmpNameMaxLen) return OPEN_E_PARAM;
  SnmpCommunity entry = community;
  if (entry.group.empty()) {
    if (!inRange(entry.access, OPEN_SNMP_COMMUNITY_ACCESS_RO, OPEN_SNMP_COMMUNITY_ACCESS_SU)) return OPEN_E_PARAM;
    entry.view = viewOrDefault(entry.view, entry.access);
  } else if (!hasGroup(state_, entry.group)) {
    return OPEN_E_PARAM;
  }
  return state_.communities.emplace(name, entry).second ? OPEN_E_NONE : OPEN_E_EXISTS;
}

open_error_t SnmpAgent::createCommunityAddr(const std::string &name, const SnmpCommunityAddr &entry) {
  if (!validName(name, kSnmpCommunityMaxLen) || entry.view.size() > kSnmpNameMaxLen ||
      !inRange(entry.access, OPEN_SNMP_COMMUNITY_ACCESS_RO, OPEN_SNMP_COMMUNITY_ACCESS_SU) || entry.ipv6PrefixLen > 128) {
    return OPEN_E_PARAM;
  }
  // An IPv4 manager's mask is an IPv4 netmask; IPv6 managers use the prefix length.
  if (entry.mask.family != OPEN_AF_NONE &&
      (entry.mask.family != entry.address.family || (entry.mask.family == OPEN_AF_INET && !contiguousMask(entry.mask)))) {
    return OPEN_E_PARAM;
  }
  SnmpCommunityAddr stored = entry;
  stored.view = viewOrDefault(entry.view, entry.access);
  return state_.communityAddrs.emplace(name, stored).second ? OPEN_E_NONE : OPEN_E_EXISTS;
}

open_error_t SnmpAgent::createGroup(const SnmpGroupKey &key, const SnmpGroup &group) {
  if (!validName(key.name, kSnmpNameMaxLen) || key.contextPrefix.size() > kSnmpNameMaxLen ||
      !inRange(key.model, OPEN_SNMP_SECURITY_MODEL_SNMPV1, OPEN_SNMP_SECURITY_MODEL_USM) || !levelFitsModel(key.model, key.level)) {
    return OPEN_E_PARAM;
  }
  for (const std::string *view : {&group.readView, &group.writeView, &group.notifyView}) {
    if (view->size() > kSnmpNameMaxLen) return OPEN_E_PARAM;
  }
  return state_.groups.emplace(key, group).second ? OPEN_E_NONE : OPEN_E_EXISTS;
}

open_error_t SnmpAgent::deleteGroup(const SnmpGroupKey &key) {
  return state_.groups.erase(key) == 1 ? OPEN_E_NONE : OPEN_E_NOT_FOUND;
}

SnmpTreeTable *SnmpAgent::trees(uint32_t treeType) {
  if (treeType == OPEN_SNMP_VIEW_TREE) return &state_.views;
  if (treeType == OPEN_SNMP_FILTER_TREE) return &state_.filters;
  return nullptr;
}

open_error_t SnmpAgent::treeKey(const std::string &name, const std::string &oidText, SnmpTreeKey *key) {
  key->name = name;
  if (!validName(name, kSnmpNameMaxLen) || oidText.size() > kSnmpOidTextMaxLen) return OPEN_E_PARAM;
  return snmpOidParse(oidText, &key->subtree) ? OPEN_E_NONE : OPEN_E_PARAM;
}

open_error_t SnmpAgent::createTree(uint32_t treeType, const SnmpTreeKey &key, uint32_t type) {
  SnmpTreeTable *table = trees(treeType);
  if (table == nullptr || !inRange(type, OPEN_SNMP_VIEW_TYPE_INCLUDED, OPEN_SNMP_VIEW_TYPE_EXCLUDED)) return OPEN_E_PARAM;
  // A subtree must also read back within the walk's 128 characters.
  if (snmpOidDotted(key.subtree).size() > kSnmpOidTextMaxLen) return OPEN_E_PARAM;
  return table->emplace(key, type).second ? OPEN_E_NONE : OPEN_E_EXISTS;
}

open_error_t SnmpAgent::deleteTree(uint32_t treeType, const SnmpTreeKey &key) {
  SnmpTreeTable *table = trees(treeType);
  if (table == nullptr) return OPEN_E_PARAM;
  return table->erase(key) == 1 ? OPEN_E_NONE : OPEN_E_NOT_FOUND;
}

open_error_t SnmpAgent::engineOf(const std::string &text, SnmpBytes *engineId) const {
  if (text.empty()) {
    *engineId = state_.localEngineId;
    return OPEN_E_NONE;
  }
  return snmpUnhex(text, engineId) && validEngineId(*engineId) ? OPEN_E_NONE : OPEN_E_PARAM;
}

open_error_t SnmpAgent::remoteEngineOf(const SnmpAddress &address, const std::string &user,
                                       SnmpBytes *engineId) const {
  for (const std::string &who : {user, std::string()}) {
    auto found = state_.remoteEngines.find({address, who});
    if (found != state_.remoteEngines.end()) {
      *engineId = found->second;
      return OPEN_E_NONE;
    }
  }
  return OPEN_E_PARAM;
}

open_error_t SnmpAgent::secretKey(uint32_t authProto, const std::string &password, const std::string &keyHex,
                                  const SnmpBytes &engineId, size_t keyLength, SnmpBytes *key) const {
  SnmpHash hash{};
  if (!hashOf(authProto, &hash)) return OPEN_E_PARAM;
  if (!keyHex.empty()) return snmpUnhex(keyHex, key) && key->size() == keyLength ? OPEN_E_NONE : OPEN_E_PARAM;
  if (password.empty() || (state_.passwordStrengthCheck && password.size() < kSnmpMinPasswordLen)) return OPEN_E_PARAM;
  *key = snmpKeyOfLength(hash, snmpLocalizedKey(hash, password, engineId), keyLength);
  return OPEN_E_NONE;
}

open_error_t SnmpAgent::createUser(const SnmpUserRequest &request, const SnmpBytes &engineId,
                                   const std::string &remoteAddress) {
  if (!validName(request.name, kSnmpNameMaxLen) || !hasGroup(state_, request.group) ||
      request.authProto > OPEN_SNMP_AUTH_PROTOCOL_SHA512 || request.privProto > OPEN_SNMP_PRIV_PROTOCOL_AES256 ||
      (request.authProto == OPEN_SNMP_AUTH_PROTOCOL_NONE && request.privProto != OPEN_SNMP_PRIV_PROTOCOL_NONE)) {
    return OPEN_E_PARAM;
  }
  SnmpUserKey key{request.name, engineId};
  if (state_.users.count(key) != 0) return OPEN_E_EXISTS;
  SnmpUser user{request.group, request.authProto, request.privProto, {}, {}, remoteAddress};
  open_error_t rc = OPEN_E_NONE;
  if (request.authProto != OPEN_SNMP_AUTH_PROTOCOL_NONE) {
    SnmpHash hash{};
    hashOf(request.authProto, &hash);
    rc = secretKey(request.authProto, request.authPassword, request.authKeyHex, engineId, snmpDigestSize(hash),
                   &user.authKey);
  }
  if (rc == OPEN_E_NONE && request.privProto != OPEN_SNMP_PRIV_PROTOCOL_NONE) {
    rc = secretKey(request.authProto, request.privPassword, request.privKeyHex, engineId,
                   privKeyLength(request.privProto), &user.privKey);
  }
  if (rc == OPEN_E_NONE) state_.users.emplace(key, user);
  return rc;
}

const std::pair<const SnmpUserKey, SnmpUser> *SnmpAgent::nextUser(const std::string &name,
                                                                  const SnmpBytes &keyEngine) const {
  using Entry = std::pair<const SnmpUserKey, SnmpUser>;
  // A key cut to the walk's 32 digits stands for the longer identifiers it begins.
  auto notStoodFor = [&](const Entry &entry) {
    return !(entry.first.name == name && keyEngine.size() == kWalkKeyEngineBytes &&
             entry.first.engineId.size() > kWalkKeyEngineBytes &&
             std::equal(keyEngine.begin(), keyEngine.end(), entry.first.engineId.begin()));
  };
  const Entry *found = nullptr;
  walk::next(state_.users, SnmpUserKey{name, keyEngine}, found, &Entry::first, notStoodFor);
  return found;
}

open_error_t SnmpAgent::setLocalEngineId(const std::string &hex) {
  SnmpBytes id;
  if (!snmpUnhex(hex, &id) || !validEngineId(id)) return OPEN_E_PARAM;
  state_.localEngineId = id;
  return OPEN_E_NONE;
}

open_error_t SnmpAgent::createRemoteEngine(const std::string &address, const std::string &engineHex,
                                           const std::string &user) {
  SnmpRemoteEngineKey key{{}, user};
  SnmpBytes id;
  if (!SnmpAddress::parse(address, &key.address) || !snmpUnhex(engineHex, &id) || !validEngineId(id) ||
      user.size() > kSnmpNameMaxLen) {
    return OPEN_E_PARAM;
  }
  return state_.remoteEngines.emplace(key, id).second ? OPEN_E_NONE : OPEN_E_EXISTS;
}

open_error_t SnmpAgent::deleteRemoteEngine(const std::string &address, const std::string &engineHex,
                                           const std::string &user) {
  SnmpRemoteEngineKey key{{}, user};
  SnmpBytes id;
  if (!SnmpAddress::parse(address, &key.address) || !snmpUnhex(engineHex, &id)) return OPEN_E_PARAM;
  auto found = state_.remoteEngines.find(key);
  if (found == state_.remoteEngines.end() || found->second != id) return OPEN_E_NOT_FOUND;
  state_.remoteEngines.erase(found);
  return OPEN_E_NONE;
}

open_error_t SnmpAgent::createHost(const std::string &host, const SnmpHost &entry) {
  SnmpHost stored = entry;
  if (stored.port == 0) stored.port = kSnmpTrapPort;
  if (!validHostName(host) || stored.port > 65535 || !validName(entry.securityName, kSnmpNameMaxLen) ||
      !inRange(entry.model, OPEN_SNMP_SECURITY_MODEL_SNMPV1, OPEN_SNMP_SECURITY_MODEL_USM) || !levelFitsModel(entry.model, entry.level) ||
      !inRange(entry.notifyType, OPEN_SNMP_NOTIFY_TYPE_TRAP, OPEN_SNMP_NOTIFY_TYPE_INFORM) || entry.timeout > kSnmpMaxTimeout ||
      entry.retries > kSnmpMaxRetries) {
    return OPEN_E_PARAM;
  }
  // SNMPv1 knows no informs; a filter must exist to be used.
  if ((entry.model == OPEN_SNMP_SECURITY_MODEL_SNMPV1 && entry.notifyType == OPEN_SNMP_NOTIFY_TYPE_INFORM) ||
      (!entry.filter.empty() && !hasTree(state_.filters, entry.filter))) {
    return OPEN_E_PARAM;
  }
  return state_.hosts.emplace(host, stored).second ? OPEN_E_NONE : OPEN_E_EXISTS;
}

open_error_t SnmpAgent::createTrapManager(const SnmpTrapManagerKey &key, const SnmpTrapManager &manager) {
  if (!validName(key.community, kSnmpCommunityMaxLen) || key.address.family == OPEN_AF_NONE ||
      !inRange(manager.version, 1, 2) || manager.status > 1) {
    return OPEN_E_PARAM;
  }
  return state_.trapManagers.emplace(key, manager).second ? OPEN_E_NONE : OPEN_E_EXISTS;
}

open_error_t SnmpAgent::trapFlag(uint32_t flag, bool *enabled) const {
  if (flag == 0 || (flag & (flag - 1)) != 0 || (flag & kSnmpTrapFlagsAll) == 0) return OPEN_E_PARAM;
  *enabled = (state_.trapFlags & flag) != 0;
  return OPEN_E_NONE;
}

open_error_t SnmpAgent::setTrapFlag(uint32_t flag, uint8_t mode) {
  bool enabled = false;
  if (trapFlag(flag, &enabled) != OPEN_E_NONE || mode > 1) return OPEN_E_PARAM;
  state_.trapFlags = mode == 1 ? state_.trapFlags | flag : state_.trapFlags & ~flag;
  return OPEN_E_NONE;
}

namespace {

using schema::Integer;
using schema::Range;
using schema::Text;

// Addresses, OIDs and byte strings of the tables, as text.
struct AddressText {
  cJSON *dump(const SnmpAddress &address) const { return cJSON_CreateString(address.text().c_str()); }
  bool load(const cJSON *json, SnmpAddress &address, const schema::Where &where) const {
    address = SnmpAddress{};
    if (cJSON_IsString(json) && (json->valuestring[0] == '\0' || SnmpAddress::parse(json->valuestring, &address))) {
      return true;
    }
    return where.fail("expected an IPv4 or IPv6 address, or \"\" for none");
  }
};

struct OidText {
  cJSON *dump(const SnmpOid &oid) const { return cJSON_CreateString(snmpOidDotted(oid).c_str()); }
  bool load(const cJSON *json, SnmpOid &oid, const schema::Where &where) const {
    if (cJSON_IsString(json) && snmpOidParse(json->valuestring, &oid)) return true;
    return where.fail("expected an OID such as 1.3.6.1.2.1.1 or system");
  }
};

struct HexText {
  size_t maxBytes;
  cJSON *dump(const SnmpBytes &bytes) const { return cJSON_CreateString(snmpHex(bytes).c_str()); }
  bool load(const cJSON *json, SnmpBytes &bytes, const schema::Where &where) const {
    if (cJSON_IsString(json) && snmpUnhex(json->valuestring, &bytes) && bytes.size() <= maxBytes) return true;
    return where.fail("expected at most " + std::to_string(maxBytes) + " bytes as hexadecimal text");
  }
};

constexpr Range kAccess{OPEN_SNMP_COMMUNITY_ACCESS_NONE, OPEN_SNMP_COMMUNITY_ACCESS_SU};
constexpr Range kModel{OPEN_SNMP_SECURITY_MODEL_ANY, OPEN_SNMP_SECURITY_MODEL_USM};
constexpr Range kLevel{OPEN_SNMP_SECURITY_LEVEL_NOAUTHNOPRIV, OPEN_SNMP_SECURITY_LEVEL_AUTHPRIV};
const HexText kEngineIdText{kSnmpEngineIdMaxLen};
const HexText kKeyText{64};

Text nameText() { return Text(kSnmpNameMaxLen); }

const schema::Record<SnmpCommunity> kCommunityFields = {
    {"access", &SnmpCommunity::access, Integer(kAccess)},
    {"view", &SnmpCommunity::view, nameText()},
    {"address", &SnmpCommunity::address, AddressText{}},
    {"group", &SnmpCommunity::group, nameText()},
};

const schema::Record<SnmpCommunityAddr> kCommunityAddrFields = {
    {"access", &SnmpCommunityAddr::access, Integer({OPEN_SNMP_COMMUNITY_ACCESS_RO, OPEN_SNMP_COMMUNITY_ACCESS_SU})},
    {"address", &SnmpCommunityAddr::address, AddressText{}},
    {"mask", &SnmpCommunityAddr::mask, AddressText{}},
    {"ipv6PrefixLen", &SnmpCommunityAddr::ipv6PrefixLen, Integer({0, 128})},
    {"view", &SnmpCommunityAddr::view, nameText()},
};

const schema::Record<SnmpGroupKey> kGroupKeyFields = {
    {"name", &SnmpGroupKey::name, Text(kSnmpNameMaxLen, 1)},
    {"contextPrefix", &SnmpGroupKey::contextPrefix, nameText()},
    {"model", &SnmpGroupKey::model, Integer(kModel)},
    {"level", &SnmpGroupKey::level, Integer(kLevel)},
};

const schema::Record<SnmpGroup> kGroupFields = {
    {"readView", &SnmpGroup::readView, nameText()},
    {"writeView", &SnmpGroup::writeView, nameText()},
    {"notifyView", &SnmpGroup::notifyView, nameText()},
};

const schema::Record<SnmpTreeKey> kTreeKeyFields = {
    {"name", &SnmpTreeKey::name, Text(kSnmpNameMaxLen, 1)},
    {"subtree", &SnmpTreeKey::subtree, OidText{}},
};

const schema::Record<SnmpUserKey> kUserKeyFields = {
    {"name", &SnmpUserKey::name, Text(kSnmpNameMaxLen, 1)},
    {"engineId", &SnmpUserKey::engineId, kEngineIdText},
};

const schema::Record<SnmpUser> kUserFields = {
    {"group", &SnmpUser::group, nameText()},
    {"authProto", &SnmpUser::authProto, Integer({OPEN_SNMP_AUTH_PROTOCOL_NONE, OPEN_SNMP_AUTH_PROTOCOL_SHA512})},
    {"privProto", &SnmpUser::privProto, Integer({OPEN_SNMP_PRIV_PROTOCOL_NONE, OPEN_SNMP_PRIV_PROTOCOL_AES256})},
    {"authKey", &SnmpUser::authKey, kKeyText},
    {"privKey", &SnmpUser::privKey, kKeyText},
    {"remoteAddress", &SnmpUser::remoteAddress, Text(INET6_ADDRSTRLEN)},
};

const schema::Record<SnmpRemoteEngineKey> kRemoteEngineKeyFields = {
    {"address", &SnmpRemoteEngineKey::address, AddressText{}},
    {"user", &SnmpRemoteEngineKey::user, nameText()},
};

const schema::Record<SnmpHost> kHostFields = {
    {"port", &SnmpHost::port, Integer({1, 65535})},
    {"securityName", &SnmpHost::securityName, nameText()},
    {"model", &SnmpHost::model, Integer(kModel)},
    {"level", &SnmpHost::level, Integer(kLevel)},
    {"notifyType", &SnmpHost::notifyType, Integer({OPEN_SNMP_NOTIFY_TYPE_TRAP, OPEN_SNMP_NOTIFY_TYPE_INFORM})},
    {"timeout", &SnmpHost::timeout, Integer({0, kSnmpMaxTimeout})},
    {"retries", &SnmpHost::retries, Integer({0, kSnmpMaxRetries})},
    {"filter", &SnmpHost::filter, nameText()},
};

const schema::Record<SnmpTrapManagerKey> kTrapManagerKeyFields = {
    {"community", &SnmpTrapManagerKey::community, Text(kSnmpCommunityMaxLen, 1)},
    {"address", &SnmpTrapManagerKey::address, AddressText{}},
};

const schema::Record<SnmpTrapManager> kTrapManagerFields = {
    {"version", &SnmpTrapManager::version, Integer({1, 2})},
    {"status", &SnmpTrapManager::status, Integer({0, 1})},
};

template <typename K, typename V>
schema::Keyed<K, V> keyedBy(const schema::Record<K> &key, const schema::Record<V> &value, const char *what) {
  return {schema::fieldsOf(key), schema::fieldsOf(value), what};
}

template <typename V>
schema::Keyed<std::string, V> byName(const char *key, size_t maxLength, const schema::Record<V> &value,
                                     const char *what) {
  return {schema::named<std::string>(key, Text(maxLength, 1)), schema::fieldsOf(value), what};
}

schema::Keyed<SnmpTreeKey, uint32_t> trees(const char *what) {
  return {schema::fieldsOf(kTreeKeyFields),
          schema::named<uint32_t>("type", Integer({OPEN_SNMP_VIEW_TYPE_INCLUDED, OPEN_SNMP_VIEW_TYPE_EXCLUDED})), what};
}

const schema::Record<SnmpState> kStateFields = {
    {"serverEnabled", &SnmpState::serverEnabled, schema::Boolean{}},
    {"passwordStrengthCheck", &SnmpState::passwordStrengthCheck, schema::Boolean{}},
    {"sysName", &SnmpState::sysName, Text(kSnmpSystemTextMaxLen)},
    {"sysContact", &SnmpState::sysContact, Text(kSnmpSystemTextMaxLen)},
    {"sysLocation", &SnmpState::sysLocation, Text(kSnmpSystemTextMaxLen)},
    {"localEngineId", &SnmpState::localEngineId, kEngineIdText},
    {"trapFlags", &SnmpState::trapFlags, Integer({0, kSnmpTrapFlagsAll})},
    {"trapSourceIfNum", &SnmpState::trapSourceIfNum, Integer(Range{0, UINT32_MAX})},
    {"communities", &SnmpState::communities,
     byName("name", kSnmpCommunityMaxLen, kCommunityFields, "communities")},
    {"communityAddrs", &SnmpState::communityAddrs,
     byName("name", kSnmpCommunityMaxLen, kCommunityAddrFields, "community-and-address entries")},
    {"groups", &SnmpState::groups, keyedBy(kGroupKeyFields, kGroupFields, "groups")},
    {"views", &SnmpState::views, trees("views")},
    {"filters", &SnmpState::filters, trees("filters")},
    {"users", &SnmpState::users, keyedBy(kUserKeyFields, kUserFields, "users")},
    {"remoteEngines", &SnmpState::remoteEngines,
     schema::Keyed<SnmpRemoteEngineKey, SnmpBytes>(schema::fieldsOf(kRemoteEngineKeyFields),
                                                   schema::named<SnmpBytes>("engineId", kEngineIdText),
                                                   "remote engines")},
    {"hosts", &SnmpState::hosts, byName("host", kSnmpHostMaxLen, kHostFields, "hosts")},
    {"trapManagers", &SnmpState::trapManagers, keyedBy(kTrapManagerKeyFields, kTrapManagerFields, "trap managers")},
};

}  // namespace

cJSON *SnmpAgent::toJson() const { return schema::dumpRecord(kStateFields, state_); }

bool SnmpAgent::fromJson(const cJSON *json, const schema::Where &where) {
  deriveFromSystem();
  return schema::loadRecord(kStateFields, json, state_, where);
}

void SnmpAgent::adoptState(SimModel &loaded) {
  auto &other = static_cast<SnmpAgent &>(loaded);
  state_ = other.state_;
  defaultEngineId_ = other.defaultEngineId_;
  managementIpv4_ = other.managementIpv4_;
}
