#pragma once
// A simulated switch on a clock the test moves by hand.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "sim/device.h"
#include "sim/sim_ops.h"
#include "tools/raii.h"

namespace simtest {

class SimFixture : public ::testing::Test {
 protected:
  int64_t clockNs = 5'000'000'000'000;  // the clock does not start at zero on a real machine
  SimDevice dev{[this] { return clockNs; }};

  // The whole state as compact JSON.
  std::string dumped() {
    JsonPtr json(dev.toJson());
    return CText(cJSON_PrintUnformatted(json.get())).get();
  }

  void advanceSeconds(double seconds) { clockNs += static_cast<int64_t>(seconds * 1e9); }

  uint64_t stat(uint32_t counterId, uint32_t intIfNum) {
    uint64_t value = 0;
    EXPECT_EQ(sim::openapiStatGet(dev, counterId, intIfNum, &value), OPEN_E_NONE)
        << "counter " << counterId << " of interface " << intIfNum;
    return value;
  }

  bool linkUp(uint32_t intIfNum) {
    uint32_t state = kLinkDown;
    EXPECT_EQ(sim::openapiIfLinkStateGet(dev, intIfNum, &state), OPEN_E_NONE);
    return state == kLinkUp;
  }

  // Every interface of one type, in walk order.
  std::vector<uint32_t> walk(uint32_t type) {
    std::vector<uint32_t> found;
    uint32_t intIfNum = 0;
    open_error_t rc = sim::openapiIfFirstGet(dev, type, &intIfNum);
    while (rc == OPEN_E_NONE && found.size() < 1000) {
      found.push_back(intIfNum);
      rc = sim::openapiIfNextGet(dev, type, intIfNum, &intIfNum);
    }
    EXPECT_EQ(rc, OPEN_E_NOT_FOUND) << "a walk ends with not-found";
    return found;
  }

  std::string text(open_error_t (*get)(SimDevice &, uint32_t, open_buffdesc *), uint32_t arg) {
    char buf[256] = {};
    open_buffdesc desc{sizeof buf, buf};
    EXPECT_EQ(get(dev, arg, &desc), OPEN_E_NONE);
    return buf;
  }
};

}  // namespace simtest
