// Instrumentation routes: every placeholder answers "Unsupported Feature"
// without touching OpEN; "mac-addr" reads the switch's burned-in address.
#include <dirent.h>

#include "tests/e2e/harness.h"

namespace {


struct Family {
  const char *dir;
  std::vector<std::pair<const char *, const char *>> routes;  // method, operation
};

const Family kFamilies[] = {
    {"instru-bhd",
     {{"GET", "sflow-sampling-status"}, {"POST", "black-hole-cancel"}, {"POST", "black-hole-configure"},
      {"GET", "asic-capabilities"}, {"GET", "packet-count"}}},
    {"instru-bst",
     {{"GET", "asic-capability"}, {"PUT", "config"}, {"GET", "config"}, {"GET", "snapshot"},
      {"GET", "snapshot-compressed"}, {"GET", "default-snapshot"}, {"GET", "device-data"}, {"GET", "ippg-data"},
      {"GET", "ipsp-data"}, {"GET", "isp-data"}, {"GET", "epsp-data"}, {"GET", "esp-data"}, {"GET", "eucq-data"},
      {"GET", "eucqg-data"}, {"GET", "emcq-data"}, {"GET", "cpuq-data"}, {"GET", "rqeq-data"},
      {"PUT", "device-threshold"}, {"PUT", "ippg-threshold"}, {"PUT", "ipsp-threshold"}, {"PUT", "isp-threshold"},
      {"PUT", "epsp-threshold"}, {"PUT", "esp-threshold"}, {"PUT", "eucq-threshold"}, {"PUT", "eucqg-threshold"},
      {"PUT", "emcq-threshold"}, {"PUT", "cpuq-threshold"}, {"PUT", "rqeq-threshold"}, {"DELETE", "stats"},
      {"DELETE", "thresholds"}, {"GET", "threshold"}, {"GET", "threshold-compressed"}, {"POST", "trigger-enable"},
      {"POST", "trigger-register"}, {"POST", "trigger-de-register"}, {"GET", "port-mapping"},
      {"GET", "port-ucast-cgs-drop"}, {"GET", "port-mcast-cgs-drop"}, {"GET", "port-total-cgs-drop"},
      {"DELETE", "cgsn-drop-ctrs"}, {"PUT", "multi-threshold"}, {"POST", "clear-instru-config"},
      {"PUT", "multi-realm-threshold"}}},
    {"instru-flow-tracker",
     {{"PUT", "ft-config"}, {"POST", "ft-collector-config"}, {"DELETE", "ft-collector-config"},
      {"POST", "ft-flow-group-config"}, {"DELETE", "ft-flow-group-config"}, {"POST", "ft-flow-template-config"},
      {"DELETE", "ft-flow-template-config"}, {"POST", "ft-pkt-send"}, {"DELETE", "ft-flow-group-stats"},
      {"GET", "ft-flow-group-stats"}, {"GET", "ft-capabilities"}, {"DELETE", "ft-stats"},
      {"POST", "ft-template-transmit-config"}}},
    {"instru-ifa",
     {{"PUT", "config"}, {"GET", "config"}, {"POST", "session"}, {"DELETE", "flow"}, {"POST", "flow"},
      {"POST", "session-start"}, {"POST", "session-stop"}, {"DELETE", "session"}, {"GET", "capabilities"},
      {"POST", "clear-stats"}, {"GET", "session-stats"}, {"POST", "collector"}, {"DELETE", "collector"}}},
    {"instru-nos",
     {{"GET", "time"}, {"GET", "chip-family-name"}, {"GET", "hw-max-ports"}, {"POST", "lag-translate-to-notation"},
      {"GET", "http-port"}, {"GET", "bst-max-snapshot"}, {"GET", "bst-max-snapshot-compressed"},
      {"POST", "system-packet-tcam-register"}, {"GET", "system-cosq-hwq-full-map"}, {"GET", "system-ucosq-hwq-map"},
      {"GET", "system-mcosq-hwq-map"}, {"GET", "system-hwq-ucosq-map"}, {"GET", "system-hwq-mcosq-map"},
      {"GET", "asic-capability"}, {"GET", "system-cosq-hwq-full-map-get-v2"}}},
    {"instru-packet-trace",
     {{"POST", "pt-trace5-tuple-profile"}, {"DELETE", "pt-trace5-tuple-profile"}, {"GET", "pt-trace-profile"},
      {"POST", "pt-pkt-drop-ctrs-profile"}, {"GET", "pt-pkt-drop-reason-info"}}},
};

class InstruTest : public SwitchTest {};

TEST_F(InstruTest, EveryPlaceholderAnswersUnsupportedWithoutOpen) {
  const std::string unsupported = kJsonHeader + envelope(17002, "Unsupported Feature");
  size_t routes = 0;
  for (const Family &family : kFamilies) {
    for (const auto &[method, op] : family.routes) {
      std::string uri = std::string("/api/v2/monitoring/") + family.dir + "/" + op;
      SCOPED_TRACE(std::string(method) + " " + uri);
      ctlOk({"calls", "clear"});
      ProcessResult result = call(method, uri, R"({"ignored":true})");
      bool read = std::string(method) == "GET";
      EXPECT_EQ(result.out, unsupported + (read ? "" : "\n"));
      EXPECT_EQ(calls().size(), 3u) << "only the start-up calls";
      ++routes;
    }
  }
  EXPECT_EQ(routes + 1, 95u);  // and "mac-addr"
}

bool scratchIsEmpty(const std::string &dir) {
  DIR *d = opendir(dir.c_str());
  if (d == nullptr) return true;
  bool empty = true;
  while (dirent *entry = readdir(d)) empty = empty && entry->d_name[0] == '.';
  closedir(d);
  return empty;
}

TEST_F(InstruTest, MacAddrReadsTheBurnedInAddressFromShowVersion) {
  const std::string uri = "/api/v2/monitoring/instru-nos/mac-addr";
  ProcessResult result = call("GET", uri);
  ASSERT_EQ(result.out.rfind(kJsonHeader + "{\n\t\"instruNos\":\t{\n\t\t\"mac\":\t\"", 0), 0u) << result.out;
  std::string mac = result.out.substr(result.out.find("\"mac\":\t\"") + 8, 17);
  EXPECT_EQ(result.out, kJsonHeader + envelope(0, "Success", "instruNos", "{\"mac\":\"" + mac + "\"}"));
  EXPECT_NE(ctl({"dump"}).out.find(mac), std::string::npos) << "the simulated switch's own address";
  std::vector<std::string> logged = callsOf("openapiCliShowExecuteToFile");
  ASSERT_EQ(logged.size(), 1u);
  EXPECT_NE(logged[0].find(R"("in":["show version",")" + root_ + "/mnt/application/vexo/tmp/instru_nos_"),
            std::string::npos)
      << logged[0];
  EXPECT_TRUE(scratchIsEmpty(root_ + "/mnt/application/vexo/tmp"));

  const struct {
    const char *openRc;
    int code;
    const char *message;
  } failures[] = {{"-28", 17002, "Unsupported Feature"}, {"-20", 17002, "Unsupported Feature"}};
  for (const auto &f : failures) {
    ctlOk({"fault", "openapiCliShowExecuteToFile", f.openRc, "1"});
    EXPECT_EQ(call("GET", uri).out, kJsonHeader + envelope(f.code, f.message));
  }
  // Executed, but no file came of it.
  ctlOk({"stub", "openapiCliShowExecuteToFile", R"({"rc":0,"out":[]})", "1"});
  EXPECT_EQ(call("GET", uri).out, kJsonHeader + envelope(10000, "General Failed"));
  EXPECT_TRUE(scratchIsEmpty(root_ + "/mnt/application/vexo/tmp"));
}

}  // namespace
