#include "qxframework/automation/com_error.h"

#include "qxframework/automation/format.h"

#include <gtest/gtest.h>

namespace {

TEST(ComError, CodeEqualsTheLiteralOfItsLower32Bits) {
  const _com_error error(qx::resultCode(0x80040500));
  EXPECT_TRUE(error.Error() == 0x80040500);
  EXPECT_TRUE(0x80040500 == error.Error());
  EXPECT_FALSE(error.Error() != 0x80040500);
  EXPECT_TRUE(error.Error() != 0x80040501);
  EXPECT_TRUE(error.Error() == -2147220224);
}

TEST(ComError, CodeIsAHresultForEveryOtherUse) {
  const _com_error error(E_FAIL);
  const HRESULT code = error.Error();
  EXPECT_EQ(code, E_FAIL);
  EXPECT_LT(error.Error(), 0);
  EXPECT_TRUE(error.Error() == _com_error(E_FAIL).Error());
  EXPECT_EQ(qx::format(u"%d %08X", error.Error(), error.Error()), u"-2147467259 80004005");
  switch (error.Error()) {
    case E_FAIL:
      break;
    default:
      FAIL();
  }
}

}  // namespace
