#pragma once

#include "qxframework/persistence/object_proxy.h"

namespace Persistence {

/// Writes the SELECT of a choose list in the company's dialect.
class QX_API CQXChooseListHelper : private CQXPersistentObjectProxy {
 public:
  CQXChooseListHelper();
  CQXChooseListHelper(const CQXChooseListHelper& other);
  CQXChooseListHelper& operator=(const CQXChooseListHelper& other);
  ~CQXChooseListHelper() override;

  /// Do nothing: a choose list has no record.
  void MapToContainer(const TyFieldValues& values, CQXValueContainer& container) override;
  void ContainerToMap(const CQXValueContainer& container, TyFieldValues& values) override;

  /// Puts the statement into `result`: the columns with their titles, all columns if `fields` is
  /// empty.
  static void GetSQL(CComPtr<ICompany> company, const CSimpleMap<CComBSTR, CComBSTR>& fields,
                     const CComBSTR& table, bool userTable, const CComBSTR& where,
                     CComBSTR& result);
};

}  // namespace Persistence
