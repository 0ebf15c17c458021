// The fuzzers' own parts that decide a verdict or shape an input: a fault
// here would hide defects or report false ones.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "open/call_codec.h"
#include "open/wire.h"
#include "routes/families.h"
#include "tests/fuzz/cgi_answer.h"
#include "tests/fuzz/client_args.h"
#include "tests/fuzz/request_input.h"
#include "tests/fuzz/route_list.h"
#include "tests/fuzz/rpc_input.h"
#include "tools/raii.h"

namespace {

const std::string kHeader = "Content-Type: application/json\r\n\r\n";
const std::string kEnvelope = R"({"lldp":{"hold":4},"resp":{"respCode":0,"respMsg":"Success","status":"success"}})";
const std::string kRestUri = "/api/v2/monitoring/lldp/tx-hold";

TEST(RequestInput, EveryFlagCombinationDecodesToWhatWasEncoded) {
  for (unsigned flags = 0; flags < 256; ++flags) {
    FuzzRequest sent;
    sent.route = 0x1234;
    sent.flags = static_cast<uint8_t>(flags);
    sent.query = "ifNum=1";
    sent.method = "post";
    sent.uri = "/x/y";
    sent.session = "s";
    sent.contentLength = "12";
    sent.script = R"({"ctl":"ping"})";
    sent.body = std::string("{\"a\":1}\0tail", 12);
    std::string bytes = encodeRequest(sent);
    FuzzRequest got;
    ASSERT_TRUE(decodeRequest(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size(), got));
    EXPECT_EQ(got.route, sent.route);
    EXPECT_EQ(got.query, sent.query);
    EXPECT_EQ(got.body, sent.body) << "flags " << flags;
    EXPECT_EQ(got.has(request_flags::kMethodField) ? got.method : "", sent.has(request_flags::kMethodField) ? "post" : "");
    EXPECT_EQ(got.has(request_flags::kScriptField) ? got.script : "", sent.has(request_flags::kScriptField) ? sent.script : "");
    EXPECT_EQ(got.sessionKind() == SessionKind::FromField ? got.session : "", sent.sessionKind() == SessionKind::FromField ? "s" : "");
  }
}

TEST(RequestInput, TooShortToNameARoute) {
  const uint8_t bytes[] = {1, 2};
  FuzzRequest request;
  EXPECT_FALSE(decodeRequest(bytes, sizeof bytes, request));
}

TEST(RpcInput, HeaderOnlyForEntriesThatNameAnOperation) {
  for (RpcEntry entry : {RpcEntry::ClientReply, RpcEntry::ServerRequest, RpcEntry::Control, RpcEntry::Stub,
                         RpcEntry::StateLoad, RpcEntry::ServerCall}) {
    RpcInput sent{entry, 0x0102, 7, R"({"rc":0})"};
    std::string bytes = encodeRpcInput(sent);
    RpcInput got;
    ASSERT_TRUE(decodeRpcInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size(), got));
    EXPECT_EQ(got.entry, entry);
    EXPECT_EQ(got.text, sent.text);
    bool named = entry == RpcEntry::ClientReply || entry == RpcEntry::Stub || entry == RpcEntry::ServerCall;
    EXPECT_EQ(got.op, named ? 0x0102 : 0);
    EXPECT_EQ(bytes.size(), sent.text.size() + (named ? 4 : 1));
  }
}

TEST(CgiAnswer, TakesWhatTheProgramMayWrite) {
  const struct {
    std::string answer, uri;
  } accepted[] = {
      {"", kRestUri},
      {"Status:403\r\n\r\n", kRestUri},
      {"Invalid request path 'tx-hold'\n", "tx-hold"},
      {kHeader + kEnvelope, kRestUri},
      {kHeader + kEnvelope + "\n", kRestUri},
      {kHeader + R"({"resp":{"respCode":10003,"respMsg":"Invalid argument","status":"fail"}})" + "\n", kRestUri},
      {kEnvelope, "//api/v2/monitoring/lldp/tx-hold"},
  };
  for (const auto &c : accepted) EXPECT_EQ(cgiAnswerProblem(c.answer, c.uri), nullptr) << c.answer;
}

TEST(CgiAnswer, RefusesAnythingElse) {
  const struct {
    std::string answer, uri;
  } refused[] = {
      {kHeader, kRestUri},
      {kEnvelope, kRestUri},
      {kHeader + kEnvelope + "\n\n", kRestUri},
      {kHeader + kEnvelope + kEnvelope, kRestUri},
      {kHeader + R"({"resp":{"respCode":0,"respMsg":"Success","status":"success"},"lldp":{}})", kRestUri},
      {kHeader + R"({"resp":{"respCode":10000,"respMsg":"General Failed","status":"success"}})", kRestUri},
      {kHeader + R"({"a":1,"b":2,"resp":{"respCode":0,"respMsg":"Success","status":"success"}})", kRestUri},
      {kHeader + std::string("{\"resp\":{\"respCode\":0,\"respMsg\":\"S\0\",\"status\":\"success\"}}", 52), kRestUri},
      {"Invalid request path 'tx-hold'\n", kRestUri},
      {"", "tx-hold"},
      {"[2026-01-01] (ERROR): vexo_cgi: log line\n" + kHeader + kEnvelope, kRestUri},
  };
  for (const auto &c : refused) EXPECT_NE(cgiAnswerProblem(c.answer, c.uri), nullptr) << c.answer;
}

TEST(RouteList, EveryRegisteredRouteOnceAndTheTreeBackAfterLookups) {
  httpdTable *table = httpdCreateTable();
  registerAllRoutes(table);
  std::vector<RouteRef> before = listRoutes(table);
  EXPECT_EQ(before.size(), 366u);
  DirTreeGuard guard(table);
  httpdDirNode *monitoring = httpdFindOrCreateDir(table, "/api/v2/monitoring");
  httpdDirNode *firstFamily = monitoring->children;
  httpdFindOrCreateDir(table, "/api/v2/monitoring/no-such-family/deeper");
  httpdFindOrCreateDir(table, "/elsewhere");
  guard.restore();
  EXPECT_EQ(monitoring->children, firstFamily);
  std::vector<RouteRef> after = listRoutes(table);
  ASSERT_EQ(after.size(), before.size());
  for (size_t i = 0; i < after.size(); ++i) EXPECT_EQ(after[i].path, before[i].path);
}

TEST(ClientArgs, BuffersKeepTheirPlaceAndTheirReplyReadsBack) {
  const OpenOpDesc *op = openOpFind("openapiSnmpCommunityAndIPAddrGet");  // a text inside a record
  ASSERT_NE(op, nullptr);
  OpenCallArgs server(*op);
  JsonPtr written(cJSON_Parse(R"([2,{"family":1,"addr":"10.0.0.1"},{"family":0,"addr":""},0,"Abcdefgh"])"));
  ASSERT_EQ(wireDecodeWritten(op->args[1], written.get(), server.object(1), server.storage()), 0);
  WireBuffer reply;
  wireEncodeReplyBody(reply, 0, &server);
  ClientArgs args(*op, 4);
  EXPECT_EQ(openDecodeReply(*op, args.argv(), reply.view()), 0);
  EXPECT_EQ(args.buffersProblem(), nullptr);
  ClientArgs again(*op, 4);
  EXPECT_EQ(openDecodeReply(*op, again.argv(), args.replyBody(0)), 0);
  EXPECT_EQ(again.replyBody(0), args.replyBody(0));
  EXPECT_NE(args.scriptedAnswer(0).find(R"(,"Abcd"]])"), std::string::npos) << args.scriptedAnswer(0);
}

TEST(ClientArgs, CapacityBytesCoverSmallSizesAndTheRoutesSizes) {
  EXPECT_EQ(bufferCapacityOf(0), 0u);
  EXPECT_EQ(bufferCapacityOf(100), 100u);
  EXPECT_EQ(bufferCapacityOf(255), 65536u);
  bool has256 = false;
  for (unsigned byte = 0; byte < 256; ++byte) has256 = has256 || bufferCapacityOf(static_cast<uint8_t>(byte)) == 256;
  EXPECT_TRUE(has256);
}

}  // namespace
