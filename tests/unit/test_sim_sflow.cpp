// The simulated sFlow agent: a receiver is claimed for a while, samplers are
// bound to it, and both are free again when its owner's time runs out.
#include "tests/unit/sim_fixture.h"

namespace {

class SimSflowTest : public simtest::SimFixture {
 protected:
  uint32_t read(open_error_t (*get)(SimDevice &, uint32_t *)) {
    uint32_t value = 99;
    EXPECT_EQ(get(dev, &value), OPEN_E_NONE);
    return value;
  }
};

TEST_F(SimSflowTest, ReceiversAreClaimedUsedAndFreedWhenTheirTimeRunsOut) {
  char owner[] = "noc";
  open_buffdesc ownerText{sizeof owner, owner};
  EXPECT_EQ(read(sim::openapiSflowOperModeGet), 0u);
  EXPECT_EQ(sim::openapiSflowFsRcvrIndexSet(dev, 5, 1, 2), OPEN_E_PARAM) << "nobody owns the receiver yet";
  ASSERT_EQ(sim::openapiSflowRcvrOwnerSet(dev, 2, &ownerText, 60), OPEN_E_NONE);
  ASSERT_EQ(sim::openapiSflowFsRcvrIndexSet(dev, 5, 1, 2), OPEN_E_NONE);
  ASSERT_EQ(sim::openapiSflowFsPacketSamplingRateSet(dev, 5, 1, 1, 2048), OPEN_E_NONE);
  EXPECT_EQ(read(sim::openapiSflowOperModeGet), 1u);
  advanceSeconds(59);
  uint32_t remaining = 0, rcvrIndex = 99, rate = 99;
  EXPECT_EQ(sim::openapiSflowRcvrTimeRemainingGet(dev, 2, &remaining), OPEN_E_NONE);
  EXPECT_EQ(remaining, 1u);
  advanceSeconds(1.5);
  EXPECT_EQ(text(sim::openapiSflowRcvrOwnerGet, 2), "");
  EXPECT_EQ(sim::openapiSflowFsRcvrIndexGet(dev, 5, 1, &rcvrIndex), OPEN_E_NONE);
  EXPECT_EQ(sim::openapiSflowFsPacketSamplingRateGet(dev, 5, 1, 1, &rate), OPEN_E_NONE);
  EXPECT_EQ(rcvrIndex, 0u);
  EXPECT_EQ(rate, 0u);
  EXPECT_EQ(read(sim::openapiSflowOperModeGet), 0u);
}

}  // namespace
