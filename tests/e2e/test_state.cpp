// The simulated switch keeps every family's settings across a restart.
#include "tests/e2e/harness.h"

namespace {

const std::string kApi = "/api/v2/monitoring/";

class StateTest : public SwitchTest {};

TEST_F(StateTest, EveryFamilysSettingsSurviveARestart) {
  const struct {
    const char *method, *write, *body, *read, *key, *data;
  } cases[] = {
      {"PUT", "sflow/rcvr-owner?index=3", R"({"owner":"noc","timeout":4294967295})", "sflow/rcvr-owner?index=3", "sflow",
       R"({"owner":"noc"})"},
      {"PUT", "sflow/rcvr-address?index=3", R"({"ipAddr":"2001:db8::7"})", "sflow/rcvr-address?index=3", "sflow",
       R"({"ipAddr":"2001:db8::7"})"},
      {"PUT", "sflow/cp-interval?ifNum=4&instance=1", R"({"interval":45})", "sflow/cp-interval?ifNum=4&instance=1",
       "sflow", R"({"interval":45})"},
      {"PUT", "lldp/tx-interval", R"({"interval":60})", "lldp/tx-interval", "lldp", R"({"interval":60})"},
      {"PUT", "lldp/intf-receive-mode?ifNum=5", R"({"receive":"disable"})", "lldp/intf-receive-mode?ifNum=5", "lldp",
       R"({"receive":"disable"})"},
      {"PUT", "mirror/sw-port-monitor-mode", R"({"sessionNum":1,"mode":"enable"})", "mirror/sw-port-monitor-mode?sessionNum=1",
       "mirror", R"({"mode":"enable"})"},
      {"PUT", "mirror/remote-span-vlan", R"({"vlan-list":"20"})", "mirror/remote-span-vlan-list", "mirror",
       R"({"rspan-vlans":[20]})"},
      {"PUT", "snmp/sys-location", R"({"sysLocation":"Rack B4"})", "snmp/sys-location", "snmp",
       R"({"sysLocation":"Rack B4"})"},
      {"POST", "snmp/community-and-ip-addr",
       R"({"communityName":"mon","community":{"type":"snmp_community_access_ro","ipAddr":"10.0.0.0",)"
       R"("ipMask":"255.0.0.0","ipv6PrefixLen":0,"viewName":"Default"}})",
       "snmp/community-and-ip-addr?communityName=mon", "snmp",
       R"({"community":{"type":"snmp_community_access_ro","ipAddr":"10.0.0.0","ipMask":"255.0.0.0",)"
       R"("ipv6PrefixLen":0,"viewName":"Default"}})"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.write);
    std::string answer = call(c.method, kApi + c.write, c.body).out;
    ASSERT_NE(answer.find("\"respCode\":\t0"), std::string::npos) << answer;
  }
  stopDaemon();
  startDaemon();
  for (const auto &c : cases) {
    SCOPED_TRACE(c.read);
    EXPECT_EQ(call("GET", kApi + c.read).out, kJsonHeader + envelope(0, "Success", c.key, c.data));
  }
}

}  // namespace
