// LLDP routes: what reaches OpEN and how each answer is written, the
// aggregated routes over scripted walks, then the simulated agent behind them.
#include "tests/e2e/harness.h"

namespace {

const std::string kLldp = "/api/v2/monitoring/lldp";

// One neighbour, its keys spelt the three ways the routes read them.
const std::string kNbr = "?ifNum=12&remIndex=2&timeStamp=3544", kRem = "?ifNum=12&remIndex=2&timestamp=3544",
                  kMed = "?intf=12&remIndex=2&timeStamp=3544", kKeysIn = "[12,2,3544";

class LldpTest : public SwitchTest {
 protected:
  std::string get(const std::string &uri) { return call("GET", kLldp + "/" + uri).out; }
  std::string put(const std::string &uri, const std::string &body) { return call("PUT", kLldp + "/" + uri, body).out; }
  static std::string ok(const std::string &data) { return kJsonHeader + envelope(0, "Success", "lldp", data); }
  static std::string answer(int code, const char *message, bool newline) {
    return kJsonHeader + envelope(code, message) + (newline ? "\n" : "");
  }
  // Each case again, its operation failing once with -22: the family's failure answer.
  void expectFailures(const std::vector<RouteCase> &cases, int code, const char *message, bool newline) {
    for (const RouteCase &c : cases) {
      SCOPED_TRACE(std::string(c.method) + " " + c.uri);
      ctlOk({"fault", c.op, "-22", "1"});
      EXPECT_EQ(call(c.method, kLldp + "/" + c.uri, c.body).out, answer(code, message, newline));
    }
  }
};

// Settings: any failure is 10000, written like refusals with a newline.
const std::vector<RouteCase> kSettingRows = {
    {"GET", "tx-hold", "", "openapiLldpTxHoldGet", "[4]", "[]", R"({"hold":4})", false},
    {"PUT", "tx-hold", R"({"hold":5})", "openapiLldpTxHoldSet", "[]", "[5]", "", true},
    {"GET", "tx-interval", "", "openapiLldpTxIntervalGet", "[30]", "[]", R"({"interval":30})", false},
    {"PUT", "tx-interval", R"({"interval":60})", "openapiLldpTxIntervalSet", "[]", "[60]", "", true},
    {"GET", "tx-reinit-delay", "", "openapiLldpTxReinitDelayGet", "[2]", "[]", R"({"reinit":2})", false},
    {"PUT", "tx-reinit-delay", R"({"REINIT":3})", "openapiLldpTxReinitDelaySet", "[]", "[3]", "", true},
    {"GET", "notification-interval", "", "openapiLldpNotificationIntervalGet", "[5]", "[]",
     R"({"notification-interval":5})", false},
    {"PUT", "notification-interval", R"({"notification-interval":600})", "openapiLldpNotificationIntervalSet", "[]",
     "[600]", "", true},
    {"GET", "xmed-fast-start-repeat-count", "", "openapiLldpXMedFastStartRepeatCountGet", "[3]", "[]",
     R"({"faststartrepeatcount":3})", false},
    {"PUT", "xmed-fast-start-repeat-count", R"({"faststartrepeatcount":4})", "openapiLldpXMedFastStartRepeatCountSet",
     "[]", "[4]", "", true},
    {"GET", "intf-transmit-mode?ifNum=3", "", "openapiLldpIntfTransmitModeGet", "[1]", "[3]",
     R"({"transmit":"enable"})", false},
    {"PUT", "intf-transmit-mode?ifNum=3", R"({"transmit":"disable"})", "openapiLldpIntfTransmitModeSet", "[]", "[3,0]",
     "", true},
    {"GET", "intf-receive-mode?ifNum=4", "", "openapiLldpIntfReceiveModeGet", "[2]", "[4]", R"({"receive":"disable"})",
     false},
    {"PUT", "intf-receive-mode?ifNum=4", R"({"receive":"ENABLE"})", "openapiLldpIntfReceiveModeSet", "[]", "[4,1]", "",
     true},
    {"GET", "intf-notification-mode?ifNum=5", "", "openapiLldpIntfNotificationModeGet", "[0]", "[5]",
     R"({"notification":"disable"})", false},
    {"PUT", "intf-notification-mode?ifNum=5", R"({"notification":"on"})", "openapiLldpIntfNotificationModeSet", "[]",
     "[5,0]", "", true},
    {"GET", "intf-tx-mgmt-addr-mode?ifNum=6", "", "openapiLldpIntfTxMgmtAddrModeGet", "[1]", "[6]",
     R"({"transmit-mgmt":"enable"})", false},
    {"PUT", "intf-tx-mgmt-addr-mode?ifNum=6", R"({"transmit-mgmt":"Enable"})", "openapiLldpIntfTxMgmtAddrModeSet", "[]",
     "[6,1]", "", true},
    {"GET", "med-intf-mode?ifNum=7", "", "openapiLldpMedIntfModeGet", "[1]", "[7]", R"({"med-mode":"enable"})", false},
    {"PUT", "med-intf-mode?ifNum=7", R"({"med-mode":"disable"})", "openapiLldpMedIntfModeSet", "[]", "[7,0]", "", true},
    {"GET", "med-intf-config-notification-mode?ifNum=8", "", "openapiLldpMedIntfConfigNotificationModeGet", "[1]",
     "[8]", R"({"confignotification":"enable"})", false},
    {"PUT", "med-intf-config-notification-mode?ifNum=8", R"({"confignotification":"enable"})",
     "openapiLldpMedIntfConfigNotificationModeSet", "[]", "[8,1]", "", true},
    {"PUT", "intf-tlv-transmit-mode?ifNum=9", R"({"tlv-type":"Port-VLAN","mode":"enable"})",
     "openapiLldpIntfTLVTransmitModeSet", "[]", "[9,5,1]", "", true},
    // Only the low byte is shown: 0xff25.
    {"GET", "med-intf-transmit-tlv?ifNum=10", "", "openapiLldpMedIntfTransmitTlvGet", "[65317]", "[10]",
     R"({"capabilities":"enable","network-policy":"disable","location":"enable","extended-pse":"disable",)"
     R"("extended-pd":"disable","inventory":"enable"})",
     false},
};

// Neighbour and local-device routes, and intf-next: failures mapped and written without a newline.
const std::vector<RouteCase> kDeviceRows = {
    {"GET", "intf-next", "", "openapiLldpIntfNextGet", "[1]", "[0]", R"({"nextIfNum":1})", false},
    {"GET", "remote-intf-first", "", "openapiLldpRemoteIntfFirstGet", "[5]", "[]", R"({"ifNum":5})", false},
    {"GET", "remote-intf-next?ifNum=5", "", "openapiLldpRemoteIntfNextGet", "[9]", "[5]", R"({"nextIfNum":9})", false},
    {"GET", "intf-remote-device-next?ifNum=12&remIndex=1&timeStamp=7", "", "openapiLldpIntfRemoteDeviceNextGet",
     "[2,3544]", "[12,1,7]", R"({"remIndex":2,"timeStamp":3544})", false},
    {"GET", "intf-remote-device-entry-next" + kNbr, "", "openapiLldpIntfRemoteDeviceEntryNextGet",
     R"([2,"2001:db8::1",16,2,10])", kKeysIn + R"(,0,""])",
     R"({"addressFamily":2,"address":"2001:db8::1","addrLen":16,"subType":2,"intfId":10})", false},
    {"GET", "mgmt-str-len", "", "openapiLldpMgmtStrLenGet", "[256]", "[]", R"({"strLen":256})", false},
    {"GET", "intf-remote-device-chassis-id" + kNbr, "", "openapiLldpIntfRemoteDeviceChassisIdGet",
     R"([4,"00:1E:C9:A2:44:10"])", kKeysIn + "]", R"({"chassisIdSubtype":4,"chassisId":"00:1E:C9:A2:44:10"})", false},
    {"GET", "intf-remote-device-port-id" + kNbr, "", "openapiLldpIntfRemoteDevicePortIdGet", R"([5,"1/0/48"])",
     kKeysIn + "]", R"({"portIdSubtype":5,"portId":"1/0/48"})", false},
    {"GET", "intf-remote-device-system-name" + kNbr, "", "openapiLldpIntfRemoteDeviceSystemNameGet", R"(["sw2"])",
     kKeysIn + "]", R"({"systemName":"sw2"})", false},
    {"GET", "intf-remote-device-system-desc" + kNbr, "", "openapiLldpIntfRemoteDeviceSystemDescGet", R"(["L2"])",
     kKeysIn + "]", R"({"systemDesc":"L2"})", false},
    {"GET", "intf-remote-device-port-desc" + kNbr, "", "openapiLldpIntfRemoteDevicePortDescGet", R"(["up"])",
     kKeysIn + "]", R"({"portDesc":"up"})", false},
    {"GET", "intf-remote-device-sys-cap-supp" + kNbr, "", "openapiLldpIntfRemoteDeviceSysCapSuppGet",
     R"(["bridge, router"])", kKeysIn + "]", R"({"sysCapSupp":"bridge, router"})", false},
    {"GET", "intf-remote-device-sys-cap-enabled" + kNbr, "", "openapiLldpIntfRemoteDeviceSysCapEnabledGet",
     R"(["bridge"])", kKeysIn + "]", R"({"sysCapEnabled":"bridge"})", false},
    {"GET", "intf-remote-device-mgmt-address-next" + kNbr, "", "openapiLldpIntfRemoteDeviceMgmtAddressNextGet",
     R"([1,"10.0.0.2",4])", kKeysIn + R"(,0,""])", R"({"addressFamily":1,"address":"10.0.0.2","addrLen":4})", false},
    {"GET", "intf-remote-device-ttl" + kNbr, "", "openapiLldpIntfRemoteDeviceTTLGet", "[120]", kKeysIn + "]",
     R"({"ttl":120})", false},
    {"GET", "intf-remote-device-port-vlan" + kNbr, "", "openapiLldpIntfRemoteDevicePortVlanGet", "[1]", kKeysIn + "]",
     R"({"portVlan":1})", false},
    {"GET", "remote-device-vlan-info-index" + kNbr + "&infoIndex=1", "", "openapiLldpRemoteDeviceVlanInfoIndexGet",
     "[2]", kKeysIn + ",1]", R"({"nextInfoIndex":2})", false},
    {"GET", "intf-remote-device-vlan-id-and-name" + kNbr + "&infoIndex=2", "",
     "openapiLldpIntfRemoteDeviceVlanIdAndNameGet", R"([10,"users"])", kKeysIn + ",2]",
     R"({"vlan":10,"vlanName":"users"})", false},
    {"GET", "intf-remote-device-max-frame-size" + kNbr, "", "openapiLldpIntfRemoteDeviceMaxFrameSizeGet", "[1518]",
     kKeysIn + "]", R"({"maxFrameSize":1518})", false},
    {"GET", "intf-remote-port-link-aggregation-info" + kNbr, "", "openapiLldpIntfRemotePortLinkAggregationInfoGet",
     "[1,1,7]", kKeysIn + "]", R"({"aggregationCapable":1,"aggregationMember":1,"aggregationId":7})", false},
    {"GET", "rem-org-def-oui" + kRem + "&infoIndex=0", "", "openapiLldpRemOrgDefOUIGet", R"(["00:1E:C9"])",
     kKeysIn + ",0]", R"({"oui":"00:1E:C9"})", false},
    {"GET", "rem-org-def-subtype" + kRem + "&infoIndex=1", "", "openapiLldpRemOrgDefSubtypeGet", "[2]",
     kKeysIn + ",1]", R"({"subtype":2})", false},
    {"GET", "rem-unknown-tlv-entry-next" + kRem + "&tlvType=0", "", "openapiLldpRemUnknownTLVEntryNextGet", "[24]",
     kKeysIn + ",0]", R"({"nextTlvType":24})", false},
    {"POST", "rem-unknown-tlv-entry-is-exists", R"({"ifNum":12,"remIndex":2,"timestamp":3544,"tlvType":24})",
     "openapiLldpRemUnknownTLVEntryIsExists", "[1]", kKeysIn + ",24]", R"({"isExists":1})", false},
    {"GET", "rem-unknown-tlv-info" + kRem + "&tlvType=24", "", "openapiLldpRemUnknownTLVInfoGet", R"(["0102a0"])",
     kKeysIn + ",24]", R"({"info":"0102a0"})", false},
    {"GET", "chassis-id-subtype-string?subtype=4", "", "openapiLldpChassisIdSubtypeStringGet", R"(["MAC Address"])",
     "[4]", R"({"subtypeStr":"MAC Address"})", false},
    {"GET", "port-id-subtype-string?subtype=5", "", "openapiLldpPortIdSubtypeStringGet", R"(["Interface Name"])", "[5]",
     R"({"subtypeStr":"Interface Name"})", false},
    {"GET", "lldpdot3-rem-port-auto-neg-supported" + kRem, "", "openapiLldpdot3RemPortAutoNegSupportedGet", "[1]",
     kKeysIn + "]", R"({"isCapable":1})", false},
    {"GET", "lldpdot3-rem-port-auto-neg-enabled" + kRem, "", "openapiLldpdot3RemPortAutoNegEnabledGet", "[1]",
     kKeysIn + "]", R"({"isEnabled":1})", false},
    {"GET", "lldpdot3-rem-port-auto-neg-advertized-cap" + kRem, "", "openapiLldpdot3RemPortAutoNegAdvertizedCapGet",
     R"(["6c01"])", kKeysIn + "]", R"({"advrtCap":"6c01"})", false},
    {"GET", "lldpdot3-rem-port-auto-neg-oper-mau-type" + kRem, "", "openapiLldpdot3RemPortAutoNegOperMauTypeGet",
     "[30]", kKeysIn + "]", R"({"type":30})", false},
    {"GET", "lldpdot3-rem-port-auto-neg-oper-mau-string?mauType=30", "",
     "openapiLldpdot3RemPortAutoNegOperMauStringGet", R"(["1000BaseTFD"])", "[30]", R"({"mauString":"1000BaseTFD"})",
     false},
    {"GET", "med-remote-capabilities" + kMed, "", "openapiLldpMedRemoteCapabilitiesGet", "[[[51,2]],[[51]]]",
     kKeysIn + "]", R"({"supportedCapabilities":[51,2],"enabledCapabilities":[51,0]})", false},
    {"GET", "med-remote-device-class" + kMed, "", "openapiLldpMedRemoteDeviceClassGet", "[3]", kKeysIn + "]",
     R"({"deviceClass":3})", false},
    {"GET", "med-remote-model-name-size", "", "openapiLldpMedRemoteModelNameSizeGet", "[32]", "[]", R"({"size":32})",
     false},
    {"GET", "med-remote-model-name" + kMed, "", "openapiLldpMedRemoteModelNameGet", R"(["VVX 450"])", kKeysIn + "]",
     R"({"modelName":"VVX 450"})", false},
    {"GET", "med-rem-hardware-rev" + kRem, "", "openapiLldpMedRemHardwareRevGet", R"(["A"])", kKeysIn + "]",
     R"({"hardwareRev":"A"})", false},
    {"GET", "med-rem-firmware-rev" + kRem, "", "openapiLldpMedRemFirmwareRevGet", R"(["B"])", kKeysIn + "]",
     R"({"firmwareRev":"B"})", false},
    {"GET", "med-rem-software-rev" + kRem, "", "openapiLldpMedRemSoftwareRevGet", R"(["C"])", kKeysIn + "]",
     R"({"softwareRev":"C"})", false},
    {"GET", "med-rem-serial-num" + kRem, "", "openapiLldpMedRemSerialNumGet", R"(["D"])", kKeysIn + "]",
     R"({"serialNum":"D"})", false},
    {"GET", "med-rem-asset-id" + kRem, "", "openapiLldpMedRemAssetIdGet", R"(["E"])", kKeysIn + "]",
     R"({"assetId":"E"})", false},
    {"GET", "med-rem-mfg-name" + kRem, "", "openapiLldpMedRemMfgNameGet", R"(["F"])", kKeysIn + "]",
     R"({"mfgName":"F"})", false},
    {"GET", "med-rem-model-name" + kRem, "", "openapiLldpMedRemModelNameGet", R"(["G"])", kKeysIn + "]",
     R"({"modelName":"G"})", false},
    {"GET", "med-rem-poe-device-type" + kRem, "", "openapiLldpMedRemPoeDeviceTypeGet", "[3]", kKeysIn + "]",
     R"({"deviceType":3})", false},
    {"GET", "med-rem-poe-pse-power-av" + kRem, "", "openapiLldpMedRemPoePSEPowerAvGet", "[300]", kKeysIn + "]",
     R"({"powerAv":300})", false},
    {"GET", "med-rem-poe-pse-power-src" + kRem, "", "openapiLldpMedRemPoePSEPowerSrcGet", "[2]", kKeysIn + "]",
     R"({"powerSrcType":2})", false},
    {"GET", "med-rem-poe-pse-power-pri" + kRem, "", "openapiLldpMedRemPoePSEPowerPriGet", "[4]", kKeysIn + "]",
     R"({"powerPri":4})", false},
    {"GET", "med-rem-poe-pd-power-req" + kRem, "", "openapiLldpMedRemPoePDPowerReqGet", "[65]", kKeysIn + "]",
     R"({"powerReq":65})", false},
    {"GET", "med-rem-poe-pd-power-src" + kRem, "", "openapiLldpMedRemPoePDPowerSrcGet", "[2]", kKeysIn + "]",
     R"({"powerSrc":2})", false},
    {"GET", "med-rem-poe-pd-power-pri" + kRem, "", "openapiLldpMedRemPoePDPowerPriGet", "[3]", kKeysIn + "]",
     R"({"powerPri":3})", false},
    {"GET", "med-rem-location-info" + kRem + "&subType=3", "", "openapiLldpMedRemLocationInfoGet", R"(["4085550157"])",
     kKeysIn + ",3]", R"({"locInfo":"4085550157"})", false},
    {"GET", "med-rem-media-policy-vlan-id" + kRem + "&policyAppType=1", "", "openapiLldpMedRemMediaPolicyVlanIdGet",
     "[20]", kKeysIn + ",1]", R"({"vlanId":20})", false},
    {"GET", "med-rem-media-policy-priority" + kRem + "&policyAppType=1", "", "openapiLldpMedRemMediaPolicyPriorityGet",
     "[5]", kKeysIn + ",1]", R"({"priority":5})", false},
    {"GET", "med-rem-media-policy-dscp" + kRem + "&policyAppType=1", "", "openapiLldpMedRemMediaPolicyDscpGet", "[46]",
     kKeysIn + ",1]", R"({"dscp":46})", false},
    {"GET", "med-rem-media-policy-unknown" + kRem + "&policyAppType=2", "", "openapiLldpMedRemMediaPolicyUnknownGet",
     "[0]", kKeysIn + ",2]", R"({"unknown":0})", false},
    {"GET", "med-rem-media-policy-tagged" + kRem + "&policyAppType=2", "", "openapiLldpMedRemMediaPolicyTaggedGet",
     "[1]", kKeysIn + ",2]", R"({"tagged":1})", false},
    {"GET", "intf-local-device-chassis-id?ifNum=3", "", "openapiLldpIntfLocalDeviceChassisIdGet",
     R"([4,"00:11:22:5A:3B:C0"])", "[3]", R"({"chassisIdSubtype":4,"chassisId":"00:11:22:5A:3B:C0"})", false},
    {"GET", "intf-local-device-port-id?ifNum=3", "", "openapiLldpIntfLocalDevicePortIdGet", R"([5,"1/0/3"])", "[3]",
     R"({"portIdSubtype":5,"portId":"1/0/3"})", false},
    {"GET", "intf-local-device-port-desc?ifNum=3", "", "openapiLldpIntfLocalDevicePortDescGet", R"(["p3"])", "[3]",
     R"({"portDesc":"p3"})", false},
    {"GET", "intf-local-device-system-name?ifNum=3", "", "openapiLldpIntfLocalDeviceSystemNameGet", R"(["sw"])", "[3]",
     R"({"systemName":"sw"})", false},
    {"GET", "intf-local-device-system-desc?ifNum=3", "", "openapiLldpIntfLocalDeviceSystemDescGet", R"(["L2+"])",
     "[3]", R"({"systemDesc":"L2+"})", false},
    {"GET", "intf-local-device-sys-cap-supp?ifNum=3", "", "openapiLldpIntfLocalDeviceSysCapSuppGet",
     R"(["bridge, router"])", "[3]", R"({"sysCapSupp":"bridge, router"})", false},
    {"GET", "intf-local-device-sys-cap-enabled?ifNum=3", "", "openapiLldpIntfLocalDeviceSysCapEnabledGet",
     R"(["bridge"])", "[3]", R"({"sysCapEnabled":"bridge"})", false},
    {"GET", "intf-local-device-mgmt-address?ifNum=3", "", "openapiLldpIntfLocalDeviceMgmtAddressGet",
     R"([1,"192.168.0.239"])", "[3]", R"({"addressFamily":1,"address":"192.168.0.239"})", false},
    {"GET", "intf-local-device-port-vlan?ifNum=3", "", "openapiLldpIntfLocalDevicePortVlanGet", "[1]", "[3]",
     R"({"portVlan":1})", false},
    {"GET", "intf-local-device-vlan?ifNum=3", "", "openapiLldpIntfLocalDeviceVlanGet", "[[2,[1,10,20]]]", "[3]",
     R"({"numEntries":2,"ids":[1,10]})", false},
    {"GET", "intf-local-device-vlan-name?ifNum=3&vlanId=10", "", "openapiLldpIntfLocalDeviceVlanNameGet",
     R"(["VLAN0010"])", "[3,10]", R"({"vlanName":"VLAN0010"})", false},
    {"GET", "intf-local-device-max-frame-size?ifNum=3", "", "openapiLldpIntfLocalDeviceMaxFrameSizeGet", "[1518]",
     "[3]", R"({"maxFrameSize":1518})", false},
    {"GET", "intf-local-port-link-aggregation-info?ifNum=3", "", "openapiLldpIntfLocalPortLinkAggregationInfoGet",
     "[1,0,0]", "[3]", R"({"aggregationCapable":1,"aggregationMember":0,"aggregationId":0})", false},
    {"GET", "lldpdot3-loc-port-auto-neg-supported?ifNum=3", "", "openapiLldpdot3LocPortAutoNegSupportedGet", "[1]",
     "[3]", R"({"isCapable":1})", false},
    {"GET", "lldpdot3-loc-port-auto-neg-enabled?ifNum=3", "", "openapiLldpdot3LocPortAutoNegEnabledGet", "[0]", "[3]",
     R"({"isEnabled":0})", false},
    {"GET", "lldpdot3-loc-port-auto-neg-advertized-cap?ifNum=3", "", "openapiLldpdot3LocPortAutoNegAdvertizedCapGet",
     R"(["6c01"])", "[3]", R"({"advrtCap":"6c01"})", false},
    {"GET", "lldpdot3-loc-port-auto-neg-oper-mau-type?ifNum=3", "", "openapiLldpdot3LocPortAutoNegOperMauTypeGet",
     "[30]", "[3]", R"({"type":30})", false},
    {"GET", "xmed-loc-media-policy-vlan-id?ifNum=3&policyAppType=1", "", "openapiLldpXMedLocMediaPolicyVlanIDGet",
     "[20]", "[3,1]", R"({"vlanId":20})", false},
    {"GET", "xmed-loc-media-policy-tagged?ifNum=3&policyAppType=1", "", "openapiLldpXMedLocMediaPolicyTaggedGet", "[1]",
     "[3,1]", R"({"taggedStatus":1})", false},
    {"GET", "xmed-loc-media-policy-priority?ifNum=3&policyAppType=1", "", "openapiLldpXMedLocMediaPolicyPriorityGet",
     "[5]", "[3,1]", R"({"priority":5})", false},
    {"GET", "xmed-loc-media-policy-dscp?ifNum=3", "", "openapiLldpXMedLocMediaPolicyDscpGet", "[46]", "[3,0]",
     R"({"dscp":46})", false},
    {"GET", "med-loc-device-class", "", "openapiLldpMedLocDeviceClassGet", "[4]", "[]", R"({"deviceClass":4})", false},
};

TEST_F(LldpTest, SettingRowsCallTheirOperationAndAnswerAnyFailureWith10000) {
  expectRoutes(kLldp, "lldp", kSettingRows);
  expectFailures(kSettingRows, 10000, "General Failed", true);
}

TEST_F(LldpTest, DeviceRowsCallTheirOperationAndMapFailuresWithoutANewline) {
  expectRoutes(kLldp, "lldp", kDeviceRows);
  expectFailures(kDeviceRows, 10003, "Invalid argument", false);
}

TEST_F(LldpTest, SettingsWithoutAnInterfaceOrWithABadBodyAreRefusedBeforeOpen) {
  const struct {
    const char *method, *uri, *body;
  } cases[] = {
      {"GET", "intf-transmit-mode", ""},
      {"GET", "med-intf-config-notification-mode?ifNum=0", ""},
      {"GET", "intf-tlv-transmit-mode?ifNum=abc", ""},
      {"GET", "intf-receive-mode?ifNum=4294967296", ""},  // 0 as a 32-bit number
      {"PUT", "intf-receive-mode?intf=3", R"({"receive":"enable"})"},
      {"PUT", "med-intf-transmit-tlv", R"({"location":"enable"})"},
      {"PUT", "tx-hold", R"({"hold":"4"})"},
      {"PUT", "tx-interval", R"({"interval":30} x)"},
      {"PUT", "intf-transmit-mode?ifNum=3", R"({"transmit":1})"},
      {"PUT", "intf-tlv-transmit-mode?ifNum=3", R"({"tlv-type":"port-vlans","mode":"enable"})"},
      {"PUT", "intf-tlv-transmit-mode?ifNum=3", R"({"tlv-type":"port-vlan"})"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.uri);
    ctlOk({"calls", "clear"});
    EXPECT_EQ(call(c.method, kLldp + "/" + c.uri, c.body).out, answer(10003, "Invalid argument", true));
    for (const std::string &line : calls()) EXPECT_EQ(line.find("openapiLldp"), std::string::npos) << line;
  }
}

TEST_F(LldpTest, StatusPagesAndTheTlvReadAlwaysSucceedWithWhatCouldBeRead) {
  ctlOk({"fault", "openapiLldpTxHoldGet", "-1", "1"});
  EXPECT_EQ(get("status"), ok(R"({"interval":30,"reinit":2,"notification-interval":5})"));
  ctlOk({"fault", "openapiLldpXMedFastStartRepeatCountGet", "-1", "1"});
  EXPECT_EQ(get("med-status"), ok(R"({"device-class":"Network Connectivity"})"));
  ctlOk({"fault", "openapiLldpIntfTLVTransmitModeGet", "-1", "8"});
  EXPECT_EQ(get("intf-tlv-transmit-mode?ifNum=3"), ok(R"({"link-aggregation":"enable"})"));
  ctlOk({"fault", "openapiLldpIntfTLVTransmitModeGet", "-28"});
  EXPECT_EQ(get("intf-tlv-transmit-mode?ifNum=3"), ok("{}"));
}

const std::string kTlvsFromPortDescription =
    R"("port-description":"enable","management-address":"enable","port-vlan":"enable","vlan-name":"disable",)"
    R"("max-frame-size":"enable","link-aggregation":"enable"})";

TEST_F(LldpTest, AllInterfaceStatusWalksPhysicalPortsAndLeavesOutFailedReads) {
  ctlOk({"stub", "openapiIfFirstGet", R"({"rc":0,"out":[27]})", "1"});
  ctlOk({"fault", "openapiLldpIntfReceiveModeGet", "-1", "1"});
  ctlOk({"fault", "openapiLldpIntfTLVTransmitModeGet", "-1", "2"});
  EXPECT_EQ(get("all-interface-status"),
            ok(R"({"interfaces":[{"interface":27,"transmit":"enable","notification":"disable",)"
               R"("transmit-mgmt":"enable","transmit-tlv":{"system-capabilities":"enable",)" +
               kTlvsFromPortDescription +
               R"(},{"interface":28,"transmit":"enable","receive":"enable","notification":"disable",)"
               R"("transmit-mgmt":"enable","transmit-tlv":{"system-description":"enable","system-name":"enable",)"
               R"("system-capabilities":"enable",)" +
               kTlvsFromPortDescription + "}]}"));
  EXPECT_EQ(callsOf("openapiIfNextGet").size(), 2u);
}

TEST_F(LldpTest, AggregatedRoutesAnswerEmptyWhenThereIsNoFirstInterface) {
  ctlOk({"fault", "openapiIfFirstGet", "-29"});
  ctlOk({"fault", "openapiLldpRemoteIntfFirstGet", "-29"});
  EXPECT_EQ(get("all-interface-status"), ok(R"({"interfaces":[]})"));
  EXPECT_EQ(get("local-device"), ok(R"({"local-devices":[]})"));
  EXPECT_EQ(get("remote-device"), ok(R"({"remote-devices":[]})"));
  std::string log = readFile("/tmp/zr301.log");
  EXPECT_NE(log.find("[swapiIfFirstGet:"), std::string::npos) << log;
  EXPECT_NE(log.find("] Bad return code trying to get first physical interface. result = -29\r\n"), std::string::npos);
}

TEST_F(LldpTest, RemoteDeviceWalksNeighboursWithEmptyTextsAndNullsForFailedFields) {
  ctlOk({"stub", "openapiLldpRemoteIntfFirstGet", R"({"rc":0,"out":[12]})", "1"});
  ctlOk({"fault", "openapiLldpIntfRemoteDeviceSystemNameGet", "-1", "1"});
  ctlOk({"fault", "openapiLldpRemOrgDefOUIGet", "-1", "1"});
  EXPECT_EQ(get("remote-device"),
            ok(R"({"remote-devices":[{"interface":12,"chassis-id":"00:1E:C9:A2:44:10","port-id":"1/0/48",)"
               R"("system-name":"","org-def-oui":null,"org-def-subtype":1},{"interface":25,)"
               R"("chassis-id":"00:25:90:7C:1E:00","port-id":"Te1/0/1","system-name":"dist-sw1",)"
               R"("org-def-oui":null,"org-def-subtype":null}]})"));
  EXPECT_EQ(callsOf("openapiLldpMgmtStrLenGet").size(), 1u);
}

TEST_F(LldpTest, LocalDeviceGivesAnEmptyDescriptionWhenItsReadFails) {
  ctlOk({"stub", "openapiIfFirstGet", R"({"rc":0,"out":[27]})", "1"});
  ctlOk({"fault", "openapiLldpIntfLocalDevicePortDescGet", "-1", "1"});
  EXPECT_EQ(get("local-device"), ok(R"({"local-devices":[{"interface":27,"port-id":"1/0/27","port-description":""},)"
                                    R"({"interface":28,"port-id":"1/0/28",)"
                                    R"("port-description":"Unit: 1 Slot: 0 Port: 28 10G - Level"}]})"));
}

TEST_F(LldpTest, TextsAreBoundByTheClampedStringLengthAndVlanIdsByTheList) {
  const std::string longId(300, 'x');
  for (const char *length : {"0", "1000"}) {
    SCOPED_TRACE(length);
    ctlOk({"stub", "openapiLldpMgmtStrLenGet", std::string(R"({"rc":0,"out":[)") + length + "]}", "1"});
    ctlOk({"stub", "openapiLldpIntfRemoteDeviceChassisIdGet", R"({"rc":0,"out":[7,")" + longId + R"("]})", "1"});
    EXPECT_EQ(get("intf-remote-device-chassis-id" + kNbr),
              ok(R"({"chassisIdSubtype":7,"chassisId":")" + std::string(256, 'x') + R"("})"));
  }
  // A length under the text's refuses it on the switch's side.
  ctlOk({"stub", "openapiLldpMgmtStrLenGet", R"({"rc":0,"out":[5]})", "1"});
  EXPECT_EQ(get("intf-remote-device-chassis-id" + kNbr), answer(10003, "Invalid argument", false));
  ctlOk({"stub", "openapiLldpIntfLocalDeviceVlanGet", R"({"rc":0,"out":[[4294967295,[7,9]]]})", "1"});
  std::string ids = "7,9";
  for (int i = 2; i < 4096; ++i) ids += ",0";
  EXPECT_EQ(get("intf-local-device-vlan?ifNum=3"), ok(R"({"numEntries":-1,"ids":[)" + ids + "]}"));
}

// The simulated agent.
TEST_F(LldpTest, SettingsRoundTripWithinTheirRangesOnPhysicalPortsOnly) {
  EXPECT_EQ(put("tx-interval", R"({"interval":5})"), answer(0, "Success", true));
  EXPECT_EQ(put("tx-hold", R"({"hold":11})"), answer(10000, "General Failed", true));
  EXPECT_EQ(put("notification-interval", R"({"notification-interval":3600})"), answer(0, "Success", true));
  EXPECT_EQ(get("status"), ok(R"({"interval":5,"hold":4,"reinit":2,"notification-interval":3600})"));
  EXPECT_EQ(put("intf-tlv-transmit-mode?ifNum=3", R"({"tlv-type":"SYSTEM-NAME","mode":"off"})"),
            answer(0, "Success", true));
  EXPECT_EQ(get("intf-tlv-transmit-mode?ifNum=3"),
            ok(R"({"system-description":"enable","system-name":"disable","system-capabilities":"enable",)" +
               kTlvsFromPortDescription));
  EXPECT_EQ(put("med-intf-transmit-tlv?ifNum=3", R"({"inventory":"Enable","location":"enable","capabilities":0})"),
            answer(0, "Success", true));
  EXPECT_EQ(put("med-intf-transmit-tlv?ifNum=3", R"({"location":"disable"})"), answer(0, "Success", true));
  EXPECT_EQ(get("med-intf-transmit-tlv?ifNum=3"),
            ok(R"({"capabilities":"enable","network-policy":"enable","location":"disable","extended-pse":"disable",)"
               R"("extended-pd":"disable","inventory":"enable"})"));
  // The mask is read before the body: a failed read wins over a bad body.
  ctlOk({"fault", "openapiLldpMedIntfTransmitTlvGet", "-1", "1"});
  EXPECT_EQ(put("med-intf-transmit-tlv?ifNum=3", "x"), answer(10000, "General Failed", true));
  EXPECT_EQ(get("intf-transmit-mode?ifNum=29"), answer(10000, "General Failed", true));
  EXPECT_EQ(get("intf-local-device-port-id?ifNum=29"), answer(17002, "Unsupported Feature", false));
  EXPECT_EQ(get("intf-local-device-port-id?ifNum=37"), answer(10003, "Invalid argument", false));
}

TEST_F(LldpTest, TheAgentAnswersForItsNeighboursAndRefusesAsASwitchWould) {
  const std::string phone = "?intf=5&remIndex=4&timeStamp=5128807", phoneRem = "?ifNum=5&remIndex=4&timestamp=5128807";
  const std::string notFound = answer(10023, "Request api not found", false), bad = answer(10003, "Invalid argument", false);
  const struct {
    std::string uri, expected;
  } cases[] = {
      {"med-remote-capabilities" + phone, ok(R"({"supportedCapabilities":[51,0],"enabledCapabilities":[51,0]})")},
      {"med-rem-poe-pd-power-req" + phoneRem, ok(R"({"powerReq":65})")},
      {"med-rem-media-policy-dscp" + phoneRem + "&policyAppType=1", ok(R"({"dscp":46})")},
      {"med-rem-poe-pse-power-av" + phoneRem, notFound},  // a powered device sends no PSE data
      {"med-rem-location-info" + phoneRem + "&subType=1", notFound},
      {"med-rem-location-info" + phoneRem + "&subType=4", bad},
      {"med-remote-device-class" + kMed, notFound},  // the access switch sends no LLDP-MED
      {"intf-remote-device-chassis-id?ifNum=29", answer(17002, "Unsupported Feature", false)},
      {"chassis-id-subtype-string?subtype=8", bad},
      {"lldpdot3-rem-port-auto-neg-oper-mau-string?mauType=36", ok(R"({"mauString":"10GigBaseSR"})")},
      {"intf-local-device-vlan-name?ifNum=3&vlanId=30", notFound},
      {"xmed-loc-media-policy-vlan-id?ifNum=3&policyAppType=3", notFound},
      {"xmed-loc-media-policy-vlan-id?ifNum=3&policyAppType=9", bad},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.uri);
    EXPECT_EQ(get(c.uri), c.expected);
  }
  EXPECT_EQ(get("remote-device"),
            ok(R"({"remote-devices":[{"interface":5,"chassis-id":"192.168.20.57","port-id":"00:04:F2:8C:1A:3E",)"
               R"("system-name":"phone-4117","org-def-oui":null,"org-def-subtype":null},{"interface":9,)"
               R"("chassis-id":"3C:EC:EF:1A:27:5E","port-id":"3C:EC:EF:1A:27:5F","system-name":"db01.example.net",)"
               R"("org-def-oui":null,"org-def-subtype":null},{"interface":12,"chassis-id":"00:1E:C9:A2:44:10",)"
               R"("port-id":"1/0/48","system-name":"access-sw2","org-def-oui":"00:1E:C9","org-def-subtype":1},)"
               R"({"interface":25,"chassis-id":"00:25:90:7C:1E:00","port-id":"Te1/0/1","system-name":"dist-sw1",)"
               R"("org-def-oui":null,"org-def-subtype":null}]})"));
}

TEST_F(LldpTest, NeighbourTablesAreWalkedToTheirEndAndFollowTheReceiveMode) {
  EXPECT_EQ(get("remote-intf-first"), ok(R"({"ifNum":5})"));
  EXPECT_EQ(get("remote-intf-next?ifNum=12"), ok(R"({"nextIfNum":25})"));
  EXPECT_EQ(get("remote-intf-next?ifNum=25"), answer(10023, "Request api not found", false));
  EXPECT_EQ(get("intf-remote-device-next?ifNum=12"), ok(R"({"remIndex":2,"timeStamp":3544})"));
  EXPECT_EQ(get("intf-remote-device-next" + kNbr), answer(10023, "Request api not found", false));
  EXPECT_EQ(get("remote-device-vlan-info-index" + kNbr + "&infoIndex=2"), ok(R"({"nextInfoIndex":3})"));
  EXPECT_EQ(get("remote-device-vlan-info-index" + kNbr + "&infoIndex=3"), answer(10023, "Request api not found", false));
  EXPECT_EQ(get("rem-unknown-tlv-entry-next" + kRem + "&tlvType=24"), ok(R"({"nextTlvType":100})"));
  EXPECT_EQ(get("rem-unknown-tlv-entry-next" + kRem + "&tlvType=100"), answer(10023, "Request api not found", false));
  // Only the lower-case key counts: the time stamp is 0 and names no neighbour.
  EXPECT_EQ(get("med-rem-serial-num?ifNum=5&remIndex=4&timeStamp=5128807"),
            answer(10023, "Request api not found", false));
  EXPECT_EQ(get("med-rem-serial-num?ifNum=5&remIndex=4&timestamp=5128807"), ok(R"({"serialNum":"0004F28C1A3E"})"));
  EXPECT_EQ(put("intf-receive-mode?ifNum=5", R"({"receive":"disable"})"), answer(0, "Success", true));
  EXPECT_EQ(get("remote-intf-first"), ok(R"({"ifNum":9})"));
}

}  // namespace
