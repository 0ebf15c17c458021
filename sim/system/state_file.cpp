// The switch's own part of the state file: identity, VLANs and interfaces.
#include <algorithm>
#include <cstdint>

#include "sim/system/model.h"

namespace {

using Interface = SimSwitch::Interface;
using Identity = SimSwitch::Identity;

constexpr size_t kMaxText = 255;

const schema::Choice<bool> kLinkWords{{"up", true}, {"down", false}};
const schema::Choice<bool> kAdminWords{{"enable", true}, {"disable", false}};

const schema::Record<Interface> kInterfaceFields = {
    {"intIfNum", &Interface::intIfNum, schema::Integer({1, UINT32_MAX}), schema::Flag::Unique},
    {"type", &Interface::type, schema::Integer({0, OPEN_INTF_TYPE_ANY - 1})},
    {"name", &Interface::name, schema::Text(kMaxText, 1), schema::Flag::Unique},
    {"link", &Interface::linkUp, kLinkWords},
    {"admin", &Interface::adminEnabled, kAdminWords},
    {"speed", &Interface::speedMbps, schema::Integer({{0, 0}, {10, 10}, {100, 100}, {1000, 1000}, {10000, 10000}})},
    {"maxFrameSize", &Interface::maxFrameSize, schema::Integer({64, 16383})},
    {"pvid", &Interface::pvid, schema::Integer(kVlanIds)},
};

}  // namespace

const schema::Record<SimSwitch::State> &SimSwitch::stateFields() {
  static const schema::Record<State> fields = {
      {"systemDescription", &Identity::systemDescription, schema::Text(kMaxText)},
      {"machineType", &Identity::machineType, schema::Text(kMaxText)},
      {"machineModel", &Identity::machineModel, schema::Text(kMaxText)},
      {"serialNumber", &Identity::serialNumber, schema::Text(kMaxText)},
      {"softwareVersion", &Identity::softwareVersion, schema::Text(kMaxText)},
      {"baseMac", &Identity::baseMac, schema::Mac{}},
      {"apiVersion", &Identity::apiVersion,
       schema::List(schema::Integer({0, UINT32_MAX}), "integers (release, version, maintenance level, build)")},
      {"vlans", &State::vlans, schema::List(schema::Integer(kVlanIds), "VLAN ids")},
      {"interfaces", &State::interfaces, schema::table(kInterfaceFields, "interfaces")},
  };
  return fields;
}

cJSON *SimSwitch::toJson() const { return schema::dumpRecord(stateFields(), state_); }

bool SimSwitch::fromJson(const cJSON *json, const schema::Where &where) {
  if (!schema::loadRecord(stateFields(), json, state_, where)) return false;
  std::ranges::sort(state_.interfaces, {}, &Interface::intIfNum);
  return true;
}
