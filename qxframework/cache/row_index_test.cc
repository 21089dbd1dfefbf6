#include "qxframework/cache/row_index.h"

#include "qxframework/cache/rows_in_cache.h"
#include "qxframework/cache/testing/cache_fixture.h"

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;

class RowIndex : public CacheFixture {
 protected:
  RowIndex() {
    answerRows({{u"A", 1}, {u"B", 2}, {u"C", 3}});
    rows.Load(param());
  }
  /// Fills the index with one list of rows.
  void fill(const TyFieldValues& values, const std::vector<const OLECHAR*>& codes) {
    TyKeysByValues keys = index.GetKeys();
    const qx_ptr<TyVector_KeyCollection> list(new TyVector_KeyCollection, true);
    for (const OLECHAR* each : codes) list->push_back(code(each));
    keys[values] = list;
    index.SetKeys(std::move(keys));
  }
  std::vector<std::string> found(const TyFieldValues& values, const CRowsInCache& cached) const {
    std::vector<qx_ptr<TyRow>> result;
    index.AppendRows(values, cached, result);
    std::vector<std::string> texts;
    for (const qx_ptr<TyRow>& row : result) texts.push_back(shown(row));
    return texts;
  }
  std::vector<std::string> found(const CComVariant& value) const {
    return found(values({{u"X", value}}), rows);
  }
  long rowsFound() const { return cache()->Counters().rowsFound; }

  CRowsInCache rows{host(), u"@T"};
  CRowIndex index{u"byX", {u"X"}};
};

constexpr char kA[] = "Code=A | Code=A U_N=1";
constexpr char kB[] = "Code=B | Code=B U_N=2";
constexpr char kC[] = "Code=C | Code=C U_N=3";

TEST_F(RowIndex, IsEmptyAtFirst) {
  EXPECT_EQ(utf8(index.GetName()), "byX");
  ASSERT_EQ(index.GetFields().size(), 1u);
  EXPECT_EQ(utf8(index.GetFields().front()), "X");
  EXPECT_TRUE(index.GetKeys().empty());
  EXPECT_THAT(found(1), IsEmpty());
}

TEST_F(RowIndex, FindsValuesOfEachTypeOfAColumn) {
  for (const CComVariant& value :
       {CComVariant(u"text"), CComVariant(u""), CComVariant(7), CComVariant(short{7}),
        CComVariant(2.5), CComVariant(45000.5, VT_DATE), CComVariant(true)}) {
    index.SetKeys();
    fill(values({{u"X", value}}), {u"B"});
    EXPECT_THAT(found(value), ElementsAre(kB)) << value.vt;
    EXPECT_THAT(found(u"other"), IsEmpty()) << value.vt;
    EXPECT_THAT(found(99), IsEmpty()) << value.vt;
  }
}

TEST_F(RowIndex, FindsAnEqualNumberOfAnotherType) {
  fill(values({{u"X", 2}}), {u"B"});
  EXPECT_THAT(found(2.0), ElementsAre(kB));
  EXPECT_THAT(found(short{2}), ElementsAre(kB));
  EXPECT_THAT(found(CComVariant(2.0, VT_DATE)), ElementsAre(kB));
  EXPECT_THAT(found(2.5), IsEmpty());
  EXPECT_THAT(found(u"2"), IsEmpty());
}

TEST_F(RowIndex, FindsAnEqualTextInAnotherForm) {
  fill(values({{u"X", u"Gr\u00F6\u00DFe"}}), {u"B"});
  EXPECT_THAT(found(u"Gr\u00F6\u00DFe"), ElementsAre(kB));
  EXPECT_THAT(found(u"Gro\u0308\u00DFe"), ElementsAre(kB));
  EXPECT_THAT(found(u"gr\u00F6\u00DFe"), IsEmpty());
}

// The lists of two values share neither bytes nor a part of them.
TEST_F(RowIndex, DoesNotMixTheTextsOfTwoFields) {
  const auto both = [](const OLECHAR* first, const OLECHAR* second) {
    return values({{u"X", first}, {u"Y", second}});
  };
  fill(both(u"ab", u"c"), {u"A"});
  fill(both(u"a", u"bc"), {u"B"});
  EXPECT_THAT(found(both(u"ab", u"c"), rows), ElementsAre(kA));
  EXPECT_THAT(found(both(u"a", u"bc"), rows), ElementsAre(kB));
  EXPECT_THAT(found(both(u"abc", u""), rows), IsEmpty());
}

TEST_F(RowIndex, ReturnsTheRowsInTheOrderOfTheirKeysAtEachSearch) {
  fill(values({{u"X", 1}}), {u"C", u"A", u"B"});
  fill(values({{u"X", 2}}), {u"B"});
  for (int i = 0; i < 3; ++i) {
    EXPECT_THAT(found(1), ElementsAre(kC, kA, kB));
    EXPECT_THAT(found(2), ElementsAre(kB));
  }
}

TEST_F(RowIndex, CountsEveryRowThatItReturns) {
  fill(values({{u"X", 1}}), {u"C", u"gone", u"A"});
  const long before = rowsFound();
  found(1);
  EXPECT_EQ(rowsFound(), before + 2);
  found(1);
  EXPECT_EQ(rowsFound(), before + 4);
  found(1.0);
  EXPECT_EQ(rowsFound(), before + 6);
  found(2);
  EXPECT_EQ(rowsFound(), before + 6);
}

TEST_F(RowIndex, CountsOnlyTheRowsThatItAppends) {
  fill(values({{u"X", 1}}), {u"A", u"B"});
  const long before = rowsFound();
  std::vector<qx_ptr<TyRow>> result;
  for (int i = 0; i < 3; ++i) index.AppendRows(values({{u"X", 1}}), rows, result);
  EXPECT_EQ(result.size(), 6U);
  EXPECT_EQ(rowsFound(), before + 6);
}

TEST_F(RowIndex, SeesEachChangeOfTheCache) {
  fill(values({{u"X", 1}}), {u"A", u"B", u"D"});
  EXPECT_THAT(found(1), ElementsAre(kA, kB));
  cache()->Update(u"@T", {code(u"B"), values({{u"U_N", 9}})});
  EXPECT_THAT(found(1), ElementsAre(kA, "Code=B | U_N=9"));
  cache()->DeleteByKey(u"@T", code(u"A"));
  EXPECT_THAT(found(1), ElementsAre("Code=B | U_N=9"));
  cache()->Add(u"@T", false, {code(u"D"), values({{u"U_N", 4}})});
  EXPECT_THAT(found(1), ElementsAre("Code=B | U_N=9", "Code=D | U_N=4"));
  cache()->ClearCache(true, false);
  EXPECT_THAT(found(1), IsEmpty());
  rows.Load(param());
  EXPECT_THAT(found(1), ElementsAre(kA, kB));
}

TEST_F(RowIndex, SeesRowsOfARecordSet) {
  fill(values({{u"X", 1}}), {u"A", u"D"});
  EXPECT_THAT(found(1), ElementsAre(kA));
  answerRows({{u"D", 4}});
  const CComPtr<IRecordset> recordSet = cache()->GetRecordSet();
  recordSet->DoQuery(u"SELECT");
  cache()->LoadRecordSetRowsToCache(param(), recordSet);
  EXPECT_THAT(found(1), ElementsAre(kA, "Code=D | Code=D U_N=4"));
}

TEST_F(RowIndex, SeesThatItsOnlyRowHasGoneAndComeBack) {
  fill(values({{u"X", 1}}), {u"A"});
  EXPECT_THAT(found(1), ElementsAre(kA));
  cache()->DeleteByKey(u"@T", code(u"A"));
  EXPECT_THAT(found(1), IsEmpty());
  EXPECT_THAT(found(1), IsEmpty());
  cache()->Add(u"@T", false, {code(u"A"), values({{u"U_N", 4}})});
  EXPECT_THAT(found(1), ElementsAre("Code=A | U_N=4"));
}

TEST_F(RowIndex, ReturnsTheRowsOfTheCacheThatIsAsked) {
  fill(values({{u"X", 1}}), {u"A"});
  answerRows({{u"A", 70}});
  CRowsInCache others(host(), u"@OTHER");
  others.Load(param());
  const TyFieldValues one = values({{u"X", 1}});
  EXPECT_THAT(found(one, rows), ElementsAre(kA));
  EXPECT_THAT(found(one, others), ElementsAre("Code=A | Code=A U_N=70"));
  EXPECT_THAT(found(one, rows), ElementsAre(kA));
}

TEST_F(RowIndex, SearchesItsNewContentOnly) {
  fill(values({{u"X", 1}}), {u"A"});
  EXPECT_THAT(found(1), ElementsAre(kA));
  index.SetKeys();
  EXPECT_THAT(found(1), IsEmpty());
  fill(values({{u"X", 2}}), {u"A"});
  EXPECT_THAT(found(1), IsEmpty());
  EXPECT_THAT(found(2), ElementsAre(kA));
}

TEST_F(RowIndex, ACopyGoesOnByItself) {
  fill(values({{u"X", 1}}), {u"A"});
  EXPECT_THAT(found(1), ElementsAre(kA));
  const CRowIndex copy = index;
  index.SetKeys();
  std::vector<qx_ptr<TyRow>> result;
  copy.AppendRows(values({{u"X", 1}}), rows, result);
  ASSERT_EQ(result.size(), 1u);
  EXPECT_EQ(shown(result.front()), kA);
}

TEST_F(RowIndex, WantsAsManyValuesAsItHasFields) {
  fill(values({{u"X", 1}}), {u"A"});
  try {
    found(values({{u"X", 1}, {u"Y", 1}}), rows);
    FAIL() << "no failure";
  } catch (const OLECHAR* failure) {
    EXPECT_EQ(qx::toUtf8(failure), "Not compatible TyFieldvalues for comparison");
  }
}

TEST_F(RowIndex, FindsEachOfManyValues) {
  constexpr int kMany = 2'000;
  TyKeysByValues keys;
  for (int i = 0; i < kMany; ++i) {
    const OLECHAR* const key = i % 3 == 0 ? u"A" : i % 3 == 1 ? u"B" : u"C";
    keys[values({{u"X", i}})] =
        qx_ptr<TyVector_KeyCollection>(new TyVector_KeyCollection{code(key)}, true);
  }
  index.SetKeys(std::move(keys));
  const char* const expected[] = {kA, kB, kC};
  for (int i = 0; i < kMany; ++i) EXPECT_THAT(found(i), ElementsAre(expected[i % 3])) << i;
  EXPECT_THAT(found(-1), IsEmpty());
  EXPECT_THAT(found(kMany), IsEmpty());
}

}  // namespace
}  // namespace Persistence
