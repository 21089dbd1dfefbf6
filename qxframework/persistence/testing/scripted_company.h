#pragma once

// A company for tests. Its record sets answer statements from a script: named columns, rows, and a
// cursor that also has a position before the first row and one after the last. It records all
// statements, and fails any of them by its number.

#include "testing/host_stubs.h"

#include <map>
#include <string>
#include <vector>

namespace qx::test {

struct ScriptedRows {
  std::vector<std::u16string> columns = {};
  std::vector<std::vector<CComVariant>> rows = {};
};

class ScriptedCompany final : public StubCompany {
 public:
  /// A statement and the record set that ran it. Record sets are numbered from 1 as they are made.
  struct Run {
    int recordset;
    std::u16string statement;
    friend bool operator==(const Run&, const Run&) = default;
  };

  HRESULT raw_GetLastError(long* code, BSTR* text) override;
  HRESULT raw_GetBusinessObject(long type, IDispatch** out) override;
  HRESULT raw_GetDbServerType(long* out) override;

  std::vector<std::u16string> statements() const;
  /// Returns the result of `operation` ("MoveNext", "GetLastError" …): 0 unless scripted.
  HRESULT resultOf(const std::string& operation) const;

  long serverType = 1;
  long errorCode = 0;
  std::u16string errorText;
  /// The rows by statement, and the rows of all other statements.
  std::map<std::u16string, ScriptedRows> answers;
  ScriptedRows otherwise;
  /// The number, from 1, of the statement that fails; 0 for none.
  int failStatement = 0;
  HRESULT statementFailure = resultCode(-2000);
  HRESULT statementResult = S_OK;
  std::map<std::string, HRESULT> results;
  /// The value of a record set's two end flags when they are set.
  VARIANT_BOOL truth = VARIANT_TRUE;

  std::vector<Run> runs;
  std::vector<std::string> moves;
  int recordsets = 0;
  int fieldsRead = 0;  // how often a row's fields were asked for
  int itemsRead = 0;   // and one of them
};

CComPtr<ScriptedCompany> makeScriptedCompany();

/// Returns the number of references to `object`, including that of the caller.
inline ULONG referencesTo(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

}  // namespace qx::test
