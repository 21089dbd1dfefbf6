#include "qxframework/query/browser_collection.h"

#include "qxframework/host/company.h"
#include "qxframework/query/testing/query_parts.h"
#include "qxframework/query/testing/vtable_slot.h"
#include "qxframework/query/value_container.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace Persistence {
namespace {

using qx::test::slotOf;
using qx::test::utf8;

/// Implements what is abstract, in order to call GetValue.
class Rows final : public IQXPersistentCollection {
 public:
  Rows() = default;
  long First(CQXValueContainer&) override { return 1; }
  long Last(CQXValueContainer&) override { return 1; }
  long Next(CQXValueContainer&) override { return 1; }
  long Previous(CQXValueContainer&) override { return 1; }
  bool Eof() const override { return true; }
  bool Bof() const override { return true; }
  void Add(const CQXValueContainer&) override {}
  void Refresh(CQXValueContainer&) override {}
  long GetRecordCount() const override { return 0; }
  void MapToContainer(const TyFieldValues&, CQXValueContainer&) override {}
  void ContainerToMap(const CQXValueContainer&, TyFieldValues&) override {}
  void Connect(const CComPtr<ICompany>&, const OLECHAR*, bool, const OLECHAR*) override {}
  bool Exists(const TyFieldValues&) override { return false; }
  void Load() override {}
  void Remove(const TyFieldValues&) override {}
  void Update(const TyFieldValues&, const CQXValueContainer&) override {}
  qx_ptr<CConditions> GetConditionsFromKeyFields(
      const TyFieldValues&, const std::vector<HvConditionOperation>&) override {
    return {};
  }
  void SetCorrelationName(const OLECHAR*) override {}
  void SetKeysOnly(bool) override {}
};

// Neither interface has fields, and both are destroyed through a pointer to the browser's.
static_assert(std::is_base_of_v<IQXObjCollectionForBrowser, IQXPersistentCollection>);
static_assert(std::has_virtual_destructor_v<IQXObjCollectionForBrowser>);
static_assert(sizeof(IQXPersistentCollection) == sizeof(void*));

// Add-ons are built against these orders. A destructor takes two slots.
TEST(PersistentCollectionInterface, BrowserOperationsKeepTheirSlots) {
  using Browser = IQXObjCollectionForBrowser;
  EXPECT_EQ(slotOf(&Browser::First), 0);
  EXPECT_EQ(slotOf(&Browser::Last), 1);
  EXPECT_EQ(slotOf(&Browser::Next), 2);
  EXPECT_EQ(slotOf(&Browser::Previous), 3);
  EXPECT_EQ(slotOf(&Browser::Eof), 4);
  EXPECT_EQ(slotOf(&Browser::Bof), 5);
  EXPECT_EQ(slotOf(&Browser::Add), 6);
  EXPECT_EQ(slotOf(&Browser::Refresh), 7);
  EXPECT_EQ(slotOf(&Browser::GetRecordCount), 8);
  EXPECT_EQ(slotOf(&Browser::MapToContainer), 9);
  EXPECT_EQ(slotOf(&Browser::ContainerToMap), 10);
}

TEST(PersistentCollectionInterface, ItsOwnOperationsFollowTheBrowsersDestructor) {
  using Collection = IQXPersistentCollection;
  EXPECT_EQ(slotOf(&Collection::Connect), 13);
  EXPECT_EQ(slotOf(&Collection::Exists), 14);
  EXPECT_EQ(slotOf(&Collection::Load), 15);
  EXPECT_EQ(slotOf(&Collection::Remove), 16);
  EXPECT_EQ(slotOf(&Collection::Update), 17);
  EXPECT_EQ(slotOf(&Collection::GetConditionsFromKeyFields), 18);
  EXPECT_EQ(slotOf(&Collection::SetCorrelationName), 19);
  EXPECT_EQ(slotOf(&Collection::SetKeysOnly), 20);
  EXPECT_EQ(slotOf(&Collection::GetValue), 21);
}

TEST(PersistentCollectionInterface, GetValuePrefersTheNameAsGiven) {
  Rows rows;
  EXPECT_EQ(utf8(rows.GetValue(qx::test::values({{u"code", u"a"}, {u"CODE", u"b"}}), u"code")),
            "a");
}

TEST(PersistentCollectionInterface, GetValueThenTakesTheNameInCapitals) {
  Rows rows;
  const TyFieldValues row = qx::test::values({{u"T0.U_QTY", u"b"}, {u"t0.u_qty", u"c"}});
  EXPECT_EQ(utf8(rows.GetValue(row, u"T0.U_Qty")), "b");
}

TEST(PersistentCollectionInterface, GetValueNeverTakesTheNameInSmallLetters) {
  Rows rows;
  const CComVariant value = rows.GetValue(qx::test::values({{u"code", u"a"}}), u"CODE");
  EXPECT_EQ(value.vt, VT_I4);
  EXPECT_EQ(value.lVal, 0);
}

}  // namespace
}  // namespace Persistence
