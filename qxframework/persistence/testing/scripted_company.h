#pragma once

// A company for tests whose record sets answer statements from a script: named columns, rows, and a
// cursor that goes in front of the first row and behind the last. What is run goes to one list, and
// any statement can be made to fail by its number.

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
  /// A statement that went to a record set. These count from 1 in the order of their making.
  struct Run {
    int recordset;
    std::u16string statement;
    friend bool operator==(const Run&, const Run&) = default;
  };

  HRESULT raw_GetLastError(long* code, BSTR* text) override;
  HRESULT raw_GetBusinessObject(long type, IDispatch** out) override;
  HRESULT raw_GetDbServerType(long* out) override;

  std::vector<std::u16string> statements() const;
  /// The code that `operation` ("MoveNext", "GetLastError" …) answers with; 0 unless scripted.
  HRESULT resultOf(const std::string& operation) const;

  long serverType = 1;
  long errorCode = 0;
  std::u16string errorText;
  /// The rows of a statement, and those of all other statements.
  std::map<std::u16string, ScriptedRows> answers;
  ScriptedRows otherwise;
  /// The statement with this number, from 1, fails; 0 for none.
  int failStatement = 0;
  HRESULT statementFailure = resultCode(-2000);
  HRESULT statementResult = S_OK;
  std::map<std::string, HRESULT> results;
  /// What the two end flags of a record set are when they are set.
  VARIANT_BOOL truth = VARIANT_TRUE;

  std::vector<Run> runs;
  std::vector<std::string> moves;
  int recordsets = 0;
  int fieldsRead = 0;  // how often a row's fields were asked for
  int itemsRead = 0;   // and one of them
};

CComPtr<ScriptedCompany> makeScriptedCompany();

/// How often `object` is held, by the caller's own count of it.
inline ULONG referencesTo(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

}  // namespace qx::test
