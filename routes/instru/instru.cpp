// Switch-chip instrumentation: placeholders that answer "Unsupported
// Feature", and the burned-in MAC address read from "show version".
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cgi/response.h"
#include "cgi/routes.h"
#include "routes/instru/show_version.h"
#include "routes/families.h"
#include "tools/answer.h"
#include "tools/cli_show.h"
#include "tools/common.h"
#include "tools/paths.h"
#include "tools/raii.h"

namespace {

constexpr char kBhdKey[] = "instruBhd";
constexpr char kBstKey[] = "instruBst";
constexpr char kFlowTrackerKey[] = "instruFlowTracker";
constexpr char kIfaKey[] = "instruIfa";
constexpr char kNosKey[] = "instruNos";
constexpr char kPacketTraceKey[] = "instruPacketTrace";

// Reads leave the key in the call although a failure never shows data.
template <const char *Key>
void unsupportedRead() {
  answerWith(RC_UNSUPPORTED_FEATURE, Key, nullptr, AnswerStyle::Data);
}

// Writes leave the body unread.
void unsupportedWrite() { answerWith(RC_UNSUPPORTED_FEATURE, nullptr, nullptr, AnswerStyle::Line); }

constexpr size_t kShowOutputMax = 65536;

// 0 with the file's first bytes in `output`, or a result code.
int32_t readShowOutput(const char *path, char *output) {
  FILE *file = fopen(path, "r");
  if (file == nullptr) return RC_GENERAL_FAILED;
  size_t length = fread(output, 1, kShowOutputMax - 1, file);
  output[length] = '\0';
  fclose(file);
  return RC_SUCCESS;
}

int32_t burnedInMac(const char *path, char (&mac)[32]) {
  int32_t code = cliShowExecuteToFile(&clientHandle, "show version", path);
  if (code != 0) return RC_UNSUPPORTED_FEATURE;
  CText output(static_cast<char *>(calloc(kShowOutputMax, 1)));
  if (output == nullptr) return RC_GENERAL_FAILED;
  code = readShowOutput(path, output.get());
  if (code != RC_SUCCESS) return code;
  macFromShowVersion(output.get(), mac);
  return mac[0] != '\0' ? RC_SUCCESS : RC_GENERAL_FAILED;
}

void macAddrGet() {
  char name[96];
  snprintf(name, sizeof name, "/mnt/application/vexo/tmp/instru_nos_%d", static_cast<int>(getpid()));
  char rooted[512];
  const char *path = rootedPath(name, rooted, sizeof rooted);
  // A name that the command runner would cut names another file, which
  // would be written and never removed.
  if (path != nullptr && !cliShowFileNameFits(path)) path = nullptr;
  char mac[32];
  int32_t code = path ? burnedInMac(path, mac) : RC_GENERAL_FAILED;
  if (path) remove(path);
  JsonPtr data(code == RC_SUCCESS ? cJSON_CreateObject() : nullptr);
  if (data) cJSON_AddStringToObject(data.get(), "mac", mac);
  answerWith(code, kNosKey, data.get(), AnswerStyle::Data);
}

template <const char *Key>
constexpr RouteRow get(const char *opName) {
  return {opName, HTTPD_GET, unsupportedRead<Key>};
}
constexpr RouteRow post(const char *opName) { return {opName, HTTPD_POST, unsupportedWrite}; }
constexpr RouteRow put(const char *opName) { return {opName, HTTPD_PUT, unsupportedWrite}; }
constexpr RouteRow del(const char *opName) { return {opName, HTTPD_DELETE, unsupportedWrite}; }

constexpr RouteRow kBhdRoutes[] = {
    get<kBhdKey>("sflow-sampling-status"), post("black-hole-cancel"), post("black-hole-configure"),
    get<kBhdKey>("asic-capabilities"), get<kBhdKey>("packet-count"),
};

constexpr RouteRow kBstRoutes[] = {
    get<kBstKey>("asic-capability"), put("config"), get<kBstKey>("config"), get<kBstKey>("snapshot"),
    get<kBstKey>("snapshot-compressed"), get<kBstKey>("default-snapshot"), get<kBstKey>("device-data"),
    get<kBstKey>("ippg-data"), get<kBstKey>("ipsp-data"), get<kBstKey>("isp-data"), get<kBstKey>("epsp-data"),
    get<kBstKey>("esp-data"), get<kBstKey>("eucq-data"), get<kBstKey>("eucqg-data"), get<kBstKey>("emcq-data"),
    get<kBstKey>("cpuq-data"), get<kBstKey>("rqeq-data"), put("device-threshold"), put("ippg-threshold"),
    put("ipsp-threshold"), put("isp-threshold"), put("epsp-threshold"), put("esp-threshold"),
    put("eucq-threshold"), put("eucqg-threshold"), put("emcq-threshold"), put("cpuq-threshold"),
    put("rqeq-threshold"), del("stats"), del("thresholds"), get<kBstKey>("threshold"),
    get<kBstKey>("threshold-compressed"), post("trigger-enable"), post("trigger-register"),
    post("trigger-de-register"), get<kBstKey>("port-mapping"), get<kBstKey>("port-ucast-cgs-drop"),
    get<kBstKey>("port-mcast-cgs-drop"), get<kBstKey>("port-total-cgs-drop"), del("cgsn-drop-ctrs"),
    put("multi-threshold"), post("clear-instru-config"), put("multi-realm-threshold"),
};

constexpr RouteRow kFlowTrackerRoutes[] = {
    put("ft-config"), post("ft-collector-config"), del("ft-collector-config"), post("ft-flow-group-config"),
    del("ft-flow-group-config"), post("ft-flow-template-config"), del("ft-flow-template-config"),
    post("ft-pkt-send"), del("ft-flow-group-stats"), get<kFlowTrackerKey>("ft-flow-group-stats"),
    get<kFlowTrackerKey>("ft-capabilities"), del("ft-stats"), post("ft-template-transmit-config"),
};

constexpr RouteRow kIfaRoutes[] = {
    put("config"), get<kIfaKey>("config"), post("session"), del("flow"), post("flow"), post("session-start"),
    post("session-stop"), del("session"), get<kIfaKey>("capabilities"), post("clear-stats"),
    get<kIfaKey>("session-stats"), post("collector"), del("collector"),
};

constexpr RouteRow kNosRoutes[] = {
    {"mac-addr", HTTPD_GET, macAddrGet}, get<kNosKey>("time"), get<kNosKey>("chip-family-name"),
    get<kNosKey>("hw-max-ports"), post("lag-translate-to-notation"), get<kNosKey>("http-port"),
    get<kNosKey>("bst-max-snapshot"), get<kNosKey>("bst-max-snapshot-compressed"),
    post("system-packet-tcam-register"), get<kNosKey>("system-cosq-hwq-full-map"),
    get<kNosKey>("system-ucosq-hwq-map"), get<kNosKey>("system-mcosq-hwq-map"),
    get<kNosKey>("system-hwq-ucosq-map"), get<kNosKey>("system-hwq-mcosq-map"), get<kNosKey>("asic-capability"),
    get<kNosKey>("system-cosq-hwq-full-map-get-v2"),
};

constexpr RouteRow kPacketTraceRoutes[] = {
    post("pt-trace5-tuple-profile"), del("pt-trace5-tuple-profile"), get<kPacketTraceKey>("pt-trace-profile"),
    post("pt-pkt-drop-ctrs-profile"), get<kPacketTraceKey>("pt-pkt-drop-reason-info"),
};

}  // namespace

void instruRoutesRegister(httpdTable *table) {
  httpdAddRoutes(table, "/api/v2/monitoring/instru-bhd", kBhdRoutes);
  httpdAddRoutes(table, "/api/v2/monitoring/instru-bst", kBstRoutes);
  httpdAddRoutes(table, "/api/v2/monitoring/instru-flow-tracker", kFlowTrackerRoutes);
  httpdAddRoutes(table, "/api/v2/monitoring/instru-ifa", kIfaRoutes);
  httpdAddRoutes(table, "/api/v2/monitoring/instru-nos", kNosRoutes);
  httpdAddRoutes(table, "/api/v2/monitoring/instru-packet-trace", kPacketTraceRoutes);
}
