// Interface statistics: counters by name, counter blocks, resets.
#include <cstdint>
#include <cstdlib>

#include "cgi/response.h"
#include "routes/engine/engine.h"
#include "routes/families.h"
#include "open/startup.h"
#include "open/raii.h"

namespace {

using namespace route;

constexpr const char *kDir = "/api/v2/monitoring/stats";

// The value of a name is the OpEN counter identifier. Names are compared
// exactly; any other name selects the reserved counter and OpEN decides.

constexpr ChoiceTable kCounters = choicesOf<OPEN_COUNTER_ID_t>(false, ctr_reserved, "ctr_reserved");

constexpr Family kStats{kDir, "stats", &kQueryStringUnsigned,
                        "Interface statistics: one counter of an interface by name, as a number or as exact decimal "
                        "text; every counter of an interface at once; the time since its last reset; resets of one "
                        "counter, one interface or every interface."};
constexpr Answering kRead{&kStats, Mapping::OpenRc, AnswerStyle::Data, AnswerStyle::Data, AnswerStyle::Data};
constexpr Answering kWrite{&kStats, Mapping::OpenRc, AnswerStyle::Line, AnswerStyle::Line, AnswerStyle::Line};

// The interface always comes from the query string, also on POST; a GET
// names its counter in the request data, a POST in its body.
constexpr Bind kIfNum =
    query("ifNum").of<uint32_t>().described("The interface, as the switch numbers it internally (intIfNum)").example("1");
constexpr Bind kCounterInQuery = queryChoice("counterId", kCounters)
                                     .via(kRequestDataUnsigned)
                                     .described("The counter, by name")
                                     .example("\"ctr_rx_total_bytes\"");
constexpr Bind kCounterInBody =
    bodyChoice("counterId", kCounters).described("The counter to reset, by name").example("\"ctr_rx_fcs_errors\"");
constexpr BufferKind kDecimalText{21, SizeRule::Capacity, nullptr};

// Thousands of counters a port at the most.
constexpr uint32_t kMaxCounterBlockBytes = 64 * 1024;

constexpr Bind kCounterValue[] = {out(nullptr)};
constexpr Bind kCounterArray =
    outList("counterArray", kCounterValue)
        .ifKnown()
        .described("The interface's counters in the order of the switch's counter block, normally by counter "
                   "number as the counterId names go (ctr_reserved first); each rounded above 2^53");

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
    {"stat", HTTPD_GET, &kRead,
     {open<rpcclt_openapiStatGet>,
      {kCounterInQuery, kIfNum,
       out("counterValue")
           .described("The counter's value, a 64-bit count sent as a JSON number: above 2^53 it is rounded; "
                      "stats/stat-string gives it as exact decimal text")}},
     "Reads one counter of an interface"},
    {"stat-string", HTTPD_GET, &kRead,
     {open<rpcclt_openapiStatStringGet>,
      {kCounterInQuery, kIfNum,
       outText("counterValueStr", kDecimalText).described("The counter's value as decimal text, every digit exact")}},
     "Reads one counter of an interface as exact decimal text"},
    {"stat-reset", HTTPD_POST, &kWrite, {open<rpcclt_openapiStatReset>, {kCounterInBody, kIfNum}},
     "Resets one counter of an interface"},
    {"interface-stats-buf-size", HTTPD_GET, &kRead,
     {open<rpcclt_openapiInterfaceStatsBufSizeGet>,
      {out("bufSize").described("The size in bytes of an interface's counter block: 8 for the count, then 8 for each "
                                "counter")}},
     "Reads the size of an interface's counter block"},
    custom("interface-stats", HTTPD_GET, interfaceStatsGet, kRead,
           "Reads every counter of an interface as one array; none when the switch keeps no block",
           {kIfNum, kCounterArray}).answers({RC_SUCCESS, RC_GENERAL_FAILED, RC_INVALID_ARGUMENT, RC_OBJECT_EXIST, RC_API_NOT_FOUND, RC_UNSUPPORTED_FEATURE}),
    {"interface-stats-reset", HTTPD_POST, &kWrite, {open<rpcclt_openapiInterfaceStatsReset>, {kIfNum}},
     "Resets every counter of an interface"},
    {"reset-all-interfaces-stats", HTTPD_POST, &kWrite, {open<rpcclt_openapiResetAllInterfacesStats>, {}},
     "Resets the counters of every interface"},
    {"interface-stats-reset-time", HTTPD_GET, &kRead,
     {open<rpcclt_openapiInterfaceStatsResetTimeGet>,
      {kIfNum, out("lastResetSecs").described("Seconds since the interface's counters were last reset")}},
     "Reads how long ago an interface's counters were last reset"},
};

}  // namespace

constinit const route::RouteGroup route_groups::kStats = routeGroup<kStatsRoutes>(kDir);
