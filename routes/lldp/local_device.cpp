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

constexpr Bind kIfNum =
    query("ifNum").described("The physical port, as the switch numbers it internally (intIfNum)").example("5");
constexpr Bind kPolicyAppType = query("policyAppType").described(kPolicyAppTypeText).example("1");

// "numEntries" is the count as a signed number; "ids" lists the first count
// ids, never past the list's own capacity whatever the count says.
constexpr Bind kVlanCount = out("numEntries").described("How many VLANs the port belongs to");
constexpr Bind kVlanId[] = {out(nullptr)};
constexpr Bind kVlanIds = outList("ids", kVlanId).described("The IDs of the VLANs the port belongs to");
constexpr Bind kVlanListShown[] = {kVlanCount, kVlanIds};

void showVlanList(Output &out, const Bind &, const Slot &slot, const Slot *) {
  if (!slot.record || slot.recordSize != sizeof(open_lldp_vlan_list_t)) return;
  const auto *list = reinterpret_cast<const open_lldp_vlan_list_t *>(slot.record.get());
  out.number(kVlanCount, static_cast<int32_t>(list->numEntries));
  List ids = out.list(kVlanIds);
  for (uint32_t i = 0; i < list->numEntries && i < std::size(list->ids); ++i) ids.addNumber(list->ids[i]);
}

// A row of the page; a text that cannot be read is "".
constexpr Bind kRowInterface = out("interface").described("The port, as the switch numbers it internally");
constexpr Bind kRowPortId = outText("port-id", kPageText).described("The port ID the switch advertises on the port");
constexpr Bind kRowPortDescription =
    outText("port-description", kPageText).described("The port description the switch advertises on the port");
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
           "Lists the port ID and description the switch advertises on each physical port", {kLocalDevices}).answers({RC_SUCCESS}),
    {"intf-local-device-chassis-id", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceChassisIdGet>,
      {kIfNum, out("chassisIdSubtype").described(kChassisIdSubtypeText),
       outText("chassisId", kLongText).described("The switch's chassis ID, as its subtype says")}},
     "Reads the chassis ID the switch advertises on a port, with its subtype"},
    {"intf-local-device-port-id", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDevicePortIdGet>,
      {kIfNum, out("portIdSubtype").described(kPortIdSubtypeText),
       outText("portId", kMgmtStrText).described("The port's ID, as its subtype says")}},
     "Reads the port ID the switch advertises on a port, with its subtype"},
    {"intf-local-device-port-desc", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDevicePortDescGet>,
      {kIfNum, outText("portDesc", kMgmtStrText).described("The port's description")}},
     "Reads the port description the switch advertises on a port"},
    {"intf-local-device-system-name", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceSystemNameGet>,
      {kIfNum, outText("systemName", kLongText).described("The switch's system name")}},
     "Reads the system name the switch advertises on a port"},
    {"intf-local-device-system-desc", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceSystemDescGet>,
      {kIfNum, outText("systemDesc", kLongText).described("The switch's system description")}},
     "Reads the system description the switch advertises on a port"},
    {"intf-local-device-sys-cap-supp", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceSysCapSuppGet>,
      {kIfNum, outText("sysCapSupp", kLongText).described(kCapabilitiesText)}},
     "Reads the system capabilities the switch advertises as supported on a port"},
    {"intf-local-device-sys-cap-enabled", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceSysCapEnabledGet>,
      {kIfNum, outText("sysCapEnabled", kLongText).described(kCapabilitiesText)}},
     "Reads the system capabilities the switch advertises as enabled on a port"},
    {"intf-local-device-mgmt-address", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceMgmtAddressGet>,
      {kIfNum, out("addressFamily").described(kAddressFamilyText),
       outText("address", kMgmtStrText).described("The switch's management address")}},
     "Reads the management address the switch advertises on a port"},
    {"intf-local-device-port-vlan", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDevicePortVlanGet>,
      {kIfNum, out("portVlan").described("The VLAN of the port's untagged frames (its PVID)")}},
     "Reads the port VLAN ID the switch advertises on a port"},
    {"intf-local-device-vlan", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceVlanGet>,
      {kIfNum, record<open_lldp_vlan_list_t>(nullptr, showVlanList).made(kVlanListShown)}},
     "Lists the VLANs a port belongs to, as the switch advertises them"},
    {"intf-local-device-vlan-name", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceVlanNameGet>,
      {kIfNum, query("vlanId").described("A VLAN of the switch, by its ID").example("10"),
       outText("vlanName", kLongText).described("The VLAN's name")}},
     "Reads the name the switch advertises on a port for one VLAN"},
    {"intf-local-device-max-frame-size", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalDeviceMaxFrameSizeGet>,
      {kIfNum, out("maxFrameSize").described(kMaxFrameSizeText)}},
     "Reads the largest frame size the switch advertises on a port"},
    {"intf-local-port-link-aggregation-info", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfLocalPortLinkAggregationInfoGet>,
      {kIfNum, out("aggregationCapable").described(kAggregationCapableText),
       out("aggregationMember").described(kAggregationMemberText),
       out("aggregationId").described(kAggregationIdText)}},
     "Reads whether a port of the switch can join or has joined a link aggregation"},
    {"lldpdot3-loc-port-auto-neg-supported", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpdot3LocPortAutoNegSupportedGet>,
      {kIfNum, out("isCapable").described(kAutoNegSupportedText)}},
     "Tells whether a port of the switch supports auto-negotiation"},
    {"lldpdot3-loc-port-auto-neg-enabled", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpdot3LocPortAutoNegEnabledGet>, {kIfNum, out("isEnabled").described(kAutoNegEnabledText)}},
     "Tells whether a port of the switch has auto-negotiation enabled"},
    {"lldpdot3-loc-port-auto-neg-advertized-cap", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpdot3LocPortAutoNegAdvertizedCapGet>,
      {kIfNum, outText("advrtCap", kLongText).described(kAdvertisedCapText)}},
     "Reads the speeds and duplex modes a port of the switch advertises in auto-negotiation"},
    {"lldpdot3-loc-port-auto-neg-oper-mau-type", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpdot3LocPortAutoNegOperMauTypeGet>, {kIfNum, out("type").described(kMauTypeText)}},
     "Reads the operational MAU type (speed, duplex and medium) of a port of the switch"},
    {"xmed-loc-media-policy-vlan-id", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpXMedLocMediaPolicyVlanIDGet>,
      {kIfNum, kPolicyAppType, out("vlanId").described("The VLAN the application's traffic should use")}},
     "Reads the VLAN of a port's network policy for an application (LLDP-MED)"},
    {"xmed-loc-media-policy-tagged", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpXMedLocMediaPolicyTaggedGet>,
      {kIfNum, kPolicyAppType,
       out("taggedStatus").described("1 when the application's frames should carry a VLAN tag, else 0")}},
     "Tells whether a port's network policy for an application tags frames (LLDP-MED)"},
    {"xmed-loc-media-policy-priority", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpXMedLocMediaPolicyPriorityGet>,
      {kIfNum, kPolicyAppType,
       out("priority").described("The IEEE 802.1p priority, 0 to 7, the application's frames should carry")}},
     "Reads the priority of a port's network policy for an application (LLDP-MED)"},
    {"xmed-loc-media-policy-dscp", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpXMedLocMediaPolicyDscpGet>,
      {kIfNum, kPolicyAppType,
       out("dscp").described("The DSCP value, 0 to 63, the application's packets should carry")}},
     "Reads the DSCP value of a port's network policy for an application (LLDP-MED)"},
    {"med-loc-device-class", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpMedLocDeviceClassGet>, {out("deviceClass").described(kDeviceClassText)}},
     "Reads the switch's own LLDP-MED device class"},
};
static_assert(std::size(kLocalDeviceRoutes) == 23);

}  // namespace

}  // namespace lldp

constinit const route::RouteGroup route_groups::kLldpLocalDevice =
    route::routeGroup<lldp::kLocalDeviceRoutes>(lldp::kDir);
