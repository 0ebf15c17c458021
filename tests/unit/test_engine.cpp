// The route engine's compile-time check: a row's bindings must fit the
// OpEN function it calls, argument by argument. These are static
// assertions: the unit tests do not build when the check goes wrong.

#include "routes/engine/engine.h"

namespace {

using namespace route;

constexpr BufferKind kText{21, SizeRule::Capacity, nullptr};

static_assert(callFits(Call{open<rpcclt_openapiStatGet>, {query("c"), query("i"), out("v")}}));
static_assert(callFits(Call{open<rpcclt_openapiStatStringGet>, {constant(1), body("i"), outText("v", kText)}}));
// A record needs something to fill or show it.
static_assert(!callFits(Call{open<rpcclt_openapiApiVersionGet>, {record<open_revision_data_t>(nullptr, nullptr)}}));
// Too few, too many, out of order, an input for an output, a text for a number, the wrong record.
static_assert(!callFits(Call{open<rpcclt_openapiStatGet>, {query("c"), query("i")}}));
static_assert(!callFits(Call{open<rpcclt_openapiStatReset>, {query("c"), query("i"), out("v")}}));
static_assert(!callFits(Call{open<rpcclt_openapiStatGet>, {query("c"), out("v"), query("i")}}));
static_assert(!callFits(Call{open<rpcclt_openapiStatGet>, {query("c"), query("i"), query("v")}}));
static_assert(!callFits(Call{open<rpcclt_openapiStatStringGet>, {query("c"), query("i"), out("v")}}));
static_assert(!callFits(Call{open<rpcclt_openapiSflowSourceIpv6AddrGet>, {record<open_revision_data_t>(nullptr, nullptr, "v")}}));
static_assert(callFits(Call{open<rpcclt_openapiSflowSourceIpv6AddrGet>, {outIpv6("v")}}));

}  // namespace
