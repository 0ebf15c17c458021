// LLDP settings: the global timers, the interface modes and optional-TLV
// selections, LLDP-MED settings, and the status pages made of them.
#include "cgi/response.h"
#include "routes/engine/values.h"
#include "routes/families.h"
#include "routes/lldp/lldp.h"
#include "open/startup.h"

namespace lldp {

namespace {

using namespace route;

// The optional TLVs by name, looked up in any case, in the order every
// answer lists them. A name outside the table reads as 9, past the last type.
constexpr uint32_t kNoTlvType = 9;
constexpr const auto &kTlvTypes = kOpenWords_OPEN_LLDP_TLV_TYPE_t;
constexpr ChoiceTable lldpTlvTypeTable = choiceTable(kTlvTypes, true, kNoTlvType, "");

// The LLDP-MED TLVs by their bit in the low byte of the transmit mask,
// with what the TLV tells and the word of the request's example.
struct MedTlv {
  const char *key;
  uint8_t bit;
  const char *about;
  const char *example;
};
constexpr MedTlv lldpMedTlvTable[] = {
    {"capabilities", 0x01,
     "Whether the port sends the LLDP-MED capabilities TLV: the LLDP-MED TLVs the switch supports and its device class",
     "\"enable\""},
    {"network-policy", 0x02,
     "Whether the port sends network policy TLVs: the VLAN, priority and DSCP that phones and other endpoints should "
     "use for each application",
     "\"enable\""},
    {"location", 0x04, "Whether the port sends the location identification TLV: where the port is, for emergency calls",
     "\"disable\""},
    {"extended-pse", 0x08,
     "Whether the port sends the extended power-via-MDI TLV of a power source: the PoE power the port can supply",
     "\"disable\""},
    {"extended-pd", 0x10,
     "Whether the port sends the extended power-via-MDI TLV of a powered device: the PoE power it needs",
     "\"disable\""},
    {"inventory", 0x20,
     "Whether the port sends the inventory TLVs: hardware, firmware and software revisions, serial number, "
     "manufacturer, model and asset ID",
     "\"enable\""},
};

// The timers and modes, as the reads answer them and the writes take them.
constexpr const char *kIntervalText = "Seconds between the LLDP frames each port sends (LLDP allows 5 to 32768)";
constexpr const char *kHoldText = "The hold multiplier: neighbours keep the switch's LLDP data for this many transmit "
                                  "intervals (LLDP allows 2 to 10)";
constexpr const char *kReinitText = "Seconds a port waits, after LLDP is disabled on it, before LLDP may start again "
                                    "(LLDP allows 1 to 10)";
constexpr const char *kNotificationIntervalText =
    "The least number of seconds between two notifications of neighbour changes (LLDP allows 5 to 3600)";
constexpr const char *kFastStartText =
    "How many LLDP frames a port sends, one a second, when it first hears an LLDP-MED endpoint "
    "(LLDP-MED allows 1 to 10)";
constexpr const char *kTransmitText = "Whether the port sends LLDP frames";
constexpr const char *kReceiveText = "Whether the port takes in LLDP frames and learns its neighbours from them";
constexpr const char *kNotificationText = "Whether the port sends notifications when its neighbours change";
constexpr const char *kTxMgmtText = "Whether the port's LLDP frames carry the switch's management address";
constexpr const char *kMedModeText = "Whether LLDP-MED runs on the port";
constexpr const char *kConfigNotificationText = "Whether the port sends LLDP-MED topology change notifications";

// The reads that the status pages gather.
constexpr Call kTxIntervalGet{open<rpcclt_openapiLldpTxIntervalGet>, {out("interval").described(kIntervalText)}};
constexpr Call kTxHoldGet{open<rpcclt_openapiLldpTxHoldGet>, {out("hold").described(kHoldText)}};
constexpr Call kTxReinitDelayGet{open<rpcclt_openapiLldpTxReinitDelayGet>, {out("reinit").described(kReinitText)}};
constexpr Call kNotificationIntervalGet{open<rpcclt_openapiLldpNotificationIntervalGet>,
                                        {out("notification-interval").described(kNotificationIntervalText)}};
constexpr Call kFastStartRepeatCountGet{open<rpcclt_openapiLldpXMedFastStartRepeatCountGet>,
                                        {out("faststartrepeatcount").described(kFastStartText)}};
constexpr Call kTransmitModeGet{open<rpcclt_openapiLldpIntfTransmitModeGet>,
                                {lldpQueryIfNumGet, outChoice("transmit", kEnableMode).described(kTransmitText)}};
constexpr Call kReceiveModeGet{open<rpcclt_openapiLldpIntfReceiveModeGet>,
                               {lldpQueryIfNumGet, outChoice("receive", kEnableMode).described(kReceiveText)}};
constexpr Call kNotificationModeGet{
    open<rpcclt_openapiLldpIntfNotificationModeGet>,
    {lldpQueryIfNumGet, outChoice("notification", kEnableMode).described(kNotificationText)}};
constexpr Call kTxMgmtAddrModeGet{open<rpcclt_openapiLldpIntfTxMgmtAddrModeGet>,
                                  {lldpQueryIfNumGet, outChoice("transmit-mgmt", kEnableMode).described(kTxMgmtText)}};

constexpr const Call *kStatusReads[] = {&kTxIntervalGet, &kTxHoldGet, &kTxReinitDelayGet, &kNotificationIntervalGet};
constexpr const Call *kInterfaceModeReads[] = {&kTransmitModeGet, &kReceiveModeGet, &kNotificationModeGet,
                                               &kTxMgmtAddrModeGet};

// "tlv-type" of the body: a string naming a row of the TLV table, else the request is refused.
constexpr Bind kTlvTypePart[] = {bodyChoice("tlv-type", lldpTlvTypeTable)
                                     .needed()
                                     .strictly()
                                     .described("The optional TLV, by its name in the answer of intf-tlv-transmit-mode")
                                     .example("\"vlan-name\"")};
int32_t tlvTypeFromBody(const Bind &bind, Inputs &in, Slot &slot) {
  const Bind &tlvType = bind.parts[0];
  const char *text = in.bodyObject().text(tlvType);
  if (text == nullptr) return RC_INVALID_ARGUMENT;
  slot.num = static_cast<uint64_t>(choiceValue(*tlvType.choices, text));
  return slot.num >= kNoTlvType ? RC_INVALID_ARGUMENT : RC_SUCCESS;
}
constexpr Bind kTlvTypeInBody = customInput(ArgKind::IntValue, tlvTypeFromBody).made(kTlvTypePart);

// Answer members and body members named by a table, one per row.
template <typename Row, size_t N, typename Make>
constexpr std::array<Bind, N> bindsOf(const Row (&rows)[N], Make make) {
  std::array<Bind, N> binds{};
  for (size_t i = 0; i < N; ++i) binds[i] = make(rows[i]);
  return binds;
}
constexpr auto kTlvModeParts =
    bindsOf(kTlvTypes, [](const Choice &tlv) { return outChoice(tlv.text, kEnableMode).ifKnown(); });
constexpr auto kMedTlvModeParts =
    bindsOf(lldpMedTlvTable, [](const MedTlv &tlv) { return outChoice(tlv.key, kEnableMode).described(tlv.about); });
constexpr auto kMedTlvBodyParts = bindsOf(lldpMedTlvTable, [](const MedTlv &tlv) {
  return bodyChoice(tlv.key, kEnableMode).described(tlv.about).example(tlv.example);
});

// The outputs of reads a page gathers, each shown when its read succeeds.
template <const auto &Calls>
constexpr auto outputsOf() {
  constexpr size_t kCount = [] {
    size_t count = 0;
    for (const Call *call : Calls) {
      for (size_t i = 0; i < bindCount(*call); ++i) if (call->binds[i].isOutput()) ++count;
    }
    return count;
  }();
  std::array<Bind, kCount> parts{};
  size_t at = 0;
  for (const Call *call : Calls) {
    for (size_t i = 0; i < bindCount(*call); ++i) {
      if (call->binds[i].isOutput()) parts[at++] = call->binds[i].ifKnown();
    }
  }
  return parts;
}

// Only the mask's low byte is reported.
void showMedTransmitTlvs(Output &out, const Bind &, const Slot &slot, const Slot *) {
  auto low = static_cast<uint8_t>(slot.num & 0xFF);
  for (size_t i = 0; i < std::size(lldpMedTlvTable); ++i) {
    out.choice(kMedTlvModeParts[i], (low & lldpMedTlvTable[i].bit) != 0 ? 1 : 0);
  }
}

// One member per optional TLV; a TLV whose read fails is left out.
void addTlvTransmitModes(Output &out, uint32_t ifNum) {
  for (size_t i = 0; i < std::size(kTlvTypes); ++i) {
    uint32_t mode = 0;
    auto type = static_cast<uint32_t>(kTlvTypes[i].value);
    int rc = rpcclt_openapiLldpIntfTLVTransmitModeGet(&clientHandle, ifNum, type, &mode);
    if (rc == OPEN_E_NONE) out.choice(kTlvModeParts[i], mode);
  }
}

int32_t tlvTransmitModesGet(Inputs &in, Output &out) {
  addTlvTransmitModes(out, static_cast<uint32_t>(in.number(lldpQueryIfNumGet)));
  return RC_SUCCESS;
}

// Read, modify, write: body members that are strings set or clear their
// bit; every other bit stays as read. Every outcome is written as a line.
int32_t medTransmitTlvsSet(Inputs &in, Output &) {
  auto ifNum = static_cast<uint32_t>(in.number(lldpQueryIfNumGet));
  uint16_t mask = 0;
  if (rpcclt_openapiLldpMedIntfTransmitTlvGet(&clientHandle, ifNum, &mask) != OPEN_E_NONE) return RC_GENERAL_FAILED;
  if (in.body() == nullptr) return RC_INVALID_ARGUMENT;
  BodyObject body = in.bodyObject();
  for (size_t i = 0; i < std::size(lldpMedTlvTable); ++i) {
    if (!body.has(kMedTlvBodyParts[i])) continue;
    bool enable = body.choice(kMedTlvBodyParts[i]) == 1;
    uint8_t bit = lldpMedTlvTable[i].bit;
    mask = static_cast<uint16_t>(enable ? mask | bit : mask & ~bit);
  }
  if (rpcclt_openapiLldpMedIntfTransmitTlvSet(&clientHandle, ifNum, mask) != OPEN_E_NONE) return RC_GENERAL_FAILED;
  return RC_SUCCESS;
}

// Always a success, with the members whose reads succeeded.
int32_t statusGet(Inputs &in, Output &out) {
  for (const Call *read : kStatusReads) runCallInto(*read, in, out);
  return RC_SUCCESS;
}

// The switch always reports itself as a network connectivity device.
constexpr Choice kDeviceClassName[] = {{"Network Connectivity", 0}};
constexpr ChoiceTable kDeviceClass = choiceTable(kDeviceClassName, false, 0, "Network Connectivity");
constexpr Bind kDeviceClassShown =
    outChoice("device-class", kDeviceClass).described("The switch's LLDP-MED device class, always this one");

int32_t medStatusGet(Inputs &in, Output &out) {
  runCallInto(kFastStartRepeatCountGet, in, out);
  out.choice(kDeviceClassShown, 0);
  return RC_SUCCESS;
}

constexpr auto kInterfaceModeParts = outputsOf<kInterfaceModeReads>();
constexpr Bind kStatusInterface = out("interface").described("The port, as the switch numbers it internally");
constexpr Bind kTransmitTlvs =
    outObject("transmit-tlv", kTlvModeParts).described("Whether the port sends each optional TLV, by its name");
constexpr Bind kInterfaceStatusParts[] = {kStatusInterface, outMembers(kInterfaceModeParts), kTransmitTlvs};
constexpr Bind kInterfaces = outList("interfaces", kInterfaceStatusParts);

void addInterfaceStatus(Inputs &in, Output row, uint32_t ifNum) {
  row.number(kStatusInterface, ifNum);
  in.pin(lldpQueryIfNumGet.key, ifNum);
  for (const Call *read : kInterfaceModeReads) runCallInto(*read, in, row);
  Output tlvs = row.object(kTransmitTlvs);
  addTlvTransmitModes(tlvs, ifNum);
}

// Every physical interface.
int32_t allInterfaceStatusGet(Inputs &in, Output &out) {
  List interfaces = out.list(kInterfaces);
  forEachPhysicalInterface([&](uint32_t ifNum) { addInterfaceStatus(in, interfaces.addObject(), ifNum); });
  return RC_SUCCESS;
}

constexpr const Call *kMedStatusReads[] = {&kFastStartRepeatCountGet};
constexpr auto kStatusParts = outputsOf<kStatusReads>();
constexpr auto kMedStatusParts = outputsOf<kMedStatusReads>();

// A write's body member, with the value of its example.
constexpr Bind setting(const char *key, const char *about, const char *example) {
  return body(key).needed().described(about).example(example);
}
constexpr Bind modeSetting(const char *key, const char *about, const char *example) {
  return bodyChoice(key, kEnableMode).needed().described(about).example(example);
}

constexpr Route kSettingsRoutes[] = {
    {"tx-hold", HTTPD_GET, &kSettingRead, kTxHoldGet, "Reads the LLDP transmit hold multiplier"},
    {"tx-hold", HTTPD_PUT, &kSettingWrite, {open<rpcclt_openapiLldpTxHoldSet>, {setting("hold", kHoldText, "4")}},
     "Sets the LLDP transmit hold multiplier"},
    {"tx-interval", HTTPD_GET, &kSettingRead, kTxIntervalGet, "Reads the LLDP transmit interval"},
    {"tx-interval", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpTxIntervalSet>, {setting("interval", kIntervalText, "30")}},
     "Sets the LLDP transmit interval"},
    {"tx-reinit-delay", HTTPD_GET, &kSettingRead, kTxReinitDelayGet, "Reads the LLDP re-initialisation delay"},
    {"tx-reinit-delay", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpTxReinitDelaySet>, {setting("reinit", kReinitText, "2")}},
     "Sets the LLDP re-initialisation delay"},
    {"notification-interval", HTTPD_GET, &kSettingRead, kNotificationIntervalGet,
     "Reads the least interval between LLDP notifications of neighbour changes"},
    {"notification-interval", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpNotificationIntervalSet>,
      {setting("notification-interval", kNotificationIntervalText, "5")}},
     "Sets the least interval between LLDP notifications of neighbour changes"},
    {"xmed-fast-start-repeat-count", HTTPD_GET, &kSettingRead, kFastStartRepeatCountGet,
     "Reads the LLDP-MED fast start repeat count"},
    {"xmed-fast-start-repeat-count", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpXMedFastStartRepeatCountSet>, {setting("faststartrepeatcount", kFastStartText, "3")}},
     "Sets the LLDP-MED fast start repeat count"},
    {"intf-transmit-mode", HTTPD_GET, &kSettingRead, kTransmitModeGet, "Tells whether a port sends LLDP frames"},
    {"intf-transmit-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpIntfTransmitModeSet>,
      {lldpQueryIfNumGet, modeSetting("transmit", kTransmitText, "\"enable\"")}},
     "Sets whether a port sends LLDP frames"},
    {"intf-receive-mode", HTTPD_GET, &kSettingRead, kReceiveModeGet,
     "Tells whether a port takes in LLDP frames and learns neighbours"},
    {"intf-receive-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpIntfReceiveModeSet>,
      {lldpQueryIfNumGet, modeSetting("receive", kReceiveText, "\"enable\"")}},
     "Sets whether a port takes in LLDP frames and learns neighbours"},
    {"intf-notification-mode", HTTPD_GET, &kSettingRead, kNotificationModeGet,
     "Tells whether a port sends notifications when its neighbours change"},
    {"intf-notification-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpIntfNotificationModeSet>,
      {lldpQueryIfNumGet, modeSetting("notification", kNotificationText, "\"enable\"")}},
     "Sets whether a port sends notifications when its neighbours change"},
    {"intf-tx-mgmt-addr-mode", HTTPD_GET, &kSettingRead, kTxMgmtAddrModeGet,
     "Tells whether a port advertises the switch's management address"},
    {"intf-tx-mgmt-addr-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpIntfTxMgmtAddrModeSet>,
      {lldpQueryIfNumGet, modeSetting("transmit-mgmt", kTxMgmtText, "\"enable\"")}},
     "Sets whether a port advertises the switch's management address"},
    {"med-intf-mode", HTTPD_GET, &kSettingRead,
     {open<rpcclt_openapiLldpMedIntfModeGet>,
      {lldpQueryIfNumGet, outChoice("med-mode", kEnableMode).described(kMedModeText)}},
     "Tells whether LLDP-MED runs on a port"},
    {"med-intf-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpMedIntfModeSet>, {lldpQueryIfNumGet, modeSetting("med-mode", kMedModeText, "\"enable\"")}},
     "Sets whether LLDP-MED runs on a port"},
    {"med-intf-config-notification-mode", HTTPD_GET, &kSettingRead,
     {open<rpcclt_openapiLldpMedIntfConfigNotificationModeGet>,
      {lldpQueryIfNumGet, outChoice("confignotification", kEnableMode).described(kConfigNotificationText)}},
     "Tells whether a port sends LLDP-MED topology change notifications"},
    {"med-intf-config-notification-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpMedIntfConfigNotificationModeSet>,
      {lldpQueryIfNumGet, modeSetting("confignotification", kConfigNotificationText, "\"enable\"")}},
     "Sets whether a port sends LLDP-MED topology change notifications"},
    custom("intf-tlv-transmit-mode", HTTPD_GET, tlvTransmitModesGet, kPageRead,
           "Reads which optional TLVs a port sends; a TLV whose read fails is left out",
           {lldpQueryIfNumGet, outMembers(kTlvModeParts)}).answers({RC_SUCCESS}),
    {"intf-tlv-transmit-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpIntfTLVTransmitModeSet>,
      {lldpQueryIfNumGet, kTlvTypeInBody,
       modeSetting("mode", "Whether the port sends that TLV in its LLDP frames", "\"enable\"")}},
     "Sets whether a port sends one optional TLV"},
    {"med-intf-transmit-tlv", HTTPD_GET, &kSettingRead,
     {open<rpcclt_openapiLldpMedIntfTransmitTlvGet>,
      {lldpQueryIfNumGet, outCustom(nullptr, ArgKind::IntPointer, showMedTransmitTlvs).made(kMedTlvModeParts)}},
     "Reads which LLDP-MED TLVs a port sends"},
    custom("med-intf-transmit-tlv", HTTPD_PUT, medTransmitTlvsSet, kSettingWrite,
           "Sets which LLDP-MED TLVs a port sends; a TLV the body leaves out keeps its setting",
           {lldpQueryIfNumGet, reads(kMedTlvBodyParts)}).answers({RC_SUCCESS, RC_GENERAL_FAILED, RC_INVALID_ARGUMENT}),
    custom("status", HTTPD_GET, statusGet, kPageRead,
           "Reads the global LLDP timers at once; a timer whose read fails is left out", {outMembers(kStatusParts)}).answers({RC_SUCCESS}),
    custom("all-interface-status", HTTPD_GET, allInterfaceStatusGet, kPageRead,
           "Lists the LLDP modes and optional TLVs of every physical port", {kInterfaces}).answers({RC_SUCCESS}),
    custom("med-status", HTTPD_GET, medStatusGet, kPageRead,
           "Reads the LLDP-MED fast start repeat count and the switch's device class",
           {outMembers(kMedStatusParts), kDeviceClassShown}).answers({RC_SUCCESS}),
    // Unlike the other settings, the interface comes from the request data,
    // may be absent (0 asks for the first), and failures are mapped.
    {"intf-next", HTTPD_GET, &kDeviceRead,
     {open<rpcclt_openapiLldpIntfNextGet>,
      {query("ifNum")
           .described("The physical port before the one wanted, as the switch numbers it internally; 0 for the first")
           .example("5"),
       out("nextIfNum").described("The next physical port, to give as ifNum for the one after it")}},
     "Reads the physical port after the one named, for walking the ports LLDP runs on"},
};
static_assert(std::size(kSettingsRoutes) == 30);

}  // namespace

}  // namespace lldp

constinit const route::RouteGroup route_groups::kLldpSettings = route::routeGroup<lldp::kSettingsRoutes>(lldp::kDir);
