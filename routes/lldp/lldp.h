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
#include "open/raii.h"

namespace lldp {

constexpr const char *kDir = "/api/v2/monitoring/lldp";

// Keys come from the request data (the query of a GET) and are read with
// strtol; an absent key is 0 and reaches OpEN as such.
constexpr route::Family kLldp{
    kDir, "lldp", &route::kRequestDataSigned,
    "LLDP and LLDP-MED on the physical ports: the global timers, each port's modes and optional TLVs, the neighbours "
    "each port hears with all they advertise, and what the switch advertises itself. A neighbour is named by its "
    "port, remote index and time stamp, as intf-remote-device-next walks them."};

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
constexpr route::Bind lldpQueryIfNumGet = route::query("ifNum")
                                              .via(route::kQueryStringSigned)
                                              .of<uint32_t>()
                                              .needed()
                                              .described("The physical port, as the switch numbers it internally "
                                                         "(intIfNum)")
                                              .example("5");

// "enable" in any case enables; every other word disables.
constexpr route::ChoiceTable kEnableMode = route::choicesOf<OPEN_CONTROL_t>(true, OPEN_DISABLE, "disable");

// OpEN's management string length, 256 when it is 0 or above 256.
uint32_t lldpMgmtStrLen();
// Texts of two kinds: 257 bytes described by the management string length,
// or 512 bytes described as 511 so that a terminator always remains.
constexpr route::BufferKind kMgmtStrText{257, route::SizeRule::Queried, lldpMgmtStrLen};
constexpr route::BufferKind kLongText{512, route::SizeRule::CapacityLessOne, nullptr};

// A neighbour of the default simulated switch, by its port, remote index
// and time stamp: the examples of the routes that read one.
struct Neighbour {
  const char *ifNum, *remIndex, *timeStamp;
};
constexpr Neighbour kPhone{"5", "4", "5128807"};       // an LLDP-MED endpoint, with PoE, inventory and policies
constexpr Neighbour kServer{"9", "3", "4020"};         // a server's NIC
constexpr Neighbour kAccessSwitch{"12", "2", "3544"};  // VLANs, organisationally defined and unknown TLVs
constexpr Neighbour kUplink{"25", "1", "3127"};        // a 10G distribution switch, jumbo frames

// A neighbour's interface, remote index and time stamp, spelt as the
// route's operation name says.
struct NeighbourKeys {
  route::Bind ifNum, remIndex, timeStamp;

  // The keys with examples that name `neighbour`.
  constexpr NeighbourKeys of(const Neighbour &neighbour) const {
    return {ifNum.example(neighbour.ifNum), remIndex.example(neighbour.remIndex),
            timeStamp.example(neighbour.timeStamp)};
  }
};
constexpr const char *kNeighbourPortText = "The port that hears the neighbour, as the switch numbers it internally "
                                           "(intIfNum)";
constexpr const char *kRemIndexText = "The remote index the switch gave the neighbour when it learnt it";
constexpr const char *kTimeStampText = "When the switch learnt the neighbour, in hundredths of a second of uptime; "
                                       "with the port and the remote index it names the neighbour";
constexpr route::Bind kRemIndex = route::query("remIndex").described(kRemIndexText);
// intf-remote-device-*, remote-device-*, intf-remote-port-link-aggregation-info
constexpr NeighbourKeys kIntfRemoteKeys{route::query("ifNum").described(kNeighbourPortText), kRemIndex,
                                        route::query("timeStamp").described(kTimeStampText)};
// rem-*, med-rem-*, lldpdot3-rem-*
constexpr NeighbourKeys kRemKeys{route::query("ifNum").described(kNeighbourPortText), kRemIndex,
                                 route::query("timestamp").described(kTimeStampText)};
constexpr NeighbourKeys kRemBodyKeys{route::body("ifNum").described(kNeighbourPortText),
                                     route::body("remIndex").described(kRemIndexText),
                                     route::body("timestamp").described(kTimeStampText)};
// med-remote-*
constexpr NeighbourKeys kMedRemoteKeys{route::query("intf").described(kNeighbourPortText), kRemIndex,
                                       route::query("timeStamp").described(kTimeStampText)};

// What several routes answer, in the words of IEEE 802.1AB and LLDP-MED.
constexpr const char *kChassisIdSubtypeText =
    "How the chassis ID identifies the device: 1 chassis component, 2 interface alias, 3 port component, "
    "4 MAC address, 5 network address, 6 interface name, 7 locally assigned";
constexpr const char *kPortIdSubtypeText =
    "How the port ID identifies the port: 1 interface alias, 2 port component, 3 MAC address, 4 network address, "
    "5 interface name, 6 agent circuit ID, 7 locally assigned";
constexpr const char *kCapabilitiesText = "System capabilities by name, separated by commas, such as "
                                          "\"bridge, router\"";
constexpr const char *kAddressFamilyText = "The address's family: 1 IPv4, 2 IPv6";
constexpr const char *kAggregationCapableText = "1 when the port can join a link aggregation, else 0";
constexpr const char *kAggregationMemberText = "1 when the port is a member of a link aggregation, else 0";
constexpr const char *kAggregationIdText = "The aggregation's interface number, 0 when the port is no member";
constexpr const char *kAutoNegSupportedText = "1 when the port supports auto-negotiation, else 0";
constexpr const char *kAutoNegEnabledText = "1 when auto-negotiation is enabled on the port, else 0";
constexpr const char *kAdvertisedCapText =
    "The speeds and duplex modes the port advertises in auto-negotiation, a bit map as hexadecimal text "
    "(\"6c01\": 10BASE-T and 100BASE-TX half and full duplex, 1000BASE-T full duplex)";
constexpr const char *kMauTypeText = "The IANA MAU type of the port's link, such as 30 (1000BASE-T full duplex) or "
                                     "36 (10GBASE-SR)";
constexpr const char *kMaxFrameSizeText = "The largest frame the port takes, in bytes";
constexpr const char *kPolicyAppTypeText =
    "The network policy's application type: 1 voice, 2 voice signalling, 3 guest voice, 4 guest voice signalling, "
    "5 softphone voice, 6 video conferencing, 7 streaming video, 8 video signalling";
constexpr const char *kDeviceClassText = "The LLDP-MED device class: 1 to 3 endpoint classes I to III, 4 network "
                                         "connectivity device";

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
  route::walkAscending(
      route::kMaxInterfaces, [](uint32_t *ifNum) { return swapiIfFirstGet(&clientHandle, OPEN_INTF_TYPE_PHY, ifNum); },
      [](uint32_t ifNum, uint32_t *next) { return openapiIfNextGet(&clientHandle, OPEN_INTF_TYPE_PHY, ifNum, next); },
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
