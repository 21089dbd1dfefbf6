#pragma once

// Types of user fields: the column that a field of a type, sub-type and size becomes, and the form
// of its default value.

#include "qxdesk/engines/table_layout.h"

#include <optional>
#include <string>

namespace qx::desk {

/// Numbers of IUserFieldsMD::PutType.
enum FieldType : long {
  kAlphaField = 0,
  kMemoField = 1,
  kNumericField = 2,
  kDateField = 3,
  kFloatField = 4,
};

/// The sub-type that makes a date field a time of day, stored as hour * 100 + minute.
inline constexpr long kTimeSubType = 84;

inline constexpr long kMaxAlphaSize = 254;
inline constexpr long kMaxNumericSize = 11;

struct FieldShape {
  std::string name;  // without "U_"
  long type = kAlphaField;
  long subType = 0;
  long size = 0;
  bool mandatory = false;
  std::string defaultValue = {};
};

/// Throws CompanyError for an unknown type and for a size out of range. A numeric field without a
/// size gets the largest one.
void checkShape(FieldShape& shape);

/// Returns the name of the column: "U_" and the field's name.
std::string columnName(std::string_view field);

/// Returns the column with its default. Throws CompanyError for a default that does not suit the
/// type.
ColumnLayout columnOf(const FieldShape& shape);

/// True for "GETDATE()" and its equals in any dialect: a new row gets the current time.
bool isCurrentTime(std::string_view defaultValue);

}  // namespace qx::desk
