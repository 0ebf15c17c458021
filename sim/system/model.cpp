#include "sim/system/model.h"

#include <algorithm>

#include "sim/walk.h"

namespace {

constexpr uint32_t kPhysicalPorts = 28;
constexpr uint32_t kFirstUplink = 25;  // ports 25..28 are 10G SFP+ cages
constexpr uint32_t kLagCount = 8;
constexpr uint32_t kFirstLag = kPhysicalPorts + 1;
constexpr uint32_t kCpuIntf = kFirstLag + kLagCount;

// Ports 1-16 and the first two uplinks have something plugged in; 28 is
// shut down by configuration; the rest wait for a cable.
bool defaultLinkUp(uint32_t port) { return port <= 16 || port == 25 || port == 26; }

SimSwitch::Interface defaultPort(uint32_t port) {
  SimSwitch::Interface intf;
  intf.intIfNum = port;
  intf.type = OPEN_INTF_TYPE_PHY;
  intf.name = "1/0/" + std::to_string(port);
  intf.adminEnabled = port != kPhysicalPorts;
  intf.linkUp = defaultLinkUp(port);
  intf.speedMbps = port >= kFirstUplink ? 10000 : 1000;
  return intf;
}

SimSwitch::Interface defaultLogical(uint32_t intIfNum, uint32_t type, std::string name) {
  SimSwitch::Interface intf;
  intf.intIfNum = intIfNum;
  intf.type = type;
  intf.name = std::move(name);
  intf.speedMbps = 0;
  intf.linkUp = type == OPEN_INTF_TYPE_CPU;  // a LAG without members stays down
  return intf;
}

std::string dotted(const char *label, const std::string &value) {
  std::string line = label;
  line.resize(47, '.');
  return line + " " + value + "\n";
}

uint32_t speedCode(uint32_t mbps) {
  switch (mbps) {
    case 10: return kSpeedFull10;
    case 100: return kSpeedFull100;
    case 1000: return kSpeedFull1000;
    case 10000: return kSpeedFull10G;
    default: return kSpeedUnknown;
  }
}

}  // namespace

void SimSwitch::resetToDefault() {
  State state;
  state.systemDescription = "SIM-2428X 24x1G + 4x10G SFP+ L2+ Managed Switch, 3.5.1.4, Linux 4.14.138";
  state.machineType = "SIM-2428X 24-port Gigabit Ethernet, 4-port 10G SFP+";
  state.machineModel = "SIM-2428X";
  state.serialNumber = "SX2428X21470034";
  state.softwareVersion = "3.5.1.4";
  state.baseMac = {0x00, 0x11, 0x22, 0x5A, 0x3B, 0xC0};
  state.apiVersion = {1, 25, 0, 12};
  for (uint32_t port = 1; port <= kPhysicalPorts; ++port) state.interfaces.push_back(defaultPort(port));
  for (uint32_t lag = 1; lag <= kLagCount; ++lag) {
    state.interfaces.push_back(defaultLogical(kFirstLag + lag - 1, OPEN_INTF_TYPE_LAG, "lag" + std::to_string(lag)));
  }
  state.interfaces.push_back(defaultLogical(kCpuIntf, OPEN_INTF_TYPE_CPU, "cpu"));
  state.vlans = {1, 10, 20};
  state_ = std::move(state);
}

void SimSwitch::adoptState(SimModel &loaded) { state_ = std::move(static_cast<SimSwitch &>(loaded).state_); }

const SimSwitch::Interface *SimSwitch::findInterface(uint32_t intIfNum) const {
  auto it = std::ranges::lower_bound(state_.interfaces, intIfNum, {}, &Interface::intIfNum);
  return it != state_.interfaces.end() && it->intIfNum == intIfNum ? &*it : nullptr;
}

open_error_t SimSwitch::firstInterface(uint32_t type, uint32_t *intIfNum) const {
  return nextInterface(type, 0, intIfNum);
}

open_error_t SimSwitch::nextInterface(uint32_t type, uint32_t after, uint32_t *next) const {
  if (type > OPEN_INTF_TYPE_ANY) return OPEN_E_PARAM;
  auto ofType = [type](const Interface &intf) { return type == OPEN_INTF_TYPE_ANY || intf.type == type; };
  const Interface *found = nullptr;
  open_error_t rc = walk::next(state_.interfaces, after, found, &Interface::intIfNum, ofType);
  if (rc == OPEN_E_NONE) *next = found->intIfNum;
  return rc;
}

open_error_t SimSwitch::vlanCreated(uint32_t vlanId) const {
  if (!kVlanIds.contains(vlanId)) return OPEN_E_PARAM;
  return state_.vlans.count(vlanId) ? OPEN_E_NONE : OPEN_E_NOT_FOUND;
}

uint32_t SimSwitch::speedCodeOf(const Interface &intf) {
  return intf.passesTraffic() ? speedCode(intf.speedMbps) : kSpeedUnknown;
}

std::string SimSwitch::showVersionText() const {
  const Identity &id = state_;
  return "\nSwitch: 1\n\n" + dotted("System Description", id.systemDescription) +
         dotted("Machine Type", id.machineType) + dotted("Machine Model", id.machineModel) +
         dotted("Serial Number", id.serialNumber) + dotted("Part Number", "SIM56170") + dotted("Maintenance Level", "A") +
         dotted("Manufacturer", "0xbc00") + dotted("Burned In MAC Address", baseMacText()) +
         dotted("Software Version", id.softwareVersion) + dotted("Operating System", "Linux 4.14.138") +
         dotted("Network Processing Device", "SIM56170_B0") + dotted("Additional Packages", "QOS") +
         std::string(48, ' ') + "IPv6 Management\n";
}
