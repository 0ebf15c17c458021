// The simulated switch keeps every family's settings, as they were set, across a restart.
#include <sys/stat.h>

#include "tests/e2e/harness.h"

namespace {

const std::string kApi = "/api/v2/monitoring/";

class StateTest : public SwitchTest {};

TEST_F(StateTest, EveryFamilysSettingsSurviveARestart) {
  const std::string kLong(300, 'c'), kCut(255, 'c');  // a system text is cut to its buffer
  // What is written is read back from the same route when no other is named.
  const struct {
    const char *method, *write;
    std::string body;
    const char *read;
    std::string data;
  } cases[] = {
      {"PUT", "sflow/rcvr-owner?index=3", R"({"owner":"noc","timeout":4294967295})", nullptr, R"({"owner":"noc"})"},
      {"PUT", "sflow/rcvr-address?index=3", R"({"ipAddr":"2001:db8::7"})", nullptr, R"({"ipAddr":"2001:db8::7"})"},
      {"PUT", "sflow/cp-interval?ifNum=4&instance=1", R"({"interval":45})", nullptr, R"({"interval":45})"},
      {"PUT", "sflow/rcvr-max-datagram-size?index=3", R"({"size":9116})", nullptr, R"({"size":9116})"},
      {"PUT", "lldp/tx-interval", R"({"interval":5})", nullptr, R"({"interval":5})"},
      {"PUT", "lldp/notification-interval", R"({"notification-interval":3600})", "lldp/status",
       R"({"interval":5,"hold":4,"reinit":2,"notification-interval":3600})"},
      {"PUT", "lldp/intf-receive-mode?ifNum=5", R"({"receive":"disable"})", nullptr, R"({"receive":"disable"})"},
      {"PUT", "lldp/intf-tlv-transmit-mode?ifNum=3", R"({"tlv-type":"SYSTEM-NAME","mode":"off"})", nullptr,
       R"({"system-description":"enable","system-name":"disable","system-capabilities":"enable",)"
       R"("port-description":"enable","management-address":"enable","port-vlan":"enable","vlan-name":"disable",)"
       R"("max-frame-size":"enable","link-aggregation":"enable"})"},
      {"PUT", "mirror/sw-port-monitor-mode", R"({"sessionNum":1,"mode":"enable"})",
       "mirror/sw-port-monitor-mode?sessionNum=1", R"({"mode":"enable"})"},
      {"PUT", "mirror/remote-span-vlan", R"({"vlan-list":"20"})", "mirror/remote-span-vlan-list",
       R"({"rspan-vlans":[20]})"},
      {"PUT", "snmp/sys-name", R"({"sysName":")" + kLong + R"("})", nullptr, R"({"sysName":")" + kCut + R"("})"},
      {"PUT", "snmp/sys-contact", R"({"sysContact":")" + kLong + R"("})", nullptr,
       R"({"sysContact":")" + kCut + R"("})"},
      {"PUT", "snmp/sys-location", R"({"sysLocation":")" + kLong + R"("})", nullptr,
       R"({"sysLocation":")" + kCut + R"("})"},
      {"PUT", "snmp/server-mode", R"({"serverMode":"disable"})", nullptr, R"({"serverMode":"disable"})"},
      {"PUT", "snmp/trap-flag", R"({"trapFlags":16,"mode":"true"})", "snmp/trap-flag?trapFlag=16",
       R"({"mode":"true"})"},
      {"PUT", "snmp/trap-src-intf", R"({"intf":3})", nullptr, R"({"intf":3,"type":"phy","addr":""})"},
      {"POST", "snmp/community-and-ip-addr",
       R"({"communityName":"mon","community":{"type":"snmp_community_access_rw","ipAddr":"10.0.0.0",)"
       R"("ipMask":"255.0.0.0"}})",
       "snmp/community-and-ip-addr?communityName=mon",
       R"({"community":{"type":"snmp_community_access_rw","ipAddr":"10.0.0.0","ipMask":"255.0.0.0",)"
       R"("ipv6PrefixLen":0,"viewName":"Default"}})"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.write);
    ASSERT_EQ(call(c.method, kApi + c.write, c.body).out, reply(0, "Success") + "\n");
  }
  stopDaemon();
  // The state holds the community strings: for its owner's eyes only.
  struct stat state {};
  ASSERT_EQ(stat((root_ + "/switch-state.json").c_str(), &state), 0);
  EXPECT_EQ(state.st_mode & 0777, 0600u);
  startDaemon();
  for (const auto &c : cases) {
    std::string read = c.read ? c.read : c.write;
    SCOPED_TRACE(read);
    EXPECT_EQ(call("GET", kApi + read).out, reply(0, "Success", read.substr(0, read.find('/')), c.data));
  }
}

// What the login writes is seen by no other local user: they could list
// the identifiers and lock their owners out.
TEST_F(StateTest, LoginSessionsAreTheirOwnersAlone) {
  std::string id = script("login", {"--root", root_ + "/login", "alice", "ro"}).out;
  ASSERT_FALSE(id.empty());
  id.pop_back();
  struct stat dir {}, file {};
  ASSERT_EQ(stat((root_ + "/login/tmp/session").c_str(), &dir), 0);
  ASSERT_EQ(stat((root_ + "/login/tmp/session/" + id).c_str(), &file), 0);
  EXPECT_EQ(dir.st_mode & 0777, 0700u);
  EXPECT_EQ(file.st_mode & 0777, 0600u);
}

}  // namespace
