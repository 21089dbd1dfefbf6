#pragma once

// A company for tests. It keeps a dictionary of user tables, fields and keys like a host does, and
// answers statements from a table of texts; whatever it is asked for goes to one list in order.

#include "testing/fake_rows.h"
#include "testing/host_calls.h"
#include "testing/host_stubs.h"

#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace qx::test {

struct FakeTable {
  std::u16string name = {};
  std::u16string description = {};
  long type = 0;
  friend bool operator==(const FakeTable&, const FakeTable&) = default;
};

struct FakeUserField {
  std::u16string table = {};
  std::u16string name = {};
  std::u16string description = {};
  long type = 0;
  long subType = 0;
  long size = 0;
  long editSize = 0;
  long mandatory = 0;
  std::u16string defaultValue = {};
  std::u16string linkedTable = {};
  std::vector<std::pair<std::u16string, std::u16string>> validValues = {};
  friend bool operator==(const FakeUserField&, const FakeUserField&) = default;
};

struct FakeUserKey {
  std::u16string table = {};
  std::u16string name = {};
  long unique = 0;
  std::vector<std::u16string> columns = {};
  friend bool operator==(const FakeUserKey&, const FakeUserKey&) = default;
};

class FakeCompany final : public StubCompany {
 public:
  /// The code that Add answers for what is there already.
  static constexpr long kAlreadyThere = -2035;

  explicit FakeCompany(HostCalls& hostCalls) : calls(hostCalls) {}

  /// The rows of a statement; any other has none, but for the look-up of a field in the dictionary.
  void answer(std::u16string statement, FakeRows rows) {
    answers[std::move(statement)] = std::move(rows);
  }
  /// The statements so far, as "SQL" was asked for.
  std::vector<std::string> statements() const;
  const FakeUserField* field(std::u16string_view name) const;
  const FakeUserKey* key(std::u16string_view name) const;

  HRESULT raw_GetLastError(long* code, BSTR* text) override;
  HRESULT raw_GetBusinessObject(long type, IDispatch** out) override;
  HRESULT raw_GetDbServerType(long* out) override;
  HRESULT raw_GetCompanyService(ICompanyService** out) override;

  /// Runs one statement: the code, and the rows if it went well.
  HRESULT run(std::u16string_view statement, FakeRows& rows);
  /// 0, or the error that `operation` was to answer with.
  long refuse(const std::string& operation, bool alreadyThere);

  HostCalls& calls;
  long engine = 1;
  long errorCode = 0;
  std::u16string errorText;
  /// Statements count from 1; the one with this number fails, and every one with the code of
  /// "SQL" in the failures.
  int failStatement = 0;
  HRESULT statementFailure = resultCode(-2000);
  /// The largest size of a field that the host grants.
  long largestSize = std::numeric_limits<int>::max();

  std::vector<FakeTable> tables;
  std::vector<FakeUserField> fields;
  std::vector<FakeUserKey> keys;
  std::map<std::u16string, FakeRows> answers;
  CComPtr<IDataHelper> helper;
  CComPtr<ICompanyService> service;

  // Objects of the dictionary that live, the most that ever did at a time, and the most at a
  // statement.
  int liveMetadata = 0;
  int mostMetadata = 0;
  int mostMetadataAtStatement = 0;
  int statementCount = 0;
};

/// Fresh company; the calls must outlive it.
CComPtr<FakeCompany> makeCompany(HostCalls& calls);
/// A recordset with these rows; the company must outlive it.
CComPtr<IRecordset> makeRecordset(FakeCompany& company, FakeRows rows);

}  // namespace qx::test
