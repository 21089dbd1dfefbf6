#include "qxframework/runtime/internal/event_args.h"

#include "qxframework/automation/bstr.h"
#include "qxframework/host/events.h"
#include "testing/fake_events.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace qx::test {
namespace {

/// Arguments in the order of the call.
class Call {
 public:
  explicit Call(std::vector<VARIANT> args) : args_(std::move(args)) {
    std::reverse(args_.begin(), args_.end());
    params_.rgvarg = args_.data();
    params_.cArgs = static_cast<UINT>(args_.size());
  }
  EventArgs args() const { return EventArgs(&params_); }

 private:
  std::vector<VARIANT> args_;
  DISPPARAMS params_;
};

TEST(EventArgs, AreNoneForANullCall) {
  EXPECT_EQ(EventArgs(nullptr).count(), 0U);
  DISPPARAMS params;
  params.cArgs = 3;  // without an array
  EXPECT_EQ(EventArgs(&params).count(), 0U);
}

TEST(EventArgs, ReadByPositionInTheOrderOfTheCall) {
  const CComBSTR text(u"first");
  const Call call({textArg(text), numberArg(2), numberArg(3)});
  EXPECT_EQ(call.args().count(), 3U);
  EXPECT_EQ(viewOf(call.args().text(0)), u"first");
  EXPECT_EQ(call.args().number(1), 2);
  EXPECT_EQ(call.args().number(2), 3);
}

TEST(EventArgs, ReadATextByReference) {
  CComBSTR text(u"there");
  VARIANT reference;
  reference.vt = VT_BSTR | VT_BYREF;
  reference.pbstrVal = &text.m_str;
  EXPECT_EQ(viewOf(Call({reference}).args().text(0)), u"there");
  reference.pbstrVal = nullptr;
  EXPECT_EQ(Call({reference}).args().text(0), nullptr);
  EXPECT_EQ(Call({numberArg(1)}).args().text(0), nullptr);
}

TEST(EventArgs, ReadANumberOfAnyKindAndZeroForOthers) {
  VARIANT small;
  small.vt = VT_I2;
  small.iVal = -4;
  const CComBSTR digits(u"65");
  const CComBSTR word(u"x");
  EXPECT_EQ(Call({small}).args().number(0), -4);
  EXPECT_EQ(Call({textArg(digits)}).args().number(0), 65);
  EXPECT_EQ(Call({textArg(word)}).args().number(0), 0);
  EXPECT_EQ(Call({VARIANT()}).args().number(0), 0);
}

TEST(EventArgs, AskAnObjectForTheInterface) {
  const auto menu = makeObject<FakeMenuEvent>(u"1", true);
  VARIANT unknown;
  unknown.vt = VT_UNKNOWN;
  unknown.punkVal = menu.p;
  EXPECT_EQ(Call({objectArg(menu.p)}).args().object<IMenuEvent>(0), menu.p);
  EXPECT_EQ(Call({unknown}).args().object<IMenuEvent>(0), menu.p);
  EXPECT_EQ(Call({objectArg(menu.p)}).args().object<IItemEvent>(0), nullptr);
  EXPECT_EQ(Call({objectArg(nullptr)}).args().object<IMenuEvent>(0), nullptr);
  EXPECT_EQ(Call({numberArg(1)}).args().object<IMenuEvent>(0), nullptr);
}

TEST(EventArgs, ReturnTheHostsVetoOrASubstitute) {
  VARIANT_BOOL veto = -1;
  const Call call({vetoArg(&veto), numberArg(0), vetoArg(nullptr)});
  EventArgs args = call.args();
  EXPECT_EQ(args.bubble(0), &veto);
  EXPECT_EQ(*args.bubble(1), -1);
  EXPECT_EQ(*args.bubble(2), -1);
}

}  // namespace
}  // namespace qx::test
