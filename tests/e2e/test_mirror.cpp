// Mirror and session routes: the quirks of their rows, the session
// document, and the simulated port monitor.
#include "tests/e2e/harness.h"

namespace {

const std::string kMirror = "/api/v2/monitoring/mirror";
const std::string kSession = "/api/v2/monitoring/session";

class MirrorTest : public SwitchTest {
 protected:
  static std::string ok(const std::string &data = "") {
    return kJsonHeader + (data.empty() ? envelope(0, "Success") + "\n" : envelope(0, "Success", "mirror", data));
  }
  static std::string refused(int code, const std::string &message) {
    return kJsonHeader + envelope(code, message) + "\n";
  }
  // The port-monitor calls of the log, in order, without the interface lookups.
  std::vector<std::string> monitorCalls() {
    std::vector<std::string> selected;
    for (const std::string &line : calls()) {
      if (line.find("\"op\":\"openapiIf") == std::string::npos &&
          line.find("HashIntf") == std::string::npos && line.find("Connectivity") == std::string::npos &&
          line.find("VersionGet") == std::string::npos) {
        selected.push_back(line);
      }
    }
    return selected;
  }
};

// The quirks of the rows (every row's plain behaviour is the route check's):
// interface names, directions asked per port, values the body gives as 0
// taken from the query, the yes/no answers.
TEST_F(MirrorTest, RowsNameInterfacesAndReadWordsInAnyCase) {
  const std::string intf24 = R"({"intIfNum":24,"interface":"1/0/24"})";
  expectRoutes(kMirror, "mirror", {
      // Port 7 is no source of session 1: its direction cannot be read.
      {"GET", "sw-port-monitor-source-ports-list?sessionNum=1", "", "openapiSwPortMonitorSourcePortsListGet",
       R"(["2,0,7"])", "[1]",
       R"({"source-ports":[{"intIfNum":2,"interface":"1/0/2","direction":"rx"},)"
       R"({"intIfNum":7,"interface":"1/0/7","direction":"both"}]})",
       false},
      {"GET", "source-port-direction?sessionNum=1&intIfNum=3", "", "openapiMirrorSourcePortDirectionGet", "[3]",
       "[1,3]", R"({"direction":"tx"})", false},
      {"POST", "sw-port-monitor-source-port?sessionNum=3", R"({"sessionNum":0,"intIfNum":5})",
       "openapiSwPortMonitorSourcePortAdd", "[]", "[3,5,1]", "", true},
      {"GET", "sw-port-monitor-dest-port?sessionNum=1", "", "openapiSwPortMonitorDestPortGet", "[24]", "[1]", intf24,
       false},
      {"GET", "sw-port-monitor-dest-port?sessionNum=1", "", "openapiSwPortMonitorDestPortGet", "[999]", "[1]",
       R"({"intIfNum":999,"interface":"999"})", false},
      {"POST", "sw-port-monitor-is-dest-configured?intIfNum=24", "", "openapiSwPortMonitorIsDestConfigured", "[1,1]",
       "[24]", R"({"configured":true,"sessionNum":1})", false},
      {"POST", "sw-port-monitor-is-dest-configured?intIfNum=23", "", "openapiSwPortMonitorIsDestConfigured", "[2,3]",
       "[23]", R"({"configured":false})", false},
      {"GET", "sw-port-monitor-valid-src-intf-next?intIfNum=29", "", "openapiSwPortMonitorValidSrcIntfNextGet",
       "[30]", "[29]", R"({"intIfNum":30,"interface":"lag2"})", false},
      {"GET", "sw-port-monitor-valid-src-intf-list", "", "openapiSwPortMonitorValidSrcIntfListGet", R"(["3,29,0,37"])",
       "[]",
       R"({"valid-src-interfaces":[{"intIfNum":3,"interface":"1/0/3"},{"intIfNum":29,"interface":"lag1"},)"
       R"({"intIfNum":37,"interface":"cpu"}]})",
       false},
      {"GET", "sw-port-monitor-valid-dest-intf-next?intIfNum=5", "", "openapiSwPortMonitorValidDestIntfNextGet", "[0]",
       "[5]", R"({"interface":null})", false},
      {"GET", "sw-monitor-ip-acl?sessionNum=1", "", "openapiSwMonitorIpAclGet", "[101]", "[1]",
       R"({"ip-acl-id":101,"ip-acl":"block-telnet"})", false},
      {"PUT", "sw-monitor-ip-acl?sessionNum=1&acl-id=23", "{}", "openapiSwMonitorIpAclSet", "[]", "[1,23,1]", "", true},
      {"GET", "remote-span-vlan-list", "", "openapiRemoteSpanVlanListGet", R"(["10,20"])", "[]",
       R"({"rspan-vlans":[10,20]})", false},
  });
}

TEST_F(MirrorTest, ReadsShowTheirDefaultsWhenOpenFails) {
  const struct {
    const char *uri, *op, *data;
  } cases[] = {
      {"sw-port-monitor-dest-port?sessionNum=1", "openapiSwPortMonitorDestPortGet", R"({"interface":null})"},
      {"remote-span-vlan-list", "openapiRemoteSpanVlanListGet", R"({"rspan-vlans":[]})"},
      {"sw-port-monitor-source-ports-list?sessionNum=1", "openapiSwPortMonitorSourcePortsListGet",
       R"({"source-ports":[]})"},
      {"sw-monitor-ip-acl?sessionNum=1", "openapiSwMonitorIpAclGet", R"({"ip-acl-id":0,"ip-acl":null})"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.uri);
    ctlOk({"fault", c.op, "-20", "1"});
    EXPECT_EQ(call("GET", kMirror + "/" + c.uri).out, ok(c.data));
  }
}

TEST_F(MirrorTest, RefusesMissingValuesBeforeOpen) {
  const struct {
    const char *method, *uri, *body, *op;
  } cases[] = {
      {"POST", "sw-port-monitor-is-valid-src-port?intIfNum=0", "", "openapiSwPortMonitorIsValidSrcPort"},
      // The yes/no routes read their key from the query only.
      {"POST", "is-rspan-vlan?vlanId=abc", R"({"vlanId":10})", "openapiMirrorIsRspanVlan"},
      {"POST", "sw-port-monitor-source-port?sessionNum=1", R"({"direction":"rx"})",
       "openapiSwPortMonitorSourcePortAdd"},
      {"PUT", "remote-span-vlan", R"({"vlan-list":10})", "openapiRemoteSpanVlanSet"},
      {"PUT", "sw-monitor-ip-acl?sessionNum=1", R"({"acl-id":0})", "openapiSwMonitorIpAclSet"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.uri);
    ctlOk({"calls", "clear"});
    EXPECT_EQ(call(c.method, kMirror + "/" + c.uri, c.body).out, refused(10003, "Invalid argument"));
    EXPECT_TRUE(callsOf(c.op).empty());
  }
}

TEST_F(MirrorTest, RemoteSpanRangesSetEachVlanOnceAndAlwaysSucceed) {
  // A range starts no lower than 0 and ends no higher than 4093; a range
  // whose end lies below its start sets nothing, and no VLAN is set twice.
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
    EXPECT_EQ(call("PUT", kMirror + "/remote-span-vlan", std::string(R"({"vlan-list":")") + c.list + "\"}").out, ok());
    std::string sets;
    for (const std::string &line : callsOf("openapiRemoteSpanVlanSet")) sets += line.substr(line.find("\"in\"")) + "\n";
    std::string expected;
    for (int vlan : c.vlans) {
      // Only VLANs 1, 10 and 20 exist: the others are refused, and the answer does not care.
      bool exists = vlan == 1 || vlan == 10 || vlan == 20;
      expected += R"("in":[)" + std::to_string(vlan) + R"(,1],"rc":)" + (exists ? "0" : "-22") + "}\n";
    }
    EXPECT_EQ(sets, expected);
  }
}

TEST_F(MirrorTest, IpAclAttachesByNumberOrByName) {
  const struct {
    const char *body;
    std::string expected;
  } cases[] = {
      {R"({"acl-id":150})", ok()},
      {R"({"acl-name":"block-telnet"})", ok()},
      {R"({"acl-name":"23"})", ok()},                                       // not a name, but a number
      {R"({"acl-name":"nosuch"})", refused(10012, "Object not exist")},
      {R"({"acl-id":42})", refused(10003, "Invalid argument")},             // no such list on the switch
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.body);
    EXPECT_EQ(call("PUT", kMirror + "/sw-monitor-ip-acl?sessionNum=2", c.body).out, c.expected);
  }
  EXPECT_EQ(call("GET", kMirror + "/sw-monitor-ip-acl?sessionNum=2").out,
            ok(R"({"ip-acl-id":23,"ip-acl":"snmp-managers"})"));
}

TEST_F(MirrorTest, SessionDocumentIsReadFromEightQueries) {
  ctlOk({"stub", "openapiSwPortMonitorModeGet", R"({"rc":0,"out":[1]})"});
  ctlOk({"stub", "openapiSwPortMonitorSourcePortsListGet", R"({"rc":0,"out":["3,0,7"]})"});
  ctlOk({"stub", "openapiMirrorSourcePortDirectionGet", R"({"rc":0,"out":[2]})", "1"});
  ctlOk({"fault", "openapiSwMonitorVlanListGet", "-20"});
  ctlOk({"stub", "openapiSwMonitorIpAclGet", R"({"rc":0,"out":[120]})"});
  ctlOk({"stub", "openapiSwMonitorMacAclGet", R"({"rc":0,"out":["trusted-macs"]})"});
  // No destination, a direction that cannot be read, an IP list the walk does
  // not find (shown by number and winning over the MAC list).
  EXPECT_EQ(call("GET", kSession + "/config?sessionId=4").out,
            ok(R"({"sessionId":4,"mode":"enable","destination":null,"sources":{"interfaces":[)"
               R"({"interface":"1/0/3","direction":"rx"},{"interface":"1/0/7","direction":"both"}],"vlans":[]},)"
               R"("aclFilter":{"type":"L3","aclName":"120"}})"));
  ctlOk({"stub", "openapiSwMonitorIpAclGet", R"({"rc":0,"out":[0]})"});
  EXPECT_EQ(call("GET", kSession + "/config?sessionId=4").out,
            ok(R"({"sessionId":4,"mode":"enable","destination":null,"sources":{"interfaces":[)"
               R"({"interface":"1/0/3","direction":"both"},{"interface":"1/0/7","direction":"both"}],"vlans":[]},)"
               R"("aclFilter":{"type":"L2","aclName":"trusted-macs"}})"));
  for (const char *query : {"sessionId=0", "sessionId=5", "session=1", ""}) {
    SCOPED_TRACE(query);
    EXPECT_EQ(call("GET", kSession + "/config?" + query).out, kJsonHeader + envelope(10003, "Invalid argument"));
  }
}

TEST_F(MirrorTest, SessionDocumentReplacesTheSessionInItsOrder) {
  const std::string document =
      R"({"mode":"Enable","destination":"1/0/20","sources":{"interfaces":[{"interface":"LAG2","direction":"tx"},)"
      R"({"interface":"lag0"},{"interface":"1/0"},{"interface":"cpu","direction":5}],"vlans":[]},)"
      R"("aclFilter":{"type":"l3","aclName":"block-telnet"}})";
  ctlOk({"calls", "clear"});
  EXPECT_EQ(call("PUT", kSession + "/config?sessionId=2", document).out, ok());
  EXPECT_EQ(monitorCalls(), (std::vector<std::string>{
                                R"({"op":"openapiSwPortMonitorSessionRemove","in":[2],"rc":0})",
                                R"({"op":"openapiSwPortMonitorSourcePortAdd","in":[2,30,3],"rc":0})",
                                R"({"op":"openapiSwPortMonitorSourcePortAdd","in":[2,37,1],"rc":0})",
                                R"({"op":"openapiSwPortMonitorDestPortSet","in":[2,20],"rc":0})",
                                R"({"op":"openapiAclGet","in":[1,"block-telnet"],"rc":0})",
                                R"({"op":"openapiSwMonitorIpAclSet","in":[2,101,1],"rc":0})",
                                R"({"op":"openapiSwPortMonitorModeSet","in":[2,1],"rc":0})",
                            }));
  EXPECT_EQ(call("GET", kSession + "/config?sessionId=2").out,
            ok(R"({"sessionId":2,"mode":"enable","destination":"1/0/20","sources":{"interfaces":[)"
               R"({"interface":"lag2","direction":"tx"},{"interface":"cpu","direction":"both"}],"vlans":[]},)"
               R"("aclFilter":{"type":"L3","aclName":"block-telnet"}})"));
}

// VLAN 30 does not exist, port 24 is session 1's destination, no list is
// named "nosuch": the first error is the answer, every later step still runs,
// and a document without a mode disables the session.
TEST_F(MirrorTest, SessionDocumentRunsOnAfterTheFirstError) {
  ctlOk({"calls", "clear"});
  EXPECT_EQ(call("PUT", kSession + "/config?sessionId=2",
                 R"({"destination":"1/0/24","sources":{"interfaces":[],"vlans":[0,10,4094,30,20]},)"
                 R"("aclFilter":{"type":"L3","aclName":"nosuch"}})")
                .out,
            refused(10003, "Invalid argument"));
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
  EXPECT_EQ(call("PUT", kSession + "/config?sessionId=2", "{}").out, refused(17002, "Unsupported Feature"));
}

TEST_F(MirrorTest, SessionDocumentsComeBackAsTheyWerePut) {
  const std::string documents[] = {
      R"({"mode":"enable","destination":"1/0/20","sources":{"interfaces":[{"interface":"1/0/3","direction":"both"},)"
      R"({"interface":"1/0/5","direction":"rx"},{"interface":"lag2","direction":"tx"},)"
      R"({"interface":"cpu","direction":"both"}],"vlans":[]},"aclFilter":{"type":"L3","aclName":"voice-rtp"}})",
      // Replaces the ports of the document before.
      R"({"mode":"disable","destination":"1/0/28","sources":{"interfaces":[],"vlans":[1,10,20]},)"
      R"("aclFilter":{"type":"L2","aclName":"block-bpdu"}})",
      R"({"mode":"disable","destination":null,"sources":{"interfaces":[],"vlans":[]},"aclFilter":null})",
  };
  for (const std::string &document : documents) {
    SCOPED_TRACE(document);
    EXPECT_EQ(call("PUT", kSession + "/config?sessionId=3", document).out, ok());
    EXPECT_EQ(call("GET", kSession + "/config?sessionId=3").out, ok(R"({"sessionId":3,)" + document.substr(1)));
  }
}

// More sources than a switch has interfaces or VLANs, each to be asked of OpEN.
std::string sourceList(const char *member, const std::string &element, int count) {
  std::string list;
  for (int i = 0; i < count; ++i) list += (i ? "," : "") + element;
  return std::string(R"({"sources":{")") + member + R"(":[)" + list + "]}}";
}

TEST_F(MirrorTest, InvalidSessionDocumentsChangeNothing) {
  const std::string tooManyPorts = sourceList("interfaces", R"({"interface":"1/0/3"})", 1025);
  const std::string tooManyVlans = sourceList("vlans", "10", 4095);
  const struct {
    const char *query, *body;
  } cases[] = {
      {"sessionId=1", tooManyPorts.c_str()},
      {"sessionId=1", tooManyVlans.c_str()},
      {"sessionId=5", "{}"},
      {"sessionId=1", "{"},
      {"sessionId=1", R"({"sources":{"interfaces":[{"interface":"1/0/3"}],"vlans":[10]}})"},
      {"sessionId=1", R"({"aclFilter":"L2"})"},
      {"sessionId=1", R"({"aclFilter":{"type":"L4","aclName":"x"}})"},
      {"sessionId=1", R"({"aclFilter":{"type":"L2","aclName":""}})"},
      {"sessionId=1", R"({"aclFilter":{"type":"L3","aclName":"200"}})"},
      {"sessionId=1", R"({"aclFilter":{"type":"L3","aclName":"99"}})"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(std::string(c.body).substr(0, 80));
    ctlOk({"calls", "clear"});
    EXPECT_EQ(call("PUT", kSession + "/config?" + c.query, c.body).out, refused(10003, "Invalid argument"));
    EXPECT_TRUE(callsOf("openapiSwPortMonitorSessionRemove").empty());
  }
}

}  // namespace
