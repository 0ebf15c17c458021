// The switch state as JSON: dumps, loads, and loads that must change nothing.
#include <functional>

#include "sim_fixture.h"
#include "tools/raii.h"

namespace {

using simtest::SimFixture;

std::string printed(const cJSON *json) {
  CText text(cJSON_PrintUnformatted(json));
  return text.get();
}

class SimStateTest : public SimFixture {
 protected:
  std::string dump() {
    JsonPtr json(sw.toJson());
    return printed(json.get());
  }
  cJSON *port(cJSON *state, int index) {
    return cJSON_GetArrayItem(cJSON_GetObjectItemCaseSensitive(state, "interfaces"), index);
  }
  void setCounter(cJSON *state, int portIndex, uint32_t id, const char *value) {
    cJSON *counters = cJSON_GetObjectItemCaseSensitive(port(state, portIndex), "counters");
    cJSON_ReplaceItemInArray(counters, static_cast<int>(id), cJSON_CreateString(value));
  }
};

TEST_F(SimStateTest, DumpLoadsBackUnchanged) {
  advanceSeconds(12.5);
  ASSERT_EQ(sim::openapiStatReset(sw, ctr_tx_64, 3), OPEN_E_NONE);
  std::string before = dump();
  JsonPtr state(cJSON_Parse(before.c_str()));

  int64_t otherClock = 77'000'000'000;  // another daemon, another clock
  SimSwitch other([&] { return otherClock; });
  std::string error;
  ASSERT_EQ(other.fromJson(state.get(), error), 0) << error;
  JsonPtr again(other.toJson());
  EXPECT_EQ(printed(again.get()), before);
}

TEST_F(SimStateTest, LoadedCountersContinueExactlyAbove53Bits) {
  const char *big = "9007199254740993";  // 2^53 + 1: a double would round it
  JsonPtr state(sw.toJson());
  setCounter(state.get(), 0, ctr_rx_total_bytes, big);
  setCounter(state.get(), 0, ctr_port_link_down_counter, "18446744073709551615");
  cJSON_ReplaceItemInObject(port(state.get(), 0), "secondsSinceReset", cJSON_CreateNumber(600));
  std::string error;
  ASSERT_EQ(sw.fromJson(state.get(), error), 0) << error;

  EXPECT_EQ(stat(ctr_rx_total_bytes, 1), 9007199254740993u);
  EXPECT_EQ(stat(ctr_port_link_down_counter, 1), UINT64_MAX);
  char text[21];
  open_buffdesc desc{sizeof text, text};
  ASSERT_EQ(sim::openapiStatStringGet(sw, ctr_rx_total_bytes, 1, &desc), OPEN_E_NONE);
  EXPECT_STREQ(text, big);
  uint32_t seconds = 0;
  ASSERT_EQ(sim::openapiInterfaceStatsResetTimeGet(sw, 1, &seconds), OPEN_E_NONE);
  EXPECT_EQ(seconds, 600u);

  advanceSeconds(2);
  ASSERT_TRUE(linkUp(1));
  EXPECT_GT(stat(ctr_rx_total_bytes, 1), 9007199254740993u) << "a busy port keeps counting from the loaded value";
  ASSERT_EQ(sim::openapiInterfaceStatsResetTimeGet(sw, 1, &seconds), OPEN_E_NONE);
  EXPECT_EQ(seconds, 602u);
  JsonPtr saved(sw.toJson());
  cJSON *counters = cJSON_GetObjectItemCaseSensitive(port(saved.get(), 0), "counters");
  EXPECT_STREQ(cJSON_GetArrayItem(counters, ctr_port_link_down_counter)->valuestring, "18446744073709551615");
}

TEST_F(SimStateTest, LoadedLinkStateDecidesTraffic) {
  JsonPtr state(sw.toJson());
  cJSON_ReplaceItemInObject(port(state.get(), 0), "link", cJSON_CreateString("down"));
  std::string error;
  ASSERT_EQ(sw.fromJson(state.get(), error), 0) << error;
  uint64_t before = stat(ctr_rx_total_frames, 1);
  advanceSeconds(60);
  EXPECT_FALSE(linkUp(1));
  EXPECT_EQ(stat(ctr_rx_total_frames, 1), before);
  EXPECT_EQ(stat(ctr_rx_rate_bits, 1), 0u);
}

TEST_F(SimStateTest, MalformedStateIsRefusedWhole) {
  using Edit = std::function<void(cJSON *)>;
  auto setMember = [](const char *key, const char *json) {
    return [=](cJSON *s) { cJSON_ReplaceItemInObject(s, key, cJSON_Parse(json)); };
  };
  auto portMember = [this](int index, const char *key, const char *json) {
    return [=, this](cJSON *s) { cJSON_ReplaceItemInObject(port(s, index), key, cJSON_Parse(json)); };
  };
  const struct {
    const char *problem;
    Edit edit;
    const char *error;
  } cases[] = {
      {"counters cut short", portMember(3, "counters", R"(["1","2"])"), "interfaces[3].counters: expected 65 numbers"},
      {"a counter of 2^64", [this](cJSON *s) { setCounter(s, 2, 7, "18446744073709551616"); }, "interfaces[2].counters[7]"},
      {"a negative counter", [this](cJSON *s) { setCounter(s, 2, 7, "-1"); }, "interfaces[2].counters[7]"},
      {"link neither up nor down", portMember(5, "link", R"("sideways")"), "interfaces[5].link"},
      {"no name", [this](cJSON *s) { cJSON_DeleteItemFromObject(port(s, 0), "name"); }, "interfaces[0].name: missing"},
      {"a name used twice", portMember(4, "name", R"("1/0/1")"), "interfaces[4].name"},
      {"a number used twice", portMember(6, "intIfNum", "1"), "interfaces[6].intIfNum"},
      {"interface number 0", portMember(6, "intIfNum", "0"), "interfaces[6].intIfNum"},
      {"unknown speed", portMember(1, "speed", "123"), "interfaces[1].speed"},
      {"interface not an object", [](cJSON *s) {
         cJSON_ReplaceItemInArray(cJSON_GetObjectItem(s, "interfaces"), 9, cJSON_CreateNumber(9));
       }, "interfaces[9]"},
      {"VLAN 4095", setMember("vlans", "[1, 4095]"), "vlans[1]"},
      {"VLAN twice", setMember("vlans", "[1, 1]"), "vlans[1]"},
      {"MAC with a dash", setMember("baseMac", R"("00-11-22-33-44-55")"), "baseMac"},
      {"short API version", setMember("apiVersion", "[1, 2, 3]"), "apiVersion"},
      {"no software version", [](cJSON *s) { cJSON_DeleteItemFromObject(s, "softwareVersion"); }, "softwareVersion"},
  };
  std::string untouched = dump(), error;
  for (const auto &c : cases) {
    SCOPED_TRACE(c.problem);
    JsonPtr state(sw.toJson());
    // Broken late in the document, so that a partial load would show.
    cJSON_ReplaceItemInObject(state.get(), "systemDescription", cJSON_CreateString("changed"));
    setCounter(state.get(), 0, ctr_rx_64, "1");
    c.edit(state.get());
    error.clear();
    EXPECT_EQ(sw.fromJson(state.get(), error), -1);
    EXPECT_NE(error.find(c.error), std::string::npos) << "error: " << error;
    EXPECT_EQ(dump(), untouched);
  }
  JsonPtr array(cJSON_CreateArray());
  EXPECT_EQ(sw.fromJson(array.get(), error), -1) << "an array is not a state";
}

}  // namespace
