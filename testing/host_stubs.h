#pragma once

// The host's interfaces with every operation refused by E_NOTIMPL. The fakes derive from them and
// override the operations that they need.

#include "qxframework/automation/com_object.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/host/controls.h"
#include "qxframework/host/events.h"
#include "qxframework/host/form.h"
#include "qxframework/host/metadata.h"
#include "qxframework/host/recordset.h"

namespace qx::test {

template <class... More>
class StubApplication : public NoDispatch<ComObject<IApplication, More...>> {
 public:
  HRESULT raw_GetForms(IForms**) override { return E_NOTIMPL; }
  HRESULT raw_GetCompanyInfo(IHostCompany**) override { return E_NOTIMPL; }
  HRESULT raw_GetAppId(long*) override { return E_NOTIMPL; }
  HRESULT raw_GetLanguage(HvLanguages*) override { return E_NOTIMPL; }
  HRESULT raw_MessageBox(BSTR, long, BSTR, BSTR, BSTR, long*) override { return E_NOTIMPL; }
  HRESULT raw_GetMenus(IMenus**) override { return E_NOTIMPL; }
  HRESULT raw_LoadBatchActions(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_GetLastBatchResults(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetStatusBar(IStatusBar**) override { return E_NOTIMPL; }
  HRESULT raw_GetStartupDone(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_PutStartupDone(VARIANT_BOOL) override { return E_NOTIMPL; }
};

class StubHostCompany : public NoDispatch<ComObject<IHostCompany>> {
 public:
  HRESULT raw_GetUserName(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetCompanyName(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetDatabaseName(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetConnectionContext(BSTR, BSTR*) override { return E_NOTIMPL; }
};

class StubStatusBar : public NoDispatch<ComObject<IStatusBar>> {
 public:
  HRESULT raw_CreateProgressBar(BSTR, long, VARIANT_BOOL, IProgressBar**) override {
    return E_NOTIMPL;
  }
  HRESULT raw_SetText(BSTR, long, HvStatusBarMessageType) override { return E_NOTIMPL; }
};

class StubProgressBar : public NoDispatch<ComObject<IProgressBar>> {
 public:
  HRESULT raw_PutText(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_PutValue(long) override { return E_NOTIMPL; }
  HRESULT raw_GetValue(long*) override { return E_NOTIMPL; }
  HRESULT raw_Stop() override { return E_NOTIMPL; }
};

class StubForms : public NoDispatch<ComObject<IForms>> {
 public:
  HRESULT raw_Count(long*) override { return E_NOTIMPL; }
  HRESULT raw_Item(const VARIANT&, IForm**) override { return E_NOTIMPL; }
  HRESULT raw_GetFormByUID(BSTR, IForm**) override { return E_NOTIMPL; }
  HRESULT raw_GetFormByTypeAndCount(long, long, IForm**) override { return E_NOTIMPL; }
  HRESULT raw_GetActiveForm(IForm**) override { return E_NOTIMPL; }
};

class StubForm : public NoDispatch<ComObject<IForm>> {
 public:
  HRESULT raw_GetUniqueID(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetTypeEx(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetSelected(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_Freeze(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT raw_Update() override { return E_NOTIMPL; }
  HRESULT raw_GetItems(IItems**) override { return E_NOTIMPL; }
  HRESULT raw_GetDataSources(IDataSources**) override { return E_NOTIMPL; }
  HRESULT raw_Close() override { return E_NOTIMPL; }
  HRESULT raw_GetVisible(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_PutVisible(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT raw_Select() override { return E_NOTIMPL; }
  HRESULT raw_GetMode(long*) override { return E_NOTIMPL; }
  HRESULT raw_PutMode(long) override { return E_NOTIMPL; }
  HRESULT raw_GetDefaultItem(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_PutDefaultItem(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_GetTitle(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_PutTitle(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_GetHeight(long*) override { return E_NOTIMPL; }
  HRESULT raw_PutHeight(long) override { return E_NOTIMPL; }
  HRESULT raw_GetWidth(long*) override { return E_NOTIMPL; }
  HRESULT raw_PutWidth(long) override { return E_NOTIMPL; }
  HRESULT raw_GetClientHeight(long*) override { return E_NOTIMPL; }
  HRESULT raw_PutClientHeight(long) override { return E_NOTIMPL; }
  HRESULT raw_GetClientWidth(long*) override { return E_NOTIMPL; }
  HRESULT raw_PutClientWidth(long) override { return E_NOTIMPL; }
};

class StubItems : public NoDispatch<ComObject<IItems>> {
 public:
  HRESULT raw_Count(long*) override { return E_NOTIMPL; }
  HRESULT raw_Item(const VARIANT&, IItem**) override { return E_NOTIMPL; }
};

class StubItem : public NoDispatch<ComObject<IItem>> {
 public:
  HRESULT raw_GetUniqueID(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetType(long*) override { return E_NOTIMPL; }
  HRESULT raw_GetSpecific(IDispatch**) override { return E_NOTIMPL; }
  HRESULT raw_Click(long) override { return E_NOTIMPL; }
  HRESULT raw_GetVisible(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_PutVisible(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT raw_GetEnabled(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_PutEnabled(VARIANT_BOOL) override { return E_NOTIMPL; }
};

class StubMatrix : public NoDispatch<ComObject<IMatrix>> {
 public:
  HRESULT raw_GetColumns(IColumns**) override { return E_NOTIMPL; }
  HRESULT raw_Clear() override { return E_NOTIMPL; }
  HRESULT raw_AddRow(long, long) override { return E_NOTIMPL; }
  HRESULT raw_SelectRow(long, VARIANT_BOOL, VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT raw_GetRowCount(long*) override { return E_NOTIMPL; }
  HRESULT raw_IsRowSelected(long, VARIANT_BOOL*) override { return E_NOTIMPL; }
};

class StubColumns : public NoDispatch<ComObject<IColumns>> {
 public:
  HRESULT raw_Count(long*) override { return E_NOTIMPL; }
  HRESULT raw_Item(const VARIANT&, IColumn**) override { return E_NOTIMPL; }
};

class StubColumn : public NoDispatch<ComObject<IColumn>> {
 public:
  HRESULT raw_GetUniqueID(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetType(long*) override { return E_NOTIMPL; }
  HRESULT raw_GetCells(ICells**) override { return E_NOTIMPL; }
};

class StubCells : public NoDispatch<ComObject<ICells>> {
 public:
  HRESULT raw_Item(const VARIANT&, ICell**) override { return E_NOTIMPL; }
};

class StubCell : public NoDispatch<ComObject<ICell>> {
 public:
  HRESULT raw_GetSpecific(IDispatch**) override { return E_NOTIMPL; }
  HRESULT raw_Click(long, long) override { return E_NOTIMPL; }
};

class StubComboBox : public NoDispatch<ComObject<IComboBox>> {
 public:
  HRESULT raw_GetSelected(IValidValue**) override { return E_NOTIMPL; }
  HRESULT raw_GetValidValues(IValidValues**) override { return E_NOTIMPL; }
  HRESULT raw_Select(const VARIANT&, long) override { return E_NOTIMPL; }
};

class StubValidValue : public NoDispatch<ComObject<IValidValue>> {
 public:
  HRESULT raw_GetValue(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetDescription(BSTR*) override { return E_NOTIMPL; }
};

class StubValidValues : public NoDispatch<ComObject<IValidValues>> {
 public:
  HRESULT raw_Count(long*) override { return E_NOTIMPL; }
  HRESULT raw_Item(const VARIANT&, IValidValue**) override { return E_NOTIMPL; }
  HRESULT raw_Add(BSTR, BSTR) override { return E_NOTIMPL; }
  HRESULT raw_Remove(const VARIANT&, long) override { return E_NOTIMPL; }
};

class StubCompany : public NoDispatch<ComObject<ICompany>> {
 public:
  HRESULT raw_Connect(long*) override { return E_NOTIMPL; }
  HRESULT raw_Disconnect() override { return E_NOTIMPL; }
  HRESULT raw_PutLanguage(HvLanguages) override { return E_NOTIMPL; }
  HRESULT raw_GetLastError(long*, BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetBusinessObject(long, IDispatch**) override { return E_NOTIMPL; }
  HRESULT raw_GetCompanyService(ICompanyService**) override { return E_NOTIMPL; }
  HRESULT raw_GetContextCookie(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_PutLoginContext(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_PutConnectionString(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_PutUiApplication(IDispatch*) override { return E_NOTIMPL; }
  HRESULT raw_GetDbServerType(long*) override { return E_NOTIMPL; }
  HRESULT raw_GetConnected(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_GetInTransaction(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_StartTransaction() override { return E_NOTIMPL; }
  HRESULT raw_EndTransaction(HvEndTransaction) override { return E_NOTIMPL; }
  HRESULT raw_GetCompanyDB(BSTR*) override { return E_NOTIMPL; }
};

class StubDataHelper : public NoDispatch<ComObject<IDataHelper>> {
 public:
  HRESULT raw_FormatDateToString(DATE, IRecordset**) override { return E_NOTIMPL; }
  HRESULT raw_FormatStringToDate(BSTR, IRecordset**) override { return E_NOTIMPL; }
  HRESULT raw_FormatMoneyToString(double, HvMoneyPrecisionTypes, IRecordset**) override {
    return E_NOTIMPL;
  }
  HRESULT raw_GetCurrencyRate(BSTR, DATE, IRecordset**) override { return E_NOTIMPL; }
};

class StubRecordset : public NoDispatch<ComObject<IRecordset>> {
 public:
  HRESULT raw_GetFields(IFields**) override { return E_NOTIMPL; }
  HRESULT raw_MoveNext() override { return E_NOTIMPL; }
  HRESULT raw_MovePrevious() override { return E_NOTIMPL; }
  HRESULT raw_GetBoF(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_GetEoF(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_DoQuery(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_GetRecordCount(long*) override { return E_NOTIMPL; }
  HRESULT raw_MoveFirst() override { return E_NOTIMPL; }
  HRESULT raw_MoveLast() override { return E_NOTIMPL; }
};

class StubFields : public NoDispatch<ComObject<IFields>> {
 public:
  HRESULT raw_Count(long*) override { return E_NOTIMPL; }
  HRESULT raw_Item(const VARIANT&, IField**) override { return E_NOTIMPL; }
};

class StubField : public NoDispatch<ComObject<IField>> {
 public:
  HRESULT raw_GetName(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetValue(VARIANT*) override { return E_NOTIMPL; }
  HRESULT raw_GetType(long*) override { return E_NOTIMPL; }
};

class StubUserTablesMD : public NoDispatch<ComObject<IUserTablesMD>> {
 public:
  HRESULT raw_GetByKey(BSTR, VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_GetTableName(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_PutTableName(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_GetTableDescription(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_PutTableDescription(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_GetTableType(long*) override { return E_NOTIMPL; }
  HRESULT raw_PutTableType(long) override { return E_NOTIMPL; }
  HRESULT raw_Add(long*) override { return E_NOTIMPL; }
  HRESULT raw_Remove(long*) override { return E_NOTIMPL; }
};

class StubUserFieldsMD : public NoDispatch<ComObject<IUserFieldsMD>> {
 public:
  HRESULT raw_GetByKey(BSTR, long, VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_PutTableName(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_GetName(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_PutName(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_GetDescription(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_PutDescription(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_GetType(long*) override { return E_NOTIMPL; }
  HRESULT raw_PutType(long) override { return E_NOTIMPL; }
  HRESULT raw_GetSubType(long*) override { return E_NOTIMPL; }
  HRESULT raw_PutSubType(long) override { return E_NOTIMPL; }
  HRESULT raw_GetSize(long*) override { return E_NOTIMPL; }
  HRESULT raw_PutSize(long) override { return E_NOTIMPL; }
  HRESULT raw_GetEditSize(long*) override { return E_NOTIMPL; }
  HRESULT raw_PutEditSize(long) override { return E_NOTIMPL; }
  HRESULT raw_PutMandatory(long) override { return E_NOTIMPL; }
  HRESULT raw_GetDefaultValue(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_PutDefaultValue(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_GetLinkedTable(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_PutLinkedTable(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_GetValidValues(IValidValuesMD**) override { return E_NOTIMPL; }
  HRESULT raw_Add(long*) override { return E_NOTIMPL; }
  HRESULT raw_Update(long*) override { return E_NOTIMPL; }
};

class StubValidValuesMD : public NoDispatch<ComObject<IValidValuesMD>> {
 public:
  HRESULT raw_Count(long*) override { return E_NOTIMPL; }
  HRESULT raw_PutValue(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_PutDescription(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_Add() override { return E_NOTIMPL; }
};

class StubUserKeysMD : public NoDispatch<ComObject<IUserKeysMD>> {
 public:
  HRESULT raw_GetByKey(BSTR, long, VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_GetKeyName(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_PutKeyName(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_PutTableName(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_PutUnique(long) override { return E_NOTIMPL; }
  HRESULT raw_GetElements(IUserKeysMD_Elements**) override { return E_NOTIMPL; }
  HRESULT raw_Add(long*) override { return E_NOTIMPL; }
  HRESULT raw_Remove(long*) override { return E_NOTIMPL; }
};

class StubUserKeysMD_Elements : public NoDispatch<ComObject<IUserKeysMD_Elements>> {
 public:
  HRESULT raw_Count(long*) override { return E_NOTIMPL; }
  HRESULT raw_PutColumnAlias(BSTR) override { return E_NOTIMPL; }
  HRESULT raw_Add() override { return E_NOTIMPL; }
};

class StubItemEvent : public NoDispatch<ComObject<IItemEvent>> {
 public:
  HRESULT raw_GetEventType(long*) override { return E_NOTIMPL; }
  HRESULT raw_GetBeforeAction(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_GetFormTypeEx(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetFormUID(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetItemUID(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetColUID(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetRow(long*) override { return E_NOTIMPL; }
  HRESULT raw_GetCharPressed(long*) override { return E_NOTIMPL; }
};

class StubMenuEvent : public NoDispatch<ComObject<IMenuEvent>> {
 public:
  HRESULT raw_GetMenuUID(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetBeforeAction(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT raw_GetInnerEvent(VARIANT_BOOL*) override { return E_NOTIMPL; }
};

class StubContextMenuInfo : public NoDispatch<ComObject<IContextMenuInfo>> {
 public:
  HRESULT raw_GetFormUID(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetItemUID(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetBeforeAction(VARIANT_BOOL*) override { return E_NOTIMPL; }
};

class StubBusinessObjectInfo : public NoDispatch<ComObject<IBusinessObjectInfo>> {
 public:
  HRESULT raw_GetFormUID(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetType(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetObjectKey(BSTR*) override { return E_NOTIMPL; }
  HRESULT raw_GetBeforeAction(VARIANT_BOOL*) override { return E_NOTIMPL; }
};

}  // namespace qx::test
