#pragma once
// The simulated switch's access lists, as far as monitor sessions filter
// with them: numbered IP lists (1-99 standard, 100-199 extended) that may
// carry a name, and MAC lists, which are known by name and which the switch
// numbers from 1001 for its walks.
#include <cstdint>
#include <map>
#include <string>

#include "open/openapi.h"
#include "sim/model.h"

// ACL types as OpEN numbers them.
constexpr uint32_t kMaxIpAcl = 199, kFirstMacAclId = 1001;

struct AclState {
  std::map<uint32_t, std::string> ip;   // number -> name ("" when it has none)
  std::map<uint32_t, std::string> mac;  // walk number -> name
};

class AclModel : public SimModel {
 public:
  const char *stateKey() const override { return "acls"; }
  void resetToDefault() override;
  cJSON *toJson() const override;
  bool fromJson(const cJSON *json, const schema::Where &where) override;
  void adoptState(SimModel &loaded) override;

  const AclState &state() const { return acls_; }
  bool ipAclExists(uint32_t number) const { return acls_.ip.count(number) != 0; }
  bool macAclExists(const std::string &name) const;
  // Walks by type in number order; -29 past the end, -22 for an unknown type.
  open_error_t first(uint32_t type, uint32_t *id) const;
  open_error_t next(uint32_t type, uint32_t after, uint32_t *id) const;
  open_error_t name(uint32_t id, std::string &name) const;
  // The list of that type that has the name; -29 when none has it.
  open_error_t byName(uint32_t type, const std::string &name, uint32_t *id) const;

 private:
  const std::map<uint32_t, std::string> *ofType(uint32_t type) const;
  AclState acls_;
};
