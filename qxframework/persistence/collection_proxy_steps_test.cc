// A step always gives the record the current row, under the names of the last statement.

#include "qxframework/persistence/collection_proxy.h"
#include "qxframework/persistence/testing/proxy_records.h"
#include "qxframework/query/condition.h"
#include "testing/scripted_company.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace Persistence {
namespace {

using qx::test::Item;
using qx::test::items;

const OLECHAR* const kCode = u"Code";
const OLECHAR* const kName = u"Name";

/// Records every row as "Name=Value" texts.
class Rows final : public CQXPersistentCollectionProxy {
 public:
  Rows() = default;
  void MapToContainer(const TyFieldValues& row, CQXValueContainer&) override {
    if (onRow) std::exchange(onRow, nullptr)();
    std::u16string text;
    for (long i = 0; i < row.GetCount(); ++i)
      text += row.keyAt(i).View(), text += u"=", text += qx::test::textIn(row, row.keyAt(i)) + u" ";
    seen.push_back(text);
  }
  void ContainerToMap(const CQXValueContainer&, TyFieldValues&) override {}

  std::vector<std::u16string> seen;
  std::function<void()> onRow;  // once
};

class CollectionProxySteps : public testing::Test {
 protected:
  CollectionProxySteps() {
    company->otherwise = items({{u"A", u"Nail"}, {u"B", u"Screw"}, {u"C", u"Bolt"}});
    rows.Connect(company.p, u"HVITEM", false);
    rows.SetKeysOnly(false);
    rows.Load({kCode}, {});
  }

  CComPtr<qx::test::ScriptedCompany> company = qx::test::makeScriptedCompany();
  Rows rows;
  Item item;
};

TEST_F(CollectionProxySteps, EachRowHasItsNamesAndValues) {
  rows.First(item);
  rows.Next(item);
  rows.Last(item);
  EXPECT_EQ(rows.seen, (std::vector<std::u16string>{u"Code=A Name=Nail ", u"Code=B Name=Screw ",
                                                    u"Code=C Name=Bolt "}));
}

TEST_F(CollectionProxySteps, AfterAnotherQueryTheRowsHaveItsNames) {
  rows.First(item);
  rows.SetMaxRecordCount(2);
  company->otherwise = {{u"Name", u"Price"}, {{u"Nut", u"1"}, {u"Tack", u"2"}}};
  rows.Load({kCode}, {});
  rows.First(item);
  rows.Next(item);
  EXPECT_EQ(rows.seen, (std::vector<std::u16string>{u"Code=A Name=Nail ", u"Name=Nut Price=1 ",
                                                    u"Name=Tack Price=2 "}));
}

TEST_F(CollectionProxySteps, ARepeatedQueryIsReadByItsOwnNames) {
  rows.First(item);
  company->otherwise = {{u"Code", u"Price"}, {{u"A", u"1"}, {u"B", u"2"}}};
  rows.Refresh(item);
  rows.First(item);
  EXPECT_EQ(rows.seen.back(), u"Code=A Price=1 ");
}

TEST_F(CollectionProxySteps, ARepeatedNameHasTheLastValueInEveryRow) {
  company->otherwise = {{u"Code", u"Code"}, {{u"A", u"X"}, {u"B", u"Y"}}};
  rows.SetMaxRecordCount(2);
  rows.Load({kCode}, {});
  rows.First(item);
  rows.Next(item);
  EXPECT_EQ(rows.seen, (std::vector<std::u16string>{u"Code=X Code=X ", u"Code=Y Code=Y "}));
}

TEST_F(CollectionProxySteps, TheRecordMayMoveTheCursorWhileItReadsItsRow) {
  rows.First(item);
  rows.onRow = [&] { rows.Next(item); };
  rows.Next(item);
  rows.Previous(item);
  EXPECT_EQ(rows.seen, (std::vector<std::u16string>{u"Code=A Name=Nail ", u"Code=C Name=Bolt ",
                                                    u"Code=B Name=Screw ", u"Code=B Name=Screw "}));
}

TEST_F(CollectionProxySteps, TheRecordMayRunAnotherQueryWhileItReadsItsRow) {
  rows.First(item);
  rows.onRow = [&] {
    company->otherwise = {{u"Name", u"Price"}, {{u"Nut", u"1"}, {u"Tack", u"2"}}};
    rows.SetMaxRecordCount(2);
    rows.Load({kName}, {});
  };
  rows.Next(item);
  rows.First(item);
  EXPECT_EQ(rows.seen, (std::vector<std::u16string>{u"Code=A Name=Nail ", u"Code=B Name=Screw ",
                                                    u"Name=Nut Price=1 "}));
}

TEST_F(CollectionProxySteps, AFailedRecordDoesNotAffectLaterRows) {
  rows.First(item);
  rows.onRow = [] { throw std::runtime_error("the record cannot be filled"); };
  EXPECT_THROW(rows.Next(item), std::runtime_error);
  rows.Next(item);
  EXPECT_EQ(rows.seen.back(), u"Code=C Name=Bolt ");
}

}  // namespace
}  // namespace Persistence
