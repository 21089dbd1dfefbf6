#pragma once

// The names and values of a row as it travels between the database and a record: a map by name that
// also keeps the order in which the names came. Positions count from 0 in that order.
//
// Names compare by the user's locale, letter case included. They end at their first zero. A row has
// few names, nearly all of them plain ones that are the same only if they are spelled the same, so
// they are looked for one after the other, and the locale is asked for the rest only.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/variant.h"

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace Persistence {

struct QX_API TyFieldValues {
 public:
  TyFieldValues() = default;
  TyFieldValues(const TyFieldValues& other) = default;
  TyFieldValues(TyFieldValues&& other) noexcept;
  /// Takes over what `other` has at its positions, in their order.
  TyFieldValues& operator=(const TyFieldValues& other);
  TyFieldValues& operator=(TyFieldValues&& other) noexcept;
  ~TyFieldValues() = default;

  /// The number of positions.
  long GetCount() const { return static_cast<long>(m_Fields.size()); }
  /// Copies. A position that is not there raises std::out_of_range.
  CComBSTR GetKeyAt(long position) const { return keyAt(position); }
  CComVariant GetValueAt(long position) const { return valueAt(position); }
  /// The same without a copy; good until the next change.
  const CComBSTR& keyAt(long position) const {
    return m_Fields.at(static_cast<std::size_t>(position)).name;
  }
  const CComVariant& valueAt(long position) const {
    return m_Fields[m_Fields.at(static_cast<std::size_t>(position)).first].value;
  }

  /// Sets the value and gives the name the next position. A name that was there has two then.
  void Add(CComBSTR name, CComVariant value);
  /// Sets the value only; for a name that is there.
  void SetValue(CComBSTR name, CComVariant value);
  /// The same for the name at a position that is there.
  void SetValueAt(long position, CComVariant value) {
    m_Fields[m_Fields.at(static_cast<std::size_t>(position)).first].value = std::move(value);
  }
  /// The first position of the name; -1 if it has no value. Throws the `char*` "internal unknown
  /// error" for a name that got its value by SetValue alone.
  long FindIndex(const OLECHAR* name) const;
  void Clear();

  /// The value of a name. Throws the `char*` "Can't find the key in CMyMap" if it has none.
  const CComVariant& operator[](const OLECHAR* name) const;
  /// A copy of the value; a VT_I4 of 0 for a name that has none.
  CComVariant GetValue(const OLECHAR* name) const;
  bool contains(const OLECHAR* name) const { return FindValue(Name(name)) != nullptr; }

  /// Equality and order of the values position by position; the names play no part. Different
  /// counts throw the `OLECHAR*` "Not compatible TyFieldvalues for comparison".
  friend QX_API bool operator==(const TyFieldValues& a, const TyFieldValues& b);
  friend bool operator!=(const TyFieldValues& a, const TyFieldValues& b) { return !(a == b); }
  friend QX_API bool operator<(const TyFieldValues& a, const TyFieldValues& b);

 private:
  /// A name up to its terminator. Plain ones are equal only if they are spelled the same.
  struct Name {
    explicit Name(const OLECHAR* name);
    std::u16string_view text;
    bool plain;
  };
  struct Field {
    Field(CComBSTR given, const Name& read, std::size_t firstPosition)
        : name(std::move(given)),
          length(read.text.size()),
          plain(read.plain),
          first(firstPosition) {}
    bool isCalled(const Name& other) const;

    CComBSTR name;
    CComVariant value;  // in the first field of a name only
    std::size_t length;
    bool plain;
    std::size_t first;  // the first position of an equal name
  };

  /// One with an equal name; null if there is none.
  static const Field* Find(const std::vector<Field>& fields, const Name& name);
  const CComVariant* FindValue(const Name& name) const;

  std::vector<Field> m_Fields;
  std::vector<Field> m_Unplaced;  // set by SetValue alone, without a position
};

/// A row: its key, and the rest of it.
struct TyRow {
  TyFieldValues m_KeyFields;
  TyFieldValues m_Fields;
};

/// The keys of many rows.
using TyVector_KeyCollection = std::vector<TyFieldValues>;

}  // namespace Persistence
