#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <regex>
#include <string>

#include "frame_sandbox.h"
#include "log/log.h"

using frametest::captureStdout;
using frametest::readFile;
using frametest::writeFile;

namespace {

constexpr size_t kRotateAfterBytes = 1048576;
const char *const kStamp = R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3})";

class LogTest : public ::testing::Test {
 protected:
  std::string levelFile() const { return box.path("/tmp/devmgr_log_level"); }
  std::string logFile() const { return box.path("/tmp/zr301.log"); }
  std::string oldLogFile() const { return box.path("/tmp/zr301.log.old"); }

  frametest::Sandbox box;
};

TEST_F(LogTest, MissingLevelFileIsCreatedSharedWithDefaultThreshold) {
  ASSERT_EQ(logInit(LOG_MODE_FILE, 8, "vexo_cgi"), 0);
  std::string level = readFile(levelFile());
  ASSERT_EQ(level.size(), 4u);
  EXPECT_EQ(level[0], '6');
  EXPECT_EQ(logLevelGet(), 6);
  struct stat st;
  ASSERT_EQ(stat(levelFile().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0666u);
}

TEST_F(LogTest, LevelFileWithoutDigitIsRepairedAndSizedToFourBytes) {
  writeFile(levelFile(), "x-level-garbage\n");
  logInit(LOG_MODE_FILE, 8, "vexo_cgi");
  EXPECT_EQ(readFile(levelFile()), std::string("6-le", 4));
  EXPECT_EQ(logLevelGet(), 6);
}

struct ThresholdCase {
  const char *levelFileText;
  const char *expectedNames;  // level names that must appear, in order
};

class LogThresholdTest : public LogTest, public ::testing::WithParamInterface<ThresholdCase> {};

TEST_P(LogThresholdTest, OnlyLevelsUpToTheDigitAreWritten) {
  writeFile(levelFile(), GetParam().levelFileText);
  logInit(LOG_MODE_FILE, 8, "vexo_cgi");
  LOG_ERROR("m\n");
  LOG_WARN("m\n");
  logWrite(LOG_LEVEL_NOTICE, "[%s:%d] m\n", __func__, __LINE__);
  LOG_INFO("m\n");
  LOG_DEBUG("m\n");
  std::string names;
  std::string text = readFile(logFile());
  std::regex levelOf(R"(\((\w+)\): )");
  for (std::sregex_iterator it(text.begin(), text.end(), levelOf), end; it != end; ++it) {
    names += (names.empty() ? "" : " ") + (*it)[1].str();
  }
  EXPECT_EQ(names, GetParam().expectedNames);
}

INSTANTIATE_TEST_SUITE_P(Digits, LogThresholdTest,
                         ::testing::Values(ThresholdCase{"3", "ERROR"}, ThresholdCase{"5", "ERROR WARN NOTICE"},
                                           ThresholdCase{"6", "ERROR WARN NOTICE INFO"},
                                           ThresholdCase{"7", "ERROR WARN NOTICE INFO DEBUG"},
                                           ThresholdCase{"0", ""}));

TEST_F(LogTest, LineCarriesTimeLevelIdentityAndCallerVerbatim) {
  logInit(LOG_MODE_FILE, 8, "vexo_cgi");
  LOG_ERROR("value %d\r\n", 42);
  logWrite(LOG_LEVEL_ERROR, "no newline");
  std::string expected = std::string("^") + kStamp + R"( \(ERROR\): vexo_cgi: \[TestBody:\d+\] value 42\r\n)" +
                         kStamp + R"( \(ERROR\): vexo_cgi: no newline$)";
  EXPECT_TRUE(std::regex_search(readFile(logFile()), std::regex(expected))) << readFile(logFile());
}

TEST_F(LogTest, ThresholdChangeByAnotherWriterTakesEffectAtOnce) {
  logInit(LOG_MODE_FILE, 8, "vexo_cgi");
  LOG_DEBUG("hidden\n");
  writeFile(levelFile(), "7");
  EXPECT_EQ(logLevelGet(), 7);
  LOG_DEBUG("shown\n");
  std::string text = readFile(logFile());
  EXPECT_EQ(text.find("hidden"), std::string::npos);
  EXPECT_NE(text.find("(DEBUG): vexo_cgi: [TestBody:"), std::string::npos);
}

TEST_F(LogTest, MissingIdentityInFileModeIsTheProcessName) {
  logInit(LOG_MODE_FILE, 8, nullptr);
  LOG_ERROR("who\n");
  // The kernel keeps at most 15 characters of the name.
  std::string name = std::string(program_invocation_short_name).substr(0, 15);
  EXPECT_NE(readFile(logFile()).find("(ERROR): " + name + ": [TestBody:"), std::string::npos) << readFile(logFile());
}

TEST_F(LogTest, WithoutInitialisationLinesGoToStandardOutputWithoutIdentity) {
  logClose();
  std::string out = captureStdout([] { LOG_ERROR("early %s\n", "bird"); });
  std::string expected = std::string("^") + kStamp + R"( \(ERROR\): : \[operator\(\):\d+\] early bird\n$)";
  EXPECT_TRUE(std::regex_search(out, std::regex(expected))) << out;
  EXPECT_FALSE(frametest::fileExists(logFile()));
}

TEST_F(LogTest, UnopenableLogFileSendsLinesToStandardOutput) {
  ASSERT_EQ(mkdir(logFile().c_str(), 0755), 0);
  EXPECT_EQ(logInit(LOG_MODE_FILE, 8, "vexo_cgi"), -1);
  std::string out = captureStdout([] { LOG_ERROR("lost?\n"); });
  EXPECT_NE(out.find("(ERROR): vexo_cgi: [operator():"), std::string::npos) << out;
  EXPECT_NE(out.find("lost?\n"), std::string::npos);
}

TEST_F(LogTest, StdoutAndFileModesBothWrite) {
  logInit(LOG_MODE_FILE | LOG_MODE_STDOUT, 8, "both");
  std::string out = captureStdout([] { LOG_ERROR("twice\n"); });
  EXPECT_NE(out.find("(ERROR): both: "), std::string::npos);
  EXPECT_NE(readFile(logFile()).find("(ERROR): both: "), std::string::npos);
}

class LogRotationTest : public LogTest {
 protected:
  // Length of one line as written, prefix included.
  size_t lineLength() {
    logInit(LOG_MODE_FILE, 8, "vexo_cgi");
    logWrite(LOG_LEVEL_ERROR, "%s", "0123456789");
    size_t len = readFile(logFile()).size();
    logClose();
    unlink(logFile().c_str());
    return len;
  }
};

TEST_F(LogRotationTest, LineCrossingTheLimitIsTheLastOfTheOldFile) {
  size_t line = lineLength();
  writeFile(logFile(), std::string(kRotateAfterBytes - line + 1, 'a'));
  writeFile(oldLogFile(), "previous generation");
  logInit(LOG_MODE_FILE, 8, "vexo_cgi");
  logWrite(LOG_LEVEL_ERROR, "%s", "0123456789");
  std::string old = readFile(oldLogFile());
  EXPECT_EQ(old.size(), kRotateAfterBytes + 1);
  EXPECT_EQ(old.substr(old.size() - 10), "0123456789");
  EXPECT_TRUE(frametest::fileExists(logFile()));
  EXPECT_EQ(readFile(logFile()), "");
  logWrite(LOG_LEVEL_ERROR, "%s", "next");
  EXPECT_EQ(readFile(logFile()).size(), line - 6);
}

TEST_F(LogRotationTest, ReachingExactlyTheLimitDoesNotRotate) {
  size_t line = lineLength();
  writeFile(logFile(), std::string(kRotateAfterBytes - line, 'a'));
  logInit(LOG_MODE_FILE, 8, "vexo_cgi");
  logWrite(LOG_LEVEL_ERROR, "%s", "0123456789");
  EXPECT_EQ(readFile(logFile()).size(), kRotateAfterBytes);
  EXPECT_FALSE(frametest::fileExists(oldLogFile()));
  logWrite(LOG_LEVEL_ERROR, "%s", "0123456789");
  EXPECT_EQ(readFile(oldLogFile()).size(), kRotateAfterBytes + line);
}

TEST_F(LogTest, ReinitialisingAfterUseStartsOver) {
  logInit(LOG_MODE_FILE, 8, "first");
  LOG_ERROR("one\n");
  logInit(LOG_MODE_FILE, 8, "second");
  LOG_ERROR("two\n");
  std::string text = readFile(logFile());
  EXPECT_NE(text.find("first: [TestBody:"), std::string::npos);
  EXPECT_NE(text.find("second: [TestBody:"), std::string::npos);
}

}  // namespace
