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
constexpr Bind kSupportedBytes[] = {
    outList("supportedCapabilities", kByte)
        .described("The LLDP-MED capabilities the neighbour supports, as two bytes; in byte 0: 0x01 capabilities, "
                   "0x02 network policy, 0x04 location, 0x08 extended power source, 0x10 extended powered device, "
                   "0x20 inventory")};
constexpr Bind kEnabledBytes[] = {
    outList("enabledCapabilities", kByte)
        .described("The LLDP-MED capabilities the neighbour has enabled, as two bytes with the bits of "
                   "supportedCapabilities")};
constexpr Bind kSupportedCapabilities =
    record<open_lldp_med_capabilities_t>(nullptr, showCapabilityBytes, "supportedCapabilities").made(kSupportedBytes);
constexpr Bind kEnabledCapabilities =
    record<open_lldp_med_capabilities_t>(nullptr, showCapabilityBytes, "enabledCapabilities").made(kEnabledBytes);

// A row of the page; a text that cannot be read is "", the first
// organisationally defined TLV null.
constexpr Bind kRowInterface = out("interface").described(kNeighbourPortText);
constexpr Bind kRowChassisId = outText("chassis-id", kPageText).described("The neighbour's chassis ID");
constexpr Bind kRowPortId = outText("port-id", kPageText).described("The neighbour's port ID");
constexpr Bind kRowSystemName = outText("system-name", kPageText).described("The neighbour's system name");
constexpr Bind kRowOrgDefOui = outText("org-def-oui", kPageText)
                                   .orNull()
                                   .described("The OUI of the first organisationally defined TLV the neighbour sent; "
                                              "null when it sent none");
constexpr Bind kRowOrgDefSubtype =
    out("org-def-subtype").orNull().described("The subtype of that TLV; null when the neighbour sent none");
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

// The keys of the routes that read one neighbour, with examples naming a
// neighbour that sent what the route reads.
constexpr NeighbourKeys kIntfPhone = kIntfRemoteKeys.of(kPhone);
constexpr NeighbourKeys kIntfServer = kIntfRemoteKeys.of(kServer);
constexpr NeighbourKeys kIntfAccessSwitch = kIntfRemoteKeys.of(kAccessSwitch);
constexpr NeighbourKeys kIntfUplink = kIntfRemoteKeys.of(kUplink);
constexpr NeighbourKeys kRemPhone = kRemKeys.of(kPhone);
constexpr NeighbourKeys kRemAccessSwitch = kRemKeys.of(kAccessSwitch);
constexpr NeighbourKeys kRemBodyAccessSwitch = kRemBodyKeys.of(kAccessSwitch);
constexpr NeighbourKeys kMedRemotePhone = kMedRemoteKeys.of(kPhone);

// The neighbour walk: the key of the neighbour before, in the answer the
// key of the one found.
constexpr Bind kWalkPort = query("ifNum")
                               .described("The port whose neighbours are walked, as the switch numbers it "
                                          "internally (intIfNum)")
                               .example("12");
constexpr Bind kWalkRemIndex =
    kIntfRemoteKeys.remIndex
        .described("In the request, the remote index of the neighbour before the one wanted (0, with timeStamp 0, "
                   "for the first); in the answer, that of the neighbour found")
        .example("0")
        .andShown("remIndex");
constexpr Bind kWalkTimeStamp =
    kIntfRemoteKeys.timeStamp
        .described("In the request, the time stamp of the neighbour before the one wanted (0 for the first); in the "
                   "answer, that of the neighbour found, in hundredths of a second of uptime when it was learnt")
        .example("0")
        .andShown("timeStamp");

// Outputs several routes share.
constexpr Bind kMgmtAddressFamily = out("addressFamily").described(kAddressFamilyText);
constexpr Bind kMgmtAddress =
    outText("address", kMgmtStrText).described("The neighbour's first management address, such as 10.10.0.12");
constexpr Bind kMgmtAddressLength =
    out("addrLen").described("The address's length in bytes: 4 for IPv4, 16 for IPv6");
constexpr Bind kModelName = outText("modelName", kLongText).described("The neighbour's model name");
constexpr Bind kUnknownTlvType = query("tlvType").described("The type of an unknown TLV the neighbour sent (one that "
                                                            "LLDP does not define)");
constexpr Bind kOrgDefIndex = query("infoIndex")
                                  .described("Which organisationally defined TLV of the neighbour's, counted from 0 "
                                             "in the order received")
                                  .example("0");
constexpr Bind kRemotePolicyAppType = query("policyAppType").described(kPolicyAppTypeText).example("1");
constexpr const char *kPowerPriorityText = "The power priority: 1 unknown, 2 critical, 3 high, 4 low";

constexpr Route kRemoteDeviceRoutes[] = {
    custom("remote-device", HTTPD_GET, remoteDevicesGet, kPageRead,
           "Lists every neighbour: chassis and port IDs, system name, first organisational TLV",
           {kRemoteDevices}).answers({RC_SUCCESS}),
    {"remote-intf-first", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpRemoteIntfFirstGet>,
      {out("ifNum").described("The first port that hears a neighbour, as the switch numbers it internally")}},
     "Reads the first port that hears neighbours"},
    {"remote-intf-next", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpRemoteIntfNextGet>,
      {query("ifNum")
           .described("A port that hears neighbours, as the switch numbers it internally (intIfNum)")
           .example("5"),
       out("nextIfNum").described("The next port that hears neighbours, to give as ifNum for the one after it")}},
     "Reads the port with neighbours after the one named, for walking such ports"},
    {"intf-remote-device-next", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfRemoteDeviceNextGet>, {kWalkPort, kWalkRemIndex, kWalkTimeStamp}},
     "Reads the neighbour after the one named on a port, for walking the port's neighbours"},
    {"intf-remote-device-entry-next", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceEntryNextGet>, kIntfAccessSwitch,
           {kMgmtAddressFamily, kMgmtAddress, kMgmtAddressLength,
            out("subType").described("How intfId numbers the neighbour's interface: 1 unknown, 2 ifIndex, 3 system "
                                     "port number"),
            out("intfId").described("The neighbour's interface that the address belongs to, numbered as subType "
                                    "says")}),
     "Reads a neighbour's first management address with the interface it names"},
    {"mgmt-str-len", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpMgmtStrLenGet>,
      {out("strLen").described("The size in bytes, terminator included, of the texts the switch keeps of a "
                               "neighbour's IDs, system name and management addresses")}},
     "Reads how long the texts of a neighbour's identity may be (management string length)"},
    {"intf-remote-device-chassis-id", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceChassisIdGet>, kIntfUplink,
           {out("chassisIdSubtype").described(kChassisIdSubtypeText),
            outText("chassisId", kMgmtStrText).described("The neighbour's chassis ID, as its subtype says")}),
     "Reads a neighbour's chassis ID and its subtype"},
    {"intf-remote-device-port-id", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDevicePortIdGet>, kIntfUplink,
           {out("portIdSubtype").described(kPortIdSubtypeText),
            outText("portId", kMgmtStrText).described("The neighbour's port ID, as its subtype says")}),
     "Reads a neighbour's port ID and its subtype"},
    {"intf-remote-device-system-name", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceSystemNameGet>, kIntfUplink,
           {outText("systemName", kMgmtStrText).described("The neighbour's system name")}),
     "Reads a neighbour's system name"},
    {"intf-remote-device-system-desc", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceSystemDescGet>, kIntfServer,
           {outText("systemDesc", kLongText).described("The neighbour's system description")}),
     "Reads a neighbour's system description"},
    {"intf-remote-device-port-desc", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDevicePortDescGet>, kIntfAccessSwitch,
           {outText("portDesc", kLongText).described("The description of the neighbour's port")}),
     "Reads the description of a neighbour's port"},
    {"intf-remote-device-sys-cap-supp", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceSysCapSuppGet>, kIntfServer,
           {outText("sysCapSupp", kLongText).described(kCapabilitiesText)}),
     "Reads the system capabilities a neighbour supports"},
    {"intf-remote-device-sys-cap-enabled", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceSysCapEnabledGet>, kIntfServer,
           {outText("sysCapEnabled", kLongText).described(kCapabilitiesText)}),
     "Reads the system capabilities a neighbour has enabled"},
    {"intf-remote-device-mgmt-address-next", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceMgmtAddressNextGet>, kIntfAccessSwitch,
           {kMgmtAddressFamily, kMgmtAddress, kMgmtAddressLength}),
     "Reads a neighbour's first management address"},
    {"intf-remote-device-ttl", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceTTLGet>, kIntfPhone,
           {out("ttl").described("Seconds the neighbour's data stays valid after its last frame")}),
     "Reads how long a neighbour's data stays valid (its time to live)"},
    {"intf-remote-device-port-vlan", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDevicePortVlanGet>, kIntfAccessSwitch,
           {out("portVlan").described("The VLAN of the untagged frames on the neighbour's port (its PVID)")}),
     "Reads the port VLAN ID of a neighbour's port"},
    {"remote-device-vlan-info-index", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpRemoteDeviceVlanInfoIndexGet>, kIntfAccessSwitch,
           {query("infoIndex")
                .described("The index of the neighbour's VLAN entry before the one wanted; 0 for the first")
                .example("1"),
            out("nextInfoIndex").described("The index of the next VLAN entry, for intf-remote-device-vlan-id-and-name "
                                           "and as infoIndex for the one after it")}),
     "Reads the index of a neighbour's VLAN entry after the one named, for walking its VLANs"},
    {"intf-remote-device-vlan-id-and-name", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceVlanIdAndNameGet>, kIntfAccessSwitch,
           {query("infoIndex")
                .described("The index of one of the neighbour's VLAN entries, from 1, as "
                           "remote-device-vlan-info-index walks them")
                .example("2"),
            out("vlan").described("The VLAN's ID"), outText("vlanName", kLongText).described("The VLAN's name")}),
     "Reads one VLAN a neighbour advertises: its ID and name"},
    {"intf-remote-device-max-frame-size", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemoteDeviceMaxFrameSizeGet>, kIntfUplink,
           {out("maxFrameSize").described(kMaxFrameSizeText)}),
     "Reads the largest frame a neighbour's port takes"},
    {"intf-remote-port-link-aggregation-info", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpIntfRemotePortLinkAggregationInfoGet>, kIntfUplink,
           {out("aggregationCapable").described(kAggregationCapableText),
            out("aggregationMember").described(kAggregationMemberText),
            out("aggregationId").described(kAggregationIdText)}),
     "Reads whether a neighbour's port can join or has joined a link aggregation"},
    {"rem-org-def-oui", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpRemOrgDefOUIGet>, kRemAccessSwitch,
           {kOrgDefIndex,
            outText("oui", kMgmtStrText).described("The OUI of the organisation that defines the TLV, such as "
                                                   "00:1E:C9")}),
     "Reads the OUI of an organisationally defined TLV a neighbour sent"},
    {"rem-org-def-subtype", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpRemOrgDefSubtypeGet>, kRemAccessSwitch,
           {kOrgDefIndex, out("subtype").described("The TLV's subtype, as its organisation numbers them")}),
     "Reads the subtype of an organisationally defined TLV a neighbour sent"},
    {"rem-unknown-tlv-entry-next", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpRemUnknownTLVEntryNextGet>, kRemAccessSwitch,
           {kUnknownTlvType.described("The type of the unknown TLV before the one wanted; 0 for the first")
                .example("24"),
            out("nextTlvType").described("The type of the next unknown TLV, to give as tlvType for the one after "
                                         "it")}),
     "Reads the type of a neighbour's unknown TLV after the one named, for walking them"},
    {"rem-unknown-tlv-entry-is-exists", HTTPD_POST, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpRemUnknownTLVEntryIsExists>, kRemBodyAccessSwitch,
           {body("tlvType").described("The type of the TLV asked about").example("100"),
            out("isExists").described("1 when the neighbour sent an unknown TLV of this type, else 0")}),
     "Tells whether a neighbour sent an unknown TLV of a given type"},
    {"rem-unknown-tlv-info", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpRemUnknownTLVInfoGet>, kRemAccessSwitch,
           {kUnknownTlvType.example("24"),
            outText("info", kLongText).described("The TLV's information, as the switch prints it")}),
     "Reads the information of an unknown TLV a neighbour sent"},
    {"chassis-id-subtype-string", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpChassisIdSubtypeStringGet>,
      {query("subtype")
           .described("A chassis ID subtype, as intf-remote-device-chassis-id answers it (chassisIdSubtype)")
           .example("4"),
       outText("subtypeStr", kLongText).described("The subtype's name, such as \"MAC Address\"")}},
     "Reads the name of a chassis ID subtype"},
    {"port-id-subtype-string", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpPortIdSubtypeStringGet>,
      {query("subtype")
           .described("A port ID subtype, as intf-remote-device-port-id answers it (portIdSubtype)")
           .example("5"),
       outText("subtypeStr", kLongText).described("The subtype's name, such as \"Interface Name\"")}},
     "Reads the name of a port ID subtype"},
    {"lldpdot3-rem-port-auto-neg-supported", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpdot3RemPortAutoNegSupportedGet>, kRemAccessSwitch,
           {out("isCapable").described(kAutoNegSupportedText)}),
     "Tells whether a neighbour's port supports auto-negotiation"},
    {"lldpdot3-rem-port-auto-neg-enabled", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpdot3RemPortAutoNegEnabledGet>, kRemAccessSwitch,
           {out("isEnabled").described(kAutoNegEnabledText)}),
     "Tells whether a neighbour's port has auto-negotiation enabled"},
    {"lldpdot3-rem-port-auto-neg-advertized-cap", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpdot3RemPortAutoNegAdvertizedCapGet>, kRemAccessSwitch,
           {outText("advrtCap", kLongText).described(kAdvertisedCapText)}),
     "Reads the speeds and duplex modes a neighbour's port advertises in auto-negotiation"},
    {"lldpdot3-rem-port-auto-neg-oper-mau-type", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpdot3RemPortAutoNegOperMauTypeGet>, kRemAccessSwitch,
           {out("type").described(kMauTypeText)}),
     "Reads the operational MAU type (speed, duplex and medium) of a neighbour's port"},
    {"lldpdot3-rem-port-auto-neg-oper-mau-string", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpdot3RemPortAutoNegOperMauStringGet>,
      {query("mauType").described("An IANA MAU type, as the oper-mau-type routes answer it").example("30"),
       outText("mauString", kLongText).described("The MAU type's name, such as \"1000BaseTFD\"")}},
     "Reads the name of a MAU type"},
    {"med-remote-capabilities", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemoteCapabilitiesGet>, kMedRemotePhone,
           {kSupportedCapabilities, kEnabledCapabilities}),
     "Reads the LLDP-MED capabilities a neighbour supports and has enabled"},
    {"med-remote-device-class", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemoteDeviceClassGet>, kMedRemotePhone,
           {out("deviceClass").described(kDeviceClassText)}),
     "Reads a neighbour's LLDP-MED device class"},
    {"med-remote-model-name-size", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpMedRemoteModelNameSizeGet>,
      {out("size").described("The most characters of a neighbour's model name the switch keeps")}},
     "Reads the longest LLDP-MED model name the switch keeps"},
    {"med-remote-model-name", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemoteModelNameGet>, kMedRemotePhone, {kModelName}),
     "Reads a neighbour's model name (LLDP-MED inventory), the neighbour named with intf"},
    {"med-rem-hardware-rev", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemHardwareRevGet>, kRemPhone,
           {outText("hardwareRev", kLongText).described("The neighbour's hardware revision")}),
     "Reads a neighbour's hardware revision (LLDP-MED inventory)"},
    {"med-rem-firmware-rev", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemFirmwareRevGet>, kRemPhone,
           {outText("firmwareRev", kLongText).described("The neighbour's firmware revision")}),
     "Reads a neighbour's firmware revision (LLDP-MED inventory)"},
    {"med-rem-software-rev", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemSoftwareRevGet>, kRemPhone,
           {outText("softwareRev", kLongText).described("The neighbour's software revision")}),
     "Reads a neighbour's software revision (LLDP-MED inventory)"},
    {"med-rem-serial-num", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemSerialNumGet>, kRemPhone,
           {outText("serialNum", kLongText).described("The neighbour's serial number")}),
     "Reads a neighbour's serial number (LLDP-MED inventory)"},
    {"med-rem-asset-id", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemAssetIdGet>, kRemPhone,
           {outText("assetId", kLongText).described("The asset ID its owner gave the neighbour")}),
     "Reads a neighbour's asset ID (LLDP-MED inventory)"},
    {"med-rem-mfg-name", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemMfgNameGet>, kRemPhone,
           {outText("mfgName", kLongText).described("The neighbour's manufacturer")}),
     "Reads a neighbour's manufacturer (LLDP-MED inventory)"},
    {"med-rem-model-name", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemModelNameGet>, kRemPhone, {kModelName}),
     "Reads a neighbour's model name (LLDP-MED inventory), the neighbour named with ifNum"},
    {"med-rem-poe-device-type", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoeDeviceTypeGet>, kRemPhone,
           {out("deviceType").described("The neighbour's part in Power over Ethernet: 1 unknown, 2 power source "
                                        "(PSE), 3 powered device (PD), 4 none")}),
     "Reads whether a neighbour supplies or draws Power over Ethernet (LLDP-MED)"},
    {"med-rem-poe-pse-power-av", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoePSEPowerAvGet>, kRemPhone,
           {out("powerAv").described("The power the neighbour can supply, in tenths of a watt")}),
     "Reads the PoE power a power-source neighbour can supply (LLDP-MED)"},
    {"med-rem-poe-pse-power-src", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoePSEPowerSrcGet>, kRemPhone,
           {out("powerSrcType").described("Where the neighbour's power comes from: 1 unknown, 2 primary, "
                                          "3 backup source")}),
     "Reads the power source of a power-source neighbour (LLDP-MED)"},
    {"med-rem-poe-pse-power-pri", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoePSEPowerPriGet>, kRemPhone,
           {out("powerPri").described(kPowerPriorityText)}),
     "Reads the PoE priority a power-source neighbour gives its port (LLDP-MED)"},
    {"med-rem-poe-pd-power-req", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoePDPowerReqGet>, kRemPhone,
           {out("powerReq").described("The power the neighbour asks for, in tenths of a watt")}),
     "Reads the PoE power a powered neighbour asks for (LLDP-MED)"},
    {"med-rem-poe-pd-power-src", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoePDPowerSrcGet>, kRemPhone,
           {out("powerSrc").described("Where the neighbour takes its power from: 1 unknown, 2 the power source "
                                      "(PSE), 3 a local supply, 4 both")}),
     "Reads where a powered neighbour takes its power from (LLDP-MED)"},
    {"med-rem-poe-pd-power-pri", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemPoePDPowerPriGet>, kRemPhone,
           {out("powerPri").described(kPowerPriorityText)}),
     "Reads the PoE priority a powered neighbour asks for (LLDP-MED)"},
    {"med-rem-location-info", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemLocationInfoGet>, kRemPhone,
           {query("subType")
                .described("The kind of location: 1 coordinates, 2 civic address, 3 ELIN (emergency location "
                           "identification number)")
                .example("3"),
            outText("locInfo", kLongText).described("The location of that kind the neighbour sent")}),
     "Reads a location a neighbour sent (LLDP-MED)"},
    {"med-rem-media-policy-vlan-id", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemMediaPolicyVlanIdGet>, kRemPhone,
           {kRemotePolicyAppType, out("vlanId").described("The VLAN the application's traffic uses")}),
     "Reads the VLAN of a neighbour's network policy for an application (LLDP-MED)"},
    {"med-rem-media-policy-priority", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemMediaPolicyPriorityGet>, kRemPhone,
           {kRemotePolicyAppType,
            out("priority").described("The IEEE 802.1p priority, 0 to 7, of the application's frames")}),
     "Reads the priority of a neighbour's network policy for an application (LLDP-MED)"},
    {"med-rem-media-policy-dscp", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemMediaPolicyDscpGet>, kRemPhone,
           {kRemotePolicyAppType, out("dscp").described("The DSCP value, 0 to 63, of the application's packets")}),
     "Reads the DSCP value of a neighbour's network policy for an application (LLDP-MED)"},
    {"med-rem-media-policy-unknown", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemMediaPolicyUnknownGet>, kRemPhone,
           {kRemotePolicyAppType,
            out("unknown").described("1 when the neighbour needs a policy for the application but knows none yet, "
                                     "else 0")}),
     "Tells whether a neighbour's network policy for an application is unknown (LLDP-MED)"},
    {"med-rem-media-policy-tagged", HTTPD_GET, &kDeviceRead,
     keyed(open<rpcclt_openapiLldpMedRemMediaPolicyTaggedGet>, kRemPhone,
           {kRemotePolicyAppType,
            out("tagged").described("1 when the application's frames carry a VLAN tag, else 0")}),
     "Tells whether a neighbour's network policy for an application tags its frames (LLDP-MED)"},
};
static_assert(std::size(kRemoteDeviceRoutes) == 56);

}  // namespace

}  // namespace lldp

constinit const route::RouteGroup route_groups::kLldpRemoteDevice =
    route::routeGroup<lldp::kRemoteDeviceRoutes>(lldp::kDir);
