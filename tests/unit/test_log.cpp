#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <ctime>
#include <regex>
#include <string>
#include <utility>

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

  frametest::Sandbox box;
};

// Every process of the web interface maps the level file: four bytes, a digit first, writable by all.
TEST_F(LogTest, LevelFileIsRepairedOrCreatedWithTheDefaultThreshold) {
  writeFile(levelFile(), "x-level-garbage\n");
  logInit(LOG_MODE_FILE, 8, "vexo_cgi");
  EXPECT_EQ(readFile(levelFile()), "6-le");
  logClose();
  unlink(levelFile().c_str());
  ASSERT_EQ(logInit(LOG_MODE_FILE, 8, "vexo_cgi"), 0);
  EXPECT_EQ(readFile(levelFile()), std::string("6\0\0\0", 4));
  EXPECT_EQ(logLevelGet(), 6);
  struct stat st;
  ASSERT_EQ(stat(levelFile().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0666u);
}

// The digit is read at every line, so that another process's change takes effect at once.
TEST_F(LogTest, OnlyLevelsUpToTheDigitAreWritten) {
  const std::pair<const char *, const char *> cases[] = {
      {"3", "ERROR"}, {"5", "ERROR WARN NOTICE"}, {"7", "ERROR WARN NOTICE INFO DEBUG"}, {"0", ""}};
  logInit(LOG_MODE_FILE, 8, "vexo_cgi");
  for (const auto &[digit, expected] : cases) {
    writeFile(levelFile(), digit);
    EXPECT_EQ(logLevelGet(), digit[0] - '0');
    size_t before = readFile(logFile()).size();
    for (int level = LOG_LEVEL_ERROR; level <= LOG_LEVEL_DEBUG; ++level) logWrite(level, "m\n");
    std::string names;
    std::string text = readFile(logFile()).substr(before);
    std::regex levelOf(R"(\((\w+)\): vexo_cgi: )");
    for (std::sregex_iterator it(text.begin(), text.end(), levelOf), end; it != end; ++it) {
      names += (names.empty() ? "" : " ") + (*it)[1].str();
    }
    EXPECT_EQ(names, expected) << digit;
  }
}

TEST_F(LogTest, LineCarriesTimeLevelIdentityAndCallerVerbatim) {
  time_t now = time(nullptr);
  char today[16];
  strftime(today, sizeof today, "%Y-%m-%d ", localtime(&now));
  logInit(LOG_MODE_FILE, 8, "vexo_cgi");
  LOG_ERROR("value %d\r\n", 42);
  logWrite(LOG_LEVEL_ERROR, "no newline");
  std::string expected = std::string("^") + kStamp + R"( \(ERROR\): vexo_cgi: \[TestBody:\d+\] value 42\r\n)" +
                         kStamp + R"( \(ERROR\): vexo_cgi: no newline$)";
  EXPECT_TRUE(std::regex_search(readFile(logFile()), std::regex(expected))) << readFile(logFile());
  EXPECT_TRUE(readFile(logFile()).starts_with(today)) << today;
}

// Initialising again starts over; without an identity, file mode names the process.
TEST_F(LogTest, ReinitialisingStartsOverWithTheProcessNameForIdentity) {
  logInit(LOG_MODE_FILE, 8, "first");
  LOG_ERROR("one\n");
  logInit(LOG_MODE_FILE, 8, nullptr);
  LOG_ERROR("two\n");
  std::string name = std::string(program_invocation_short_name).substr(0, 15);  // all the kernel keeps
  std::string text = readFile(logFile());
  EXPECT_NE(text.find("(ERROR): first: [TestBody:"), std::string::npos) << text;
  EXPECT_NE(text.find("(ERROR): " + name + ": [TestBody:"), std::string::npos) << text;
}

TEST_F(LogTest, WithoutInitialisationLinesGoToStandardOutputWithoutIdentity) {
  logClose();
  std::string out = captureStdout([] { LOG_ERROR("early %s\n", "bird"); });
  std::string expected = std::string("^") + kStamp + R"( \(ERROR\): : \[operator\(\):\d+\] early bird\n$)";
  EXPECT_TRUE(std::regex_search(out, std::regex(expected))) << out;
  EXPECT_FALSE(frametest::fileExists(logFile()));
}

// Standard output gets the lines when asked to, and when the log file cannot be opened.
TEST_F(LogTest, StandardOutputWhenAskedOrWithoutLogFile) {
  logInit(LOG_MODE_FILE | LOG_MODE_STDOUT, 8, "both");
  EXPECT_NE(captureStdout([] { LOG_ERROR("twice\n"); }).find("(ERROR): both: [operator():"), std::string::npos);
  EXPECT_NE(readFile(logFile()).find("(ERROR): both: "), std::string::npos);
  logClose();
  unlink(logFile().c_str());
  ASSERT_EQ(mkdir(logFile().c_str(), 0755), 0);
  EXPECT_EQ(logInit(LOG_MODE_FILE, 8, "vexo_cgi"), -1);
  std::string out = captureStdout([] { LOG_ERROR("lost?\n"); });
  EXPECT_TRUE(std::regex_search(out, std::regex(R"(\(ERROR\): vexo_cgi: \[operator\(\):\d+\] lost\?\n$)"))) << out;
}

// The line that takes the file past 1 MiB is the last of it; exactly 1 MiB is not past.
TEST_F(LogTest, LineCrossingTheLimitIsTheLastOfTheOldFile) {
  logInit(LOG_MODE_FILE, 8, "vexo_cgi");
  logWrite(LOG_LEVEL_ERROR, "%s", "0123456789");
  const size_t line = readFile(logFile()).size();
  for (size_t over : {0, 1}) {
    SCOPED_TRACE(over);
    logClose();
    writeFile(logFile(), std::string(kRotateAfterBytes - line + over, 'a'));
    writeFile(logFile() + ".old", "previous generation");
    logInit(LOG_MODE_FILE, 8, "vexo_cgi");
    logWrite(LOG_LEVEL_ERROR, "%s", "0123456789");
    EXPECT_EQ(readFile(logFile()).size(), over ? 0 : kRotateAfterBytes);
    std::string old = readFile(logFile() + ".old");
    EXPECT_EQ(old.size(), over ? kRotateAfterBytes + 1 : 19);  // 19: the previous generation, left alone
    EXPECT_TRUE(old.ends_with(over ? "0123456789" : "previous generation")) << old.size();
  }
  logWrite(LOG_LEVEL_ERROR, "%s", "next");
  EXPECT_EQ(readFile(logFile()).size(), line - 6);
}

}  // namespace
