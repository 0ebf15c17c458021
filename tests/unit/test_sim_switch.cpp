// The switch itself as the OpEN operations show it: interfaces, VLANs, show version.
#include "sim_fixture.h"

namespace {

using SimSwitchTest = simtest::SimFixture;

TEST_F(SimSwitchTest, DefaultLayoutWalksByType) {
  const struct {
    uint32_t type, first, last;
    const char *firstName, *lastName;
  } cases[] = {
      {OPEN_INTF_TYPE_PHY, 1, 28, "1/0/1", "1/0/28"}, {OPEN_INTF_TYPE_LAG, 29, 36, "lag1", "lag8"}, {OPEN_INTF_TYPE_CPU, 37, 37, "cpu", "cpu"},
      {OPEN_INTF_TYPE_ANY, 1, 37, "1/0/1", "cpu"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE("type " + std::to_string(c.type));
    std::string expected;
    for (uint32_t n = c.first; n <= c.last; ++n) expected += (n == c.first ? "" : ",") + std::to_string(n);
    // Contiguous: LAG n is the first LAG plus n - 1.
    EXPECT_EQ(walked(sim::openapiIfFirstGet, sim::openapiIfNextGet, c.type), expected);
    EXPECT_EQ(text(sim::openapiIfNameGet, c.first), c.firstName);
    EXPECT_EQ(text(sim::openapiIfNameGet, c.last), c.lastName);
    for (uint32_t n = c.first; n <= c.last && c.type != OPEN_INTF_TYPE_ANY; ++n) {
      EXPECT_EQ(number(sim::openapiIfTypeGet, n), c.type);
    }
    // The monitor names physical ports, and only them, by unit, slot and port, as their names do.
    uint32_t unit = 0, slot = 0, port = 0;
    EXPECT_EQ(sim::openapiHashIntfUnitSlotPortGet(dev, c.last, &unit, &slot, &port),
              c.type == OPEN_INTF_TYPE_PHY ? OPEN_E_NONE : OPEN_E_PARAM);
    EXPECT_EQ(std::to_string(unit) + "/" + std::to_string(slot) + "/" + std::to_string(port),
              c.type == OPEN_INTF_TYPE_PHY ? c.lastName : "0/0/0");
  }
  for (uint32_t type : {OPEN_INTF_TYPE_VLAN, OPEN_INTF_TYPE_LOOPBACK, OPEN_INTF_TYPE_TUNNEL, OPEN_INTF_TYPE_SERVICE_PORT}) {
    EXPECT_EQ(walked(sim::openapiIfFirstGet, sim::openapiIfNextGet, type), "");
  }
}

TEST_F(SimSwitchTest, QueriesRefuseWhatTheSwitchDoesNotHave) {
  uint32_t out = 0;
  char small[3];
  open_buffdesc tooSmall{sizeof small, small};
  // What show version writes is checked end to end, where the monitor reads the MAC address from it.
  auto showToFile = [&](std::string command, std::string file) {
    open_buffdesc commandText{static_cast<uint32_t>(command.size() + 1), command.data()};
    open_buffdesc fileName{static_cast<uint32_t>(file.size() + 1), file.data()};
    return sim::openapiCliShowExecuteToFile(dev, &commandText, &fileName);
  };
  const struct {
    open_error_t rc, expected;
  } cases[] = {
      {sim::openapiIfFirstGet(dev, 9, &out), OPEN_E_PARAM},  // no such type
      {sim::openapiIfNextGet(dev, OPEN_INTF_TYPE_ANY, 37, &out), OPEN_E_NOT_FOUND},
      {sim::openapiIfTypeGet(dev, 0, &out), OPEN_E_PARAM}, {sim::openapiIfLinkStateGet(dev, 38, &out), OPEN_E_PARAM},
      {sim::openapiIfNameGet(dev, 1, &tooSmall), OPEN_E_PARAM},
      {sim::openapiVlanCreatedCheck(dev, 1), OPEN_E_NONE}, {sim::openapiVlanCreatedCheck(dev, 4094), OPEN_E_NOT_FOUND},
      {sim::openapiVlanCreatedCheck(dev, 0), OPEN_E_PARAM}, {sim::openapiVlanCreatedCheck(dev, 4095), OPEN_E_PARAM},
      {showToFile("  SHOW   Version ", "/dev/null"), OPEN_E_NONE},  // any case and spacing
      {showToFile("show running-config", "/dev/null"), OPEN_E_UNAVAIL},
      {showToFile("", "/dev/null"), OPEN_E_PARAM}, {showToFile("show version", ""), OPEN_E_PARAM},
      {showToFile("show version", "/nonexistent/out"), OPEN_E_FAIL},
  };
  for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].rc, cases[i].expected) << "case " << i;
}

}  // namespace
