#include "qxframework/automation/variant.h"

#include "qxframework/automation/com_object.h"
#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/wide_string.h"

#include <gtest/gtest.h>

namespace {

class Counted final : public qx::ComObject<qx::NoDispatch<IDispatch>> {
 public:
  explicit Counted(int& alive) : alive_(alive) { ++alive_; }
  ~Counted() override { --alive_; }
  ULONG references() {
    AddRef();
    return Release();
  }

 private:
  int& alive_;
};

TEST(Variant, StartsEmpty) { EXPECT_EQ(VARIANT().vt, VT_EMPTY); }

TEST(Variant, HasTheKindOfItsArgument) {
  EXPECT_EQ(CComVariant(7).vt, VT_I4);
  EXPECT_EQ(CComVariant(7L).vt, VT_I4);
  EXPECT_EQ(CComVariant(short{7}).vt, VT_I2);
  EXPECT_EQ(CComVariant(true).boolVal, VARIANT_TRUE);
  EXPECT_EQ(CComVariant(false).boolVal, VARIANT_FALSE);
  EXPECT_FALSE((std::is_constructible_v<CComVariant, const char*>)) << "no pointer is a truth";
  EXPECT_EQ(CComVariant(1.5).vt, VT_R8);
  EXPECT_EQ(CComVariant(1.5, VT_DATE).vt, VT_DATE);
  EXPECT_EQ(CComVariant(u"text").vt, VT_BSTR);
}

TEST(Variant, CopiesOwnTheirText) {
  const CComVariant first(u"text");
  CComVariant second(first);
  second.bstrVal[0] = u'T';
  EXPECT_EQ(qx::viewOfBstr(first.bstrVal), u"text");
  second = first;
  EXPECT_EQ(qx::viewOfBstr(second.bstrVal), u"text");
  EXPECT_NE(second.bstrVal, first.bstrVal);
}

TEST(Variant, CopyOfANullTextIsANullText) {
  VARIANT none;
  none.vt = VT_BSTR;
  none.bstrVal = nullptr;
  const CComVariant copy(none);
  EXPECT_EQ(copy.vt, VT_BSTR);
  EXPECT_EQ(copy.bstrVal, nullptr);
}

TEST(Variant, HoldsAReferenceToItsObject) {
  int alive = 0;
  CComPtr<Counted> object = qx::makeObject<Counted>(alive);
  {
    const CComVariant first(static_cast<IDispatch*>(object.p));
    const CComVariant second(first);
    EXPECT_EQ(object.p->references(), 3U);
  }
  EXPECT_EQ(object.p->references(), 1U);
}

TEST(Variant, MayHoldNoObject) {
  const CComVariant none(static_cast<IUnknown*>(nullptr));
  const CComVariant copy(none);
  EXPECT_EQ(copy.vt, VT_UNKNOWN);
  EXPECT_EQ(copy.punkVal, nullptr);
}

TEST(Variant, MovingLeavesAnEmptyValue) {
  CComVariant first(u"text");
  const CComVariant second(std::move(first));
  EXPECT_EQ(first.vt, VT_EMPTY);
  EXPECT_EQ(qx::viewOfBstr(second.bstrVal), u"text");
}

TEST(Variant, CopyingToItselfKeepsTheValue) {
  CComVariant text(u"text");
  EXPECT_EQ(VariantCopy(&text, &text), S_OK);
  EXPECT_EQ(qx::viewOfBstr(text.bstrVal), u"text");
}

TEST(Variant, DetachMovesTheValue) {
  CComVariant text(u"text");
  VARIANT out;
  EXPECT_EQ(text.Detach(&out), S_OK);
  EXPECT_EQ(text.vt, VT_EMPTY);
  EXPECT_EQ(qx::viewOfBstr(out.bstrVal), u"text");
  EXPECT_EQ(VariantClear(&out), S_OK);
  EXPECT_EQ(out.vt, VT_EMPTY);
}

TEST(Variant, AReferenceIsNotOwned) {
  VARIANT_BOOL bubble = VARIANT_TRUE;
  VARIANT reference;
  reference.vt = VT_BYREF | VT_BOOL;
  reference.pboolVal = &bubble;
  {
    const CComVariant copy(reference);
    *copy.pboolVal = VARIANT_FALSE;
  }
  EXPECT_EQ(bubble, VARIANT_FALSE);
}

TEST(Variant, NullPointersAreRefused) {
  VARIANT value;
  EXPECT_EQ(VariantClear(nullptr), E_POINTER);
  EXPECT_EQ(VariantCopy(nullptr, &value), E_POINTER);
  EXPECT_EQ(VariantCopy(&value, nullptr), E_POINTER);
}

TEST(Variant, TakesAnyOwningText) {
  EXPECT_EQ(qx::viewOfBstr(CComVariant(std::u16string(u"a\0b", 3)).bstrVal).size(), 3U);
  EXPECT_EQ(qx::viewOfBstr(CComVariant(CString(u"text")).bstrVal), u"text");
  EXPECT_EQ(qx::viewOfBstr(CComVariant(_bstr_t(u"text")).bstrVal), u"text");
}

TEST(Variant, WholeNumberThatFits32BitsIsI4) {
  for (const CComVariant& value :
       {CComVariant(42ul), CComVariant(std::size_t{42}), CComVariant(42u), CComVariant(42ll),
        CComVariant(42ull), CComVariant(42L)}) {
    EXPECT_EQ(value.vt, VT_I4);
    EXPECT_EQ(value.lVal, 42);
    EXPECT_EQ(value.llVal, 42);
  }
  EXPECT_EQ(CComVariant(std::int64_t{-2147483647 - 1}).vt, VT_I4);
  EXPECT_EQ(CComVariant(std::int64_t{-2147483647 - 1}).lVal, -2147483647 - 1);
}

TEST(Variant, WiderWholeNumberKeepsItsBits) {
  EXPECT_EQ(CComVariant(std::int64_t{1} << 40).vt, VT_I8);
  EXPECT_EQ(CComVariant(std::int64_t{1} << 40).llVal, std::int64_t{1} << 40);
  EXPECT_EQ(CComVariant(std::int64_t{2147483648}).vt, VT_I8);
  EXPECT_EQ(CComVariant(std::int64_t{-2147483649}).llVal, -2147483649);
  EXPECT_EQ(CComVariant(4294967295u).vt, VT_I8);
  EXPECT_EQ(CComVariant(4294967295u).llVal, 4294967295);
  EXPECT_EQ(CComVariant(~std::uint64_t{0}).vt, VT_UI8);
  EXPECT_EQ(CComVariant(~std::uint64_t{0}).ullVal, ~std::uint64_t{0});
}

TEST(Variant, DateStaysADate) {
  const COleDateTime day(2024, 2, 29, 12, 0, 0);
  EXPECT_EQ(CComVariant(day).vt, VT_DATE);
  EXPECT_EQ(CComVariant(day).date, 45351.5);
}

TEST(Variant, DateThatIsNotValidBecomesTheEmptyDate) {
  COleDateTime day(2024, 2, 29, 12, 0, 0);
  for (const auto status : {COleDateTime::null, COleDateTime::invalid, COleDateTime::error}) {
    day.SetStatus(status);
    EXPECT_EQ(CComVariant(day).vt, VT_DATE);
    EXPECT_EQ(CComVariant(day).date, 0.0);
  }
}

}  // namespace
