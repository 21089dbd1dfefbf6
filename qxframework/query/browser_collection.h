#pragma once

// The two faces of a set of rows: the one that a browser steps through, and the one that adds the
// work on rows by their keys.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/variant.h"
#include "qxframework/foundation/qx_ptr.h"
#include "qxframework/query/condition.h"

#include <vector>

class ICompany;

namespace Persistence {

class CQXValueContainer;
struct TyFieldValues;

/// Rows that are stepped through one by one. A step gives 0 with the row in the container, or 1 if
/// there is no row; Previous has a last step of its own.
class QX_API IQXObjCollectionForBrowser {
 public:
  virtual long First(CQXValueContainer& container) = 0;
  virtual long Last(CQXValueContainer& container) = 0;
  virtual long Next(CQXValueContainer& container) = 0;
  /// From the first row it steps in front of it, where Bof is true, and reads what is there all the
  /// same: 0 with an empty row or, where each row is read by its key, the exception "No record was
  /// found with the given conditions". Only the step behind that gives 1.
  virtual long Previous(CQXValueContainer& container) = 0;
  virtual bool Eof() const = 0;
  virtual bool Bof() const = 0;
  virtual void Add(const CQXValueContainer& container) = 0;
  virtual void Refresh(CQXValueContainer& container) = 0;
  virtual long GetRecordCount() const = 0;
  /// The add-on's: from the values of a row to its record, and back.
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
  /// One condition for each value, by the operation at its position; EQUAL without operations.
  virtual qx_ptr<CConditions> GetConditionsFromKeyFields(
      const TyFieldValues& values, const std::vector<HvConditionOperation>& operations) = 0;
  virtual void SetCorrelationName(const OLECHAR* name) = 0;
  virtual void SetKeysOnly(bool keysOnly) = 0;
  /// The value of the name, else of the name with its small letters made capital, else a VT_I4 of
  /// 0.
  virtual CComVariant GetValue(const TyFieldValues& values, const OLECHAR* name);
  ~IQXPersistentCollection() override;

 protected:
  IQXPersistentCollection() = default;
  IQXPersistentCollection(const IQXPersistentCollection&) = default;
  IQXPersistentCollection& operator=(const IQXPersistentCollection&) = default;
};

}  // namespace Persistence
