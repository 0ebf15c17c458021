#include "sim/acl_model.h"

// What a switch in service typically carries: a standard list for the
// management hosts, extended lists for the uplinks and the phones, and two
// MAC lists.
void AclModel::reset() {
  state_ = AclState{};
  state_.ip = {{1, ""}, {23, "snmp-managers"}, {101, "block-telnet"}, {150, "voice-rtp"}};
  state_.mac = {{kFirstMacAclId, "trusted-macs"}, {kFirstMacAclId + 1, "block-bpdu"}};
}

const std::map<uint32_t, std::string> *AclModel::ofType(uint32_t type) const {
  if (type == kAclIp) return &state_.ip;
  return type == kAclMac ? &state_.mac : nullptr;
}

bool AclModel::macAclExists(const std::string &name) const {
  uint32_t id = 0;
  return byName(kAclMac, name, &id) == OPEN_E_NONE;
}

open_error_t AclModel::first(uint32_t type, uint32_t *id) const { return next(type, 0, id); }

open_error_t AclModel::next(uint32_t type, uint32_t after, uint32_t *id) const {
  const auto *lists = ofType(type);
  if (lists == nullptr) return OPEN_E_PARAM;
  auto found = lists->upper_bound(after);
  if (found == lists->end()) return OPEN_E_NOT_FOUND;
  *id = found->first;
  return OPEN_E_NONE;
}

open_error_t AclModel::name(uint32_t id, std::string &name) const {
  for (const auto *lists : {&state_.ip, &state_.mac}) {
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
