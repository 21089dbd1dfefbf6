#pragma once

// Numbers as digits: the double that a spelling means, and the spelling of a double. A company
// keeps decimals as doubles or as values that read as doubles, so the value that a statement spells
// is the value that comes back, on every engine.

#include <optional>
#include <string>
#include <string_view>

namespace qx::sql {

/// True if a number in the form of a statement has no point and no exponent.
bool isWholeNumber(std::string_view number);

/// Returns the double nearest to a number without a sign, in the form of a statement: digits with
/// an optional point and exponent. A number below the smallest double is 0; for one beyond the
/// largest, nothing is returned.
std::optional<double> nearestDouble(std::string_view number);

/// True if SQLite, which reads whole numbers with 64 bits and others as long doubles, is sure to
/// take the number for itself or for its nearest double. That holds for most numbers that people
/// write. Numbers of many digits or with great exponents may lie so close to the middle between two
/// doubles that SQLite takes the wrong one.
bool readsExactly(std::string_view number);

/// Returns a finite double with the 15 digits that are certain, without an exponent and without
/// trailing zeros after the point.
std::string plainText(double value);

}  // namespace qx::sql
