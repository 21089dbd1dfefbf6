#pragma once

// Chooses the values of a resolved statement for which an engine gets parameters, so that the
// translation serves every statement of the same shape.
//
// A literal is chosen only in places where its value decides nothing, neither the types nor the
// text around it: a value that an INSERT or UPDATE sets, the side of a comparison, of BETWEEN or of
// IN whose other side has a known type, and the pattern of a LIKE without sets and ESCAPE. All
// other literals stay in the text: those in a list, in functions and casts, positions, limits,
// aliases, a text that was read as a number.

#include "qxdesk/sql/ast.h"

namespace qx::sql {

/// A parameter of a translated text.
struct BoundValue {
  enum class Source { Literal, Now, Today };
  Source source = Source::Literal;
  int literal = -1;       ///< which one of the shape, from 0
  bool negative = false;  ///< a number after a minus sign
  ColumnType type = ColumnType::Unknown;
  std::size_t at = 0;  ///< of its "?" in the text
};

/// Marks the chosen literals and the calls of Now and Today as bound. `catalog` may be null.
void chooseBoundValues(Statement& statement, const Catalog* catalog);

}  // namespace qx::sql
