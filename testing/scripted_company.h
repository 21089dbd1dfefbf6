#pragma once

// The one company of the tests. It answers statements from a script, keeps a dictionary of user
// tables, fields and keys as a host does, and logs in. Each call is recorded in one list.

#include "testing/fake_dictionary.h"
#include "testing/fake_sharing.h"
#include "testing/host_calls.h"
#include "testing/host_stubs.h"
#include "testing/scripted_rows.h"

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace qx::test {

/// A statement is answered by the first of these that applies: the failure of its number, the
/// failure of "SQL" or of "SQL <first word>", `answers`, the dictionary (look-up of a field),
/// `responder`, `otherwise`.
class ScriptedCompany final : public StubCompany, public FakeDictionary {
 public:
  /// A statement as it reached a record set. Record sets are numbered from 1 in the order in which
  /// they were created.
  struct Run {
    int recordset;
    std::u16string statement;
    friend bool operator==(const Run&, const Run&) = default;
  };

  /// Records its calls in a list of its own.
  ScriptedCompany() : calls(ownCalls_) {}
  /// Records its calls in `shared`, which must outlive the company.
  explicit ScriptedCompany(HostCalls& shared) : calls(shared) {}

  /// Answers a statement with rows whose columns have no names.
  void answer(std::u16string statement, std::vector<ScriptedRow> rows) {
    answers[std::move(statement)] = {{}, std::move(rows)};
  }
  /// Makes the company offer ICompanySharing from now on.
  FakeSharing& share();
  /// Returns the statements in the list of calls, as UTF-8.
  std::vector<std::string> statements() const;
  /// Returns the statements in `runs`.
  std::vector<std::u16string> statementTexts() const;

  HRESULT QueryInterface(REFIID iid, void** object) override;
  HRESULT raw_Connect(long* out) override;
  HRESULT raw_Disconnect() override;
  HRESULT raw_PutLanguage(HvLanguages language) override;
  HRESULT raw_GetLastError(long* code, BSTR* text) override;
  HRESULT raw_GetCompanyDB(BSTR* out) override;
  HRESULT raw_GetBusinessObject(long type, IDispatch** out) override;
  HRESULT raw_GetCompanyService(ICompanyService** out) override;
  HRESULT raw_GetContextCookie(BSTR* out) override;
  HRESULT raw_PutLoginContext(BSTR context) override;
  HRESULT raw_PutConnectionString(BSTR connection) override;
  HRESULT raw_PutUiApplication(IDispatch* application) override;
  HRESULT raw_GetDbServerType(long* out) override;
  HRESULT raw_GetInTransaction(VARIANT_BOOL* out) override;
  HRESULT raw_StartTransaction() override;
  HRESULT raw_EndTransaction(HvEndTransaction end) override;

  /// Records a statement of the record set `number` and answers it. `rows` is set on success.
  HRESULT run(int number, std::u16string_view statement, ScriptedRows& rows);
  /// Returns the error that the operation `name` of the dictionary answers with, 0 if it succeeds,
  /// and sets the last error to it.
  long refuse(const std::string& name, bool alreadyThere);

  HostCalls& calls;
  long serverType = kMssql;
  VARIANT_BOOL inTransaction = VARIANT_FALSE;
  std::deque<long> connectAnswers;  // of the calls of Connect to come; 0 if there is none

  // The last error.
  long errorCode = 0;
  std::u16string errorText;

  std::u16string companyDB = u"COMPANY";  // the name of its database
  std::map<std::u16string, ScriptedRows> answers;
  std::function<HRESULT(std::u16string_view statement, ScriptedRows& rows)> responder;
  ScriptedRows otherwise;
  int failStatement = 0;  // the statement with this number in `runs`, from 1, fails; 0 for none
  HRESULT statementFailure = resultCode(-2000);
  VARIANT_BOOL truth = VARIANT_TRUE;  // how a record set says that it is at one of its ends

  CComPtr<FakeSharing> sharing;  // null if the company does not offer it

  // The further objects of the company.
  CComPtr<IDataHelper> helper;
  CComPtr<ICompanyService> service;

  std::vector<Run> runs;
  int recordsets = 0;  // created so far
  int fieldsRead = 0;  // calls for the fields of a row
  int itemsRead = 0;   // calls for one of the fields

 private:
  HostCalls ownCalls_;
};

/// Creates a company with a list of calls of its own.
CComPtr<ScriptedCompany> makeScriptedCompany();
/// Creates a company that records its calls in `calls`, which must outlive it.
CComPtr<ScriptedCompany> makeScriptedCompany(HostCalls& calls);

/// Returns the number of references to `object`.
inline ULONG referencesTo(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

}  // namespace qx::test
