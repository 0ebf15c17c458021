// Writes the fuzzers' seed corpora: requests of every route family for the
// request fuzzer and, for the RPC fuzzer, the wire frames those requests
// really exchange with the simulated switch, with control commands and
// state documents. Each request is run once and its answer checked, so a
// seed that no longer reaches its route is seen at once.
//
//   fuzz_seeds CORPUS_DIR    writes CORPUS_DIR/request/ and CORPUS_DIR/rpc/
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "log/log.h"
#include "open/call_codec.h"
#include "open/wire.h"
#include "routes/families.h"
#include "sim/device.h"
#include "sim/dispatch.h"
#include "sim/server.h"
#include "tests/fuzz/cgi_answer.h"
#include "tests/fuzz/cgi_run.h"
#include "tests/fuzz/client_args.h"
#include "tests/fuzz/recording_link.h"
#include "tests/fuzz/request_input.h"
#include "tests/fuzz/route_list.h"
#include "tests/fuzz/rpc_input.h"
#include "tests/fuzz/sandbox.h"
#include "tools/common.h"
#include "tools/raii.h"

namespace {

using namespace request_flags;

constexpr uint8_t kReadWrite = static_cast<uint8_t>(SessionKind::ReadWrite);
constexpr uint8_t kReadOnly = static_cast<uint8_t>(SessionKind::ReadOnly);
constexpr uint8_t kSessionField = static_cast<uint8_t>(SessionKind::FromField);

// One request; each optional field that is not NULL is sent, and its flag set.
struct Seed {
  const char *name;
  const char *method;  // the route's
  const char *target;  // below /api/v2/monitoring/, with the query
  const char *body = "";
  uint8_t flags = 0;  // session kind, kRefresh, kNoQueryString
  const char *rawMethod = nullptr;
  const char *rawUri = nullptr;
  const char *session = nullptr;
  const char *contentLength = nullptr;
  const char *script = nullptr;
};

const Seed kSeeds[] = {
    {"stats-stat", "GET", "stats/stat?ifNum=1&counterId=ctr_rx_total_bytes"},
    {"stats-stat-string", "GET", "stats/stat-string?ifNum=2&counterId=ctr_port_link_down_counter"},
    {"stats-stat-reset", "POST", "stats/stat-reset?ifNum=7", R"({"counterId":"ctr_rx_fcs_errors"})"},
    {"stats-interface-stats", "GET", "stats/interface-stats?ifNum=2"},
    {"stats-interface-reset", "POST", "stats/interface-stats-reset?ifNum=12"},
    {"stats-reset-time", "GET", "stats/interface-stats-reset-time?ifNum=5"},
    {"instru-mac-addr", "GET", "instru-nos/mac-addr"},
    {"instru-bst-snapshot", "GET", "instru-bst/snapshot"},
    {"instru-bhd-configure", "POST", "instru-bhd/black-hole-configure", R"({"port-list":["1"]})"},
    {"lldp-tx-hold", "GET", "lldp/tx-hold"},
    {"lldp-tx-interval-put", "PUT", "lldp/tx-interval", R"({"interval":60})"},
    {"lldp-intf-transmit", "GET", "lldp/intf-transmit-mode?ifNum=3"},
    {"lldp-tlv-put", "PUT", "lldp/intf-tlv-transmit-mode?ifNum=3", R"({"tlv-type":"port-vlans","mode":"enable"})"},
    {"lldp-med-mode-put", "PUT", "lldp/med-intf-mode?ifNum=7", R"({"med-mode":"disable"})"},
    {"lldp-med-tlv-put", "PUT", "lldp/med-intf-transmit-tlv?ifNum=5", R"({"location":"enable","inventory":"disable"})"},
    {"lldp-all-status", "GET", "lldp/all-interface-status"},
    {"lldp-remote-device", "GET", "lldp/remote-device"},
    {"lldp-local-device", "GET", "lldp/local-device?ifNum=3"},
    {"lldp-remote-next", "GET", "lldp/intf-remote-device-next?ifNum=12&remIndex=1&timeStamp=7"},
    {"lldp-unknown-tlv", "POST", "lldp/rem-unknown-tlv-entry-is-exists",
     R"({"ifNum":12,"remIndex":2,"timestamp":3544,"tlvType":24})"},
    {"lldp-vlan-name", "GET", "lldp/intf-local-device-vlan-name?ifNum=3&vlanId=10"},
    {"lldp-auto-neg-cap", "GET", "lldp/lldpdot3-loc-port-auto-neg-advertized-cap?ifNum=3"},
    {"sflow-rcvr-owner-put", "PUT", "sflow/rcvr-owner?index=2", R"({"owner":"ops","timeout":600})"},
    {"sflow-rcvr-address", "GET", "sflow/rcvr-address?index=1"},
    {"sflow-rcvr-address-put", "PUT", "sflow/rcvr-address?index=1", R"({"ipAddr":"10.1.2.3"})"},
    {"sflow-sampling-rate-put", "PUT", "sflow/fs-packet-sampling-rate?ifNum=5&instance=1",
     R"({"type":"egress","rate":4096})"},
    {"sflow-sampler-acl-put", "PUT", "sflow/sampler-ip-acl?ifNum=6&index=1", R"({"aclNum":101,"action":"enable"})"},
    {"sflow-cfg-mode", "GET", "sflow/cfg-mode"},
    {"sflow-remote-address-put", "PUT", "sflow/remote-agent-address?index=2", R"({"ipAddr":"fe80::1"})"},
    {"snmp-community", "POST", "snmp/community",
     R"({"communityName":"ops","viewName":"Default","accessType":"snmp_community_access_rw","addr":"10.1.2.3"})"},
    {"snmp-community-next", "POST", "snmp/community-get-next", "{}"},
    {"snmp-group", "POST", "snmp/group",
     R"({"groupName":"ops","contextPrefix":"ctx","readView":"r","writeView":"w","notifyView":"n","securityModel":"usm"})"},
    {"snmp-view", "POST", "snmp/view", R"({"viewName":"mib2","oidTree":"mib-2","viewType":"excluded"})"},
    {"snmp-oid-string", "GET", "snmp/tree-family-oid-string?name=Default&oidTree=1.3.6.1.6.3.15&treeType=snmp_filter_tree"},
    {"snmp-user", "POST", "snmp/user",
     R"({"userName":"bob","groupName":"DefaultRead","authProto":"sha","authKey":"0123456789abcdef0123456789abcdef01234567"})"},
    {"snmp-user-next", "POST", "snmp/user-get-next", R"({"userName":"","engineId":""})"},
    {"snmp-host", "POST", "snmp/host",
     R"({"host":"10.0.0.1","securityName":"public","securityModel":"snmpv2c","notifyType":"inform"})"},
    {"snmp-trap-manager", "POST", "snmp/trap-manager-config",
     R"({"communityName":"public","ipAddr":"fe80::1","trapConfig":{"version":2,"status":1}})"},
    {"snmp-engine-id-put", "PUT", "snmp/local-engine-id", R"({"engineId":"800000090300aabbccddeeff"})"},
    {"snmp-trap-flag", "GET", "snmp/trap-flag?trapFlag=3"},
    {"snmp-view-delete", "DELETE", "snmp/view?viewName=Default&oidTree=1.3.6"},
    {"snmp-sys-name", "GET", "snmp/sys-name"},
    {"session-config", "GET", "session/config?sessionId=1"},
    {"session-config-put", "PUT", "session/config?sessionId=2",
     R"({"mode":"Enable","destination":"1/0/20","sources":{"interfaces":[{"interface":"LAG2","direction":"tx"},)"
     R"({"interface":"cpu","direction":"rx"}],"vlans":[]},"aclFilter":{"type":"l3","aclName":"block-telnet"}})"},
    {"mirror-rspan-put", "PUT", "mirror/remote-span-vlan", R"({"vlan-list":"10,20-22"})"},
    {"mirror-source-port", "POST", "mirror/sw-port-monitor-source-port?sessionNum=2",
     R"({"intIfNum":5,"direction":"RX"})"},
    {"mirror-source-list", "GET", "mirror/sw-port-monitor-source-ports-list?sessionNum=1"},
    {"mirror-valid-src", "GET", "mirror/sw-port-monitor-valid-src-intf-list"},
    {"mirror-ip-acl-put", "PUT", "mirror/sw-monitor-ip-acl?sessionNum=2", R"({"acl-id":101})"},
    {"mirror-session-delete", "DELETE", "mirror/sw-port-monitor-session?sessionNum=1"},
    // The frame: sessions, methods, paths and lengths as a web server may pass them.
    {"frame-read-only-put", "PUT", "lldp/tx-interval", R"({"interval":60})", kReadOnly},
    {"frame-read-write-refresh", "GET", "lldp/tx-hold", "", kReadWrite | kRefresh},
    {"frame-unknown-session", "GET", "stats/stat?ifNum=1&counterId=ctr_rx_64", "", kSessionField,
     nullptr, nullptr, "no-such-session"},
    {"frame-lower-case-method", "POST", "stats/stat-reset?ifNum=1", R"({"counterId":5})", 0, "post"},
    {"frame-outside-api", "GET", "lldp/tx-hold", "", 0, nullptr, "//api/v2/monitoring/lldp/tx-hold"},
    {"frame-no-slash", "GET", "lldp/tx-hold", "", 0, nullptr, "tx-hold"},
    {"frame-slash-in-query", "GET", "lldp/tx-hold", "", 0, nullptr, "/api/v2/monitoring/lldp/status?x=a/b"},
    {"frame-short-body", "PUT", "sflow/rcvr-port?index=3", R"({"port":6344})", 0, nullptr, nullptr, nullptr, "40"},
    {"frame-cut-body", "PUT", "sflow/rcvr-port?index=3", R"({"port":6344})", 0, nullptr, nullptr, nullptr, "5"},
    {"frame-no-query", "GET", "mirror/sw-port-monitor-dest-port?sessionNum=1", "", kNoQueryString},
    // The switch answering otherwise than by default.
    {"script-fault", "GET", "lldp/tx-hold", "", 0, nullptr, nullptr, nullptr, nullptr,
     R"({"ctl":"fault","op":"openapiLldpTxHoldGet","rc":-20})"},
    {"script-stub-text", "GET", "snmp/sys-name", "", 0, nullptr, nullptr, nullptr, nullptr,
     R"({"ctl":"stub","op":"openapiSnmpSysNameGet","answer":{"rc":0,"out":["a-name-from-a-stub"]}})"},
    {"script-stub-counter-block", "GET", "stats/interface-stats?ifNum=2", "", 0, nullptr, nullptr, nullptr, nullptr,
     R"({"ctl":"stub","op":"openapiInterfaceStatsGet","answer":{"rc":0,"out":[[70,1,2,3]]}})"},
    {"script-stub-vlan-list", "GET", "lldp/intf-local-device-vlan?ifNum=3", "", 0, nullptr, nullptr, nullptr, nullptr,
     R"({"ctl":"stub","op":"openapiLldpIntfLocalDeviceVlanGet","answer":{"rc":0,"out":[[3,[1,10,20]]]}})"},
    {"script-stub-address", "GET", "sflow/rcvr-address?index=1", "", 0, nullptr, nullptr, nullptr, nullptr,
     R"({"ctl":"stub","op":"openapiSflowRcvrAddressGet","answer":{"rc":0,"out":[{"family":2,"addr":"fe80::1"}]}})"},
    {"script-op-then-read", "GET", "sflow/rcvr-owner?index=1", "", 0, nullptr, nullptr, nullptr, nullptr,
     R"({"op":"openapiSflowRcvrOwnerSet","in":[1,"ops",60]})"},
};

FuzzRequest requestOf(const Seed &seed, uint16_t route) {
  FuzzRequest request;
  request.route = route;
  request.flags = seed.flags;
  std::string target = seed.target;
  size_t question = target.find('?');
  if (question != std::string::npos) request.query = target.substr(question + 1);
  request.body = seed.body;
  const struct {
    const char *text;
    uint8_t flag;
    std::string FuzzRequest::*member;
  } optional[] = {{seed.rawMethod, kMethodField, &FuzzRequest::method},
                  {seed.rawUri, kUriField, &FuzzRequest::uri},
                  {seed.session, 0, &FuzzRequest::session},
                  {seed.contentLength, kLengthField, &FuzzRequest::contentLength},
                  {seed.script, kScriptField, &FuzzRequest::script}};
  for (const auto &field : optional) {
    if (field.text == nullptr) continue;
    request.flags |= field.flag;
    request.*field.member = field.text;
  }
  return request;
}

int routeIndex(const std::vector<RouteRef> &routes, const Seed &seed) {
  std::string target = seed.target;
  std::string path = "/api/v2/monitoring/" + target.substr(0, target.find('?'));
  for (size_t i = 0; i < routes.size(); ++i) {
    if (routes[i].path == path && httpdMethodName(routes[i].method) == std::string(seed.method)) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

bool writeSeed(const std::string &dir, const std::string &name, const std::string &bytes) {
  FILE *file = fopen((dir + "/" + name).c_str(), "wb");
  if (file == nullptr) return false;
  bool written = fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return fclose(file) == 0 && written;
}

// A frozen clock: the counters, and so the seeds, come out the same on every run.
constexpr int64_t kFrozenNanos = 200000 * kNanosPerSecond;

struct Generator {
  FuzzSandbox sandbox;
  SimDevice device{[] { return kFrozenNanos; }};
  SimDispatcher dispatcher{device};
  SimServer server{dispatcher, ""};
  httpdTable *table = nullptr;
  std::vector<RouteRef> routes;
  bool running = false;
};

// The answer's "resp" member as a short note, or what is wrong with the answer.
std::string outcomeOf(const std::string &answer, const CgiEnvironment &env) {
  if (const char *problem = cgiAnswerProblem(answer, env.uri.value_or(""))) return std::string("BAD: ") + problem;
  size_t resp = answer.find("\"respCode\"");
  if (resp == std::string::npos) return answer.empty() ? "(empty)" : answer.substr(0, answer.find('\r'));
  return answer.substr(resp, answer.find(',', resp) - resp);
}

bool runRequestSeed(Generator &g, const Seed &seed, const std::string &dir) {
  int route = routeIndex(g.routes, seed);
  if (route < 0) {
    fprintf(stderr, "fuzz_seeds: %s: no route %s %s\n", seed.name, seed.method, seed.target);
    return false;
  }
  FuzzRequest request = requestOf(seed, static_cast<uint16_t>(route));
  if (seed.script != nullptr) g.server.answer(seed.script);
  g.sandbox.writeSessions();
  CgiEnvironment env = environmentFor(request, g.routes[static_cast<size_t>(route)]);
  applyEnvironment(env);
  std::string outcome = outcomeOf(captureRequest(g.table, request.body, g.running), env);
  g.dispatcher.clearScripts();
  printf("request/%-28s %s\n", seed.name, outcome.c_str());
  return outcome.compare(0, 4, "BAD:") != 0 && writeSeed(dir, seed.name, encodeRequest(request));
}

std::string opNameOf(const std::string &requestBody) {
  const OpenOpDesc *op = wireRequestedOperation(requestBody);
  return op != nullptr ? op->name : "";
}

// The first exchange of each operation, every `step`-th of them, so that
// the few seeds spread over every family; `shifted` starts half a step in,
// on operations the unshifted spread leaves out.
std::vector<WireExchange> spreadByOperation(const std::vector<WireExchange> &all, size_t wanted, bool shifted) {
  std::vector<WireExchange> firsts;
  std::map<std::string, bool> seen;
  for (const WireExchange &exchange : all) {
    if (!seen[opNameOf(exchange.request)]) firsts.push_back(exchange);
    seen[opNameOf(exchange.request)] = true;
  }
  std::vector<WireExchange> spread;
  size_t step = firsts.size() > wanted ? (firsts.size() + wanted - 1) / wanted : 1;
  for (size_t i = shifted ? step / 2 : 0; i < firsts.size(); i += step) spread.push_back(firsts[i]);
  return spread;
}

// What follows the operation's index and signature.
std::string argumentsOf(const std::string &requestBody) { return requestBody.substr(sizeof(uint16_t) + sizeof(uint32_t)); }

uint8_t capacityByteFor(uint32_t capacity) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    if (bufferCapacityOf(static_cast<uint8_t>(byte)) == capacity) return static_cast<uint8_t>(byte);
  }
  return 0;
}

bool writeWireSeeds(const std::vector<WireExchange> &exchanges, const std::string &dir) {
  constexpr size_t kLines = 20, kStubs = 10;
  constexpr uint32_t kCapacity = 256;
  uint8_t capacity = capacityByteFor(kCapacity);
  bool ok = true;
  for (const WireExchange &exchange : spreadByOperation(exchanges, kLines, false)) {
    const OpenOpDesc *op = openOpFind(opNameOf(exchange.request).c_str());
    if (op == nullptr) continue;
    RpcInput request{RpcEntry::ServerRequest, 0, 0, exchange.request};
    RpcInput reply{RpcEntry::ClientReply, static_cast<uint16_t>(op - kOpenOps), capacity, exchange.reply};
    ok = writeSeed(dir, std::string("request-") + op->name, encodeRpcInput(request)) && ok;
    ok = writeSeed(dir, std::string("reply-") + op->name, encodeRpcInput(reply)) && ok;
  }
  for (const WireExchange &exchange : spreadByOperation(exchanges, kLines, true)) {
    const OpenOpDesc *op = openOpFind(opNameOf(exchange.request).c_str());
    if (op == nullptr) continue;
    RpcInput call{RpcEntry::ServerCall, static_cast<uint16_t>(op - kOpenOps), capacity, argumentsOf(exchange.request)};
    ok = writeSeed(dir, std::string("call-") + op->name, encodeRpcInput(call)) && ok;
  }
  for (const WireExchange &exchange : spreadByOperation(exchanges, kStubs, true)) {
    const OpenOpDesc *op = openOpFind(opNameOf(exchange.request).c_str());
    if (op == nullptr) continue;
    ClientArgs args(*op, kCapacity);
    int32_t rc = openDecodeReply(*op, args.argv(), exchange.reply);
    RpcInput stub{RpcEntry::Stub, static_cast<uint16_t>(op - kOpenOps), capacity, args.scriptedAnswer(rc)};
    ok = writeSeed(dir, std::string("stub-") + op->name, encodeRpcInput(stub)) && ok;
  }
  return ok;
}

const char *const kControlSeeds[][2] = {
    {"ping", R"({"ctl":"ping"})"},
    {"reset", R"({"ctl":"reset"})"},
    {"fault", R"({"ctl":"fault","op":"openapiStatGet","rc":-20,"count":2})"},
    {"stub", R"({"ctl":"stub","op":"openapiSflowRcvrAddressGet","answer":{"rc":0,"out":[{"family":2,"addr":"fe80::1"}]}})"},
    {"stub-record", R"({"ctl":"stub","op":"openapiApiVersionGet","answer":{"rc":0,"out":[[1,25,0,12]]}})"},
    {"fault-clear", R"({"ctl":"faultClear"})"},
    {"calls", R"({"ctl":"calls"})"},
    {"calls-clear", R"({"ctl":"callsClear"})"},
    {"dump", R"({"ctl":"dump"})"},
    {"save", R"({"ctl":"save"})"},
    {"call", R"({"op":"openapiLldpIntfRemoteDeviceNextGet","in":[12,0,0]})"},
};

bool writeControlAndStateSeeds(const std::string &defaultState, const std::string &configured,
                               const std::string &dir) {
  bool ok = true;
  for (const auto &[name, line] : kControlSeeds) {
    ok = writeSeed(dir, std::string("control-") + name, encodeRpcInput({RpcEntry::Control, 0, 0, line})) && ok;
  }
  std::string load = R"({"ctl":"load","state":)" + configured + "}";
  ok = writeSeed(dir, "control-load", encodeRpcInput({RpcEntry::Control, 0, 0, load})) && ok;
  ok = writeSeed(dir, "state-default", encodeRpcInput({RpcEntry::StateLoad, 0, 0, defaultState})) && ok;
  return writeSeed(dir, "state-configured", encodeRpcInput({RpcEntry::StateLoad, 0, 0, configured})) && ok;
}

std::string dumpOf(SimDispatcher &dispatcher) {
  JsonPtr state(dispatcher.withSwitch([](SimDevice &sw) { return sw.toJson(); }));
  CText text(cJSON_PrintUnformatted(state.get()));
  return text ? text.get() : "";
}

bool startGenerator(Generator &g, int clientFd) {
  std::string error;
  if (clientFd < 0 || !g.sandbox.create("fuzz-seeds", error)) {
    fprintf(stderr, "fuzz_seeds: %s\n", error.empty() ? "cannot make a socket pair" : error.c_str());
    return false;
  }
  setenv("MONITORING_ROOT", g.sandbox.root().c_str(), 1);
  logInit(LOG_MODE_FILE, 8, "vexo_cgi");
  openapiClientRegister("fuzz_seeds", &clientHandle);
  clientHandle.fd = clientFd;
  g.table = httpdCreateTable();
  if (g.table != nullptr) registerAllRoutes(g.table);
  g.routes = listRoutes(g.table);
  return !g.routes.empty();
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: fuzz_seeds CORPUS_DIR\n");
    return 2;
  }
  std::string requestDir = std::string(argv[1]) + "/request", rpcDir = std::string(argv[1]) + "/rpc";
  mkdir(requestDir.c_str(), 0755);
  mkdir(rpcDir.c_str(), 0755);
  Generator g;
  RecordingLink link(g.dispatcher);
  bool ok = startGenerator(g, link.clientEnd());
  std::string defaultState = dumpOf(g.dispatcher);
  for (const Seed &seed : kSeeds) ok = ok && runRequestSeed(g, seed, requestDir);
  ok = ok && writeWireSeeds(link.exchanges(), rpcDir) &&
       writeControlAndStateSeeds(defaultState, dumpOf(g.dispatcher), rpcDir);
  clientHandle.fd = -1;  // the link closes its own end
  g.sandbox.remove();
  return ok ? 0 : 1;
}
