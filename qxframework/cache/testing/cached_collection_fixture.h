#pragma once

// A cached collection of the rows of @T over a scripted company.

#include "qxframework/cache/cached_collection.h"
#include "qxframework/cache/testing/cache_fixture.h"
#include "qxframework/query/value_container.h"

#include <functional>

namespace qx::test {

struct Part : Persistence::CQXValueContainer {
  Part() = default;
  Part(const OLECHAR* codeOfPart, int number)
      : row(values({{u"Code", codeOfPart}, {u"U_N", number}})) {}
  explicit Part(TyFieldValues fields) : row(std::move(fields)) {}
  std::string text() const { return shown(row); }

  TyFieldValues row;
};

/// Copies whole rows, so that a test sees what the conversion got.
class Parts : public Persistence::CQXPersistentCollection_CacheBased {
 public:
  void MapToContainer(const TyFieldValues& row,
                      Persistence::CQXValueContainer& container) override {
    if (reading) reading();
    dynamic_cast<Part&>(container).row = row;
  }
  void ContainerToMap(const Persistence::CQXValueContainer& container,
                      TyFieldValues& row) override {
    if (writing) writing();
    row = dynamic_cast<const Part&>(container).row;
  }
  using CQXPersistentCollection_CacheBased::_checkAndLoad;
  using CQXPersistentCollection_CacheBased::GetLoadParaFromKey;

  std::function<void()> reading;  // runs first when a record is read
  std::function<void()> writing;  // and when it is written
};

class CachedCollectionFixture : public CacheFixture {
 protected:
  CachedCollectionFixture() {
    setUp(parts);
    answerRows({{u"A", 1}, {u"B", 2}, {u"C", 1}});
  }
  /// Connects a collection to @T and lets it load all rows by the key Code.
  void setUp(Parts& collection, bool userTable = false) {
    collection.Connect(host(), u"@T", userTable, nullptr);
    const std::vector<CComBSTR> keys{u"Code"};
    collection.GetLoadParameter()->SetKeyFields(&keys);
    collection.GetLoadParameter()->SetPrefetchBehavior(Persistence::pb_AllRows, nullptr, 0);
    wait(1);
  }
  /// Sends what was written and returns the statements since the last call.
  std::vector<std::string> sent() {
    cache()->FlushToDB();
    return statements();
  }
  /// Returns the keys of all rows, read by First and Next.
  static std::string codes(Parts& collection) {
    std::string text;
    Part each;
    if (collection.First(each) != 0) return text;
    do text += utf8(each.row.GetValue(u"Code"));
    while (collection.Next(each) == 0);
    return text;
  }

  Parts parts;
  Part part;
};

}  // namespace qx::test
