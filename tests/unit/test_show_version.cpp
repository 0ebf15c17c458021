#include <gtest/gtest.h>

#include "routes/instru/show_version.h"

namespace {

TEST(ShowVersionTest, FindsTheBurnedInAddressAfterItsLeader) {
  const struct {
    const char *output;
    const char *mac;
  } cases[] = {
      {"Serial Number.... SX1\nBurned In MAC Address.......... 00:11:22:33:44:55\nSoftware Version 1\n",
       "00:11:22:33:44:55"},
      {"Burned In MAC Address:\t00-11-22-33-44-55\r\n", "00-11-22-33-44-55"},
      {"Burned In MAC Address...:..0011.2233.4455 (factory)", "0011.2233.4455"},
      {"Burned In MAC Address.......... \nNext line", ""},
      {"Burned in MAC Address.... 00:11:22:33:44:55\n", ""},  // the label is matched exactly
      {"System Description ... switch\n", ""},
      {"Burned In MAC Address 0123456789abcdef0123456789abcdef0123", "0123456789abcdef0123456789abcde"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.output);
    char mac[32];
    macFromShowVersion(c.output, mac);
    EXPECT_STREQ(mac, c.mac);
  }
}

}  // namespace
