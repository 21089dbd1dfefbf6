#include "qxframework/persistence/choose_list_helper.h"

#include "qxframework/host/company.h"

namespace Persistence {

CQXChooseListHelper::CQXChooseListHelper() = default;
CQXChooseListHelper::CQXChooseListHelper(const CQXChooseListHelper&) = default;
CQXChooseListHelper& CQXChooseListHelper::operator=(const CQXChooseListHelper&) = default;
CQXChooseListHelper::~CQXChooseListHelper() = default;

void CQXChooseListHelper::MapToContainer(const TyFieldValues&, CQXValueContainer&) {}

void CQXChooseListHelper::ContainerToMap(const CQXValueContainer&, TyFieldValues&) {}

void CQXChooseListHelper::GetSQL(CComPtr<ICompany> company,
                                 const CSimpleMap<CComBSTR, CComBSTR>& fields,
                                 const CComBSTR& table, bool userTable, const CComBSTR& where,
                                 CComBSTR& result) {
  CQXChooseListHelper helper;
  helper.GetSQLforChooseList(company, fields, table, userTable, where, result);
}

}  // namespace Persistence
