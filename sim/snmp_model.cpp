#include "sim/snmp_model.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// The usual engine identifier format: the enterprise number with its top
// bit set, format 3 (a MAC address), then the address.
constexpr uint8_t kEngineIdFormatMac = 3;
// A walk's key carries at most 32 hexadecimal digits of engine identifier.
constexpr size_t kWalkKeyEngineBytes = 16;

constexpr uint32_t kDefaultTrapFlags = kSnmpTrapAuthentication | kSnmpTrapLinkUpDown | kSnmpTrapMultipleUsers |
                                       kSnmpTrapSpanningTree | kSnmpTrapFanAndPower | kSnmpTrapTemperature;

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
    {"Default", "1", kSnmpIncluded},
    {"Default", "1.3.6.1.6.3.15", kSnmpExcluded},
    {"Default", "1.3.6.1.6.3.16", kSnmpExcluded},
    {"Default", "1.3.6.1.6.3.18", kSnmpExcluded},
    {"DefaultSuper", "1", kSnmpIncluded},
};

bool validName(const std::string &name, size_t maxLength) { return !name.empty() && name.size() <= maxLength; }
bool inRange(uint32_t value, uint32_t low, uint32_t high) { return value >= low && value <= high; }

// A community without a view of its own sees the default view of its access.
std::string viewOrDefault(const std::string &view, uint32_t access) {
  if (!view.empty()) return view;
  return access == kSnmpAccessSu ? "DefaultSuper" : "Default";
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
  return inRange(level, kSnmpNoAuthNoPriv, kSnmpAuthPriv) && (model == kSnmpModelUsm || level == kSnmpNoAuthNoPriv);
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
    case kSnmpAuthSha: *hash = SnmpHash::Sha1; return true;
    case kSnmpAuthMd5: *hash = SnmpHash::Md5; return true;
    case kSnmpAuthSha512: *hash = SnmpHash::Sha512; return true;
    default: return false;
  }
}

// Key and pre-IV material each cipher takes from the privacy key.
size_t privKeyLength(uint32_t privProto) {
  switch (privProto) {
    case kSnmpPrivDes:
    case kSnmpAes128: return 16;
    case kSnmpAes192: return 24;
    case kSnmp3Des:
    case kSnmpAes256: return 32;
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
    unsigned value = 0;
    if (!isxdigit(static_cast<unsigned char>(text[i])) || !isxdigit(static_cast<unsigned char>(text[i + 1])) ||
        sscanf(text.c_str() + i, "%2x", &value) != 1) {
      return false;
    }
    bytes->push_back(static_cast<uint8_t>(value));
  }
  return true;
}

std::string snmpHex(const SnmpBytes &bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string text;
  for (uint8_t b : bytes) text += {kDigits[b >> 4], kDigits[b & 15]};
  return text;
}

void SnmpAgent::reset(const std::string &machineModel, const std::array<uint8_t, 6> &baseMac, uint32_t managementIpv4) {
  state_ = SnmpState{};
  managementIpv4_ = managementIpv4;
  defaultEngineId_ = {static_cast<uint8_t>(0x80 | kSnmpEnterprise >> 24), static_cast<uint8_t>(kSnmpEnterprise >> 16),
                      static_cast<uint8_t>(kSnmpEnterprise >> 8), static_cast<uint8_t>(kSnmpEnterprise),
                      kEngineIdFormatMac};
  defaultEngineId_.insert(defaultEngineId_.end(), baseMac.begin(), baseMac.end());
  state_.localEngineId = defaultEngineId_;
  // The same name the switch gives itself elsewhere: its model and the end of its MAC address.
  char suffix[8];
  snprintf(suffix, sizeof suffix, "%02X%02X%02X", baseMac[3], baseMac[4], baseMac[5]);
  state_.sysName = machineModel + "-" + suffix;
  state_.trapFlags = kDefaultTrapFlags;
  state_.communities["public"] = {kSnmpAccessRo, "Default", {}, ""};
  state_.communities["private"] = {kSnmpAccessRw, "Default", {}, ""};
  for (const DefaultGroup &g : kDefaultGroups) {
    for (uint32_t model : {kSnmpModelV1, kSnmpModelV2c, kSnmpModelUsm}) {
      state_.groups[{g.name, "", model, kSnmpNoAuthNoPriv}] = {g.readView, g.writeView, g.notifyView};
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
    if (!inRange(entry.access, kSnmpAccessRo, kSnmpAccessSu)) return OPEN_E_PARAM;
    entry.view = viewOrDefault(entry.view, entry.access);
  } else if (!hasGroup(state_, entry.group)) {
    return OPEN_E_PARAM;
  }
  return state_.communities.emplace(name, entry).second ? OPEN_E_NONE : OPEN_E_EXISTS;
}

open_error_t SnmpAgent::createCommunityAddr(const std::string &name, const SnmpCommunityAddr &entry) {
  if (!validName(name, kSnmpCommunityMaxLen) || entry.view.size() > kSnmpNameMaxLen ||
      !inRange(entry.access, kSnmpAccessRo, kSnmpAccessSu) || entry.ipv6PrefixLen > 128) {
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
      !inRange(key.model, kSnmpModelV1, kSnmpModelUsm) || !levelFitsModel(key.model, key.level)) {
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
  if (treeType == kSnmpViewTree) return &state_.views;
  if (treeType == kSnmpFilterTree) return &state_.filters;
  return nullptr;
}

open_error_t SnmpAgent::treeKey(const std::string &name, const std::string &oidText, SnmpTreeKey *key) {
  key->name = name;
  if (!validName(name, kSnmpNameMaxLen) || oidText.size() > kSnmpOidTextMaxLen) return OPEN_E_PARAM;
  return snmpOidParse(oidText, &key->subtree) ? OPEN_E_NONE : OPEN_E_PARAM;
}

open_error_t SnmpAgent::createTree(uint32_t treeType, const SnmpTreeKey &key, uint32_t type) {
  SnmpTreeTable *table = trees(treeType);
  if (table == nullptr || !inRange(type, kSnmpIncluded, kSnmpExcluded)) return OPEN_E_PARAM;
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
      request.authProto > kSnmpAuthSha512 || request.privProto > kSnmpAes256 ||
      (request.authProto == kSnmpAuthNone && request.privProto != kSnmpPrivNone)) {
    return OPEN_E_PARAM;
  }
  SnmpUserKey key{request.name, engineId};
  if (state_.users.count(key) != 0) return OPEN_E_EXISTS;
  SnmpUser user{request.group, request.authProto, request.privProto, {}, {}, remoteAddress};
  open_error_t rc = OPEN_E_NONE;
  if (request.authProto != kSnmpAuthNone) {
    SnmpHash hash{};
    hashOf(request.authProto, &hash);
    rc = secretKey(request.authProto, request.authPassword, request.authKeyHex, engineId, snmpDigestSize(hash),
                   &user.authKey);
  }
  if (rc == OPEN_E_NONE && request.privProto != kSnmpPrivNone) {
    rc = secretKey(request.authProto, request.privPassword, request.privKeyHex, engineId,
                   privKeyLength(request.privProto), &user.privKey);
  }
  if (rc == OPEN_E_NONE) state_.users.emplace(key, user);
  return rc;
}

const std::pair<const SnmpUserKey, SnmpUser> *SnmpAgent::nextUser(const std::string &name,
                                                                  const SnmpBytes &keyEngine) const {
  auto it = state_.users.upper_bound({name, keyEngine});
  // A key cut to the walk's 32 digits stands for the longer identifiers it begins.
  while (it != state_.users.end() && it->first.name == name && keyEngine.size() == kWalkKeyEngineBytes &&
         it->first.engineId.size() > kWalkKeyEngineBytes &&
         std::equal(keyEngine.begin(), keyEngine.end(), it->first.engineId.begin())) {
    ++it;
  }
  return it == state_.users.end() ? nullptr : &*it;
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
      !inRange(entry.model, kSnmpModelV1, kSnmpModelUsm) || !levelFitsModel(entry.model, entry.level) ||
      !inRange(entry.notifyType, kSnmpTrap, kSnmpInform) || entry.timeout > kSnmpMaxTimeout ||
      entry.retries > kSnmpMaxRetries) {
    return OPEN_E_PARAM;
  }
  // SNMPv1 knows no informs; a filter must exist to be used.
  if ((entry.model == kSnmpModelV1 && entry.notifyType == kSnmpInform) ||
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
