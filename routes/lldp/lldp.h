#pragma once
// The LLDP family's shared rules: how its routes read keys, answer and size
// their texts, and the pieces its aggregated routes share.
#include <cjson/cJSON.h>

#include <cstdint>
#include <cstdlib>
#include <initializer_list>

#include "routes/engine/engine.h"
#include "routes/engine/walk.h"
#include "open/startup.h"
#include "tools/raii.h"

namespace lldp {

constexpr const char *kDir = "/api/v2/monitoring/lldp";

// Keys come from the request data (the query of a GET) and are read with
// strtol; an absent key is 0 and reaches OpEN as such.
constexpr route::Family kLldp{kDir, "lldp", &route::kRequestDataSigned};

// The settings routes answer every OpEN failure with 10000 and write
// failures and refusals with a newline, a read's data without.
constexpr route::Answering kSettingRead{&kLldp, route::Mapping::AnyFailure, AnswerStyle::Line,
                                               AnswerStyle::Line, AnswerStyle::Data};
constexpr route::Answering kSettingWrite{&kLldp, route::Mapping::AnyFailure, AnswerStyle::Line,
                                                AnswerStyle::Line, AnswerStyle::Line};
// The neighbour and local-device routes map OpEN results and write every
// answer, failures included, without a newline.
constexpr route::Answering kDeviceRead{&kLldp, route::Mapping::OpenRc, AnswerStyle::Data, AnswerStyle::Data,
                                              AnswerStyle::Data};

// The pages gathered from several reads never fail: they show what could be
// read. A page of one interface refuses a missing interface as a line.
constexpr route::Answering kPageRead{&kLldp, route::Mapping::ShowDefaults, AnswerStyle::Line, AnswerStyle::Data,
                                     AnswerStyle::Data};

// The text of an interface's LLDP data in the pages: 256 characters at most.
constexpr route::BufferKind kPageText{257, route::SizeRule::Capacity, nullptr};

// A settings route's interface: from QUERY_STRING, also on PUT, read with
// strtol; absent or 0 refuses the request before anything else is read.
constexpr route::Bind lldpQueryIfNumGet =
    route::query("ifNum").via(route::kQueryStringSigned).of<uint32_t>().needed();

// "enable" in any case enables; every other word disables.
constexpr route::ChoiceTable kEnableMode = route::choicesOf<OPEN_CONTROL_t>(true, OPEN_DISABLE, "disable");

// OpEN's management string length, 256 when it is 0 or above 256.
uint32_t lldpMgmtStrLen();
// Texts of two kinds: 257 bytes described by the management string length,
// or 512 bytes described as 511 so that a terminator always remains.
constexpr route::BufferKind kMgmtStrText{257, route::SizeRule::Queried, lldpMgmtStrLen};
constexpr route::BufferKind kLongText{512, route::SizeRule::CapacityLessOne, nullptr};

// A neighbour's interface, remote index and time stamp, spelt as the
// route's operation name says.
struct NeighbourKeys {
  route::Bind ifNum, remIndex, timeStamp;
};
// intf-remote-device-*, remote-device-*, intf-remote-port-link-aggregation-info
constexpr NeighbourKeys kIntfRemoteKeys{route::query("ifNum"), route::query("remIndex"),
                                               route::query("timeStamp")};
// rem-*, med-rem-*, lldpdot3-rem-*
constexpr NeighbourKeys kRemKeys{route::query("ifNum"), route::query("remIndex"), route::query("timestamp")};
constexpr NeighbourKeys kRemBodyKeys{route::body("ifNum"), route::body("remIndex"), route::body("timestamp")};
// med-remote-*
constexpr NeighbourKeys kMedRemoteKeys{route::query("intf"), route::query("remIndex"),
                                              route::query("timeStamp")};

// A neighbour route's call: its three keys, then the operation's own bindings.
constexpr route::Call keyed(const route::OpenCall &open, const NeighbourKeys &keys,
                            std::initializer_list<route::Bind> rest) {
  route::Call call{open, {keys.ifNum, keys.remIndex, keys.timeStamp}};
  size_t at = 3;
  for (const route::Bind &bind : rest) call.binds[at++] = bind;
  return call;
}

// The first interface of a type (0: physical); logs when there is none.
int swapiIfFirstGet(openapiClientHandle_t *client, uint32_t type, uint32_t *ifNum);

// Calls `visit(ifNum)` for every physical interface, in OpEN's order, within
// the bounds of route::walkAscending.
template <typename Visit>
void forEachPhysicalInterface(Visit visit) {
  constexpr uint32_t kPhysical = 0;
  route::walkAscending(
      route::kMaxInterfaces, [](uint32_t *ifNum) { return swapiIfFirstGet(&clientHandle, kPhysical, ifNum); },
      [](uint32_t ifNum, uint32_t *next) { return openapiIfNextGet(&clientHandle, kPhysical, ifNum, next); },
      [&](uint32_t ifNum) {
        visit(ifNum);
        return true;
      });
}

// A text field of an aggregated route, read into a fresh zero-filled buffer
// of length + 1 bytes described as `length`: the text; when OpEN fails,
// null if the part may be null, else ""; nothing at all when there is no
// memory for the buffer.
template <typename Read>
void addTextField(route::Output &row, const route::Bind &part, uint32_t length, Read read) {
  CText buffer(static_cast<char *>(calloc(length + 1u, 1)));
  if (!buffer) return;
  open_buffdesc desc{length, buffer.get()};
  bool succeeded = read(&desc) == OPEN_E_NONE;
  buffer.get()[length] = '\0';
  if (succeeded) {
    row.text(part, buffer.get());
  } else if (part.nullable) {
    row.null(part);
  } else {
    row.text(part, "");
  }
}

}  // namespace lldp
