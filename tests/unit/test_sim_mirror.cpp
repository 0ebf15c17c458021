// The simulated port monitor and access lists as the OpEN operations show them.
#include <string>
#include <tuple>

#include "sim_fixture.h"

namespace {

class SimMirrorTest : public simtest::SimFixture {
 protected:
  open_error_t vlans(uint32_t session, std::string list, uint32_t add) {
    open_buffdesc desc{static_cast<uint32_t>(list.size() + 1), list.data()};
    return sim::openapiSwMonitorVlanListSet(dev, session, &desc, add);
  }
};

// In order on the default switch, where session 1 copies ports 1 (both) and 2 (received) to port 24.
TEST_F(SimMirrorTest, SessionsKeepTheRulesOfASwitch) {
  const struct {
    open_error_t rc, expected;
  } steps[] = {
      {sim::openapiSwPortMonitorSourcePortAdd(dev, 2, 1, 1), OPEN_E_EXISTS},   // port 1 mirrors into session 1
      {sim::openapiSwPortMonitorSourcePortAdd(dev, 2, 24, 1), OPEN_E_PARAM},   // session 1's destination
      {sim::openapiSwPortMonitorSourcePortAdd(dev, 2, 29, 2), OPEN_E_NONE},    // a LAG
      {sim::openapiSwPortMonitorSourcePortAdd(dev, 2, 37, 3), OPEN_E_NONE},    // the CPU, sending
      {sim::openapiSwPortMonitorSourcePortAdd(dev, 2, 3, 4), OPEN_E_PARAM},    // no such direction
      {sim::openapiSwPortMonitorSourcePortAdd(dev, 5, 3, 1), OPEN_E_PARAM},    // no such session
      {sim::openapiSwPortMonitorSourcePortAdd(dev, 2, 38, 1), OPEN_E_PARAM},   // no such interface
      {sim::openapiSwPortMonitorDestPortSet(dev, 2, 24), OPEN_E_EXISTS},       // session 1 has it
      {sim::openapiSwPortMonitorDestPortSet(dev, 2, 30), OPEN_E_PARAM},        // LAGs are sources only
      {sim::openapiSwPortMonitorDestPortSet(dev, 2, 1), OPEN_E_PARAM},         // a source
      {sim::openapiSwPortMonitorDestPortSet(dev, 2, 3), OPEN_E_NONE},
      {vlans(2, "10", 1), OPEN_E_PARAM},                                       // session 2 mirrors ports
      {vlans(3, "10,20", 1), OPEN_E_NONE},
      {sim::openapiSwPortMonitorSourcePortAdd(dev, 3, 5, 1), OPEN_E_PARAM},    // session 3 mirrors VLANs
      {vlans(4, "30", 1), OPEN_E_PARAM},                                       // not created
      {vlans(4, "1-4094", 1), OPEN_E_PARAM},                                   // beyond 4093
      {sim::openapiRemoteSpanVlanSet(dev, 10, 1), OPEN_E_PARAM},               // session 3 mirrors it
      {vlans(3, "20", 0), OPEN_E_NONE},
      {sim::openapiRemoteSpanVlanSet(dev, 20, 1), OPEN_E_NONE}, {sim::openapiRemoteSpanVlanSet(dev, 1, 1), OPEN_E_NONE},
      {sim::openapiRemoteSpanVlanSet(dev, 1, 1), OPEN_E_EXISTS},
      {sim::openapiRemoteSpanVlanSet(dev, 30, 1), OPEN_E_PARAM},               // not created
      {sim::openapiRemoteSpanVlanSet(dev, 20, 0), OPEN_E_NONE},
      {sim::openapiRemoteSpanVlanSet(dev, 20, 0), OPEN_E_PARAM},               // no longer one
      {sim::openapiRemoteSpanVlanSet(dev, 20, 1), OPEN_E_NONE},
      {vlans(4, "1", 1), OPEN_E_PARAM},                                        // a remote-span VLAN
      {sim::openapiSwRemoteMonitorSrcVlanSet(dev, 4, 10), OPEN_E_PARAM},       // not a remote-span VLAN
      {sim::openapiSwRemoteMonitorSrcVlanSet(dev, 4, 1), OPEN_E_NONE},
      {sim::openapiSwMonitorReflectorPortSet(dev, 4, 24), OPEN_E_PARAM},       // a destination
      {sim::openapiSwMonitorReflectorPortSet(dev, 4, 29), OPEN_E_PARAM},       // a LAG
      {sim::openapiSwMonitorReflectorPortSet(dev, 4, 25), OPEN_E_NONE},
      // Removing a session keeps only its reservation (checked below).
      {sim::openapiMirrorSessionReserveStateSet(dev, 2, 1), OPEN_E_NONE},
      {sim::openapiSwPortMonitorModeSet(dev, 2, 1), OPEN_E_NONE},
      {sim::openapiSwMonitorIpAclSet(dev, 2, 101, 1), OPEN_E_NONE},
      {sim::openapiSwPortMonitorSessionRemove(dev, 2), OPEN_E_NONE},
  };
  for (size_t i = 0; i < std::size(steps); ++i) EXPECT_EQ(steps[i].rc, steps[i].expected) << "step " << i;
  // Session 2, removed, is reserved still and has nothing else, not even sources.
  const uint32_t sourceTypes[] = {OPEN_MIRROR_SOURCE_PORTS, OPEN_MIRROR_SOURCE_NONE, OPEN_MIRROR_SOURCE_VLANS, OPEN_MIRROR_SOURCE_REMOTE_VLAN};
  for (uint32_t s = 1; s <= 4; ++s) EXPECT_EQ(number(sim::openapiSwMonitorSrcTypeGet, s), sourceTypes[s - 1]) << s;
  EXPECT_EQ(number(sim::openapiMirrorSessionReserveStateGet, 2), 1u);
  EXPECT_EQ(number(sim::openapiSwPortMonitorModeGet, 2), 0u);
  EXPECT_EQ(number(sim::openapiSwPortMonitorDestPortGet, 2), 0u);
  EXPECT_EQ(number(sim::openapiSwMonitorIpAclGet, 2), 0u);
  // Remote-span VLANs are a set, listed and walked in order.
  EXPECT_EQ(text(sim::openapiRemoteSpanVlanListGet), "1,20");
  EXPECT_EQ(walked(sim::openapiRemoteSpanVlanGet, sim::openapiRemoteSpanVlanNextGet), "1,20");
  EXPECT_EQ(number(sim::openapiMirrorIsRspanVlan, 20), 1u);
}

TEST_F(SimMirrorTest, ValidInterfaceWalksMatchTheirLists) {
  ASSERT_EQ(sim::openapiSwPortMonitorDestPortSet(dev, 2, 5), OPEN_E_NONE);
  // Sources: every port, LAG and the CPU but the destinations 5 and 24; destinations: the physical ports but the
  // sources 1 and 2.
  const std::string src = "1,2,3,4,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,25,26,27,28,29,30,31,32,33,34,"
                          "35,36,37";
  const std::string dst = "3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24,25,26,27,28";
  EXPECT_EQ(walked(sim::openapiSwPortMonitorValidSrcIntfFirstGet, sim::openapiSwPortMonitorValidSrcIntfNextGet), src);
  EXPECT_EQ(text(sim::openapiSwPortMonitorValidSrcIntfListGet), src);
  EXPECT_EQ(walked(sim::openapiSwPortMonitorValidDestIntfFirstGet, sim::openapiSwPortMonitorValidDestIntfNextGet), dst);
  EXPECT_EQ(text(sim::openapiSwPortMonitorValidDestIntfListGet), dst);
  EXPECT_EQ(number(sim::openapiSwPortMonitorIsValidDestPort, 1), 0u);
  uint32_t valid = 9;
  EXPECT_EQ(sim::openapiSwPortMonitorIsValidSrcPort(dev, 38, &valid), OPEN_E_PARAM);
}

TEST_F(SimMirrorTest, AccessListsWalkByTypeAndAreFoundByName) {
  EXPECT_EQ(walked(sim::openapiAclGetFirst, sim::openapiAclGetNext, OPEN_ACL_TYPE_IP), "1,23,101,150");
  EXPECT_EQ(walked(sim::openapiAclGetFirst, sim::openapiAclGetNext, OPEN_ACL_TYPE_MAC), "1001,1002");
  EXPECT_EQ(walked(sim::openapiAclGetFirst, sim::openapiAclGetNext, 3u), "!-22");  // no such type
  EXPECT_EQ(text(sim::openapiAclNameGet, 23), "snmp-managers");
  const std::tuple<uint32_t, std::string, open_error_t, uint32_t> lookups[] = {  // type, name, result, id
      {OPEN_ACL_TYPE_IP, "voice-rtp", OPEN_E_NONE, 150}, {OPEN_ACL_TYPE_MAC, "block-bpdu", OPEN_E_NONE, 1002},
      {OPEN_ACL_TYPE_MAC, "voice-rtp", OPEN_E_NOT_FOUND, 0}, {OPEN_ACL_TYPE_IP, "", OPEN_E_PARAM, 0}};
  for (auto [type, name, rc, expected] : lookups) {
    open_buffdesc desc{static_cast<uint32_t>(name.size() + 1), name.data()};
    uint32_t found = 0;
    EXPECT_EQ(sim::openapiAclGet(dev, type, &desc, &found), rc) << name;
    EXPECT_EQ(found, expected) << name;
  }
}

}  // namespace
