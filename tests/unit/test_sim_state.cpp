// The state file through the models' field tables: round trips, and loads
// refused whole with the first problem named.
#include <functional>

#include "sim_fixture.h"

namespace {

using simtest::SimFixture;

class SimStateTest : public SimFixture {
 protected:
  static cJSON *row(cJSON *state, const char *table, int index) {
    return cJSON_GetArrayItem(cJSON_GetObjectItemCaseSensitive(state, table), index);
  }
  static void setCounter(cJSON *state, int portIndex, uint32_t id, const char *value) {
    cJSON *values = cJSON_GetObjectItemCaseSensitive(row(state, "counters", portIndex), "values");
    cJSON_ReplaceItemInArray(values, static_cast<int>(id), cJSON_CreateString(value));
  }
};

TEST_F(SimStateTest, DumpLoadsBackUnchanged) {
  advanceSeconds(12.5);
  ASSERT_EQ(sim::openapiStatReset(dev, ctr_tx_64, 3), OPEN_E_NONE);
  std::string before = dumped(), error;
  JsonPtr state(cJSON_Parse(before.c_str()));

  int64_t otherClock = 77'000'000'000;  // another daemon, another clock
  SimDevice other([&] { return otherClock; });
  ASSERT_EQ(other.fromJson(state.get(), error), 0) << error;
  JsonPtr again(other.toJson());
  EXPECT_EQ(CText(cJSON_PrintUnformatted(again.get())).get(), before);

  // A file from before a model existed loads, and the model starts from its defaults.
  cJSON_DeleteItemFromObject(state.get(), "counters");
  ASSERT_EQ(dev.fromJson(state.get(), error), 0) << error;
  SimDevice fresh([this] { return clockNs; });
  JsonPtr defaults(fresh.toJson());
  EXPECT_EQ(dumped(), CText(cJSON_PrintUnformatted(defaults.get())).get());
}

TEST_F(SimStateTest, MalformedStateIsRefusedWholeNamingTheFirstProblem) {
  using Edit = std::function<void(cJSON *)>;
  auto set = [](const char *key, std::string json) {
    return [=](cJSON *s) { cJSON_ReplaceItemInObject(s, key, cJSON_Parse(json.c_str())); };
  };
  auto setIn = [](const char *table, int index, const char *key, const char *json) {
    return [=](cJSON *s) { cJSON_ReplaceItemInObject(row(s, table, index), key, cJSON_Parse(json)); };
  };
  const struct {
    Edit edit;
    const char *error;
  } cases[] = {
      {[](cJSON *s) { cJSON_DeleteItemFromObject(s, "softwareVersion"); }, "softwareVersion: missing"},
      {set("machineModel", ("\"" + std::string(256, 'x') + "\"").c_str()),
       "machineModel: expected a text of at most 255 characters"},
      {set("baseMac", R"("00-11-22-33-44-55")"), "baseMac: expected a MAC address like 00:11:22:5A:3B:C0"},
      {set("baseMac", R"("+1:+2:+3:+4:+5:+6")"), "baseMac: expected a MAC address like 00:11:22:5A:3B:C0"},
      {set("apiVersion", "[1, 2, 3]"), "apiVersion: expected 4 integers (release, version, maintenance level, build)"},
      {set("vlans", "[1, 4095]"), "vlans[1]: expected an integer from 1 to 4094"},
      {set("vlans", "[1, 1]"), "vlans[1]: 1 is listed twice"},
      {set("vlans", "7"), "vlans: expected an array of VLAN ids"},
      {[](cJSON *s) { cJSON_ReplaceItemInArray(cJSON_GetObjectItem(s, "interfaces"), 9, cJSON_CreateNumber(9)); },
       "interfaces[9]: expected an object"},
      {[](cJSON *s) { cJSON_DeleteItemFromObject(row(s, "interfaces", 0), "name"); }, "interfaces[0].name: missing"},
      {setIn("interfaces", 2, "name", R"("")"),
       "interfaces[2].name: expected a non-empty text of at most 255 characters"},
      {setIn("interfaces", 4, "name", R"("1/0/1")"), R"(interfaces[4].name: "1/0/1" is used twice)"},
      {setIn("interfaces", 6, "intIfNum", "1"), "interfaces[6].intIfNum: 1 is used twice"},
      {setIn("interfaces", 6, "intIfNum", "0"), "interfaces[6].intIfNum: expected an integer from 1 to 4294967295"},
      {setIn("interfaces", 5, "link", R"("sideways")"), R"(interfaces[5].link: expected "up" or "down")"},
      {setIn("interfaces", 1, "speed", "123"), "interfaces[1].speed: expected 0, 10, 100, 1000 or 10000"},
      {setIn("interfaces", 1, "maxFrameSize", R"("+1518")"),
       "interfaces[1].maxFrameSize: expected an integer from 64 to 16383"},
      {setIn("interfaces", 1, "pvid", R"(" 1")"), "interfaces[1].pvid: expected an integer from 1 to 4094"},
      {set("counters", "{}"), "counters: expected an array of port counters"},
      {setIn("counters", 3, "values", R"(["1","2"])"), "counters[3].values: expected 65 numbers"},
      {[](cJSON *s) { setCounter(s, 2, 7, "18446744073709551616"); },
       "counters[2].values[7]: expected an unsigned 64-bit integer (as decimal text above 2^53)"},
      {[](cJSON *s) { setCounter(s, 2, 7, " -1"); },
       "counters[2].values[7]: expected an unsigned 64-bit integer (as decimal text above 2^53)"},
      {setIn("counters", 0, "load", R"("heavy")"), R"(counters[0].load: expected "busy" or "idle")"},
      {setIn("counters", 1, "intIfNum", "29"), "counters[1].intIfNum: 29 is not a physical port"},
      {[](cJSON *s) { cJSON_DeleteItemFromArray(cJSON_GetObjectItem(s, "counters"), 27); },
       "counters: no entry for port 1/0/28 (intIfNum 28)"},
  };
  std::string untouched = dumped(), error;
  for (const auto &c : cases) {
    SCOPED_TRACE(c.error);
    JsonPtr state(dev.toJson());
    // Changes in two models that a partial load would show.
    cJSON_ReplaceItemInObject(state.get(), "systemDescription", cJSON_CreateString("changed"));
    setCounter(state.get(), 0, ctr_rx_64, "1");
    c.edit(state.get());
    error.clear();
    EXPECT_EQ(dev.fromJson(state.get(), error), -1);
    EXPECT_EQ(error, c.error);
    EXPECT_EQ(dumped(), untouched);
  }
  JsonPtr array(cJSON_CreateArray());
  EXPECT_EQ(dev.fromJson(array.get(), error), -1);
  EXPECT_EQ(error, "state: expected an object");
}

// The families to come name some rows by several fields at once.
struct Sampler {
  uint32_t port = 0, instance = 0;
};
const schema::Record<Sampler> kSamplerFields = {
    {"port", &Sampler::port, schema::Integer({1, 28}), schema::Flag::Key},
    {"instance", &Sampler::instance, schema::Integer({1, 2}), schema::Flag::Key},
};

TEST(SimSchemaTest, RowsOfATableDifferInTheirKey) {
  const auto samplers = schema::table(kSamplerFields, "samplers");
  const char *distinct = R"([{"port":1,"instance":1},{"port":1,"instance":2},{"port":2,"instance":1}])";
  JsonPtr good(cJSON_Parse(distinct)), repeated(cJSON_Parse(R"([{"port":1,"instance":2},{"port":1,"instance":2}])"));
  std::vector<Sampler> rows;
  std::string error;
  ASSERT_TRUE(samplers.load(good.get(), rows, schema::Where("samplers", error))) << error;
  EXPECT_EQ(schema::printed(samplers.dump(rows)), distinct);
  EXPECT_FALSE(samplers.load(repeated.get(), rows, schema::Where("samplers", error)));
  EXPECT_EQ(error, "samplers[1]: port 1, instance 2 is used twice");
}

}  // namespace
