#include "qxframework/xml/internal/utf.h"

#include "testing/raised_by.h"

#include <gtest/gtest.h>

namespace qx::xml {
namespace {

using test::raisedBy;

constexpr std::size_t kOneMoreThan4GiB = 0x100000001;

/// Return views of which only the length may be read. Cut off to 32 bits, it would be 1.
std::u16string_view tooManyUnits(std::size_t units) {
  static const char16_t unit = u'x';
  return {&unit, units};
}
std::string_view tooManyBytes(std::size_t bytes) {
  static const char byte = 'x';
  return {&byte, bytes};
}

TEST(XmlUtf, RefusesATooLongWideTextInsteadOfCuttingIt) {
  for (const std::size_t units : {kOneMoreThan4GiB, std::size_t{0x80000000},
                                  std::size_t{0x7FFFFFFF}, std::size_t{0x7FFFFFFF / 3 + 1}}) {
    EXPECT_EQ(strictUtf8(tooManyUnits(units)), std::nullopt) << units;
    EXPECT_EQ(raisedBy([&] { utf8OrRaise(tooManyUnits(units)); }), E_INVALIDARG) << units;
  }
}

TEST(XmlUtf, RefusesATooLongNarrowTextInsteadOfCuttingIt) {
  for (const std::size_t bytes : {kOneMoreThan4GiB, std::size_t{0x80000000}}) {
    BSTR out = nullptr;
    EXPECT_EQ(giveUtf8(tooManyBytes(bytes), &out), E_OUTOFMEMORY) << bytes;
    EXPECT_EQ(out, nullptr);
  }
}

TEST(XmlUtf, ReturnsNoUtf8ForALoneSurrogate) {
  EXPECT_EQ(strictUtf8(u"a\U0001F600"), "a\xF0\x9F\x98\x80");
  const char16_t lone[] = {u'a', 0xD83D, u'b'};
  EXPECT_EQ(strictUtf8({lone, 3}), std::nullopt);
}

}  // namespace
}  // namespace qx::xml
