#pragma once

// Types of user fields: how a field of (type, sub-type, size) looks as a column, and how its
// default value is written.

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

/// The sub-type that makes a date field a time of day, kept as hour * 100 + minute.
inline constexpr long kTimeSubType = 84;

inline constexpr long kMaxAlphaSize = 254;
inline constexpr long kMaxNumericSize = 11;

struct FieldShape {
  std::string name;  // without "U_"
  long type = kAlphaField;
  long subType = 0;
  long size = 0;
  bool mandatory = false;
  std::string defaultValue;
};

/// Raises CompanyError for an unknown type and a size out of range. A numeric field without a size
/// gets the largest one.
void checkShape(FieldShape& shape);

/// The name of the column: "U_" and the field's name.
std::string columnName(std::string_view field);

/// The column with its default. Raises CompanyError for a default that the type does not take.
ColumnLayout columnOf(const FieldShape& shape);

/// "GETDATE()" and its like: a new row gets the time of its making.
bool isCurrentTime(std::string_view defaultValue);

}  // namespace qx::desk
