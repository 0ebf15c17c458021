// "mac-addr", the one instrumentation route that is not a placeholder: the
// switch's burned-in address, read from "show version" through a scratch file.
#include <filesystem>

#include "tests/e2e/harness.h"

namespace {

class InstruTest : public SwitchTest {};

TEST_F(InstruTest, MacAddrReadsTheBurnedInAddressFromShowVersion) {
  const std::string uri = "/api/v2/monitoring/instru-nos/mac-addr", scratch = root_ + "/mnt/application/vexo/tmp";
  EXPECT_EQ(call("GET", uri).out, reply(0, "Success", "instruNos", R"({"mac":"00:11:22:5A:3B:C0"})"));
  std::vector<std::string> logged = callsOf("openapiCliShowExecuteToFile");
  ASSERT_EQ(logged.size(), 1u);
  EXPECT_NE(logged[0].find(R"("in":["show version",")" + scratch + "/instru_nos_"), std::string::npos) << logged[0];
  EXPECT_TRUE(std::filesystem::is_empty(scratch));
  for (const char *openRc : {"-28", "-20"}) {
    ctlOk({"fault", "openapiCliShowExecuteToFile", openRc, "1"});
    EXPECT_EQ(call("GET", uri).out, reply(17002, "Unsupported Feature"));
  }
  // Executed, but no file came of it.
  ctlOk({"stub", "openapiCliShowExecuteToFile", R"({"rc":0,"out":[]})", "1"});
  EXPECT_EQ(call("GET", uri).out, reply(10000, "General Failed"));
  EXPECT_TRUE(std::filesystem::is_empty(scratch));
}

}  // namespace
