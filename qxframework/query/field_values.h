#pragma once

// The names and values of a row on its way between the database and a record: a map by name that
// keeps the order in which the names were added. Positions count from 0 in that order.
//
// Names compare in the user's locale and with letter case. A name ends at its first zero.
//
// Copies share their values, and all maps that were copied from one share its names, until one of
// them is changed: rows of one query differ in their values only, and the record cache has a key in
// several places.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/variant.h"

#include <array>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace Persistence {

struct QX_API TyFieldValues {
  TyFieldValues() = default;
  /// Adds the fields in their order: TyFieldValues{{u"U_No", u"A-1"}, {u"U_Line", 2}}.
  TyFieldValues(std::initializer_list<std::pair<CComBSTR, CComVariant>> fields);
  /// Takes the values that `other` has at positions, in their order. A value without a position is
  /// lost. A move leaves `other` empty.
  TyFieldValues(const TyFieldValues& other);
  TyFieldValues(TyFieldValues&& other) noexcept;
  TyFieldValues& operator=(const TyFieldValues& other);
  TyFieldValues& operator=(TyFieldValues&& other) noexcept;
  ~TyFieldValues() = default;

  /// Returns the number of positions.
  long GetCount() const {
    return m_Body == nullptr ? 0 : static_cast<long>(m_Body->names->byPosition.size());
  }
  /// Return copies. Throw std::out_of_range for a position that does not exist.
  CComBSTR GetKeyAt(long position) const { return keyAt(position); }
  CComVariant GetValueAt(long position) const { return valueAt(position); }
  /// Return the same without a copy; the reference is valid until the next change.
  const CComBSTR& keyAt(long position) const {
    return allNames().byPosition.at(static_cast<std::size_t>(position));
  }
  const CComVariant& valueAt(long position) const {
    const std::size_t slot = slotAt(position);  // throws without values
    return m_Body->values[slot];
  }

  /// Sets the value and assigns the next position to the name. A name that is added again has two
  /// positions. A CComVariant can be made of a text, a number, a truth, a date and an amount; a
  /// date that is not valid becomes the empty date, an amount a number with decimals.
  void Add(CComBSTR name, CComVariant value);
  /// Sets the value of a name that has a position. Another name gets a value without a position.
  void SetValue(CComBSTR name, CComVariant value);
  /// Sets the value of the name at a position. Throws std::out_of_range.
  void SetValueAt(long position, CComVariant value) {
    const std::size_t slot = slotAt(position);
    ownBody().values[slot] = std::move(value);
  }
  /// Returns the first position of the name; -1 if it has no value. Throws the `char*` "internal
  /// unknown error" for a name whose value was only set by SetValue.
  long FindIndex(const OLECHAR* name) const;
  void Clear();

  /// Returns the value of a name. Throws the `char*` "Can't find the key in CMyMap" if it has none.
  const CComVariant& operator[](const OLECHAR* name) const;
  /// Returns a copy of the value; a VT_I4 of 0 for a name without a value.
  CComVariant GetValue(const OLECHAR* name) const;
  /// Returns the value of a name without a copy, valid until the next change; null if it has none.
  const CComVariant* find(const OLECHAR* name) const;
  bool contains(const OLECHAR* name) const { return find(name) != nullptr; }

  /// Returns the two places in memory to which a look at a value leads, null without values. They
  /// are valid until the next change. A search among many rows has them read ahead.
  std::array<const void*, 2> memory() const {
    if (m_Body == nullptr) return {};
    return {m_Body.get(), m_Body->values.data()};
  }

  /// Compare the values position by position, without regard to the names. Throw the `OLECHAR*`
  /// "Not compatible TyFieldvalues for comparison" if the numbers of positions differ.
  friend QX_API bool operator==(const TyFieldValues& a, const TyFieldValues& b);
  friend bool operator!=(const TyFieldValues& a, const TyFieldValues& b) { return !(a == b); }
  friend QX_API bool operator<(const TyFieldValues& a, const TyFieldValues& b);

 private:
  /// Orders names, also those that are given as pointers.
  struct QX_API NameOrder {
    using is_transparent = void;
    bool operator()(const OLECHAR* a, const OLECHAR* b) const;
  };
  /// Names with the slots of their values. A value without a position has a slot too.
  struct Names {
    std::map<CComBSTR, std::size_t, NameOrder> slots;
    std::vector<long> firstPosition;  // by slot; -1 without one
    std::vector<CComBSTR> byPosition;
    std::vector<std::size_t> slotByPosition;
  };
  struct Body {
    std::shared_ptr<Names> names;
    std::vector<CComVariant> values;  // by slot
  };

  const Names& allNames() const;
  std::size_t slotAt(long position) const {
    return allNames().slotByPosition.at(static_cast<std::size_t>(position));
  }
  /// Return parts that no other map shares.
  Body& ownBody();
  Names& ownNames();
  std::optional<std::size_t> slotNamed(const OLECHAR* name) const;
  /// Returns the slot of the name, a new one without a position if it has none.
  std::size_t slotOf(const CComBSTR& name);
  bool hasValuesWithoutPosition() const;
  void copyPositions(const TyFieldValues& other);

  std::shared_ptr<Body> m_Body;  // null while there are no values
};

/// A row: the fields of its key and its other fields.
struct TyRow {
  TyFieldValues m_KeyFields;
  TyFieldValues m_Fields;
};

/// The keys of many rows.
using TyVector_KeyCollection = std::vector<TyFieldValues>;

}  // namespace Persistence
