#pragma once

#include "qxframework/persistence/object_proxy.h"

namespace Persistence {

/// Writes the SELECT of a choose list in the dialect of the company's engine.
class QX_API CQXChooseListHelper : private CQXPersistentObjectProxy {
 public:
  CQXChooseListHelper();
  CQXChooseListHelper(const CQXChooseListHelper& other);
  CQXChooseListHelper& operator=(const CQXChooseListHelper& other);
  ~CQXChooseListHelper() override;

  /// There is no record: both do nothing.
  void MapToContainer(const TyFieldValues& values, CQXValueContainer& container) override;
  void ContainerToMap(const CQXValueContainer& container, TyFieldValues& values) override;

  /// The statement goes into `result`: the columns with their titles, all columns if there are
  /// none.
  static void GetSQL(CComPtr<ICompany> company, const CSimpleMap<CComBSTR, CComBSTR>& fields,
                     const CComBSTR& table, bool userTable, const CComBSTR& where,
                     CComBSTR& result);
};

}  // namespace Persistence
