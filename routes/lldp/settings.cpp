// LLDP settings: the global timers, the interface modes and optional-TLV
// selections, LLDP-MED settings, and the status pages made of them.
#include "cgi/response.h"
#include "routes/engine/values.h"
#include "routes/families.h"
#include "routes/lldp/lldp.h"
#include "tools/common.h"

namespace lldp {

namespace {

using namespace route;

// The optional TLVs by name, looked up in any case, in the order every
// answer lists them. A name outside the table reads as 9, past the last type.
constexpr uint32_t kNoTlvType = 9;
constexpr Choice kTlvTypes[] = {
    {"system-description", 0}, {"system-name", 1}, {"system-capabilities", 2},
    {"port-description", 3},   {"management-address", 4}, {"port-vlan", 5},
    {"vlan-name", 6},          {"max-frame-size", 7},     {"link-aggregation", 8},
};
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
int32_t tlvTypeFromBody(const Bind &bind, Inputs &in, Slot &slot) {
  const cJSON *item = cJSON_GetObjectItem(in.body(), bind.key);
  if (!cJSON_IsString(item)) return RC_INVALID_ARGUMENT;
  slot.num = static_cast<uint64_t>(choiceValue(*bind.choices, item->valuestring));
  return slot.num >= kNoTlvType ? RC_INVALID_ARGUMENT : RC_SUCCESS;
}
constexpr Bind kTlvTypePart[] = {bodyChoice("tlv-type", lldpTlvTypeTable).needed().strictly()};
constexpr Bind kTlvTypeInBody =
    Bind{.from = From::Custom, .key = "tlv-type", .choices = &lldpTlvTypeTable, .read = tlvTypeFromBody}.made(
        kTlvTypePart);

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
void showMedTransmitTlvs(cJSON *data, const Bind &, const Slot &slot, const Slot *) {
  auto low = static_cast<uint8_t>(slot.num & 0xFF);
  for (const MedTlv &tlv : lldpMedTlvTable) {
    cJSON_AddStringToObject(data, tlv.key, (low & tlv.bit) != 0 ? "enable" : "disable");
  }
}

uint32_t interfaceOfQuery(Inputs &in) { return static_cast<uint32_t>(in.number(kQueryStringSigned, "ifNum")); }

// One member per optional TLV; a TLV whose read fails is left out.
void addTlvTransmitModes(cJSON *object, uint32_t ifNum) {
  for (const Choice &tlv : kTlvTypes) {
    uint32_t mode = 0;
    int rc = rpcclt_openapiLldpIntfTLVTransmitModeGet(&clientHandle, ifNum, static_cast<uint32_t>(tlv.value), &mode);
    if (rc == OPEN_E_NONE) cJSON_AddStringToObject(object, tlv.text, choiceText(kEnableMode, mode));
  }
}

Answer tlvTransmitModesGet(Inputs &in) {
  uint32_t ifNum = interfaceOfQuery(in);
  if (ifNum == 0) return answerOf(kLldp, RC_INVALID_ARGUMENT, nullptr, kSettingRead.refused);
  JsonPtr data(cJSON_CreateObject());
  addTlvTransmitModes(data.get(), ifNum);
  return answerOf(kLldp, RC_SUCCESS, data.get(), kSettingRead.succeeded);
}

// Read, modify, write: body members that are strings set or clear their
// bit; every other bit stays as read. Every outcome is written as a line.
Answer medTransmitTlvsSet(Inputs &in) {
  uint32_t ifNum = interfaceOfQuery(in);
  uint16_t mask = 0;
  int32_t code = ifNum == 0 ? RC_INVALID_ARGUMENT : RC_SUCCESS;
  if (code == RC_SUCCESS && rpcclt_openapiLldpMedIntfTransmitTlvGet(&clientHandle, ifNum, &mask) != OPEN_E_NONE) {
    code = RC_GENERAL_FAILED;
  }
  if (code == RC_SUCCESS && in.body() == nullptr) code = RC_INVALID_ARGUMENT;
  if (code == RC_SUCCESS) {
    for (const MedTlv &tlv : lldpMedTlvTable) {
      const cJSON *item = cJSON_GetObjectItem(in.body(), tlv.key);
      if (!cJSON_IsString(item)) continue;
      bool enable = choiceValue(kEnableMode, item->valuestring) == 1;
      mask = static_cast<uint16_t>(enable ? mask | tlv.bit : mask & ~tlv.bit);
    }
    if (rpcclt_openapiLldpMedIntfTransmitTlvSet(&clientHandle, ifNum, mask) != OPEN_E_NONE) code = RC_GENERAL_FAILED;
  }
  return answerOf(kLldp, code, nullptr, AnswerStyle::Line);
}

// Always a success, with the members whose reads succeeded.
Answer statusGet(Inputs &in) {
  JsonPtr data(cJSON_CreateObject());
  for (const Call *read : kStatusReads) runCallInto(*read, kLldp, in, data.get());
  return answerOf(kLldp, RC_SUCCESS, data.get(), AnswerStyle::Data);
}

// The switch always reports itself as a network connectivity device.
constexpr Choice kDeviceClassName[] = {{"Network Connectivity", 0}};
constexpr ChoiceTable kDeviceClass = choiceTable(kDeviceClassName, false, 0, "Network Connectivity");

Answer medStatusGet(Inputs &in) {
  JsonPtr data(cJSON_CreateObject());
  runCallInto(kFastStartRepeatCountGet, kLldp, in, data.get());
  cJSON_AddStringToObject(data.get(), "device-class", choiceText(kDeviceClass, 0));
  return answerOf(kLldp, RC_SUCCESS, data.get(), AnswerStyle::Data);
}

cJSON *interfaceStatus(Inputs &in, uint32_t ifNum) {
  cJSON *status = cJSON_CreateObject();
  if (status == nullptr) return nullptr;
  cJSON_AddNumberToObject(status, "interface", ifNum);
  in.pin("ifNum", ifNum);
  for (const Call *read : kInterfaceModeReads) runCallInto(*read, kLldp, in, status);
  cJSON *tlvs = cJSON_AddObjectToObject(status, "transmit-tlv");
  if (tlvs != nullptr) addTlvTransmitModes(tlvs, ifNum);
  return status;
}

// Every physical interface.
Answer allInterfaceStatusGet(Inputs &in) {
  JsonPtr data(cJSON_CreateObject());
  cJSON *interfaces = cJSON_CreateArray();
  if (interfaces != nullptr) {
    forEachPhysicalInterface(
        [&](uint32_t ifNum) { cJSON_AddItemToArray(interfaces, interfaceStatus(in, ifNum)); });
  }
  cJSON_AddItemToObject(data.get(), "interfaces", interfaces);
  return answerOf(kLldp, RC_SUCCESS, data.get(), AnswerStyle::Data);
}

constexpr const Call *kMedStatusReads[] = {&kFastStartRepeatCountGet};
constexpr auto kStatusParts = outputsOf<kStatusReads>();
constexpr auto kMedStatusParts = outputsOf<kMedStatusReads>();
constexpr auto kInterfaceModeParts = outputsOf<kInterfaceModeReads>();
constexpr Bind kInterfaceStatusParts[] = {out("interface"), outMembers(kInterfaceModeParts),
                                          outObject("transmit-tlv", kTlvModeParts)};

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
           {outList("interfaces", kInterfaceStatusParts)}),
    custom("med-status", HTTPD_GET, medStatusGet, kPageRead, "The LLDP-MED fast start repeat count and device class",
           {outMembers(kMedStatusParts), outChoice("device-class", kDeviceClass)}),
    // Unlike the other settings, the interface comes from the request data,
    // may be absent (0 asks for the first), and failures are mapped.
    {"intf-next", HTTPD_GET, &kDeviceRead, {open<rpcclt_openapiLldpIntfNextGet>, {query("ifNum"), out("nextIfNum")}}},
};
static_assert(std::size(kSettingsRoutes) == 30);

}  // namespace

}  // namespace lldp

constinit const route::RouteGroup route_groups::kLldpSettings = route::routeGroup<lldp::kSettingsRoutes>(lldp::kDir);
