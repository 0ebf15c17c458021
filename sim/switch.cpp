#include "sim/switch.h"

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

constexpr int64_t kNanosPerSecond = 1000000000;

// The default switch has been up for a while: 1 day 2:03:04 of traffic
// since its counters were last cleared at boot.
constexpr int64_t kDefaultUptimeSecs = 93784;

constexpr uint32_t kPhysicalPorts = 28;
constexpr uint32_t kFirstUplink = 25;  // ports 25..28 are 10G SFP+ cages
constexpr uint32_t kLagCount = 8;
constexpr uint32_t kFirstLag = kPhysicalPorts + 1;
constexpr uint32_t kCpuIntf = kFirstLag + kLagCount;

int64_t monotonicNanos() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<int64_t>(ts.tv_sec) * kNanosPerSecond + ts.tv_nsec;
}

// Ports 1-16 and the first two uplinks have something plugged in; 28 is
// shut down by configuration; the rest wait for a cable.
bool defaultLinkUp(uint32_t port) { return port <= 16 || port == 25 || port == 26; }
bool defaultBusy(uint32_t port) { return port <= 8 || port == 25 || port == 26; }

// The management address the sFlow agent reports, and its IPv6 link-local
// address made from the base MAC address (modified EUI-64).
constexpr uint32_t kSflowAgentIpv4 = 0xC0A800EF;  // 192.168.0.239
open_in6_addr_t sflowAgentIpv6(const std::array<uint8_t, 6> &mac) {
  open_in6_addr_t addr{};
  addr.u8[0] = 0xfe;
  addr.u8[1] = 0x80;
  uint8_t eui[8] = {static_cast<uint8_t>(mac[0] ^ 0x02), mac[1], mac[2], 0xff, 0xfe, mac[3], mac[4], mac[5]};
  for (int i = 0; i < 8; ++i) addr.u8[8 + i] = eui[i];
  return addr;
}

SimSwitch::Interface defaultPort(uint32_t port) {
  SimSwitch::Interface intf;
  intf.intIfNum = port;
  intf.type = kIntfPhysical;
  intf.name = "1/0/" + std::to_string(port);
  intf.adminEnabled = port != kPhysicalPorts;
  intf.linkUp = defaultLinkUp(port);
  intf.speedMbps = port >= kFirstUplink ? 10000 : 1000;
  intf.counters.load = defaultBusy(port) ? PortLoad::Busy : PortLoad::Idle;
  return intf;
}

SimSwitch::Interface defaultLogical(uint32_t intIfNum, uint32_t type, std::string name) {
  SimSwitch::Interface intf;
  intf.intIfNum = intIfNum;
  intf.type = type;
  intf.name = std::move(name);
  intf.speedMbps = 0;
  intf.linkUp = type == kIntfCpu;  // a LAG without members stays down
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

SimSwitch::SimSwitch() : SimSwitch(monotonicNanos) {}

SimSwitch::SimSwitch(Clock clock) : clock_(std::move(clock)) { resetToDefault(); }

void SimSwitch::resetToDefault() {
  State state;
  state.identity.systemDescription = "SIM-2428X 24x1G + 4x10G SFP+ L2+ Managed Switch, 3.5.1.4, Linux 4.14.138";
  state.identity.machineType = "SIM-2428X 24-port Gigabit Ethernet, 4-port 10G SFP+";
  state.identity.machineModel = "SIM-2428X";
  state.identity.serialNumber = "SX2428X21470034";
  state.identity.softwareVersion = "3.5.1.4";
  state.identity.baseMac = {0x00, 0x11, 0x22, 0x5A, 0x3B, 0xC0};
  state.identity.apiVersion = {1, 25, 0, 12};
  for (uint32_t port = 1; port <= kPhysicalPorts; ++port) state.interfaces.push_back(defaultPort(port));
  for (uint32_t lag = 1; lag <= kLagCount; ++lag) {
    state.interfaces.push_back(defaultLogical(kFirstLag + lag - 1, kIntfLag, "lag" + std::to_string(lag)));
  }
  state.interfaces.push_back(defaultLogical(kCpuIntf, kIntfCpu, "cpu"));
  state.vlans = {1, 10, 20};
  state_ = std::move(state);

  int64_t at = now();
  for (Interface &intf : state_.interfaces) {
    if (intf.type != kIntfPhysical) continue;
    resetPort(intf, at - kDefaultUptimeSecs * kNanosPerSecond);
    PortCounters &counters = intf.counters;
    for (uint32_t id = 1; id < kCounterCount; ++id) counters.base[id] = currentValue(intf, id, at);
    counters.anchor.fill(at);
    // Two ports have flapped since boot.
    counters.base[ctr_port_link_down_counter] = (intf.intIfNum == 3 || intf.intIfNum == 11) ? 2 : 0;
  }
  sflow_.reset(kSflowAgentIpv4, sflowAgentIpv6(state_.identity.baseMac));
  snmp_.reset(state_.identity.machineModel, state_.identity.baseMac, kSflowAgentIpv4);
}

const SimSwitch::Interface *SimSwitch::findInterface(uint32_t intIfNum) const {
  auto it = std::lower_bound(state_.interfaces.begin(), state_.interfaces.end(), intIfNum,
                             [](const Interface &intf, uint32_t n) { return intf.intIfNum < n; });
  return it != state_.interfaces.end() && it->intIfNum == intIfNum ? &*it : nullptr;
}

SimSwitch::Interface *SimSwitch::findMutable(uint32_t intIfNum) {
  return const_cast<Interface *>(findInterface(intIfNum));
}

open_error_t SimSwitch::firstInterface(uint32_t type, uint32_t *intIfNum) const {
  return nextInterface(type, 0, intIfNum);
}

open_error_t SimSwitch::nextInterface(uint32_t type, uint32_t after, uint32_t *next) const {
  if (type > kIntfAny) return OPEN_E_PARAM;
  for (const Interface &intf : state_.interfaces) {
    if (intf.intIfNum > after && (type == kIntfAny || intf.type == type)) {
      *next = intf.intIfNum;
      return OPEN_E_NONE;
    }
  }
  return OPEN_E_NOT_FOUND;
}

open_error_t SimSwitch::vlanCreated(uint32_t vlanId) const {
  if (vlanId < 1 || vlanId > 4094) return OPEN_E_PARAM;
  return state_.vlans.count(vlanId) ? OPEN_E_NONE : OPEN_E_NOT_FOUND;
}

uint32_t SimSwitch::speedCodeOf(const Interface &intf) {
  return intf.linkUp && intf.adminEnabled ? speedCode(intf.speedMbps) : kSpeedUnknown;
}

open_error_t SimSwitch::counterPort(uint32_t intIfNum, const Interface **port) const {
  const Interface *intf = findInterface(intIfNum);
  if (intf == nullptr) return OPEN_E_PARAM;
  // The chip counts per port; aggregates are not kept for LAGs, and the CPU
  // interface has no MAC counters at all.
  if (intf->type == kIntfLag) return OPEN_E_UNAVAIL;
  if (intf->type != kIntfPhysical) return OPEN_E_PARAM;
  *port = intf;
  return OPEN_E_NONE;
}

uint64_t SimSwitch::currentValue(const Interface &port, uint32_t counterId, int64_t at) const {
  const PortCounters &counters = port.counters;
  CounterRates rates = portCounterRates(port.intIfNum, counters.load, port.speedMbps, port.linkUp && port.adminEnabled);
  if (counterIsGauge(counterId)) return static_cast<uint64_t>(rates[counterId]);
  int64_t elapsed = std::max<int64_t>(0, at - counters.anchor[counterId]);
  double grown = std::floor(rates[counterId] * (static_cast<double>(elapsed) / kNanosPerSecond));
  return counters.base[counterId] + static_cast<uint64_t>(grown);
}

open_error_t SimSwitch::counterValue(uint32_t counterId, uint32_t intIfNum, uint64_t *value) const {
  const Interface *port = nullptr;
  open_error_t rc = counterPort(intIfNum, &port);
  if (rc != OPEN_E_NONE) return rc;
  if (counterId == ctr_reserved || counterId >= kCounterCount) return OPEN_E_PARAM;
  *value = currentValue(*port, counterId, now());
  return OPEN_E_NONE;
}

open_error_t SimSwitch::allCounters(uint32_t intIfNum, std::array<uint64_t, kCounterCount> &values) const {
  const Interface *port = nullptr;
  open_error_t rc = counterPort(intIfNum, &port);
  if (rc != OPEN_E_NONE) return rc;
  int64_t at = now();
  values[ctr_reserved] = 0;
  for (uint32_t id = 1; id < kCounterCount; ++id) values[id] = currentValue(*port, id, at);
  return OPEN_E_NONE;
}

open_error_t SimSwitch::resetCounter(uint32_t counterId, uint32_t intIfNum) {
  const Interface *port = nullptr;
  open_error_t rc = counterPort(intIfNum, &port);
  if (rc != OPEN_E_NONE) return rc;
  if (counterId == ctr_reserved || counterId >= kCounterCount) return OPEN_E_PARAM;
  PortCounters &counters = findMutable(intIfNum)->counters;
  counters.base[counterId] = 0;
  counters.anchor[counterId] = now();
  return OPEN_E_NONE;
}

void SimSwitch::resetPort(Interface &port, int64_t at) {
  port.counters.base.fill(0);
  port.counters.anchor.fill(at);
  port.counters.resetAt = at;
}

open_error_t SimSwitch::resetInterfaceCounters(uint32_t intIfNum) {
  const Interface *port = nullptr;
  open_error_t rc = counterPort(intIfNum, &port);
  if (rc != OPEN_E_NONE) return rc;
  resetPort(*findMutable(intIfNum), now());
  return OPEN_E_NONE;
}

void SimSwitch::resetAllCounters() {
  int64_t at = now();
  for (Interface &intf : state_.interfaces) {
    if (intf.type == kIntfPhysical) resetPort(intf, at);
  }
}

open_error_t SimSwitch::secondsSinceReset(uint32_t intIfNum, uint32_t *seconds) const {
  const Interface *port = nullptr;
  open_error_t rc = counterPort(intIfNum, &port);
  if (rc != OPEN_E_NONE) return rc;
  int64_t elapsed = std::max<int64_t>(0, now() - port->counters.resetAt) / kNanosPerSecond;
  *seconds = static_cast<uint32_t>(std::min<int64_t>(elapsed, UINT32_MAX));
  return OPEN_E_NONE;
}

std::string SimSwitch::baseMacText() const {
  const auto &m = state_.identity.baseMac;
  char text[18];
  snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", m[0], m[1], m[2], m[3], m[4], m[5]);
  return text;
}

std::string SimSwitch::showVersionText() const {
  const Identity &id = state_.identity;
  return "\nSwitch: 1\n\n" + dotted("System Description", id.systemDescription) +
         dotted("Machine Type", id.machineType) + dotted("Machine Model", id.machineModel) +
         dotted("Serial Number", id.serialNumber) + dotted("Part Number", "SIM56170") + dotted("Maintenance Level", "A") +
         dotted("Manufacturer", "0xbc00") + dotted("Burned In MAC Address", baseMacText()) +
         dotted("Software Version", id.softwareVersion) + dotted("Operating System", "Linux 4.14.138") +
         dotted("Network Processing Device", "SIM56170_B0") + dotted("Additional Packages", "QOS") +
         std::string(48, ' ') + "IPv6 Management\n";
}
