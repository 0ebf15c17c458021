// opensimd --frozen-clock: what grows with the clock stands still, so that
// two switches given the same calls answer alike byte for byte.
#include <unistd.h>

#include <filesystem>

#include "tests/e2e/harness.h"

namespace {

const std::string kApi = "/api/v2/monitoring/";
// Busy port 1 counts megabytes a second: a few milliseconds move its counters.
constexpr useconds_t kPauseUs = 50'000;

class FrozenClockTest : public SwitchTest {
 protected:
  // A default switch, as if never started before, with one sFlow receiver
  // claimed, so that its time-out counts down.
  void startFresh(const std::vector<std::string> &options) {
    stopDaemon();
    std::filesystem::remove(root_ + "/switch-state.json");
    startDaemon(options);
    ASSERT_EQ(call("PUT", kApi + "sflow/rcvr-owner?index=1", R"({"owner":"noc","timeout":600})").out,
              reply(0, "Success") + "\n");
  }

  // Everything that reads the clock: a busy port's counters, its reset time
  // and the receiver's time left.
  std::string clockedAnswers() {
    std::string answers;
    for (const char *read : {"stats/interface-stats?ifNum=1", "stats/stat?ifNum=25&counterId=ctr_tx_total_bytes",
                             "stats/interface-stats-reset-time?ifNum=1", "sflow/rcvr-time-remaining?index=1"}) {
      std::string answer = call("GET", kApi + read).out;
      EXPECT_NE(answer.find("\"respCode\":\t0,"), std::string::npos) << read << ": " << answer;
      answers += answer;
    }
    return answers;
  }
};

TEST_F(FrozenClockTest, AnswersStandStillOnlyWithTheOption) {
  const struct {
    std::vector<std::string> options;
    bool standsStill;
  } cases[] = {
      {{}, false},  // the pause is long enough for the counters to move
      {{"--frozen-clock"}, true},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.standsStill ? "frozen" : "running");
    startFresh(c.options);
    std::string before = clockedAnswers();
    usleep(kPauseUs);
    EXPECT_EQ(clockedAnswers() == before, c.standsStill);
  }
}

TEST_F(FrozenClockTest, TwoFrozenSwitchesStartedApartAnswerAlike) {
  startFresh({"--frozen-clock"});
  std::string first = clockedAnswers();
  usleep(kPauseUs);
  startFresh({"--frozen-clock"});
  EXPECT_EQ(clockedAnswers(), first);
}

}  // namespace
