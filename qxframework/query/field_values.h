#pragma once

// The names and values of a row as it travels between the database and a record: a map by name that
// also keeps the order in which the names came. Positions count from 0 in that order.
//
// Names compare by the user's locale, letter case included. They end at their first zero.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/variant.h"

#include <map>
#include <utility>
#include <vector>

namespace Persistence {

struct QX_API TyFieldValues {
  TyFieldValues() = default;
  /// Copies and moves take what `other` has at its positions, in their order, and nothing that has
  /// no position. A move leaves `other` empty.
  TyFieldValues(const TyFieldValues& other);
  TyFieldValues(TyFieldValues&& other) noexcept;
  TyFieldValues& operator=(const TyFieldValues& other);
  TyFieldValues& operator=(TyFieldValues&& other) noexcept;
  ~TyFieldValues() = default;

  /// The number of positions.
  long GetCount() const { return static_cast<long>(m_Names.size()); }
  /// Copies. A position that is not there raises std::out_of_range.
  CComBSTR GetKeyAt(long position) const { return keyAt(position); }
  CComVariant GetValueAt(long position) const { return valueAt(position); }
  /// The same without a copy; good until the next change.
  const CComBSTR& keyAt(long position) const {
    return m_Names.at(static_cast<std::size_t>(position));
  }
  const CComVariant& valueAt(long position) const {
    return m_Places.at(static_cast<std::size_t>(position))->value;
  }

  /// Sets the value and gives the name the next position. A name that was there has two then.
  void Add(CComBSTR name, CComVariant value);
  /// Sets the value only; for a name that is there.
  void SetValue(CComBSTR name, CComVariant value);
  /// The same for the name at a position that is there.
  void SetValueAt(long position, CComVariant value) {
    m_Places.at(static_cast<std::size_t>(position))->value = std::move(value);
  }
  /// The first position of the name; -1 if it has no value. Throws the `char*` "internal unknown
  /// error" for a name that got its value by SetValue alone.
  long FindIndex(const OLECHAR* name) const;
  void Clear();

  /// The value of a name. Throws the `char*` "Can't find the key in CMyMap" if it has none.
  const CComVariant& operator[](const OLECHAR* name) const;
  /// A copy of the value; a VT_I4 of 0 for a name that has none.
  CComVariant GetValue(const OLECHAR* name) const;
  /// The value of a name without a copy, null if it has none; good until the next change.
  const CComVariant* find(const OLECHAR* name) const;
  bool contains(const OLECHAR* name) const { return find(name) != nullptr; }

  /// Equality and order of the values position by position; the names play no part. Different
  /// counts throw the `OLECHAR*` "Not compatible TyFieldvalues for comparison".
  friend QX_API bool operator==(const TyFieldValues& a, const TyFieldValues& b);
  friend bool operator!=(const TyFieldValues& a, const TyFieldValues& b) { return !(a == b); }
  friend QX_API bool operator<(const TyFieldValues& a, const TyFieldValues& b);

 private:
  /// The order of names, also for names that are only pointed to.
  struct QX_API NameOrder {
    using is_transparent = void;
    bool operator()(const OLECHAR* a, const OLECHAR* b) const;
  };
  /// With the first position of the name, -1 if it has none.
  struct Entry {
    CComVariant value;
    long position = -1;
  };

  std::map<CComBSTR, Entry, NameOrder> m_Values;
  std::vector<CComBSTR> m_Names;  // by position
  std::vector<Entry*> m_Places;   // by position, into the map, whose entries stay where they are
};

/// A row: its key, and the rest of it.
struct TyRow {
  TyFieldValues m_KeyFields;
  TyFieldValues m_Fields;
};

/// The keys of many rows.
using TyVector_KeyCollection = std::vector<TyFieldValues>;

}  // namespace Persistence
