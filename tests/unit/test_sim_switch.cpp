// The switch itself as the OpEN operations show it: interfaces, VLANs, show version.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "sim_fixture.h"

namespace {

using simtest::SimFixture;

using SimSwitchTest = SimFixture;

TEST_F(SimSwitchTest, DefaultLayoutWalksByType) {
  std::vector<uint32_t> phys = walk(kIntfPhysical), lags = walk(kIntfLag), cpus = walk(kIntfCpu), all = walk(kIntfAny);
  EXPECT_EQ(phys.size(), 28u);
  EXPECT_EQ(lags.size(), 8u);
  EXPECT_EQ(cpus.size(), 1u);
  EXPECT_EQ(all.size(), phys.size() + lags.size() + cpus.size());
  EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
  for (uint32_t type : {kIntfVlan, kIntfLoopback, kIntfTunnel, kIntfServicePort}) EXPECT_TRUE(walk(type).empty());
  for (uint32_t p = 0; p < phys.size(); ++p) EXPECT_EQ(text(sim::openapiIfNameGet, phys[p]), "1/0/" + std::to_string(p + 1));
  // LAG n is found as the first LAG plus n - 1.
  for (uint32_t n = 1; n <= lags.size(); ++n) {
    EXPECT_EQ(lags[n - 1], lags[0] + n - 1);
    EXPECT_EQ(text(sim::openapiIfNameGet, lags[n - 1]), "lag" + std::to_string(n));
  }
  EXPECT_EQ(text(sim::openapiIfNameGet, cpus[0]), "cpu");
  for (uint32_t type : {kIntfPhysical, kIntfLag, kIntfCpu}) {
    for (uint32_t intIfNum : walk(type)) {
      uint32_t got = 99;
      EXPECT_EQ(sim::openapiIfTypeGet(dev, intIfNum, &got), OPEN_E_NONE);
      EXPECT_EQ(got, type);
    }
  }
}

TEST_F(SimSwitchTest, InterfaceQueriesRefuseUnknownArguments) {
  uint32_t out = 0;
  char small[3];
  open_buffdesc tooSmall{sizeof small, small};
  uint32_t last = walk(kIntfAny).back();
  const struct {
    const char *what;
    open_error_t rc, expected;
  } cases[] = {
      {"first of an unknown type", sim::openapiIfFirstGet(dev, 9, &out), OPEN_E_PARAM},
      {"next after the last", sim::openapiIfNextGet(dev, kIntfAny, last, &out), OPEN_E_NOT_FOUND},
      {"type of interface 0", sim::openapiIfTypeGet(dev, 0, &out), OPEN_E_PARAM},
      {"link of an unknown interface", sim::openapiIfLinkStateGet(dev, last + 1, &out), OPEN_E_PARAM},
      {"speed of an unknown interface", sim::openapiIfSpeedGet(dev, last + 1, &out), OPEN_E_PARAM},
      {"PVID of an unknown interface", sim::openapiVlanIfPvidGet(dev, last + 1, &out), OPEN_E_PARAM},
      {"name into a 3-byte buffer", sim::openapiIfNameGet(dev, 1, &tooSmall), OPEN_E_PARAM},
      {"VLAN 1", sim::openapiVlanCreatedCheck(dev, 1), OPEN_E_NONE},
      {"VLAN 4094, never created", sim::openapiVlanCreatedCheck(dev, 4094), OPEN_E_NOT_FOUND},
      {"VLAN 0", sim::openapiVlanCreatedCheck(dev, 0), OPEN_E_PARAM},
      {"VLAN 4095", sim::openapiVlanCreatedCheck(dev, 4095), OPEN_E_PARAM},
  };
  for (const auto &c : cases) EXPECT_EQ(c.rc, c.expected) << c.what;
}

// Reads the MAC the way the web interface does: after the label, skip the
// leader of dots, blanks and colons, then take the value.
std::string macFromShowVersion(const std::string &output) {
  size_t at = output.find("Burned In MAC Address");
  if (at == std::string::npos) return "";
  at = output.find_first_not_of("\t .:", at + 21);
  return output.substr(at, output.find_first_of("\t\r\n ", at) - at);
}

TEST_F(SimSwitchTest, ShowVersionGoesToTheNamedFile) {
  char dir[] = "/tmp/simswitch.XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  std::string path = std::string(dir) + "/out";
  auto run = [&](std::string command, std::string file) {
    open_buffdesc c{static_cast<uint32_t>(command.size() + 1), command.data()};
    open_buffdesc f{static_cast<uint32_t>(file.size() + 1), file.data()};
    return sim::openapiCliShowExecuteToFile(dev, &c, &f);
  };
  const struct {
    const char *command;
    std::string file;
    open_error_t expected;
  } cases[] = {
      {"show version", path, OPEN_E_NONE},
      {"  SHOW   Version ", path, OPEN_E_NONE},
      {"show running-config", path, OPEN_E_UNAVAIL},
      {"", path, OPEN_E_PARAM},
      {"show version", "", OPEN_E_PARAM},
      {"show version", std::string(dir) + "/missing/out", OPEN_E_FAIL},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.command);
    unlink(path.c_str());
    ASSERT_EQ(run(c.command, c.file), c.expected);
    FILE *file = fopen(path.c_str(), "r");
    ASSERT_EQ(file != nullptr, c.expected == OPEN_E_NONE);
    if (file == nullptr) continue;
    char buf[4096] = {};
    EXPECT_GT(fread(buf, 1, sizeof buf - 1, file), 0u);
    fclose(file);
    EXPECT_EQ(macFromShowVersion(buf), dev.system().baseMacText());
    EXPECT_NE(strstr(buf, dev.system().identity().softwareVersion.c_str()), nullptr);
  }
  unlink(path.c_str());
  rmdir(dir);
}

}  // namespace
