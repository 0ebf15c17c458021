// sFlow routes: what reaches OpEN and how each answer is written, then the
// simulated agent behind them.
#include <unistd.h>

#include "tests/e2e/harness.h"

namespace {

const std::string kSflow = "/api/v2/monitoring/sflow";

class SflowTest : public SwitchTest {
 protected:
  std::string put(const std::string &uri, const std::string &body = "") { return call("PUT", kSflow + "/" + uri, body).out; }
  std::string get(const std::string &uri) { return call("GET", kSflow + "/" + uri).out; }
  static std::string ok(const std::string &data = "") {
    return kJsonHeader + (data.empty() ? envelope(0, "Success") + "\n" : envelope(0, "Success", "sflow", data));
  }
  static std::string refused(int code, const std::string &message, bool newline) {
    return kJsonHeader + envelope(code, message) + (newline ? "\n" : "");
  }
};

TEST_F(SflowTest, EveryRouteCallsItsOperationWithItsSelectorsAndAnswersItsKeys) {
  const std::string v4 = R"({"family":1,"addr":"10.1.2.3"})", v6 = R"({"family":2,"addr":"fe80::1"})";
  expectRoutes(kSflow, "sflow", {
      {"GET", "source-interface", "", "openapiSflowSourceInterfaceGet", "[5]", "[]", R"({"ifNum":5})", false},
      {"PUT", "source-interface?ifNum=7", "", "openapiSflowSourceInterfaceSet", "[]", "[7]", "", true},
      {"GET", "remote-agent-source-interface", "", "openapiSflowRemoteAgentSourceInterfaceGet", "[9]", "[]",
       R"({"ifNum":9})", false},
      {"PUT", "remote-agent-source-interface?ifNum=3", "", "openapiSflowRemoteAgentSourceInterfaceSet", "[]", "[3]",
       "", true},
      {"GET", "remote-agent-source-ipv4-addr", "", "openapiSflowRemoteAgentSourceIpv4AddrGet", "[3232235777]", "[]",
       R"({"ipAddr":"192.168.1.1"})", false},
      {"GET", "remote-agent-source-ipv6-addr", "", "openapiSflowRemoteAgentSourceIpv6AddrGet", R"(["2001:db8::5"])",
       "[]", R"({"ipv6Addr":"2001:db8::5"})", false},
      {"GET", "source-ipv4-addr", "", "openapiSflowSourceIpv4AddrGet", "[167772161]", "[]", R"({"ipAddr":"10.0.0.1"})",
       false},
      {"GET", "source-ipv6-addr", "", "openapiSflowSourceIpv6AddrGet", R"(["fe80::211:22ff:fe5a:3bc0"])", "[]",
       R"({"ipv6Addr":"fe80::211:22ff:fe5a:3bc0"})", false},
      {"GET", "rcvr-count", "", "openapiSflowRcvrCountGet", "[8]", "[]", R"({"count":8})", false},
      {"GET", "rcvr-owner-string-len", "", "openapiSflowRcvrOwnerStringLenGet", "[127]", "[]", R"({"maxLen":127})",
       false},
      {"GET", "rcvr-owner?index=2", "", "openapiSflowRcvrOwnerGet", R"(["collector"])", "[2]",
       R"({"owner":"collector"})", false},
      {"PUT", "rcvr-owner?index=2", R"({"owner":"ops","timeout":600})", "openapiSflowRcvrOwnerSet", "[]",
       R"([2,"ops",600])", "", true},
      {"GET", "rcvr-time-remaining?index=1", "", "openapiSflowRcvrTimeRemainingGet", "[599]", "[1]",
       R"({"timeRemaining":599})", false},
      {"GET", "rcvr-address?index=1", "", "openapiSflowRcvrAddressGet", "[" + v6 + "]", "[1]",
       R"({"ipAddr":"fe80::1"})", false},
      {"PUT", "rcvr-address?index=1", R"({"ipAddr":"10.1.2.3"})", "openapiSflowRcvrAddressSet", "[]", "[1," + v4 + "]",
       "", true},
      {"GET", "rcvr-port?index=3", "", "openapiSflowRcvrPortGet", "[6343]", "[3]", R"({"port":6343})", false},
      {"PUT", "rcvr-port?index=3", R"({"port":6344})", "openapiSflowRcvrPortSet", "[]", "[3,6344]", "", true},
      {"GET", "rcvr-max-datagram-size-range", "", "openapiSflowRcvrMaxDatagramSizeRangeGet", "[200,9116]", "[]",
       R"({"minSize":200,"maxSize":9116})", false},
      {"GET", "rcvr-max-datagram-size?index=4", "", "openapiSflowRcvrMaxDatagramSizeGet", "[1400]", "[4]",
       R"({"size":1400})", false},
      {"PUT", "rcvr-max-datagram-size?index=4", R"({"size":9000})", "openapiSflowRcvrMaxDatagramSizeSet", "[]",
       "[4,9000]", "", true},
      {"GET", "instance-range", "", "openapiSflowInstanceRangeGet", "[1,1]", "[]",
       R"({"minInstance":1,"maxInstance":1})", false},
      {"GET", "fs-rcvr-index?ifNum=5&instance=1", "", "openapiSflowFsRcvrIndexGet", "[2]", "[5,1]",
       R"({"rcvrIndex":2})", false},
      {"PUT", "fs-rcvr-index?ifNum=5&instance=1&rcvrIndex=2", "", "openapiSflowFsRcvrIndexSet", "[]", "[5,1,2]", "",
       true},
      {"GET", "fs-packet-sampling-rate-range", "", "openapiSflowFsPacketSamplingRateRangeGet", "[1024,65535]", "[]",
       R"({"minRate":1024,"maxRate":65535})", false},
      {"GET", "fs-packet-sampling-rate?ifNum=5&instance=1&type=egress", "", "openapiSflowFsPacketSamplingRateGet",
       "[4096]", "[5,1,2]", R"({"rate":4096})", false},
      {"PUT", "fs-packet-sampling-rate?ifNum=5&instance=1", R"({"type":"egress","rate":4096})",
       "openapiSflowFsPacketSamplingRateSet", "[]", "[5,1,2,4096]", "", true},
      {"GET", "fs-maximum-header-size-range", "", "openapiSflowFsMaximumHeaderSizeRangeGet", "[20,256]", "[]",
       R"({"minHeaderSize":20,"maxHeaderSize":256})", false},
      {"GET", "fs-maximum-header-size?ifNum=5&instance=1", "", "openapiSflowFsMaximumHeaderSizeGet", "[128]", "[5,1]",
       R"({"size":128})", false},
      {"PUT", "fs-maximum-header-size?ifNum=5&instance=1", R"({"size":64})", "openapiSflowFsMaximumHeaderSizeSet",
       "[]", "[5,1,64]", "", true},
      {"GET", "sampler-ip-acl?ifNum=6", "", "openapiSflowSamplerIpAclGet", "[101]", "[6]", R"({"aclNum":101})", false},
      {"PUT", "sampler-ip-acl?ifNum=6&index=1", R"({"aclNum":101,"action":"enable"})", "openapiSflowSamplerIpAclSet",
       "[]", "[1,6,101,1]", "", true},
      {"GET", "sampler-mac-acl?ifNum=6", "", "openapiSflowSamplerMacAclGet", "[7]", "[6]", R"({"aclNum":7})", false},
      {"PUT", "sampler-mac-acl?ifNum=6&index=2", R"({"aclNum":7,"action":"disable"})", "openapiSflowSamplerMacAclSet",
       "[]", "[2,6,7,0]", "", true},
      {"GET", "cp-rcvr-index?ifNum=8&instance=1", "", "openapiSflowCpRcvrIndexGet", "[1]", "[8,1]",
       R"({"rcvrIndex":1})", false},
      {"PUT", "cp-rcvr-index?ifNum=8&instance=1&rcvrIndex=1", "", "openapiSflowCpRcvrIndexSet", "[]", "[8,1,1]", "",
       true},
      {"GET", "cp-interval-range", "", "openapiSflowCpIntervalRangeGet", "[0,86400]", "[]",
       R"({"minInterval":0,"maxInterval":86400})", false},
      {"GET", "cp-interval?ifNum=8&instance=1", "", "openapiSflowCpIntervalGet", "[30]", "[8,1]", R"({"interval":30})",
       false},
      {"PUT", "cp-interval?ifNum=8&instance=1", R"({"interval":20})", "openapiSflowCpIntervalSet", "[]", "[8,1,20]",
       "", true},
      {"GET", "fs-remote-agent-max-index", "", "openapiSflowFsRemoteAgentMaxIndexGet", "[8]", "[]",
       R"({"maxIndex":8})", false},
      {"GET", "fs-remote-agent-index?ifNum=5&instance=1", "", "openapiSflowFsRemoteAgentIndexGet", "[3]", "[5,1]",
       R"({"index":3})", false},
      {"PUT", "fs-remote-agent-index?ifNum=5&instance=1&index=3", "", "openapiSflowFsRemoteAgentIndexSet", "[]",
       "[5,1,3]", "", true},
      {"GET", "fs-remote-agent-max-monitor-session-id", "", "openapiSflowFsRemoteAgentMaxMonitorSessionIdGet", "[4]",
       "[]", R"({"maxMonitorSessionId":4})", false},
      {"GET", "remote-agent-monitor-session?index=2", "", "openapiSflowRemoteAgentMonitorSessionGet", "[1]", "[2]",
       R"({"monitorSessionId":1})", false},
      {"PUT", "remote-agent-monitor-session?index=2", R"({"monitorSessionId":3})",
       "openapiSflowRemoteAgentMonitorSessionSet", "[]", "[2,3]", "", true},
      {"GET", "remote-agent-address?index=2", "", "openapiSflowRemoteAgentAddressGet", "[" + v4 + "]", "[2]",
       R"({"ipAddr":"10.1.2.3"})", false},
      {"PUT", "remote-agent-address?index=2", R"({"ipAddr":"fe80::1"})", "openapiSflowRemoteAgentAddressSet", "[]",
       "[2," + v6 + "]", "", true},
      {"GET", "remote-agent-udp-dest-port?index=2", "", "openapiSflowRemoteAgentUdpDestPortGet", "[6343]", "[2]",
       R"({"port":6343})", false},
      {"PUT", "remote-agent-udp-dest-port?index=2", R"({"port":5000})", "openapiSflowRemoteAgentUdpDestPortSet", "[]",
       "[2,5000]", "", true},
      {"GET", "remote-agent-monitor-session-dest-iface?index=2", "", "openapiSflowRemoteAgentMonitorSessionDestIfaceGet",
       "[12]", "[2]", R"({"ifNum":12})", false},
      {"PUT", "remote-agent-monitor-session-dest-iface?index=2&ifNum=12", "",
       "openapiSflowRemoteAgentMonitorSessionDestIfaceSet", "[]", "[2,12]", "", true},
      {"GET", "cfg-mode", "", "openapiSflowCfgModeGet", "[1]", "[]", R"({"sflowConfigMode":"enable"})", false},
      // Only "enable" exactly enables.
      {"PUT", "cfg-mode", R"({"sflowConfigMode":"Enable"})", "openapiSflowCfgModeSet", "[]", "[0]", "", true},
      {"GET", "oper-mode", "", "openapiSflowOperModeGet", "[2]", "[]", R"({"sflowOperMode":"disable"})", false},
      // Absent values are 0; an address that is neither IPv4 nor IPv6 still goes out, as family 0.
      {"PUT", "rcvr-owner", R"({"owner":"x"})", "openapiSflowRcvrOwnerSet", "[]", R"([0,"x",0])", "", true},
      {"PUT", "rcvr-address?index=1", R"({"ipAddr":"abc"})", "openapiSflowRcvrAddressSet", "[]",
       R"([1,{"family":0,"addr":""}])", "", true},
  });
}

TEST_F(SflowTest, BodiesThatDoNotParseAreRefusedBeforeOpen) {
  for (const char *body : {"", "owner=x", R"({"owner":"x"} x)"}) {
    SCOPED_TRACE(body);
    ctlOk({"calls", "clear"});
    EXPECT_EQ(put("rcvr-owner?index=1", body), refused(10003, "Invalid argument", true));
    EXPECT_TRUE(callsOf("openapiSflowRcvrOwnerSet").empty());
  }
}

TEST_F(SflowTest, FailuresAreMappedAndWrittenAsTheirMethodWrites) {
  ctlOk({"fault", "openapiSflowSourceInterfaceGet", "-28"});
  EXPECT_EQ(get("source-interface"), refused(17002, "Unsupported Feature", false));
  ctlOk({"fault", "openapiSflowRcvrPortSet", "-21"});
  EXPECT_EQ(put("rcvr-port?index=1", R"({"port":1})"), refused(10000, "General Failed", true));
}

// The simulated agent: receivers claimed for a while, samplers bound to them, ranges.
TEST_F(SflowTest, ReceiversAreClaimedUsedAndFreedByTheAgent) {
  EXPECT_EQ(get("oper-mode"), ok(R"({"sflowOperMode":"disable"})"));
  EXPECT_EQ(put("fs-rcvr-index?ifNum=5&instance=1&rcvrIndex=2"), refused(10003, "Invalid argument", true));
  // Long enough for the calls below in the slowest build (sanitized, or
  // emulated Arm) on a busy machine.
  EXPECT_EQ(put("rcvr-owner?index=2", R"({"owner":"noc","timeout":3})"), ok());
  EXPECT_EQ(get("rcvr-time-remaining?index=2"), ok(R"({"timeRemaining":3})"));
  EXPECT_EQ(put("rcvr-address?index=2", R"({"ipAddr":"2001:db8::10"})"), ok());
  EXPECT_EQ(put("fs-rcvr-index?ifNum=5&instance=1&rcvrIndex=2"), ok());
  EXPECT_EQ(put("fs-packet-sampling-rate?ifNum=5&instance=1", R"({"type":"flow_based","rate":2048})"), ok());
  EXPECT_EQ(get("rcvr-address?index=2"), ok(R"({"ipAddr":"2001:db8::10"})"));
  EXPECT_EQ(get("oper-mode"), ok(R"({"sflowOperMode":"enable"})"));
  usleep(3100000);
  // The owner's time ran out: the receiver and its sampler are free again.
  EXPECT_EQ(get("rcvr-owner?index=2"), ok(R"({"owner":""})"));
  EXPECT_EQ(get("fs-rcvr-index?ifNum=5&instance=1"), ok(R"({"rcvrIndex":0})"));
  EXPECT_EQ(get("fs-packet-sampling-rate?ifNum=5&instance=1&type=flow_based"), ok(R"({"rate":0})"));
  EXPECT_EQ(get("oper-mode"), ok(R"({"sflowOperMode":"disable"})"));
}

TEST_F(SflowTest, ValuesOutsideTheirRangeAreRefused) {
  const struct {
    const char *uri, *body;
  } cases[] = {
      {"rcvr-max-datagram-size?index=1", R"({"size":199})"},
      {"rcvr-port?index=9", R"({"port":6343})"},
      {"fs-packet-sampling-rate?ifNum=1&instance=1", R"({"type":"flow_based","rate":1023})"},
      {"fs-packet-sampling-rate?ifNum=1&instance=1", R"({"type":"sideways","rate":2048})"},
      {"fs-maximum-header-size?ifNum=29&instance=1", R"({"size":128})"},  // a LAG samples nothing
      {"cp-interval?ifNum=1&instance=2", R"({"interval":10})"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.uri);
    EXPECT_EQ(put(c.uri, c.body), refused(10003, "Invalid argument", true));
  }
  EXPECT_EQ(put("rcvr-max-datagram-size?index=1", R"({"size":9116})"), ok());
  EXPECT_EQ(get("rcvr-max-datagram-size?index=1"), ok(R"({"size":9116})"));
}

}  // namespace
