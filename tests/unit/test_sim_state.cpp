// The state file through the models' field tables: round trips, and loads
// refused whole with the first problem named.
#include <tuple>

#include "sim_fixture.h"

namespace {

using SimStateTest = simtest::SimFixture;

TEST_F(SimStateTest, DumpLoadsBackUnchanged) {
  advanceSeconds(12.5);
  ASSERT_EQ(sim::openapiStatReset(dev, ctr_tx_64, 3), OPEN_E_NONE);
  const std::string before = dumped();
  JsonPtr state(cJSON_Parse(before.c_str()));
  std::string error;
  int64_t otherClock = 77'000'000'000;  // another daemon, another clock
  SimDevice other([&] { return otherClock; });
  ASSERT_EQ(other.fromJson(state.get(), error), 0) << error;
  JsonPtr again(other.toJson());
  EXPECT_EQ(CText(cJSON_PrintUnformatted(again.get())).get(), before);

  // A file from before a model existed loads, and the model starts from its defaults.
  edit(state.get(), "counters", nullptr);
  ASSERT_EQ(dev.fromJson(state.get(), error), 0) << error;
  SimDevice fresh([this] { return clockNs; });
  JsonPtr defaults(fresh.toJson());
  EXPECT_EQ(dumped(), CText(cJSON_PrintUnformatted(defaults.get())).get());
  // Not when the default names a port the file leaves out: its dump would not load.
  edit(state.get(), "mirror", nullptr);
  edit(state.get(), "interfaces/23", nullptr);
  EXPECT_EQ(dev.fromJson(state.get(), error), -1);
  EXPECT_EQ(error, "mirror: missing, and the default does not fit this switch (mirror.sessions[0].destination: "
                   "not a physical port of this session alone): give the member");
}

TEST_F(SimStateTest, MalformedStateIsRefusedWholeNamingTheFirstProblem) {
  ASSERT_EQ(sim::openapiRemoteSpanVlanSet(dev, 20, 1), OPEN_E_NONE);
  const std::string longText = "\"" + std::string(256, 'x') + "\"";
  const std::string notAlone = "mirror.sessions[1].destination: not a physical port of this session alone";
  const std::tuple<const char *, const char *, std::string> cases[] = {  // path, JSON (nullptr: removed), error
      {"softwareVersion", nullptr, "softwareVersion: missing"},
      {"machineModel", longText.c_str(), "machineModel: expected a text of at most 255 characters"},
      {"baseMac", R"("00-11-22-33-44-55")", "baseMac: expected a MAC address like 00:11:22:5A:3B:C0"},
      {"vlans", "[1, 1]", "vlans[1]: 1 is listed twice"},
      {"vlans", "7", "vlans: expected an array of VLAN ids"},
      {"interfaces/2/name", R"("")", "interfaces[2].name: expected a non-empty text of at most 255 characters"},
      {"interfaces/4/name", R"("1/0/1")", R"(interfaces[4].name: "1/0/1" is used twice)"},
      {"interfaces/6/intIfNum", "0", "interfaces[6].intIfNum: expected an integer from 1 to 4294967295"},
      {"interfaces/1/speed", "123", "interfaces[1].speed: expected 0, 10, 100, 1000 or 10000"},
      {"interfaces/1/pvid", R"(" 1")", "interfaces[1].pvid: expected an integer from 1 to 4094"},
      {"counters/3/values", R"(["1","2"])", "counters[3].values: expected 65 numbers"},
      {"counters/2/values/7", R"("18446744073709551616")",
       "counters[2].values[7]: expected an unsigned 64-bit integer (as decimal text above 2^53)"},
      {"counters/0/load", R"("heavy")", R"(counters[0].load: expected "busy" or "idle")"},
      {"counters/1/intIfNum", "29", "counters[1].intIfNum: 29 is not a physical port"},
      {"counters/27", nullptr, "counters: no entry for port 1/0/28 (intIfNum 28)"},
      {"lldp/neighbours/1/timeStamp", "5128807",
       "lldp.neighbours[1]: ifNum 5, remIndex 4, timeStamp 5128807 is used twice"},
      // What the mirror operations refuse, a state file cannot bring in either.
      {"mirror/sessions/1/sourcePorts", R"([{"intIfNum":1,"direction":1}])",
       "mirror.sessions[1].sourcePorts: 1 is a source of two sessions"},
      {"mirror/sessions/1/sourcePorts", R"([{"intIfNum":38,"direction":1}])",
       "mirror.sessions[1].sourcePorts: 38 is no port, LAG or CPU"},
      {"mirror/sessions/1/destination", "24", notAlone},
      {"mirror/sessions/1/destination", "29", notAlone},
      {"mirror/sessions/0/destination", "2", "mirror.sessions[0].destination: is also a source"},
      {"mirror/sessions/0/sourceVlans", "[10]", "mirror.sessions[0]: mirrors ports and VLANs at once"},
      {"mirror/sessions/1/sourceVlans", "[30]", "mirror.sessions[1].sourceVlans: no VLAN 30"},
      {"mirror/sessions/3/remoteDestVlan", "10", "mirror.sessions[3]: VLAN 10 is no remote-span VLAN"},
      {"mirror/sessions/2/sourceVlans", "[20]", "mirror.rspanVlans: VLAN 20 does not exist or is mirrored"},
  };
  const std::string untouched = dumped();
  std::string error;
  for (const auto &[path, json, expected] : cases) {
    SCOPED_TRACE(expected);
    JsonPtr state(dev.toJson());
    // Changes a partial load would show, and neighbours that share all but the last field of their key.
    edit(state.get(), "systemDescription", R"("changed")");
    edit(state.get(), "counters/0/values/1", R"("1")");
    edit(state.get(), "lldp/neighbours/1/ifNum", "5");
    edit(state.get(), "lldp/neighbours/1/remIndex", "4");
    edit(state.get(), path, json);
    EXPECT_EQ(dev.fromJson(state.get(), error), -1);
    EXPECT_EQ(error, expected);
    EXPECT_EQ(dumped(), untouched);
    error.clear();
  }
  JsonPtr array(cJSON_CreateArray());
  EXPECT_EQ(dev.fromJson(array.get(), error), -1);
  EXPECT_EQ(error, "state: expected an object");
}

}  // namespace
