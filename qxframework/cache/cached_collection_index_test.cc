// The indexes of a cached collection.

#include "qxframework/cache/cached_collection.h"
#include "qxframework/cache/testing/cached_collection_fixture.h"

#include <gmock/gmock.h>

#include <random>

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;

class CachedCollectionIndex : public CachedCollectionFixture {
 protected:
  CachedCollectionIndex() {
    answerRows({{u"A", 1}, {u"B", 2}, {u"C", 1}, {u"D", 3}});
    parts.AddIndex(u"byN", {u"U_N"});
  }
  static TyFieldValues number(int value) { return values({{u"U_N", value}}); }
  /// Returns the keys of the rows that an index has for the values.
  std::vector<std::string> found(const OLECHAR* name, const TyFieldValues& wanted) {
    std::vector<qx_ptr<TyRow>> result;
    parts.GetRowsByIndex(result, name, wanted);
    return keysOf(result);
  }
  static std::vector<std::string> keysOf(const std::vector<qx_ptr<TyRow>>& list) {
    std::vector<std::string> texts;
    for (const auto& row : list) texts.push_back(shown(row->m_KeyFields));
    return texts;
  }
};

/// A collection whose indexes the test holds.
class OpenParts : public Parts {
 public:
  static std::vector<std::string> contentOf(const CRowIndex& index) {
    std::vector<std::string> texts;
    for (const auto& [key, rows] : index.GetKeys()) {
      std::string text = shown(key) + ":";
      for (const TyFieldValues& each : *rows) text += " " + utf8(each.GetValue(u"Code"));
      texts.push_back(text);
    }
    return texts;
  }
};

TEST_F(CachedCollectionIndex, ReturnsTheRowsWithTheValuesInTheOrderOfTheirKeys) {
  EXPECT_THAT(found(u"byN", number(1)), ElementsAre("Code=A", "Code=C"));
  EXPECT_THAT(found(u"byN", number(2)), ElementsAre("Code=B"));
}

TEST_F(CachedCollectionIndex, AppendsToTheResultAndLeavesItIfNothingMatches) {
  std::vector<qx_ptr<TyRow>> result;
  parts.GetRowsByIndex(result, u"byN", number(2));
  parts.GetRowsByIndex(result, u"byN", number(9));
  EXPECT_THAT(keysOf(result), ElementsAre("Code=B"));
  parts.GetRowsByIndex(result, u"byN", number(1));
  EXPECT_THAT(keysOf(result), ElementsAre("Code=B", "Code=A", "Code=C"));
}

TEST_F(CachedCollectionIndex, MayHaveSeveralFieldsAndTakeThemFromTheKey) {
  parts.GetLoadParameter()->SetFields(nullptr);
  company->otherwise = {{u"__kf__.Code", u"U_N"}, {{u"A", 1}, {u"B", 2}}};
  parts.AddIndex(u"both", {u"U_N", u"Code"});
  EXPECT_THAT(found(u"both", values({{u"U_N", 2}, {u"Code", u"B"}})), ElementsAre("Code=B"));
  EXPECT_THAT(found(u"both", values({{u"U_N", 2}, {u"Code", u"A"}})), IsEmpty());
}

TEST_F(CachedCollectionIndex, FindsTheFirstRowAndLeavesTheCursor) {
  parts.First(part);
  parts.Next(part);
  EXPECT_TRUE(parts.FindInIndex(u"byN", number(1), &part));
  EXPECT_EQ(part.text(), "Code=A U_N=1");
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=C U_N=1");
  EXPECT_TRUE(parts.FindInIndex(u"byN", number(3), nullptr));
  EXPECT_FALSE(parts.FindInIndex(u"byN", number(9), &part));
  EXPECT_EQ(part.text(), "Code=C U_N=1");
}

TEST_F(CachedCollectionIndex, AnUnknownNameIsRefusedIfThereAreRows) {
  const std::string refusal = "-1: The collection has no index byX: call AddIndex before a search";
  EXPECT_EQ(refusalOf([this] { found(u"byX", number(1)); }), refusal);
  EXPECT_EQ(refusalOf([this] { parts.FindInIndex(u"byX", number(1), &part); }), refusal);
  parts.AddIndex(u"byX", {u"U_N"});
  EXPECT_THAT(found(u"byX", number(2)), ElementsAre("Code=B"));
  parts.RemoveIndex(u"byX");
  EXPECT_EQ(refusalOf([this] { found(u"byX", number(1)); }), refusal);
  parts.RemoveIndex(u"byX");
  parts.ClearAllIndexes();
  EXPECT_EQ(refusalOf([this] { found(u"byN", number(1)); }),
            "-1: The collection has no index byN: call AddIndex before a search");
}

TEST_F(CachedCollectionIndex, WithoutRowsNothingIsFoundUnderAnyName) {
  answerRows({});
  EXPECT_THAT(found(u"byN", number(1)), IsEmpty());
  EXPECT_FALSE(parts.FindInIndex(u"byX", number(1), &part));
}

TEST_F(CachedCollectionIndex, HasTheOnlyRow) {
  answerRows({{u"A", 1}});
  EXPECT_THAT(found(u"byN", number(1)), ElementsAre("Code=A"));
}

TEST_F(CachedCollectionIndex, AFieldThatTheRowsLackIsRefused) {
  parts.AddIndex(u"byX", {u"U_N", u"U_X"});
  EXPECT_EQ(refusalOf([this] {
              found(u"byX", values({{u"U_N", 1}, {u"U_X", 1}}));
            }),
            "-1: The rows have no field U_X for the index byX: load it, or remove the index");
  EXPECT_THAT(found(u"byN", number(2)), ElementsAre("Code=B"));
}

TEST_F(CachedCollectionIndex, AnIndexThatIsAddedAgainReplacesTheFirst) {
  EXPECT_THAT(found(u"byN", number(2)), ElementsAre("Code=B"));
  parts.AddIndex(u"byN", {u"Code"});
  EXPECT_THAT(found(u"byN", code(u"C")), ElementsAre("Code=C"));
}

TEST_F(CachedCollectionIndex, KeepsItsContentUntilTheNextLoad) {
  EXPECT_THAT(found(u"byN", number(2)), ElementsAre("Code=B"));
  parts.Update(code(u"B"), Part(u"B", 9));
  EXPECT_THAT(found(u"byN", number(2)), ElementsAre("Code=B"));
  EXPECT_THAT(found(u"byN", number(9)), IsEmpty());
  parts.Load();
  EXPECT_THAT(found(u"byN", number(2)), IsEmpty());
  EXPECT_THAT(found(u"byN", number(9)), ElementsAre("Code=B"));
}

TEST_F(CachedCollectionIndex, ReturnsTheRowAsTheCacheHasIt) {
  EXPECT_TRUE(parts.FindInIndex(u"byN", number(2), &part));
  parts.Update(code(u"B"), Part(u"B", 9));
  EXPECT_TRUE(parts.FindInIndex(u"byN", number(2), &part));
  EXPECT_EQ(part.text(), "Code=B U_N=9");
}

TEST_F(CachedCollectionIndex, IsBuiltAgainAfterItsContentIsCleared) {
  EXPECT_THAT(found(u"byN", number(2)), ElementsAre("Code=B"));
  parts.Update(code(u"B"), Part(u"B", 9));
  parts.ClearIndexContent();
  EXPECT_THAT(found(u"byN", number(9)), ElementsAre("Code=B"));
}

TEST_F(CachedCollectionIndex, PassesOverARowThatTheCacheNoLongerHas) {
  EXPECT_THAT(found(u"byN", number(1)), ElementsAre("Code=A", "Code=C"));
  parts.Remove(code(u"A"));
  EXPECT_THAT(found(u"byN", number(1)), ElementsAre("Code=C"));
  EXPECT_TRUE(parts.FindInIndex(u"byN", number(1), &part));
  EXPECT_EQ(part.text(), "Code=C U_N=1");
  parts.ClearIndexContent();
  EXPECT_THAT(found(u"byN", number(1)), ElementsAre("Code=C"));
  parts.Remove(code(u"C"));
  EXPECT_FALSE(parts.FindInIndex(u"byN", number(1), &part));
}

TEST_F(CachedCollectionIndex, IsBuiltFromGivenKeysOrFromAllRows) {
  OpenParts open;
  setUp(open);
  open.Load();
  const qx_ptr<CRowIndex> index(new CRowIndex(u"byN", {u"U_N"}), true);
  open.BuildIndex(index, {});
  EXPECT_THAT(OpenParts::contentOf(*index), ElementsAre("U_N=1: A C", "U_N=2: B", "U_N=3: D"));
  const qx_ptr<TyVector_KeyCollection> keys(
      new TyVector_KeyCollection{code(u"D"), code(u"C"), code(u"gone"), code(u"A")}, true);
  open.BuildIndex(index, keys);
  EXPECT_THAT(OpenParts::contentOf(*index), ElementsAre("U_N=1: C A", "U_N=3: D"));
}

TEST_F(CachedCollectionIndex, ABuildThatIsRefusedLeavesTheContent) {
  OpenParts open;
  setUp(open);
  open.Load();
  const qx_ptr<CRowIndex> index(new CRowIndex(u"byN", {u"U_N"}), true);
  open.BuildIndex(index, {});
  const qx_ptr<CRowIndex> other(new CRowIndex(u"byX", {u"U_X"}), true);
  other->SetKeys(index->GetKeys());
  EXPECT_EQ(refusalOf([&] { open.BuildIndex(other, {}); }),
            "-1: The rows have no field U_X for the index byX: load it, or remove the index");
  EXPECT_THAT(OpenParts::contentOf(*other), ElementsAre("U_N=1: A C", "U_N=2: B", "U_N=3: D"));
  EXPECT_EQ(refusalOf([&] { open.BuildIndex({}, {}); }), "-1: BuildIndex needs an index");
}

TEST_F(CachedCollectionIndex, AllAreRebuiltFromTheRows) {
  class Counting : public Parts {
   public:
    void BuildIndex(qx_ptr<CRowIndex> index, qx_ptr<TyVector_KeyCollection> keys) override {
      built.push_back(utf8(index->GetName()));
      lists.push_back(keys);
      Parts::BuildIndex(index, keys);
    }
    std::vector<std::string> built;
    std::vector<qx_ptr<TyVector_KeyCollection>> lists;
  };
  Counting counting;
  setUp(counting);
  counting.Load();
  counting.RebuildIndexes();
  EXPECT_THAT(counting.built, IsEmpty());
  counting.AddIndex(u"b", {u"U_N"});
  counting.AddIndex(u"a", {u"Code"});
  counting.RebuildIndexes();
  counting.RebuildIndexes();
  EXPECT_THAT(counting.built, ElementsAre("a", "b", "a", "b"));
  EXPECT_EQ(counting.lists[0].get(), counting.lists[1].get());
  ASSERT_NE(counting.lists[0].get(), nullptr);
  EXPECT_EQ(counting.lists[0]->size(), 4u);
  counting.FindInIndex(u"a", code(u"A"), &part);
  EXPECT_EQ(counting.built.size(), 4u);
  counting.Load();
  counting.FindInIndex(u"a", code(u"A"), &part);
  EXPECT_EQ(counting.built.size(), 5u);
  EXPECT_EQ(counting.lists.back().get(), nullptr);
}

TEST_F(CachedCollectionIndex, ACopyHasIndexesOfItsOwn) {
  EXPECT_THAT(found(u"byN", number(2)), ElementsAre("Code=B"));
  Parts copy(parts);
  copy.RemoveIndex(u"byN");
  EXPECT_THAT(found(u"byN", number(2)), ElementsAre("Code=B"));
  Parts second(parts);
  parts.ClearIndexContent();
  parts.Update(code(u"B"), Part(u"B", 9));
  EXPECT_TRUE(second.FindInIndex(u"byN", number(2), &part));
}

TEST_F(CachedCollectionIndex, AnAssignmentReplacesTheIndexes) {
  Parts target;
  setUp(target);
  target.AddIndex(u"old", {u"U_N"});
  target = parts;
  EXPECT_TRUE(target.FindInIndex(u"byN", number(2), &part));
  EXPECT_EQ(refusalOf([&] { target.FindInIndex(u"old", number(2), &part); }),
            "-1: The collection has no index old: call AddIndex before a search");
}

TEST_F(CachedCollectionIndex, WantsAsManyValuesAsItHasFields) {
  try {
    found(u"byN", values({{u"U_N", 1}, {u"Code", u"A"}}));
    FAIL() << "no failure";
  } catch (const OLECHAR* failure) {
    EXPECT_EQ(qx::toUtf8(failure), "Not compatible TyFieldvalues for comparison");
  }
}

TEST_F(CachedCollectionIndex, FindsWhatASearchOfAllRowsFinds) {
  std::mt19937 random(20261122);
  company->otherwise = {{u"__kf__.Code", u"Code", u"U_N", u"U_T"}, {}};
  std::multimap<int, std::string> model;
  for (int i = 0; i < 500; ++i) {
    const std::u16string text = qx::toUtf16(std::to_string(1000 + i));
    const int value = static_cast<int>(random() % 40);
    company->otherwise.rows.push_back(
        {std::u16string_view(text), std::u16string_view(text), value, value % 7});
    model.emplace(value, "Code=" + std::to_string(1000 + i));
  }
  parts.AddIndex(u"both", {u"U_T", u"U_N"});
  for (int value = -1; value < 42; ++value) {
    std::vector<std::string> expected;
    const auto [begin, end] = model.equal_range(value);
    for (auto each = begin; each != end; ++each) expected.push_back(each->second);
    EXPECT_EQ(found(u"byN", number(value)), expected) << value;
    EXPECT_EQ(found(u"both", values({{u"U_T", value % 7}, {u"U_N", value}})), expected) << value;
  }
}

}  // namespace
}  // namespace Persistence
