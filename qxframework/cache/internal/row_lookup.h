#pragma once

// The rows of an index by the exact form of their values, that is their types and bytes. It spares
// a search the comparisons of an ordered map, which for texts follow the rules of the locale.

#include "qxframework/cache/row_index.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qx {

class RowLookup {
 public:
  /// Shares the lists of the content, which must not change.
  explicit RowLookup(const Persistence::TyKeysByValues& content);

  /// Appends the rows that the cache has for these values and returns true. Returns false if no
  /// values of the content have this form; equal ones in another form may be there.
  bool appendRows(const Persistence::TyFieldValues& values, const Persistence::CRowsInCache& cache,
                  std::vector<qx_ptr<Persistence::TyRow>>& result);

 private:
  using Rows = std::vector<qx_ptr<Persistence::TyRow>>;
  // A list and its rows in one version of the cache. Among many rows each place in memory that a
  // search has to visit takes longer than its comparisons. So an entry has its first row itself,
  // and fits into one line of the processor's cache.
  struct alignas(64) Entry {
    std::uint32_t hash;
    std::uint32_t formAt;
    std::uint32_t formSize;
    std::uint32_t others;                              // their place in others_, counted from 1
    qx_ptr<Persistence::TyVector_KeyCollection> keys;  // null for a free place
    unsigned long version;
    qx_ptr<Persistence::TyRow> first;
    std::array<const void*, 3> ahead;  // where a look at the first row leads
  };
  static_assert(sizeof(Entry) == 64);

  void add(const qx_ptr<Persistence::TyVector_KeyCollection>& keys);
  Entry& entryOf(std::string_view form, std::uint32_t hash);
  std::string_view formOf(const Entry& entry) const {
    return std::string_view(forms_).substr(entry.formAt, entry.formSize);
  }
  void readRows(Entry& entry, const Persistence::CRowsInCache& cache);
  Rows* othersOf(const Entry& entry) {
    return entry.others == 0 ? nullptr : &others_[entry.others - 1];
  }

  std::vector<Entry> entries_;  // by their hashes; a third of the places is free
  std::vector<Rows> others_;    // the rows after the first, of lists with several keys
  std::string forms_;           // one after the other
  std::string form_;            // of the values that are added or searched; kept for its memory
};

}  // namespace qx
