#include "tools/formcheck/text_fit.h"

#include "qxframework/automation/text.h"
#include "tools/formcheck/localised_form.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::formcheck {
namespace {

class NoTexts final : public Texts {
 public:
  std::optional<FoundText> find(std::uint32_t, std::uint32_t) const override {
    return std::nullopt;
  }
};

// Returns one line for each text that does not fit into a form with these items.
std::string wide(const std::string& title, const std::string& items) {
  const NoTexts texts;
  const auto read =
      localisedForm("<Application><forms><action type=\"add\">\n<form title=\"" + title +
                        "\" width=\"200\" height=\"100\"><items><action "
                        "type=\"add\">\n" +
                        items + "\n</action></items></form></action></forms></Application>",
                    {texts, kEnglish, {}});
  std::string out;
  for (const WideText& text : wideTexts(read->form())) {
    out += std::to_string(text.place.line) + ": " + toUtf8(text.text) + " " +
           std::to_string(text.needed) + "/" + std::to_string(text.room) + "\n";
  }
  return out;
}

std::string item(int type, int width, int height, const std::string& caption) {
  return "<item type=\"" + std::to_string(type) + "\" uid=\"1\" width=\"" + std::to_string(width) +
         "\" height=\"" + std::to_string(height) + "\"><specific caption=\"" + caption +
         "\"/></item>";
}

TEST(TextFit, AButtonHasEightPixelsOfEdges) {
  EXPECT_EQ(wide("", item(4, 57, 19, "Customer")), "");
  EXPECT_EQ(wide("", item(4, 56, 19, "Customer")), "3: Customer 49/48\n");
}

TEST(TextFit, AStaticTextHasItsWholeWidthOnEachLine) {
  EXPECT_EQ(wide("", item(8, 49, 14, "Customer")), "");
  EXPECT_EQ(wide("", item(8, 48, 27, "Customer")), "3: Customer 49/48\n");
  EXPECT_EQ(wide("", item(8, 25, 28, "Customer")), "");
}

TEST(TextFit, AnEditHasNoCaptionAndAMissingWidthIsNoLimit) {
  EXPECT_EQ(wide("", item(16, 5, 14, "Customer")), "");
  EXPECT_EQ(wide("", item(8, 0, 14, "Customer")), "");
}

TEST(TextFit, TheTitleLeavesRoomForTheButtonsOfTheTitleBar) {
  EXPECT_EQ(wide("Customers of the Year", ""), "");
  EXPECT_EQ(wide("Customers of the Last Ten Years", ""),
            "2: Customers of the Last Ten Years 181/146\n");
}

TEST(TextFit, TheHeadOfAVisibleColumnIsMeasured) {
  const auto matrix = [](const std::string& column) {
    return "<item type=\"127\" uid=\"1\" width=\"190\" height=\"90\"><specific>"
           "<columns><action type=\"add\"><column uid=\"A\" title=\"Customer\" " +
           column + "/></action></columns></specific></item>";
  };
  EXPECT_EQ(wide("", matrix("width=\"61\"")), "");
  EXPECT_EQ(wide("", matrix("width=\"60\"")), "3: Customer 54/53\n");
  EXPECT_EQ(wide("", matrix("width=\"60\" visible=\"0\"")), "");
}

}  // namespace
}  // namespace qx::formcheck
