// sFlow routes: the quirks of their rows (every row's plain behaviour is the
// route check's), then the ranges the simulated agent keeps.
#include "tests/e2e/harness.h"

namespace {

const std::string kSflow = "/api/v2/monitoring/sflow";

class SflowTest : public SwitchTest {};

TEST_F(SflowTest, AddressesModesAndTextsKeepTheirForm) {
  const std::string v4 = R"({"family":1,"addr":"10.1.2.3"})", v6 = R"({"family":2,"addr":"fe80::1"})";
  expectRoutes(kSflow, "sflow", {
      // An IPv4 address as a number in host order, an IPv6 address of 16 bytes, the address record.
      {"GET", "remote-agent-source-ipv4-addr", "", "openapiSflowRemoteAgentSourceIpv4AddrGet", "[3232235777]", "[]",
       R"({"ipAddr":"192.168.1.1"})", false},
      {"GET", "source-ipv6-addr", "", "openapiSflowSourceIpv6AddrGet", R"(["fe80::211:22ff:fe5a:3bc0"])", "[]",
       R"({"ipv6Addr":"fe80::211:22ff:fe5a:3bc0"})", false},
      {"GET", "rcvr-address?index=1", "", "openapiSflowRcvrAddressGet", "[" + v6 + "]", "[1]",
       R"({"ipAddr":"fe80::1"})", false},
      {"PUT", "rcvr-address?index=1", R"({"ipAddr":"10.1.2.3"})", "openapiSflowRcvrAddressSet", "[]", "[1," + v4 + "]",
       "", true},
      // An address that is neither IPv4 nor IPv6 still goes out, as family 0.
      {"PUT", "rcvr-address?index=1", R"({"ipAddr":"abc"})", "openapiSflowRcvrAddressSet", "[]",
       R"([1,{"family":0,"addr":""}])", "", true},
      // Absent values are 0; an owner keeps 255 characters of a 256-byte buffer described whole.
      {"PUT", "rcvr-owner", R"({"owner":")" + std::string(300, 'o') + R"("})", "openapiSflowRcvrOwnerSet", "[]",
       R"([0,")" + std::string(255, 'o') + R"(",0])", "", true},
  });
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
      {"fs-rcvr-index?ifNum=5&instance=1&rcvrIndex=2", ""},  // a receiver nobody owns
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.uri);
    EXPECT_EQ(call("PUT", kSflow + "/" + c.uri, c.body).out, kJsonHeader + envelope(10003, "Invalid argument") + "\n");
  }
  EXPECT_EQ(call("PUT", kSflow + "/rcvr-max-datagram-size?index=1", R"({"size":9116})").out,
            kJsonHeader + envelope(0, "Success") + "\n");
  EXPECT_EQ(call("GET", kSflow + "/rcvr-max-datagram-size?index=1").out,
            kJsonHeader + envelope(0, "Success", "sflow", R"({"size":9116})"));
}

}  // namespace
