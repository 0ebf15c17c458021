// SNMP routes: the layouts and buffers of their rows, then the simulated agent's tables and refusals.
#include <regex>

#include "tests/e2e/harness.h"

namespace {

const std::string kSnmp = "/api/v2/monitoring/snmp";
const std::string kEngine = "80007ed9030011225a3bc0";  // the default switch's engine identifier
const std::string kLong(300, 'c');

class SnmpTest : public SwitchTest {
 protected:
  std::string send(const std::string &method, const std::string &uri, const std::string &body = "") {
    return call(method, kSnmp + "/" + uri, body).out;
  }
  static std::string ok(const std::string &data = "") {
    return data.empty() ? reply(0, "Success") + "\n" : reply(0, "Success", "snmp", data);
  }
  // A text member of the answer's data, as the program prints it; "?" when there is none.
  static std::string member(const std::string &answer, const std::string &name) {
    std::smatch value;
    return std::regex_search(answer, value, std::regex("\t\"" + name + "\":\t\"([^\"]*)\"")) ? value[1].str() : "?";
  }
  // Walks a get-next route from the empty key to "not found", each answer's next key (answer
  // member -> request member) making the next request; the rows' keys joined with "|".
  std::vector<std::string> walk(const std::string &op, const std::vector<std::pair<const char *, const char *>> &keys) {
    std::vector<std::string> rows;
    std::string body = "{}", answer;
    while ((answer = send("POST", op, body)) != reply(10023, "Request api not found") && rows.size() < 100) {
      std::string row;
      body = "";
      for (const auto &[answerKey, requestKey] : keys) {
        std::string value = member(answer, answerKey);
        row += (row.empty() ? "" : "|") + value;
        body += (body.empty() ? "{\"" : ",\"") + std::string(requestKey) + "\":\"" + value + "\"";
      }
      rows.push_back(row);
      body += "}";
    }
    EXPECT_LT(rows.size(), 100u) << op << " does not end";
    return rows;
  }
};

// Texts cut to their buffers, addresses of either family or none, records
// nested in bodies and answers, numbers narrowed to their width.
TEST_F(SnmpTest, RowsKeepTheirLengthsAndRecords) {
  expectRoutes(kSnmp, "snmp", {
      {"POST", "community", R"({"communityName":")" + kLong + R"(","accessType":"snmp_community_access_RO","addr":"abc"})",
       "openapiSnmpCommunityCreate", "[]", R"([")" + std::string(255, 'c') + R"(",0,"",{"family":0,"addr":""}])", ""},
      {"POST", "community-and-ip-addr",
       R"({"communityName":"mgmt","community":{"type":"snmp_community_access_su","ipAddr":"10.1.0.0","ipMask":"255.255.0.0","ipv6PrefixLen":"24","viewName":")" +
           std::string(40, 'v') + R"("}})",
       "openapiSnmpCommunityAndIPAddrCreate", "[]",
       R"(["mgmt",[3,{"family":1,"addr":"10.1.0.0"},{"family":1,"addr":"255.255.0.0"},24,")" + std::string(30, 'v') +
           R"("]])",
       ""},
      {"GET", "community-and-ip-addr?communityName=m6", "", "openapiSnmpCommunityAndIPAddrGet",
       R"([[1,{"family":2,"addr":"2001:db8::"},{"family":0},48,"Default"]])", R"(["m6"])",
       R"({"community":{"type":"snmp_community_access_ro","ipAddr":"2001:db8::","ipMask":"","ipv6PrefixLen":48,"viewName":"Default"}})"},
      {"POST", "trap-manager-config", R"({"communityName":"public","ipAddr":"fe80::1","trapConfig":{"version":2,"status":1}})",
       "openapiTrapManagerConfigCreate", "[]", R"(["public",{"family":2,"addr":"fe80::1"},2,1])", ""},
      // Walk keys: community names of 20 characters, filter names of 30, hosts of 158.
      {"POST", "community-get-next", R"({"communityName":")" + kLong + R"("})", "openapiSnmpCommunityGetNext",
       R"([7,"Default",{"family":1,"addr":"10.0.0.1"},"public"])", R"([")" + std::string(20, 'c') + R"("])",
       R"({"accessType":"snmp_community_access_none","viewName":"Default","addr":"10.0.0.1","nextCommunityName":"public"})"},
      {"POST", "filter-get-next", R"({"filterName":")" + std::string(40, 'f') + R"("})", "openapiSnmpFilterGetNext",
       R"([7,"g","1.3"])", R"([")" + std::string(30, 'f') + R"(",""])",
       R"({"filterType":"included","nextFilterName":"g","nextOidTree":"1.3"})"},
      {"POST", "host-get-next", R"({"host":")" + kLong + R"("})", "openapiSnmpHostGetNext",
       R"([162,"public",2,1,2,15,3,"f","10.0.0.5"])", R"([")" + std::string(158, 'c') + R"("])",
       R"({"serverPort":162,"securityName":"public","securityModel":"snmpv2c","securityLevel":"noauthnopriv","notifyType":"inform","timeout":15,"retries":3,"filter":"f","nextHost":"10.0.0.5"})"},
      // The user walk's engine identifier goes out as text, at most 32 characters; the next comes back as hexadecimal.
      {"POST", "user-get-next", R"({"userName":"alice","engineId":")" + kEngine + "0123456789abcdef" + R"("})",
       "openapiSnmpUserGetNext", R"(["DefaultWrite",1,6,"bob","800000090300aabbccddeeff"])",
       R"(["alice",")" + (kEngine + "0123456789abcdef").substr(0, 32) + R"("])",
       R"({"groupName":"DefaultWrite","authProto":"sha","privProto":"none","nextUserName":"bob","nextEngineId":"800000090300aabbccddeeff"})"},
      // An engine identifier longer than its buffer shows its first 33 bytes.
      {"GET", "local-engine-id", "", "openapiSnmpLocalEngineIdGet", R"([")" + std::string(80, 'a') + R"("])", "[]",
       R"({"engineId":")" + std::string(66, 'a') + R"("})"},
      // A trap flag is a 32-bit number.
      {"GET", "trap-flag?trapFlag=4294967298", "", "openapiSnmpTrapFlagGet", "[3]", "[2]", R"({"mode":"true"})"},
  });
}

// The simulated agent: its default tables, then rows created, walked in key order and deleted.
TEST_F(SnmpTest, TablesBuiltByCreatesWalkInKeyOrderAndDeletesRemoveRows) {
  EXPECT_EQ(walk("group-get-next", {{"nextGroupName", "groupName"}, {"nextContextPrefix", "contextPrefix"},
                                    {"securityModel", "securityModel"}}),
            (std::vector<std::string>{"DefaultRead||snmpv1", "DefaultRead||snmpv2c", "DefaultRead||usm",
                                      "DefaultSuper||snmpv1", "DefaultSuper||snmpv2c", "DefaultSuper||usm",
                                      "DefaultWrite||snmpv1", "DefaultWrite||snmpv2c", "DefaultWrite||usm"}));
  EXPECT_EQ(walk("view-get-next", {{"nextViewName", "viewName"}, {"nextOidTree", "oidTree"}, {"viewType", "x"}}),
            (std::vector<std::string>{"Default|1|included", "Default|1.3.6.1.6.3.15|excluded",
                                      "Default|1.3.6.1.6.3.16|excluded", "Default|1.3.6.1.6.3.18|excluded",
                                      "DefaultSuper|1|included"}));
  const std::string trap = R"(,"trapConfig":{"version":1,"status":1}})";
  const std::pair<const char *, std::string> creates[] = {
      {"community", R"({"communityName":"zeta","accessType":"snmp_community_access_su"})"},
      {"community", R"({"communityName":"alpha","accessType":"snmp_community_access_ro","addr":"10.0.0.1"})"},
      {"community-group", R"({"communityName":"ops","groupName":"DefaultWrite"})"},
      {"filter", R"({"filterName":"all","oidTree":"iso","filterType":"excluded"})"},
      {"filter", R"({"filterName":"ports","oidTree":"ifEntry.2"})"},  // OID trees by name or number
      {"filter", R"({"filterName":"ports","oidTree":"1.3.6.1.2.1.2.2.1.10"})"},
      {"filter", R"({"filterName":"ports","oidTree":"system"})"},
      {"filter", R"({"filterName":"ports","oidTree":".1.3.6.1.2.1.2"})"},
      {"host", R"({"host":"nms2.example.net","securityName":"public","securityModel":"snmpv2c"})"},
      {"host", R"({"host":"10.0.0.20","securityName":"public","securityModel":"snmpv2c"})"},
      {"host", R"({"host":"10.0.0.3","securityName":"public","securityModel":"snmpv2c"})"},
      {"trap-manager-config", R"({"communityName":"public","ipAddr":"10.0.0.9")" + trap},
      {"trap-manager-config", R"({"communityName":"private","ipAddr":"fe80::9")" + trap},
      {"trap-manager-config", R"({"communityName":"public","ipAddr":"10.0.0.10")" + trap},
  };
  for (const auto &[route, body] : creates) EXPECT_EQ(send("POST", route, body), ok()) << body;
  EXPECT_EQ(walk("community-get-next", {{"nextCommunityName", "communityName"}, {"viewName", "v"}, {"addr", "a"}}),
            (std::vector<std::string>{"alpha|Default|10.0.0.1", "ops||", "private|Default|", "public|Default|",
                                      "zeta|DefaultSuper|"}));
  EXPECT_EQ(walk("filter-get-next", {{"nextFilterName", "filterName"}, {"nextOidTree", "oidTree"}}),
            (std::vector<std::string>{"all|1", "ports|1.3.6.1.2.1.1", "ports|1.3.6.1.2.1.2",
                                      "ports|1.3.6.1.2.1.2.2.1.2", "ports|1.3.6.1.2.1.2.2.1.10"}));
  EXPECT_EQ(walk("host-get-next", {{"nextHost", "host"}}),
            (std::vector<std::string>{"10.0.0.20", "10.0.0.3", "nms2.example.net"}));
  // Both halves of the next key come from the same step.
  std::vector<std::string> managers;
  for (std::string c, a; managers.size() < 10;) {
    std::string body = R"({"communityName":")" + c + R"(","ipAddr":")" + a + R"("})";
    c = member(send("POST", "trap-manager-config-community-get-next", body), "nextCommunityName");
    a = member(send("POST", "trap-manager-config-ip-get-next", body), "nextIPAddr");
    if (c == "?" || a == "?") break;
    managers.push_back(c + "|" + a);
  }
  EXPECT_EQ(managers, (std::vector<std::string>{"private|fe80::9", "public|10.0.0.9", "public|10.0.0.10"}));
  EXPECT_EQ(send("GET", "tree-family-oid-string?name=ports&oidTree=1.3.6.1.2.1.2.2.1.10&treeType=snmp_filter_tree"),
            ok(R"({"oidString":"ifEntry.10"})"));
  EXPECT_EQ(send("DELETE", "community?communityName=ops"), ok());
  EXPECT_EQ(send("DELETE", "filter?filterName=ports&oidTree=interfaces"), ok());
  EXPECT_EQ(walk("community-get-next", {{"nextCommunityName", "communityName"}}).size(), 4u);
  EXPECT_EQ(walk("filter-get-next", {{"nextFilterName", "filterName"}, {"nextOidTree", "oidTree"}}).size(), 4u);
}

// Keys from pass phrases localised to their engine, or given; a remote user
// through the engine known for its address, longer than the walk's key.
TEST_F(SnmpTest, UsersKeepLocalisedKeysAndWalkByNameAndEngine) {
  const std::string alice = R"({"userName":"alice","groupName":"DefaultWrite","authProto":"md5",)"
                            R"("authPwd":"maplesyrup","privProto":"des","privPwd":"maplesyrup")";
  const std::string remote = "80000009030000000000000000000000000000aa", key(40, 'a');
  const std::pair<const char *, std::string> creates[] = {
      {"user", alice + R"(,"engineId":"000000000000000000000002"})"},
      {"user", alice + "}"},
      {"user", R"({"userName":"bob","groupName":"DefaultRead","authProto":"sha","authKey":")" + key + "\"}"},
      {"remote-engine-id", R"({"addr":"10.9.9.9","engineId":")" + remote + "\"}"},
      {"user-create-with-remote-ip-address",
       R"({"userName":"alice","groupName":"DefaultRead","remoteIpAddress":"10.9.9.9"})"},
  };
  for (const auto &[route, body] : creates) EXPECT_EQ(send("POST", route, body), ok()) << body;
  EXPECT_EQ(send("GET", "user-config?userName=alice&engineId=000000000000000000000002"),
            ok(R"({"groupName":"DefaultWrite","authProto":"md5","authKey":"526f5eed9fcce26f8964c2930787d82b",)"
               R"("privProto":"des","privKey":"526f5eed9fcce26f8964c2930787d82b"})"));
  EXPECT_EQ(send("GET", "user-config?userName=bob"),
            ok(R"({"groupName":"DefaultRead","authProto":"sha","authKey":")" + key +
               R"(","privProto":"none","privKey":""})"));
  EXPECT_EQ(walk("user-get-next", {{"nextUserName", "userName"}, {"nextEngineId", "engineId"}}),
            (std::vector<std::string>{"alice|000000000000000000000002", "alice|" + remote, "alice|" + kEngine,
                                      "bob|" + kEngine}));
  EXPECT_EQ(send("GET", "user-remote-ip-address?userName=alice&engineId=" + remote),
            ok(R"({"remoteIpAddress":"10.9.9.9"})"));
  EXPECT_EQ(send("POST", "user-delete-with-remote-ip-address", R"({"userName":"alice","remoteIpAddress":"10.9.9.9"})"),
            ok());
  EXPECT_EQ(send("DELETE", "user?userName=bob"), ok());
  EXPECT_EQ(walk("user-get-next", {{"nextUserName", "userName"}, {"nextEngineId", "engineId"}}).size(), 2u);
}

TEST_F(SnmpTest, EngineIdentifiersAreSetRestoredAndKnownForRemoteAddresses) {
  const std::string carol = R"({"addr":"10.9.9.9","engineId":"800000090300aabbccddeeff","userName":"carol"})",
                    dave = R"({"addr":"10.0.0.2","engineId":"8000000903001122334455","userName":"dave"})";
  EXPECT_EQ(send("PUT", "local-engine-id", R"({"engineId":"8000000903AABBCCDDEE"})"), ok());
  EXPECT_EQ(send("GET", "local-engine-id"), ok(R"({"engineId":"8000000903aabbccddee"})"));
  EXPECT_EQ(send("DELETE", "local-engine-id"), ok());
  EXPECT_EQ(send("GET", "local-engine-id"), ok(R"({"engineId":")" + kEngine + R"("})"));
  EXPECT_EQ(send("GET", "remote-engine-id-next"), reply(10023, "Request api not found"));
  EXPECT_EQ(send("POST", "remote-engine-id", carol), ok());
  EXPECT_EQ(send("POST", "remote-engine-id", dave), ok());
  // Always the first, by address, whatever the query names.
  EXPECT_EQ(send("GET", "remote-engine-id-next"), ok(dave));
  EXPECT_EQ(send("GET", "remote-engine-id-next?addr=10.9.9.9&userName=carol"), ok(dave));
  EXPECT_EQ(send("DELETE", "remote-engine-id?addr=10.0.0.2&engineId=8000000903001122334455&userName=dave"), ok());
  EXPECT_EQ(send("GET", "remote-engine-id-next"), ok(carol));
}

TEST_F(SnmpTest, TheAgentRefusesAsAnAgentWould) {
  const struct {
    const char *method, *uri, *body;
    int code;
  } refusals[] = {
      {"POST", "community", R"({"communityName":"public","accessType":"snmp_community_access_ro"})", 10011},
      {"POST", "community", R"({"communityName":"a-community-name-too-long","accessType":"snmp_community_access_ro"})", 10003},
      {"POST", "community-group", R"({"communityName":"x","groupName":"nosuchgroup"})", 10003},
      {"DELETE", "community?communityName=nosuch", "", 10023},
      {"POST", "view", R"({"viewName":"v","oidTree":"1.3.x"})", 10003},
      {"POST", "group", R"({"groupName":"g","securityModel":"snmpv2c","securityLevel":"authpriv"})", 10003},
      {"POST", "user", R"({"userName":"u","groupName":"DefaultRead","authProto":"sha","authKey":"abcd"})", 10003},
      {"POST", "user", R"({"userName":"u","groupName":"DefaultRead","engineId":"80"})", 10003},
      {"POST", "user-create-with-remote-ip-address", R"({"userName":"u","groupName":"DefaultRead","remoteIpAddress":"10.1.1.1"})", 10003},
      {"PUT", "local-engine-id", R"({"engineId":"0000000000"})", 10003},
      {"POST", "host", R"({"host":"10.0.0.1","securityName":"public","securityModel":"snmpv1","notifyType":"inform"})", 10003},
      {"POST", "trap-manager-config", R"({"communityName":"public","ipAddr":"nms","trapConfig":{"version":1}})", 10003},
      {"GET", "trap-flag?trapFlag=3", "", 10003},
      {"PUT", "trap-src-intf", R"({"intf":37})", 10003},
  };
  for (const auto &r : refusals) {
    SCOPED_TRACE(std::string(r.method) + " " + r.uri + " " + r.body);
    std::string answer = send(r.method, r.uri, r.body);
    EXPECT_NE(answer.find("\"respCode\":\t" + std::to_string(r.code)), std::string::npos) << answer;
  }
  // Pass phrases of fewer than 8 characters only while the strength check is off.
  const std::string shortPhrase = R"({"userName":"u","groupName":"DefaultRead","authProto":"md5","authPwd":"short"})";
  EXPECT_EQ(send("PUT", "password-strength", R"({"snmpPasswdStrengthMode":"enable"})"), ok());
  EXPECT_EQ(send("POST", "user", shortPhrase), reply(10003, "Invalid argument") + "\n");
  EXPECT_EQ(send("PUT", "password-strength", R"({"snmpPasswdStrengthMode":"disable"})"), ok());
  EXPECT_EQ(send("POST", "user", shortPhrase), ok());
}

}  // namespace
