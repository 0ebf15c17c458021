// Calls through the dispatcher: faults, scripted answers, the call log, and
// request frames that are none.
#include <algorithm>

#include "open/wire.h"
#include "sim/dispatch.h"
#include "sim_fixture.h"
#include "tools/raii.h"

namespace {

using simtest::SimFixture;

const char kStatOfPort5[] = R"({"op":"openapiStatGet","in":[2,5]})";
const char kResetPort5[] = R"({"op":"openapiStatReset","in":[2,5]})";

class SimDispatchTest : public SimFixture {
 protected:
  SimDispatcher dispatcher{dev};

  // The answer to a call written as the call log writes it.
  std::string call(const std::string &written) {
    JsonPtr request(cJSON_Parse(written.c_str()));
    std::string answer;
    EXPECT_EQ(dispatcher.callWritten(request.get(), answer), 0) << answer;
    return answer;
  }
  int rcOf(const std::string &answer) {
    JsonPtr json(cJSON_Parse(answer.c_str()));
    const cJSON *rc = cJSON_GetObjectItemCaseSensitive(json.get(), "rc");
    return cJSON_IsNumber(rc) ? rc->valueint : 12345;
  }
  void stub(const char *op, const char *answer, long count) {
    JsonPtr json(cJSON_Parse(answer));
    std::string error;
    ASSERT_EQ(dispatcher.setStub(op, json.get(), count, error), 0) << error;
  }
  std::string actualReply() { return R"({"rc":0,"out":[)" + std::to_string(stat(ctr_rx_64, 5)) + "]}"; }
};

TEST_F(SimDispatchTest, FaultWithCountThenBackToNormal) {
  std::string error;
  ASSERT_EQ(dispatcher.setFault("openapiStatReset", OPEN_E_FAIL, 2, error), 0) << error;
  advanceSeconds(5);
  uint64_t before = stat(ctr_rx_64, 5);
  EXPECT_EQ(call(kResetPort5), R"({"rc":-20,"out":[]})");
  EXPECT_EQ(call(kResetPort5), R"({"rc":-20,"out":[]})");
  EXPECT_EQ(stat(ctr_rx_64, 5), before) << "a fault changes nothing";
  EXPECT_EQ(call(kResetPort5), R"({"rc":0,"out":[]})");
  EXPECT_EQ(stat(ctr_rx_64, 5), 0u);
  EXPECT_EQ(call(kStatOfPort5), actualReply()) << "other operations were never affected";
}

TEST_F(SimDispatchTest, LaterScriptReplacesEarlier) {
  std::string error;
  ASSERT_EQ(dispatcher.setFault("openapiStatGet", OPEN_E_UNAVAIL, -1, error), 0);
  EXPECT_EQ(rcOf(call(kStatOfPort5)), OPEN_E_UNAVAIL);
  stub("openapiStatGet", R"({"rc":0,"out":["18446744073709551615"]})", 1);
  EXPECT_EQ(call(kStatOfPort5), R"({"rc":0,"out":[18446744073709551615]})");
  EXPECT_EQ(call(kStatOfPort5), actualReply()) << "the stub's one call replaced the endless fault";

  stub("openapiStatGet", R"({"rc":-29})", -1);
  ASSERT_EQ(dispatcher.setFault("openapiStatGet", OPEN_E_PARAM, 1, error), 0);
  EXPECT_EQ(rcOf(call(kStatOfPort5)), OPEN_E_PARAM);
  EXPECT_EQ(call(kStatOfPort5), actualReply());
  ASSERT_EQ(dispatcher.setFault("openapiStatGet", OPEN_E_PARAM, -1, error), 0);
  dispatcher.clearScripts();
  EXPECT_EQ(call(kStatOfPort5), actualReply());
}

TEST_F(SimDispatchTest, StubsAreCheckedAgainstTheOperation) {
  const struct {
    const char *op, *answer, *error;
  } cases[] = {
      {"openapiNoSuchThing", R"({"rc":0})", "unknown operation"},
      {"openapiStatGet", R"({"out":["1"]})", "\"rc\""},
      {"openapiStatGet", R"({"rc":"x","out":["1"]})", "\"rc\""},
      {"openapiStatGet", R"({"rc":0})", "1 output(s)"},
      {"openapiStatGet", R"({"rc":0,"out":["1","2"]})", "1 output(s)"},
      {"openapiStatGet", R"({"rc":0,"out":["-1"]})", "\"value\""},
      {"openapiStatGet", R"({"rc":0,"out":[1.5]})", "\"value\""},
      {"openapiIfNameGet", R"({"rc":0,"out":[7]})", "\"name\""},
      {"openapiApiVersionGet", R"({"rc":0,"out":[[1,2]]})", "\"version\""},
      {"openapiInterfaceStatsGet", R"({"rc":0,"out":[["1","x"]]})", "\"counters\""},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.answer);
    JsonPtr answer(cJSON_Parse(c.answer));
    std::string error;
    EXPECT_EQ(dispatcher.setStub(c.op, answer.get(), -1, error), -1);
    EXPECT_NE(error.find(c.error), std::string::npos) << "error: " << error;
  }
  EXPECT_EQ(call(kStatOfPort5), actualReply()) << "no refused stub took effect";
}

TEST_F(SimDispatchTest, CallLogRecordsInputsAsTheyCameAndResults) {
  call(kStatOfPort5);
  call(R"({"op":"openapiStatGet","in":[0,5]})");
  call(R"({"op":"openapiCliShowExecuteToFile","in":["hi\u0001\"",""]})");
  call(R"({"op":"openapiLldpIntfRemoteDeviceNextGet","in":[5,0,0]})");  // the walk moves its keys on
  std::string error;
  JsonPtr short_(cJSON_Parse(R"({"op":"openapiStatGet","in":[2]})"));
  EXPECT_EQ(dispatcher.callWritten(short_.get(), error), -1) << "an input short: not called";
  EXPECT_EQ(dispatcher.callLogLines(),
            "{\"op\":\"openapiStatGet\",\"in\":[2,5],\"rc\":0}\n"
            "{\"op\":\"openapiStatGet\",\"in\":[0,5],\"rc\":-22}\n"
            "{\"op\":\"openapiCliShowExecuteToFile\",\"in\":[\"hi\\u0001\\\"\",\"\"],\"rc\":-22}\n"
            "{\"op\":\"openapiLldpIntfRemoteDeviceNextGet\",\"in\":[5,0,0],\"rc\":0}\n");
  dispatcher.clearCallLog();
  EXPECT_EQ(dispatcher.callLogLines(), "");
}

TEST_F(SimDispatchTest, CallLogKeepsTheNewestEntries) {
  const size_t calls = SimDispatcher::kCallLogLimit + 3;
  for (size_t i = 1; i <= calls; ++i) call("{\"op\":\"openapiIfTypeGet\",\"in\":[" + std::to_string(i) + "]}");
  std::string log = dispatcher.callLogLines();
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), static_cast<long>(SimDispatcher::kCallLogLimit));
  EXPECT_EQ(log.rfind("{\"op\":\"openapiIfTypeGet\",\"in\":[4],", 0), 0u) << "the three oldest are gone";
  EXPECT_NE(log.find("\"in\":[" + std::to_string(calls) + "]"), std::string::npos);
}

TEST_F(SimDispatchTest, CallLogStaysWithinItsByteBudgetCuttingLongTexts) {
  static_assert(SimDispatcher::kCallLogLimit * SimDispatcher::kCallLogTextLimit > SimDispatcher::kCallLogByteBudget,
                "cut entries must reach the byte budget before the entry limit");
  const size_t length = 2 * SimDispatcher::kCallLogTextLimit + 1;
  // A two-byte character across the cut is kept whole or not at all.
  const std::string name = std::string(SimDispatcher::kCallLogTextLimit - 1, 'a') + "\xC3\xA9" +
                           std::string(length - SimDispatcher::kCallLogTextLimit - 1, 'a');
  const size_t calls = SimDispatcher::kCallLogLimit;
  for (size_t i = 1; i <= calls; ++i) call("{\"op\":\"openapiAclGet\",\"in\":[" + std::to_string(i) + ",\"" + name + "\"]}");
  std::string log = dispatcher.callLogLines();
  EXPECT_LE(log.size(), SimDispatcher::kCallLogByteBudget);
  size_t kept = static_cast<size_t>(std::count(log.begin(), log.end(), '\n'));
  ASSERT_GT(kept, 0u);
  std::string oldestKept = "{\"op\":\"openapiAclGet\",\"in\":[" + std::to_string(calls - kept + 1) + ",\"aaa";
  EXPECT_EQ(log.rfind(oldestKept, 0), 0u) << "the oldest entries went first";
  size_t newest = log.rfind("\"in\":[" + std::to_string(calls) + ",");
  ASSERT_NE(newest, std::string::npos);
  std::string marker = "[cut, " + std::to_string(length) + " bytes in all]\"";
  EXPECT_EQ(log.find(marker, newest), newest + 8 + std::to_string(calls).size() + SimDispatcher::kCallLogTextLimit - 1)
      << "the text keeps its first bytes, then says how long it was";
}

// A frame whose body is not a request is refused, and nothing is called or logged.
TEST_F(SimDispatchTest, BodiesThatAreNoRequestAreRefused) {
  WireBuffer good;
  uint32_t type = 2, port = 5;
  uint64_t value = 0;
  void *objects[] = {&type, &port, &value};
  wireEncodeRequest(good, OPEN_OPID_openapiStatGet, objects);
  std::string body(good.view().substr(kWireHeaderSize));
  std::string unknownOp = body, otherSignature = body;
  char name[4] = "abc";
  unknownOp[0] = static_cast<char>(0xFF), unknownOp[1] = static_cast<char>(0xFF);
  otherSignature[2] ^= 1;
  uint32_t aclType = 1;
  open_buffdesc text{sizeof name, name};
  void *aclObjects[] = {&aclType, &text, &value};
  WireBuffer acl;
  wireEncodeRequest(acl, OPEN_OPID_openapiAclGet, aclObjects);
  std::string aclBody(acl.view().substr(kWireHeaderSize)), countPastSize = aclBody, hugeBuffer = aclBody;
  // After the operation (2 bytes), its signature (4) and the ACL type (4):
  // the buffer's size, then the count of its bytes that follow.
  countPastSize[10] = 3;  // 4 bytes follow in a buffer of 3
  hugeBuffer[12] = 0x10;  // a buffer of more than 1 MiB
  const std::string bodies[] = {"", body.substr(0, 5), unknownOp, otherSignature, body.substr(0, body.size() - 1),
                                body + "x", countPastSize, hugeBuffer};
  WireBuffer refused;
  wireEncodeReply(refused, OPEN_E_PARAM, nullptr);
  for (const std::string &bad : bodies) {
    std::string reply;
    dispatcher.call(bad, reply);
    EXPECT_EQ(reply, refused.view()) << testing::PrintToString(bad);
  }
  EXPECT_EQ(dispatcher.callLogLines(), "");
  std::string reply;
  dispatcher.call(body, reply);
  EXPECT_EQ(wireDecodeReply(std::string_view(reply).substr(kWireHeaderSize), kOpenOps[OPEN_OPID_openapiStatGet],
                            objects),
            OPEN_E_NONE);
  EXPECT_EQ(value, stat(ctr_rx_64, 5));
}

}  // namespace
