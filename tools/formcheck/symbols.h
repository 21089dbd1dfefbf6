#pragma once

// The symbol table of a form and the replacement of symbols by it, with the rules of the resource
// loader.

#include "qxframework/resources/xml_map.h"
#include "tools/formcheck/document.h"
#include "tools/formcheck/texts.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qx::formcheck {

/// What the loader does with the symbol in an attribute.
enum class Role { plain, identifier, text };

/// Returns the role of an attribute. Case counts, and a name that ends in a rewritten name has the
/// role of that name.
Role roleOf(std::u16string_view attributeName);

/// Rows by tag; the first row of a tag counts.
class SymbolTable {
 public:
  /// Returns false if the tag has a row already.
  bool add(const XMLMAP& row) { return rows_.emplace(row.tag, row).second; }
  /// Returns the row, or null.
  const XMLMAP* find(std::u16string_view tag) const;

 private:
  std::map<std::u16string, XMLMAP, std::less<>> rows_;
};

/// Returns a table of the given rows, those of the document's `maptable` and the row that ends
/// every table of a form class. Reports rows that do not count.
SymbolTable symbolTable(const std::vector<XMLMAP>& given, const Element& root, Findings& findings);

/// Sets the `result` of every attribute outside of the `maptable`. Reports symbols that stay, UIDs
/// that are cut, and strings that `language` lacks.
void replaceSymbols(Element& root, const SymbolTable& symbols, const Texts& texts,
                    std::uint32_t language, Findings& findings);

}  // namespace qx::formcheck
