// Interface statistics: counters by name, counter blocks, resets.
#include <cstdint>
#include <cstdlib>

#include "cgi/response.h"
#include "routes/engine/engine.h"
#include "routes/families.h"
#include "open/startup.h"
#include "tools/raii.h"

namespace {

using namespace route;

constexpr const char *kDir = "/api/v2/monitoring/stats";

// The value of a name is the OpEN counter identifier. Names are compared
// exactly; any other name selects the reserved counter and OpEN decides.
constexpr Choice kCounterNames[] = {
    {"ctr_reserved", 0}, {"ctr_rx_total_bytes", 1}, {"ctr_rx_64", 2}, {"ctr_rx_65_127", 3}, {"ctr_rx_128_255", 4},
    {"ctr_rx_256_511", 5}, {"ctr_rx_512_1023", 6}, {"ctr_rx_1024_1518", 7}, {"ctr_rx_1519_1530", 8},
    {"ctr_rx_good_oversize", 9}, {"ctr_rx_error_oversize", 10}, {"ctr_rx_good_undersize", 11},
    {"ctr_rx_error_undersize", 12}, {"ctr_rx_ucast_frames", 13}, {"ctr_rx_mcast_frames", 14},
    {"ctr_rx_bcast_frames", 15}, {"ctr_rx_align_errors", 16}, {"ctr_rx_fcs_errors", 17}, {"ctr_rx_overruns", 18},
    {"ctr_rx_frame_too_long", 19}, {"ctr_tx_total_bytes", 20}, {"ctr_tx_64", 21}, {"ctr_tx_65_127", 22},
    {"ctr_tx_128_255", 23}, {"ctr_tx_256_511", 24}, {"ctr_tx_512_1023", 25}, {"ctr_tx_1024_1518", 26},
    {"ctr_tx_1519_1530", 27}, {"ctr_tx_ucast_frames", 28}, {"ctr_tx_mcast_frames", 29}, {"ctr_tx_bcast_frames", 30},
    {"ctr_tx_fcs_errors", 31}, {"ctr_tx_oversized", 32}, {"ctr_tx_underrun_errors", 33},
    {"ctr_tx_one_collision", 34}, {"ctr_tx_multiple_collision", 35}, {"ctr_tx_excessive_collision", 36},
    {"ctr_tx_late_collision", 37}, {"ctr_tx_rx_64", 38}, {"ctr_tx_rx_65_127", 39}, {"ctr_tx_rx_128_255", 40},
    {"ctr_tx_rx_256_511", 41}, {"ctr_tx_rx_512_1023", 42}, {"ctr_tx_rx_1024_1518", 43}, {"ctr_tx_rx_1519_1522", 44},
    {"ctr_tx_rx_1523_2047", 45}, {"ctr_tx_rx_2048_4095", 46}, {"ctr_tx_rx_4096_9216", 47},
    {"ctr_ether_stats_drop_events", 48}, {"ctr_snmpifoutdiscard_frames", 49}, {"ctr_snmpifindiscard_frames", 50},
    {"ctr_rx_total_frames", 51}, {"ctr_rx_total_error_frames", 52}, {"ctr_tx_total_frames", 53},
    {"ctr_tx_total_error_frames", 54}, {"ctr_tx_total_collision_frames", 55}, {"ctr_rx_crc_errors", 56},
    {"ctr_rx_total_mac_error_frames", 57}, {"ctr_rx_rate_bits", 58}, {"ctr_tx_rate_bits", 59},
    {"ctr_rx_rate_frames", 60}, {"ctr_tx_rate_frames", 61}, {"ctr_ether_stats_hold", 62},
    {"ctr_rx_jabber_frames", 63}, {"ctr_port_link_down_counter", 64},
};
constexpr ChoiceTable kCounters = choiceTable(kCounterNames, false, 0, "ctr_reserved");

constexpr Family kStats{kDir, "stats", &kQueryStringUnsigned};
constexpr Answering kRead{&kStats, Mapping::OpenRc, AnswerStyle::Data, AnswerStyle::Data, AnswerStyle::Data};
constexpr Answering kWrite{&kStats, Mapping::OpenRc, AnswerStyle::Line, AnswerStyle::Line, AnswerStyle::Line};

// The interface always comes from the query string, also on POST; a GET
// names its counter in the request data, a POST in its body.
constexpr Bind kIfNum = query("ifNum");
constexpr Bind kCounterInQuery = queryChoice("counterId", kCounters).via(kRequestDataUnsigned);
constexpr Bind kCounterInBody = bodyChoice("counterId", kCounters);
constexpr BufferKind kDecimalText{21, SizeRule::Capacity, nullptr};

// Thousands of counters a port at the most.
constexpr uint32_t kMaxCounterBlockBytes = 64 * 1024;

constexpr Bind kCounterValue[] = {out(nullptr)};
constexpr Bind kCounterArray = outList("counterArray", kCounterValue).ifKnown();

// Word 0 of the block is the counter count; words past the block are never read.
void showCounters(Output &out, const uint64_t *words, uint32_t wordCount) {
  List counters = out.list(kCounterArray);
  uint64_t count = words[0];
  for (uint64_t i = 1; i <= count && i < wordCount; ++i) counters.addNumber(static_cast<double>(words[i]));
}

// Two calls: the block's size, then the block. An empty block is a success
// with nothing to show.
int32_t interfaceStatsGet(Inputs &in, Output &out) {
  auto ifNum = static_cast<uint32_t>(in.number(kIfNum));
  uint32_t size = 0;
  int rc = rpcclt_openapiInterfaceStatsBufSizeGet(&clientHandle, &size);
  if (rc != OPEN_E_NONE || size == 0) {
    out.omit();
    return openRcToResultCode(rc);
  }
  // A size no switch has is answered as an allocation that failed, rather
  // than taken from the heap of a small CPU.
  if (size > kMaxCounterBlockBytes) return RC_GENERAL_FAILED;
  uint32_t wordCount = size / 8;
  CText block(static_cast<char *>(calloc(wordCount + 1, sizeof(uint64_t))));
  if (!block) return RC_GENERAL_FAILED;
  open_buffdesc desc = {size, block.get()};
  int32_t code = openRcToResultCode(rpcclt_openapiInterfaceStatsGet(&clientHandle, ifNum, &desc));
  if (code == RC_SUCCESS) showCounters(out, reinterpret_cast<const uint64_t *>(block.get()), wordCount);
  return code;
}

constexpr Route kStatsRoutes[] = {
    {"stat", HTTPD_GET, &kRead, {open<rpcclt_openapiStatGet>, {kCounterInQuery, kIfNum, out("counterValue")}}},
    {"stat-string", HTTPD_GET, &kRead,
     {open<rpcclt_openapiStatStringGet>, {kCounterInQuery, kIfNum, outText("counterValueStr", kDecimalText)}}},
    {"stat-reset", HTTPD_POST, &kWrite, {open<rpcclt_openapiStatReset>, {kCounterInBody, kIfNum}}},
    {"interface-stats-buf-size", HTTPD_GET, &kRead, {open<rpcclt_openapiInterfaceStatsBufSizeGet>, {out("bufSize")}}},
    custom("interface-stats", HTTPD_GET, interfaceStatsGet, kRead,
           "Every counter of an interface as one array, in counter order; none when the switch keeps no block",
           {kIfNum, kCounterArray}),
    {"interface-stats-reset", HTTPD_POST, &kWrite, {open<rpcclt_openapiInterfaceStatsReset>, {kIfNum}}},
    {"reset-all-interfaces-stats", HTTPD_POST, &kWrite, {open<rpcclt_openapiResetAllInterfacesStats>, {}}},
    {"interface-stats-reset-time", HTTPD_GET, &kRead,
     {open<rpcclt_openapiInterfaceStatsResetTimeGet>, {kIfNum, out("lastResetSecs")}}},
};

}  // namespace

constinit const route::RouteGroup route_groups::kStats = routeGroup<kStatsRoutes>(kDir);
