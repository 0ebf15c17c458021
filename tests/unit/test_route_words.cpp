// The words of every enumeration, spelt out here rather than read from the
// route tables, so that a misspelt or renumbered word shows: each word a
// request sends reaches OpEN as its value, each value OpEN gives is shown as
// its word, and a word in another case or one nobody knows is taken as the
// enumeration's rule says.
#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cctype>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/fuzz/in_process_program.h"
#include "open/raii.h"

namespace {

using routetest::Answer;
using routetest::InProcessProgram;

constexpr const char *kApi = "/api/v2/monitoring/";

// "a=1 b=2": the words and their values.
std::vector<std::pair<std::string, long>> wordsOf(const char *list) {
  std::vector<std::pair<std::string, long>> words;
  std::istringstream in(list);
  std::string item;
  while (in >> item) words.emplace_back(item.substr(0, item.find('=')), std::stol(item.substr(item.find('=') + 1)));
  return words;
}

// Words sent as an input: in the query (`key`) or as a body member (`member`).
struct Sent {
  const char *method, *path, *query, *key, *member, *op;
  int arg;  // its place in the call log's inputs
  const char *words;
  bool anyCase;
  long otherwise;             // the value of a word nobody knows
  const char *others = "{}";  // the body's other members
};

const Sent kSent[] = {
    {"GET", "stats/stat", "ifNum=1&", "counterId", nullptr, "openapiStatGet", 0,
     "ctr_reserved=0 ctr_rx_total_bytes=1 ctr_rx_64=2 ctr_rx_65_127=3 ctr_rx_128_255=4 ctr_rx_256_511=5 "
     "ctr_rx_512_1023=6 ctr_rx_1024_1518=7 ctr_rx_1519_1530=8 ctr_rx_good_oversize=9 ctr_rx_error_oversize=10 "
     "ctr_rx_good_undersize=11 ctr_rx_error_undersize=12 ctr_rx_ucast_frames=13 ctr_rx_mcast_frames=14 "
     "ctr_rx_bcast_frames=15 ctr_rx_align_errors=16 ctr_rx_fcs_errors=17 ctr_rx_overruns=18 ctr_rx_frame_too_long=19 "
     "ctr_tx_total_bytes=20 ctr_tx_64=21 ctr_tx_65_127=22 ctr_tx_128_255=23 ctr_tx_256_511=24 ctr_tx_512_1023=25 "
     "ctr_tx_1024_1518=26 ctr_tx_1519_1530=27 ctr_tx_ucast_frames=28 ctr_tx_mcast_frames=29 ctr_tx_bcast_frames=30 "
     "ctr_tx_fcs_errors=31 ctr_tx_oversized=32 ctr_tx_underrun_errors=33 ctr_tx_one_collision=34 "
     "ctr_tx_multiple_collision=35 ctr_tx_excessive_collision=36 ctr_tx_late_collision=37 ctr_tx_rx_64=38 "
     "ctr_tx_rx_65_127=39 ctr_tx_rx_128_255=40 ctr_tx_rx_256_511=41 ctr_tx_rx_512_1023=42 ctr_tx_rx_1024_1518=43 "
     "ctr_tx_rx_1519_1522=44 ctr_tx_rx_1523_2047=45 ctr_tx_rx_2048_4095=46 ctr_tx_rx_4096_9216=47 "
     "ctr_ether_stats_drop_events=48 ctr_snmpifoutdiscard_frames=49 ctr_snmpifindiscard_frames=50 "
     "ctr_rx_total_frames=51 ctr_rx_total_error_frames=52 ctr_tx_total_frames=53 ctr_tx_total_error_frames=54 "
     "ctr_tx_total_collision_frames=55 ctr_rx_crc_errors=56 ctr_rx_total_mac_error_frames=57 ctr_rx_rate_bits=58 "
     "ctr_tx_rate_bits=59 ctr_rx_rate_frames=60 ctr_tx_rate_frames=61 ctr_ether_stats_hold=62 "
     "ctr_rx_jabber_frames=63 ctr_port_link_down_counter=64",
     false, 0},
    {"GET", "sflow/fs-packet-sampling-rate", "ifNum=1&instance=1&", "type", nullptr,
     "openapiSflowFsPacketSamplingRateGet", 2, "flow_based=1 egress=2", false, 0},
    {"PUT", "sflow/cfg-mode", "", nullptr, "sflowConfigMode", "openapiSflowCfgModeSet", 0, "enable=1 disable=0", false,
     0},
    {"POST", "snmp/community", "", nullptr, "accessType", "openapiSnmpCommunityCreate", 1,
     "snmp_community_access_ro=1 snmp_community_access_rw=2 snmp_community_access_su=3", false, 0},
    {"DELETE", "snmp/group", "", "securityModel", nullptr, "openapiSnmpGroupDelete", 2, "snmpv1=1 snmpv2c=2 usm=3",
     false, 0},
    {"DELETE", "snmp/group", "", "securityLevel", nullptr, "openapiSnmpGroupDelete", 3,
     "noauthnopriv=1 authnopriv=2 authpriv=3", false, 1},
    {"POST", "snmp/view", "", nullptr, "viewType", "openapiSnmpViewCreate", 2, "included=1 excluded=2", false, 1},
    {"DELETE", "snmp/host", "", "notifyType", nullptr, "openapiSnmpHostDelete", 1, "trap=1 inform=2", false, 1},
    {"GET", "snmp/tree-family-oid-string", "", "treeType", nullptr, "openapiSnmpTreeFamilyOidStringGet", 2,
     "snmp_filter_tree=2", false, 1},
    {"PUT", "snmp/trap-flag", "", nullptr, "mode", "openapiSnmpTrapFlagSet", 1, "true=1 false=0", false, 0},
    {"POST", "snmp/user", "", nullptr, "authProto", "openapiSnmpUserCreate", 2, "sha=1 md5=2 sha512=3", false, 0},
    {"POST", "snmp/user", "", nullptr, "privProto", "openapiSnmpUserCreate", 5,
     "des=1 3des=2 aes128=3 aes192=4 aes256=5", false, 0},
    {"PUT", "snmp/server-mode", "", nullptr, "serverMode", "openapiSnmpServerModeSet", 0, "enable=1", false, 0},
    {"PUT", "lldp/intf-transmit-mode", "ifNum=3&", nullptr, "transmit", "openapiLldpIntfTransmitModeSet", 1,
     "enable=1 disable=0", true, 0},
    {"PUT", "lldp/intf-tlv-transmit-mode", "ifNum=3&", nullptr, "tlv-type", "openapiLldpIntfTLVTransmitModeSet", 1,
     "system-description=0 system-name=1 system-capabilities=2 port-description=3 management-address=4 port-vlan=5 "
     "vlan-name=6 max-frame-size=7 link-aggregation=8",
     true, -1, R"({"mode":"enable"})"},
    {"POST", "mirror/sw-port-monitor-source-port", "sessionNum=1&intIfNum=3&", nullptr, "direction",
     "openapiSwPortMonitorSourcePortAdd", 2, "rx=2 tx=3", true, 1},
    {"PUT", "mirror/sw-port-monitor-mode", "sessionNum=1&", nullptr, "mode", "openapiSwPortMonitorModeSet", 1,
     "enable=1", true, 0},
    {"PUT", "mirror/session-reserve-state", "sessionNum=1&", nullptr, "reserve-state",
     "openapiMirrorSessionReserveStateSet", 1, "reserved=1", true, 0},
};

// Words shown for what OpEN gives: `outs` is the scripted outputs with %
// where the value goes.
struct Shown {
  const char *method, *path, *op, *outs, *key, *words, *otherwise;
};

const Shown kShown[] = {
    {"GET", "sflow/oper-mode", "openapiSflowOperModeGet", "[%]", "sflowOperMode", "enable=1", "disable"},
    {"POST", "snmp/community-get-next", "openapiSnmpCommunityGetNext", R"([%,"",{"family":0},""])", "accessType",
     "snmp_community_access_ro=1 snmp_community_access_rw=2 snmp_community_access_su=3", "snmp_community_access_none"},
    {"POST", "snmp/group-get-next", "openapiSnmpGroupGetNext", R"([%,1,"","","","",""])", "securityModel",
     "snmpv1=1 snmpv2c=2 usm=3", "any"},
    {"POST", "snmp/group-get-next", "openapiSnmpGroupGetNext", R"([1,%,"","","","",""])", "securityLevel",
     "noauthnopriv=1 authnopriv=2 authpriv=3", "noauthnopriv"},
    {"POST", "snmp/view-get-next", "openapiSnmpViewGetNext", R"([%,"",""])", "viewType", "included=1 excluded=2",
     "included"},
    {"POST", "snmp/host-get-next", "openapiSnmpHostGetNext", R"([0,"",1,1,%,0,0,"",""])", "notifyType",
     "trap=1 inform=2", "trap"},
    {"GET", "snmp/trap-src-intf", "openapiSnmpTrapSrcIntfGet", R"([1,%,{"family":0}])", "type",
     "phy=0 cpu=1 lag=2 vlan=3 loopback=4 tunnel=5 service_port=6 any=8", "other"},
    {"GET", "snmp/trap-flag", "openapiSnmpTrapFlagGet", "[%]", "mode", "true=1 true=255 false=254", "false"},
    {"GET", "snmp/user-config", "openapiSnmpUserConfigGet", R"(["",%,"",0,""])", "authProto", "sha=1 md5=2 sha512=3",
     "none"},
    {"GET", "snmp/user-config", "openapiSnmpUserConfigGet", R"(["",0,"",%,""])", "privProto",
     "des=1 3des=2 aes128=3 aes192=4 aes256=5", "none"},
    {"GET", "snmp/password-strength", "openapiSnmpPasswordStrengthCheckGet", "[%]", "snmpPasswdStrengthMode",
     "enable=1", "disable"},
    {"GET", "lldp/intf-transmit-mode?ifNum=1", "openapiLldpIntfTransmitModeGet", "[%]", "transmit", "enable=1",
     "disable"},
    {"GET", "mirror/source-port-direction?sessionNum=1&intIfNum=1", "openapiMirrorSourcePortDirectionGet", "[%]",
     "direction", "both=1 rx=2 tx=3", "both"},
    {"GET", "mirror/session-reserve-state?sessionNum=1", "openapiMirrorSessionReserveStateGet", "[%]", "reserve-state",
     "reserved=1", "unreserved"},
};

class RouteWords : public ::testing::Test {
 protected:
  void SetUp() override { program().reset(); }
  static InProcessProgram &program() { return InProcessProgram::get(); }

  // The value the call log shows for a word; -1 when the call was refused.
  long sent(const Sent &s, const std::string &word) {
    program().dispatcher().clearCallLog();
    std::string query = std::string(s.query) + (s.key ? std::string(s.key) + "=" + word : "");
    JsonPtr body(cJSON_Parse(s.others));
    if (s.member) cJSON_AddStringToObject(body.get(), s.member, word.c_str());
    std::string text = s.member ? CText(cJSON_PrintUnformatted(body.get())).get() : "";
    program().request(s.method, kApi + std::string(s.path), query, text);
    std::vector<std::string> logged = program().callsOf(s.op);
    if (logged.size() != 1) return -1;
    JsonPtr line(cJSON_Parse(logged[0].c_str()));
    return static_cast<long>(cJSON_GetArrayItem(cJSON_GetObjectItem(line.get(), "in"), s.arg)->valuedouble);
  }

  std::string shown(const Shown &s, long value) {
    std::string outs = s.outs;
    outs.replace(outs.find('%'), 1, std::to_string(value));
    JsonPtr answer(cJSON_Parse((R"({"rc":0,"out":)" + outs + "}").c_str()));
    std::string error;
    EXPECT_EQ(program().dispatcher().setStub(s.op, answer.get(), 1, error), 0) << error;
    std::string path = s.path;
    size_t question = path.find('?');
    std::string query = question == std::string::npos ? "" : path.substr(question + 1);
    Answer got = program().request(s.method, kApi + path.substr(0, question), query, s.method[0] == 'P' ? "{}" : "");
    JsonPtr json(cJSON_Parse(got.json.c_str()));
    const cJSON *data = json ? json->child : nullptr;
    const char *word = cJSON_GetStringValue(cJSON_GetObjectItem(data, s.key));
    return word ? word : "(none)";
  }
};

std::string upper(std::string word) {
  for (char &c : word) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  return word;
}

TEST_F(RouteWords, EachWordReachesOpenAsItsValue) {
  for (const Sent &s : kSent) {
    SCOPED_TRACE(std::string(s.method) + " " + s.path + " " + (s.key ? s.key : s.member));
    for (const auto &[word, value] : wordsOf(s.words)) {
      EXPECT_EQ(sent(s, word), value) << word;
      EXPECT_EQ(sent(s, upper(word)), s.anyCase || upper(word) == word ? value : s.otherwise) << upper(word);
    }
    EXPECT_EQ(sent(s, "no-such-word"), s.otherwise);
  }
}

TEST_F(RouteWords, EachValueOpenGivesIsShownAsItsWord) {
  for (const Shown &s : kShown) {
    SCOPED_TRACE(std::string(s.method) + " " + s.path + " " + s.key);
    for (const auto &[word, value] : wordsOf(s.words)) EXPECT_EQ(shown(s, value), word) << value;
    EXPECT_EQ(shown(s, 98), s.otherwise);
  }
}

}  // namespace
