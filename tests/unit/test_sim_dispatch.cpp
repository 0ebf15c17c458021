// Request lines through the dispatcher: faults, scripted answers, the call log.
#include <algorithm>

#include "sim/dispatch.h"
#include "sim_fixture.h"
#include "tools/raii.h"

namespace {

using simtest::SimFixture;

const char kStatOfPort5[] = R"({"op":"openapiStatGet","args":["2","5",null]})";
const char kResetPort5[] = R"({"op":"openapiStatReset","args":["2","5"]})";

class SimDispatchTest : public SimFixture {
 protected:
  SimDispatcher dispatcher{dev};

  int rcOf(const std::string &reply) {
    JsonPtr json(cJSON_Parse(reply.c_str()));
    const cJSON *rc = cJSON_GetObjectItemCaseSensitive(json.get(), "rc");
    return cJSON_IsNumber(rc) ? rc->valueint : 12345;
  }
  void stub(const char *op, const char *answer, long count) {
    JsonPtr json(cJSON_Parse(answer));
    std::string error;
    ASSERT_EQ(dispatcher.setStub(op, json.get(), count, error), 0) << error;
  }
  std::string actualReply() { return R"({"rc":0,"out":[")" + std::to_string(stat(ctr_rx_64, 5)) + R"("]})"; }
};

TEST_F(SimDispatchTest, FaultWithCountThenBackToNormal) {
  std::string error;
  ASSERT_EQ(dispatcher.setFault("openapiStatReset", OPEN_E_FAIL, 2, error), 0) << error;
  advanceSeconds(5);
  uint64_t before = stat(ctr_rx_64, 5);
  EXPECT_EQ(dispatcher.call(kResetPort5), R"({"rc":-20,"out":[]})");
  EXPECT_EQ(dispatcher.call(kResetPort5), R"({"rc":-20,"out":[]})");
  EXPECT_EQ(stat(ctr_rx_64, 5), before) << "a fault changes nothing";
  EXPECT_EQ(dispatcher.call(kResetPort5), R"({"rc":0,"out":[]})");
  EXPECT_EQ(stat(ctr_rx_64, 5), 0u);
  EXPECT_EQ(dispatcher.call(kStatOfPort5), actualReply()) << "other operations were never affected";
}

TEST_F(SimDispatchTest, LaterScriptReplacesEarlier) {
  std::string error;
  ASSERT_EQ(dispatcher.setFault("openapiStatGet", OPEN_E_UNAVAIL, -1, error), 0);
  EXPECT_EQ(rcOf(dispatcher.call(kStatOfPort5)), OPEN_E_UNAVAIL);
  stub("openapiStatGet", R"({"rc":0,"out":["18446744073709551615"]})", 1);
  EXPECT_EQ(dispatcher.call(kStatOfPort5), R"({"rc":0,"out":["18446744073709551615"]})");
  EXPECT_EQ(dispatcher.call(kStatOfPort5), actualReply()) << "the stub's one call replaced the endless fault";

  stub("openapiStatGet", R"({"rc":-29})", -1);
  ASSERT_EQ(dispatcher.setFault("openapiStatGet", OPEN_E_PARAM, 1, error), 0);
  EXPECT_EQ(rcOf(dispatcher.call(kStatOfPort5)), OPEN_E_PARAM);
  EXPECT_EQ(dispatcher.call(kStatOfPort5), actualReply());
  ASSERT_EQ(dispatcher.setFault("openapiStatGet", OPEN_E_PARAM, -1, error), 0);
  dispatcher.clearScripts();
  EXPECT_EQ(dispatcher.call(kStatOfPort5), actualReply());
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
  EXPECT_EQ(dispatcher.call(kStatOfPort5), actualReply()) << "no refused stub took effect";
}

TEST_F(SimDispatchTest, CallLogRecordsInputsAndResults) {
  dispatcher.call(kStatOfPort5);
  dispatcher.call(R"({"op":"openapiStatGet","args":["0","5",null]})");
  dispatcher.call(R"({"op":"openapiIfNameGet","args":["1",{"size":"3"}]})");
  dispatcher.call(R"({"op":"openapiCliShowExecuteToFile","args":[{"size":3,"hex":"6869"},{"size":1,"hex":""}]})");
  dispatcher.call(R"({"op":"openapiNoSuchThing","args":[]})");
  EXPECT_EQ(dispatcher.callLogLines(),
            "{\"op\":\"openapiStatGet\",\"in\":[2,5],\"rc\":0}\n"
            "{\"op\":\"openapiStatGet\",\"in\":[0,5],\"rc\":-22}\n"
            "{\"op\":\"openapiIfNameGet\",\"in\":[1],\"rc\":-22}\n"
            "{\"op\":\"openapiCliShowExecuteToFile\",\"in\":[\"hi\",\"\"],\"rc\":-22}\n");
  dispatcher.clearCallLog();
  EXPECT_EQ(dispatcher.callLogLines(), "");
}

TEST_F(SimDispatchTest, CallLogKeepsTheNewestEntries) {
  const size_t calls = SimDispatcher::kCallLogLimit + 3;
  for (size_t i = 1; i <= calls; ++i) {
    dispatcher.call(("{\"op\":\"openapiIfTypeGet\",\"args\":[\"" + std::to_string(i) + "\",null]}").c_str());
  }
  std::string log = dispatcher.callLogLines();
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), static_cast<long>(SimDispatcher::kCallLogLimit));
  EXPECT_EQ(log.rfind("{\"op\":\"openapiIfTypeGet\",\"in\":[4],", 0), 0u) << "the three oldest are gone";
  EXPECT_NE(log.find("\"in\":[" + std::to_string(calls) + "]"), std::string::npos);
}

TEST_F(SimDispatchTest, CallLogStaysWithinItsByteBudgetCuttingLongTexts) {
  static_assert(SimDispatcher::kCallLogLimit * SimDispatcher::kCallLogTextLimit > SimDispatcher::kCallLogByteBudget,
                "cut entries must reach the byte budget before the entry limit");
  const size_t length = 2 * SimDispatcher::kCallLogTextLimit + 1;
  std::string hex;
  for (size_t i = 0; i < length; ++i) hex += "61";
  const std::string name = "{\"size\":" + std::to_string(length + 1) + ",\"hex\":\"" + hex + "00\"}";
  const size_t calls = SimDispatcher::kCallLogLimit;
  for (size_t i = 1; i <= calls; ++i) {
    dispatcher.call(("{\"op\":\"openapiAclGet\",\"args\":[\"" + std::to_string(i) + "\"," + name + ",null]}").c_str());
  }
  std::string log = dispatcher.callLogLines();
  EXPECT_LE(log.size(), SimDispatcher::kCallLogByteBudget);
  size_t kept = static_cast<size_t>(std::count(log.begin(), log.end(), '\n'));
  ASSERT_GT(kept, 0u);
  std::string oldestKept = "{\"op\":\"openapiAclGet\",\"in\":[" + std::to_string(calls - kept + 1) + ",\"aaa";
  EXPECT_EQ(log.rfind(oldestKept, 0), 0u) << "the oldest entries went first";
  size_t newest = log.rfind("\"in\":[" + std::to_string(calls) + ",");
  ASSERT_NE(newest, std::string::npos);
  std::string marker = "[cut, " + std::to_string(length) + " bytes in all]\"";
  EXPECT_EQ(log.find(marker, newest), newest + 8 + std::to_string(calls).size() + SimDispatcher::kCallLogTextLimit)
      << "the text keeps its first bytes, then says how long it was";
}

TEST_F(SimDispatchTest, MalformedRequestsAreRefused) {
  const char *lines[] = {
      "", "not json", "[]", R"({"op":7,"args":[]})", R"({"op":"openapiStatGet"})",
      R"({"op":"openapiStatGet","args":["2","5"]})",       // one argument short
      R"({"op":"openapiStatGet","args":["2","-5",null]})",  // not a U32
      R"({"op":"openapiIfNameGet","args":["1",{"size":"99999999"}]})",
      R"({"op":"openapiCliShowExecuteToFile","args":[{"size":1,"hex":"6869"},{"size":1,"hex":""}]})",
  };
  for (const char *line : lines) EXPECT_EQ(dispatcher.call(line), R"({"rc":-22,"out":[]})") << line;
}

}  // namespace
