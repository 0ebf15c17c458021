#pragma once
// The switch itself: its identity, interfaces and VLANs, the model every
// other family builds on. Not thread-safe; SimDispatcher serialises every
// access.
#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "open/openapi.h"
#include "sim/model.h"

// OpEN codes of the link and administrative states and of the port speeds.
constexpr uint32_t kLinkUp = 0, kLinkDown = 1;
constexpr uint32_t kAdminDisable = 0, kAdminEnable = 1;
constexpr uint32_t kSpeedUnknown = 0, kSpeedFull100 = 2, kSpeedFull10 = 4, kSpeedFull1000 = 6, kSpeedFull10G = 7;

constexpr schema::Range kVlanIds{1, 4094};
// The switch's management address, 192.168.0.239, that its agents report.
constexpr uint32_t kManagementIpv4 = 0xC0A800EF;

class SimSwitch : public SimModel {
 public:
  struct Interface {
    uint32_t intIfNum = 0;
    uint32_t type = OPEN_INTF_TYPE_PHY;
    std::string name;
    bool linkUp = false;
    bool adminEnabled = true;
    uint32_t speedMbps = 1000;  // negotiated or configured; reported only while the link is up
    uint32_t maxFrameSize = 1518;
    uint32_t pvid = 1;

    // A port shut down by configuration passes nothing, whatever its cable.
    bool passesTraffic() const { return linkUp && adminEnabled; }
  };

  struct Identity {
    std::string systemDescription, machineType, machineModel, serialNumber, softwareVersion;
    schema::MacAddress baseMac{};
    std::array<uint32_t, 4> apiVersion{};  // release, version, maintenance level, build
  };

  const char *stateKey() const override { return ""; }
  void resetToDefault() override;
  cJSON *toJson() const override;
  bool fromJson(const cJSON *json, const schema::Where &where) override;
  void adoptState(SimModel &loaded) override;

  // OpEN-style answers: 0, or the open_error_t of the refusal.
  open_error_t firstInterface(uint32_t type, uint32_t *intIfNum) const;
  open_error_t nextInterface(uint32_t type, uint32_t after, uint32_t *next) const;
  const Interface *findInterface(uint32_t intIfNum) const;
  const std::vector<Interface> &interfaces() const { return state_.interfaces; }
  // The OpEN speed code; unknown while the link is down.
  static uint32_t speedCodeOf(const Interface &intf);
  open_error_t vlanCreated(uint32_t vlanId) const;

  const Identity &identity() const { return state_; }
  const std::set<uint32_t> &vlans() const { return state_.vlans; }
  std::string showVersionText() const;
  std::string baseMacText() const { return schema::macText(state_.baseMac); }

 private:
  // The identity's fields open the state document, before the tables.
  struct State : Identity {
    std::set<uint32_t> vlans;
    std::vector<Interface> interfaces;  // ascending intIfNum
  };

  static const schema::Record<State> &stateFields();

  State state_;
};
