// Calls through the dispatcher: faults, scripted answers, the call log, and
// request frames that are none.
#include <algorithm>

#include "open/wire.h"
#include "sim/dispatch.h"
#include "sim/server.h"
#include "sim_fixture.h"
#include "open/raii.h"

namespace {

const char kStatOfPort5[] = R"({"op":"openapiStatGet","in":[2,5]})";
const char kResetPort5[] = R"({"op":"openapiStatReset","in":[2,5]})";

class SimDispatchTest : public simtest::SimFixture {
 protected:
  SimDispatcher dispatcher{dev};

  // The answer to a call written as the call log writes it.
  std::string call(const std::string &written) {
    JsonPtr request(cJSON_Parse(written.c_str()));
    std::string answer;
    EXPECT_EQ(dispatcher.callWritten(request.get(), answer), 0) << answer;
    return answer;
  }
};

// Each step sets a script through its control command (a ping when empty),
// then makes a call: its answer, or when nullptr the switch's own before any script.
TEST_F(SimDispatchTest, ScriptsAnswerTheirCountOfCallsAndTheLatestReplacesTheOthers) {
  SimServer control(dispatcher, "");
  const struct {
    const char *script, *call, *answer;
  } steps[] = {
      {R"("fault","op":"openapiStatGet","rc":-28)", kStatOfPort5, R"({"rc":-28,"out":[]})"},
      {R"("stub","op":"openapiStatGet","count":1,"answer":{"rc":0,"out":["18446744073709551615"]})", kStatOfPort5,
       R"({"rc":0,"out":[18446744073709551615]})"},
      {"", kStatOfPort5, nullptr},  // the stub's one call replaced the endless fault
      {R"("stub","op":"openapiStatGet","answer":{"rc":-29})", kStatOfPort5, R"({"rc":-29,"out":[]})"},
      {R"("fault","op":"openapiStatGet","rc":-22,"count":1)", kStatOfPort5, R"({"rc":-22,"out":[]})"},
      {"", kStatOfPort5, nullptr},
      {R"("fault","op":"openapiStatGet","rc":-22)", kStatOfPort5, R"({"rc":-22,"out":[]})"},
      {R"("faultClear")", kStatOfPort5, nullptr},
      {R"("fault","op":"openapiStatReset","rc":-20,"count":2)", kResetPort5, R"({"rc":-20,"out":[]})"},
      {"", kResetPort5, R"({"rc":-20,"out":[]})"},
      {"", kStatOfPort5, nullptr},  // a fault changes nothing, and other operations were never affected
      {"", kResetPort5, R"({"rc":0,"out":[]})"},
      {"", kStatOfPort5, R"({"rc":0,"out":[0]})"},
  };
  advanceSeconds(5);
  const std::string own = R"({"rc":0,"out":[)" + std::to_string(stat(ctr_rx_64, 5)) + "]}";
  for (const auto &s : steps) {
    SCOPED_TRACE(s.script + std::string(" ") + s.call);
    std::string line = std::string(R"({"ctl":)") + (*s.script != '\0' ? s.script : R"("ping")") + "}";
    ASSERT_EQ(control.answer(line), R"({"ok":true})");
    EXPECT_EQ(call(s.call), s.answer != nullptr ? s.answer : own);
  }
}

TEST_F(SimDispatchTest, CallLogRecordsInputsAsTheyCameAndResults) {
  call(kStatOfPort5);
  call(R"({"op":"openapiStatGet","in":[0,5]})");
  call(R"({"op":"openapiCliShowExecuteToFile","in":["hi\u0001\"",""]})");
  call(R"({"op":"openapiLldpIntfRemoteDeviceNextGet","in":[5,0,0]})");  // the walk moves its keys on
  std::string error;
  EXPECT_EQ(dispatcher.callWritten(JsonPtr(cJSON_Parse(R"({"op":"openapiStatGet","in":[2]})")).get(), error), -1)
      << "an input short: not called";
  EXPECT_EQ(dispatcher.callLogLines(),
            "{\"op\":\"openapiStatGet\",\"in\":[2,5],\"rc\":0}\n"
            "{\"op\":\"openapiStatGet\",\"in\":[0,5],\"rc\":-22}\n"
            "{\"op\":\"openapiCliShowExecuteToFile\",\"in\":[\"hi\\u0001\\\"\",\"\"],\"rc\":-22}\n"
            "{\"op\":\"openapiLldpIntfRemoteDeviceNextGet\",\"in\":[5,0,0],\"rc\":0}\n");
  dispatcher.clearCallLog();
  EXPECT_EQ(dispatcher.callLogLines(), "");
}

// The log keeps the newest entries, at most kCallLogLimit of them and at
// most kCallLogByteBudget bytes, each text cut after kCallLogTextLimit bytes.
TEST_F(SimDispatchTest, CallLogStaysWithinItsBounds) {
  const size_t calls = SimDispatcher::kCallLogLimit, textLimit = SimDispatcher::kCallLogTextLimit;
  for (size_t i = 1; i <= calls + 3; ++i) call("{\"op\":\"openapiIfTypeGet\",\"in\":[" + std::to_string(i) + "]}");
  std::string log = dispatcher.callLogLines();
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), static_cast<long>(calls));
  EXPECT_EQ(log.rfind("{\"op\":\"openapiIfTypeGet\",\"in\":[4],", 0), 0u) << "the three oldest are gone";

  static_assert(SimDispatcher::kCallLogLimit * SimDispatcher::kCallLogTextLimit > SimDispatcher::kCallLogByteBudget,
                "cut entries must reach the byte budget before the entry limit");
  // A two-byte character across the cut is kept whole or not at all.
  const std::string name = std::string(textLimit - 1, 'a') + "\xC3\xA9" + std::string(textLimit, 'a');
  for (size_t i = 1; i <= calls; ++i) {
    call("{\"op\":\"openapiAclGet\",\"in\":[" + std::to_string(i) + ",\"" + name + "\"]}");
  }
  log = dispatcher.callLogLines();
  EXPECT_LE(log.size(), SimDispatcher::kCallLogByteBudget);
  size_t kept = static_cast<size_t>(std::count(log.begin(), log.end(), '\n'));
  EXPECT_EQ(log.rfind("{\"op\":\"openapiAclGet\",\"in\":[" + std::to_string(calls - kept + 1) + ",\"aaa", 0), 0u)
      << "the oldest entries went first";
  EXPECT_NE(log.find("\"in\":[" + std::to_string(calls) + ",\"" + std::string(textLimit - 1, 'a') + "[cut, " +
                     std::to_string(name.size()) + " bytes in all]\"]"),
            std::string::npos)
      << "the text keeps its first bytes, then says how long it was";
}

// A frame whose body is not a request is refused, and nothing is called or logged.
TEST_F(SimDispatchTest, BodiesThatAreNoRequestAreRefused) {
  uint32_t type = 2, port = 5, aclType = 1;
  uint64_t value = 0;
  char name[4] = "abc";
  open_buffdesc text{sizeof name, name};
  void *objects[] = {&type, &port, &value}, *aclObjects[] = {&aclType, &text, &value};
  WireBuffer good, acl, refused;
  wireEncodeRequest(good, OPEN_OPID_openapiStatGet, objects);
  wireEncodeRequest(acl, OPEN_OPID_openapiAclGet, aclObjects);
  wireEncodeReply(refused, OPEN_E_PARAM, nullptr);
  std::string body(good.view().substr(kWireHeaderSize)), unknownOp = body, otherSignature = body;
  std::string countPastSize(acl.view().substr(kWireHeaderSize)), hugeBuffer = countPastSize;
  unknownOp[0] = unknownOp[1] = static_cast<char>(0xFF);
  otherSignature[2] ^= 1;  // the operation list of another build
  // After the operation (2 bytes), its signature (4) and the ACL type (4):
  // the buffer's size, then the count of its bytes that follow.
  countPastSize[10] = 3;  // 4 bytes follow in a buffer of 3
  hugeBuffer[12] = 0x10;  // a buffer of more than 1 MiB
  for (const std::string &bad : {std::string(), body.substr(0, 5), unknownOp, otherSignature,
                                 body.substr(0, body.size() - 1), body + "x", countPastSize, hugeBuffer}) {
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
