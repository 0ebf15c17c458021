// What the switch advertises on an interface: its identity, capabilities,
// management address, VLAN and aggregation data, IEEE 802.3
// auto-negotiation and LLDP-MED media policies.
#include "cgi/response.h"
#include "routes/families.h"
#include "routes/lldp/lldp.h"
#include "open/startup.h"

namespace lldp {

namespace {

using namespace route;

constexpr Bind kIfNum = query("ifNum");
constexpr Bind kPolicyAppType = query("policyAppType");

// "numEntries" is the count as a signed number; "ids" lists the first count
// ids, never past the list's own capacity whatever the count says.
constexpr Bind kVlanCount = out("numEntries");
constexpr Bind kVlanId[] = {out(nullptr)};
constexpr Bind kVlanIds = outList("ids", kVlanId);
constexpr Bind kVlanListShown[] = {kVlanCount, kVlanIds};

void showVlanList(Output &out, const Bind &, const Slot &slot, const Slot *) {
  if (!slot.record || slot.recordSize != sizeof(open_lldp_vlan_list_t)) return;
  const auto *list = reinterpret_cast<const open_lldp_vlan_list_t *>(slot.record.get());
  out.number(kVlanCount, static_cast<int32_t>(list->numEntries));
  List ids = out.list(kVlanIds);
  for (uint32_t i = 0; i < list->numEntries && i < std::size(list->ids); ++i) ids.addNumber(list->ids[i]);
}

// A row of the page; a text that cannot be read is "".
constexpr Bind kRowInterface = out("interface");
constexpr Bind kRowPortId = outText("port-id", kPageText);
constexpr Bind kRowPortDescription = outText("port-description", kPageText);
constexpr Bind kLocalDeviceParts[] = {kRowInterface, kRowPortId, kRowPortDescription};
constexpr Bind kLocalDevices = outList("local-devices", kLocalDeviceParts);

// One interface: its port ID and description.
void addLocalDevice(Output row, uint32_t ifNum, uint32_t length) {
  row.number(kRowInterface, ifNum);
  uint32_t subtype = 0;
  addTextField(row, kRowPortId, length, [&](open_buffdesc *text) {
    return rpcclt_openapiLldpIntfLocalDevicePortIdGet(&clientHandle, ifNum, &subtype, text);
  });
  addTextField(row, kRowPortDescription, length, [&](open_buffdesc *text) {
    return rpcclt_openapiLldpIntfLocalDevicePortDescGet(&clientHandle, ifNum, text);
  });
}

// Never a failure: every physical interface.
int32_t localDevicesGet(Inputs &, Output &out) {
  uint32_t length = lldpMgmtStrLen();
  List devices = out.list(kLocalDevices);
  forEachPhysicalInterface([&](uint32_t ifNum) { addLocalDevice(devices.addObject(), ifNum, length); });
  return RC_SUCCESS;
}

constexpr Route kLocalDeviceRoutes[] = {
    custom("local-device", HTTPD_GET, localDevicesGet, kPageRead,
           "What the switch advertises on each physical interface: port ID and description",
           {kLocalDevices}),
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
