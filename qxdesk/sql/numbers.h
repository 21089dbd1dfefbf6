// Numbers as digits: what double a spelling means, and how a double is spelled. A company keeps
// decimals as doubles or as what reads as them, so that the value that a statement spells is the
// value that comes back, on every engine.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qx::sql {

// The double nearest to a number without a sign, in the form of a statement: digits with a point
// and an exponent as may be. Below the smallest it is 0; nothing beyond the largest.
std::optional<double> nearestDouble(std::string_view number);

// True when the number, read as SQLite does it with whole numbers of 64 bits and long doubles, is
// sure to become itself or its nearest double. That is so for most that people write; numbers that
// lie close to the middle between two doubles, of many digits or with great exponents may become
// the wrong one.
bool readsExactly(std::string_view number);

// A finite double by the 15 digits that are certain, without an exponent and without zeros behind
// the last one that counts.
std::string plainText(double value);

}  // namespace qx::sql
