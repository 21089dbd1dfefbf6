#pragma once

// A form document with the texts of one language, without the checks.

#include "tools/formcheck/form_check.h"

#include <memory>
#include <string_view>

namespace qx::formcheck {

struct Form;

/// Owns the document to which the parts of the form point.
class LocalisedForm {
 public:
  virtual ~LocalisedForm() = default;
  virtual const Form& form() const = 0;
};

/// Reads a document, given as the bytes of its file. Returns null if it holds no form; checkForm()
/// reports why.
std::unique_ptr<const LocalisedForm> localisedForm(std::string_view content,
                                                   const Setting& setting);

/// The English texts of another source, each 40 % longer: a form in which they fit has room for
/// most languages. The added part repeats the text, and vowels have accents, so that a text which
/// did not come from a string table is easy to tell.
class LengthenedTexts final : public Texts {
 public:
  explicit LengthenedTexts(const Texts& texts) : texts_(texts) {}
  std::optional<FoundText> find(std::uint32_t id, std::uint32_t language) const override;

 private:
  const Texts& texts_;
};

}  // namespace qx::formcheck
