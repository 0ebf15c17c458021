// The port counters and their part of the state file.
#include "sim/stats/model.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// The default switch has been up for a while: 1 day 2:03:04 of traffic
// since its counters were last cleared at boot.
constexpr int64_t kDefaultUptimeSecs = 93784;

bool defaultBusy(uint32_t port) { return port <= 8 || port == 25 || port == 26; }

// A port's counters as the state file holds them: values at the time of
// the dump, which a load takes as the base to count on from.
struct PortRecord {
  uint32_t intIfNum = 0;
  PortLoad load = PortLoad::Idle;
  uint32_t secondsSinceReset = 0;
  std::array<uint64_t, kCounterCount> values{};
};

const schema::Record<PortRecord> kPortFields = {
    {"intIfNum", &PortRecord::intIfNum, schema::Integer({1, UINT32_MAX}), schema::Flag::Unique},
    {"load", &PortRecord::load, schema::Choice<PortLoad>{{"busy", PortLoad::Busy}, {"idle", PortLoad::Idle}}},
    {"secondsSinceReset", &PortRecord::secondsSinceReset, schema::Integer({0, UINT32_MAX})},
    {"values", &PortRecord::values, schema::List(schema::Integer({0, UINT64_MAX}), "numbers")},
};

const auto kPortTable = schema::table(kPortFields, "port counters");

uint32_t secondsBetween(int64_t from, int64_t to) {
  int64_t seconds = std::max<int64_t>(0, to - from) / kNanosPerSecond;
  return static_cast<uint32_t>(std::min<int64_t>(seconds, UINT32_MAX));
}

bool isCounter(uint32_t counterId) { return counterId != ctr_reserved && counterId < kCounterCount; }

}  // namespace

void CounterModel::resetToDefault() {
  int64_t at = now(), boot = at - kDefaultUptimeSecs * kNanosPerSecond;
  ports_.clear();
  for (const SimSwitch::Interface &intf : system_.interfaces()) {
    if (intf.type != OPEN_INTF_TYPE_PHY) continue;
    Port &port = ports_[intf.intIfNum];
    port.load = defaultBusy(intf.intIfNum) ? PortLoad::Busy : PortLoad::Idle;
    clear(port, boot);
    CounterRates rates = ratesOf(intf.intIfNum, port);
    for (uint32_t id = 1; id < kCounterCount; ++id) port.base[id] = currentValue(rates, port, id, at);
    port.anchor.fill(at);
    // Two ports have flapped since boot.
    port.base[ctr_port_link_down_counter] = (intf.intIfNum == 3 || intf.intIfNum == 11) ? 2 : 0;
  }
}

void CounterModel::adoptState(SimModel &loaded) { ports_ = std::move(static_cast<CounterModel &>(loaded).ports_); }

cJSON *CounterModel::toJson() const {
  int64_t at = now();
  std::vector<PortRecord> records;
  for (const auto &[intIfNum, port] : ports_) {
    PortRecord record{intIfNum, port.load, secondsBetween(port.resetAt, at), {}};
    CounterRates rates = ratesOf(intIfNum, port);
    for (uint32_t id = 1; id < kCounterCount; ++id) record.values[id] = currentValue(rates, port, id, at);
    records.push_back(record);
  }
  return kPortTable.dump(records);
}

bool CounterModel::fromJson(const cJSON *json, const schema::Where &where) {
  std::vector<PortRecord> records;
  if (!kPortTable.load(json, records, where)) return false;
  int64_t at = now();
  std::map<uint32_t, Port> ports;
  for (size_t i = 0; i < records.size(); ++i) {
    const PortRecord &record = records[i];
    const SimSwitch::Interface *intf = system_.findInterface(record.intIfNum);
    if (intf == nullptr || intf->type != OPEN_INTF_TYPE_PHY) {
      return where.element(i).member("intIfNum").fail(std::to_string(record.intIfNum) + " is not a physical port");
    }
    Port &port = ports[record.intIfNum];
    port.load = record.load;
    port.base = record.values;
    port.base[ctr_reserved] = 0;
    port.anchor.fill(at);
    port.resetAt = at - static_cast<int64_t>(record.secondsSinceReset) * kNanosPerSecond;
  }
  for (const SimSwitch::Interface &intf : system_.interfaces()) {
    if (intf.type == OPEN_INTF_TYPE_PHY && ports.count(intf.intIfNum) == 0) {
      return where.fail("no entry for port " + intf.name + " (intIfNum " + std::to_string(intf.intIfNum) + ")");
    }
  }
  ports_ = std::move(ports);
  return true;
}

open_error_t CounterModel::find(uint32_t intIfNum, const Port **port) const {
  const SimSwitch::Interface *intf = system_.findInterface(intIfNum);
  if (intf == nullptr) return OPEN_E_PARAM;
  // The chip counts per port; aggregates are not kept for LAGs, and the CPU
  // interface has no MAC counters at all.
  if (intf->type == OPEN_INTF_TYPE_LAG) return OPEN_E_UNAVAIL;
  auto it = ports_.find(intIfNum);
  if (it == ports_.end()) return OPEN_E_PARAM;
  *port = &it->second;
  return OPEN_E_NONE;
}

CounterRates CounterModel::ratesOf(uint32_t intIfNum, const Port &port) const {
  const SimSwitch::Interface *intf = system_.findInterface(intIfNum);
  return portCounterRates(intIfNum, port.load, intf->speedMbps, intf->passesTraffic());
}

uint64_t CounterModel::currentValue(const CounterRates &rates, const Port &port, uint32_t counterId, int64_t at) {
  if (counterIsGauge(counterId)) return static_cast<uint64_t>(rates[counterId]);
  int64_t elapsed = std::max<int64_t>(0, at - port.anchor[counterId]);
  double grown = std::floor(rates[counterId] * (static_cast<double>(elapsed) / kNanosPerSecond));
  return port.base[counterId] + static_cast<uint64_t>(grown);
}

void CounterModel::clear(Port &port, int64_t at) {
  port.base.fill(0);
  port.anchor.fill(at);
  port.resetAt = at;
}

open_error_t CounterModel::value(uint32_t counterId, uint32_t intIfNum, uint64_t *value) const {
  const Port *port = nullptr;
  open_error_t rc = find(intIfNum, &port);
  if (rc != OPEN_E_NONE) return rc;
  if (!isCounter(counterId)) return OPEN_E_PARAM;
  *value = currentValue(ratesOf(intIfNum, *port), *port, counterId, now());
  return OPEN_E_NONE;
}

open_error_t CounterModel::allValues(uint32_t intIfNum, std::array<uint64_t, kCounterCount> &values) const {
  const Port *port = nullptr;
  open_error_t rc = find(intIfNum, &port);
  if (rc != OPEN_E_NONE) return rc;
  int64_t at = now();
  CounterRates rates = ratesOf(intIfNum, *port);
  values[ctr_reserved] = 0;
  for (uint32_t id = 1; id < kCounterCount; ++id) values[id] = currentValue(rates, *port, id, at);
  return OPEN_E_NONE;
}

open_error_t CounterModel::resetCounter(uint32_t counterId, uint32_t intIfNum) {
  const Port *port = nullptr;
  open_error_t rc = find(intIfNum, &port);
  if (rc != OPEN_E_NONE) return rc;
  if (!isCounter(counterId)) return OPEN_E_PARAM;
  Port &counters = ports_[intIfNum];
  counters.base[counterId] = 0;
  counters.anchor[counterId] = now();
  return OPEN_E_NONE;
}

open_error_t CounterModel::resetPort(uint32_t intIfNum) {
  const Port *port = nullptr;
  open_error_t rc = find(intIfNum, &port);
  if (rc == OPEN_E_NONE) clear(ports_[intIfNum], now());
  return rc;
}

void CounterModel::resetAll() {
  int64_t at = now();
  for (auto &[intIfNum, port] : ports_) clear(port, at);
}

open_error_t CounterModel::secondsSinceReset(uint32_t intIfNum, uint32_t *seconds) const {
  const Port *port = nullptr;
  open_error_t rc = find(intIfNum, &port);
  if (rc == OPEN_E_NONE) *seconds = secondsBetween(port->resetAt, now());
  return rc;
}
