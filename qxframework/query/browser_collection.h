#pragma once

// The two interfaces of a set of rows: the steps from row to row that a browser needs, and the
// operations on rows by their keys.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/variant.h"
#include "qxframework/foundation/qx_ptr.h"
#include "qxframework/query/condition.h"

#include <vector>

class ICompany;

namespace Persistence {

class CQXValueContainer;
struct TyFieldValues;

/// Rows that are read one after the other. A step returns 0 with the row in the container, or 1 if
/// there is no row. Previous treats the first row differently.
class QX_API IQXObjCollectionForBrowser {
 public:
  virtual long First(CQXValueContainer& container) = 0;
  virtual long Last(CQXValueContainer& container) = 0;
  virtual long Next(CQXValueContainer& container) = 0;
  /// Steps from the first row to the position before it, where Bof is true, and still reads a row:
  /// the result is 0 with an empty row or, if each row is read by its key, the exception "No record
  /// was found with the given conditions". Only the step after that returns 1.
  virtual long Previous(CQXValueContainer& container) = 0;
  virtual bool Eof() const = 0;
  virtual bool Bof() const = 0;
  virtual void Add(const CQXValueContainer& container) = 0;
  virtual void Refresh(CQXValueContainer& container) = 0;
  virtual long GetRecordCount() const = 0;
  /// Copies the values of a row into the add-on's record, and back. The add-on writes both.
  virtual void MapToContainer(const TyFieldValues& values, CQXValueContainer& container) = 0;
  virtual void ContainerToMap(const CQXValueContainer& container, TyFieldValues& values) = 0;
  virtual ~IQXObjCollectionForBrowser();

 protected:
  IQXObjCollectionForBrowser() = default;
  IQXObjCollectionForBrowser(const IQXObjCollectionForBrowser&) = default;
  IQXObjCollectionForBrowser& operator=(const IQXObjCollectionForBrowser&) = default;
};

class QX_API IQXPersistentCollection : public IQXObjCollectionForBrowser {
 public:
  /// `cacheTable` may be null.
  virtual void Connect(const CComPtr<ICompany>& company, const OLECHAR* table, bool userTable,
                       const OLECHAR* cacheTable) = 0;
  virtual bool Exists(const TyFieldValues& keys) = 0;
  virtual void Load() = 0;
  virtual void Remove(const TyFieldValues& keys) = 0;
  virtual void Update(const TyFieldValues& keys, const CQXValueContainer& container) = 0;
  /// Returns one condition for each value with the operation at the same position; all conditions
  /// are EQUAL if `operations` is empty.
  virtual qx_ptr<CConditions> GetConditionsFromKeyFields(
      const TyFieldValues& values, const std::vector<HvConditionOperation>& operations) = 0;
  virtual void SetCorrelationName(const OLECHAR* name) = 0;
  virtual void SetKeysOnly(bool keysOnly) = 0;
  /// Returns the value of the name or, if there is none, of the name with its small letters made
  /// capital; a VT_I4 of 0 if neither has a value.
  virtual CComVariant GetValue(const TyFieldValues& values, const OLECHAR* name);
  ~IQXPersistentCollection() override;

 protected:
  IQXPersistentCollection() = default;
  IQXPersistentCollection(const IQXPersistentCollection&) = default;
  IQXPersistentCollection& operator=(const IQXPersistentCollection&) = default;
};

}  // namespace Persistence
