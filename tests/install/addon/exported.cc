// Uses each class and each scope that the library exports. It is built without optimisation, so
// that nothing is inlined that the library should supply, and prints the number of uses.

#include "qxframework/qxframework.h"
#include "qxframework/xml/dom_document.h"

#include <cstdlib>
#include <iostream>
#include <memory>
#include <type_traits>

namespace {

using namespace Persistence;

int uses = 0;

void used(bool asExpected, const char* what) {
  if (!asExpected) {
    std::cerr << what << " is not as expected\n";
    std::exit(1);
  }
  ++uses;
}

// The scope of a function that returns a T: entry, log call, sentence of a code, printed value.
template <class T>
bool scopeWorks(T value, std::u16string_view printed) {
  CReturnValue<T> result(u"scopeWorks", value, 0, false);
  CReturnValue<T> copy(result);
  copy = value;
  copy.LogDbg2(u"%s %d", printed, 1);
  CComBSTR text;
  copy.ToString(text);
  return text.View() == printed && qx::viewOf(CLogBase<CReturnValue<T>>::xstrerror(0x80040500)) ==
                                       u"Error create/update database.";
}

void useScopes() {
  used(scopeWorks<long>(E_FAIL, u"E_FAIL"), "CReturnValue<long>");
  used(scopeWorks<CComBSTR>(u"text", u"text"), "CReturnValue<CComBSTR>");
  used(scopeWorks<CString>(u"text", u"text"), "CReturnValue<CString>");
  CComPtr<IXMLDOMDocument> document;
  used(qx::createDocument(&document.p) == S_OK, "createDocument");
  used(scopeWorks<CComPtr<IXMLDOMNode>>(document.p, u"#document"), "CReturnValue of a node");
  CReturnValue<void> nothing(u"useScopes", 0, false);
  nothing.LogDbg2(u"nothing");
  used(!qx::viewOf(CLogBase<CReturnValue<void>>::xstrerror(0x80040500)).empty(),
       "CReturnValue<void>");
  used(!qx::viewOf(CLogBase<long>::xstrerror(0x80040501)).empty(), "CLogBase<long>");
}

void useValues() {
  CQXBSTR text(u"%d of %s", ln_English);
  text.Format(text.m_str, 1, u"two");
  used(text == u"1 of two", "CQXBSTR");
  const CQXVersion version(u"9.20.1");
  used(version > CQXVersion(u"9.19") && version.GetVersionAsBSTR() == u"9.20.01.00.00",
       "CQXVersion");
  CQXDateTime day(2024, 2, 29, 0, 0, 0);
  day.AddDays(1);
  used(day.GetDateAsBSTR() == u"20240301", "CQXDateTime");
  CQXTimeStamp stamp;
  stamp.setStamp(day, u"user");
  used(!stamp.IsNull() && stamp.getUser() == u"user", "CQXTimeStamp");
}

void useMoney() {
  const CQXCurrency amount = 2 * CQXCurrency(3L) + CQXCurrency(0.5) - 1;
  used(amount.ToString() == u"5.500000" && CComVariant(amount).dblVal == 5.5, "CQXCurrency");
  CQXCurrency::m_bstrLoc = u"DE";
  CQXCurrency::m_bstrCurr = u"EUR";
  CQXCurrency::m_ptrCompany = nullptr;
  CQXCurrency::m_ptrCompService = nullptr;
  CQXCurrency::m_ptrDecimalData = nullptr;
  CQXCurrency::m_ptrRoundedData = nullptr;
  used(CQXCurrency::m_DefaultDecimal == 2 && !CQXCurrency::m_RoundViaRX, "the data of CQXCurrency");
}

class Form : public CQXAddOnForm {
  DECLARE_XML_FORM_EX(u"FORM", -1, u"OUT", {u"SYMBOL", 7, u"text"})
 public:
  using CQXAddOnForm::CQXAddOnForm;
  long OnItemEvent(CComPtr<IItemEvent>, short*) override { return S_OK; }
  bool works() {
    InitXMLMap();
    InitFormType();
    return HVXItemUIDToResourceSymbol(7) == u"SYMBOL" && OnInitForm() == S_OK;
  }
};

class Handler : public CQXIDispatch {
 public:
  long OnApplicationLoad(IDispatch*, ICompany*) override { return S_OK; }
  long OnApplicationUnload() override { return S_OK; }
  long OnFormLoad(IItemEvent*, short*) override { return S_OK; }
  long OnMenuEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnChangeLanguage() override { return S_OK; }
  long OnChangeCompany(ICompany*) override { return S_OK; }
  long OnProgressBarEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnStatusBarEvent(BSTR, long) override { return S_OK; }
  long OnReservedEvent() override { return S_OK; }
};

class AddOn : public CQXAddOn {
 public:
  using CQXAddOn::CQXAddOn;
  CQXIDispatch* CreateDispatch() override { return new Handler; }
  CQXResourceLoader* GetResourceLoader() override { return &loader; }
  CQXResourceLoader loader;
};

template <class Operation>
HRESULT raisedBy(Operation operation) {
  try {
    operation();
    return S_OK;
  } catch (const _com_error& error) {
    return error.Error();
  }
}

void useRuntime() {
  AddOn addOn(u"", u"EXPORTED", u"");
  const std::unique_ptr<CQXIDispatch> handler(addOn.CreateDispatch());
  used(handler->OnPrintEvent(nullptr, nullptr) == S_OK, "CQXIDispatch");
  Form form(&addOn, -1);
  used(form.works(), "CQXAddOnForm");
  used(addOn.RegisterForm(&form) == E_FAIL && addOn.GetEventSink() == nullptr, "CQXAddOn");
  used(raisedBy([&] { CQXEventSink(nullptr, handler.get(), &addOn); }) == E_POINTER,
       "CQXEventSink");
  CComBSTR xml;
  used(raisedBy([&] { addOn.GetResourceLoader()->GetResourceFileContents(0, 4711, xml); }) ==
           E_INVALIDARG,
       "CQXResourceLoader");
  used(raisedBy([&] { CQXDbDef(nullptr, nullptr, addOn.loader, u"OUT", ln_English, nullptr); }) <
               0 &&
           CQXDbDef::STATUS_INSTALLED == CString(u"Installed"),
       "CQXDbDef");
  const qx::TablesLock nothing(nullptr, nullptr);
  used(!std::is_copy_constructible_v<decltype(nothing)>, "TablesLock");
  used(CQXUtil::ReplaceXMLEntityChars(u"&") == u"&amp;", "CQXUtil");
}

void useQueries() {
  const qx_ptr<CConditions> conditions = CConditions::CreateNewInstance();
  CCondition* const condition = conditions->Add();
  condition->PutAlias(u"Code");
  used(*conditions->Clone() == *conditions && conditions ? true : false, "CConditions");
  used(CCondition(*condition) == *condition, "CCondition");
  used(CQXPersistenceSortField(u"A").GetSortOrderAsString() == CComBSTR(u" ASC"),
       "CQXPersistenceSortField");
  CQXLinkTableCriteria table(u"T", u"T1", jm_Inner, false);
  table.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"A", u"B"));
  used(table == CQXLinkTableCriteria(table), "CQXLinkTableCriteria");
  used(table.GetLinkFieldCriteriaAt(0) == CQXLinkFieldCriteria(u"A", u"B"), "CQXLinkFieldCriteria");
  used(TyFieldValues{{u"A", 1}} == TyFieldValues{{u"B", 1}}, "TyFieldValues");
}

struct Row : CQXValueContainer {};

class Rows : public CQXPersistentCollectionProxy {
 public:
  void MapToContainer(const TyFieldValues&, CQXValueContainer&) override {}
  void ContainerToMap(const CQXValueContainer&, TyFieldValues&) override {}
};

class OneRow : public CQXPersistentObjectProxy {
 public:
  void MapToContainer(const TyFieldValues&, CQXValueContainer&) override {}
  void ContainerToMap(const CQXValueContainer&, TyFieldValues&) override {}
};

// Returns the code with which the layer refuses an operation.
template <class Operation>
long refusal(Operation operation) {
  try {
    operation();
    return 0;
  } catch (const CQXPersistenceException& failure) {
    return CQXPersistenceException(failure).GetErrorCode();
  }
}

void useProxies() {
  Row row;
  const std::unique_ptr<CQXValueContainer> container = std::make_unique<Row>(row);
  used(dynamic_cast<Row*>(container.get()) != nullptr, "CQXValueContainer");
  Rows rows;
  IQXObjCollectionForBrowser& browser = rows;
  used(refusal([&] { browser.First(row); }) == -1, "CQXPersistentCollectionProxy");
  used(dynamic_cast<IQXObjCollectionForBrowser*>(&rows) != nullptr, "IQXObjCollectionForBrowser");
  OneRow one;
  used(refusal([&] { one.Refresh(); }) == -1, "CQXPersistentObjectProxy");
  CComBSTR sql;
  const auto getSql = [&] { CQXChooseListHelper::GetSQL(nullptr, {}, u"T", false, {}, sql); };
  used(raisedBy(getSql) == E_POINTER, "CQXChooseListHelper");
}

// Returns the text with which a transaction is refused.
template <class Operation>
std::string_view thrownText(Operation operation) {
  try {
    operation();
    return "";
  } catch (const char* text) {
    return text;
  }
}

class Entry : public CQXBusinessObject {
 public:
  using CQXBusinessObject::CQXBusinessObject;
  using CQXBusinessObject::TransactionCommit;
};

void useBusiness() {
  CComPtr<ICompany> none;
  used(raisedBy([&] { CQXTransactionManager::Start(none); }) == E_POINTER &&
           CQXTransactionManager::GetCurrentDepth() == 1,
       "CQXTransactionManager");
  const qx_ptr<CQXTransaction> inner = CQXTransactionManager::Start(none);
  CQXTransaction copy(*inner);
  copy = *inner;
  used(thrownText([&] { copy.Rollback(); }) == "Invalid company pointer in CQXTransaction object",
       "CQXTransaction");
  raisedBy([&] { CQXTransactionManager::Rollback(none); });
  used(raisedBy([&] { qx::transact(none, [] {}); }) == E_POINTER &&
           CQXTransactionManager::GetCurrentDepth() == 0,
       "transact");
  Entry entry(none);
  used(thrownText([&] { entry.TransactionCommit(); }) == "Not in Transaction, can't commit" &&
           Entry(entry).GetLastErrorNumber() == 0,
       "CQXBusinessObject");
  CQXBusinessObjectBrowser browser(none);
  browser.setPCol(new Rows);
  browser.setCntr(new Row);
  used(refusal([&] { browser.First(); }) == -1, "CQXBusinessObjectBrowser");
}

class CachedRows : public CQXPersistentCollection_CacheBased {
 public:
  void MapToContainer(const TyFieldValues&, CQXValueContainer&) override {}
  void ContainerToMap(const CQXValueContainer&, TyFieldValues&) override {}
};

void useCache() {
  TyLoadParameter param;
  const std::vector<CComBSTR> keys{u"Code"};
  param.SetKeyFields(&keys);
  used(param.GetKeyFields()->size() == 1 && param == TyLoadParameter(param), "TyLoadParameter");
  TyLoadParameter_WithPrefetchKeys prefetch;
  prefetch.SetPrefetchBehavior(pb_AllRows, nullptr, 0);
  used(TyLoadParameter_WithPrefetchKeys(prefetch).GetPrefetchBehavior() == pb_AllRows,
       "TyLoadParameter_WithPrefetchKeys");
  CachedRows rows;
  Row row;
  rows.AddIndex(u"byNo", {u"U_No"});
  used(refusal([&] { CachedRows(rows).First(row); }) == -1, "CQXPersistentCollection_CacheBased");
}

void useCaches() {
  CDBRecordCache::ClearAllCaches(true, false);
  CDBRecordCache::FlushAllCaches();
  CDBRecordCache::BeforeTransaction_Start();
  CDBRecordCache::LogCounters();
  used(CDBRecordCache::AllCounters().empty() && CDBRecordCache::CountersText().IsEmpty(),
       "CDBRecordCache");
  used(raisedBy([] { CDBRecordCache::GetInstance(CComPtr<ICompany>(), u"@T"); }) == E_POINTER,
       "CDBRecordCache");
  used(CacheCounters().Text().Length() > 0, "CacheCounters");
}

class Lines : public StackWalker {
 public:
  int entries = 0;

 protected:
  void OnCallstackEntry(CallstackEntryType, CallstackEntry&) override { ++entries; }
  void OnOutput(const char*) override {}
};

void useStacks() {
  used(qx::installFaultGuard(), "installFaultGuard");
  used(qx::guardThisThread(), "guardThisThread");
  Lines lines;
  used(lines.ShowCallstack() && lines.entries > 2, "StackWalker");
}

}  // namespace

int main() {
  useStacks();
  useScopes();
  useValues();
  useMoney();
  useRuntime();
  useQueries();
  useProxies();
  useBusiness();
  useCaches();
  useCache();
  std::cout << uses << " uses" << std::endl;
}
