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
#include "open/raii.h"

namespace {

using route::Family;

// Every family but instru-nos is a feature this switch lacks.
constexpr Family kBhd{
    "/api/v2/monitoring/instru-bhd", "instruBhd", nullptr,
    "Black-hole detection of the switch chip: finding the ports where packets vanish without being forwarded, and "
    "sampling those packets to sFlow. This switch lacks the feature: every route answers 17002."};
constexpr Family kBst{
    "/api/v2/monitoring/instru-bst", "instruBst", nullptr,
    "Buffer statistics tracking of the switch chip: how full its buffers are for the device, per port, priority "
    "group, service pool and queue, with thresholds that raise reports. This switch lacks the feature: every route "
    "answers 17002."};
constexpr Family kFlowTracker{
    "/api/v2/monitoring/instru-flow-tracker", "instruFlowTracker", nullptr,
    "Flow tracking of the switch chip: records of the flows it forwards, grouped and shaped by templates and sent "
    "to collectors. This switch lacks the feature: every route answers 17002."};
constexpr Family kIfa{
    "/api/v2/monitoring/instru-ifa", "instruIfa", nullptr,
    "In-band flow analysis: the switches along a flow's path add what they saw to its packets, and the last one "
    "reports it to a collector. This switch lacks the feature: every route answers 17002."};
constexpr Family kNos{
    "/api/v2/monitoring/instru-nos", "instruNos", nullptr,
    "Facts about the switch and its chip that the network OS gives instrumentation clients. This switch answers "
    "its burned-in MAC address; every other route answers 17002."};
constexpr Family kPacketTrace{
    "/api/v2/monitoring/instru-packet-trace", "instruPacketTrace", nullptr,
    "Packet tracing of the switch chip: how it would forward a packet of a given flow, and why it drops packets. "
    "This switch lacks the feature: every route answers 17002."};

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
    Bhd::get("sflow-sampling-status", "Reads how the packets black-hole detection catches are sampled to sFlow"),
    Bhd::post("black-hole-cancel", "Stops black-hole detection and drops its configuration"),
    Bhd::post("black-hole-configure", "Sets black-hole detection: the ports watched and what happens to lost packets"),
    Bhd::get("asic-capabilities", "Reports the chip's black-hole detection capabilities"),
    Bhd::get("packet-count", "Reads how many packets black-hole detection has caught"),
};

using Bst = Placeholder<kBst>;
constexpr route::Route kBstRoutes[] = {
    Bst::get("asic-capability", "Reports the chip's buffer-statistics capabilities"),
    Bst::put("config", "Sets buffer-statistics tracking: on or off, what is tracked and how it is reported"),
    Bst::get("config", "Reads the buffer-statistics tracking settings"),
    Bst::get("snapshot", "Reads a snapshot of the buffer use of every realm of the chip"),
    Bst::get("snapshot-compressed", "Reads a snapshot of the buffer use of every realm, compressed"),
    Bst::get("default-snapshot", "Reads a snapshot of the buffer use of the realms tracked by default"),
    Bst::get("device-data", "Reads the buffer use of the whole device"),
    Bst::get("ippg-data", "Reads the buffer use per ingress port and priority group"),
    Bst::get("ipsp-data", "Reads the buffer use per ingress port and service pool"),
    Bst::get("isp-data", "Reads the buffer use per ingress service pool"),
    Bst::get("epsp-data", "Reads the buffer use per egress port and service pool"),
    Bst::get("esp-data", "Reads the buffer use per egress service pool"),
    Bst::get("eucq-data", "Reads the buffer use per egress unicast queue"),
    Bst::get("eucqg-data", "Reads the buffer use per egress unicast queue group"),
    Bst::get("emcq-data", "Reads the buffer use per egress multicast queue"),
    Bst::get("cpuq-data", "Reads the buffer use of the queues towards the CPU"),
    Bst::get("rqeq-data", "Reads the buffer use of the replication (RQE) queues"),
    Bst::put("device-threshold", "Sets the device's buffer-use threshold that raises a report"),
    Bst::put("ippg-threshold", "Sets the buffer-use threshold of an ingress port and priority group"),
    Bst::put("ipsp-threshold", "Sets the buffer-use threshold of an ingress port and service pool"),
    Bst::put("isp-threshold", "Sets the buffer-use threshold of an ingress service pool"),
    Bst::put("epsp-threshold", "Sets the buffer-use threshold of an egress port and service pool"),
    Bst::put("esp-threshold", "Sets the buffer-use threshold of an egress service pool"),
    Bst::put("eucq-threshold", "Sets the buffer-use threshold of an egress unicast queue"),
    Bst::put("eucqg-threshold", "Sets the buffer-use threshold of an egress unicast queue group"),
    Bst::put("emcq-threshold", "Sets the buffer-use threshold of an egress multicast queue"),
    Bst::put("cpuq-threshold", "Sets the buffer-use threshold of a queue towards the CPU"),
    Bst::put("rqeq-threshold", "Sets the buffer-use threshold of a replication (RQE) queue"),
    Bst::del("stats", "Resets the buffer-statistics counters"),
    Bst::del("thresholds", "Resets every buffer-use threshold to its default"),
    Bst::get("threshold", "Reads the buffer-use thresholds of every realm"),
    Bst::get("threshold-compressed", "Reads the buffer-use thresholds of every realm, compressed"),
    Bst::post("trigger-enable", "Enables or disables the reports sent when a buffer-use threshold is crossed"),
    Bst::post("trigger-register", "Registers for the report sent when a buffer-use threshold is crossed"),
    Bst::post("trigger-de-register", "Cancels a registration for buffer-use threshold reports"),
    Bst::get("port-mapping", "Reads how the switch's ports map to the chip's own port numbers"),
    Bst::get("port-ucast-cgs-drop", "Reads the unicast packets each port dropped for congestion"),
    Bst::get("port-mcast-cgs-drop", "Reads the multicast packets each port dropped for congestion"),
    Bst::get("port-total-cgs-drop", "Reads all the packets each port dropped for congestion"),
    Bst::del("cgsn-drop-ctrs", "Resets the congestion drop counters"),
    Bst::put("multi-threshold", "Sets several buffer-use thresholds in one request"),
    Bst::post("clear-instru-config", "Resets the buffer-statistics configuration to its defaults"),
    Bst::put("multi-realm-threshold", "Sets buffer-use thresholds of several realms in one request"),
};

using FlowTracker = Placeholder<kFlowTracker>;
constexpr route::Route kFlowTrackerRoutes[] = {
    FlowTracker::put("ft-config", "Sets flow tracking: on or off, how many flows are kept and when they age out"),
    FlowTracker::post("ft-collector-config", "Creates a collector that receives flow records"),
    FlowTracker::del("ft-collector-config", "Deletes a flow-record collector"),
    FlowTracker::post("ft-flow-group-config", "Creates a flow group: which flows are tracked and where they go"),
    FlowTracker::del("ft-flow-group-config", "Deletes a flow group"),
    FlowTracker::post("ft-flow-template-config", "Creates a template that says what a flow record holds"),
    FlowTracker::del("ft-flow-template-config", "Deletes a flow-record template"),
    FlowTracker::post("ft-pkt-send", "Sends a flow-record packet to a collector at once"),
    FlowTracker::del("ft-flow-group-stats", "Resets a flow group's statistics"),
    FlowTracker::get("ft-flow-group-stats", "Reads a flow group's statistics"),
    FlowTracker::get("ft-capabilities", "Reports the chip's flow-tracking capabilities"),
    FlowTracker::del("ft-stats", "Resets the flow-tracking statistics"),
    FlowTracker::post("ft-template-transmit-config", "Sets how often the templates are sent to a collector"),
};

using Ifa = Placeholder<kIfa>;
constexpr route::Route kIfaRoutes[] = {
    Ifa::put("config", "Sets in-band flow analysis: on or off, and the switch's role and identity on the path"),
    Ifa::get("config", "Reads the in-band flow analysis settings"),
    Ifa::post("session", "Creates an in-band flow analysis session"),
    Ifa::del("flow", "Deletes a flow from in-band flow analysis"),
    Ifa::post("flow", "Adds a flow for in-band flow analysis to follow"),
    Ifa::post("session-start", "Starts an in-band flow analysis session"),
    Ifa::post("session-stop", "Stops an in-band flow analysis session"),
    Ifa::del("session", "Deletes an in-band flow analysis session"),
    Ifa::get("capabilities", "Reports the chip's in-band flow analysis capabilities"),
    Ifa::post("clear-stats", "Resets the in-band flow analysis statistics"),
    Ifa::get("session-stats", "Reads an in-band flow analysis session's statistics"),
    Ifa::post("collector", "Creates the collector that receives in-band flow analysis reports"),
    Ifa::del("collector", "Deletes an in-band flow analysis collector"),
};

using Nos = Placeholder<kNos>;
constexpr route::Route kNosRoutes[] = {
    route::custom("mac-addr", HTTPD_GET, macAddrGet, kNosRead,
                  "Reads the switch's burned-in MAC address, as \"show version\" shows it", {kMac}).answers({RC_SUCCESS, RC_GENERAL_FAILED, RC_UNSUPPORTED_FEATURE}),
    Nos::get("time", "Reads the switch's current time"),
    Nos::get("chip-family-name", "Reads the name of the switch chip's family"),
    Nos::get("hw-max-ports", "Reads how many ports the switch chip has"),
    Nos::post("lag-translate-to-notation", "Translates LAGs into the switch's interface notation"),
    Nos::get("http-port", "Reads the port on which the instrumentation agent answers HTTP"),
    Nos::get("bst-max-snapshot", "Reads a snapshot of the highest buffer use of every realm"),
    Nos::get("bst-max-snapshot-compressed", "Reads a snapshot of the highest buffer use of every realm, compressed"),
    Nos::post("system-packet-tcam-register", "Registers a packet-matching (TCAM) rule for the instrumentation agent"),
    Nos::get("system-cosq-hwq-full-map", "Reads the whole map of class-of-service queues to hardware queues"),
    Nos::get("system-ucosq-hwq-map", "Reads which hardware queue serves each unicast class-of-service queue"),
    Nos::get("system-mcosq-hwq-map", "Reads which hardware queue serves each multicast class-of-service queue"),
    Nos::get("system-hwq-ucosq-map", "Reads which unicast class-of-service queue each hardware queue serves"),
    Nos::get("system-hwq-mcosq-map", "Reads which multicast class-of-service queue each hardware queue serves"),
    Nos::get("asic-capability", "Reports the switch chip's capabilities, as the network OS knows them"),
    Nos::get("system-cosq-hwq-full-map-get-v2", "Reads the whole class-of-service to hardware queue map, second form"),
};

using PacketTrace = Placeholder<kPacketTrace>;
constexpr route::Route kPacketTraceRoutes[] = {
    PacketTrace::post("pt-trace5-tuple-profile",
                      "Traces how the chip forwards packets of a 5-tuple: addresses, ports and protocol"),
    PacketTrace::del("pt-trace5-tuple-profile", "Stops tracing the packets of a 5-tuple"),
    PacketTrace::get("pt-trace-profile", "Reads a packet's trace: the ports and tables that decided its forwarding"),
    PacketTrace::post("pt-pkt-drop-ctrs-profile", "Starts counting the packets the chip drops, by drop reason"),
    PacketTrace::get("pt-pkt-drop-reason-info", "Reads why the chip dropped packets, by drop reason"),
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
