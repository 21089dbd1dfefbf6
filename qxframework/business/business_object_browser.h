#pragma once

// A business object that steps through records, for forms that browse them.

#include "qxframework/business/business_object.h"
#include "qxframework/query/browser_collection.h"
#include "qxframework/query/value_container.h"

#include <memory>

namespace Persistence {

/// Steps through a collection of rows and reads each into one container. It owns both, and they are
/// null until they are set. It is not copied, as two browsers would delete the same objects.
class QX_API CQXBusinessObjectBrowser : public CQXBusinessObject {
 public:
  explicit CQXBusinessObjectBrowser(CComPtr<ICompany> company);
  CQXBusinessObjectBrowser(const CQXBusinessObjectBrowser&) = delete;
  CQXBusinessObjectBrowser& operator=(const CQXBusinessObjectBrowser&) = delete;
  /// Deletes the collection, then the container. Throws as ~CQXBusinessObject does.
  ~CQXBusinessObjectBrowser() noexcept(false) override;

  /// Returns the collection, which the browser keeps; null if none is set.
  IQXObjCollectionForBrowser* getPCol() const { return m_pCol.get(); }
  /// Takes the collection over and deletes the former one, unless it is the same. Null is allowed.
  void setPCol(IQXObjCollectionForBrowser* collection);
  /// Returns the container, which the browser keeps; null if none is set.
  CQXValueContainer* getCntr() const { return m_pCntr.get(); }
  /// Takes the container over and deletes the former one, unless it is the same. Null is allowed.
  void setCntr(CQXValueContainer* container);

  /// Step through the collection. Return its result, 0 with the row in the container or 1 if there
  /// is no row, or E_POINTER if the collection or the container is missing. Exceptions of the
  /// collection pass through.
  long First();
  long Previous();
  long Next();
  long Last();
  /// True if the collection is after its last row; false without a collection.
  bool EoF() const;
  /// True if the collection is before its first row; false without a collection.
  bool BoF() const;

 private:
  using Step = long (IQXObjCollectionForBrowser::*)(CQXValueContainer&);
  long Take(Step step, const OLECHAR* scope);

  std::unique_ptr<IQXObjCollectionForBrowser> m_pCol;
  std::unique_ptr<CQXValueContainer> m_pCntr;
};

}  // namespace Persistence
