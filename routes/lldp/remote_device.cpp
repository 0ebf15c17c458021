// The LLDP neighbour table: walks over the interfaces that have neighbours
// and over their neighbours, and one read per attribute learnt from a
// neighbour, LLDP-MED and IEEE 802.3 data included.
#include <cstring>

#include "cgi/response.h"
#include "routes/families.h"
#include "routes/lldp/lldp.h"
#include "open/startup.h"

namespace lldp {

namespace {

using namespace route;

// A two-byte capability field as the array [byte 0, byte 1].
void showCapabilityBytes(Output &out, const Bind &bind, const Slot &slot, const Slot *) {
  open_lldp_med_capabilities_t caps{};
  if (slot.record && slot.recordSize == sizeof caps) memcpy(&caps, slot.record.get(), sizeof caps);
  List bytes = out.list(bind.parts[0]);
  for (uint8_t byte : caps.bitmap) bytes.addNumber(byte);
}
constexpr Bind kByte[] = {out(nullptr)};
constexpr Bind kSupportedBytes[] = {outList("supportedCapabilities", kByte)};
constexpr Bind kEnabledBytes[] = {outList("enabledCapabilities", kByte)};
constexpr Bind kSupportedCapabilities =
    record<open_lldp_med_capabilities_t>(nullptr, showCapabilityBytes, "supportedCapabilities").made(kSupportedBytes);
constexpr Bind kEnabledCapabilities =
    record<open_lldp_med_capabilities_t>(nullptr, showCapabilityBytes, "enabledCapabilities").made(kEnabledBytes);

// A row of the page; a text that cannot be read is "", the first
// organisationally defined TLV null.
constexpr Bind kRowInterface = out("interface");
constexpr Bind kRowChassisId = outText("chassis-id", kPageText);
constexpr Bind kRowPortId = outText("port-id", kPageText);
constexpr Bind kRowSystemName = outText("system-name", kPageText);
constexpr Bind kRowOrgDefOui = outText("org-def-oui", kPageText).orNull();
constexpr Bind kRowOrgDefSubtype = out("org-def-subtype").orNull();
constexpr Bind kRemoteDeviceParts[] = {kRowInterface, kRowChassisId,    kRowPortId,
                                       kRowSystemName, kRowOrgDefOui, kRowOrgDefSubtype};
constexpr Bind kRemoteDevices = outList("remote-devices", kRemoteDeviceParts);

// One neighbour of the table.
void addRemoteDevice(Output row, uint32_t ifNum, uint32_t remIndex, uint32_t timeStamp, uint32_t length) {
  row.number(kRowInterface, ifNum);
  uint32_t subtype = 0;
  addTextField(row, kRowChassisId, length, [&](open_buffdesc *text) {
    return rpcclt_openapiLldpIntfRemoteDeviceChassisIdGet(&clientHandle, ifNum, remIndex, timeStamp, &subtype, text);
  });
  addTextField(row, kRowPortId, length, [&](open_buffdesc *text) {
    return rpcclt_openapiLldpIntfRemoteDevicePortIdGet(&clientHandle, ifNum, remIndex, timeStamp, &subtype, text);
  });
  addTextField(row, kRowSystemName, length, [&](open_buffdesc *text) {
    return rpcclt_openapiLldpIntfRemoteDeviceSystemNameGet(&clientHandle, ifNum, remIndex, timeStamp, text);
  });
  addTextField(row, kRowOrgDefOui, length, [&](open_buffdesc *text) {
    return rpcclt_openapiLldpRemOrgDefOUIGet(&clientHandle, ifNum, remIndex, timeStamp, 0, text);
  });
  uint32_t orgSubtype = 0;
  if (rpcclt_openapiLldpRemOrgDefSubtypeGet(&clientHandle, ifNum, remIndex, timeStamp, 0, &orgSubtype) == OPEN_E_NONE) {
    row.number(kRowOrgDefSubtype, orgSubtype);
  } else {
    row.null(kRowOrgDefSubtype);
  }
}

// The interface's neighbours, in OpEN's (remIndex, timeStamp) order; the
// walk stops when OpEN fails or the pair does not advance, and after
// `*budget` neighbours of the whole table.
void addInterfaceNeighbours(List &devices, uint32_t ifNum, uint32_t length, uint32_t *budget) {
  uint32_t remIndex = 0, timeStamp = 0;
  while (*budget > 0) {
    uint32_t lastIndex = remIndex, lastStamp = timeStamp;
    if (rpcclt_openapiLldpIntfRemoteDeviceNextGet(&clientHandle, ifNum, &remIndex, &timeStamp) != OPEN_E_NONE) return;
    bool advanced = remIndex > lastIndex || (remIndex == lastIndex && timeStamp > lastStamp);
    if (!advanced) return;
    --*budget;
    addRemoteDevice(devices.addObject(), ifNum, remIndex, timeStamp, length);
  }
}

// Never a failure: the neighbours that could be read, possibly none.
int32_t remoteDevicesGet(Inputs &, Output &out) {
  uint32_t length = lldpMgmtStrLen();
  List devices = out.list(kRemoteDevices);
  uint32_t budget = kMaxLldpNeighbours;
  walkAscending(
      kMaxInterfaces, [](uint32_t *ifNum) { return rpcclt_openapiLldpRemoteIntfFirstGet(&clientHandle, ifNum); },
      [](uint32_t ifNum, uint32_t *next) { return rpcclt_openapiLldpRemoteIntfNextGet(&clientHandle, ifNum, next); },
      [&](uint32_t ifNum) {
        addInterfaceNeighbours(devices, ifNum, length, &budget);
        return budget > 0;
      });
  return RC_SUCCESS;
}

constexpr Route kRemoteDeviceRoutes[] = {
    custom("remote-device", HTTPD_GET, remoteDevicesGet, kPageRead,
           "Every neighbour of every interface: its chassis and port IDs, system name and first "
           "organisationally defined TLV",
           {kRemoteDevices}),
    {"remote-intf-first", HTTPD_GET, &kDeviceRead, {open<rpcclt_openapiLldpRemoteIntfFirstGet>, {out("ifNum")}}},
    {"remote-intf-next", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpRemoteIntfNextGet>, {query("ifNum"), out("nextIfNum")}}},
    {"intf-remote-device-next", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfRemoteDeviceNextGet>,
      {kIntfRemoteKeys.ifNum, kIntfRemoteKeys.remIndex.andShown("remIndex"),
       kIntfRemoteKeys.timeStamp.andShown("timeStamp")}}},
    {"intf-remote-device-entry-next", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceEntryNextGet>, kIntfRemoteKeys,
           {out("addressFamily"), outText("address", kMgmtStrText), out("addrLen"), out("subType"), out("intfId")})},
    {"mgmt-str-len", HTTPD_GET, &kDeviceRead, {open<rpcclt_openapiLldpMgmtStrLenGet>, {out("strLen")}}},
    {"intf-remote-device-chassis-id", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceChassisIdGet>, kIntfRemoteKeys,
           {out("chassisIdSubtype"), outText("chassisId", kMgmtStrText)})},
    {"intf-remote-device-port-id", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDevicePortIdGet>, kIntfRemoteKeys,
           {out("portIdSubtype"), outText("portId", kMgmtStrText)})},
    {"intf-remote-device-system-name", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceSystemNameGet>, kIntfRemoteKeys,
           {outText("systemName", kMgmtStrText)})},
    {"intf-remote-device-system-desc", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceSystemDescGet>, kIntfRemoteKeys, {outText("systemDesc", kLongText)})},
    {"intf-remote-device-port-desc", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDevicePortDescGet>, kIntfRemoteKeys, {outText("portDesc", kLongText)})},
    {"intf-remote-device-sys-cap-supp", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceSysCapSuppGet>, kIntfRemoteKeys, {outText("sysCapSupp", kLongText)})},
    {"intf-remote-device-sys-cap-enabled", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceSysCapEnabledGet>, kIntfRemoteKeys,
           {outText("sysCapEnabled", kLongText)})},
    {"intf-remote-device-mgmt-address-next", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceMgmtAddressNextGet>, kIntfRemoteKeys,
           {out("addressFamily"), outText("address", kMgmtStrText), out("addrLen")})},
    {"intf-remote-device-ttl", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceTTLGet>, kIntfRemoteKeys, {out("ttl")})},
    {"intf-remote-device-port-vlan", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDevicePortVlanGet>, kIntfRemoteKeys, {out("portVlan")})},
    {"remote-device-vlan-info-index", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpRemoteDeviceVlanInfoIndexGet>, kIntfRemoteKeys,
           {query("infoIndex"), out("nextInfoIndex")})},
    {"intf-remote-device-vlan-id-and-name", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceVlanIdAndNameGet>, kIntfRemoteKeys,
           {query("infoIndex"), out("vlan"), outText("vlanName", kLongText)})},
    {"intf-remote-device-max-frame-size", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceMaxFrameSizeGet>, kIntfRemoteKeys, {out("maxFrameSize")})},
    {"intf-remote-port-link-aggregation-info", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemotePortLinkAggregationInfoGet>, kIntfRemoteKeys,
           {out("aggregationCapable"), out("aggregationMember"), out("aggregationId")})},
    {"rem-org-def-oui", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpRemOrgDefOUIGet>, kRemKeys, {query("infoIndex"), outText("oui", kMgmtStrText)})},
    {"rem-org-def-subtype", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpRemOrgDefSubtypeGet>, kRemKeys, {query("infoIndex"), out("subtype")})},
    {"rem-unknown-tlv-entry-next", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpRemUnknownTLVEntryNextGet>, kRemKeys, {query("tlvType"), out("nextTlvType")})},
    {"rem-unknown-tlv-entry-is-exists", HTTPD_POST, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpRemUnknownTLVEntryIsExists>, kRemBodyKeys, {body("tlvType"), out("isExists")})},
    {"rem-unknown-tlv-info", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpRemUnknownTLVInfoGet>, kRemKeys, {query("tlvType"), outText("info", kLongText)})},
    {"chassis-id-subtype-string", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpChassisIdSubtypeStringGet>, {query("subtype"), outText("subtypeStr", kLongText)}}},
    {"port-id-subtype-string", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpPortIdSubtypeStringGet>, {query("subtype"), outText("subtypeStr", kLongText)}}},
    {"lldpdot3-rem-port-auto-neg-supported", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpdot3RemPortAutoNegSupportedGet>, kRemKeys, {out("isCapable")})},
    {"lldpdot3-rem-port-auto-neg-enabled", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpdot3RemPortAutoNegEnabledGet>, kRemKeys, {out("isEnabled")})},
    {"lldpdot3-rem-port-auto-neg-advertized-cap", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpdot3RemPortAutoNegAdvertizedCapGet>, kRemKeys, {outText("advrtCap", kLongText)})},
    {"lldpdot3-rem-port-auto-neg-oper-mau-type", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpdot3RemPortAutoNegOperMauTypeGet>, kRemKeys, {out("type")})},
    {"lldpdot3-rem-port-auto-neg-oper-mau-string", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpdot3RemPortAutoNegOperMauStringGet>, {query("mauType"), outText("mauString", kLongText)}}},
    {"med-remote-capabilities", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemoteCapabilitiesGet>, kMedRemoteKeys,
           {kSupportedCapabilities, kEnabledCapabilities})},
    {"med-remote-device-class", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemoteDeviceClassGet>, kMedRemoteKeys, {out("deviceClass")})},
    {"med-remote-model-name-size", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpMedRemoteModelNameSizeGet>, {out("size")}}},
    {"med-remote-model-name", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemoteModelNameGet>, kMedRemoteKeys, {outText("modelName", kLongText)})},
    {"med-rem-hardware-rev", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemHardwareRevGet>, kRemKeys, {outText("hardwareRev", kLongText)})},
    {"med-rem-firmware-rev", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemFirmwareRevGet>, kRemKeys, {outText("firmwareRev", kLongText)})},
    {"med-rem-software-rev", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemSoftwareRevGet>, kRemKeys, {outText("softwareRev", kLongText)})},
    {"med-rem-serial-num", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemSerialNumGet>, kRemKeys, {outText("serialNum", kLongText)})},
    {"med-rem-asset-id", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemAssetIdGet>, kRemKeys, {outText("assetId", kLongText)})},
    {"med-rem-mfg-name", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemMfgNameGet>, kRemKeys, {outText("mfgName", kLongText)})},
    {"med-rem-model-name", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemModelNameGet>, kRemKeys, {outText("modelName", kLongText)})},
    {"med-rem-poe-device-type", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoeDeviceTypeGet>, kRemKeys, {out("deviceType")})},
    {"med-rem-poe-pse-power-av", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoePSEPowerAvGet>, kRemKeys, {out("powerAv")})},
    {"med-rem-poe-pse-power-src", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoePSEPowerSrcGet>, kRemKeys, {out("powerSrcType")})},
    {"med-rem-poe-pse-power-pri", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoePSEPowerPriGet>, kRemKeys, {out("powerPri")})},
    {"med-rem-poe-pd-power-req", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoePDPowerReqGet>, kRemKeys, {out("powerReq")})},
    {"med-rem-poe-pd-power-src", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoePDPowerSrcGet>, kRemKeys, {out("powerSrc")})},
    {"med-rem-poe-pd-power-pri", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoePDPowerPriGet>, kRemKeys, {out("powerPri")})},
    {"med-rem-location-info", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemLocationInfoGet>, kRemKeys, {query("subType"), outText("locInfo", kLongText)})},
    {"med-rem-media-policy-vlan-id", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemMediaPolicyVlanIdGet>, kRemKeys, {query("policyAppType"), out("vlanId")})},
    {"med-rem-media-policy-priority", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemMediaPolicyPriorityGet>, kRemKeys, {query("policyAppType"), out("priority")})},
    {"med-rem-media-policy-dscp", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemMediaPolicyDscpGet>, kRemKeys, {query("policyAppType"), out("dscp")})},
    {"med-rem-media-policy-unknown", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemMediaPolicyUnknownGet>, kRemKeys, {query("policyAppType"), out("unknown")})},
    {"med-rem-media-policy-tagged", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemMediaPolicyTaggedGet>, kRemKeys, {query("policyAppType"), out("tagged")})},
};
static_assert(std::size(kRemoteDeviceRoutes) == 56);

}  // namespace

}  // namespace lldp

constinit const route::RouteGroup route_groups::kLldpRemoteDevice =
    route::routeGroup<lldp::kRemoteDeviceRoutes>(lldp::kDir);
