#pragma once
// A simulated switch on a clock the test moves by hand.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "sim/device.h"
#include "sim/sim_ops.h"
#include "open/raii.h"

namespace simtest {

class SimFixture : public ::testing::Test {
 protected:
  int64_t clockNs = 5'000'000'000'000;  // the clock does not start at zero on a real machine
  SimDevice dev{[this] { return clockNs; }};

  std::string dumped() {
    JsonPtr json(dev.toJson());
    return CText(cJSON_PrintUnformatted(json.get())).get();
  }

  void advanceSeconds(double seconds) { clockNs += static_cast<int64_t>(seconds * 1e9); }

  // What a query answers; its arguments come between the switch and the answer.
  template <typename Answer = uint32_t>
  Answer number(auto get, auto... args) {
    Answer value = 99;
    EXPECT_EQ(get(dev, args..., &value), OPEN_E_NONE);
    return value;
  }
  uint64_t stat(uint32_t counterId, uint32_t intIf) { return number<uint64_t>(sim::openapiStatGet, counterId, intIf); }
  std::string text(auto get, auto... args) {
    char buf[512] = {};
    open_buffdesc desc{sizeof buf, buf};
    EXPECT_EQ(get(dev, args..., &desc), OPEN_E_NONE);
    return buf;
  }

  // first, then next until it stops, as "a,b,c"; "!rc" marks an end other than -29.
  std::string walked(auto first, auto next, auto... args) {
    std::string found;
    uint32_t at = 0;
    open_error_t rc = first(dev, args..., &at);
    for (int steps = 0; rc == OPEN_E_NONE && steps < 100; ++steps, rc = next(dev, args..., at, &at)) {
      found += (found.empty() ? "" : ",") + std::to_string(at);
    }
    return rc == OPEN_E_NOT_FOUND ? found : found + "!" + std::to_string(rc);
  }

  // Puts `json` (nullptr: nothing) where a path like "mirror/sessions/1/destination" points in a state.
  static void edit(cJSON *node, std::string path, const char *json) {
    for (size_t slash; (slash = path.find('/')) != std::string::npos; path.erase(0, slash + 1)) {
      std::string key = path.substr(0, slash);
      node = cJSON_IsArray(node) ? cJSON_GetArrayItem(node, std::stoi(key)) : cJSON_GetObjectItem(node, key.c_str());
      ASSERT_NE(node, nullptr) << key;
    }
    const bool array = cJSON_IsArray(node);
    if (json == nullptr) {
      array ? cJSON_DeleteItemFromArray(node, std::stoi(path)) : cJSON_DeleteItemFromObject(node, path.c_str());
    } else {
      ASSERT_TRUE(array ? cJSON_ReplaceItemInArray(node, std::stoi(path), cJSON_Parse(json))
                        : cJSON_ReplaceItemInObject(node, path.c_str(), cJSON_Parse(json))) << path;
    }
  }
};

}  // namespace simtest
