#include "testing/scripted_company.h"

#include "testing/scripted_recordset.h"

#include <utility>

namespace qx::test {

HRESULT ScriptedCompany::QueryInterface(REFIID iid, void** object) {
  if (iid == ICompanySharing::kIid && sharing != nullptr && object != nullptr) {
    return sharing->QueryInterface(iid, object);
  }
  return StubCompany::QueryInterface(iid, object);
}

FakeSharing& ScriptedCompany::share() {
  sharing = makeObject<FakeSharing>(calls);
  return *sharing.p;
}

std::vector<std::string> ScriptedCompany::statements() const {
  std::vector<std::string> found = calls.of("SQL(");
  for (std::string& each : found) each.pop_back();
  return found;
}

std::vector<std::u16string> ScriptedCompany::statementTexts() const {
  std::vector<std::u16string> texts;
  for (const Run& each : runs) texts.push_back(each.statement);
  return texts;
}

HRESULT ScriptedCompany::raw_Connect(long* out) {
  *out = 0;
  if (!connectAnswers.empty()) {
    *out = connectAnswers.front();
    connectAnswers.pop_front();
  }
  return calls.record("Company.Connect");
}

HRESULT ScriptedCompany::raw_Disconnect() { return calls.record("Company.Disconnect"); }

HRESULT ScriptedCompany::raw_PutLanguage(HvLanguages language) {
  return calls.record("Company.PutLanguage", std::to_string(language));
}

HRESULT ScriptedCompany::raw_GetLastError(long* code, BSTR* text) {
  *code = errorCode;
  const HRESULT hr = calls.enter("Company.GetLastError");
  return hr < 0 ? hr : giveText(errorText, text);
}

HRESULT ScriptedCompany::raw_GetCompanyDB(BSTR* out) {
  const HRESULT hr = calls.enter("Company.GetCompanyDB");
  return hr < 0 ? hr : giveText(companyDB, out);
}

HRESULT ScriptedCompany::raw_GetBusinessObject(long type, IDispatch** out) {
  const HRESULT hr = calls.enter("Company.GetBusinessObject " + std::to_string(type));
  if (hr < 0) return hr;
  switch (type) {
    case kRecordset:
      return giveObject<IDispatch>(makeRecordset(*this, {}).p, out);
    case kUserTablesMD:
      return giveObject<IDispatch>(makeUserTables(*this).p, out);
    case kUserFieldsMD:
      return giveObject<IDispatch>(makeUserFields(*this).p, out);
    case kUserKeysMD:
      return giveObject<IDispatch>(makeUserKeys(*this).p, out);
    case kDataHelper:
      return giveObject<IDispatch>(helper, out);
    default:
      return E_INVALIDARG;
  }
}

HRESULT ScriptedCompany::raw_GetCompanyService(ICompanyService** out) {
  const HRESULT hr = calls.enter("Company.GetCompanyService");
  return hr < 0 ? hr : giveObject<ICompanyService>(service, out);
}

HRESULT ScriptedCompany::raw_GetContextCookie(BSTR* out) {
  const HRESULT hr = calls.record("Company.GetContextCookie");
  return hr < 0 ? hr : giveText(u"COOKIE", out);
}

HRESULT ScriptedCompany::raw_PutLoginContext(BSTR context) {
  return calls.record("Company.PutLoginContext", narrow(context));
}

HRESULT ScriptedCompany::raw_PutConnectionString(BSTR connection) {
  return calls.record("Company.PutConnectionString", narrow(connection));
}

HRESULT ScriptedCompany::raw_PutUiApplication(IDispatch* application) {
  return calls.record("Company.PutUiApplication", application == nullptr ? "null" : "app");
}

HRESULT ScriptedCompany::raw_GetDbServerType(long* out) {
  *out = serverType;
  return calls.enter("Company.GetDbServerType");
}

HRESULT ScriptedCompany::raw_GetInTransaction(VARIANT_BOOL* out) {
  *out = inTransaction;
  return calls.enter("Company.GetInTransaction");
}

HRESULT ScriptedCompany::raw_StartTransaction() {
  const HRESULT hr = calls.record("Company.StartTransaction");
  if (hr >= 0) inTransaction = VARIANT_TRUE;
  return hr;
}

// As at a host, no transaction is open afterwards, even if the call fails.
HRESULT ScriptedCompany::raw_EndTransaction(HvEndTransaction end) {
  inTransaction = VARIANT_FALSE;
  return calls.record("Company.EndTransaction", std::to_string(end));
}

HRESULT ScriptedCompany::run(int number, std::u16string_view statement, ScriptedRows& rows) {
  runs.push_back({number, std::u16string(statement)});
  mostMetadataAtStatement = std::max(mostMetadataAtStatement, liveMetadata);
  const HRESULT hr = calls.record("SQL", toUtf8(statement));
  const std::u16string_view firstWord = statement.substr(0, statement.find(u' '));
  const HRESULT ofItsKind = calls.enter("SQL " + toUtf8(firstWord));
  if (std::cmp_equal(runs.size(), failStatement)) return statementFailure;
  if (hr < 0) return hr;
  if (ofItsKind < 0) return ofItsKind;

  if (const auto known = answers.find(runs.back().statement); known != answers.end()) {
    rows = known->second;
  } else if (isFieldLookUp(statement)) {
    rows = lookUpField(statement);
  } else if (responder) {
    return responder(statement, rows);
  } else {
    rows = otherwise;
  }
  return hr;
}

long ScriptedCompany::refuse(const std::string& name, bool alreadyThere) {
  errorCode = calls.answer(name);
  if (errorCode != 0) {
    errorText = u"The host refuses";
  } else if (alreadyThere) {
    errorCode = kAlreadyThere;
    errorText = u"This entry already exists";
  }
  return errorCode;
}

CComPtr<ScriptedCompany> makeScriptedCompany() { return makeObject<ScriptedCompany>(); }

CComPtr<ScriptedCompany> makeScriptedCompany(HostCalls& calls) {
  return makeObject<ScriptedCompany>(calls);
}

}  // namespace qx::test
