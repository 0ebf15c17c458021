// What the switch advertises on an interface: its identity, capabilities,
// management address, VLAN and aggregation data, IEEE 802.3
// auto-negotiation and LLDP-MED media policies.
#include "cgi/response.h"
#include "routes/families.h"
#include "routes/lldp/lldp.h"
#include "tools/common.h"

namespace lldp {

namespace {

using namespace route;

constexpr Bind kIfNum = query("ifNum");
constexpr Bind kPolicyAppType = query("policyAppType");

// "numEntries" is the count as a signed number; "ids" lists the first count
// ids, never past the list's own capacity whatever the count says.
void showVlanList(cJSON *data, const Bind &, const Slot &slot, const Slot *) {
  if (!slot.record || slot.recordSize != sizeof(open_lldp_vlan_list_t)) return;
  const auto *list = reinterpret_cast<const open_lldp_vlan_list_t *>(slot.record.get());
  cJSON_AddNumberToObject(data, "numEntries", static_cast<int32_t>(list->numEntries));
  cJSON *ids = cJSON_AddArrayToObject(data, "ids");
  for (uint32_t i = 0; ids != nullptr && i < list->numEntries && i < std::size(list->ids); ++i) {
    cJSON_AddItemToArray(ids, cJSON_CreateNumber(list->ids[i]));
  }
}

constexpr Bind kVlanId[] = {out(nullptr)};
constexpr Bind kVlanListShown[] = {out("numEntries"), outList("ids", kVlanId)};

// One interface: its port ID and description, "" when a read fails.
cJSON *localDeviceRow(uint32_t ifNum, uint32_t length) {
  cJSON *row = cJSON_CreateObject();
  if (row == nullptr) return nullptr;
  cJSON_AddNumberToObject(row, "interface", ifNum);
  uint32_t subtype = 0;
  addTextField(row, "port-id", length, [&](open_buffdesc *text) {
    return rpcclt_openapiLldpIntfLocalDevicePortIdGet(&clientHandle, ifNum, &subtype, text);
  }, emptyText);
  addTextField(row, "port-description", length, [&](open_buffdesc *text) {
    return rpcclt_openapiLldpIntfLocalDevicePortDescGet(&clientHandle, ifNum, text);
  }, emptyText);
  return row;
}

// Never a failure: every physical interface.
Answer localDevicesGet(Inputs &) {
  uint32_t length = lldpMgmtStrLen();
  JsonPtr data(cJSON_CreateObject());
  cJSON *devices = cJSON_CreateArray();
  if (devices != nullptr) {
    forEachPhysicalInterface([&](uint32_t ifNum) { cJSON_AddItemToArray(devices, localDeviceRow(ifNum, length)); });
  }
  cJSON_AddItemToObject(data.get(), "local-devices", devices);
  return answerOf(kLldp, RC_SUCCESS, data.get(), AnswerStyle::Data);
}

// A row of the page; a text that cannot be read is "".
constexpr Bind kLocalDeviceParts[] = {out("interface"), outText("port-id", kPageText),
                                      outText("port-description", kPageText)};

constexpr Route kLocalDeviceRoutes[] = {
    custom("local-device", HTTPD_GET, localDevicesGet, kPageRead,
           "What the switch advertises on each physical interface: port ID and description",
           {outList("local-devices", kLocalDeviceParts)}),
    {"intf-local-device-chassis-id", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceChassisIdGet>,
      {kIfNum, out("chassisIdSubtype"), outText("chassisId", kLongText)}}},
    {"intf-local-device-port-id", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDevicePortIdGet>, {kIfNum, out("portIdSubtype"), outText("portId", kMgmtStrText)}}},
    {"intf-local-device-port-desc", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDevicePortDescGet>, {kIfNum, outText("portDesc", kMgmtStrText)}}},
    {"intf-local-device-system-name", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceSystemNameGet>, {kIfNum, outText("systemName", kLongText)}}},
    {"intf-local-device-system-desc", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceSystemDescGet>, {kIfNum, outText("systemDesc", kLongText)}}},
    {"intf-local-device-sys-cap-supp", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceSysCapSuppGet>, {kIfNum, outText("sysCapSupp", kLongText)}}},
    {"intf-local-device-sys-cap-enabled", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceSysCapEnabledGet>, {kIfNum, outText("sysCapEnabled", kLongText)}}},
    {"intf-local-device-mgmt-address", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceMgmtAddressGet>,
      {kIfNum, out("addressFamily"), outText("address", kMgmtStrText)}}},
    {"intf-local-device-port-vlan", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDevicePortVlanGet>, {kIfNum, out("portVlan")}}},
    {"intf-local-device-vlan", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceVlanGet>,
      {kIfNum, record<open_lldp_vlan_list_t>(nullptr, showVlanList).made(kVlanListShown)}}},
    {"intf-local-device-vlan-name", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceVlanNameGet>, {kIfNum, query("vlanId"), outText("vlanName", kLongText)}}},
    {"intf-local-device-max-frame-size", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceMaxFrameSizeGet>, {kIfNum, out("maxFrameSize")}}},
    {"intf-local-port-link-aggregation-info", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalPortLinkAggregationInfoGet>,
      {kIfNum, out("aggregationCapable"), out("aggregationMember"), out("aggregationId")}}},
    {"lldpdot3-loc-port-auto-neg-supported", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpdot3LocPortAutoNegSupportedGet>, {kIfNum, out("isCapable")}}},
    {"lldpdot3-loc-port-auto-neg-enabled", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpdot3LocPortAutoNegEnabledGet>, {kIfNum, out("isEnabled")}}},
    {"lldpdot3-loc-port-auto-neg-advertized-cap", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpdot3LocPortAutoNegAdvertizedCapGet>, {kIfNum, outText("advrtCap", kLongText)}}},
    {"lldpdot3-loc-port-auto-neg-oper-mau-type", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpdot3LocPortAutoNegOperMauTypeGet>, {kIfNum, out("type")}}},
    {"xmed-loc-media-policy-vlan-id", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpXMedLocMediaPolicyVlanIDGet>, {kIfNum, kPolicyAppType, out("vlanId")}}},
    {"xmed-loc-media-policy-tagged", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpXMedLocMediaPolicyTaggedGet>, {kIfNum, kPolicyAppType, out("taggedStatus")}}},
    {"xmed-loc-media-policy-priority", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpXMedLocMediaPolicyPriorityGet>, {kIfNum, kPolicyAppType, out("priority")}}},
    {"xmed-loc-media-policy-dscp", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpXMedLocMediaPolicyDscpGet>, {kIfNum, kPolicyAppType, out("dscp")}}},
    {"med-loc-device-class", HTTPD_GET, &kDeviceRead, {open<rpcclt_openapiLldpMedLocDeviceClassGet>, {out("deviceClass")}}},
};
static_assert(std::size(kLocalDeviceRoutes) == 23);

}  // namespace

}  // namespace lldp

constinit const route::RouteGroup route_groups::kLldpLocalDevice =
    route::routeGroup<lldp::kLocalDeviceRoutes>(lldp::kDir);
