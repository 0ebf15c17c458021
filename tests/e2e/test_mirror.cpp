// Mirror and session routes: their own bindings, the session document, the simulated port monitor.
#include <regex>

#include "tests/e2e/harness.h"

namespace {

const std::string kMirror = "/api/v2/monitoring/mirror/";
const std::string kSession = "/api/v2/monitoring/session/config?sessionId=";

class MirrorTest : public SwitchTest {
 protected:
  static std::string ok(const std::string &data = "") {
    return data.empty() ? reply(0, "Success") + "\n" : reply(0, "Success", "mirror", data);
  }
  // The port-monitor calls of the log, in order, without start-up and the interface lookups.
  std::vector<std::string> monitorCalls() {
    std::vector<std::string> lines = calls();
    const std::regex other(R"("op":"openapi(If|\w*HashIntf|Connectivity|\w*VersionGet))");
    std::erase_if(lines, [&](const std::string &line) { return std::regex_search(line, other); });
    return lines;
  }
};

// Interface names and lists, directions asked per port, values the body
// gives as 0 taken from the query, the yes/no answers.
TEST_F(MirrorTest, RowsNameInterfacesAndAskDirectionsPerPort) {
  expectRoutes("/api/v2/monitoring/mirror", "mirror", {
      // Port 7 is no source of session 1: its direction cannot be read.
      {"GET", "sw-port-monitor-source-ports-list?sessionNum=1", "", "openapiSwPortMonitorSourcePortsListGet",
       R"(["2,0,7"])", "[1]",
       R"({"source-ports":[{"intIfNum":2,"interface":"1/0/2","direction":"rx"},)"
       R"({"intIfNum":7,"interface":"1/0/7","direction":"both"}]})"},
      {"POST", "sw-port-monitor-source-port?sessionNum=3", R"({"sessionNum":0,"intIfNum":5})",
       "openapiSwPortMonitorSourcePortAdd", "[]", "[3,5,1]", ""},
      {"GET", "sw-port-monitor-dest-port?sessionNum=1", "", "openapiSwPortMonitorDestPortGet", "[999]", "[1]",
       R"({"intIfNum":999,"interface":"999"})"},
      {"POST", "sw-port-monitor-is-dest-configured?intIfNum=24", "", "openapiSwPortMonitorIsDestConfigured", "[1,1]",
       "[24]", R"({"configured":true,"sessionNum":1})"},
      {"POST", "sw-port-monitor-is-dest-configured?intIfNum=23", "", "openapiSwPortMonitorIsDestConfigured", "[2,3]",
       "[23]", R"({"configured":false})"},
      {"GET", "sw-port-monitor-valid-src-intf-list", "", "openapiSwPortMonitorValidSrcIntfListGet", R"(["3,29,0,37"])",
       "[]",
       R"({"valid-src-interfaces":[{"intIfNum":3,"interface":"1/0/3"},{"intIfNum":29,"interface":"lag1"},)"
       R"({"intIfNum":37,"interface":"cpu"}]})"},
      {"GET", "sw-monitor-ip-acl?sessionNum=1", "", "openapiSwMonitorIpAclGet", "[101]", "[1]",
       R"({"ip-acl-id":101,"ip-acl":"block-telnet"})"},
      {"PUT", "sw-monitor-ip-acl?sessionNum=1&acl-id=23", "{}", "openapiSwMonitorIpAclSet", "[]", "[1,23,1]", ""},
      {"GET", "remote-span-vlan-list", "", "openapiRemoteSpanVlanListGet", R"(["10,20"])", "[]",
       R"({"rspan-vlans":[10,20]})"},
  });
}

// A read that fails shows its defaults; a missing value is refused before OpEN.
TEST_F(MirrorTest, FailedReadsShowDefaultsAndMissingValuesAreRefused) {
  const struct {
    const char *method, *uri, *body, *op;
    std::string expected;  // a read's defaults when OpEN fails, or the refusal
  } cases[] = {
      {"GET", "sw-port-monitor-dest-port?sessionNum=1", "", "openapiSwPortMonitorDestPortGet",
       ok(R"({"interface":null})")},
      {"GET", "remote-span-vlan-list", "", "openapiRemoteSpanVlanListGet", ok(R"({"rspan-vlans":[]})")},
      {"GET", "sw-port-monitor-source-ports-list?sessionNum=1", "", "openapiSwPortMonitorSourcePortsListGet",
       ok(R"({"source-ports":[]})")},
      {"GET", "sw-monitor-ip-acl?sessionNum=1", "", "openapiSwMonitorIpAclGet", ok(R"({"ip-acl-id":0,"ip-acl":null})")},
      // The yes/no routes read their key from the query only.
      {"POST", "is-rspan-vlan?vlanId=abc", R"({"vlanId":10})", "openapiMirrorIsRspanVlan", ""},
      {"POST", "sw-port-monitor-source-port?sessionNum=1", R"({"direction":"rx"})", "openapiSwPortMonitorSourcePortAdd",
       ""},
      {"PUT", "remote-span-vlan", R"({"vlan-list":10})", "openapiRemoteSpanVlanSet", ""},
      {"PUT", "sw-monitor-ip-acl?sessionNum=1", R"({"acl-id":0})", "openapiSwMonitorIpAclSet", ""},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.uri);
    ctlOk({"calls", "clear"});
    if (!c.expected.empty()) ctlOk({"fault", c.op, "-20", "1"});
    EXPECT_EQ(call(c.method, kMirror + c.uri, c.body).out,
              c.expected.empty() ? reply(10003, "Invalid argument") + "\n" : c.expected);
    EXPECT_EQ(callsOf(c.op).size(), c.expected.empty() ? 0u : 1u);
  }
}

// A range starts no lower than 0 and ends no higher than 4093; a range whose
// end lies below its start sets nothing, and no VLAN is set twice. Only VLANs
// 1, 10 and 20 exist: the others are refused, and the answer does not care.
TEST_F(MirrorTest, RemoteSpanRangesSetEachVlanOnceAndAlwaysSucceed) {
  const struct {
    const char *list;
    std::vector<int> vlans;
  } cases[] = {
      {"10,20-22,x,4090-5000,-2000000000-1,21", {10, 20, 21, 22, 4090, 4091, 4092, 4093, 0, 1}},
      {"5--1102,", {}},
      {"30-25,7-7", {7}},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.list);
    ctlOk({"calls", "clear"});
    EXPECT_EQ(call("PUT", kMirror + "remote-span-vlan", std::string(R"({"vlan-list":")") + c.list + "\"}").out, ok());
    std::vector<std::string> expected;
    for (int vlan : c.vlans) {
      expected.push_back(R"({"op":"openapiRemoteSpanVlanSet","in":[)" + std::to_string(vlan) + R"(,1],"rc":)" +
                         (vlan == 1 || vlan == 10 || vlan == 20 ? "0}" : "-22}"));
    }
    EXPECT_EQ(callsOf("openapiRemoteSpanVlanSet"), expected);
  }
}

TEST_F(MirrorTest, IpAclAttachesByNumberOrByName) {
  const std::pair<const char *, std::string> cases[] = {
      {R"({"acl-id":150})", ok()},
      {R"({"acl-name":"block-telnet"})", ok()},
      {R"({"acl-name":"23"})", ok()},  // not a name, but a number
      {R"({"acl-name":"nosuch"})", reply(10012, "Object not exist") + "\n"},
      {R"({"acl-id":42})", reply(10003, "Invalid argument") + "\n"},  // no such list on the switch
  };
  for (const auto &[body, expected] : cases) {
    EXPECT_EQ(call("PUT", kMirror + "sw-monitor-ip-acl?sessionNum=2", body).out, expected) << body;
  }
  EXPECT_EQ(call("GET", kMirror + "sw-monitor-ip-acl?sessionNum=2").out,
            ok(R"({"ip-acl-id":23,"ip-acl":"snmp-managers"})"));
}

// No destination, a direction that cannot be read, an IP list the walk does
// not find (shown by number and winning over the MAC list).
TEST_F(MirrorTest, SessionDocumentIsReadFromEightQueries) {
  ctlOk({"stub", "openapiSwPortMonitorModeGet", R"({"rc":0,"out":[1]})"});
  ctlOk({"stub", "openapiSwPortMonitorSourcePortsListGet", R"({"rc":0,"out":["3,0,7"]})"});
  ctlOk({"stub", "openapiMirrorSourcePortDirectionGet", R"({"rc":0,"out":[2]})", "1"});
  ctlOk({"fault", "openapiSwMonitorVlanListGet", "-20"});
  ctlOk({"stub", "openapiSwMonitorIpAclGet", R"({"rc":0,"out":[120]})"});
  ctlOk({"stub", "openapiSwMonitorMacAclGet", R"({"rc":0,"out":["trusted-macs"]})"});
  const std::string session4 = R"({"sessionId":4,"mode":"enable","destination":null,"sources":{"interfaces":[)";
  EXPECT_EQ(call("GET", kSession + "4").out,
            ok(session4 + R"({"interface":"1/0/3","direction":"rx"},{"interface":"1/0/7","direction":"both"}],)"
                          R"("vlans":[]},"aclFilter":{"type":"L3","aclName":"120"}})"));
  ctlOk({"stub", "openapiSwMonitorIpAclGet", R"({"rc":0,"out":[0]})"});
  EXPECT_EQ(call("GET", kSession + "4").out,
            ok(session4 + R"({"interface":"1/0/3","direction":"both"},{"interface":"1/0/7","direction":"both"}],)"
                          R"("vlans":[]},"aclFilter":{"type":"L2","aclName":"trusted-macs"}})"));
  for (const char *query : {"sessionId=0", "sessionId=5", "session=1", ""}) {
    EXPECT_EQ(call("GET", "/api/v2/monitoring/session/config?" + std::string(query)).out,
              reply(10003, "Invalid argument")) << query;
  }
}

// The session is removed, then its sources, destination, filter and mode set;
// a later document replaces the whole of the one before.
TEST_F(MirrorTest, SessionDocumentReplacesTheSessionInItsOrder) {
  ctlOk({"calls", "clear"});
  EXPECT_EQ(call("PUT", kSession + "2",
                 R"({"mode":"Enable","destination":"1/0/20","sources":{"interfaces":[{"interface":"LAG2",)"
                 R"("direction":"tx"},{"interface":"lag0"},{"interface":"1/0"},{"interface":"cpu","direction":5}],)"
                 R"("vlans":[]},"aclFilter":{"type":"l3","aclName":"block-telnet"}})")
                .out,
            ok());
  EXPECT_EQ(monitorCalls(), (std::vector<std::string>{
                                R"({"op":"openapiSwPortMonitorSessionRemove","in":[2],"rc":0})",
                                R"({"op":"openapiSwPortMonitorSourcePortAdd","in":[2,30,3],"rc":0})",
                                R"({"op":"openapiSwPortMonitorSourcePortAdd","in":[2,37,1],"rc":0})",
                                R"({"op":"openapiSwPortMonitorDestPortSet","in":[2,20],"rc":0})",
                                R"({"op":"openapiAclGet","in":[1,"block-telnet"],"rc":0})",
                                R"({"op":"openapiSwMonitorIpAclSet","in":[2,101,1],"rc":0})",
                                R"({"op":"openapiSwPortMonitorModeSet","in":[2,1],"rc":0})",
                            }));
  const std::string documents[] = {
      R"({"mode":"enable","destination":"1/0/20","sources":{"interfaces":[{"interface":"lag2","direction":"tx"},)"
      R"({"interface":"cpu","direction":"both"}],"vlans":[]},"aclFilter":{"type":"L3","aclName":"block-telnet"}})",
      R"({"mode":"disable","destination":"1/0/28","sources":{"interfaces":[],"vlans":[1,10,20]},)"
      R"("aclFilter":{"type":"L2","aclName":"block-bpdu"}})",
      R"({"mode":"disable","destination":null,"sources":{"interfaces":[],"vlans":[]},"aclFilter":null})",
  };
  for (const std::string &document : documents) {
    if (&document != documents) {
      EXPECT_EQ(call("PUT", kSession + "2", document).out, ok()) << document;
    }
    EXPECT_EQ(call("GET", kSession + "2").out, ok(R"({"sessionId":2,)" + document.substr(1)));
  }
}

// A name is looked up port by port until the port it names: past it, the
// switch is not asked again.
TEST_F(MirrorTest, InterfaceNameSearchStopsAtThePortItNames) {
  const struct {
    const char *destination;
    size_t portsAsked;
  } cases[] = {{"1/0/3", 3}, {"1/0/28", 28}, {"1/0/29", 28}, {"2/0/1", 28}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.destination);
    ctlOk({"calls", "clear"});
    call("PUT", kSession + "3", std::string(R"({"destination":")") + c.destination + R"("})");
    EXPECT_EQ(callsOf("openapiHashIntfUnitSlotPortGet").size(), c.portsAsked);
  }
}

// VLAN 30 does not exist, port 24 is session 1's destination, no list is
// named "nosuch": the first error is the answer, every later step still runs,
// and a document without a mode disables the session.
TEST_F(MirrorTest, SessionDocumentRunsOnAfterTheFirstError) {
  ctlOk({"calls", "clear"});
  EXPECT_EQ(call("PUT", kSession + "2",
                 R"({"destination":"1/0/24","sources":{"interfaces":[],"vlans":[0,10,4094,30,20]},)"
                 R"("aclFilter":{"type":"L3","aclName":"nosuch"}})")
                .out,
            reply(10003, "Invalid argument") + "\n");
  EXPECT_EQ(monitorCalls(), (std::vector<std::string>{
                                R"({"op":"openapiSwPortMonitorSessionRemove","in":[2],"rc":0})",
                                R"({"op":"openapiSwMonitorVlanListSet","in":[2,"10",1],"rc":0})",
                                R"({"op":"openapiSwMonitorVlanListSet","in":[2,"30",1],"rc":-22})",
                                R"({"op":"openapiSwMonitorVlanListSet","in":[2,"20",1],"rc":0})",
                                R"({"op":"openapiSwPortMonitorDestPortSet","in":[2,24],"rc":-24})",
                                R"({"op":"openapiAclGet","in":[1,"nosuch"],"rc":-29})",
                                R"({"op":"openapiSwPortMonitorModeSet","in":[2,0],"rc":0})",
                            }));
  ctlOk({"fault", "openapiSwPortMonitorModeSet", "-28", "1"});
  EXPECT_EQ(call("PUT", kSession + "2", "{}").out, reply(17002, "Unsupported Feature") + "\n");
}

// More sources than a switch has interfaces (1025) or VLANs (4095), each to be asked of OpEN.
TEST_F(MirrorTest, InvalidSessionDocumentsChangeNothing) {
  std::string ports = R"({"interface":"1/0/3"})", vlans = "10";
  for (int i = 1; i < 1025; ++i) ports += R"(,{"interface":"1/0/3"})";
  for (int i = 1; i < 4095; ++i) vlans += ",10";
  const std::pair<const char *, std::string> cases[] = {
      {"1", R"({"sources":{"interfaces":[)" + ports + "]}}"},
      {"1", R"({"sources":{"vlans":[)" + vlans + "]}}"},
      {"5", "{}"},
      {"1", R"({"sources":{"interfaces":[{"interface":"1/0/3"}],"vlans":[10]}})"},
      {"1", R"({"aclFilter":"L2"})"},
      {"1", R"({"aclFilter":{"type":"L4","aclName":"x"}})"},
      {"1", R"({"aclFilter":{"type":"L2","aclName":""}})"},
      {"1", R"({"aclFilter":{"type":"L3","aclName":"200"}})"},
      {"1", R"({"aclFilter":{"type":"L3","aclName":"99"}})"},
  };
  for (const auto &[session, body] : cases) {
    SCOPED_TRACE(body.substr(0, 80));
    ctlOk({"calls", "clear"});
    EXPECT_EQ(call("PUT", kSession + session, body).out, reply(10003, "Invalid argument") + "\n");
    EXPECT_TRUE(callsOf("openapiSwPortMonitorSessionRemove").empty());
  }
}

}  // namespace
