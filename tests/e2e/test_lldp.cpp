// LLDP routes: the layouts of their rows, the aggregated routes, the simulated agent.
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
  static std::string ok(const std::string &data) { return reply(0, "Success", "lldp", data); }
  static std::string answer(int code, const char *message, bool newline) {
    return reply(code, message) + (newline ? "\n" : "");
  }
};

// The LLDP-MED mask's low byte, the capability bytes, an IPv6 management address.
TEST_F(LldpTest, MasksCapabilitiesAndAddressesShowTheirBytes) {
  expectRoutes(kLldp, "lldp", {
      // Only the low byte is shown: 0xff25.
      {"GET", "med-intf-transmit-tlv?ifNum=10", "", "openapiLldpMedIntfTransmitTlvGet", "[65317]", "[10]",
       R"({"capabilities":"enable","network-policy":"disable","location":"enable","extended-pse":"disable",)"
       R"("extended-pd":"disable","inventory":"enable"})"},
      {"GET", "med-remote-capabilities" + kMed, "", "openapiLldpMedRemoteCapabilitiesGet", "[[[51,2]],[[51]]]",
       kKeysIn + "]", R"({"supportedCapabilities":[51,2],"enabledCapabilities":[51,0]})"},
      {"GET", "intf-remote-device-mgmt-address-next" + kNbr, "", "openapiLldpIntfRemoteDeviceMgmtAddressNextGet",
       R"([2,"2001:db8::1",16])", kKeysIn + R"(,0,""])", R"({"addressFamily":2,"address":"2001:db8::1","addrLen":16})"},
  });
}

// Settings without an interface or with an unknown TLV are refused before
// OpEN. The LLDP-MED mask is changed one bit at a time, and read before the
// body: a failed read wins over a bad body.
TEST_F(LldpTest, SettingsAreRefusedWithoutAnInterfaceAndTheMedMaskKeepsItsOtherBits) {
  const struct {
    const char *method, *uri, *body;
  } cases[] = {
      {"GET", "intf-tlv-transmit-mode?ifNum=abc", ""},
      {"GET", "intf-receive-mode?ifNum=4294967296", ""},  // 0 as a 32-bit number
      {"PUT", "med-intf-transmit-tlv", R"({"location":"enable"})"},
      {"PUT", "intf-tlv-transmit-mode?ifNum=3", R"({"tlv-type":"port-vlans","mode":"enable"})"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.uri);
    ctlOk({"calls", "clear"});
    EXPECT_EQ(call(c.method, kLldp + "/" + c.uri, c.body).out, answer(10003, "Invalid argument", true));
    for (const std::string &line : calls()) EXPECT_EQ(line.find("openapiLldp"), std::string::npos) << line;
  }
  EXPECT_EQ(put("tx-hold", R"({"hold":11})"), answer(10000, "General Failed", true));  // out of the agent's range
  EXPECT_EQ(put("med-intf-transmit-tlv?ifNum=3", R"({"inventory":"Enable","location":"enable","capabilities":0})"),
            answer(0, "Success", true));
  EXPECT_EQ(put("med-intf-transmit-tlv?ifNum=3", R"({"location":"disable"})"), answer(0, "Success", true));
  EXPECT_EQ(get("med-intf-transmit-tlv?ifNum=3"),
            ok(R"({"capabilities":"enable","network-policy":"enable","location":"disable","extended-pse":"disable",)"
               R"("extended-pd":"disable","inventory":"enable"})"));
  ctlOk({"fault", "openapiLldpMedIntfTransmitTlvGet", "-1", "1"});
  EXPECT_EQ(put("med-intf-transmit-tlv?ifNum=3", "x"), answer(10000, "General Failed", true));
}

// The aggregated routes always succeed, with what could be read.
TEST_F(LldpTest, StatusPagesAndAggregatesLeaveOutWhatCouldNotBeRead) {
  ctlOk({"fault", "openapiLldpTxHoldGet", "-1", "1"});
  EXPECT_EQ(get("status"), ok(R"({"interval":30,"reinit":2,"notification-interval":5})"));
  ctlOk({"fault", "openapiLldpXMedFastStartRepeatCountGet", "-1", "1"});
  EXPECT_EQ(get("med-status"), ok(R"({"device-class":"Network Connectivity"})"));
  ctlOk({"fault", "openapiLldpIntfTLVTransmitModeGet", "-1", "8"});
  EXPECT_EQ(get("intf-tlv-transmit-mode?ifNum=3"), ok(R"({"link-aggregation":"enable"})"));
  ctlOk({"fault", "openapiLldpIntfTLVTransmitModeGet", "-28"});
  EXPECT_EQ(get("intf-tlv-transmit-mode?ifNum=3"), ok("{}"));
  ctlOk({"fault", "openapiIfFirstGet", "-29"});
  ctlOk({"fault", "openapiLldpRemoteIntfFirstGet", "-29"});
  EXPECT_EQ(get("all-interface-status"), ok(R"({"interfaces":[]})"));
  EXPECT_EQ(get("local-device"), ok(R"({"local-devices":[]})"));
  EXPECT_EQ(get("remote-device"), ok(R"({"remote-devices":[]})"));
  std::string log = readFile("/tmp/zr301.log");
  EXPECT_NE(log.find("[swapiIfFirstGet:"), std::string::npos) << log;
  EXPECT_NE(log.find("] Bad return code trying to get first physical interface. result = -29\r\n"), std::string::npos);
}

// From port 27, and from neighbour port 12: a read that fails leaves its
// member out, empty or null.
TEST_F(LldpTest, AggregatesWalkPortsAndNeighboursAndLeaveOutFailedReads) {
  const std::string tlvs =
      R"("port-description":"enable","management-address":"enable","port-vlan":"enable","vlan-name":"disable",)"
      R"("max-frame-size":"enable","link-aggregation":"enable"})";
  ctlOk({"stub", "openapiIfFirstGet", R"({"rc":0,"out":[27]})"});
  ctlOk({"fault", "openapiLldpIntfReceiveModeGet", "-1", "1"});
  ctlOk({"fault", "openapiLldpIntfTLVTransmitModeGet", "-1", "2"});
  ctlOk({"fault", "openapiLldpIntfLocalDevicePortDescGet", "-1", "1"});
  EXPECT_EQ(get("all-interface-status"),
            ok(R"({"interfaces":[{"interface":27,"transmit":"enable","notification":"disable",)"
               R"("transmit-mgmt":"enable","transmit-tlv":{"system-capabilities":"enable",)" + tlvs +
               R"(},{"interface":28,"transmit":"enable","receive":"enable","notification":"disable",)"
               R"("transmit-mgmt":"enable","transmit-tlv":{"system-description":"enable","system-name":"enable",)"
               R"("system-capabilities":"enable",)" + tlvs + "}]}"));
  EXPECT_EQ(callsOf("openapiIfNextGet").size(), 2u);
  EXPECT_EQ(get("local-device"), ok(R"({"local-devices":[{"interface":27,"port-id":"1/0/27","port-description":""},)"
                                    R"({"interface":28,"port-id":"1/0/28",)"
                                    R"("port-description":"Unit: 1 Slot: 0 Port: 28 10G - Level"}]})"));
  ctlOk({"calls", "clear"});
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
  ctlOk({"stub", "openapiLldpIntfLocalDeviceVlanGet", R"({"rc":0,"out":[[2,[7,9,11]]]})", "1"});
  EXPECT_EQ(get("intf-local-device-vlan?ifNum=3"), ok(R"({"numEntries":2,"ids":[7,9]})"));
  ctlOk({"stub", "openapiLldpIntfLocalDeviceVlanGet", R"({"rc":0,"out":[[4294967295,[7,9]]]})", "1"});
  std::string ids = "7,9";
  for (int i = 2; i < 4096; ++i) ids += ",0";
  EXPECT_EQ(get("intf-local-device-vlan?ifNum=3"), ok(R"({"numEntries":-1,"ids":[)" + ids + "]}"));
}

// Neighbours of the default switch: a phone on port 5, a server on 9, switches on 12 and 25.
TEST_F(LldpTest, TheAgentWalksItsNeighboursAndRefusesAsASwitchWould) {
  const std::string phone = "?intf=5&remIndex=4&timeStamp=5128807", phoneRem = "?ifNum=5&remIndex=4&timestamp=5128807";
  const std::string notFound = answer(10023, "Request api not found", false),
                    bad = answer(10003, "Invalid argument", false);
  const struct {
    std::string uri, expected;
  } cases[] = {
      {"remote-intf-first", ok(R"({"ifNum":5})")},
      {"remote-intf-next?ifNum=12", ok(R"({"nextIfNum":25})")},
      {"remote-intf-next?ifNum=25", notFound},
      {"intf-remote-device-next?ifNum=12", ok(R"({"remIndex":2,"timeStamp":3544})")},
      {"intf-remote-device-next" + kNbr, notFound},
      {"remote-device-vlan-info-index" + kNbr + "&infoIndex=2", ok(R"({"nextInfoIndex":3})")},
      {"remote-device-vlan-info-index" + kNbr + "&infoIndex=3", notFound},
      {"rem-unknown-tlv-entry-next" + kRem + "&tlvType=24", ok(R"({"nextTlvType":100})")},
      {"rem-unknown-tlv-entry-next" + kRem + "&tlvType=100", notFound},
      // Only the lower-case key counts: the time stamp is 0 and names no neighbour.
      {"med-rem-serial-num?ifNum=5&remIndex=4&timeStamp=5128807", notFound},
      {"med-rem-serial-num" + phoneRem, ok(R"({"serialNum":"0004F28C1A3E"})")},
      {"med-remote-capabilities" + phone, ok(R"({"supportedCapabilities":[51,0],"enabledCapabilities":[51,0]})")},
      {"med-rem-poe-pd-power-req" + phoneRem, ok(R"({"powerReq":65})")},
      {"med-rem-poe-pse-power-av" + phoneRem, notFound},  // a powered device sends no PSE data
      {"med-rem-location-info" + phoneRem + "&subType=4", bad},
      {"xmed-loc-media-policy-vlan-id?ifNum=3&policyAppType=9", bad},
      // LLDP runs on physical ports only.
      {"intf-transmit-mode?ifNum=29", answer(10000, "General Failed", true)},
      {"intf-local-device-port-id?ifNum=29", answer(17002, "Unsupported Feature", false)},
      {"intf-local-device-port-id?ifNum=37", bad},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.uri);
    EXPECT_EQ(get(c.uri), c.expected);
  }
  // A port that no longer receives forgets its neighbour.
  EXPECT_EQ(put("intf-receive-mode?ifNum=5", R"({"receive":"disable"})"), answer(0, "Success", true));
  EXPECT_EQ(get("remote-intf-first"), ok(R"({"ifNum":9})"));
}

}  // namespace
