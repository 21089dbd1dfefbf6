#pragma once

// The content of a description file, read and checked. It owns the names, because the persistence
// layer keeps pointers to them only.

#include "qxframework/automation/variant.h"
#include "qxframework/query/condition.h"
#include "qxframework/query/link_criteria.h"
#include "tools/input/diagnostic.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qx::sqlprint {

using input::Diagnostic;
using input::Location;

/// The operation of the layer that writes the statement.
enum class Kind {
  select,     ///< a collection's SELECT
  load,       ///< one object's SELECT
  insert,     ///< an object is added
  update,     ///< an object is updated
  remove,     ///< an object or a collection deletes rows
  chooseList  ///< the SELECT of a choose list
};

using Names = std::vector<std::u16string>;
/// A column and its value, in the order of the file.
using NamedValues = std::vector<std::pair<std::u16string, CComVariant>>;

struct Condition {
  Location place;
  std::u16string field;
  Persistence::HvConditionOperation operation = Persistence::co_Equal;
  Persistence::HvConditionRelationship relationship = Persistence::cr_And;
  CComVariant value;  ///< VT_BSTR, VT_R8, VT_DATE or VT_I4; VT_EMPTY if there is raw
  std::optional<std::u16string> raw;  ///< written unchanged
  long open = 0;
  long close = 0;
};

struct JoinField {
  std::optional<std::u16string> from;  ///< nothing if the column is compared with the value
  std::u16string to;
  Persistence::HvConditionOperation operation = Persistence::co_Equal;
  CComVariant value;
};

struct Join {
  std::u16string table;
  std::u16string as;
  Persistence::etTABLE_JOIN_MODE mode = Persistence::jm_Inner;
  bool userTable = false;
  Names fields;
  std::vector<JoinField> on;
};

struct SortField {
  std::u16string field;
  bool descending = false;
};

struct Limit {
  Location place;
  long count = 0;
};

/// One statement. Members that its kind does not use keep these defaults.
struct Statement {
  Kind kind = Kind::select;
  Location place;
  std::u16string table;
  bool userTable = false;
  std::u16string as;
  Names keys;
  bool keysOnly = true;
  Names fields;
  std::optional<std::vector<Condition>> where;  ///< nothing differs from an empty list
  std::vector<SortField> sort;
  std::optional<Limit> limit;
  std::vector<Join> joins;
  std::u16string nextCode;
  NamedValues values;
  NamedValues keyValues;
  std::vector<std::pair<std::u16string, std::u16string>> titles;  ///< of a choose list's columns
  std::u16string whereText;                                       ///< of a choose list
};

struct Description {
  std::vector<Statement> statements;  ///< in the order of the file
  std::vector<std::string> warnings;  ///< "file:line:column: warning: what; what to do"
};

/// Returns the name of the kind in a file.
const char* nameOf(Kind kind);

/// Reads a description; `file` is its name in messages. Throws Diagnostic if it is refused.
Description readDescription(const std::string& file, const std::string& content);

}  // namespace qx::sqlprint
