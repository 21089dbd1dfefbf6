#pragma once

// The statements of the persistence layer as texts: the tools print them and measure how long it
// takes to write them. No company is needed, and nothing is run.
//
// The tools link the layer's archive. The shared library does not export this class.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/simple_map.h"
#include "qxframework/foundation/qx_ptr.h"
#include "qxframework/host/company.h"
#include "qxframework/query/condition.h"
#include "qxframework/query/field_values.h"
#include "qxframework/query/link_criteria.h"
#include "qxframework/query/sort_field.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace Persistence {
class CQXPersistentBase;
class CQXPersistentCollection;
class CQXPersistentObject;
}  // namespace Persistence

namespace qx {

/// The table and the query of a statement. The caller keeps the names alive.
struct StatementQuery {
  const OLECHAR* table = nullptr;
  bool userTable = false;
  const OLECHAR* correlation = nullptr;
  std::vector<const OLECHAR*> keys = {};
  std::vector<const OLECHAR*> fields = {};
  /// Null differs from an empty list: a SELECT with an empty list has a WHERE without conditions.
  qx_ptr<Persistence::CConditions> conditions = {};
  std::vector<Persistence::CQXLinkTableCriteria> joins = {};
  // The following are read by select() only.
  bool keysOnly = true;
  Persistence::CQXPersistenceSortFieldCollection sortFields = {};
};

/// Writes the statements of one query in the dialect of a server type. Operations throw
/// CQXPersistenceException where the layer refuses a query.
class StatementWriter {
 public:
  StatementWriter(DbServerType serverType, const StatementQuery& query);
  ~StatementWriter();
  StatementWriter(const StatementWriter&) = delete;
  StatementWriter& operator=(const StatementWriter&) = delete;

  /// Returns one EQUAL condition for each value, or one with the operation at the value's position.
  static qx_ptr<Persistence::CConditions> conditionsFromValues(
      DbServerType serverType, const Persistence::TyFieldValues& values,
      const std::vector<Persistence::HvConditionOperation>& operations);

  /// Limits the rows of select(); -1 for no limit. Throws for 0 and other negative values.
  void setMaximum(long rows);

  /// Returns the statements of a collection's SELECT, in the order of running. The constants of
  /// joins are quoted anew with each call of select() and load().
  std::vector<CComBSTR> select();
  /// Returns the SELECT of one object.
  CComBSTR load();
  /// Returns the INSERT of one object. On a user table the look-up of the highest code precedes it,
  /// and `nextCode` replaces the values of Code and Name.
  std::vector<CComBSTR> insert(const Persistence::TyFieldValues& values, const CComBSTR& nextCode);
  /// Returns the UPDATE of one object: by its conditions, or by `keyValues` if it has none.
  CComBSTR update(const Persistence::TyFieldValues& values,
                  const Persistence::TyFieldValues& keyValues);
  /// Returns the positions of those key values that such an UPDATE compares.
  std::vector<std::size_t> comparedKeyValues(const Persistence::TyFieldValues& values,
                                             const Persistence::TyFieldValues& keyValues);
  CComBSTR remove() const;
  /// Returns the SELECT of a choose list: columns with their titles, all columns if there are none.
  CComBSTR chooseList(const CSimpleMap<CComBSTR, CComBSTR>& titles, const CComBSTR& where);

 private:
  DbServerType serverType_;
  std::unique_ptr<Persistence::CQXPersistentObject> object_;
  std::unique_ptr<Persistence::CQXPersistentCollection> collection_;
};

}  // namespace qx
