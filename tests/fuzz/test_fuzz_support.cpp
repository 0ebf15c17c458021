// The request fuzzer's verdict: a fault here would hide defects or report
// false ones.
#include <gtest/gtest.h>

#include <string>

#include "tests/fuzz/cgi_answer.h"
#include "tools/raii.h"

namespace {

const std::string kHeader = "Content-Type: application/json\r\n\r\n";
const std::string kEnvelope = R"({"lldp":{"hold":4},"resp":{"respCode":0,"respMsg":"Success","status":"success"}})";
const std::string kRestUri = "/api/v2/monitoring/lldp/tx-hold";

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

}  // namespace
