#include "tools/formcheck/localised_form.h"

#include "tools/formcheck/form.h"
#include "tools/formdraw/drawn_width.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::formcheck {
namespace {

// One string in two languages.
class TwoTexts final : public Texts {
 public:
  std::optional<FoundText> find(std::uint32_t id, std::uint32_t language) const override {
    if (id != 10) return std::nullopt;
    if (language == 1031) return FoundText{u"Auftrag", 1031};
    return FoundText{u"Order of Q", kEnglish};
  }
};

const TwoTexts kTexts;

constexpr const char* kForm =
    "<Application><forms><action type=\"add\"><form title=\"T\" width=\"90\" height=\"50\"/>"
    "</action></forms></Application>";

TEST(LocalisedForm, HasTheTextsOfTheLanguage) {
  const std::vector<XMLMAP> rows{{u"T", 10, u""}};
  EXPECT_EQ(localisedForm(kForm, {kTexts, 1031, rows})->form().title, u"Auftrag");
  const auto english = localisedForm(kForm, {kTexts, kEnglish, rows});
  EXPECT_EQ(english->form().title, u"Order of Q");
  EXPECT_EQ(english->form().rect.width, 90);
}

TEST(LocalisedForm, IsNullForADocumentWithoutAForm) {
  EXPECT_EQ(localisedForm("<Application/>", {kTexts, kEnglish, {}}), nullptr);
  EXPECT_EQ(localisedForm("no document", {kTexts, kEnglish, {}}), nullptr);
}

TEST(LengthenedTexts, AreTheEnglishOnesFortyPercentLongerWithAccents) {
  const LengthenedTexts longer(kTexts);
  EXPECT_EQ(longer.find(10, 1031)->text, u"Órdér óf QÓrdé");
  EXPECT_EQ(longer.find(10, 1031)->language, kEnglish);
}

TEST(LengthenedTexts, LackWhatTheirSourceLacks) {
  EXPECT_FALSE(LengthenedTexts(kTexts).find(11, kEnglish).has_value());
}

}  // namespace
}  // namespace qx::formcheck
