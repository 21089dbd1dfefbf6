#include "qxdesk/screens/model/status_bar.h"

#include "qxdesk/screens/model/desk_printer.h"
#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

namespace qx::screens {
namespace {

class FakeLock final : public ProgressLock {
 public:
  explicit FakeLock(bool& taken) : taken_(taken) {}
  bool tryAcquire() override { return !taken_ && (taken_ = true); }
  void release() override { taken_ = false; }

 private:
  bool& taken_;
};

TEST(StatusBar, KeepsMessagesWithTheirType) {
  StatusBar bar(nullptr);
  bar.show({u"plain", smt_None, 20});
  bar.show({u"careful", smt_Warning, 20});
  bar.show({u"broken", smt_Error, 20});
  bar.show({u"well", smt_Info, 20});
  EXPECT_EQ(toUtf8(printStatus(bar)), "plain\nwarning: careful\nerror: broken\ninfo: well\n");
}

TEST(StatusBar, ProgressBarHasOneHolderAtATime) {
  StatusBar bar(nullptr);
  auto first = bar.createProgress(u"Loading", 30, false);
  first->setValue(7);
  EXPECT_EQ(toUtf8(printStatus(bar)), "progress \"Loading\" 7/30\n");
  EXPECT_EQ(raisedBy([&] { bar.createProgress(u"x", 1, false); }), kGeneralFailure);
  first->stop();
  first->stop();
  EXPECT_EQ(raisedBy([&] { first->setValue(1); }), kGeneralFailure);
  EXPECT_EQ(raisedBy([&] { first->setText(u"x"); }), kGeneralFailure);
  const auto second = bar.createProgress(u"x", 1, false);
  first.reset();
  EXPECT_EQ(bar.progress(), second);
}

TEST(StatusBar, ProgressBarIsFreedWithItsHolder) {
  StatusBar bar(nullptr);
  bar.createProgress(u"x", 1, false);
  EXPECT_EQ(bar.progress(), nullptr);
  EXPECT_NE(bar.createProgress(u"x", 1, false), nullptr);
}

TEST(StatusBar, ValueIsKeptWithinTheMaximum) {
  StatusBar bar(nullptr);
  const auto progress = bar.createProgress(u"x", 10, true);
  progress->setValue(11);
  EXPECT_EQ(progress->value(), 10);
  progress->setValue(-1);
  EXPECT_EQ(progress->value(), 0);
}

TEST(StatusBar, ProgressBarHeldByAnotherProcessIsRefused) {
  bool taken = true;
  StatusBar bar(std::make_unique<FakeLock>(taken));
  EXPECT_EQ(raisedBy([&] { bar.createProgress(u"x", 1, false); }), kGeneralFailure);
  EXPECT_TRUE(taken);
  taken = false;
  auto progress = bar.createProgress(u"x", 1, false);
  EXPECT_TRUE(taken);
  progress.reset();
  EXPECT_FALSE(taken);
}

TEST(StatusBar, HolderMayOutliveTheBar) {
  auto bar = std::make_unique<StatusBar>(nullptr);
  const auto progress = bar->createProgress(u"x", 1, false);
  bar.reset();
  EXPECT_EQ(raisedBy([&] { progress->setValue(1); }), kGeneralFailure);
}

}  // namespace
}  // namespace qx::screens
