#include "tools/formcheck/form_check.h"

#include "qxframework/resources/narrow_text.h"
#include "tools/formcheck/document.h"
#include "tools/formcheck/form.h"
#include "tools/formcheck/form_checks.h"
#include "tools/formcheck/form_picture.h"
#include "tools/formcheck/symbols.h"
#include "tools/formcheck/vocabulary.h"
#include "tools/formdraw/drawing.h"

#include <algorithm>

namespace qx::formcheck {
namespace {

// Returns the drawing of the form. Every check goes on after the findings of those ahead of it.
std::string check(std::string_view content, const Setting& setting, Findings& findings) {
  std::optional<Element> root = readDocument(textOfResource(content), findings);
  if (!root) return {};
  const SymbolTable symbols = symbolTable(setting.symbols, *root, findings);
  replaceSymbols(*root, symbols, setting.texts, setting.language, findings);
  checkVocabulary(*root, findings);
  const std::optional<Form> form = readForm(*root, findings);
  if (!form) return {};
  checkUids(*form, findings);
  checkLinks(*form, findings);
  checkPlaces(*form, findings);
  checkWidths(*form, findings);
  return formdraw::draw(pictureOf(*form));
}

}  // namespace

bool Report::hasErrors() const {
  return std::any_of(findings.begin(), findings.end(),
                     [](const Finding& finding) { return finding.severity == Severity::error; });
}

Report checkForm(std::string_view content, const Setting& setting) {
  Findings findings;
  std::string drawing = check(content, setting, findings);
  return {findings.sorted(), std::move(drawing)};
}

}  // namespace qx::formcheck
