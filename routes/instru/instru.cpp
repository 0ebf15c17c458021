// Switch-chip instrumentation: placeholders that answer "Unsupported
// Feature", and the burned-in MAC address read from "show version".
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cgi/response.h"
#include "routes/instru/show_version.h"
#include "routes/families.h"
#include "routes/instru/cli_show.h"
#include "open/startup.h"
#include "log/paths.h"
#include "tools/raii.h"

namespace {

using route::Family;

constexpr Family kBhd{"/api/v2/monitoring/instru-bhd", "instruBhd", nullptr};
constexpr Family kBst{"/api/v2/monitoring/instru-bst", "instruBst", nullptr};
constexpr Family kFlowTracker{"/api/v2/monitoring/instru-flow-tracker", "instruFlowTracker", nullptr};
constexpr Family kIfa{"/api/v2/monitoring/instru-ifa", "instruIfa", nullptr};
constexpr Family kNos{"/api/v2/monitoring/instru-nos", "instruNos", nullptr};
constexpr Family kPacketTrace{"/api/v2/monitoring/instru-packet-trace", "instruPacketTrace", nullptr};

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

constexpr route::Bind kMac = route::outMac("mac");

int32_t macAddrGet(route::Inputs &, route::Output &out) {
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
  if (code == RC_SUCCESS) out.text(kMac, mac);
  return code;
}

// The placeholders of features this switch lacks: no call, 17002; a read
// writes it as it is, a write as a line.
template <const Family &F>
struct Placeholder {
  static constexpr route::Answering kRead{&F, route::Mapping::Unsupported, AnswerStyle::Data, AnswerStyle::Data,
                                          AnswerStyle::Data};
  static constexpr route::Answering kWrite{&F, route::Mapping::Unsupported, AnswerStyle::Line, AnswerStyle::Line,
                                           AnswerStyle::Line};
  static constexpr route::Route get(const char *op, const char *summary = nullptr) {
    return route::unsupported(op, HTTPD_GET, kRead, summary);
  }
  static constexpr route::Route post(const char *op, const char *summary = nullptr) {
    return route::unsupported(op, HTTPD_POST, kWrite, summary);
  }
  static constexpr route::Route put(const char *op, const char *summary = nullptr) {
    return route::unsupported(op, HTTPD_PUT, kWrite, summary);
  }
  static constexpr route::Route del(const char *op, const char *summary = nullptr) {
    return route::unsupported(op, HTTPD_DELETE, kWrite, summary);
  }
};

constexpr route::Answering kNosRead{&kNos, route::Mapping::OpenRc, AnswerStyle::Data, AnswerStyle::Data,
                                    AnswerStyle::Data};

using Bhd = Placeholder<kBhd>;
constexpr route::Route kBhdRoutes[] = {
    Bhd::get("sflow-sampling-status"), Bhd::post("black-hole-cancel"), Bhd::post("black-hole-configure"),
    Bhd::get("asic-capabilities"), Bhd::get("packet-count"),
};

using Bst = Placeholder<kBst>;
constexpr route::Route kBstRoutes[] = {
    Bst::get("asic-capability"), Bst::put("config"), Bst::get("config"), Bst::get("snapshot"),
    Bst::get("snapshot-compressed"), Bst::get("default-snapshot"), Bst::get("device-data"),
    Bst::get("ippg-data"), Bst::get("ipsp-data"), Bst::get("isp-data"), Bst::get("epsp-data"),
    Bst::get("esp-data"), Bst::get("eucq-data"), Bst::get("eucqg-data"), Bst::get("emcq-data"),
    Bst::get("cpuq-data"), Bst::get("rqeq-data"), Bst::put("device-threshold"), Bst::put("ippg-threshold"),
    Bst::put("ipsp-threshold"), Bst::put("isp-threshold"), Bst::put("epsp-threshold"), Bst::put("esp-threshold"),
    Bst::put("eucq-threshold"), Bst::put("eucqg-threshold"), Bst::put("emcq-threshold"), Bst::put("cpuq-threshold"),
    Bst::put("rqeq-threshold"), Bst::del("stats"), Bst::del("thresholds"), Bst::get("threshold"),
    Bst::get("threshold-compressed"), Bst::post("trigger-enable"), Bst::post("trigger-register"),
    Bst::post("trigger-de-register"), Bst::get("port-mapping"), Bst::get("port-ucast-cgs-drop"),
    Bst::get("port-mcast-cgs-drop"), Bst::get("port-total-cgs-drop"), Bst::del("cgsn-drop-ctrs"),
    Bst::put("multi-threshold"), Bst::post("clear-instru-config"), Bst::put("multi-realm-threshold"),
};

using FlowTracker = Placeholder<kFlowTracker>;
constexpr route::Route kFlowTrackerRoutes[] = {
    FlowTracker::put("ft-config"), FlowTracker::post("ft-collector-config"), FlowTracker::del("ft-collector-config"), FlowTracker::post("ft-flow-group-config"),
    FlowTracker::del("ft-flow-group-config"), FlowTracker::post("ft-flow-template-config"), FlowTracker::del("ft-flow-template-config"),
    FlowTracker::post("ft-pkt-send"), FlowTracker::del("ft-flow-group-stats"), FlowTracker::get("ft-flow-group-stats"),
    FlowTracker::get("ft-capabilities"), FlowTracker::del("ft-stats"), FlowTracker::post("ft-template-transmit-config"),
};

using Ifa = Placeholder<kIfa>;
constexpr route::Route kIfaRoutes[] = {
    Ifa::put("config"), Ifa::get("config"), Ifa::post("session"), Ifa::del("flow"), Ifa::post("flow"), Ifa::post("session-start"),
    Ifa::post("session-stop"), Ifa::del("session"), Ifa::get("capabilities"), Ifa::post("clear-stats"),
    Ifa::get("session-stats"), Ifa::post("collector"), Ifa::del("collector"),
};

using Nos = Placeholder<kNos>;
constexpr route::Route kNosRoutes[] = {
    route::custom("mac-addr", HTTPD_GET, macAddrGet, kNosRead,
                  "The switch's burned-in MAC address, as \"show version\" gives it", {kMac}),
    Nos::get("time"), Nos::get("chip-family-name"),
    Nos::get("hw-max-ports"), Nos::post("lag-translate-to-notation"), Nos::get("http-port"),
    Nos::get("bst-max-snapshot"), Nos::get("bst-max-snapshot-compressed"),
    Nos::post("system-packet-tcam-register"), Nos::get("system-cosq-hwq-full-map"),
    Nos::get("system-ucosq-hwq-map"), Nos::get("system-mcosq-hwq-map"),
    Nos::get("system-hwq-ucosq-map"), Nos::get("system-hwq-mcosq-map"), Nos::get("asic-capability"),
    Nos::get("system-cosq-hwq-full-map-get-v2"),
};

using PacketTrace = Placeholder<kPacketTrace>;
constexpr route::Route kPacketTraceRoutes[] = {
    PacketTrace::post("pt-trace5-tuple-profile"), PacketTrace::del("pt-trace5-tuple-profile"), PacketTrace::get("pt-trace-profile"),
    PacketTrace::post("pt-pkt-drop-ctrs-profile"), PacketTrace::get("pt-pkt-drop-reason-info"),
};

}  // namespace

using route::routeGroup;
constinit const route::RouteGroup route_groups::kInstruBhd = routeGroup<kBhdRoutes>(kBhd.dir);
constinit const route::RouteGroup route_groups::kInstruBst = routeGroup<kBstRoutes>(kBst.dir);
constinit const route::RouteGroup route_groups::kInstruFlowTracker =
    routeGroup<kFlowTrackerRoutes>(kFlowTracker.dir);
constinit const route::RouteGroup route_groups::kInstruIfa = routeGroup<kIfaRoutes>(kIfa.dir);
constinit const route::RouteGroup route_groups::kInstruNos = routeGroup<kNosRoutes>(kNos.dir);
constinit const route::RouteGroup route_groups::kInstruPacketTrace =
    routeGroup<kPacketTraceRoutes>(kPacketTrace.dir);
