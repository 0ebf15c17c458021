// LLDP routes: the quirks of their rows, the aggregated routes over scripted
// walks, then the simulated agent behind them.
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
};

// The quirks of the rows (every row's plain behaviour is the route check's,
// their words the word check's): the LLDP-MED mask's low byte, the
// capability bytes, an IPv6 management address.
TEST_F(LldpTest, MasksCapabilitiesAndAddressesShowTheirBytes) {
  expectRoutes(kLldp, "lldp", {
      // Only the low byte is shown: 0xff25.
      {"GET", "med-intf-transmit-tlv?ifNum=10", "", "openapiLldpMedIntfTransmitTlvGet", "[65317]", "[10]",
       R"({"capabilities":"enable","network-policy":"disable","location":"enable","extended-pse":"disable",)"
       R"("extended-pd":"disable","inventory":"enable"})",
       false},
      {"GET", "med-remote-capabilities" + kMed, "", "openapiLldpMedRemoteCapabilitiesGet", "[[[51,2]],[[51]]]",
       kKeysIn + "]", R"({"supportedCapabilities":[51,2],"enabledCapabilities":[51,0]})", false},
      {"GET", "intf-remote-device-mgmt-address-next" + kNbr, "", "openapiLldpIntfRemoteDeviceMgmtAddressNextGet",
       R"([2,"2001:db8::1",16])", kKeysIn + R"(,0,""])", R"({"addressFamily":2,"address":"2001:db8::1","addrLen":16})",
       false},
  });
}

TEST_F(LldpTest, SettingsWithoutAnInterfaceOrWithAnUnknownTlvAreRefusedBeforeOpen) {
  const struct {
    const char *method, *uri, *body;
  } cases[] = {
      {"GET", "intf-tlv-transmit-mode?ifNum=abc", ""},
      {"GET", "intf-receive-mode?ifNum=4294967296", ""},  // 0 as a 32-bit number
      {"PUT", "intf-receive-mode?intf=3", R"({"receive":"enable"})"},
      {"PUT", "med-intf-transmit-tlv", R"({"location":"enable"})"},
      {"PUT", "intf-tlv-transmit-mode?ifNum=3", R"({"tlv-type":"port-vlans","mode":"enable"})"},
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
