#include "tools/formcheck/localised_form.h"

#include "qxframework/resources/narrow_text.h"
#include "tools/formcheck/document.h"
#include "tools/formcheck/form.h"
#include "tools/formcheck/symbols.h"

#include <utility>

namespace qx::formcheck {
namespace {

constexpr std::u16string_view kVowels = u"aeiouAEIOU";
constexpr std::u16string_view kAccented = u"áéíóúÁÉÍÓÚ";
constexpr std::size_t kLongerPercent = 40;

class ReadForm final : public LocalisedForm {
 public:
  ReadForm(Element root, Findings& findings)
      : root_(std::move(root)), form_(readForm(root_, findings)) {}
  bool isComplete() const { return form_.has_value(); }
  const Form& form() const override { return *form_; }

 private:
  Element root_;
  std::optional<Form> form_;
};

}  // namespace

std::unique_ptr<const LocalisedForm> localisedForm(std::string_view content,
                                                   const Setting& setting) {
  Findings findings;
  std::optional<Element> root = readDocument(textOfResource(content), findings);
  if (!root) return nullptr;
  const SymbolTable symbols = symbolTable(setting.symbols, *root, findings);
  replaceSymbols(*root, symbols, setting.texts, setting.language, findings);
  auto form = std::make_unique<ReadForm>(std::move(*root), findings);
  if (!form->isComplete()) return nullptr;
  return form;
}

std::optional<FoundText> LengthenedTexts::find(std::uint32_t id, std::uint32_t) const {
  std::optional<FoundText> found = texts_.find(id, kEnglish);
  if (!found) return found;
  std::u16string& text = found->text;
  const std::size_t length = text.size();
  const std::size_t more = (length * kLongerPercent + 99) / 100;
  text.reserve(length + more);
  for (std::size_t at = 0; at < more; ++at) text += text[at % length];
  for (char16_t& letter : text) {
    const std::size_t vowel = kVowels.find(letter);
    if (vowel != kVowels.npos) letter = kAccented[vowel];
  }
  return found;
}

}  // namespace qx::formcheck
