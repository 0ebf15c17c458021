// The simulated sFlow agent: a receiver is claimed for a while, samplers are
// bound to it, and both are free again when its owner's time runs out.
#include "tests/unit/sim_fixture.h"

namespace {

using SimSflowTest = simtest::SimFixture;

TEST_F(SimSflowTest, ReceiversAreClaimedUsedAndFreedWhenTheirTimeRunsOut) {
  char owner[] = "noc";
  open_buffdesc ownerText{sizeof owner, owner};
  EXPECT_EQ(sim::openapiSflowFsRcvrIndexSet(dev, 5, 1, 2), OPEN_E_PARAM) << "nobody owns the receiver yet";
  ASSERT_EQ(sim::openapiSflowRcvrOwnerSet(dev, 2, &ownerText, 60), OPEN_E_NONE);
  ASSERT_EQ(sim::openapiSflowFsRcvrIndexSet(dev, 5, 1, 2), OPEN_E_NONE);
  ASSERT_EQ(sim::openapiSflowFsPacketSamplingRateSet(dev, 5, 1, 1, 2048), OPEN_E_NONE);
  EXPECT_EQ(number(sim::openapiSflowOperModeGet), 1u);
  advanceSeconds(59);
  EXPECT_EQ(number(sim::openapiSflowRcvrTimeRemainingGet, 2), 1u);
  advanceSeconds(1.5);
  EXPECT_EQ(text(sim::openapiSflowRcvrOwnerGet, 2), "");
  EXPECT_EQ(number(sim::openapiSflowFsRcvrIndexGet, 5, 1), 0u);
  EXPECT_EQ(number(sim::openapiSflowFsPacketSamplingRateGet, 5, 1, 1), 0u);
  EXPECT_EQ(number(sim::openapiSflowOperModeGet), 0u);
}

}  // namespace
