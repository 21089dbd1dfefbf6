#include "qxframework/query/field_values.h"

#include "qxframework/foundation/currency.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/foundation/qx_ptr.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <stdexcept>
#include <string>

namespace Persistence {
namespace {

using qx::viewOf;

TyFieldValues twoFields() {
  TyFieldValues values;
  values.Add(u"Name", u"Nail");
  values.Add(u"Code", u"A");
  return values;
}

TyFieldValues ofValues(std::initializer_list<CComVariant> list) {
  TyFieldValues values;
  for (const CComVariant& value : list)
    values.Add(std::u16string(1, static_cast<char16_t>(u'a' + values.GetCount())), value);
  return values;
}

std::u16string text(const CComVariant& value) {
  return value.vt == VT_BSTR ? std::u16string(qx::viewOfBstr(value.bstrVal)) : u"no text";
}

TEST(FieldValues, PositionsAreInTheOrderOfAdding) {
  const TyFieldValues values = twoFields();
  EXPECT_EQ(values.GetCount(), 2);
  EXPECT_EQ(values.GetKeyAt(0).View(), u"Name");
  EXPECT_EQ(values.GetKeyAt(1).View(), u"Code");
  EXPECT_EQ(text(values.GetValueAt(0)), u"Nail");
  EXPECT_EQ(text(values.GetValueAt(1)), u"A");
}

TEST(FieldValues, AMissingPositionIsRefused) {
  const TyFieldValues values = twoFields();
  EXPECT_THROW((void)values.GetKeyAt(2), std::out_of_range);
  EXPECT_THROW((void)values.GetValueAt(-1), std::out_of_range);
}

TEST(FieldValues, GettersByPositionReturnCopies) {
  TyFieldValues values = twoFields();
  values.GetKeyAt(0) = u"Other";
  values.GetValueAt(0) = CComVariant(1);
  EXPECT_EQ(values.GetKeyAt(0).View(), u"Name");
  EXPECT_EQ(text(values.GetValueAt(0)), u"Nail");
}

TEST(FieldValues, ANameAddedTwiceHasTwoPositionsWithItsLastValue) {
  TyFieldValues values;
  values.Add(u"Code", 1);
  values.Add(u"Name", 2);
  values.Add(u"Code", 3);
  EXPECT_EQ(values.GetCount(), 3);
  EXPECT_EQ(values.GetKeyAt(0).View(), u"Code");
  EXPECT_EQ(values.GetKeyAt(2).View(), u"Code");
  EXPECT_EQ(values.GetValueAt(0).lVal, 3);
  EXPECT_EQ(values.GetValueAt(2).lVal, 3);
  EXPECT_EQ(values.FindIndex(u"Code"), 0);
}

TEST(FieldValues, NamesDifferByTheCaseOfALetter) {
  TyFieldValues values;
  values.Add(u"Code", 1);
  values.Add(u"CODE", 2);
  EXPECT_EQ(values.FindIndex(u"CODE"), 1);
  EXPECT_EQ(values[u"Code"].lVal, 1);
  EXPECT_EQ(values.FindIndex(u"code"), -1);
}

TEST(FieldValues, NamesThatAreEqualInTheUsersLocaleAreOne) {
  TyFieldValues values;
  values.Add(u"caf\u00E9", 1);
  EXPECT_EQ(values.FindIndex(u"cafe\u0301"), 0);
  values.SetValue(u"cafe\u0301", 2);
  EXPECT_EQ(values.GetCount(), 1);
  EXPECT_EQ(values.GetValueAt(0).lVal, 2);
}

TEST(FieldValues, EachPositionKeepsTheSpellingOfItsName) {
  TyFieldValues values;
  values.Add(u"caf\u00E9", 1);
  values.Add(u"Code", 2);
  values.Add(u"cafe\u0301", 3);
  EXPECT_EQ(values.GetKeyAt(0).View(), u"caf\u00E9");
  EXPECT_EQ(values.GetKeyAt(2).View(), u"cafe\u0301");
  EXPECT_EQ(values.GetValueAt(0).lVal, 3);
  EXPECT_EQ(values.GetValueAt(2).lVal, 3);
  EXPECT_EQ(values.FindIndex(u"cafe\u0301"), 0);
}

TEST(FieldValues, AnAsciiNameMayEqualOneWithOtherCharacters) {
  TyFieldValues values;
  values.Add(u"Co\u200Dde", 1);  // a sign that no order counts
  EXPECT_EQ(values.FindIndex(u"Code"), 0);
  values.Add(u"Code", 2);
  EXPECT_EQ(values.FindIndex(u"Code"), 0);
  EXPECT_EQ(values.GetValueAt(0).lVal, 2);
}

TEST(FieldValues, NamesEndAtTheirFirstZero) {
  TyFieldValues values;
  values.Add(std::u16string_view(u"Code\0x", 6), 1);
  EXPECT_EQ(values.FindIndex(u"Code"), 0);
  EXPECT_EQ(values[u"Code"].lVal, 1);
}

TEST(FieldValues, AValueIsSetByPositionForAllPositionsOfItsName) {
  TyFieldValues values = twoFields();
  values.Add(u"Name", u"Screw");
  values.SetValueAt(1, u"B");
  values.SetValueAt(2, u"Bolt");
  EXPECT_EQ(text(values.GetValueAt(0)), u"Bolt");
  EXPECT_EQ(text(values[u"Code"]), u"B");
  EXPECT_THROW(values.SetValueAt(3, 1), std::out_of_range);
}

TEST(FieldValues, SetValueChangesTheValueAndNoPosition) {
  TyFieldValues values = twoFields();
  values.SetValue(u"Code", u"B");
  EXPECT_EQ(values.GetCount(), 2);
  EXPECT_EQ(text(values.GetValueAt(1)), u"B");
}

TEST(FieldValues, AMissingNameHasNoIndex) { EXPECT_EQ(twoFields().FindIndex(u"Price"), -1); }

TEST(FieldValues, SetValueOfANewNameGivesItNoPosition) {
  TyFieldValues values;
  values.SetValue(u"Code", 1);
  EXPECT_EQ(values.GetCount(), 0);
  EXPECT_EQ(values[u"Code"].lVal, 1);
  try {
    (void)values.FindIndex(u"Code");
    FAIL() << "no exception";
  } catch (char* thrown) {
    EXPECT_STREQ(thrown, "internal unknown error");
  }
}

TEST(FieldValues, ANameWithoutAPositionGetsOneByAdd) {
  TyFieldValues values;
  values.SetValue(u"Code", 1);
  values.SetValue(u"Name", 2);
  values.SetValue(u"Code", 3);
  EXPECT_EQ(values[u"Code"].lVal, 3);
  values.Add(u"Code", 4);
  EXPECT_EQ(values.FindIndex(u"Code"), 0);
  EXPECT_EQ(values[u"Code"].lVal, 4);
  EXPECT_EQ(values[u"Name"].lVal, 2);
}

TEST(FieldValues, LookUpOfAMissingNameThrowsAPlainText) {
  const TyFieldValues values = twoFields();
  try {
    (void)values[u"Price"];
    FAIL() << "no exception";
  } catch (char* thrown) {
    EXPECT_STREQ(thrown, "Can't find the key in CMyMap");
  }
}

TEST(FieldValues, ThePlainTextCanBeCaughtAsConstantCharacters) {
  EXPECT_THROW((void)twoFields()[u"Price"], const char*);
}

TEST(FieldValues, GetValueOfAMissingNameIsZero) {
  const CComVariant value = twoFields().GetValue(u"Price");
  EXPECT_EQ(value.vt, VT_I4);
  EXPECT_EQ(value.lVal, 0);
}

TEST(FieldValues, GetValueOfANameIsACopy) {
  const TyFieldValues values = twoFields();
  CComVariant value = values.GetValue(u"Code");
  value.bstrVal[0] = u'X';
  EXPECT_EQ(text(values[u"Code"]), u"A");
}

TEST(FieldValues, ClearRemovesValuesAndPositions) {
  TyFieldValues values = twoFields();
  values.Clear();
  EXPECT_EQ(values.GetCount(), 0);
  EXPECT_EQ(values.FindIndex(u"Code"), -1);
  values.Add(u"Code", 9);
  EXPECT_EQ(values.GetValueAt(0).lVal, 9);
}

TEST(FieldValues, ANullNameIsTheEmptyOne) {
  TyFieldValues values;
  values.Add(CComBSTR(), 1);
  EXPECT_EQ(values.FindIndex(u""), 0);
  EXPECT_EQ(values.FindIndex(nullptr), 0);
}

TEST(FieldValues, AssignmentReplacesAllByThePositionsOfTheSource) {
  TyFieldValues source = twoFields();
  source.Add(u"Name", u"Again");
  TyFieldValues target;
  target.Add(u"Old", 1);
  target = source;
  EXPECT_EQ(target.GetCount(), 3);
  EXPECT_EQ(target.GetKeyAt(2).View(), u"Name");
  EXPECT_EQ(text(target.GetValueAt(0)), u"Again");
  EXPECT_EQ(target.FindIndex(u"Old"), -1);
}

TEST(FieldValues, AssignmentLeavesOutNamesWithoutAPosition) {
  TyFieldValues source = twoFields();
  source.SetValue(u"Hidden", 1);
  TyFieldValues target;
  target = source;
  EXPECT_EQ(target.FindIndex(u"Hidden"), -1);
}

TEST(FieldValues, AssignmentOfItselfKeepsIt) {
  TyFieldValues values = twoFields();
  const TyFieldValues& same = values;
  values = same;
  EXPECT_EQ(values.GetCount(), 2);
  EXPECT_EQ(text(values.GetValueAt(0)), u"Nail");
}

TEST(FieldValues, AMoveLeavesTheSourceEmpty) {
  TyFieldValues source = twoFields();
  const TyFieldValues target(std::move(source));
  EXPECT_EQ(target.GetCount(), 2);
  EXPECT_EQ(source.GetCount(), 0);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(source.FindIndex(u"Code"), -1);
}

TEST(FieldValues, MoveAssignmentReplacesAllAndLeavesTheSourceEmpty) {
  TyFieldValues source = twoFields();
  source.Add(u"Name", u"Again");
  TyFieldValues target;
  target.Add(u"Old", 1);
  target = std::move(source);
  EXPECT_EQ(target.GetCount(), 3);
  EXPECT_EQ(target.GetKeyAt(0).View(), u"Name");
  EXPECT_EQ(target.GetKeyAt(2).View(), u"Name");
  EXPECT_EQ(text(target.GetValueAt(0)), u"Again");
  EXPECT_EQ(text(target[u"Code"]), u"A");
  EXPECT_EQ(target.FindIndex(u"Old"), -1);
  EXPECT_EQ(source.GetCount(), 0);  // NOLINT(bugprone-use-after-move)
  EXPECT_FALSE(source.contains(u"Code"));
  EXPECT_FALSE(source.contains(u"Old"));
}

TEST(FieldValues, MoveAssignmentLeavesOutNamesWithoutAPosition) {
  TyFieldValues source = twoFields();
  source.SetValue(u"Hidden", 1);
  source.SetValue(u"Later", 2);
  source.Add(u"Later", 3);
  TyFieldValues target;
  target = std::move(source);
  EXPECT_FALSE(target.contains(u"Hidden"));
  EXPECT_EQ(target.FindIndex(u"Later"), 2);
  EXPECT_EQ(target[u"Later"].lVal, 3);
  EXPECT_EQ(text(target[u"Code"]), u"A");
  EXPECT_FALSE(source.contains(u"Hidden"));  // NOLINT(bugprone-use-after-move)
}

TEST(FieldValues, ConstructionByCopyOrMoveLeavesOutNamesWithoutAPosition) {
  TyFieldValues source = twoFields();
  source.SetValue(u"Hidden", 1);
  const TyFieldValues copy(source);
  EXPECT_FALSE(copy.contains(u"Hidden"));
  EXPECT_TRUE(source.contains(u"Hidden"));
  const TyFieldValues moved(std::move(source));
  EXPECT_FALSE(moved.contains(u"Hidden"));
  EXPECT_EQ(moved.GetCount(), 2);
}

TEST(FieldValues, MoveToItselfKeepsTheValues) {
  TyFieldValues values = twoFields();
  TyFieldValues& same = values;
  values = std::move(same);
  EXPECT_EQ(values.GetCount(), 2);
  EXPECT_EQ(text(values.GetValueAt(0)), u"Nail");
}

TEST(FieldValues, FindReturnsThePlaceOrNull) {
  const TyFieldValues values = twoFields();
  ASSERT_NE(values.find(u"Code"), nullptr);
  EXPECT_EQ(text(*values.find(u"Code")), u"A");
  EXPECT_EQ(values.find(u"Code"), values.find(u"Code"));
  EXPECT_EQ(values.find(u"Price"), nullptr);
}

TEST(FieldValues, ManyNamesAreFoundInAnyEqualForm) {
  constexpr int kMany = 50;
  TyFieldValues values;
  const auto name = [](const OLECHAR* letter, int i) {
    return CComBSTR(std::u16string(letter) + static_cast<char16_t>(u'0' + i));
  };
  for (int i = 0; i < kMany; ++i) values.Add(name(u"\u00E4", i), i);
  values.SetValue(u"unplaced", 77);
  for (int i = 0; i < kMany; ++i) {
    EXPECT_EQ(values[name(u"\u00E4", i)].lVal, i);
    EXPECT_EQ(values[name(u"a\u0308", i)].lVal, i);
    EXPECT_EQ(values.FindIndex(name(u"\u00E4", i)), i);
    EXPECT_EQ(values.FindIndex(name(u"a\u0308", i)), i);
    EXPECT_EQ(values.find(name(u"\u00C4", i)), nullptr);
  }
  EXPECT_EQ(values[u"unplaced"].lVal, 77);
  EXPECT_EQ(values.find(u"\u00E4"), nullptr);
  EXPECT_EQ(values.find(u"\u00E40x"), nullptr);
}

TEST(FieldValues, MemoryIsThatOfTheValues) {
  const TyFieldValues values = twoFields();
  EXPECT_EQ(values.memory()[1], &values.valueAt(0));
  const TyFieldValues copy = values;
  EXPECT_EQ(copy.memory(), values.memory());
  EXPECT_EQ(TyFieldValues().memory(), (std::array<const void*, 2>{}));
}

TEST(FieldValues, TheSameValuesUnderOtherNamesAreEqual) {
  TyFieldValues other;
  other.Add(u"X", u"Nail");
  other.Add(u"Y", u"A");
  EXPECT_TRUE(twoFields() == other);
  EXPECT_FALSE(twoFields() != other);
  EXPECT_FALSE(twoFields() < other);
}

TEST(FieldValues, ValuesAreComparedByPosition) {
  TyFieldValues swapped;
  swapped.Add(u"Code", u"A");
  swapped.Add(u"Name", u"Nail");
  EXPECT_FALSE(twoFields() == swapped);
}

TEST(FieldValues, ValuesOfDifferentTypesDiffer) {
  CComVariant null;
  null.vt = VT_NULL;
  EXPECT_TRUE(ofValues({null}) == ofValues({null}));
  EXPECT_FALSE(ofValues({1}) == ofValues({1.0}));
  EXPECT_TRUE(ofValues({}) == ofValues({}));
}

TEST(FieldValues, TheFirstDifferenceDecidesTheOrder) {
  EXPECT_TRUE(ofValues({1, 9}) < ofValues({2, 1}));
  EXPECT_FALSE(ofValues({2, 1}) < ofValues({1, 9}));
  EXPECT_TRUE(ofValues({1, 1}) < ofValues({1, 2}));
  EXPECT_FALSE(ofValues({1, 2}) < ofValues({1, 2}));
  EXPECT_TRUE(ofValues({u"a", 5}) < ofValues({u"B", 1}));
}

TEST(FieldValues, DifferentCountsCannotBeCompared) {
  try {
    (void)(ofValues({1}) == ofValues({1, 2}));
    FAIL() << "no exception";
  } catch (OLECHAR* thrown) {
    EXPECT_EQ(viewOf(thrown), u"Not compatible TyFieldvalues for comparison");
  }
  EXPECT_THROW((void)(ofValues({1}) < ofValues({})), const OLECHAR*);
}

TEST(FieldValues, ServeAsKeysOfAMap) {
  std::map<TyFieldValues, int> rows;
  rows[ofValues({u"B", 1})] = 1;
  rows[ofValues({u"A", 2})] = 2;
  rows[ofValues({u"A", 1})] = 3;
  rows[ofValues({u"B", 1})] = 4;
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_EQ(rows.begin()->second, 3);
  EXPECT_EQ(rows.rbegin()->second, 4);
}

TEST(FieldValues, ServeAsTheKeysOfManyRows) {
  const qx_ptr<TyVector_KeyCollection> keys(new TyVector_KeyCollection, true);
  keys->push_back(ofValues({1}));
  const qx_ptr<TyVector_KeyCollection> same = keys;
  EXPECT_EQ(same->size(), 1U);
  EXPECT_EQ(same->front().GetValueAt(0).lVal, 1);
}

TEST(Row, HoldsItsKeyApartFromItsOtherFields) {
  const qx_ptr<TyRow> row(new TyRow, true);
  row->m_KeyFields.Add(u"Code", u"A");
  row->m_Fields = twoFields();
  EXPECT_EQ(row->m_KeyFields.GetCount(), 1);
  EXPECT_EQ(row->m_Fields.GetCount(), 2);
}

/// The plain thing that a TyFieldValues must be like.
struct Model {
  std::map<std::u16string, int> values;
  std::vector<std::u16string> names;

  long indexOf(const std::u16string& name) const {
    for (std::size_t i = 0; i < names.size(); ++i)
      if (names[i] == name) return static_cast<long>(i);
    return -1;
  }
};

void expectAlike(const TyFieldValues& values, const Model& model) {
  ASSERT_EQ(values.GetCount(), static_cast<long>(model.names.size()));
  for (long i = 0; i < values.GetCount(); ++i) {
    const std::u16string& name = model.names[static_cast<std::size_t>(i)];
    EXPECT_EQ(values.GetKeyAt(i).View(), name);
    EXPECT_EQ(values.GetValueAt(i).lVal, model.values.at(name));
    EXPECT_EQ(values.FindIndex(name.c_str()), model.indexOf(name));
  }
}

TEST(FieldValues, TenThousandStepsMatchAMapAndAList) {
  std::mt19937 dice(20240131);
  TyFieldValues values;
  Model model;
  for (int step = 0; step < 10000; ++step) {
    const std::u16string name(1 + dice() % 2, static_cast<char16_t>(u'A' + dice() % 20));
    const int value = static_cast<int>(dice() % 1000);
    const auto choice = dice() % 100;
    if (choice < 3) {
      values.Clear();
      model = Model();
    } else if (choice < 40 && model.values.contains(name)) {
      values.SetValue(name, value);
      model.values[name] = value;
    } else if (model.names.size() < 40) {
      values.Add(name, value);
      model.values[name] = value;
      model.names.push_back(name);
    }
    ASSERT_NO_FATAL_FAILURE(expectAlike(values, model)) << step;
  }
}

TEST(FieldValues, ListOfFieldsAddsThemInOrder) {
  const TyFieldValues values{{u"B", 1}, {u"A", u"x"}};
  ASSERT_EQ(values.GetCount(), 2);
  EXPECT_EQ(values.keyAt(0).View(), u"B");
  EXPECT_EQ(values.valueAt(0).lVal, 1);
  EXPECT_EQ(values.keyAt(1).View(), u"A");
  EXPECT_EQ(text(values.valueAt(1)), u"x");
  EXPECT_EQ((TyFieldValues{{u"A", u"x"}}).GetCount(), 1);
  EXPECT_EQ((TyFieldValues{}).GetCount(), 0);
}

TEST(FieldValues, AddTakesTheFrameworksOwnValues) {
  TyFieldValues values;
  values.Add(u"Unsigned", 7u);
  values.Add(u"Text", std::u16string(u"text"));
  values.Add(CString(u"String"), CString(u"string"));
  values.Add(u"Date", CQXDateTime(2024, 2, 29, 0, 0, 0));
  values.Add(u"NoDate", CQXDateTime());
  values.Add(u"Amount", CQXCurrency(12.5));
  EXPECT_EQ(values[u"Unsigned"].vt, VT_I4);
  EXPECT_EQ(values[u"Unsigned"].lVal, 7);
  EXPECT_EQ(text(values[u"Text"]), u"text");
  EXPECT_EQ(text(values[u"String"]), u"string");
  EXPECT_EQ(values[u"Date"].vt, VT_DATE);
  EXPECT_EQ(values[u"Date"].date, 45351.0);
  EXPECT_EQ(values[u"NoDate"].vt, VT_DATE);
  EXPECT_EQ(values[u"NoDate"].date, 0.0);
  EXPECT_EQ(values[u"Amount"].vt, VT_R8);
  EXPECT_EQ(values[u"Amount"].dblVal, 12.5);
}

}  // namespace
}  // namespace Persistence
