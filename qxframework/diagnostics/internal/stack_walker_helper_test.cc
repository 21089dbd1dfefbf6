#include "qxframework/diagnostics/internal/stack_walker_helper.h"

#include <gtest/gtest.h>

namespace {

using qx::diagnostics::parseVersion;

TEST(ParseVersion, TakesFourNumbers) {
  EXPECT_EQ(parseVersion(u"9.20.00.01"), 0x0009'0014'0000'0001U);
  EXPECT_EQ(parseVersion(u"1.2.3.4"), 0x0001'0002'0003'0004U);
  EXPECT_EQ(parseVersion(u"65535.65535.65535.65535"), 0xFFFF'FFFF'FFFF'FFFFU);
  EXPECT_EQ(parseVersion(u"1.2.3.4.5"), 0x0001'0002'0003'0004U);
}

TEST(ParseVersion, TakesZeroForAMissingNumber) {
  EXPECT_EQ(parseVersion(u"9.20"), 0x0009'0014'0000'0000U);
  EXPECT_EQ(parseVersion(u"9..7"), 0x0009'0000'0007'0000U);
  EXPECT_EQ(parseVersion(u""), 0U);
  EXPECT_EQ(parseVersion(u"x"), 0U);
}

TEST(ParseVersion, TakesZeroForANumberThatIsTooLarge) {
  EXPECT_EQ(parseVersion(u"65536.1.99999999999999999999.2"), 0x0000'0001'0000'0002U);
}

}  // namespace
