// The daemon's socket server and control commands.
#include "sim/server.h"

#include <dirent.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "open/wire.h"
#include "sim/control.h"
#include "sim_fixture.h"
#include "tools/raii.h"

namespace {

using simtest::SimFixture;

class SimServerTest : public SimFixture {
 protected:
  void SetUp() override { ASSERT_NE(mkdtemp(dir), nullptr); }
  void TearDown() override {
    for (const std::string &name : entries()) unlink((std::string(dir) + "/" + name).c_str());
    rmdir(dir);
  }

  std::vector<std::string> entries() {
    std::vector<std::string> names;
    DIR *listing = opendir(dir);
    for (dirent *entry; listing != nullptr && (entry = readdir(listing)) != nullptr;) {
      if (entry->d_name[0] != '.') names.push_back(entry->d_name);
    }
    if (listing != nullptr) closedir(listing);
    return names;
  }

  // The answer's "error", or "ok" when it succeeded.
  std::string outcome(SimServer &server, const std::string &line) {
    JsonPtr answer(cJSON_Parse(server.answer(line).c_str()));
    if (cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(answer.get(), "ok"))) return "ok";
    const cJSON *error = cJSON_GetObjectItemCaseSensitive(answer.get(), "error");
    return cJSON_IsString(error) ? error->valuestring : "no error text";
  }

  int connectTo(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    if (connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
      close(fd);
      return -1;
    }
    return fd;
  }

  // Sends the line (none when empty) and reads the answer line.
  std::string roundTrip(int fd, const std::string &line) {
    std::string data = line + "\n", reply;
    if (!line.empty()) {
      EXPECT_EQ(send(fd, data.data(), data.size(), MSG_NOSIGNAL), static_cast<ssize_t>(data.size()));
    }
    char c = 0;
    while (recv(fd, &c, 1, 0) == 1 && c != '\n') reply += c;
    return reply;
  }
  // Up to `count` bytes, fewer when the server ends the connection.
  std::string receive(int fd, size_t count) {
    std::string bytes(count, '\0');
    size_t got = 0;
    for (ssize_t n = 0; got < count && (n = recv(fd, bytes.data() + got, count - got, 0)) > 0;) got += static_cast<size_t>(n);
    return bytes.substr(0, got);
  }

  char dir[32] = "/tmp/simserver.XXXXXX";
  SimDispatcher dispatcher{dev};
};

TEST_F(SimServerTest, ControlCommandsAnswer) {
  std::string statePath = std::string(dir) + "/state.json";
  SimServer withState(dispatcher, statePath), without(dispatcher, "");
  const struct {
    SimServer *server;
    std::string line;
    const char *expected;
  } cases[] = {
      {&without, R"({"ctl":"ping"})", "ok"},
      {&without, R"({"ctl":"fault","op":"openapiStatGet","rc":-20,"count":1})", "ok"},
      {&without, R"({"ctl":"fault","op":"openapiStatGet","rc":"x"})", "\"rc\""},
      {&without, R"({"ctl":"fault","op":"openapiStatGet","rc":-20,"count":-1})", "\"count\""},
      {&without, R"({"ctl":"fault","op":"openapiNope","rc":-20})", "unknown operation"},
      {&without, R"({"ctl":"stub","op":"openapiStatGet","answer":{"rc":0,"out":["7"]}})", "ok"},
      {&without, R"({"ctl":"stub","op":"openapiStatGet","answer":[]})", "\"answer\""},
      {&without, R"({"ctl":"load","state":{"vlans":[]}})", "systemDescription: missing"},
      {&without, R"({"ctl":"load"})", "\"state\""},
      {&without, R"({"ctl":"save"})", "--state"},
      {&withState, R"({"ctl":"save"})", "ok"},
      {&without, R"({"ctl":"explode"})", "unknown control command"},
      {&without, R"({"op":"openapiStatGet","in":[2,5]})", "no error text"},  // an OpEN answer
      {&without, R"({"op":"openapiStatGet","in":[2,"x"]})", "\"intIfNum\""},
      {&without, R"({"neither":1})", "\"op\""},
      {&without, R"({"ctl":"ping"} {"ctl":"ping"})", "JSON object"},
      {&without, std::string("{\"ctl\":\"ping\"}\0x", 15), "NUL"},
  };
  for (const auto &c : cases) EXPECT_NE(outcome(*c.server, c.line).find(c.expected), std::string::npos) << c.line;
  std::string error;
  EXPECT_EQ(loadStateFile(dispatcher, statePath, error), 0) << "the saved file loads: " << error;
}

TEST_F(SimServerTest, ConcurrentSavesLeaveTheStateFileWholeAtEveryMoment) {
  std::string statePath = std::string(dir) + "/state.json";
  SimServer server(dispatcher, statePath);
  ASSERT_EQ(outcome(server, R"({"ctl":"save"})"), "ok");
  std::atomic<bool> saving{true};
  std::atomic<int> failedSaves{0}, brokenReads{0}, reads{0};
  std::thread reader([&] {
    while (saving || reads == 0) {
      std::string error;
      JsonPtr state(readJsonFile(statePath, error));
      brokenReads += state == nullptr ? 1 : 0;
      ++reads;
    }
  });
  std::vector<std::thread> savers;
  for (int t = 0; t < 4; ++t) {
    savers.emplace_back([&] {
      for (int i = 0; i < 20; ++i) failedSaves += outcome(server, R"({"ctl":"save"})") == "ok" ? 0 : 1;
    });
  }
  for (std::thread &saver : savers) saver.join();
  saving = false;
  reader.join();
  EXPECT_EQ(failedSaves, 0);
  EXPECT_EQ(brokenReads, 0) << "of " << reads << " reads";
  EXPECT_EQ(entries(), std::vector<std::string>{"state.json"}) << "no temporary file is left behind";
}

// What the daemon reads from a file or a control line: every integer exactly
// as written, or refused.
TEST_F(SimServerTest, StateFilesAndScriptsTakeIntegersExactlyAsWritten) {
  const struct {
    const char *written;
    const char *taken;  // nullptr: refused
  } cases[] = {
      {"18446744073709549568", "18446744073709549568"},  // a double holds it
      {R"("18446744073709551615")", "18446744073709551615"},
      {"9007199254740992", "9007199254740992"},
      {"9007199254740993", "9007199254740993"},  // read from its digits, not from its double
      {"18446744073709551615", "18446744073709551615"},
      {"18446744073709551616", nullptr},
      {R"(" 5")", nullptr},
      {R"("+5")", nullptr},
      {"5.0", nullptr},
      {"5e0", nullptr},
  };
  std::string path = std::string(dir) + "/state.json";
  SimServer server(dispatcher, "");
  for (const auto &c : cases) {
    SCOPED_TRACE(c.written);
    JsonPtr state(dev.toJson());
    cJSON *port1 = cJSON_GetArrayItem(cJSON_GetObjectItem(state.get(), "counters"), 0);
    cJSON_ReplaceItemInArray(cJSON_GetObjectItem(port1, "values"), ctr_rx_64, cJSON_CreateString("@"));
    std::string text = CText(cJSON_Print(state.get())).get();
    text.replace(text.find("\"@\""), 3, c.written);
    FILE *file = fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    fputs(text.c_str(), file);
    fclose(file);
    std::string error;
    EXPECT_EQ(loadStateFile(dispatcher, path, error) == 0, c.taken != nullptr) << error;
    if (c.taken) {
      EXPECT_NE(dumped().find(std::string(",\"") + c.taken + "\","), std::string::npos);
    }

    std::string stub = R"({"ctl":"stub","op":"openapiStatGet","count":1,"answer":{"rc":0,"out":[)";
    EXPECT_EQ(outcome(server, stub + c.written + "]}}") == "ok", c.taken != nullptr);
    if (c.taken) {
      EXPECT_EQ(server.answer(R"({"op":"openapiStatGet","in":[2,5]})"), std::string(R"({"rc":0,"out":[)") + c.taken + "]}");
    }
  }
}

TEST_F(SimServerTest, ResetRestoresTheDefaultSwitch) {
  SimServer server(dispatcher, "");
  std::string pristine = dumped();
  ASSERT_EQ(outcome(server, R"({"ctl":"fault","op":"openapiStatGet","rc":-20})"), "ok");
  ASSERT_EQ(sim::openapiInterfaceStatsReset(dev, 1), OPEN_E_NONE);
  server.answer(R"({"op":"openapiStatGet","in":[2,5]})");
  ASSERT_EQ(outcome(server, R"({"ctl":"reset"})"), "ok");
  EXPECT_EQ(dispatcher.callLogLines(), "");
  EXPECT_EQ(dumped(), pristine);
  EXPECT_EQ(server.answer(R"({"op":"openapiStatGet","in":[2,5]})"),
            R"({"rc":0,"out":[)" + std::to_string(stat(ctr_rx_64, 5)) + "]}");
}

TEST_F(SimServerTest, ServesClientsAndCleansUp) {
  std::string path = std::string(dir) + "/s.sock", plain = std::string(dir) + "/plain", error;
  fclose(fopen(plain.c_str(), "w"));
  SimServer refused(dispatcher, "");
  EXPECT_EQ(refused.listenOn(plain, error), -1);
  EXPECT_NE(error.find("not a socket"), std::string::npos) << error;

  // A socket file left behind by a crashed daemon.
  int stale = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
  ASSERT_EQ(bind(stale, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
  close(stale);

  SimServer server(dispatcher, "");
  ASSERT_EQ(server.listenOn(path, error), 0) << error;
  std::thread serving([&] { server.run(); });
  SimServer second(dispatcher, "");
  EXPECT_EQ(second.listenOn(path, error), -1) << "a live daemon keeps its socket";
  EXPECT_NE(error.find("already listening"), std::string::npos) << error;

  int quitter = connectTo(path), a = connectTo(path), b = connectTo(path);
  ASSERT_GE(quitter, 0);
  ASSERT_GE(a, 0);
  ASSERT_GE(b, 0);
  send(quitter, "{\"op\":\"openapiStat", 18, MSG_NOSIGNAL);
  close(quitter);  // gone in the middle of a request
  EXPECT_EQ(roundTrip(a, R"({"ctl":"ping"})"), R"({"ok":true})");
  EXPECT_EQ(roundTrip(b, R"({"op":"openapiConnectivityCheck","in":[]})"), R"({"rc":0,"out":[]})");
  EXPECT_EQ(roundTrip(a, "garbage").find("\"rc\":-22"), 1u);
  // A frame and a line in one write, each answered in its own form.
  uint32_t vlan = 1;
  void *objects[] = {&vlan};
  WireBuffer encoded, reply;
  wireEncodeRequest(encoded, OPEN_OPID_openapiVlanCreatedCheck, objects);
  wireEncodeReply(reply, OPEN_E_NONE, nullptr);
  std::string frame(encoded.view()), answered(reply.view());
  ASSERT_EQ(send(a, (frame + "{\"ctl\":\"ping\"}\n").data(), frame.size() + 15, MSG_NOSIGNAL),
            static_cast<ssize_t>(frame.size() + 15));
  EXPECT_EQ(receive(a, answered.size()), answered);
  EXPECT_EQ(roundTrip(a, ""), R"({"ok":true})") << "the line that followed the frame";
  // A frame header that is none leaves no next request to find: refused, and the connection ends.
  std::string bad = frame;
  bad[4] = bad[5] = bad[6] = bad[7] = static_cast<char>(0xFF);
  WireBuffer refusalFrame;
  wireEncodeReply(refusalFrame, OPEN_E_PARAM, nullptr);
  std::string refusal(refusalFrame.view());
  ASSERT_EQ(send(b, bad.data(), bad.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bad.size()));
  EXPECT_EQ(receive(b, refusal.size() + 1), refusal);

  server.stop();  // with clients still connected
  serving.join();
  close(a);
  close(b);
  EXPECT_NE(access(path.c_str(), F_OK), 0) << "the socket is removed at exit";
}

}  // namespace
