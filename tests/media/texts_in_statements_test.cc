// Texts that are hard to quote, in every place of a statement that takes a text: new values,
// conditions, keys, constants of joins and the conditions of a removal.

#include "qxframework/automation/text.h"
#include "qxframework/query/link_criteria.h"
#include "testing/cases.h"
#include "tests/media/company_fixture.h"
#include "tests/media/hostile_values.h"

#include <gmock/gmock.h>

namespace {

using Persistence::co_Equal;
using Persistence::co_Like;
using Persistence::CQXLinkFieldCriteria;
using Persistence::CQXLinkTableCriteria;
using qx::test::asReadBack;
using qx::test::Conditions;
using qx::test::failureOf;
using qx::test::OneRow;
using qx::test::Record;
using qx::test::Rows;
using qx::test::values;
using testing::ElementsAre;
using testing::MatchesRegex;

constexpr std::u16string_view kTexts[] = {u"O'Brien",
                                          u"'",
                                          u"''",
                                          u"a\x7F"
                                          u"b",
                                          u"line\r\nline",
                                          u"\n",
                                          u"a\\",
                                          u"😀 漢字",
                                          u"-- x",
                                          u"/* x",
                                          u"x';DELETE FROM HVPARTN;--",
                                          u"[x]",
                                          u"\"x\"",
                                          u"?",
                                          u"{d '1'}",
                                          u" blank "};

CComVariant variantOf(std::u16string_view text) { return CComVariant(text); }

class TextsInStatements : public qx::test::CompanyFixture {
 protected:
  /// Fills @ORDERS with two rows: "it", whose Note is the text, and "other", whose Note is "other".
  void makeRows(std::u16string_view text) {
    Rows rows(company(), u"@ORDERS");
    rows.RemoveRange(values({{u"U_Count", 1L}}), {});
    rows.Add(Record{{u"U_No", u"it"}, {u"U_Note", variantOf(text)}, {u"U_Count", 1L}});
    rows.Add(Record{{u"U_No", u"other"}, {u"U_Note", u"other"}, {u"U_Count", 1L}});
  }
  std::vector<std::string> numbers(const qx_ptr<Persistence::CConditions>& conditions = {}) const {
    Rows rows(company(), u"@ORDERS");
    rows.SetFields({u"U_No"});
    rows.Load({u"U_No"}, conditions);
    return rows.all();
  }
  /// Returns one line joined to the orders whose Note is the text, a constant of the join.
  std::vector<std::string> joinedBy(std::u16string_view text) const {
    Rows lines(company(), u"@LINES");
    lines.RemoveRange(values({{u"U_OrderNo", u"line"}}), {});
    lines.Add(Record{{u"U_OrderNo", u"line"}});
    CQXLinkTableCriteria link(u"@ORDERS", u"T1", Persistence::jm_Inner, true);
    link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Note", variantOf(text), co_Equal));
    link.SetFields({u"U_No"});
    Rows joined(company(), u"@LINES");
    joined.SetCorrelationName(u"T0");
    joined.SetFields({u"U_OrderNo"});
    joined.AddLinkTableCriteria(link);
    joined.Load({u"Code"}, {});
    return joined.all();
  }
  /// Returns the Note of the row as it is read back: a search in the cursor compares with that.
  static Persistence::TyFieldValues keyOf(std::u16string_view text) {
    return values({{u"U_Note", variantOf(asReadBack(std::u16string(text)))}});
  }
  /// Calls `check` with each of kTexts, after makeRows() with it.
  template <class Check>
  void withEachText(Check check) {
    for (const std::u16string_view text : kTexts) {
      SCOPED_TRACE(qx::toUtf8(text));
      makeRows(text);
      check(text);
    }
  }
};

TEST_F(TextsInStatements, AreWrittenByUpdatesOfACollection) {
  withEachText([&](std::u16string_view text) {
    Rows rows(company(), u"@ORDERS");
    rows.Load({u"U_No"}, {});
    rows.Update(values({{u"U_No", u"other"}}), Record{{u"U_Note", variantOf(text)}});
    EXPECT_THAT(numbers(Conditions().add(u"U_Note", co_Equal, CComBSTR(text)).get()),
                ElementsAre("it", "other"));
  });
}

TEST_F(TextsInStatements, AreWrittenByUpdatesOfAnObject) {
  withEachText([&](std::u16string_view text) {
    OneRow row;
    row.Connect(company(), u"@ORDERS", true);
    row.Load(Conditions().add(u"U_No", co_Equal, u"other").get());
    row.Update(Record{{u"U_Note", variantOf(text)}});
    row.Refresh();
    Record record;
    row.GetFields(record);
    EXPECT_TRUE(qx::viewOfBstr(record.row[u"U_Note"].bstrVal) == asReadBack(std::u16string(text)));
  });
}

TEST_F(TextsInStatements, AreFoundByConditions) {
  withEachText([&](std::u16string_view text) {
    EXPECT_THAT(numbers(Conditions().add(u"U_Note", co_Equal, CComBSTR(text)).get()),
                ElementsAre("it"));
    OneRow row;
    row.Connect(company(), u"@ORDERS", true);
    row.SetFields({u"U_No"});
    row.Load(Conditions().add(u"U_Note", co_Equal, CComBSTR(text)).get());
    Record record;
    row.GetFields(record);
    EXPECT_EQ(record.text(), "it");
  });
}

// Brackets are skipped: among these texts they alone have a meaning in a pattern.
TEST_F(TextsInStatements, AreFoundByPatterns) {
  withEachText([&](std::u16string_view text) {
    if (text == u"[x]") return;
    const std::u16string pattern = u"%" + std::u16string(text) + u"%";
    EXPECT_THAT(numbers(Conditions().add(u"U_Note", co_Like, pattern.c_str()).get()),
                ElementsAre("it"));
  });
}

TEST_F(TextsInStatements, AreFoundByTheCursor) {
  withEachText([&](std::u16string_view text) {
    for (const bool keysOnly : {false, true}) {
      Rows rows(company(), u"@ORDERS");
      rows.SetKeysOnly(keysOnly);
      rows.SetFields({u"U_No", u"U_Note"});
      rows.Load({u"U_Note"}, {});
      Record record;
      EXPECT_TRUE(rows.Find(keyOf(text), record));
      EXPECT_EQ(record.of(u"U_No"), "it");
      record = {};
      rows.GetByKey(keyOf(text), record);
      EXPECT_EQ(record.of(u"U_No"), "it");
    }
  });
}

TEST_F(TextsInStatements, ExistAsKeys) {
  withEachText([&](std::u16string_view text) {
    Rows rows(company(), u"@ORDERS");
    rows.Load({u"U_Note"}, {});
    EXPECT_TRUE(rows.Exists(values({{u"U_Note", variantOf(text)}})));
    EXPECT_FALSE(rows.Exists(values({{u"U_Note", variantOf(std::u16string(text) + u"'")}})));
  });
}

TEST_F(TextsInStatements, SelectRowsAsConstantsOfJoins) {
  withEachText(
      [&](std::u16string_view text) { EXPECT_THAT(joinedBy(text), ElementsAre("line|it")); });
}

TEST_F(TextsInStatements, RemoveRowsAsKeys) {
  withEachText([&](std::u16string_view text) {
    Rows(company(), u"@ORDERS").RemoveRange(values({{u"U_Note", variantOf(text)}}), {});
    EXPECT_THAT(numbers(), ElementsAre("other"));
    makeRows(text);
    Rows rows(company(), u"@ORDERS");
    rows.SetFields({u"U_No", u"U_Note"});
    rows.Load({u"U_Note"}, {});
    rows.Remove(keyOf(text));
    EXPECT_THAT(numbers(), ElementsAre("other"));
  });
}

// QX_TEST_CASES_FACTOR=10 makes it a million UTF-16 units.
TEST_F(TextsInStatements, MayBeVeryLong) {
  const std::size_t length = qx::test::cases(100'000);
  const std::u16string line = u"it's 漢字 😀 \\ 100 \"x\" -- y\r\n";
  std::u16string text;
  while (text.size() < length) text += line;
  makeRows(u"short");
  Rows rows(company(), u"@ORDERS");
  rows.SetFields({u"U_No", u"U_Note"});
  rows.Load({u"U_No"}, {});
  rows.Update(values({{u"U_No", u"it"}}), Record{{u"U_Note", variantOf(text)}});
  OneRow row;
  row.Connect(company(), u"@ORDERS", true);
  row.SetFields({u"U_Note"});
  row.Load(Conditions().add(u"U_Note", co_Equal, text.c_str()).get());
  Record record;
  row.GetFields(record);
  EXPECT_TRUE(qx::viewOfBstr(record.row[u"U_Note"].bstrVal) == text);
  Rows byText(company(), u"@ORDERS");
  byText.Load({u"U_Note"}, {});
  EXPECT_TRUE(byText.Find(keyOf(text), record));
  EXPECT_TRUE(byText.Exists(keyOf(text)));
  EXPECT_THAT(joinedBy(text), ElementsAre("line|it"));
  // A pattern has at most 4,000 characters.
  std::u16string start;
  while (start.size() < 3900) start += line;
  EXPECT_THAT(numbers(Conditions().add(u"U_Note", co_Like, (start + u"%").c_str()).get()),
              ElementsAre("it"));
  byText.RemoveRange(keyOf(text), {});
  EXPECT_THAT(numbers(), ElementsAre("other"));
}

// ---- texts that no database stores

class InvalidTexts : public TextsInStatements {
 protected:
  InvalidTexts() { makeRows(u"kept"); }
  /// Fails a test that has changed a row.
  void TearDown() override {
    Rows rows(company(), u"@ORDERS");
    rows.SetFields({u"U_No", u"U_Note"});
    rows.Load({u"U_No"}, {});
    EXPECT_THAT(rows.all(), ElementsAre("it|kept", "other|other"));
  }
  /// Expects that `work` is refused for each invalid text.
  template <class Work>
  static void expectRefused(Work work) {
    for (const std::u16string_view text :
         {std::u16string_view(u"high\xD83D"), std::u16string_view(u"\xDE00low"),
          std::u16string_view(u"\xDE00\xD83D"), std::u16string_view(u"kept\0'", 6)}) {
      EXPECT_THAT(failureOf([&] { work(text); }),
                  MatchesRegex("-2000: the statement holds (half of a surrogate pair|a zero "
                               "character) \\(line 1, column [0-9]+\\)"));
    }
  }
};

TEST_F(InvalidTexts, AreRefusedInUpdates) {
  expectRefused([&](std::u16string_view text) {
    Rows rows(company(), u"@ORDERS");
    rows.Load({u"U_No"}, {});
    rows.Update(values({{u"U_No", u"other"}}), Record{{u"U_Note", variantOf(text)}});
  });
  expectRefused([&](std::u16string_view text) {
    OneRow row;
    row.Connect(company(), u"@ORDERS", true);
    row.Load(Conditions().add(u"U_No", co_Equal, u"other").get());
    row.Update(Record{{u"U_Note", variantOf(text)}});
  });
}

TEST_F(InvalidTexts, AreRefusedInRemovals) {
  expectRefused([&](std::u16string_view text) {
    Rows(company(), u"@ORDERS").RemoveRange(values({{u"U_Note", variantOf(text)}}), {});
  });
}

TEST_F(InvalidTexts, AreRefusedInJoins) {
  expectRefused([&](std::u16string_view text) {
    CQXLinkTableCriteria link(u"@LINES", u"T1", Persistence::jm_LeftOuter, true);
    link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Item", variantOf(text), co_Equal));
    Rows rows(company(), u"@ORDERS");
    rows.SetCorrelationName(u"T0");
    rows.AddLinkTableCriteria(link);
    rows.Load({u"Code"}, {});
  });
}

TEST_F(InvalidTexts, AreNotFound) {
  Rows rows(company(), u"@ORDERS");
  rows.Load({u"U_Note"}, {});
  Record record;
  for (const OLECHAR* text : {u"kept\xD83D", u"\xDE00kept", u"\xDE00\xD83D"}) {
    const auto key = values({{u"U_Note", text}});
    EXPECT_FALSE(rows.Find(key, record));
    EXPECT_FALSE(rows.Exists(key));
  }
}

// A search in the cursor compares up to the first zero character; a statement takes the whole text.
TEST_F(InvalidTexts, AreFoundByThePartBeforeAZeroCharacter) {
  Rows rows(company(), u"@ORDERS");
  rows.Load({u"U_Note"}, {});
  const auto key = values({{u"U_Note", variantOf(std::u16string_view(u"kept\0x", 6))}});
  Record record;
  EXPECT_TRUE(rows.Find(key, record));
  EXPECT_EQ(record.of(u"U_No"), "it");
  EXPECT_FALSE(rows.Exists(key));
}

// A text with a zero character cannot be tested here: the setters of a condition take a
// zero-terminated text.
TEST_F(InvalidTexts, AreRefusedInConditions) {
  for (const Persistence::HvConditionOperation operation : {co_Equal, co_Like}) {
    for (const OLECHAR* text : {u"high\xD83D", u"\xDE00low", u"\xDE00\xD83D"}) {
      EXPECT_THAT(failureOf([&] { numbers(Conditions().add(u"U_Note", operation, text).get()); }),
                  MatchesRegex("-2000: the statement holds half of a surrogate pair .*"));
      OneRow row;
      row.Connect(company(), u"@ORDERS", true);
      EXPECT_THAT(failureOf([&] { row.Load(Conditions().add(u"U_Note", operation, text).get()); }),
                  MatchesRegex("-2000: the statement holds half of a surrogate pair .*"));
    }
  }
}

}  // namespace
