// Names that contain brackets, quotes and whole statements, in every place that takes a name: the
// database refuses the statement, and nothing changes.

#include "qxframework/automation/text.h"
#include "qxframework/persistence/choose_list_helper.h"
#include "qxframework/query/link_criteria.h"
#include "qxframework/query/sort_field.h"
#include "tests/media/unchanged_orders.h"

#include <gmock/gmock.h>

namespace {

using Persistence::co_Equal;
using Persistence::CQXChooseListHelper;
using Persistence::CQXLinkFieldCriteria;
using Persistence::CQXLinkTableCriteria;
using Persistence::so_Descending;
using qx::test::Conditions;
using qx::test::failureOf;
using qx::test::medium;
using qx::test::OneRow;
using qx::test::Record;
using qx::test::Rows;
using qx::test::values;
using testing::StartsWith;

constexpr const OLECHAR* kNames[] = {u"U_N]o",
                                     u"U_N[o",
                                     u"[U_No]]",
                                     u"[U_No",
                                     u"U_N\"o",
                                     u"\"U_No",
                                     u"U_N'o",
                                     u"'",
                                     u"U No",
                                     u"",
                                     u"U_No; DELETE FROM HVPARTN",
                                     u"U_No FROM HVPARTN; DELETE FROM HVPARTN --",
                                     u"U_No] ; DELETE FROM [HVPARTN",
                                     u"U_No\" ; DELETE FROM \"HVPARTN",
                                     u"U_No--",
                                     u"U_No/*",
                                     u"nowhere",
                                     u"\xD83D"};

class BadNames : public qx::test::UnchangedOrders {
 protected:
  /// Expects that the database refuses `work` for each of the names.
  template <class Work>
  static void expectRefused(Work work) {
    for (const OLECHAR* name : kNames) {
      EXPECT_THAT(failureOf([&] { work(name); }), StartsWith("-2000: ")) << qx::toUtf8(name);
    }
  }
  /// Returns the orders under a correlation name, not loaded.
  Rows ordersUnder(const OLECHAR* correlation) const {
    Rows rows(company(), u"@ORDERS");
    rows.SetCorrelationName(correlation);
    rows.SetFields({u"Code"});
    return rows;
  }
  static CQXLinkTableCriteria linesJoined(const OLECHAR* correlation = u"T1",
                                          const OLECHAR* from = u"U_No",
                                          const OLECHAR* to = u"U_OrderNo") {
    CQXLinkTableCriteria link(u"@LINES", correlation, Persistence::jm_Inner, true);
    link.AddLinkFieldCriteria(CQXLinkFieldCriteria(from, to));
    link.SetFields({u"U_Item"});
    return link;
  }
  void loadJoin(const CQXLinkTableCriteria& link) const {
    Rows rows = ordersUnder(u"T0");
    rows.AddLinkTableCriteria(link);
    rows.Load({u"Code"}, {});
  }
};

TEST_F(BadNames, AreRefusedAsSelectedColumns) {
  expectRefused([&](const OLECHAR* name) {
    Rows rows(company(), u"@ORDERS");
    rows.SetFields({name});
    rows.Load({u"Code"}, {});
  });
}

TEST_F(BadNames, AreRefusedAsColumnsInConditions) {
  expectRefused([&](const OLECHAR* name) {
    Rows(company(), u"@ORDERS").Load({u"Code"}, Conditions().add(name, co_Equal, u"A").get());
  });
  expectRefused([&](const OLECHAR* name) {
    OneRow row;
    row.Connect(company(), u"@ORDERS", true);
    row.Load(Conditions().add(name, co_Equal, u"A").get());
  });
}

TEST_F(BadNames, AreRefusedAsAddedColumns) {
  expectRefused([&](const OLECHAR* name) {
    Rows(company(), u"@ORDERS").Add(Record{{name, u"A"}});
  });
}

TEST_F(BadNames, AreRefusedAsUpdatedColumns) {
  expectRefused([&](const OLECHAR* name) {
    Rows rows(company(), u"@ORDERS");
    rows.Load({u"Code"}, {});
    rows.Update(values({{u"Code", u"00000000"}}), Record{{name, u"A"}});
  });
  expectRefused([&](const OLECHAR* name) {
    OneRow row;
    row.Connect(company(), u"@ORDERS", true);
    row.Load(Conditions().add(u"U_No", co_Equal, u"A").get());
    row.Update(Record{{name, u"A"}});
  });
}

TEST_F(BadNames, AreRefusedAsColumnsInRemovals) {
  expectRefused([&](const OLECHAR* name) {
    Rows(company(), u"@ORDERS").RemoveRange(values({{name, u"A"}}), {});
  });
}

/// True if the dialect accepts the name. KORDB quotes names and refuses all of them. In the others,
/// a comment at the end of a query hides only the direction of the sorting, and a name of one
/// quote, selected and sorted by, makes a constant of the text between its two places.
bool isAccepted(std::u16string_view name, bool selectedAndSorted) {
  if (medium().is(qx::kKordb)) return false;
  if (!selectedAndSorted) return name == u"U_No--";
  return name == u"'" && !medium().is(qx::kDb2);  // DB2 selects nothing without a table
}

TEST_F(BadNames, AreRefusedAsKeyColumns) {
  for (const bool keysOnly : {true, false}) {
    for (const OLECHAR* name : kNames) {
      const std::string outcome = failureOf([&] {
        Rows rows(company(), u"@ORDERS");
        rows.SetKeysOnly(keysOnly);
        rows.Load({name}, {});
      });
      if (isAccepted(name, keysOnly)) {
        EXPECT_EQ(outcome, "no failure") << qx::toUtf8(name);
      } else {
        EXPECT_THAT(outcome, StartsWith("-2000: ")) << qx::toUtf8(name);
      }
    }
  }
}

TEST_F(BadNames, AreRefusedAsSortFields) {
  for (const OLECHAR* name : kNames) {
    const std::string outcome = failureOf([&] {
      Rows rows(company(), u"@ORDERS");
      rows.SetSortFields({{name, so_Descending}});
      rows.Load({u"Code"}, {});
    });
    if (isAccepted(name, false)) {
      EXPECT_EQ(outcome, "no failure") << qx::toUtf8(name);
    } else {
      EXPECT_THAT(outcome, StartsWith("-2000: ")) << qx::toUtf8(name);
    }
  }
}

TEST_F(BadNames, AreRefusedAsJoinedColumns) {
  expectRefused([&](const OLECHAR* name) { loadJoin(linesJoined(u"T1", name)); });
  expectRefused([&](const OLECHAR* name) { loadJoin(linesJoined(u"T1", u"U_No", name)); });
  expectRefused([&](const OLECHAR* name) {
    CQXLinkTableCriteria link = linesJoined();
    link.AddLinkFieldCriteria(CQXLinkFieldCriteria(name, CComVariant(1), co_Equal));
    loadJoin(link);
  });
  expectRefused([&](const OLECHAR* name) {
    CQXLinkTableCriteria link = linesJoined();
    link.SetFields({name});
    loadJoin(link);
  });
}

TEST_F(BadNames, AreRefusedAsJoinedTables) {
  for (const bool userTable : {true, false}) {
    expectRefused([&](const OLECHAR* name) {
      CQXLinkTableCriteria link(name, u"T1", Persistence::jm_Inner, userTable);
      link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_No", u"U_OrderNo"));
      loadJoin(link);
    });
  }
}

/// True if the name is a valid correlation name; an empty one means that there is none.
bool isValidCorrelation(std::u16string_view name) { return name == u"nowhere" || name.empty(); }

TEST_F(BadNames, AreRefusedAsCorrelationNames) {
  for (const OLECHAR* name : kNames) {
    if (isValidCorrelation(name)) continue;
    EXPECT_THAT(failureOf([&] { ordersUnder(name).Load({u"Code"}, {}); }), StartsWith("-2000: "))
        << qx::toUtf8(name);
    EXPECT_THAT(failureOf([&] { loadJoin(linesJoined(name)); }), StartsWith("-2000: "))
        << qx::toUtf8(name);
  }
  EXPECT_EQ(failureOf([&] { ordersUnder(u"nowhere").Load({u"Code"}, {}); }), "no failure");
  EXPECT_THAT(failureOf([&] { loadJoin(linesJoined(u"")); }), StartsWith("-2000: "));
}

TEST_F(BadNames, AreRefusedAsTables) {
  for (const OLECHAR* name :
       {u"@ORD]ERS", u"@ORDERS]", u"@ORD\"ERS", u"@ORDERS; DELETE FROM HVPARTN", u"@", u"@NOWHERE",
        u"NOWHERE", u"OR DERS", u"@ORDERS] T0 WHERE 1 = 1; DELETE FROM [HVPARTN", u"sqlite_master",
        u"pg_class", u"HVPARTN'"}) {
    EXPECT_THAT(loading(name, {u"Code"}), StartsWith("-2000: ")) << qx::toUtf8(name);
    Rows rows(company(), name);
    EXPECT_THAT(failureOf([&] {
                  rows.RemoveRange(values({{u"Code", u"A"}}), {});
                }),
                StartsWith("-2000: "))
        << qx::toUtf8(name);
    OneRow row;
    row.Connect(company(), name, true);
    EXPECT_THAT(failureOf([&] { row.Load(Conditions().add(u"Code", co_Equal, u"A").get()); }),
                StartsWith("-2000: "))
        << qx::toUtf8(name);
  }
  EXPECT_EQ(loading(u"", {u"Code"}),
            "Collection is not properly initialized, master table name is not set");
}

/// Runs the query of a choose list with one column and its title. Returns "no failure" or the text
/// of the company's last error.
std::string failureOfChooseList(const qx::test::Login& login, const OLECHAR* column,
                                const OLECHAR* title) {
  CSimpleMap<CComBSTR, CComBSTR> titles;
  titles.Add(column, title);
  CComBSTR text;
  CQXChooseListHelper::GetSQL(login.company(), titles, u"@ORDERS", true, u"", text);
  const std::string failure = failureOf([&] { login.query(std::u16string(text.View())); });
  return failure == "no failure" ? failure : login.lastError();
}

// DB2 and KORDB put titles into double quotes, the others into single quotes. A title must not
// contain the quote of its dialect.
TEST_F(BadNames, AreRefusedAsTitlesInChooseLists) {
  const bool doubleQuotes = medium().is(qx::kDb2) || medium().is(qx::kKordb);
  EXPECT_NE(failureOfChooseList(*login, u"U_No", doubleQuotes ? u"the \"best\"" : u"Ann's"),
            "no failure");
  EXPECT_EQ(failureOfChooseList(*login, u"U_No", doubleQuotes ? u"Ann's" : u"the \"best\""),
            "no failure");
  EXPECT_NE(failureOfChooseList(*login, u"U_No",
                                doubleQuotes ? u"x\" FROM HVPARTN; DELETE FROM \"HVPARTN"
                                             : u"x' FROM HVPARTN; DELETE FROM [HVPARTN]"),
            "no failure");
  EXPECT_NE(failureOfChooseList(*login, u"U_No", doubleQuotes ? u"\"" : u"'"), "no failure");
  for (const OLECHAR* name : kNames)
    EXPECT_NE(failureOfChooseList(*login, name, u"Title"), "no failure") << qx::toUtf8(name);
}

}  // namespace
