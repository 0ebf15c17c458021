// sFlow: the agent's source interface and addresses, receivers, flow
// samplers, counter pollers, remote agents, sampler ACLs, ranges and modes.
// Every route is one OpEN call.
#include "routes/engine/engine.h"
#include "routes/families.h"

namespace {

using namespace route;

constexpr const char *kDir = "/api/v2/monitoring/sflow";

// Selectors always come from QUERY_STRING, also on PUT; absent ones are 0.
constexpr Family kSflow{
    kDir, "sflow", &kQueryStringUnsigned,
    "The sFlow agent: the receivers (collectors, each claimed by an owner for a time), the flow samplers and counter "
    "pollers of the physical ports that report to them, the remote agents sampled frames may be sent to, and the "
    "agent's own addresses. Sampling and polling stop when a receiver's owner lets it go or its time runs out."};
// Every GET answer is written without a newline, every PUT answer with one.
constexpr Answering kGet{&kSflow, Mapping::OpenRc, AnswerStyle::Data, AnswerStyle::Data, AnswerStyle::Data};
constexpr Answering kPut{&kSflow, Mapping::OpenRc, AnswerStyle::Line, AnswerStyle::Line, AnswerStyle::Line};

// Any other text asks for type 0, which the switch refuses.
constexpr ChoiceTable kSamplerType = choicesOf<OPEN_SFLOW_SAMPLING_TYPE_t>(false, 0, "");
// Only "enable" exactly enables.
constexpr ChoiceTable kMode = choicesOf<OPEN_CONTROL_t>(false, OPEN_DISABLE, "disable");

constexpr BufferKind kOwnerText{256, SizeRule::Capacity, nullptr};

// The query keys and what they name in each kind of route.
constexpr Bind kIfNum = query("ifNum");
constexpr Bind kInstance = query("instance")
                               .described("The sampler's or poller's instance on the port, within instance-range")
                               .example("1");
constexpr Bind kIndex = query("index");

constexpr Bind kPort = kIfNum.described("The physical port, as the switch numbers it internally (intIfNum)")
                           .example("5");
constexpr Bind kReceiver = kIndex.described("The receiver, from 1 to the count rcvr-count reports").example("1");
constexpr Bind kRemoteAgent =
    kIndex.described("The remote agent, from 1 to the number fs-remote-agent-max-index reports").example("1");
constexpr Bind kSourceInterface =
    kIfNum.described("The interface whose address is the source, as the switch numbers it internally (intIfNum); "
                     "0 lets the switch choose")
        .example("25");
constexpr Bind kRcvrIndex =
    query("rcvrIndex")
        .described("The receiver to report to, which must have an owner (rcvr-owner); 0 reports to none and stops")
        .example("0");
constexpr Bind kAclReceiver = kIndex.described("The receiver the samples of the matched frames go to").example("1");
constexpr Bind kAclAction =
    bodyChoice("action", kMode).described("enable attaches the access list, disable detaches the port's")
        .example("\"enable\"");
constexpr Bind kAddress = bodyAddress("ipAddr");

constexpr Route kSflowRoutes[] = {
    // Registered before the SNMP family.
    {"source-interface", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowSourceInterfaceGet>, {out("ifNum")}},
     "Reads the interface whose address the agent's datagrams come from"},
    {"source-interface", HTTPD_PUT, &kPut, {open<rpcclt_openapiSflowSourceInterfaceSet>, {kSourceInterface}},
     "Sets the interface whose address the agent's datagrams come from"},
    {"remote-agent-source-interface", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentSourceInterfaceGet>, {out("ifNum")}},
     "Reads the interface whose address the frames sent to remote agents come from"},
    {"remote-agent-source-interface", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRemoteAgentSourceInterfaceSet>, {kSourceInterface}},
     "Sets the interface whose address the frames sent to remote agents come from"},
    {"remote-agent-source-ipv4-addr", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentSourceIpv4AddrGet>, {outIpv4("ipAddr")}},
     "Reads the IPv4 source address of the frames sent to remote agents"},
    {"remote-agent-source-ipv6-addr", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentSourceIpv6AddrGet>, {outIpv6("ipv6Addr")}},
     "Reads the IPv6 source address of the frames sent to remote agents"},
    {"source-ipv4-addr", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowSourceIpv4AddrGet>, {outIpv4("ipAddr")}},
     "Reads the agent's IPv4 address, the source of its datagrams"},
    {"source-ipv6-addr", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowSourceIpv6AddrGet>, {outIpv6("ipv6Addr")}},
     "Reads the agent's IPv6 address, the source of its datagrams"},
    {"rcvr-count", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowRcvrCountGet>, {out("count")}},
     "Reads how many receivers the agent has"},
    {"rcvr-owner-string-len", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowRcvrOwnerStringLenGet>, {out("maxLen")}},
     "Reads the longest owner name a receiver takes"},
    {"rcvr-owner", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowRcvrOwnerGet>, {kReceiver, outText("owner", kOwnerText)}},
     "Reads who owns a receiver"},
    {"rcvr-owner", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRcvrOwnerSet>,
      {kReceiver,
       bodyText("owner", kOwnerText)
           .described("Who claims the receiver, such as the collector's name, at most rcvr-owner-string-len "
                      "characters; empty frees the receiver and stops what reports to it")
           .example("\"sflow-collector\""),
       body("timeout")
           .described("Seconds the claim lasts, counted down by the switch; 4294967295 never runs out, 0 frees the "
                      "receiver at once")
           .example("3600")}},
     "Sets a receiver's owner and how long the claim lasts"},
    {"rcvr-time-remaining", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRcvrTimeRemainingGet>, {kReceiver, out("timeRemaining")}},
     "Reads how many seconds remain of a receiver owner's claim"},
    {"rcvr-address", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowRcvrAddressGet>, {kReceiver, outAddress("ipAddr")}},
     "Reads the address of a receiver's collector"},
    {"rcvr-address", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRcvrAddressSet>,
      {kReceiver, kAddress.described("The collector's IPv4 or IPv6 address").example("\"192.168.0.50\"")}},
     "Sets the address of a receiver's collector"},
    {"rcvr-port", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowRcvrPortGet>, {kReceiver, out("port")}},
     "Reads the UDP port of a receiver's collector"},
    {"rcvr-port", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRcvrPortSet>,
      {kReceiver, body("port").described("The collector's UDP port; 6343 is sFlow's own").example("6343")}},
     "Sets the UDP port of a receiver's collector"},
    {"rcvr-max-datagram-size-range", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRcvrMaxDatagramSizeRangeGet>, {out("minSize"), out("maxSize")}},
     "Reads the range of a receiver's maximum datagram size"},
    // Registered after the statistics family.
    {"rcvr-max-datagram-size", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRcvrMaxDatagramSizeGet>, {kReceiver, out("size")}},
     "Reads the largest datagram the agent sends a receiver"},
    {"rcvr-max-datagram-size", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRcvrMaxDatagramSizeSet>,
      {kReceiver,
       body("size").described("The largest datagram in bytes, within rcvr-max-datagram-size-range").example("1400")}},
     "Sets the largest datagram the agent sends a receiver"},
    {"instance-range", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowInstanceRangeGet>, {out("minInstance"), out("maxInstance")}},
     "Reads the range of sampler and poller instances a port has"},
    {"fs-rcvr-index", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsRcvrIndexGet>, {kPort, kInstance, out("rcvrIndex")}},
     "Reads the receiver a port's flow sampler reports to"},
    {"fs-rcvr-index", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowFsRcvrIndexSet>, {kPort, kInstance, kRcvrIndex}},
     "Sets the receiver a port's flow sampler reports to"},
    {"fs-packet-sampling-rate-range", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsPacketSamplingRateRangeGet>, {out("minRate"), out("maxRate")}},
     "Reads the range of a flow sampler's sampling rate"},
    {"fs-packet-sampling-rate", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsPacketSamplingRateGet>,
      {kPort, kInstance,
       queryChoice("type", kSamplerType)
           .described("Which frames: flow_based for those the port receives, egress for those it sends")
           .example("\"flow_based\""),
       out("rate")}},
     "Reads a port's sampling rate of received or sent frames"},
    {"fs-packet-sampling-rate", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowFsPacketSamplingRateSet>,
      {kPort, kInstance,
       bodyChoice("type", kSamplerType)
           .described("Which frames: flow_based for those the port receives, egress for those it sends")
           .example("\"flow_based\""),
       body("rate")
           .described("One sample in this many frames, within fs-packet-sampling-rate-range; 0 stops sampling")
           .example("4096")}},
     "Sets a port's sampling rate of received or sent frames"},
    {"fs-maximum-header-size-range", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsMaximumHeaderSizeRangeGet>, {out("minHeaderSize"), out("maxHeaderSize")}},
     "Reads the range of a flow sampler's maximum header size"},
    {"fs-maximum-header-size", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsMaximumHeaderSizeGet>, {kPort, kInstance, out("size")}},
     "Reads how many bytes of a sampled frame a port's flow sampler copies"},
    {"fs-maximum-header-size", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowFsMaximumHeaderSizeSet>,
      {kPort, kInstance,
       body("size")
           .described("Bytes from the start of a sampled frame copied into the sample, within "
                      "fs-maximum-header-size-range")
           .example("128")}},
     "Sets how many bytes of a sampled frame a port's flow sampler copies"},
    {"sampler-ip-acl", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowSamplerIpAclGet>, {kPort, out("aclNum")}},
     "Reads the IP access list attached to a port's sampler"},
    {"sampler-ip-acl", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowSamplerIpAclSet>,
      {kAclReceiver, kPort, body("aclNum").described("The IP access list, by its number").example("150"),
       kAclAction}},
     "Attaches an IP access list to a port's sampler, or detaches it"},
    {"sampler-mac-acl", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowSamplerMacAclGet>, {kPort, out("aclNum")}},
     "Reads the MAC access list attached to a port's sampler"},
    {"sampler-mac-acl", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowSamplerMacAclSet>,
      {kAclReceiver, kPort,
       body("aclNum").described("The MAC access list, by the number the switch gives it").example("1001"),
       kAclAction}},
     "Attaches a MAC access list to a port's sampler, or detaches it"},
    {"cp-rcvr-index", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowCpRcvrIndexGet>, {kPort, kInstance, out("rcvrIndex")}},
     "Reads the receiver a port's counter poller reports to"},
    {"cp-rcvr-index", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowCpRcvrIndexSet>, {kPort, kInstance, kRcvrIndex}},
     "Sets the receiver a port's counter poller reports to"},
    {"cp-interval-range", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowCpIntervalRangeGet>, {out("minInterval"), out("maxInterval")}},
     "Reads the range of a counter poller's interval"},
    {"cp-interval", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowCpIntervalGet>, {kPort, kInstance, out("interval")}},
     "Reads how often a port's counter poller reports the port's counters"},
    {"cp-interval", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowCpIntervalSet>,
      {kPort, kInstance,
       body("interval").described("Seconds between two reports, within cp-interval-range; 0 stops polling")
           .example("20")}},
     "Sets how often a port's counter poller reports the port's counters"},
    {"fs-remote-agent-max-index", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsRemoteAgentMaxIndexGet>, {out("maxIndex")}},
     "Reads how many remote agents the switch has"},
    {"fs-remote-agent-index", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsRemoteAgentIndexGet>, {kPort, kInstance, out("index")}},
     "Reads the remote agent a port's flow sampler sends its sampled frames to"},
    {"fs-remote-agent-index", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowFsRemoteAgentIndexSet>,
      {kPort, kInstance,
       kIndex.described("The remote agent, from 1 to the number fs-remote-agent-max-index reports; 0 for none")
           .example("1")}},
     "Sets the remote agent a port's flow sampler sends its sampled frames to"},
    {"fs-remote-agent-max-monitor-session-id", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowFsRemoteAgentMaxMonitorSessionIdGet>, {out("maxMonitorSessionId")}},
     "Reads the highest monitor session a remote agent may use"},
    {"remote-agent-monitor-session", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentMonitorSessionGet>, {kRemoteAgent, out("monitorSessionId")}},
     "Reads the monitor session that carries a remote agent's frames"},
    {"remote-agent-monitor-session", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRemoteAgentMonitorSessionSet>,
      {kRemoteAgent,
       body("monitorSessionId")
           .described("The monitor session, up to fs-remote-agent-max-monitor-session-id; 0 for none")
           .example("1")}},
     "Sets the monitor session that carries a remote agent's frames"},
    {"remote-agent-address", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentAddressGet>, {kRemoteAgent, outAddress("ipAddr")}},
     "Reads a remote agent's address"},
    {"remote-agent-address", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRemoteAgentAddressSet>,
      {kRemoteAgent, kAddress.described("The remote agent's IPv4 or IPv6 address").example("\"192.168.0.12\"")}},
     "Sets a remote agent's address"},
    {"remote-agent-udp-dest-port", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentUdpDestPortGet>, {kRemoteAgent, out("port")}},
     "Reads the UDP port a remote agent listens on"},
    {"remote-agent-udp-dest-port", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRemoteAgentUdpDestPortSet>,
      {kRemoteAgent, body("port").described("The remote agent's UDP port; 6343 is sFlow's own").example("6343")}},
     "Sets the UDP port a remote agent listens on"},
    {"remote-agent-monitor-session-dest-iface", HTTPD_GET, &kGet,
     {open<rpcclt_openapiSflowRemoteAgentMonitorSessionDestIfaceGet>, {kRemoteAgent, out("ifNum")}},
     "Reads the port a remote agent's monitor session sends its frames out of"},
    {"remote-agent-monitor-session-dest-iface", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowRemoteAgentMonitorSessionDestIfaceSet>,
      {kRemoteAgent,
       kIfNum.described("The physical port towards the remote agent, as the switch numbers it internally (intIfNum); "
                        "0 for none")
           .example("12")}},
     "Sets the port a remote agent's monitor session sends its frames out of"},
    {"cfg-mode", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowCfgModeGet>, {outChoice("sflowConfigMode", kMode)}},
     "Tells whether the sFlow agent is enabled"},
    {"cfg-mode", HTTPD_PUT, &kPut,
     {open<rpcclt_openapiSflowCfgModeSet>,
      {bodyChoice("sflowConfigMode", kMode).described("enable to run the sFlow agent, disable to stop it")
           .example("\"enable\"")}},
     "Sets whether the sFlow agent is enabled"},
    {"oper-mode", HTTPD_GET, &kGet, {open<rpcclt_openapiSflowOperModeGet>, {outChoice("sflowOperMode", kMode)}},
     "Tells whether the sFlow agent runs: enabled, with a receiver that has an owner"},
};
static_assert(std::size(kSflowRoutes) == 53);

// Main registers the family in two parts around the SNMP and statistics families.
constexpr size_t kFirstPart = 18;

}  // namespace

constinit const route::RouteGroup route_groups::kSflowFirst = routeGroup<kSflowRoutes>(kDir, 0, kFirstPart);
constinit const route::RouteGroup route_groups::kSflowRest = routeGroup<kSflowRoutes>(kDir, kFirstPart);
