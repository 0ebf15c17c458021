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

// The LLDP-MED TLVs by their bit in the low byte of the transmit mask.
struct MedTlv {
  const char *key;
  uint8_t bit;
};
constexpr MedTlv lldpMedTlvTable[] = {
    {"capabilities", 0x01}, {"network-policy", 0x02}, {"location", 0x04},
    {"extended-pse", 0x08}, {"extended-pd", 0x10},     {"inventory", 0x20},
};

// The reads that the status pages gather.
constexpr Call kTxIntervalGet{open<rpcclt_openapiLldpTxIntervalGet>, {out("interval")}};
constexpr Call kTxHoldGet{open<rpcclt_openapiLldpTxHoldGet>, {out("hold")}};
constexpr Call kTxReinitDelayGet{open<rpcclt_openapiLldpTxReinitDelayGet>, {out("reinit")}};
constexpr Call kNotificationIntervalGet{open<rpcclt_openapiLldpNotificationIntervalGet>,
                                        {out("notification-interval")}};
constexpr Call kFastStartRepeatCountGet{open<rpcclt_openapiLldpXMedFastStartRepeatCountGet>,
                                        {out("faststartrepeatcount")}};
constexpr Call kTransmitModeGet{open<rpcclt_openapiLldpIntfTransmitModeGet>,
                                {lldpQueryIfNumGet, outChoice("transmit", kEnableMode)}};
constexpr Call kReceiveModeGet{open<rpcclt_openapiLldpIntfReceiveModeGet>,
                               {lldpQueryIfNumGet, outChoice("receive", kEnableMode)}};
constexpr Call kNotificationModeGet{open<rpcclt_openapiLldpIntfNotificationModeGet>,
                                    {lldpQueryIfNumGet, outChoice("notification", kEnableMode)}};
constexpr Call kTxMgmtAddrModeGet{open<rpcclt_openapiLldpIntfTxMgmtAddrModeGet>,
                                  {lldpQueryIfNumGet, outChoice("transmit-mgmt", kEnableMode)}};

constexpr const Call *kStatusReads[] = {&kTxIntervalGet, &kTxHoldGet, &kTxReinitDelayGet, &kNotificationIntervalGet};
constexpr const Call *kInterfaceModeReads[] = {&kTransmitModeGet, &kReceiveModeGet, &kNotificationModeGet,
                                               &kTxMgmtAddrModeGet};

// "tlv-type" of the body: a string naming a row of the TLV table, else the request is refused.
constexpr Bind kTlvTypePart[] = {bodyChoice("tlv-type", lldpTlvTypeTable).needed().strictly()};
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
    bindsOf(lldpMedTlvTable, [](const MedTlv &tlv) { return outChoice(tlv.key, kEnableMode); });
constexpr auto kMedTlvBodyParts =
    bindsOf(lldpMedTlvTable, [](const MedTlv &tlv) { return bodyChoice(tlv.key, kEnableMode); });

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
constexpr Bind kDeviceClassShown = outChoice("device-class", kDeviceClass);

int32_t medStatusGet(Inputs &in, Output &out) {
  runCallInto(kFastStartRepeatCountGet, in, out);
  out.choice(kDeviceClassShown, 0);
  return RC_SUCCESS;
}

constexpr auto kInterfaceModeParts = outputsOf<kInterfaceModeReads>();
constexpr Bind kStatusInterface = out("interface");
constexpr Bind kTransmitTlvs = outObject("transmit-tlv", kTlvModeParts);
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

constexpr Route kSettingsRoutes[] = {
    {"tx-hold", HTTPD_GET, &kSettingRead, kTxHoldGet},
    {"tx-hold", HTTPD_PUT, &kSettingWrite, {open<rpcclt_openapiLldpTxHoldSet>, {body("hold").needed()}}},
    {"tx-interval", HTTPD_GET, &kSettingRead, kTxIntervalGet},
    {"tx-interval", HTTPD_PUT, &kSettingWrite, {open<rpcclt_openapiLldpTxIntervalSet>, {body("interval").needed()}}},
    {"tx-reinit-delay", HTTPD_GET, &kSettingRead, kTxReinitDelayGet},
    {"tx-reinit-delay", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpTxReinitDelaySet>, {body("reinit").needed()}}},
    {"notification-interval", HTTPD_GET, &kSettingRead, kNotificationIntervalGet},
    {"notification-interval", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpNotificationIntervalSet>, {body("notification-interval").needed()}}},
    {"xmed-fast-start-repeat-count", HTTPD_GET, &kSettingRead, kFastStartRepeatCountGet},
    {"xmed-fast-start-repeat-count", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpXMedFastStartRepeatCountSet>, {body("faststartrepeatcount").needed()}}},
    {"intf-transmit-mode", HTTPD_GET, &kSettingRead, kTransmitModeGet},
    {"intf-transmit-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpIntfTransmitModeSet>, {lldpQueryIfNumGet, bodyChoice("transmit", kEnableMode).needed()}}},
    {"intf-receive-mode", HTTPD_GET, &kSettingRead, kReceiveModeGet},
    {"intf-receive-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpIntfReceiveModeSet>, {lldpQueryIfNumGet, bodyChoice("receive", kEnableMode).needed()}}},
    {"intf-notification-mode", HTTPD_GET, &kSettingRead, kNotificationModeGet},
    {"intf-notification-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpIntfNotificationModeSet>,
      {lldpQueryIfNumGet, bodyChoice("notification", kEnableMode).needed()}}},
    {"intf-tx-mgmt-addr-mode", HTTPD_GET, &kSettingRead, kTxMgmtAddrModeGet},
    {"intf-tx-mgmt-addr-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpIntfTxMgmtAddrModeSet>,
      {lldpQueryIfNumGet, bodyChoice("transmit-mgmt", kEnableMode).needed()}}},
    {"med-intf-mode", HTTPD_GET, &kSettingRead,
     {open<rpcclt_openapiLldpMedIntfModeGet>, {lldpQueryIfNumGet, outChoice("med-mode", kEnableMode)}}},
    {"med-intf-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpMedIntfModeSet>, {lldpQueryIfNumGet, bodyChoice("med-mode", kEnableMode).needed()}}},
    {"med-intf-config-notification-mode", HTTPD_GET, &kSettingRead,
     {open<rpcclt_openapiLldpMedIntfConfigNotificationModeGet>,
      {lldpQueryIfNumGet, outChoice("confignotification", kEnableMode)}}},
    {"med-intf-config-notification-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpMedIntfConfigNotificationModeSet>,
      {lldpQueryIfNumGet, bodyChoice("confignotification", kEnableMode).needed()}}},
    custom("intf-tlv-transmit-mode", HTTPD_GET, tlvTransmitModesGet, kPageRead,
           "Whether each optional TLV is transmitted on an interface; a TLV whose read fails is left out",
           {lldpQueryIfNumGet, outMembers(kTlvModeParts)}),
    {"intf-tlv-transmit-mode", HTTPD_PUT, &kSettingWrite,
     {open<rpcclt_openapiLldpIntfTLVTransmitModeSet>,
      {lldpQueryIfNumGet, kTlvTypeInBody, bodyChoice("mode", kEnableMode).needed()}}},
    {"med-intf-transmit-tlv", HTTPD_GET, &kSettingRead,
     {open<rpcclt_openapiLldpMedIntfTransmitTlvGet>,
      {lldpQueryIfNumGet, outCustom(nullptr, ArgKind::IntPointer, showMedTransmitTlvs).made(kMedTlvModeParts)}}},
    custom("med-intf-transmit-tlv", HTTPD_PUT, medTransmitTlvsSet, kSettingWrite,
           "Sets or clears the LLDP-MED TLVs the body names; the others keep their setting",
           {lldpQueryIfNumGet, reads(kMedTlvBodyParts)}),
    custom("status", HTTPD_GET, statusGet, kPageRead, "The global LLDP timers that could be read",
           {outMembers(kStatusParts)}),
    custom("all-interface-status", HTTPD_GET, allInterfaceStatusGet, kPageRead,
           "The LLDP modes and optional TLVs of every physical interface",
           {kInterfaces}),
    custom("med-status", HTTPD_GET, medStatusGet, kPageRead, "The LLDP-MED fast start repeat count and device class",
           {outMembers(kMedStatusParts), kDeviceClassShown}),
    // Unlike the other settings, the interface comes from the request data,
    // may be absent (0 asks for the first), and failures are mapped.
    {"intf-next", HTTPD_GET, &kDeviceRead, {open<rpcclt_openapiLldpIntfNextGet>, {query("ifNum"), out("nextIfNum")}}},
};
static_assert(std::size(kSettingsRoutes) == 30);

}  // namespace

}  // namespace lldp

constinit const route::RouteGroup route_groups::kLldpSettings = route::routeGroup<lldp::kSettingsRoutes>(lldp::kDir);
