// Interface statistics: counters by name, counter blocks, resets.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "cgi/request.h"
#include "cgi/response.h"
#include "cgi/routes.h"
#include "routes/families.h"
#include "tools/answer.h"
#include "tools/common.h"
#include "tools/raii.h"

namespace {

constexpr const char *kDir = "/api/v2/monitoring/stats";
constexpr const char *kDataKey = "stats";

// Position is the OpEN counter identifier.
constexpr const char *kCounterNames[] = {
    "ctr_reserved", "ctr_rx_total_bytes", "ctr_rx_64", "ctr_rx_65_127", "ctr_rx_128_255", "ctr_rx_256_511",
    "ctr_rx_512_1023", "ctr_rx_1024_1518", "ctr_rx_1519_1530", "ctr_rx_good_oversize", "ctr_rx_error_oversize",
    "ctr_rx_good_undersize", "ctr_rx_error_undersize", "ctr_rx_ucast_frames", "ctr_rx_mcast_frames",
    "ctr_rx_bcast_frames", "ctr_rx_align_errors", "ctr_rx_fcs_errors", "ctr_rx_overruns", "ctr_rx_frame_too_long",
    "ctr_tx_total_bytes", "ctr_tx_64", "ctr_tx_65_127", "ctr_tx_128_255", "ctr_tx_256_511", "ctr_tx_512_1023",
    "ctr_tx_1024_1518", "ctr_tx_1519_1530", "ctr_tx_ucast_frames", "ctr_tx_mcast_frames", "ctr_tx_bcast_frames",
    "ctr_tx_fcs_errors", "ctr_tx_oversized", "ctr_tx_underrun_errors", "ctr_tx_one_collision",
    "ctr_tx_multiple_collision", "ctr_tx_excessive_collision", "ctr_tx_late_collision", "ctr_tx_rx_64",
    "ctr_tx_rx_65_127", "ctr_tx_rx_128_255", "ctr_tx_rx_256_511", "ctr_tx_rx_512_1023", "ctr_tx_rx_1024_1518",
    "ctr_tx_rx_1519_1522", "ctr_tx_rx_1523_2047", "ctr_tx_rx_2048_4095", "ctr_tx_rx_4096_9216",
    "ctr_ether_stats_drop_events", "ctr_snmpifoutdiscard_frames", "ctr_snmpifindiscard_frames",
    "ctr_rx_total_frames", "ctr_rx_total_error_frames", "ctr_tx_total_frames", "ctr_tx_total_error_frames",
    "ctr_tx_total_collision_frames", "ctr_rx_crc_errors", "ctr_rx_total_mac_error_frames", "ctr_rx_rate_bits",
    "ctr_tx_rate_bits", "ctr_rx_rate_frames", "ctr_tx_rate_frames", "ctr_ether_stats_hold",
    "ctr_rx_jabber_frames", "ctr_port_link_down_counter"};

// Unknown names select the reserved counter and OpEN decides.
uint32_t counterIdFromName(const char *name) {
  if (name == nullptr) return 0;
  for (uint32_t id = 0; id < sizeof kCounterNames / sizeof kCounterNames[0]; ++id) {
    if (strcmp(kCounterNames[id], name) == 0) return id;
  }
  return 0;
}

enum class Input { None, IfNum, IfNumAndCounter, IfNumAndBodyCounter };

struct StatsInput {
  uint32_t ifNum = 0;
  uint32_t counterId = 0;
};

// The interface always comes from the query string, also on POST.
uint32_t ifNumFromQuery() {
  const char *query = getenv("QUERY_STRING");
  QueryArray params(queryStringSplit(query ? query : ""));
  const char *value = params ? queryParamValue("ifNum", params.get()) : nullptr;
  return value ? static_cast<uint32_t>(strtoul(value, nullptr, 10)) : 0;
}

uint32_t counterFromQuery() {
  CText input(requestDataGet());
  QueryArray params(input ? queryStringSplit(input.get()) : nullptr);
  return counterIdFromName(params ? queryParamValue("counterId", params.get()) : nullptr);
}

int32_t counterFromBody(uint32_t *counterId) {
  CText body(requestDataGet());
  JsonPtr json(body ? cJSON_ParseWithOpts(body.get(), nullptr, 1) : nullptr);
  if (json == nullptr) return RC_INVALID_ARGUMENT;
  const cJSON *name = cJSON_GetObjectItem(json.get(), "counterId");
  *counterId = counterIdFromName(cJSON_IsString(name) ? name->valuestring : nullptr);
  return RC_SUCCESS;
}

int32_t readInput(Input kind, StatsInput &in) {
  if (kind == Input::None) return RC_SUCCESS;
  in.ifNum = ifNumFromQuery();
  if (kind == Input::IfNumAndCounter) in.counterId = counterFromQuery();
  if (kind == Input::IfNumAndBodyCounter) return counterFromBody(&in.counterId);
  return RC_SUCCESS;
}

// One OpEN exchange of a route: returns the OpEN result and, when there is
// something to show, the data object in `*data`.
using StatsCall = open_error_t (*)(const StatsInput &in, JsonPtr *data);

struct StatsRoute {
  Input input;
  StatsCall call;
  AnswerStyle style;
};

JsonPtr objectWith(const char *member, cJSON *value) {
  JsonPtr data(cJSON_CreateObject());
  cJSON_AddItemToObject(data.get(), member, value);
  return data;
}

open_error_t statGet(const StatsInput &in, JsonPtr *data) {
  uint64_t value = 0;
  open_error_t rc = rpcclt_openapiStatGet(&clientHandle, in.counterId, in.ifNum, &value);
  // A JSON number is a double: values past 2^53 lose precision, stat-string keeps them.
  if (rc == OPEN_E_NONE) *data = objectWith("counterValue", cJSON_CreateNumber(static_cast<double>(value)));
  return rc;
}

open_error_t statStringGet(const StatsInput &in, JsonPtr *data) {
  char text[21] = {0};
  open_buffdesc desc = {sizeof text, text};
  open_error_t rc = rpcclt_openapiStatStringGet(&clientHandle, in.counterId, in.ifNum, &desc);
  text[sizeof text - 1] = '\0';
  if (rc == OPEN_E_NONE) *data = objectWith("counterValueStr", cJSON_CreateString(text));
  return rc;
}

open_error_t statReset(const StatsInput &in, JsonPtr *) {
  return rpcclt_openapiStatReset(&clientHandle, in.counterId, in.ifNum);
}

open_error_t bufSizeGet(const StatsInput &, JsonPtr *data) {
  uint32_t size = 0;
  open_error_t rc = rpcclt_openapiInterfaceStatsBufSizeGet(&clientHandle, &size);
  if (rc == OPEN_E_NONE) *data = objectWith("bufSize", cJSON_CreateNumber(size));
  return rc;
}

// Word 0 of the block is the counter count; words past the block are never read.
cJSON *counterArray(const uint64_t *words, uint32_t wordCount) {
  cJSON *array = cJSON_CreateArray();
  uint64_t count = words[0];
  for (uint64_t i = 1; i <= count && i < wordCount; ++i) {
    cJSON_AddItemToArray(array, cJSON_CreateNumber(static_cast<double>(words[i])));
  }
  return array;
}

open_error_t interfaceStatsGet(const StatsInput &in, JsonPtr *data) {
  uint32_t size = 0;
  open_error_t rc = rpcclt_openapiInterfaceStatsBufSizeGet(&clientHandle, &size);
  // An empty block is a success with nothing to show.
  if (rc != OPEN_E_NONE || size == 0) return rc;
  uint32_t wordCount = size / 8;
  std::unique_ptr<uint64_t, FreeDeleter> words(static_cast<uint64_t *>(calloc(wordCount + 1, sizeof(uint64_t))));
  if (words == nullptr) return OPEN_E_FAIL;
  open_buffdesc desc = {size, reinterpret_cast<char *>(words.get())};
  rc = rpcclt_openapiInterfaceStatsGet(&clientHandle, in.ifNum, &desc);
  if (rc == OPEN_E_NONE) *data = objectWith("counterArray", counterArray(words.get(), wordCount));
  return rc;
}

open_error_t interfaceStatsReset(const StatsInput &in, JsonPtr *) {
  return rpcclt_openapiInterfaceStatsReset(&clientHandle, in.ifNum);
}

open_error_t resetAllInterfacesStats(const StatsInput &, JsonPtr *) {
  return rpcclt_openapiResetAllInterfacesStats(&clientHandle);
}

open_error_t resetTimeGet(const StatsInput &in, JsonPtr *data) {
  uint32_t seconds = 0;
  open_error_t rc = rpcclt_openapiInterfaceStatsResetTimeGet(&clientHandle, in.ifNum, &seconds);
  if (rc == OPEN_E_NONE) *data = objectWith("lastResetSecs", cJSON_CreateNumber(seconds));
  return rc;
}

template <const StatsRoute &R>
void statsHandler() {
  StatsInput in;
  int32_t code = readInput(R.input, in);
  JsonPtr data;
  if (code == RC_SUCCESS) code = openRcToResultCode(R.call(in, &data));
  answerWith(code, R.style == AnswerStyle::Data ? kDataKey : nullptr, data.get(), R.style);
}

constexpr StatsRoute kStat{Input::IfNumAndCounter, statGet, AnswerStyle::Data};
constexpr StatsRoute kStatString{Input::IfNumAndCounter, statStringGet, AnswerStyle::Data};
constexpr StatsRoute kStatReset{Input::IfNumAndBodyCounter, statReset, AnswerStyle::Line};
constexpr StatsRoute kBufSize{Input::None, bufSizeGet, AnswerStyle::Data};
constexpr StatsRoute kInterfaceStats{Input::IfNum, interfaceStatsGet, AnswerStyle::Data};
constexpr StatsRoute kInterfaceReset{Input::IfNum, interfaceStatsReset, AnswerStyle::Line};
constexpr StatsRoute kResetAll{Input::None, resetAllInterfacesStats, AnswerStyle::Line};
constexpr StatsRoute kResetTime{Input::IfNum, resetTimeGet, AnswerStyle::Data};

constexpr RouteRow kStatsRoutes[] = {
    {"stat", HTTPD_GET, statsHandler<kStat>},
    {"stat-string", HTTPD_GET, statsHandler<kStatString>},
    {"stat-reset", HTTPD_POST, statsHandler<kStatReset>},
    {"interface-stats-buf-size", HTTPD_GET, statsHandler<kBufSize>},
    {"interface-stats", HTTPD_GET, statsHandler<kInterfaceStats>},
    {"interface-stats-reset", HTTPD_POST, statsHandler<kInterfaceReset>},
    {"reset-all-interfaces-stats", HTTPD_POST, statsHandler<kResetAll>},
    {"interface-stats-reset-time", HTTPD_GET, statsHandler<kResetTime>},
};

}  // namespace

void statsRoutesRegister(httpdTable *table) { httpdAddRoutes(table, kDir, kStatsRoutes); }
