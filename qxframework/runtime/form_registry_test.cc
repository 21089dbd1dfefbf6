#include "qxframework/runtime/form_registry.h"

#include "qxframework/runtime/addon_fixture.h"
#include "qxframework/runtime/framework_host_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FormRegistryTest : public testing::Test {
 protected:
  TestForm* makeForm(const OLECHAR* uid) {
    return new TestForm(host, &addOn, &host.addForm(uid, false));
  }
  std::vector<std::string> uids() const {
    std::vector<std::string> all;
    registry.forEachUid([&](const CComBSTR& uid) { all.push_back(toUtf8(uid.View())); });
    return all;
  }
  bool isDeleted(const std::string& name) const { return host.called(name + ".~Form"); }

  RecordingLogger log;
  FrameworkHost host;
  TestAddOn addOn{host};
  CriticalSection lock;
  FormMap forms;
  FormRegistry registry{lock, forms};
};

TEST_F(FormRegistryTest, FindsAFormByItsExactUid) {
  const std::unique_ptr<TestForm> form(makeForm(u"F1"));
  registry.add(u"F1", form.get());
  EXPECT_EQ(registry.find(u"F1"), form.get());
  EXPECT_EQ(registry.find(u"f1"), std::nullopt);
  EXPECT_EQ(registry.find(u""), std::nullopt);
}

TEST_F(FormRegistryTest, KeepsTheFirstFormOfAUid) {
  const std::unique_ptr<TestForm> first(makeForm(u"F1"));
  const std::unique_ptr<TestForm> second(makeForm(u"F2"));
  registry.add(u"X", first.get());
  registry.add(u"X", second.get());
  EXPECT_EQ(registry.find(u"X"), first.get());
}

TEST_F(FormRegistryTest, HoldsAnEntryWithoutAForm) {
  registry.add(u"X", nullptr);
  EXPECT_EQ(registry.find(u"X"), nullptr);
}

TEST_F(FormRegistryTest, VisitsUidsInTheOrderOfTheirUnits) {
  for (const OLECHAR* uid : {u"b", u"A", u"a", u"\u00E4"}) registry.add(uid, nullptr);
  EXPECT_THAT(uids(), ElementsAre("A", "a", "b", "\xC3\xA4"));
}

TEST_F(FormRegistryTest, DeletesAFormAtItsEndAfterTheRunningCall) {
  TestForm* const form = makeForm(u"F1");
  registry.add(u"F1", form);
  {
    const RunningForms::Call call(registry.running(), form);
    bool unloaded = false;
    registry.end(form, [&] { unloaded = registry.find(u"F1").has_value(); });
    EXPECT_TRUE(unloaded) << "a form that is being unloaded can still be found";
    EXPECT_THAT(uids(), IsEmpty());
    EXPECT_FALSE(isDeleted("F1"));
  }
  EXPECT_TRUE(isDeleted("F1"));
}

TEST_F(FormRegistryTest, EndsAFormOnce) {
  TestForm* const form = makeForm(u"F1");
  registry.add(u"F1", form);
  const RunningForms::Call call(registry.running(), form);
  int unloads = 0;
  registry.end(form, [&] { ++unloads; });
  registry.end(form, [&] { ++unloads; });
  EXPECT_EQ(unloads, 1);
}

TEST_F(FormRegistryTest, TakesAFormOutUnderEveryUid) {
  TestForm* const form = makeForm(u"F1");
  registry.add(u"F1", form);
  registry.add(u"F2", form);
  registry.add(u"F3", nullptr);
  const RunningForms::Call call(registry.running(), form);
  registry.end(form, [] {});
  EXPECT_THAT(uids(), ElementsAre("F3"));
}

TEST_F(FormRegistryTest, LeavesFormsOpenWithoutDeletingThem) {
  const std::unique_ptr<TestForm> form(makeForm(u"F1"));
  registry.add(u"F1", form.get());
  registry.leaveOpen();
  EXPECT_EQ(registry.find(u"F1"), std::nullopt);
  EXPECT_FALSE(isDeleted("F1"));
}

}  // namespace
}  // namespace qx::test
