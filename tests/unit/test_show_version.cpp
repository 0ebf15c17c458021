#include <gtest/gtest.h>

#include <utility>

#include "routes/instru/show_version.h"

namespace {

TEST(ShowVersionTest, FindsTheBurnedInAddressAfterItsLeader) {
  const std::pair<const char *, const char *> cases[] = {
      {"Serial Number.... SX1\nBurned In MAC Address.......... 00:11:22:33:44:55\nSoftware Version 1\n",
       "00:11:22:33:44:55"},
      {"Burned In MAC Address:\t00-11-22-33-44-55\r\n", "00-11-22-33-44-55"},
      {"Burned In MAC Address...:..0011.2233.4455 (factory)", "0011.2233.4455"},
      {"Burned In MAC Address.......... \nNext line", ""},
      {"Burned in MAC Address.... 00:11:22:33:44:55\n", ""},  // the label is matched exactly
      {"System Description ... switch\n", ""},
      // Straight after the label, and cut to what the buffer holds.
      {"Burned In MAC Address0123456789abcdef0123456789abcdef", "0123456789abcdef0123456789abcde"},
  };
  for (const auto &[output, expected] : cases) {
    char mac[32];
    macFromShowVersion(output, mac);
    EXPECT_STREQ(mac, expected) << output;
  }
}

}  // namespace
