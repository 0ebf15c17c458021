#include "sim/acl/model.h"

#include "sim/walk.h"

// What a switch in service typically carries: a standard list for the
// management hosts, extended lists for telnet and the phones, two MAC lists.
void AclModel::resetToDefault() {
  acls_ = AclState{};
  acls_.ip = {{1, ""}, {23, "snmp-managers"}, {101, "block-telnet"}, {150, "voice-rtp"}};
  acls_.mac = {{kFirstMacAclId, "trusted-macs"}, {kFirstMacAclId + 1, "block-bpdu"}};
}

const std::map<uint32_t, std::string> *AclModel::ofType(uint32_t type) const {
  if (type == OPEN_ACL_TYPE_IP) return &acls_.ip;
  return type == OPEN_ACL_TYPE_MAC ? &acls_.mac : nullptr;
}

open_error_t AclModel::first(uint32_t type, uint32_t *id) const { return next(type, 0, id); }

open_error_t AclModel::next(uint32_t type, uint32_t after, uint32_t *id) const {
  const auto *lists = ofType(type);
  if (lists == nullptr) return OPEN_E_PARAM;
  const std::pair<const uint32_t, std::string> *found = nullptr;
  open_error_t rc = walk::next(*lists, after, found, &std::pair<const uint32_t, std::string>::first);
  if (rc == OPEN_E_NONE) *id = found->first;
  return rc;
}

open_error_t AclModel::name(uint32_t id, std::string &name) const {
  for (const auto *lists : {&acls_.ip, &acls_.mac}) {
    auto found = lists->find(id);
    if (found != lists->end()) {
      name = found->second;
      return OPEN_E_NONE;
    }
  }
  return OPEN_E_NOT_FOUND;
}

open_error_t AclModel::byName(uint32_t type, const std::string &name, uint32_t *id) const {
  const auto *lists = ofType(type);
  if (lists == nullptr || name.empty()) return OPEN_E_PARAM;
  for (const auto &[number, listName] : *lists) {
    if (listName == name) {
      *id = number;
      return OPEN_E_NONE;
    }
  }
  return OPEN_E_NOT_FOUND;
}

bool AclModel::macAclExists(const std::string &name) const {
  uint32_t id = 0;
  return byName(OPEN_ACL_TYPE_MAC, name, &id) == OPEN_E_NONE;
}

namespace {

using schema::Integer;
using schema::Range;

schema::Keyed<uint32_t, std::string> aclTable(Range numbers, size_t nameLength) {
  return {schema::named<uint32_t>("id", Integer(numbers)), schema::named<std::string>("name", schema::Text(nameLength)),
          "access lists"};
}

const schema::Record<AclState> kAclFields = {
    {"ip", &AclState::ip, aclTable({1, kMaxIpAcl}, 31)},
    {"mac", &AclState::mac, aclTable(Range{kFirstMacAclId, UINT32_MAX}, 31)},
};

}  // namespace

cJSON *AclModel::toJson() const { return schema::dumpRecord(kAclFields, acls_); }

bool AclModel::fromJson(const cJSON *json, const schema::Where &where) {
  return schema::loadRecord(kAclFields, json, acls_, where);
}

void AclModel::adoptState(SimModel &loaded) { acls_ = static_cast<AclModel &>(loaded).acls_; }
