#include "qxframework/automation/guid.h"

#include <gtest/gtest.h>

namespace {

constexpr GUID kSample{
    0x01234567, 0x89AB, 0xCDEF, {0x10, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE}};

TEST(Guid, IsWrittenInBracesAndUpperCase) {
  EXPECT_EQ(qx::guidText(kSample), u"{01234567-89AB-CDEF-1032-547698BADCFE}");
}

TEST(Guid, ReadsBackInUpperAndLowerCase) {
  EXPECT_EQ(qx::guidFromText(qx::guidText(kSample)), kSample);
  EXPECT_EQ(qx::guidFromText(u"{01234567-89ab-cdef-1032-547698badcfe}"), kSample);
}

TEST(Guid, EveryByteKeepsItsPlace) {
  int digits = 0;
  for (std::size_t place = 0; place < 38; ++place) {
    std::u16string text = u"{00000000-0000-0000-0000-000000000000}";
    if (text[place] != u'0') continue;
    text[place] = u'F';
    const auto guid = qx::guidFromText(text);
    ASSERT_TRUE(guid) << place;
    EXPECT_EQ(qx::guidText(*guid), text);
    ++digits;
  }
  EXPECT_EQ(digits, 32);
}

TEST(Guid, RefusesTextsThatAreNotTheBraceForm) {
  EXPECT_EQ(qx::guidFromText(u""), std::nullopt);
  EXPECT_EQ(qx::guidFromText(u"01234567-89AB-CDEF-1032-547698BADCFE"), std::nullopt);
  EXPECT_EQ(qx::guidFromText(u"{01234567-89AB-CDEF-1032-547698BADCF}"), std::nullopt);
  EXPECT_EQ(qx::guidFromText(u"{01234567-89AB-CDEF-1032-547698BADCFE} "), std::nullopt);
  EXPECT_EQ(qx::guidFromText(u"{01234567-89AB-CDEF-1032-547698BADCFG}"), std::nullopt);
  EXPECT_EQ(qx::guidFromText(u"{01234567+89AB-CDEF-1032-547698BADCFE}"), std::nullopt);
}

}  // namespace
