#pragma once

// The dictionary of a scripted company: its user tables, their fields and keys. A test sets them
// and looks at them; the code under test works on them through the host's dictionary objects.

#include "testing/host_stubs.h"
#include "testing/scripted_rows.h"

#include <limits>
#include <string>
#include <string_view>
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
  std::u16string table = {};  ///< without "@"
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
  std::u16string table = {};  ///< without "@"
  std::u16string name = {};
  long unique = 0;
  std::vector<std::u16string> columns = {};
  friend bool operator==(const FakeUserKey&, const FakeUserKey&) = default;
};

class FakeDictionary {
 public:
  /// The code with which Add refuses an entry that exists.
  static constexpr long kAlreadyThere = -2035;

  /// Returns the field or key of this name in any table, null if there is none.
  const FakeUserField* field(std::u16string_view name) const;
  const FakeUserKey* key(std::u16string_view name) const;

  /// True for the statements by which the framework looks a field up.
  static bool isFieldLookUp(std::u16string_view statement);
  /// Returns one row with the number of the field, or no row.
  ScriptedRows lookUpField(std::u16string_view statement) const;

  std::vector<FakeTable> tables;
  std::vector<FakeUserField> fields;
  std::vector<FakeUserKey> keys;
  long largestSize = std::numeric_limits<int>::max();  // of a field

  // A host allows one dictionary object at a time and none during a statement. The counts are those
  // of the objects that exist, the most that existed at once, and the most during a statement.
  int liveMetadata = 0;
  int mostMetadata = 0;
  int mostMetadataAtStatement = 0;
};

class ScriptedCompany;

/// Create the dictionary objects of a company, which must outlive them. Calls are recorded as
/// "Tables.Add(NAME)", "Fields.PutSize(15)", "ValidValues.Add()", "Keys.Add(NAME)" and
/// "Elements.Add()".
CComPtr<IUserTablesMD> makeUserTables(ScriptedCompany& company);
CComPtr<IUserFieldsMD> makeUserFields(ScriptedCompany& company);
CComPtr<IUserKeysMD> makeUserKeys(ScriptedCompany& company);

}  // namespace qx::test
