#pragma once
// The simulated switch as the dispatcher sees it: every model, in the order
// in which they build on each other, and the clock they share. A reset,
// dump or load of the switch is one of each model. Not thread-safe;
// SimDispatcher serialises every access.
#include <string>
#include <type_traits>
#include <vector>

#include "sim/acl/model.h"
#include "sim/lldp/model.h"
#include "sim/mirror/model.h"
#include "sim/model.h"
#include "sim/sflow/model.h"
#include "sim/snmp/model.h"
#include "sim/stats/model.h"
#include "sim/system/model.h"

// The machine's monotonic clock, which a switch that counts traffic runs on.
SimClock monotonicClock();
// A clock that stands still at the monotonic clock's reading when it is
// made: counters, reset times and sFlow time-outs then answer the same
// whenever they are asked, so that two switches given the same calls give
// the same answers.
SimClock frozenClock();

class SimDevice {
 public:
  SimDevice();
  explicit SimDevice(SimClock clock);
  SimDevice(const SimDevice &) = delete;
  SimDevice &operator=(const SimDevice &) = delete;

  SimSwitch &system() { return system_; }
  const SimSwitch &system() const { return system_; }
  CounterModel &counters() { return counters_; }
  SflowAgent &sflow() { return sflow_; }
  LldpAgent &lldp() { return lldp_; }
  const LldpAgent &lldp() const { return lldp_; }
  MirrorModel &mirror() { return mirror_; }
  AclModel &acls() { return acls_; }
  SnmpAgent &snmp() { return snmp_; }
  int64_t now() const { return clock_(); }

  void resetToDefault();
  // The whole state: the switch's own fields and one member per further
  // model. The caller owns the tree.
  cJSON *toJson() const;
  // Replaces the whole state, or nothing: 0, or -1 with `error` naming the
  // first problem. A model missing from the document gets its defaults, so
  // that a file saved before the model existed still loads.
  int fromJson(const cJSON *json, std::string &error);

 private:
  // In dependency order: each model may read the ones before it.
  template <typename Self>
  static auto modelsOf(Self &self) {
    using Model = std::conditional_t<std::is_const_v<Self>, const SimModel, SimModel>;
    return std::vector<Model *>{&self.system_, &self.counters_, &self.sflow_, &self.lldp_, &self.mirror_, &self.acls_, &self.snmp_};
  }

  SimClock clock_;
  SimSwitch system_;
  CounterModel counters_{system_, clock_};
  SflowAgent sflow_{system_, clock_};
  LldpAgent lldp_{system_};
  MirrorModel mirror_{system_};
  AclModel acls_;
  SnmpAgent snmp_{system_};
};
