// The simulated switch's answers to the SNMP operations.
#include <cstring>
#include <string>

#include "sim/sim_ops.h"
#include "sim/snmp/model.h"
#include "sim/device.h"
#include "sim/walk.h"

namespace {

// Bytes with their length in the descriptor.
open_error_t putBytes(open_buffdesc *desc, const SnmpBytes &bytes) {
  if (desc == nullptr || desc->pstart == nullptr || bytes.size() > desc->size) return OPEN_E_PARAM;
  if (!bytes.empty()) memcpy(desc->pstart, bytes.data(), bytes.size());
  desc->size = static_cast<uint32_t>(bytes.size());
  return OPEN_E_NONE;
}

// Runs puts one after the other while they succeed.
template <typename... Puts>
open_error_t putAll(Puts... puts) {
  open_error_t rc = OPEN_E_NONE;
  ((rc = rc == OPEN_E_NONE ? puts() : rc), ...);
  return rc;
}

template <typename Table, typename Key>
open_error_t eraseFrom(Table &table, const Key &key) {
  return table.erase(key) == 1 ? OPEN_E_NONE : OPEN_E_NOT_FOUND;
}

template <typename Table, typename Key, typename Read>
open_error_t readFrom(const Table &table, const Key &key, Read read) {
  auto found = table.find(key);
  return found == table.end() ? OPEN_E_NOT_FOUND : read(found->second);
}

template <typename Table, typename Key, typename Read>
open_error_t readNext(const Table &table, const Key &key, Read read) {
  const typename Table::value_type *next = nullptr;
  open_error_t rc = walk::next(table, key, next, &Table::value_type::first);
  return rc != OPEN_E_NONE ? rc : read(next->first, next->second);
}

// A walk's key: the name as given, the subtree empty (before every subtree) or readable.
open_error_t treeWalkKey(const open_buffdesc *name, const open_buffdesc *oidTree, SnmpTreeKey *key) {
  key->name = inputText(name);
  std::string oid = inputText(oidTree);
  return oid.empty() || snmpOidParse(oid, &key->subtree) ? OPEN_E_NONE : OPEN_E_PARAM;
}

open_error_t treeCreate(SimDevice &dev, uint32_t treeType, open_buffdesc *name, open_buffdesc *oidTree,
                        uint32_t type) {
  SnmpTreeKey key;
  open_error_t rc = SnmpAgent::treeKey(inputText(name), inputText(oidTree), &key);
  return rc == OPEN_E_NONE ? dev.snmp().createTree(treeType, key, type) : rc;
}

open_error_t treeDelete(SimDevice &dev, uint32_t treeType, open_buffdesc *name, open_buffdesc *oidTree) {
  SnmpTreeKey key;
  open_error_t rc = SnmpAgent::treeKey(inputText(name), inputText(oidTree), &key);
  return rc == OPEN_E_NONE ? dev.snmp().deleteTree(treeType, key) : rc;
}

open_error_t treeNext(SimDevice &dev, uint32_t treeType, open_buffdesc *name, open_buffdesc *oidTree, uint32_t *type,
                      open_buffdesc *nextName, open_buffdesc *nextOidTree) {
  SnmpTreeKey key;
  open_error_t rc = treeWalkKey(name, oidTree, &key);
  if (rc != OPEN_E_NONE) return rc;
  return readNext(*dev.snmp().trees(treeType), key, [&](const SnmpTreeKey &next, uint32_t nextType) {
    *type = nextType;
    return putAll([&] { return putText(nextName, next.name); },
                  [&] { return putText(nextOidTree, snmpOidDotted(next.subtree)); });
  });
}

// A view's or filter's subtree, in the form `show` writes it.
open_error_t treeLookup(SimDevice &dev, open_buffdesc *name, open_buffdesc *oidTree, uint32_t treeType,
                        open_buffdesc *out, std::string (*show)(const SnmpOid &)) {
  SnmpTreeTable *table = dev.snmp().trees(treeType);
  SnmpTreeKey key;
  open_error_t rc = table != nullptr ? SnmpAgent::treeKey(inputText(name), inputText(oidTree), &key) : OPEN_E_PARAM;
  if (rc != OPEN_E_NONE) return rc;
  return readFrom(*table, key, [&](uint32_t) { return putText(out, show(key.subtree)); });
}

SnmpUserRequest userRequest(open_buffdesc *userName, open_buffdesc *groupName, uint32_t authProto,
                            open_buffdesc *authPwd, open_buffdesc *authKey, uint32_t privProto, open_buffdesc *privPwd,
                            open_buffdesc *privKey) {
  return {inputText(userName), inputText(groupName), authProto, privProto,
          inputText(authPwd),  inputText(authKey),   inputText(privPwd), inputText(privKey)};
}

// A user of the local engine ("") or of the engine named in hexadecimal.
open_error_t userKey(SimDevice &dev, open_buffdesc *userName, open_buffdesc *engineId, SnmpUserKey *key) {
  key->name = inputText(userName);
  return dev.snmp().engineOf(inputText(engineId), &key->engineId);
}

template <typename Read>
open_error_t readUser(SimDevice &dev, open_buffdesc *userName, open_buffdesc *engineId, Read read) {
  SnmpUserKey key;
  open_error_t rc = userKey(dev, userName, engineId, &key);
  return rc == OPEN_E_NONE ? readFrom(dev.snmp().state().users, key, read) : rc;
}

// The system strings: at most 255 characters.
open_error_t setSystemText(std::string &field, open_buffdesc *text) {
  std::string value = inputText(text);
  if (value.size() > kSnmpSystemTextMaxLen) return OPEN_E_PARAM;
  field = value;
  return OPEN_E_NONE;
}

open_error_t setMode(bool &field, uint32_t mode) {
  if (mode > 1) return OPEN_E_PARAM;
  field = mode == 1;
  return OPEN_E_NONE;
}

SnmpTrapManagerKey trapManagerKey(open_buffdesc *communityName, open_inet_addr_t *ipAddr) {
  return {inputText(communityName), SnmpAddress::of(*ipAddr)};
}

}  // namespace

namespace sim {

open_error_t openapiSnmpCommunityCreate(SimDevice &dev, open_buffdesc *communityName, uint32_t accessType,
                                        open_buffdesc *viewName, open_inet_addr_t *addr) {
  return dev.snmp().createCommunity(inputText(communityName),
                                   {accessType, inputText(viewName), SnmpAddress::of(*addr), ""});
}

open_error_t openapiSnmpCommunityDelete(SimDevice &dev, open_buffdesc *communityName) {
  return eraseFrom(dev.snmp().state().communities, inputText(communityName));
}

open_error_t openapiSnmpCommunityGetNext(SimDevice &dev, open_buffdesc *communityName, uint32_t *accessType,
                                         open_buffdesc *viewName, open_inet_addr_t *addr,
                                         open_buffdesc *nextCommunityName) {
  return readNext(dev.snmp().state().communities, inputText(communityName),
                  [&](const std::string &name, const SnmpCommunity &community) {
                    *accessType = community.access;
                    *addr = community.address.toOpen();
                    return putAll([&] { return putText(viewName, community.view); },
                                  [&] { return putText(nextCommunityName, name); });
                  });
}

open_error_t openapiSnmpCommunityGroupCreate(SimDevice &dev, open_buffdesc *communityName, open_buffdesc *groupName,
                                             open_inet_addr_t *addr) {
  return dev.snmp().createCommunity(inputText(communityName),
                                   {OPEN_SNMP_COMMUNITY_ACCESS_NONE, "", SnmpAddress::of(*addr), inputText(groupName)});
}

open_error_t openapiSnmpCommunityAndIPAddrCreate(SimDevice &dev, open_buffdesc *communityName,
                                                 open_snmp_community_addr_t *community) {
  return dev.snmp().createCommunityAddr(
      inputText(communityName), {community->accessType, SnmpAddress::of(community->ipAddr),
                                 SnmpAddress::of(community->ipMask), community->ipv6PrefixLen,
                                 inputText(&community->viewName)});
}

open_error_t openapiSnmpCommunityAndIPAddrDelete(SimDevice &dev, open_buffdesc *communityName) {
  return eraseFrom(dev.snmp().state().communityAddrs, inputText(communityName));
}

open_error_t openapiSnmpCommunityAndIPAddrGetNext(SimDevice &dev, open_buffdesc *communityName,
                                                  open_buffdesc *nextCommunityName) {
  return readNext(dev.snmp().state().communityAddrs, inputText(communityName),
                  [&](const std::string &name, const SnmpCommunityAddr &) { return putText(nextCommunityName, name); });
}

open_error_t openapiSnmpCommunityAndIPAddrGet(SimDevice &dev, open_buffdesc *communityName,
                                              open_snmp_community_addr_t *community) {
  return readFrom(dev.snmp().state().communityAddrs, inputText(communityName), [&](const SnmpCommunityAddr &entry) {
    community->accessType = entry.access;
    community->ipAddr = entry.address.toOpen();
    community->ipMask = entry.mask.toOpen();
    community->ipv6PrefixLen = entry.ipv6PrefixLen;
    return putText(&community->viewName, entry.view);
  });
}

open_error_t openapiSnmpGroupCreate(SimDevice &dev, open_buffdesc *groupName, open_buffdesc *contextPrefix,
                                    uint32_t securityModel, uint32_t securityLevel, open_buffdesc *readView,
                                    open_buffdesc *writeView, open_buffdesc *notifyView) {
  return dev.snmp().createGroup({inputText(groupName), inputText(contextPrefix), securityModel, securityLevel},
                               {inputText(readView), inputText(writeView), inputText(notifyView)});
}

open_error_t openapiSnmpGroupDelete(SimDevice &dev, open_buffdesc *groupName, open_buffdesc *contextPrefix,
                                    uint32_t securityModel, uint32_t securityLevel) {
  return dev.snmp().deleteGroup({inputText(groupName), inputText(contextPrefix), securityModel, securityLevel});
}

open_error_t openapiSnmpGroupGetNext(SimDevice &dev, open_buffdesc *groupName, open_buffdesc *contextPrefix,
                                     uint32_t *securityModel, uint32_t *securityLevel, open_buffdesc *readView,
                                     open_buffdesc *writeView, open_buffdesc *notifyView, open_buffdesc *nextGroupName,
                                     open_buffdesc *nextContextPrefix) {
  SnmpGroupKey key{inputText(groupName), inputText(contextPrefix), *securityModel, *securityLevel};
  return readNext(dev.snmp().state().groups, key, [&](const SnmpGroupKey &next, const SnmpGroup &group) {
    *securityModel = next.model;
    *securityLevel = next.level;
    return putAll([&] { return putText(readView, group.readView); },
                  [&] { return putText(writeView, group.writeView); },
                  [&] { return putText(notifyView, group.notifyView); },
                  [&] { return putText(nextGroupName, next.name); },
                  [&] { return putText(nextContextPrefix, next.contextPrefix); });
  });
}

open_error_t openapiSnmpViewCreate(SimDevice &dev, open_buffdesc *viewName, open_buffdesc *oidTree, uint32_t viewType) {
  return treeCreate(dev, OPEN_SNMP_VIEW_TREE, viewName, oidTree, viewType);
}

open_error_t openapiSnmpViewDelete(SimDevice &dev, open_buffdesc *viewName, open_buffdesc *oidTree) {
  return treeDelete(dev, OPEN_SNMP_VIEW_TREE, viewName, oidTree);
}

open_error_t openapiSnmpViewGetNext(SimDevice &dev, open_buffdesc *viewName, open_buffdesc *oidTree,
                                    uint32_t *viewType, open_buffdesc *nextViewName, open_buffdesc *nextOidTree) {
  return treeNext(dev, OPEN_SNMP_VIEW_TREE, viewName, oidTree, viewType, nextViewName, nextOidTree);
}

open_error_t openapiSnmpFilterCreate(SimDevice &dev, open_buffdesc *filterName, open_buffdesc *oidTree,
                                     uint32_t filterType) {
  return treeCreate(dev, OPEN_SNMP_FILTER_TREE, filterName, oidTree, filterType);
}

open_error_t openapiSnmpFilterDelete(SimDevice &dev, open_buffdesc *filterName, open_buffdesc *oidTree) {
  return treeDelete(dev, OPEN_SNMP_FILTER_TREE, filterName, oidTree);
}

open_error_t openapiSnmpFilterGetNext(SimDevice &dev, open_buffdesc *filterName, open_buffdesc *oidTree,
                                      uint32_t *filterType, open_buffdesc *nextFilterName,
                                      open_buffdesc *nextOidTree) {
  return treeNext(dev, OPEN_SNMP_FILTER_TREE, filterName, oidTree, filterType, nextFilterName, nextOidTree);
}

open_error_t openapiSnmpUserCreate(SimDevice &dev, open_buffdesc *userName, open_buffdesc *groupName,
                                   uint32_t authProto, open_buffdesc *authPwd, open_buffdesc *authKey,
                                   uint32_t privProto, open_buffdesc *privPwd, open_buffdesc *privKey,
                                   open_buffdesc *engineId) {
  SnmpBytes engine;
  open_error_t rc = dev.snmp().engineOf(inputText(engineId), &engine);
  if (rc != OPEN_E_NONE) return rc;
  return dev.snmp().createUser(
      userRequest(userName, groupName, authProto, authPwd, authKey, privProto, privPwd, privKey), engine, "");
}

open_error_t openapiSnmpUserDelete(SimDevice &dev, open_buffdesc *userName, open_buffdesc *engineId) {
  SnmpUserKey key;
  open_error_t rc = userKey(dev, userName, engineId, &key);
  return rc == OPEN_E_NONE ? eraseFrom(dev.snmp().state().users, key) : rc;
}

open_error_t openapiSnmpUserGetNext(SimDevice &dev, open_buffdesc *userName, open_buffdesc *engineId,
                                    open_buffdesc *groupName, uint32_t *authProto, uint32_t *privProto,
                                    open_buffdesc *nextUserName, open_buffdesc *nextEngineId) {
  // The key's engine identifier is the hexadecimal text the walk gave back; empty starts the user's rows.
  SnmpBytes keyEngine;
  if (!snmpUnhex(inputText(engineId), &keyEngine)) return OPEN_E_PARAM;
  const auto *next = dev.snmp().nextUser(inputText(userName), keyEngine);
  if (next == nullptr) return OPEN_E_NOT_FOUND;
  *authProto = next->second.authProto;
  *privProto = next->second.privProto;
  return putAll([&] { return putText(groupName, next->second.group); },
                [&] { return putText(nextUserName, next->first.name); },
                [&] { return putBytes(nextEngineId, next->first.engineId); });
}

open_error_t openapiSnmpUserConfigGet(SimDevice &dev, open_buffdesc *userName, open_buffdesc *engineId,
                                      open_buffdesc *groupName, uint32_t *authProto, open_buffdesc *authKey,
                                      uint32_t *privProto, open_buffdesc *privKey) {
  return readUser(dev, userName, engineId, [&](const SnmpUser &user) {
    *authProto = user.authProto;
    *privProto = user.privProto;
    return putAll([&] { return putText(groupName, user.group); },
                  [&] { return putText(authKey, snmpHex(user.authKey)); },
                  [&] { return putText(privKey, snmpHex(user.privKey)); });
  });
}

open_error_t openapiSnmpUserCreateWithRemoteIPAddress(SimDevice &dev, open_buffdesc *userName,
                                                      open_buffdesc *groupName, uint32_t authProto,
                                                      open_buffdesc *authPwd, open_buffdesc *authKey,
                                                      uint32_t privProto, open_buffdesc *privPwd,
                                                      open_buffdesc *privKey, open_buffdesc *remoteIpAddress) {
  SnmpAddress address;
  SnmpBytes engine;
  if (!SnmpAddress::parse(inputText(remoteIpAddress), &address)) return OPEN_E_PARAM;
  open_error_t rc = dev.snmp().remoteEngineOf(address, inputText(userName), &engine);
  if (rc != OPEN_E_NONE) return rc;
  return dev.snmp().createUser(
      userRequest(userName, groupName, authProto, authPwd, authKey, privProto, privPwd, privKey), engine,
      address.text());
}

open_error_t openapiSnmpUserDeleteWithRemoteIPAddress(SimDevice &dev, open_buffdesc *userName,
                                                      open_buffdesc *remoteIpAddress) {
  SnmpAddress address;
  if (!SnmpAddress::parse(inputText(remoteIpAddress), &address)) return OPEN_E_PARAM;
  auto &users = dev.snmp().state().users;
  std::string name = inputText(userName);
  for (auto it = users.begin(); it != users.end(); ++it) {
    if (it->first.name == name && it->second.remoteAddress == address.text()) {
      users.erase(it);
      return OPEN_E_NONE;
    }
  }
  return OPEN_E_NOT_FOUND;
}

open_error_t openapiSnmpUserRemoteIpAddressGet(SimDevice &dev, open_buffdesc *userName, open_buffdesc *engineId,
                                               open_buffdesc *remoteIpAddress) {
  return readUser(dev, userName, engineId,
                  [&](const SnmpUser &user) { return putText(remoteIpAddress, user.remoteAddress); });
}

open_error_t openapiSnmpLocalEngineIdGet(SimDevice &dev, open_buffdesc *engineId) {
  return putBytes(engineId, dev.snmp().state().localEngineId);
}

open_error_t openapiSnmpLocalEngineIdSet(SimDevice &dev, open_buffdesc *engineId) {
  return dev.snmp().setLocalEngineId(inputText(engineId));
}

open_error_t openapiSnmpLocalEngineIdDelete(SimDevice &dev) {
  dev.snmp().state().localEngineId = dev.snmp().defaultEngineId();
  return OPEN_E_NONE;
}

open_error_t openapiSnmpRemoteEngineIdNextGet(SimDevice &dev, open_buffdesc *addr, open_buffdesc *engineId,
                                              open_buffdesc *userName) {
  SnmpRemoteEngineKey key{{}, inputText(userName)};
  std::string address = inputText(addr);
  if (!address.empty() && !SnmpAddress::parse(address, &key.address)) return OPEN_E_PARAM;
  return readNext(dev.snmp().state().remoteEngines, key, [&](const SnmpRemoteEngineKey &next, const SnmpBytes &id) {
    return putAll([&] { return putText(addr, next.address.text()); }, [&] { return putBytes(engineId, id); },
                  [&] { return putText(userName, next.user); });
  });
}

open_error_t openapiSnmpRemoteEngineIdDelete(SimDevice &dev, open_buffdesc *addr, open_buffdesc *engineId,
                                             open_buffdesc *userName) {
  return dev.snmp().deleteRemoteEngine(inputText(addr), inputText(engineId), inputText(userName));
}

open_error_t openapiSnmpRemoteEngineIdCreate(SimDevice &dev, open_buffdesc *addr, open_buffdesc *engineId,
                                             open_buffdesc *userName) {
  return dev.snmp().createRemoteEngine(inputText(addr), inputText(engineId), inputText(userName));
}

open_error_t openapiSnmpPasswordStrengthCheckGet(SimDevice &dev, uint32_t *mode) {
  *mode = dev.snmp().state().passwordStrengthCheck ? 1 : 0;
  return OPEN_E_NONE;
}

open_error_t openapiSnmpPasswordStrengthCheckSet(SimDevice &dev, uint32_t mode) {
  return setMode(dev.snmp().state().passwordStrengthCheck, mode);
}

open_error_t openapiSnmpHostCreate(SimDevice &dev, open_buffdesc *host, uint32_t serverPort,
                                   open_buffdesc *securityName, uint32_t securityModel, uint32_t securityLevel,
                                   uint32_t notifyType, uint32_t timeout, uint32_t retries, open_buffdesc *filter) {
  return dev.snmp().createHost(inputText(host), {serverPort, inputText(securityName), securityModel, securityLevel,
                                                notifyType, timeout, retries, inputText(filter)});
}

open_error_t openapiSnmpHostDelete(SimDevice &dev, open_buffdesc *host, uint32_t notifyType) {
  auto &hosts = dev.snmp().state().hosts;
  auto found = hosts.find(inputText(host));
  if (found == hosts.end() || found->second.notifyType != notifyType) return OPEN_E_NOT_FOUND;
  hosts.erase(found);
  return OPEN_E_NONE;
}

open_error_t openapiSnmpHostGetNext(SimDevice &dev, open_buffdesc *host, uint32_t *serverPort,
                                    open_buffdesc *securityName, uint32_t *securityModel, uint32_t *securityLevel,
                                    uint32_t *notifyType, uint32_t *timeout, uint32_t *retries, open_buffdesc *filter,
                                    open_buffdesc *nextHost) {
  return readNext(dev.snmp().state().hosts, inputText(host), [&](const std::string &name, const SnmpHost &entry) {
    *serverPort = entry.port;
    *securityModel = entry.model;
    *securityLevel = entry.level;
    *notifyType = entry.notifyType;
    *timeout = entry.timeout;
    *retries = entry.retries;
    return putAll([&] { return putText(securityName, entry.securityName); },
                  [&] { return putText(filter, entry.filter); }, [&] { return putText(nextHost, name); });
  });
}

open_error_t openapiTrapManagerConfigCreate(SimDevice &dev, open_buffdesc *communityName, open_inet_addr_t *ipAddr,
                                            uint32_t version, uint32_t status) {
  return dev.snmp().createTrapManager(trapManagerKey(communityName, ipAddr), {version, status});
}

open_error_t openapiTrapManagerConfigDelete(SimDevice &dev, open_buffdesc *communityName, open_inet_addr_t *ipAddr) {
  return eraseFrom(dev.snmp().state().trapManagers, trapManagerKey(communityName, ipAddr));
}

open_error_t openapiTrapManagerConfigGet(SimDevice &dev, open_buffdesc *communityName, open_inet_addr_t *ipAddr,
                                         uint32_t *version, uint32_t *status) {
  return readFrom(dev.snmp().state().trapManagers, trapManagerKey(communityName, ipAddr),
                  [&](const SnmpTrapManager &manager) {
                    *version = manager.version;
                    *status = manager.status;
                    return OPEN_E_NONE;
                  });
}

open_error_t openapiTrapManagerConfigCommunityGetNext(SimDevice &dev, open_buffdesc *communityName,
                                                      open_inet_addr_t *ipAddr, open_buffdesc *nextCommunityName) {
  return readNext(dev.snmp().state().trapManagers, trapManagerKey(communityName, ipAddr),
                  [&](const SnmpTrapManagerKey &next, const SnmpTrapManager &) {
                    return putText(nextCommunityName, next.community);
                  });
}

open_error_t openapiTrapManagerConfigIPGetNext(SimDevice &dev, open_buffdesc *communityName, open_inet_addr_t *ipAddr,
                                               open_inet_addr_t *nextIPAddr) {
  return readNext(dev.snmp().state().trapManagers, trapManagerKey(communityName, ipAddr),
                  [&](const SnmpTrapManagerKey &next, const SnmpTrapManager &) {
                    *nextIPAddr = next.address.toOpen();
                    return OPEN_E_NONE;
                  });
}

open_error_t openapiSnmpTrapFlagGet(SimDevice &dev, uint32_t trapFlag, uint8_t *mode) {
  bool enabled = false;
  open_error_t rc = dev.snmp().trapFlag(trapFlag, &enabled);
  if (rc == OPEN_E_NONE) *mode = enabled ? 1 : 0;
  return rc;
}

open_error_t openapiSnmpTrapFlagSet(SimDevice &dev, uint32_t trapFlag, uint8_t mode) {
  return dev.snmp().setTrapFlag(trapFlag, mode);
}

// Without a source interface traps leave from the management address;
// ports and LAGs of this layer-2 switch carry no address of their own.
open_error_t openapiSnmpTrapSrcIntfGet(SimDevice &dev, uint32_t *intf, uint32_t *type, open_inet_addr_t *addr) {
  *intf = dev.snmp().state().trapSourceIfNum;
  const SimSwitch::Interface *source = dev.system().findInterface(*intf);
  *type = source != nullptr ? source->type : static_cast<uint32_t>(OPEN_INTF_TYPE_ANY);
  *addr = open_inet_addr_t{};
  if (source == nullptr) {
    addr->family = OPEN_AF_INET;
    addr->addr.ipv4 = dev.snmp().managementIpv4();
  }
  return OPEN_E_NONE;
}

open_error_t openapiSnmpTrapSrcIntfSet(SimDevice &dev, uint32_t intf) {
  const SimSwitch::Interface *source = dev.system().findInterface(intf);
  if (intf != 0 && (source == nullptr || source->type == OPEN_INTF_TYPE_CPU)) return OPEN_E_PARAM;
  dev.snmp().state().trapSourceIfNum = intf;
  return OPEN_E_NONE;
}

open_error_t openapiSnmpSysNameGet(SimDevice &dev, open_buffdesc *sysName) {
  return putText(sysName, dev.snmp().state().sysName);
}

open_error_t openapiSnmpSysNameSet(SimDevice &dev, open_buffdesc *sysName) {
  return setSystemText(dev.snmp().state().sysName, sysName);
}

open_error_t openapiSnmpSysContactGet(SimDevice &dev, open_buffdesc *sysContact) {
  return putText(sysContact, dev.snmp().state().sysContact);
}

open_error_t openapiSnmpSysContactSet(SimDevice &dev, open_buffdesc *sysContact) {
  return setSystemText(dev.snmp().state().sysContact, sysContact);
}

open_error_t openapiSnmpSysLocationGet(SimDevice &dev, open_buffdesc *sysLocation) {
  return putText(sysLocation, dev.snmp().state().sysLocation);
}

open_error_t openapiSnmpSysLocationSet(SimDevice &dev, open_buffdesc *sysLocation) {
  return setSystemText(dev.snmp().state().sysLocation, sysLocation);
}

open_error_t openapiSnmpServerModeGet(SimDevice &dev, uint32_t *mode) {
  *mode = dev.snmp().state().serverEnabled ? 1 : 0;
  return OPEN_E_NONE;
}

open_error_t openapiSnmpServerModeSet(SimDevice &dev, uint32_t mode) {
  return setMode(dev.snmp().state().serverEnabled, mode);
}

open_error_t openapiSnmpTreeFamilyOidStringGet(SimDevice &dev, open_buffdesc *name, open_buffdesc *oidTree,
                                               uint32_t treeType, open_buffdesc *oidString) {
  return treeLookup(dev, name, oidTree, treeType, oidString, snmpOidNamed);
}

open_error_t openapiSnmpTreeFamilyOidValGet(SimDevice &dev, open_buffdesc *name, open_buffdesc *oidTree,
                                            uint32_t treeType, open_buffdesc *oidVal) {
  return treeLookup(dev, name, oidTree, treeType, oidVal, snmpOidDotted);
}

}  // namespace sim
