// sFlow: the agent's source interface and addresses, receivers, flow
// samplers, counter pollers, remote agents, sampler ACLs, ranges and modes.
// Every route is one OpEN call.
#include "routes/engine/engine.h"
#include "routes/families.h"

namespace {

using namespace route;

constexpr const char *kDir = "/api/v2/monitoring/sflow";

// Selectors always come from QUERY_STRING, also on PUT; absent ones are 0.
constexpr Family kSflow{kDir, "sflow", &kQueryStringUnsigned};
// Every GET answer is written without a newline, every PUT answer with one.
constexpr Answering kGet{&kSflow, Mapping::OpenRc, AnswerStyle::Data, AnswerStyle::Data, AnswerStyle::Data};
constexpr Answering kPut{&kSflow, Mapping::OpenRc, AnswerStyle::Line, AnswerStyle::Line, AnswerStyle::Line};

// Any other text asks for type 0, which the switch refuses.
constexpr ChoiceTable kSamplerType = choicesOf<OPEN_SFLOW_SAMPLING_TYPE_t>(false, 0, "");
// Only "enable" exactly enables.
constexpr ChoiceTable kMode = choicesOf<OPEN_CONTROL_t>(false, OPEN_DISABLE, "disable");

constexpr BufferKind kOwnerText{256, SizeRule::Capacity, nullptr};

constexpr Bind kIfNum = query("ifNum");
constexpr Bind kInstance = query("instance");
constexpr Bind kIndex = query("index");

constexpr Route kSflowRoutes[] = {
    // Registered before the SNMP family.
    {"source-interface", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowSourceInterfaceGet>, {out("ifNum")}}},
    {"source-interface", HTTPD_PUT, &kPut, {open<rpcclt_openapiSflowSourceInterfaceSet>, {kIfNum}}},
    {"remote-agent-source-interface", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentSourceInterfaceGet>, {out("ifNum")}}},
    {"remote-agent-source-interface", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRemoteAgentSourceInterfaceSet>, {kIfNum}}},
    {"remote-agent-source-ipv4-addr", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentSourceIpv4AddrGet>, {outIpv4("ipAddr")}}},
    {"remote-agent-source-ipv6-addr", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentSourceIpv6AddrGet>, {outIpv6("ipv6Addr")}}},
    {"source-ipv4-addr", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowSourceIpv4AddrGet>, {outIpv4("ipAddr")}}},
    {"source-ipv6-addr", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowSourceIpv6AddrGet>, {outIpv6("ipv6Addr")}}},
    {"rcvr-count", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowRcvrCountGet>, {out("count")}}},
    {"rcvr-owner-string-len", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowRcvrOwnerStringLenGet>, {out("maxLen")}}},
    {"rcvr-owner", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowRcvrOwnerGet>, {kIndex, outText("owner", kOwnerText)}}},
    {"rcvr-owner", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRcvrOwnerSet>, {kIndex, bodyText("owner", kOwnerText), body("timeout")}}},
    {"rcvr-time-remaining", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRcvrTimeRemainingGet>, {kIndex, out("timeRemaining")}}},
    {"rcvr-address", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowRcvrAddressGet>, {kIndex, outAddress("ipAddr")}}},
    {"rcvr-address", HTTPD_PUT, &kPut, {open<rpcclt_openapiSflowRcvrAddressSet>, {kIndex, bodyAddress("ipAddr")}}},
    {"rcvr-port", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowRcvrPortGet>, {kIndex, out("port")}}},
    {"rcvr-port", HTTPD_PUT, &kPut, {open<rpcclt_openapiSflowRcvrPortSet>, {kIndex, body("port")}}},
    {"rcvr-max-datagram-size-range", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRcvrMaxDatagramSizeRangeGet>, {out("minSize"), out("maxSize")}}},
    // Registered after the statistics family.
    {"rcvr-max-datagram-size", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRcvrMaxDatagramSizeGet>, {kIndex, out("size")}}},
    {"rcvr-max-datagram-size", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRcvrMaxDatagramSizeSet>, {kIndex, body("size")}}},
    {"instance-range", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowInstanceRangeGet>, {out("minInstance"), out("maxInstance")}}},
    {"fs-rcvr-index", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsRcvrIndexGet>, {kIfNum, kInstance, out("rcvrIndex")}}},
    {"fs-rcvr-index", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowFsRcvrIndexSet>, {kIfNum, kInstance, query("rcvrIndex")}}},
    {"fs-packet-sampling-rate-range", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsPacketSamplingRateRangeGet>, {out("minRate"), out("maxRate")}}},
    {"fs-packet-sampling-rate", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsPacketSamplingRateGet>,
      {kIfNum, kInstance, queryChoice("type", kSamplerType), out("rate")}}},
    {"fs-packet-sampling-rate", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowFsPacketSamplingRateSet>,
      {kIfNum, kInstance, bodyChoice("type", kSamplerType), body("rate")}}},
    {"fs-maximum-header-size-range", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsMaximumHeaderSizeRangeGet>, {out("minHeaderSize"), out("maxHeaderSize")}}},
    {"fs-maximum-header-size", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsMaximumHeaderSizeGet>, {kIfNum, kInstance, out("size")}}},
    {"fs-maximum-header-size", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowFsMaximumHeaderSizeSet>, {kIfNum, kInstance, body("size")}}},
    {"sampler-ip-acl", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowSamplerIpAclGet>, {kIfNum, out("aclNum")}}},
    {"sampler-ip-acl", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowSamplerIpAclSet>, {kIndex, kIfNum, body("aclNum"), bodyChoice("action", kMode)}}},
    {"sampler-mac-acl", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowSamplerMacAclGet>, {kIfNum, out("aclNum")}}},
    {"sampler-mac-acl", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowSamplerMacAclSet>, {kIndex, kIfNum, body("aclNum"), bodyChoice("action", kMode)}}},
    {"cp-rcvr-index", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowCpRcvrIndexGet>, {kIfNum, kInstance, out("rcvrIndex")}}},
    {"cp-rcvr-index", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowCpRcvrIndexSet>, {kIfNum, kInstance, query("rcvrIndex")}}},
    {"cp-interval-range", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowCpIntervalRangeGet>, {out("minInterval"), out("maxInterval")}}},
    {"cp-interval", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowCpIntervalGet>, {kIfNum, kInstance, out("interval")}}},
    {"cp-interval", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowCpIntervalSet>, {kIfNum, kInstance, body("interval")}}},
    {"fs-remote-agent-max-index", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsRemoteAgentMaxIndexGet>, {out("maxIndex")}}},
    {"fs-remote-agent-index", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsRemoteAgentIndexGet>, {kIfNum, kInstance, out("index")}}},
    {"fs-remote-agent-index", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowFsRemoteAgentIndexSet>, {kIfNum, kInstance, kIndex}}},
    {"fs-remote-agent-max-monitor-session-id", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsRemoteAgentMaxMonitorSessionIdGet>, {out("maxMonitorSessionId")}}},
    {"remote-agent-monitor-session", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentMonitorSessionGet>, {kIndex, out("monitorSessionId")}}},
    {"remote-agent-monitor-session", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRemoteAgentMonitorSessionSet>, {kIndex, body("monitorSessionId")}}},
    {"remote-agent-address", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentAddressGet>, {kIndex, outAddress("ipAddr")}}},
    {"remote-agent-address", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRemoteAgentAddressSet>, {kIndex, bodyAddress("ipAddr")}}},
    {"remote-agent-udp-dest-port", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentUdpDestPortGet>, {kIndex, out("port")}}},
    {"remote-agent-udp-dest-port", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRemoteAgentUdpDestPortSet>, {kIndex, body("port")}}},
    {"remote-agent-monitor-session-dest-iface", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentMonitorSessionDestIfaceGet>, {kIndex, out("ifNum")}}},
    {"remote-agent-monitor-session-dest-iface", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRemoteAgentMonitorSessionDestIfaceSet>, {kIndex, kIfNum}}},
    {"cfg-mode", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowCfgModeGet>, {outChoice("sflowConfigMode", kMode)}}},
    {"cfg-mode", HTTPD_PUT, &kPut, {open<rpcclt_openapiSflowCfgModeSet>, {bodyChoice("sflowConfigMode", kMode)}}},
    {"oper-mode", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowOperModeGet>, {outChoice("sflowOperMode", kMode)}}},
};
static_assert(std::size(kSflowRoutes) == 53);

// Main registers the family in two parts around the SNMP and statistics families.
constexpr size_t kFirstPart = 18;

}  // namespace

constinit const route::RouteGroup route_groups::kSflowFirst = routeGroup<kSflowRoutes>(kDir, 0, kFirstPart);
constinit const route::RouteGroup route_groups::kSflowRest = routeGroup<kSflowRoutes>(kDir, kFirstPart);
