// LLDP: the key spellings of the neighbour routes, checked over the family's
// tables, and the simulated agent's walks and port data that no route shows whole.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "routes/families.h"
#include "routes/lldp/lldp.h"
#include "tests/unit/sim_fixture.h"

namespace {

struct Spelling {
  const char *prefix;
  std::vector<std::string> keys;
};

const std::vector<std::string> kIfNumTimeStamp = {"ifNum", "remIndex", "timeStamp"};
const std::vector<std::string> kIfNumTimestamp = {"ifNum", "remIndex", "timestamp"};
const Spelling kSpellings[] = {
    {"intf-remote-device-", kIfNumTimeStamp}, {"remote-device-", kIfNumTimeStamp},
    {"intf-remote-port-link-aggregation-info", kIfNumTimeStamp},
    {"rem-", kIfNumTimestamp}, {"med-rem-", kIfNumTimestamp}, {"lldpdot3-rem-", kIfNumTimestamp},
    {"med-remote-", {"intf", "remIndex", "timeStamp"}},
};

// The query or body keys a row reads, in argument order.
std::vector<std::string> keysOf(const route::Route &row) {
  std::vector<std::string> keys;
  for (const route::Bind &bind : row.call.binds) {
    if (bind.from == route::From::Query || bind.from == route::From::Body) keys.push_back(bind.key);
  }
  return keys;
}

TEST(LldpRoutes, NeighbourRoutesSpellTheirKeysAsTheirOperationNameSays) {
  size_t checked = 0;
  for (const route::RouteGroup *group : routeGroups()) {
    if (strcmp(group->dir, lldp::kDir) != 0) continue;
    for (const route::Route &row : std::span(group->rows, group->count)) {
      std::vector<std::string> keys = keysOf(row);
      // Rows that name no neighbour (the model-name size, MAU texts) read no neighbour keys.
      if (std::find(keys.begin(), keys.end(), "remIndex") == keys.end()) continue;
      const Spelling *rule = nullptr;
      for (const Spelling &spelling : kSpellings) {
        if (strncmp(row.op, spelling.prefix, strlen(spelling.prefix)) == 0) rule = &spelling;
      }
      ASSERT_NE(rule, nullptr) << row.op << " reads neighbour keys outside the named groups";
      keys.resize(3);
      EXPECT_EQ(keys, rule->keys) << row.op;
      ++checked;
    }
  }
  EXPECT_EQ(checked, 48u);
}

using LldpAgentTest = simtest::SimFixture;

TEST_F(LldpAgentTest, ManagementAddressesAreWalkedInFamilyAndAddressOrder) {
  uint32_t family = 0, length = 0;
  char text[64] = "";
  open_buffdesc address{sizeof text, text};
  auto next = [&](uint32_t port) {
    address.size = sizeof text;
    return sim::openapiLldpIntfRemoteDeviceMgmtAddressNextGet(dev, port, 2, 3544, &family, &address, &length);
  };
  std::string seen;
  open_error_t rc;
  while ((rc = next(12)) == OPEN_E_NONE) {
    seen += std::to_string(family) + " " + text + "/" + std::to_string(length) + " ";
  }
  EXPECT_EQ(rc, OPEN_E_NOT_FOUND);
  EXPECT_EQ(seen, "1 10.10.0.12/4 1 192.168.0.12/4 2 2001:db8:10::12/16 2 fe80::21e:c9ff:fea2:4410/16 ");
  EXPECT_EQ(next(29), OPEN_E_UNAVAIL);
}

TEST_F(LldpAgentTest, LocalPortDataFollowsThePortsKindAndLink) {
  // Port, MAU type, auto-negotiation supported, advertised capabilities.
  const std::tuple<uint32_t, uint32_t, uint32_t, const char *> cases[] = {
      {1, 30, 1, "6c01"}, {17, 0, 1, "6c01"}, {25, 36, 0, "0000"}, {27, 0, 0, "0000"}};
  for (const auto &[port, mauType, autoNeg, advertised] : cases) {
    EXPECT_EQ(number(sim::openapiLldpdot3LocPortAutoNegOperMauTypeGet, port), mauType) << port;
    EXPECT_EQ(number(sim::openapiLldpdot3LocPortAutoNegSupportedGet, port), autoNeg) << port;
    EXPECT_EQ(text(sim::openapiLldpdot3LocPortAutoNegAdvertizedCapGet, port), advertised) << port;
  }
}

}  // namespace
