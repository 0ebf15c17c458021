// sFlow routes: the layouts of their addresses and texts (every row's plain
// behaviour is the route check's), then the ranges the simulated agent keeps.
#include "tests/e2e/harness.h"

namespace {

const std::string kSflow = "/api/v2/monitoring/sflow";

class SflowTest : public SwitchTest {};

TEST_F(SflowTest, AddressesAndTextsKeepTheirForm) {
  expectRoutes(kSflow, "sflow", {
      // An IPv4 address as a number in host order, an IPv6 address of 16 bytes.
      {"GET", "remote-agent-source-ipv4-addr", "", "openapiSflowRemoteAgentSourceIpv4AddrGet", "[3232235777]", "[]",
       R"({"ipAddr":"192.168.1.1"})"},
      {"GET", "source-ipv6-addr", "", "openapiSflowSourceIpv6AddrGet", R"(["fe80::211:22ff:fe5a:3bc0"])", "[]",
       R"({"ipv6Addr":"fe80::211:22ff:fe5a:3bc0"})"},
      // Absent values are 0; an owner keeps 255 characters of a 256-byte buffer described whole.
      {"PUT", "rcvr-owner", R"({"owner":")" + std::string(300, 'o') + R"("})", "openapiSflowRcvrOwnerSet", "[]",
       R"([0,")" + std::string(255, 'o') + R"(",0])", ""},
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
    EXPECT_EQ(call("PUT", kSflow + "/" + c.uri, c.body).out, reply(10003, "Invalid argument") + "\n");
  }
}

}  // namespace
