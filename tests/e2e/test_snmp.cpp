// SNMP routes: the quirks of their rows, then the simulated agent behind
// them: walks over tables built by creates, round trips and refusals.
#include <cjson/cJSON.h>

#include <map>
#include <memory>

#include "tests/e2e/harness.h"

namespace {

const std::string kSnmp = "/api/v2/monitoring/snmp";
const std::string kV4 = R"({"family":1,"addr":"10.1.2.3"})", kV6 = R"({"family":2,"addr":"fe80::1"})",
                  kNoAddr = R"({"family":0,"addr":""})";
const std::string kEngine = "80007ed9030011225a3bc0";  // the default switch's engine identifier
const std::string kLong(300, 'c');

class SnmpTest : public SwitchTest {
 protected:
  std::string send(const std::string &method, const std::string &uri, const std::string &body = "") {
    return call(method, kSnmp + "/" + uri, body).out;
  }
  static std::string ok(const std::string &data = "") {
    return kJsonHeader + (data.empty() ? envelope(0, "Success") + "\n" : envelope(0, "Success", "snmp", data));
  }
  static std::string fail(int code, const std::string &message, bool newline) {
    return kJsonHeader + envelope(code, message) + (newline ? "\n" : "");
  }
  // The "snmp" member of an answer; null when it has none.
  std::shared_ptr<cJSON> dataOf(const std::string &answer) {
    if (answer.compare(0, kJsonHeader.size(), kJsonHeader) != 0) return nullptr;
    std::shared_ptr<cJSON> root(cJSON_Parse(answer.c_str() + kJsonHeader.size()), cJSON_Delete);
    cJSON *data = cJSON_DetachItemFromObject(root.get(), "snmp");
    return std::shared_ptr<cJSON>(data, cJSON_Delete);
  }
  // Walks a get-next route from the empty key, each answer's next key
  // (answer member -> request member) making the next request. The rows'
  // keys joined with "|"; the walk must end with "not found".
  std::vector<std::string> walk(const std::string &op, const std::vector<std::pair<const char *, const char *>> &keys,
                                const std::string &fixed = "") {
    std::vector<std::string> rows;
    std::string body = "{" + fixed + "}";
    for (int guard = 0; guard < 100; ++guard) {
      std::string answer = send("POST", op, body);
      std::shared_ptr<cJSON> data = dataOf(answer);
      if (!data) {
        EXPECT_EQ(answer, fail(10023, "Request api not found", false)) << op << " ends with not found";
        return rows;
      }
      std::string row;
      std::shared_ptr<cJSON> next(cJSON_Parse(body.c_str()), cJSON_Delete);
      for (const auto &[answerKey, requestKey] : keys) {
        const char *value = cJSON_GetStringValue(cJSON_GetObjectItem(data.get(), answerKey));
        row += (row.empty() ? "" : "|") + std::string(value ? value : "?");
        cJSON_DeleteItemFromObject(next.get(), requestKey);
        cJSON_AddStringToObject(next.get(), requestKey, value ? value : "");
      }
      rows.push_back(row);
      char *printed = cJSON_PrintUnformatted(next.get());
      body = printed;
      free(printed);
    }
    ADD_FAILURE() << op << " does not end";
    return rows;
  }
};

// The quirks of the rows (every row's plain behaviour is the route check's,
// their words the word check's): member names in any case, texts cut to
// their buffers, addresses of either family or none, records.
TEST_F(SnmpTest, RowsKeepTheirWordsLengthsAndRecords) {
  expectRoutes(kSnmp, "snmp", {
      {"POST", "community", R"({"COMMUNITYNAME":")" + kLong + R"(","accessType":"snmp_community_access_RO","addr":"abc"})",
       "openapiSnmpCommunityCreate", "[]", R"([")" + std::string(255, 'c') + R"(",0,"",)" + kNoAddr + "]", "", true},
      {"POST", "community-and-ip-addr",
       R"({"communityName":"mgmt","community":{"type":"snmp_community_access_su","ipAddr":"10.1.0.0","ipMask":"255.255.0.0","ipv6PrefixLen":"24","viewName":")" +
           std::string(40, 'v') + R"("}})",
       "openapiSnmpCommunityAndIPAddrCreate", "[]",
       R"(["mgmt",[3,{"family":1,"addr":"10.1.0.0"},{"family":1,"addr":"255.255.0.0"},24,")" + std::string(30, 'v') +
           R"("]])",
       "", true},
      {"GET", "community-and-ip-addr?communityName=m6", "", "openapiSnmpCommunityAndIPAddrGet",
       R"([[1,{"family":2,"addr":"2001:db8::"},{"family":0},48,"Default"]])", R"(["m6"])",
       R"({"community":{"type":"snmp_community_access_ro","ipAddr":"2001:db8::","ipMask":"","ipv6PrefixLen":48,"viewName":"Default"}})",
       false},
      {"POST", "trap-manager-config", R"({"communityName":"public","ipAddr":"fe80::1","trapConfig":{"version":2,"status":1}})",
       "openapiTrapManagerConfigCreate", "[]", R"(["public",)" + kV6 + ",2,1]", "", true},
      {"GET", "trap-manager-config?communityName=public&ipAddr=10.1.2.3", "", "openapiTrapManagerConfigGet", "[2,1]",
       R"(["public",)" + kV4 + "]", R"({"trapConfig":{"version":2,"status":1}})", false},
      // Walk keys: community names of 20 characters, view and filter names of 30, hosts of 158.
      {"POST", "community-get-next", R"({"communityName":")" + kLong + R"("})", "openapiSnmpCommunityGetNext",
       R"([7,"Default",{"family":1,"addr":"10.0.0.1"},"public"])", R"([")" + std::string(20, 'c') + R"("])",
       R"({"accessType":"snmp_community_access_none","viewName":"Default","addr":"10.0.0.1","nextCommunityName":"public"})",
       false},
      {"POST", "filter-get-next", R"({"filterName":")" + std::string(40, 'f') + R"("})", "openapiSnmpFilterGetNext",
       R"([7,"g","1.3"])", R"([")" + std::string(30, 'f') + R"(",""])",
       R"({"filterType":"included","nextFilterName":"g","nextOidTree":"1.3"})", false},
      {"POST", "host-get-next", R"({"host":")" + kLong + R"("})", "openapiSnmpHostGetNext",
       R"([162,"public",2,1,2,15,3,"f","10.0.0.5"])", R"([")" + std::string(158, 'c') + R"("])",
       R"({"serverPort":162,"securityName":"public","securityModel":"snmpv2c","securityLevel":"noauthnopriv","notifyType":"inform","timeout":15,"retries":3,"filter":"f","nextHost":"10.0.0.5"})",
       false},
      {"POST", "group-get-next", R"({"groupName":"DefaultRead","securityModel":"usm"})", "openapiSnmpGroupGetNext",
       R"([0,2,"r","w","n","ops","ctx"])", R"(["DefaultRead","",3,1])",
       R"({"securityModel":"any","securityLevel":"authnopriv","readView":"r","writeView":"w","notifyView":"n","nextGroupName":"ops","nextContextPrefix":"ctx"})",
       false},
      // The user walk's engine identifier goes out as text, at most 32 characters; the next comes back as hexadecimal.
      {"POST", "user-get-next", R"({"userName":"alice","engineId":")" + kEngine + "0123456789abcdef" + R"("})",
       "openapiSnmpUserGetNext", R"(["DefaultWrite",1,6,"bob","800000090300aabbccddeeff"])",
       R"(["alice",")" + (kEngine + "0123456789abcdef").substr(0, 32) + R"("])",
       R"({"groupName":"DefaultWrite","authProto":"sha","privProto":"none","nextUserName":"bob","nextEngineId":"800000090300aabbccddeeff"})",
       false},
      // An engine identifier longer than its buffer shows its first 33 bytes.
      {"GET", "local-engine-id", "", "openapiSnmpLocalEngineIdGet", R"([")" + std::string(80, 'a') + R"("])", "[]",
       R"({"engineId":")" + std::string(66, 'a') + R"("})", false},
      // The remote engine walk always asks for the first row.
      {"GET", "remote-engine-id-next?addr=10.9.9.9&userName=carol", "", "openapiSnmpRemoteEngineIdNextGet",
       R"(["10.9.9.9","800000090300aabbccddeeff","carol"])", R"(["",""])",
       R"({"addr":"10.9.9.9","engineId":"800000090300aabbccddeeff","userName":"carol"})", false},
      // A trap flag is a 32-bit number.
      {"GET", "trap-flag?trapFlag=4294967298", "", "openapiSnmpTrapFlagGet", "[3]", "[2]", R"({"mode":"true"})", false},
      {"GET", "trap-flag?trapFlag=x", "", "openapiSnmpTrapFlagGet", "[254]", "[0]", R"({"mode":"false"})", false},
      {"PUT", "sys-location", "{}", "openapiSnmpSysLocationSet", "[]", R"([""])", "", true},
  });
  // The strength check's mode must be there.
  EXPECT_EQ(send("PUT", "password-strength", R"({"mode":"enable"})"), fail(10003, "Invalid argument", true));
  EXPECT_TRUE(callsOf("openapiSnmpPasswordStrengthCheckSet").empty());
}

// The simulated agent.

TEST_F(SnmpTest, DefaultAgentHasTheUsualCommunitiesGroupsAndViews) {
  EXPECT_EQ(walk("community-get-next", {{"nextCommunityName", "communityName"}}),
            (std::vector<std::string>{"private", "public"}));
  EXPECT_EQ(send("POST", "community-get-next", R"({"communityName":"private"})"),
            ok(R"({"accessType":"snmp_community_access_ro","viewName":"Default","addr":"","nextCommunityName":"public"})"));
  std::vector<std::string> groups = walk("group-get-next", {{"nextGroupName", "groupName"},
                                                            {"nextContextPrefix", "contextPrefix"},
                                                            {"securityModel", "securityModel"}});
  EXPECT_EQ(groups, (std::vector<std::string>{"DefaultRead||snmpv1", "DefaultRead||snmpv2c", "DefaultRead||usm",
                                              "DefaultSuper||snmpv1", "DefaultSuper||snmpv2c", "DefaultSuper||usm",
                                              "DefaultWrite||snmpv1", "DefaultWrite||snmpv2c", "DefaultWrite||usm"}));
  EXPECT_EQ(walk("view-get-next", {{"nextViewName", "viewName"}, {"nextOidTree", "oidTree"}, {"viewType", "x"}}),
            (std::vector<std::string>{"Default|1|included", "Default|1.3.6.1.6.3.15|excluded",
                                      "Default|1.3.6.1.6.3.16|excluded", "Default|1.3.6.1.6.3.18|excluded",
                                      "DefaultSuper|1|included"}));
  EXPECT_EQ(send("GET", "local-engine-id"), ok(R"({"engineId":")" + kEngine + R"("})"));
  EXPECT_EQ(send("GET", "trap-src-intf"), ok(R"({"intf":0,"type":"any","addr":"192.168.0.239"})"));
  EXPECT_EQ(send("GET", "sys-name"), ok(R"({"sysName":"SIM-2428X-5A3BC0"})"));
}

TEST_F(SnmpTest, TablesBuiltByCreatesWalkInKeyOrderAndDeletesRemoveRows) {
  for (const char *body : {R"({"communityName":"zeta","accessType":"snmp_community_access_su"})",
                           R"({"communityName":"alpha","accessType":"snmp_community_access_ro","addr":"10.0.0.1"})"}) {
    EXPECT_EQ(send("POST", "community", body), ok());
  }
  EXPECT_EQ(send("POST", "community-group", R"({"communityName":"ops","groupName":"DefaultWrite"})"), ok());
  EXPECT_EQ(walk("community-get-next", {{"nextCommunityName", "communityName"}, {"viewName", "v"}, {"addr", "a"}}),
            (std::vector<std::string>{"alpha|Default|10.0.0.1", "ops||", "private|Default|", "public|Default|",
                                      "zeta|DefaultSuper|"}));
  EXPECT_EQ(send("DELETE", "community?communityName=ops"), ok());
  EXPECT_EQ(walk("community-get-next", {{"nextCommunityName", "communityName"}}).size(), 4u);

  for (const char *oid : {"ifEntry.2", "1.3.6.1.2.1.2.2.1.10", "system", ".1.3.6.1.2.1.2"}) {
    EXPECT_EQ(send("POST", "filter", std::string(R"({"filterName":"ports","oidTree":")") + oid + R"("})"), ok()) << oid;
  }
  EXPECT_EQ(send("POST", "filter", R"({"filterName":"all","oidTree":"iso","filterType":"excluded"})"), ok());
  EXPECT_EQ(walk("filter-get-next", {{"nextFilterName", "filterName"}, {"nextOidTree", "oidTree"}}),
            (std::vector<std::string>{"all|1", "ports|1.3.6.1.2.1.1", "ports|1.3.6.1.2.1.2", "ports|1.3.6.1.2.1.2.2.1.2",
                                      "ports|1.3.6.1.2.1.2.2.1.10"}));
  EXPECT_EQ(send("GET", "tree-family-oid-string?name=ports&oidTree=1.3.6.1.2.1.2.2.1.10&treeType=snmp_filter_tree"),
            ok(R"({"oidString":"ifEntry.10"})"));
  EXPECT_EQ(send("GET", "tree-family-oid-val?name=ports&oidTree=ifEntry.10&treeType=snmp_filter_tree"),
            ok(R"({"oidVal":"1.3.6.1.2.1.2.2.1.10"})"));
  EXPECT_EQ(send("DELETE", "filter?filterName=ports&oidTree=interfaces"), ok());
  EXPECT_EQ(walk("filter-get-next", {{"nextFilterName", "filterName"}, {"nextOidTree", "oidTree"}}).size(), 4u);

  for (const char *host : {"nms2.example.net", "10.0.0.20", "10.0.0.3"}) {
    EXPECT_EQ(send("POST", "host", std::string(R"({"host":")") + host + R"(","securityName":"public","securityModel":"snmpv2c"})"),
              ok());
  }
  EXPECT_EQ(walk("host-get-next", {{"nextHost", "host"}}),
            (std::vector<std::string>{"10.0.0.20", "10.0.0.3", "nms2.example.net"}));

  for (const char *manager : {R"("public","ipAddr":"10.0.0.9")", R"("private","ipAddr":"fe80::9")",
                              R"("public","ipAddr":"10.0.0.10")"}) {
    EXPECT_EQ(send("POST", "trap-manager-config",
                   std::string(R"({"communityName":)") + manager + R"(,"trapConfig":{"version":1,"status":1}})"),
              ok());
  }
  // Both halves of the next key come from the same step.
  std::vector<std::string> managers;
  std::string body = R"({"communityName":"","ipAddr":""})";
  for (int guard = 0; guard < 10; ++guard) {
    auto community = dataOf(send("POST", "trap-manager-config-community-get-next", body));
    auto address = dataOf(send("POST", "trap-manager-config-ip-get-next", body));
    if (!community || !address) break;
    std::string c = cJSON_GetStringValue(cJSON_GetObjectItem(community.get(), "nextCommunityName"));
    std::string a = cJSON_GetStringValue(cJSON_GetObjectItem(address.get(), "nextIPAddr"));
    managers.push_back(c + "|" + a);
    body = R"({"communityName":")" + c + R"(","ipAddr":")" + a + R"("})";
  }
  EXPECT_EQ(managers, (std::vector<std::string>{"private|fe80::9", "public|10.0.0.9", "public|10.0.0.10"}));
}

TEST_F(SnmpTest, UsersKeepLocalisedKeysAndWalkByNameAndEngine) {
  const std::string user = R"({"userName":"alice","groupName":"DefaultWrite","authProto":"md5","authPwd":"maplesyrup",)"
                           R"("privProto":"des","privPwd":"maplesyrup")";
  EXPECT_EQ(send("POST", "user", user + R"(,"engineId":"000000000000000000000002"})"), ok());
  EXPECT_EQ(send("POST", "user", user + "}"), ok());
  // The key a pass phrase gives, localised to the engine, never the pass phrase.
  EXPECT_EQ(send("GET", "user-config?userName=alice&engineId=000000000000000000000002"),
            ok(R"({"groupName":"DefaultWrite","authProto":"md5","authKey":"526f5eed9fcce26f8964c2930787d82b",)"
               R"("privProto":"des","privKey":"526f5eed9fcce26f8964c2930787d82b"})"));
  EXPECT_EQ(send("POST", "user", R"({"userName":"bob","groupName":"DefaultRead","authProto":"sha","authKey":")" +
                                     std::string(40, 'a') + R"("})"),
            ok());
  EXPECT_EQ(send("GET", "user-config?userName=bob"),
            ok(R"({"groupName":"DefaultRead","authProto":"sha","authKey":")" + std::string(40, 'a') +
               R"(","privProto":"none","privKey":""})"));
  // A remote user through the engine known for its address; an engine longer than the walk's key.
  EXPECT_EQ(send("POST", "remote-engine-id", R"({"addr":"10.9.9.9","engineId":"80000009030000000000000000000000000000aa"})"), ok());
  EXPECT_EQ(send("POST", "user-create-with-remote-ip-address",
                 R"({"userName":"alice","groupName":"DefaultRead","remoteIpAddress":"10.9.9.9"})"),
            ok());
  EXPECT_EQ(walk("user-get-next", {{"nextUserName", "userName"}, {"nextEngineId", "engineId"}}),
            (std::vector<std::string>{"alice|000000000000000000000002", "alice|80000009030000000000000000000000000000aa",
                                      "alice|" + kEngine, "bob|" + kEngine}));
  EXPECT_EQ(send("GET", "user-remote-ip-address?userName=alice&engineId=80000009030000000000000000000000000000aa"),
            ok(R"({"remoteIpAddress":"10.9.9.9"})"));
  EXPECT_EQ(send("POST", "user-delete-with-remote-ip-address", R"({"userName":"alice","remoteIpAddress":"10.9.9.9"})"),
            ok());
  EXPECT_EQ(send("DELETE", "user?userName=bob"), ok());
  EXPECT_EQ(walk("user-get-next", {{"nextUserName", "userName"}, {"nextEngineId", "engineId"}}).size(), 2u);
}

TEST_F(SnmpTest, EngineIdentifiersAreSetRestoredAndKnownForRemoteAddresses) {
  EXPECT_EQ(send("PUT", "local-engine-id", R"({"engineId":"8000000903AABBCCDDEE"})"), ok());
  EXPECT_EQ(send("GET", "local-engine-id"), ok(R"({"engineId":"8000000903aabbccddee"})"));
  EXPECT_EQ(send("DELETE", "local-engine-id"), ok());
  EXPECT_EQ(send("GET", "local-engine-id"), ok(R"({"engineId":")" + kEngine + R"("})"));

  EXPECT_EQ(send("GET", "remote-engine-id-next"), fail(10023, "Request api not found", false));
  for (const char *body : {R"({"addr":"10.9.9.9","engineId":"800000090300aabbccddeeff","userName":"carol"})",
                           R"({"addr":"10.0.0.2","engineId":"8000000903001122334455","userName":"dave"})"}) {
    EXPECT_EQ(send("POST", "remote-engine-id", body), ok());
  }
  // Always the first, by address.
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(send("GET", "remote-engine-id-next"),
              ok(R"({"addr":"10.0.0.2","engineId":"8000000903001122334455","userName":"dave"})"));
  }
  EXPECT_EQ(send("DELETE", "remote-engine-id?addr=10.0.0.2&engineId=8000000903001122334455&userName=dave"), ok());
  EXPECT_EQ(send("GET", "remote-engine-id-next"),
            ok(R"({"addr":"10.9.9.9","engineId":"800000090300aabbccddeeff","userName":"carol"})"));
}

TEST_F(SnmpTest, SettingsReadBackAsTheyWereSet) {
  const std::pair<std::string, std::string> systemTexts[] = {
      {"sys-name", "sysName"}, {"sys-contact", "sysContact"}, {"sys-location", "sysLocation"}};
  for (const auto &[op, field] : systemTexts) {
    EXPECT_EQ(send("PUT", op, R"({")" + field + R"(":")" + kLong + R"("})"), ok());
    EXPECT_EQ(send("GET", op), ok(R"({")" + field + R"(":")" + std::string(255, 'c') + R"("})"));
  }
  EXPECT_EQ(send("PUT", "server-mode", R"({"serverMode":"disable"})"), ok());
  EXPECT_EQ(send("GET", "server-mode"), ok(R"({"serverMode":"disable"})"));
  EXPECT_EQ(send("PUT", "trap-flag", R"({"trapFlags":16,"mode":"true"})"), ok());
  EXPECT_EQ(send("GET", "trap-flag?trapFlag=16"), ok(R"({"mode":"true"})"));
  EXPECT_EQ(send("PUT", "trap-src-intf", R"({"intf":3})"), ok());
  EXPECT_EQ(send("GET", "trap-src-intf"), ok(R"({"intf":3,"type":"phy","addr":""})"));
  EXPECT_EQ(send("POST", "community-and-ip-addr",
                 R"({"communityName":"mgmt","community":{"type":"snmp_community_access_rw","ipAddr":"10.1.0.0","ipMask":"255.255.0.0"}})"),
            ok());
  EXPECT_EQ(send("GET", "community-and-ip-addr?communityName=mgmt"),
            ok(R"({"community":{"type":"snmp_community_access_rw","ipAddr":"10.1.0.0","ipMask":"255.255.0.0","ipv6PrefixLen":0,"viewName":"Default"}})"));
  EXPECT_EQ(walk("community-and-ip-addr-get-next", {{"nextCommunityName", "communityName"}}),
            (std::vector<std::string>{"mgmt"}));
}

TEST_F(SnmpTest, TheAgentRefusesAsAnAgentWould) {
  struct Refusal {
    const char *method, *uri, *body;
    int code;
  };
  const Refusal refusals[] = {
      {"POST", "community", R"({"communityName":"public","accessType":"snmp_community_access_ro"})", 10011},
      {"POST", "community", R"({"communityName":"a-community-name-too-long","accessType":"snmp_community_access_ro"})", 10003},
      {"POST", "community-group", R"({"communityName":"x","groupName":"nosuchgroup"})", 10003},
      {"DELETE", "community?communityName=nosuch", "", 10023},
      {"POST", "view", R"({"viewName":"v","oidTree":"1.3.x"})", 10003},
      {"POST", "view", R"({"viewName":"v","oidTree":"noSuchName"})", 10003},
      {"POST", "view", R"({"viewName":"Default","oidTree":"iso"})", 10011},
      {"DELETE", "view?viewName=Default&oidTree=1.3.6", "", 10023},
      {"POST", "group", R"({"groupName":"g","securityModel":"snmpv2c","securityLevel":"authpriv"})", 10003},
      {"POST", "user", R"({"userName":"u","groupName":"nosuchgroup"})", 10003},
      {"POST", "user", R"({"userName":"u","groupName":"DefaultRead","authProto":"sha","authKey":"abcd"})", 10003},
      {"POST", "user", R"({"userName":"u","groupName":"DefaultRead","engineId":"80"})", 10003},
      {"POST", "user-create-with-remote-ip-address", R"({"userName":"u","groupName":"DefaultRead","remoteIpAddress":"10.1.1.1"})", 10003},
      {"GET", "user-config?userName=nobody", "", 10023},
      {"PUT", "local-engine-id", R"({"engineId":"0000000000"})", 10003},
      {"POST", "host", R"({"host":"10.0.0.1","securityName":"public","securityModel":"snmpv1","notifyType":"inform"})", 10003},
      {"POST", "host", R"({"host":"10.0.0.1","securityName":"public","securityModel":"snmpv2c","filter":"nosuch"})", 10003},
      {"DELETE", "host?host=10.0.0.1", "", 10023},
      {"POST", "trap-manager-config", R"({"communityName":"public","ipAddr":"nms","trapConfig":{"version":1}})", 10003},
      {"GET", "trap-flag?trapFlag=3", "", 10003},
      {"PUT", "trap-src-intf", R"({"intf":37})", 10003},
      {"GET", "tree-family-oid-val?name=Default&oidTree=1.3.6", "", 10023},
  };
  for (const Refusal &r : refusals) {
    SCOPED_TRACE(std::string(r.method) + " " + r.uri + " " + r.body);
    std::string answer = send(r.method, r.uri, r.body);
    EXPECT_NE(answer.find("\"respCode\":\t" + std::to_string(r.code)), std::string::npos) << answer;
  }
  // Pass phrases of fewer than 8 characters only while the strength check is off.
  const std::string shortPhrase = R"({"userName":"u","groupName":"DefaultRead","authProto":"md5","authPwd":"short"})";
  EXPECT_EQ(send("PUT", "password-strength", R"({"snmpPasswdStrengthMode":"enable"})"), ok());
  EXPECT_EQ(send("POST", "user", shortPhrase), fail(10003, "Invalid argument", true));
  EXPECT_EQ(send("PUT", "password-strength", R"({"snmpPasswdStrengthMode":"disable"})"), ok());
  EXPECT_EQ(send("POST", "user", shortPhrase), ok());
}

}  // namespace
