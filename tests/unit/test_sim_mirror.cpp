// The simulated port monitor and access lists as the OpEN operations show them.
#include <string>
#include <vector>

#include "sim_fixture.h"

namespace {

using simtest::SimFixture;

using First = open_error_t (*)(SimDevice &, uint32_t *);
using Next = open_error_t (*)(SimDevice &, uint32_t, uint32_t *);

class SimMirrorTest : public SimFixture {
 protected:
  // first(), then next() until it stops, as comma-separated text; "!rc" marks an end other than -29.
  std::string walked(First first, Next next) {
    std::string text;
    uint32_t at = 0;
    open_error_t rc = first(dev, &at);
    for (int steps = 0; rc == OPEN_E_NONE && steps < 100; ++steps) {
      text += (text.empty() ? "" : ",") + std::to_string(at);
      rc = next(dev, at, &at);
    }
    return rc == OPEN_E_NOT_FOUND ? text : text + "!" + std::to_string(rc);
  }
  std::string list(open_error_t (*get)(SimDevice &, open_buffdesc *)) {
    char buf[512] = {};
    open_buffdesc desc{sizeof buf, buf};
    EXPECT_EQ(get(dev, &desc), OPEN_E_NONE);
    return buf;
  }
  open_error_t vlans(uint32_t session, const char *text) {
    std::string copy = text;
    open_buffdesc desc{static_cast<uint32_t>(copy.size() + 1), copy.data()};
    return sim::openapiSwMonitorVlanListSet(dev, session, &desc, 1);
  }
};

// Applied in order to the default switch, where session 1 copies ports 1
// (both) and 2 (received) to port 24.
TEST_F(SimMirrorTest, SessionsKeepTheRulesOfASwitch) {
  enum Op { Source, Dest, Reflector, Vlans, Rspan, RemoteSrc };
  const struct {
    Op op;
    uint32_t session, value, direction;
    const char *vlanText;
    open_error_t rc;
  } steps[] = {
      {Source, 2, 1, 1, "", OPEN_E_EXISTS},      // port 1 mirrors into session 1
      {Source, 2, 24, 1, "", OPEN_E_PARAM},      // session 1's destination
      {Source, 2, 29, 2, "", OPEN_E_NONE},       // a LAG
      {Source, 2, 37, 3, "", OPEN_E_NONE},       // the CPU
      {Source, 2, 3, 4, "", OPEN_E_PARAM},       // no such direction
      {Source, 5, 3, 1, "", OPEN_E_PARAM},       // no such session
      {Source, 2, 38, 1, "", OPEN_E_PARAM},      // no such interface
      {Dest, 2, 24, 0, "", OPEN_E_EXISTS},       // session 1 has it
      {Dest, 2, 30, 0, "", OPEN_E_PARAM},        // LAGs are sources only
      {Dest, 2, 37, 0, "", OPEN_E_PARAM},        // so is the CPU
      {Dest, 2, 1, 0, "", OPEN_E_PARAM},         // a source
      {Dest, 2, 3, 0, "", OPEN_E_NONE},
      {Source, 3, 3, 1, "", OPEN_E_PARAM},       // now a destination
      {Vlans, 2, 0, 0, "10", OPEN_E_PARAM},      // session 2 mirrors ports
      {Vlans, 3, 0, 0, "10,20", OPEN_E_NONE},
      {Source, 3, 5, 1, "", OPEN_E_PARAM},       // session 3 mirrors VLANs
      {Vlans, 4, 0, 0, "30", OPEN_E_PARAM},      // not created
      {Vlans, 4, 0, 0, "1-4094", OPEN_E_PARAM},  // beyond 4093
      {Rspan, 0, 10, 1, "", OPEN_E_PARAM},       // session 3 mirrors it
      {Rspan, 0, 1, 1, "", OPEN_E_NONE},
      {Rspan, 0, 1, 1, "", OPEN_E_EXISTS},
      {Rspan, 0, 30, 1, "", OPEN_E_PARAM},       // not created
      {Vlans, 4, 0, 0, "1", OPEN_E_PARAM},       // a remote-span VLAN
      {RemoteSrc, 4, 10, 0, "", OPEN_E_PARAM},   // not a remote-span VLAN
      {RemoteSrc, 4, 1, 0, "", OPEN_E_NONE},
      {Reflector, 4, 24, 0, "", OPEN_E_PARAM},   // a destination
      {Reflector, 4, 29, 0, "", OPEN_E_PARAM},   // a LAG
      {Reflector, 4, 25, 0, "", OPEN_E_NONE},
  };
  int row = 0;
  for (const auto &s : steps) {
    SCOPED_TRACE("step " + std::to_string(row++));
    switch (s.op) {
      case Source:
        EXPECT_EQ(sim::openapiSwPortMonitorSourcePortAdd(dev, s.session, s.value, s.direction), s.rc);
        break;
      case Dest: EXPECT_EQ(sim::openapiSwPortMonitorDestPortSet(dev, s.session, s.value), s.rc); break;
      case Reflector: EXPECT_EQ(sim::openapiSwMonitorReflectorPortSet(dev, s.session, s.value), s.rc); break;
      case Vlans: EXPECT_EQ(vlans(s.session, s.vlanText), s.rc); break;
      case Rspan: EXPECT_EQ(sim::openapiRemoteSpanVlanSet(dev, s.value, s.direction), s.rc); break;
      case RemoteSrc: EXPECT_EQ(sim::openapiSwRemoteMonitorSrcVlanSet(dev, s.session, s.value), s.rc); break;
    }
  }
  const uint32_t expectedSource[] = {kSourcePorts, kSourcePorts, kSourceVlans, kSourceRemoteVlan};
  for (uint32_t session = 1; session <= 4; ++session) {
    uint32_t type = 9;
    EXPECT_EQ(sim::openapiSwMonitorSrcTypeGet(dev, session, &type), OPEN_E_NONE);
    EXPECT_EQ(type, expectedSource[session - 1]) << "session " << session;
  }
}

TEST_F(SimMirrorTest, ValidInterfaceWalksMatchTheirLists) {
  ASSERT_EQ(sim::openapiSwPortMonitorDestPortSet(dev, 2, 5), OPEN_E_NONE);
  // Sources: every port, LAG and the CPU but the destinations 5 and 24.
  std::string sources =
      walked(sim::openapiSwPortMonitorValidSrcIntfFirstGet, sim::openapiSwPortMonitorValidSrcIntfNextGet);
  EXPECT_EQ(sources, "1,2,3,4,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,25,26,27,28,29,30,31,32,33,34,35,"
                     "36,37");
  EXPECT_EQ(list(sim::openapiSwPortMonitorValidSrcIntfListGet), sources);
  // Destinations: the physical ports that are no source (1 and 2 are).
  std::string dests =
      walked(sim::openapiSwPortMonitorValidDestIntfFirstGet, sim::openapiSwPortMonitorValidDestIntfNextGet);
  EXPECT_EQ(dests, "3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24,25,26,27,28");
  EXPECT_EQ(list(sim::openapiSwPortMonitorValidDestIntfListGet), dests);
  uint32_t valid = 9;
  EXPECT_EQ(sim::openapiSwPortMonitorIsValidDestPort(dev, 1, &valid), OPEN_E_NONE);
  EXPECT_EQ(valid, 0u);
  EXPECT_EQ(sim::openapiSwPortMonitorIsValidSrcPort(dev, 38, &valid), OPEN_E_PARAM);
}

TEST_F(SimMirrorTest, RemoteSpanVlansAreASet) {
  uint32_t vlan = 0, flag = 9;
  EXPECT_EQ(sim::openapiRemoteSpanVlanGet(dev, &vlan), OPEN_E_NOT_FOUND);
  for (uint32_t v : {20u, 10u}) ASSERT_EQ(sim::openapiRemoteSpanVlanSet(dev, v, 1), OPEN_E_NONE);
  EXPECT_EQ(list(sim::openapiRemoteSpanVlanListGet), "10,20");
  EXPECT_EQ(walked(sim::openapiRemoteSpanVlanGet, sim::openapiRemoteSpanVlanNextGet), "10,20");
  EXPECT_EQ(sim::openapiMirrorIsRspanVlan(dev, 20, &flag), OPEN_E_NONE);
  EXPECT_EQ(flag, 1u);
  EXPECT_EQ(sim::openapiRemoteSpanVlanSet(dev, 10, 0), OPEN_E_NONE);
  EXPECT_EQ(sim::openapiRemoteSpanVlanSet(dev, 10, 0), OPEN_E_PARAM);
  EXPECT_EQ(list(sim::openapiRemoteSpanVlanListGet), "20");
  EXPECT_EQ(sim::openapiMirrorIsRspanVlan(dev, 10, &flag), OPEN_E_NONE);
  EXPECT_EQ(flag, 0u);
}

TEST_F(SimMirrorTest, RemovingASessionKeepsOnlyItsReservation) {
  ASSERT_EQ(sim::openapiMirrorSessionReserveStateSet(dev, 1, 1), OPEN_E_NONE);
  ASSERT_EQ(sim::openapiSwPortMonitorModeSet(dev, 1, 1), OPEN_E_NONE);
  ASSERT_EQ(sim::openapiSwMonitorIpAclSet(dev, 1, 101, 1), OPEN_E_NONE);
  ASSERT_EQ(sim::openapiSwPortMonitorSessionRemove(dev, 1), OPEN_E_NONE);
  uint32_t reserved = 0, mode = 9, dest = 9, acl = 9;
  EXPECT_EQ(sim::openapiMirrorSessionReserveStateGet(dev, 1, &reserved), OPEN_E_NONE);
  EXPECT_EQ(sim::openapiSwPortMonitorModeGet(dev, 1, &mode), OPEN_E_NONE);
  EXPECT_EQ(sim::openapiSwPortMonitorDestPortGet(dev, 1, &dest), OPEN_E_NONE);
  EXPECT_EQ(sim::openapiSwMonitorIpAclGet(dev, 1, &acl), OPEN_E_NONE);
  EXPECT_EQ(std::vector<uint32_t>({reserved, mode, dest, acl}), std::vector<uint32_t>({1, 0, 0, 0}));
  EXPECT_EQ(text(sim::openapiSwPortMonitorSourcePortsListGet, 1), "");
}

TEST_F(SimMirrorTest, AccessListsWalkByTypeAndAreFoundByName) {
  EXPECT_EQ(walked([](SimDevice &s, uint32_t *id) { return sim::openapiAclGetFirst(s, kAclIp, id); },
                   [](SimDevice &s, uint32_t at, uint32_t *id) { return sim::openapiAclGetNext(s, kAclIp, at, id); }),
            "1,23,101,150");
  EXPECT_EQ(walked([](SimDevice &s, uint32_t *id) { return sim::openapiAclGetFirst(s, kAclMac, id); },
                   [](SimDevice &s, uint32_t at, uint32_t *id) { return sim::openapiAclGetNext(s, kAclMac, at, id); }),
            "1001,1002");
  uint32_t id = 0;
  EXPECT_EQ(sim::openapiAclGetFirst(dev, 3, &id), OPEN_E_PARAM);
  EXPECT_EQ(text(sim::openapiAclNameGet, 23), "snmp-managers");
  EXPECT_EQ(text(sim::openapiAclNameGet, 1), "");
  const struct {
    uint32_t type;
    const char *name;
    open_error_t rc;
    uint32_t id;
  } lookups[] = {
      {kAclIp, "voice-rtp", OPEN_E_NONE, 150},
      {kAclMac, "block-bpdu", OPEN_E_NONE, 1002},
      {kAclMac, "voice-rtp", OPEN_E_NOT_FOUND, 0},
      {kAclIp, "", OPEN_E_PARAM, 0},
  };
  for (const auto &l : lookups) {
    SCOPED_TRACE(l.name);
    std::string name = l.name;
    open_buffdesc desc{static_cast<uint32_t>(name.size() + 1), name.data()};
    uint32_t found = 0;
    EXPECT_EQ(sim::openapiAclGet(dev, l.type, &desc, &found), l.rc);
    EXPECT_EQ(found, l.id);
  }
}

TEST_F(SimMirrorTest, UnitSlotPortOfPhysicalPortsOnly) {
  const struct {
    uint32_t ifNum;
    open_error_t rc;
    std::vector<uint32_t> place;
  } cases[] = {
      {5, OPEN_E_NONE, {1, 0, 5}}, {28, OPEN_E_NONE, {1, 0, 28}}, {29, OPEN_E_PARAM, {0, 0, 0}},
      {37, OPEN_E_PARAM, {0, 0, 0}}, {0, OPEN_E_PARAM, {0, 0, 0}},
  };
  for (const auto &c : cases) {
    std::vector<uint32_t> place(3, 0);
    EXPECT_EQ(sim::openapiHashIntfUnitSlotPortGet(dev, c.ifNum, &place[0], &place[1], &place[2]), c.rc) << c.ifNum;
    EXPECT_EQ(place, c.place) << c.ifNum;
  }
}

// What the operations refuse, a state file cannot bring in either; a refused
// load leaves the switch as it was.
TEST_F(SimMirrorTest, LoadedSessionsKeepTheSameRules) {
  ASSERT_EQ(vlans(3, "10"), OPEN_E_NONE);
  ASSERT_EQ(sim::openapiRemoteSpanVlanSet(dev, 20, 1), OPEN_E_NONE);
  std::string before = dumped(), error;
  SimDevice other([this] { return clockNs; });
  JsonPtr state(cJSON_Parse(before.c_str()));
  ASSERT_EQ(other.fromJson(state.get(), error), 0) << error;
  JsonPtr again(other.toJson());
  EXPECT_EQ(CText(cJSON_PrintUnformatted(again.get())).get(), before);

  const struct {
    int session;
    const char *key, *json, *error;
  } cases[] = {
      {1, "sourcePorts", R"([{"intIfNum":1,"direction":1}])",
       "mirror.sessions[1].sourcePorts: 1 is a source of two sessions"},
      {1, "sourcePorts", R"([{"intIfNum":38,"direction":1}])",
       "mirror.sessions[1].sourcePorts: 38 is no port, LAG or CPU"},
      {1, "destination", "24", "mirror.sessions[1].destination: not a physical port of this session alone"},
      {1, "destination", "29", "mirror.sessions[1].destination: not a physical port of this session alone"},
      {0, "destination", "2", "mirror.sessions[0].destination: is also a source"},
      {0, "sourceVlans", "[10]", "mirror.sessions[0]: mirrors ports and VLANs at once"},
      {1, "sourceVlans", "[30]", "mirror.sessions[1].sourceVlans: no VLAN 30"},
      {3, "remoteDestVlan", "10", "mirror.sessions[3]: VLAN 10 is no remote-span VLAN"},
      {2, "sourceVlans", "[20]", "mirror.rspanVlans: VLAN 20 does not exist or is mirrored"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.error);
    JsonPtr edited(cJSON_Parse(before.c_str()));
    cJSON *sessions = cJSON_GetObjectItem(cJSON_GetObjectItem(edited.get(), "mirror"), "sessions");
    cJSON_ReplaceItemInObject(cJSON_GetArrayItem(sessions, c.session), c.key, cJSON_Parse(c.json));
    error.clear();
    EXPECT_EQ(dev.fromJson(edited.get(), error), -1);
    EXPECT_EQ(error, c.error);
    EXPECT_EQ(dumped(), before);
  }
}

}  // namespace
