// The daemon's socket server and control commands.
#include "sim/server.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "open/wire.h"
#include "sim/control.h"
#include "sim_fixture.h"
#include "open/raii.h"

namespace {

const char kOk[] = R"({"ok":true})", kStatOfPort5[] = R"({"op":"openapiStatGet","in":[2,5]})";

class SimServerTest : public simtest::SimFixture {
 protected:
  void SetUp() override { ASSERT_NE(mkdtemp(dir), nullptr); }
  void TearDown() override { std::filesystem::remove_all(dir); }

  // The answer's "error", or the answer itself when it has none.
  std::string outcome(SimServer &server, const std::string &line) {
    std::string text = server.answer(line);
    JsonPtr answer(cJSON_Parse(text.c_str()));
    const cJSON *error = cJSON_GetObjectItemCaseSensitive(answer.get(), "error");
    return cJSON_IsString(error) ? error->valuestring : text;
  }

  // A socket connected to `path`, or bound there as a crashed daemon leaves it; -1 when that fails.
  static int socketAt(const std::string &path, bool bound = false) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    auto *at = reinterpret_cast<sockaddr *>(&address);
    if ((bound ? bind(fd, at, sizeof address) : connect(fd, at, sizeof address)) == 0) return fd;
    close(fd);
    return -1;
  }
  // Sends `data`, then reads to the end of a line (not kept), `most` bytes, or the end of the connection.
  std::string exchange(int fd, const std::string &data, size_t most = SIZE_MAX) {
    EXPECT_EQ(send(fd, data.data(), data.size(), MSG_NOSIGNAL), static_cast<ssize_t>(data.size()));
    std::string reply;
    for (char c = 0; reply.size() < most && recv(fd, &c, 1, 0) == 1 && c != '\n';) reply += c;
    return reply;
  }

  char dir[32] = "/tmp/simserver.XXXXXX";
  SimDispatcher dispatcher{dev};
};

// Each line in turn: its error, or its answer when it succeeded.
TEST_F(SimServerTest, ControlCommandsAnswer) {
  SimServer server(dispatcher, "");
  const std::string pristine = dumped();
  const struct {
    std::string line;
    const char *expected;
  } cases[] = {
      {R"({"ctl":"ping"})", kOk},
      {R"({"ctl":"fault","op":"openapiStatGet","rc":"x"})", "\"rc\""},
      {R"({"ctl":"fault","op":"openapiStatGet","rc":-20,"count":-1})", "\"count\""},
      {R"({"ctl":"fault","op":"openapiNope","rc":-20})", "unknown operation"},
      {R"({"ctl":"stub","op":"openapiStatGet","answer":{"rc":0,"out":["7"]}})", kOk},
      {R"({"ctl":"stub","op":"openapiStatGet","answer":[]})", "\"answer\""},
      {R"({"ctl":"stub","op":"openapiNoSuchThing","answer":{"rc":0}})", "unknown operation"},
      {R"({"ctl":"stub","op":"openapiStatGet","answer":{"out":["1"]}})", "\"rc\""},
      {R"({"ctl":"stub","op":"openapiStatGet","answer":{"rc":0}})", "1 output(s)"},
      {R"({"ctl":"stub","op":"openapiStatGet","answer":{"rc":0,"out":["1","2"]}})", "1 output(s)"},
      {R"({"ctl":"stub","op":"openapiStatGet","answer":{"rc":0,"out":["-1"]}})", "\"value\""},
      {R"({"ctl":"stub","op":"openapiIfNameGet","answer":{"rc":0,"out":[7]}})", "\"name\""},
      {R"({"ctl":"stub","op":"openapiApiVersionGet","answer":{"rc":0,"out":[[1,2]]}})", "\"version\""},
      {R"({"ctl":"stub","op":"openapiInterfaceStatsGet","answer":{"rc":0,"out":[["1","x"]]}})", "\"counters\""},
      {R"({"ctl":"stub","op":"openapiLldpMedRemoteCapabilitiesGet","answer":{"rc":0,"out":[[[1,2,3]],[[0]]]}})",
       "\"supportedCapabilities\""},  // more elements than the record's array holds
      {kStatOfPort5, R"({"rc":0,"out":[7]})"},  // no refused stub took effect
      {R"({"ctl":"fault","op":"openapiStatGet","rc":-20,"count":1})", kOk},
      {R"({"op":"openapiInterfaceStatsReset","in":[1]})", R"({"rc":0,"out":[]})"},
      {R"({"ctl":"load","state":{"vlans":[]}})", "systemDescription: missing"},
      {R"({"ctl":"load"})", "\"state\""},
      {R"({"ctl":"save"})", "--state"},
      {R"({"ctl":"explode"})", "unknown control command"},
      {R"({"op":"openapiStatGet","in":[2,"x"]})", "\"intIfNum\""},
      {R"({"neither":1})", "\"op\""},
      {R"({"ctl":"ping"} {"ctl":"ping"})", "JSON object"},
      {std::string("{\"ctl\":\"ping\"}\0x", 15), "NUL"},
      {R"({"ctl":"reset"})", kOk},
  };
  for (const auto &c : cases) EXPECT_NE(outcome(server, c.line).find(c.expected), std::string::npos) << c.line;
  // The reset brought back the default switch, without scripts, with an empty call log.
  EXPECT_EQ(dumped(), pristine);
  EXPECT_EQ(server.answer(kStatOfPort5), R"({"rc":0,"out":[)" + std::to_string(stat(ctr_rx_64, 5)) + "]}");
  EXPECT_EQ(dispatcher.callLogLines(), "{\"op\":\"openapiStatGet\",\"in\":[2,5],\"rc\":0}\n");
  std::string statePath = std::string(dir) + "/state.json", error;
  EXPECT_EQ(SimServer(dispatcher, statePath).answer(R"({"ctl":"save"})"), kOk);
  EXPECT_EQ(loadStateFile(dispatcher, statePath, error), 0) << "the saved file loads: " << error;
}

TEST_F(SimServerTest, ConcurrentSavesLeaveTheStateFileWholeAtEveryMoment) {
  std::string statePath = std::string(dir) + "/state.json";
  SimServer server(dispatcher, statePath);
  ASSERT_EQ(server.answer(R"({"ctl":"save"})"), kOk);
  std::atomic<bool> saving{true};
  std::atomic<int> failedSaves{0}, brokenReads{0}, reads{0};
  std::thread reader([&] {
    for (std::string error; saving || reads == 0; ++reads) {
      brokenReads += JsonPtr(readJsonFile(statePath, error)) ? 0 : 1;
    }
  });
  std::vector<std::thread> savers;
  for (int t = 0; t < 4; ++t) {
    savers.emplace_back([&] {
      for (int i = 0; i < 20; ++i) failedSaves += server.answer(R"({"ctl":"save"})") == kOk ? 0 : 1;
    });
  }
  for (std::thread &saver : savers) saver.join();
  saving = false;
  reader.join();
  EXPECT_EQ(failedSaves, 0);
  EXPECT_EQ(brokenReads, 0) << "of " << reads << " reads";
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir), {}), 1) << "no temporary file is left behind";
}

// What the daemon reads from a file or a control line: every integer exactly
// as written, or refused.
TEST_F(SimServerTest, StateFilesAndScriptsTakeIntegersExactlyAsWritten) {
  const struct {
    const char *written;
    const char *taken;  // nullptr: refused
  } cases[] = {
      {R"("18446744073709551615")", "18446744073709551615"}, {"18446744073709551615", "18446744073709551615"},
      {"9007199254740993", "9007199254740993"},  // read from its digits, not from its double
      {"18446744073709551616", nullptr}, {R"("+5")", nullptr}, {"5.0", nullptr},
  };
  std::string path = std::string(dir) + "/state.json";
  SimServer server(dispatcher, "");
  JsonPtr state(dev.toJson());
  edit(state.get(), "counters/0/values/" + std::to_string(ctr_rx_64), R"("@")");
  const std::string text = CText(cJSON_Print(state.get())).get();
  for (const auto &c : cases) {
    SCOPED_TRACE(c.written);
    std::string written = text, error;
    written.replace(written.find("\"@\""), 3, c.written);
    std::ofstream(path) << written;
    EXPECT_EQ(loadStateFile(dispatcher, path, error) == 0, c.taken != nullptr) << error;
    std::string stub = R"({"ctl":"stub","op":"openapiStatGet","count":1,"answer":{"rc":0,"out":[)";
    EXPECT_EQ(server.answer(stub + c.written + "]}}") == kOk, c.taken != nullptr);
    if (c.taken == nullptr) continue;
    EXPECT_NE(dumped().find(std::string(",\"") + c.taken + "\","), std::string::npos);
    EXPECT_EQ(server.answer(kStatOfPort5), R"({"rc":0,"out":[)" + std::string(c.taken) + "]}");
  }
}

TEST_F(SimServerTest, ServesClientsAndCleansUp) {
  std::string path = std::string(dir) + "/s.sock", plain = std::string(dir) + "/plain", error;
  fclose(fopen(plain.c_str(), "w"));
  SimServer refused(dispatcher, "");
  EXPECT_EQ(refused.listenOn(plain, error), -1);
  EXPECT_NE(error.find("not a socket"), std::string::npos) << error;

  // A socket file left behind by a crashed daemon.
  int stale = socketAt(path, true);
  ASSERT_GE(stale, 0);
  close(stale);

  SimServer server(dispatcher, "");
  ASSERT_EQ(server.listenOn(path, error), 0) << error;
  std::thread serving([&] { server.run(); });
  SimServer second(dispatcher, "");
  EXPECT_EQ(second.listenOn(path, error), -1) << "a live daemon keeps its socket";
  EXPECT_NE(error.find("already listening"), std::string::npos) << error;

  int quitter = socketAt(path), a = socketAt(path), b = socketAt(path);
  ASSERT_TRUE(quitter >= 0 && a >= 0 && b >= 0);
  send(quitter, "{\"op\":\"openapiStat", 18, MSG_NOSIGNAL);
  close(quitter);  // gone in the middle of a request
  EXPECT_EQ(exchange(a, "{\"ctl\":\"ping\"}\n"), kOk);
  EXPECT_EQ(exchange(b, "{\"op\":\"openapiConnectivityCheck\",\"in\":[]}\n"), R"({"rc":0,"out":[]})");
  EXPECT_EQ(exchange(a, "garbage\n").find("\"rc\":-22"), 1u);
  // A frame and a line in one write, each answered in its own form.
  uint32_t vlan = 1;
  void *objects[] = {&vlan};
  WireBuffer encoded, reply, refusal;
  wireEncodeRequest(encoded, OPEN_OPID_openapiVlanCreatedCheck, objects);
  wireEncodeReply(reply, OPEN_E_NONE, nullptr);
  std::string frame(encoded.view());
  EXPECT_EQ(exchange(a, frame + "{\"ctl\":\"ping\"}\n", reply.size()), reply.view());
  EXPECT_EQ(exchange(a, ""), kOk) << "the line that followed the frame";
  // A frame header that is none leaves no next request to find: refused, and the connection ends.
  frame[4] = frame[5] = frame[6] = frame[7] = static_cast<char>(0xFF);
  wireEncodeReply(refusal, OPEN_E_PARAM, nullptr);
  EXPECT_EQ(exchange(b, frame, refusal.size() + 1), refusal.view());

  server.stop();  // with clients still connected
  serving.join();
  close(a);
  close(b);
  EXPECT_NE(access(path.c_str(), F_OK), 0) << "the socket is removed at exit";
}

}  // namespace
