#include "qxdesk/session/host_object_base.h"

#include "qxframework/host/company.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::desk {
namespace {

class Thing final : public HostObjectBase<IRoundedData> {
 public:
  explicit Thing(bool* destroyed) : destroyed_(destroyed) {}
  ~Thing() override { *destroyed_ = true; }

  HRESULT raw_GetValue(double* out) override {
    return give(out, [&] { return ++ran; });
  }
  HRESULT isLarge(VARIANT_BOOL* out) {
    return giveFlag(out, [&] { return ran > 1; });
  }
  HRESULT name(BSTR* out) {
    return giveString(out, [&] {
      ++ran;
      return std::u16string(u"name");
    });
  }
  HRESULT other(IRoundedData** out) {
    return giveNew(out, [&] { return makeObject<Thing>(destroyed_); });
  }
  HRESULT none(IRoundedData** out) {
    return giveNew(out, [] { return CComPtr<Thing>(); });
  }
  /// Releases the reference that `holder` has, within the operation.
  HRESULT letGo(CComPtr<Thing>& holder) {
    return run([&] {
      holder.Release();
      EXPECT_FALSE(*destroyed_);
    });
  }

  int ran = 0;

 private:
  bool* destroyed_;
};

class HostObjectBaseTest : public testing::Test {
 protected:
  ~HostObjectBaseTest() override { CallGate::instance().refuse(0, S_OK); }

  bool destroyed = false;
  CComPtr<Thing> thing = makeObject<Thing>(&destroyed);
};

TEST_F(HostObjectBaseTest, WritesTheResultOfTheBody) {
  double value = 0;
  EXPECT_EQ(thing->raw_GetValue(&value), S_OK);
  EXPECT_EQ(value, 1.0);
  VARIANT_BOOL large = VARIANT_TRUE;
  EXPECT_EQ(thing->isLarge(&large), S_OK);
  EXPECT_EQ(large, VARIANT_FALSE);
  CComBSTR name;
  EXPECT_EQ(thing->name(&name), S_OK);
  EXPECT_EQ(name.View(), u"name");
  EXPECT_EQ(thing->isLarge(&large), S_OK);
  EXPECT_EQ(large, VARIANT_TRUE);
}

TEST_F(HostObjectBaseTest, WithoutAPlaceForTheResultTheBodyDoesNotRun) {
  EXPECT_EQ(thing->raw_GetValue(nullptr), E_POINTER);
  EXPECT_EQ(thing->name(nullptr), E_POINTER);
  EXPECT_EQ(thing->isLarge(nullptr), E_POINTER);
  EXPECT_EQ(thing->other(nullptr), E_POINTER);
  EXPECT_EQ(thing->ran, 0);
}

TEST_F(HostObjectBaseTest, ReturnsANewObjectWithOneReferenceOrNull) {
  CComPtr<IRoundedData> other;
  EXPECT_EQ(thing->other(&other), S_OK);
  ASSERT_NE(other.p, nullptr);
  EXPECT_FALSE(destroyed);
  other.Release();
  EXPECT_TRUE(destroyed);
  CComPtr<IRoundedData> none;
  EXPECT_EQ(thing->none(&none), S_OK);
  EXPECT_EQ(none.p, nullptr);
}

TEST_F(HostObjectBaseTest, LivesUntilTheEndOfAnOperationThatReleasesIt) {
  Thing* const raw = thing.p;
  EXPECT_EQ(raw->letGo(thing), S_OK);
  EXPECT_TRUE(destroyed);
}

TEST_F(HostObjectBaseTest, EveryOperationPassesTheCallGate) {
  CallGate::instance().refuse(2, E_ABORT);
  double value = 0;
  EXPECT_EQ(thing->raw_GetValue(&value), S_OK);
  EXPECT_EQ(thing->raw_GetValue(&value), E_ABORT);
  EXPECT_EQ(thing->ran, 1);
}

TEST_F(HostObjectBaseTest, TheEndOfEveryOperationIsReportedToTheWatchers) {
  struct Watcher final : CallWatcher {
    void callEnded() noexcept override {
      ++ends;
      if (once) CallGate::instance().endWatch(this);
    }
    int ends = 0;
    bool once = false;
  };
  Watcher all;
  Watcher first;
  first.once = true;
  CallGate::instance().watch(&all);
  CallGate::instance().watch(&first);
  double value = 0;
  thing->raw_GetValue(&value);
  CallGate::instance().refuse(1, E_ABORT);
  thing->raw_GetValue(&value);  // has not run
  CallGate::instance().refuse(0, S_OK);
  thing->raw_GetValue(&value);
  CallGate::instance().endWatch(&all);
  thing->raw_GetValue(&value);
  EXPECT_EQ(all.ends, 2);
  EXPECT_EQ(first.ends, 1);
}

TEST(GiveValue, WritesAValueOrReturnsThatThereIsNoPlaceForIt) {
  long value = 0;
  EXPECT_EQ(giveValue(7L, &value), S_OK);
  EXPECT_EQ(value, 7);
  EXPECT_EQ(giveValue(7L, static_cast<long*>(nullptr)), E_POINTER);
}

}  // namespace
}  // namespace qx::desk
