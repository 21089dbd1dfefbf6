// Arbitrary form documents. The first byte selects the rows of the symbol table and the language.
// The findings are the same every time, in order and within the file; the lines of a drawing are
// equally long. That the scan of tags agrees with the parser is checked by the code itself, which
// throws otherwise.

#include "qxframework/automation/text.h"
#include "qxframework/resources/narrow_text.h"
#include "tools/formcheck/form_check.h"
#include "tools/formdraw/text_width.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using qx::formcheck::Finding;

void require(bool condition) {
  if (!condition) std::abort();
}

// Strings with an id below 5; each is in some languages only.
class SomeTexts : public qx::formcheck::Texts {
 public:
  std::optional<qx::formcheck::FoundText> find(std::uint32_t id,
                                               std::uint32_t language) const override {
    switch (id) {
      case 0:
        return {{u"OK", language}};
      case 1:
        return {{u"A text & <markup>\r\n \"of\" two lines", qx::formcheck::kEnglish}};
      case 2:
        return {{u"設定e\u0301\x1F", 1041}};
      case 3:
        return {{u"", language}};
      default:
        return std::nullopt;
    }
  }
};

qx::formcheck::Setting setting(const qx::formcheck::Texts& texts, unsigned choice) {
  qx::formcheck::Setting out{texts, choice & 1U ? 1031U : qx::formcheck::kEnglish, {}};
  if (choice & 2U) out.symbols.emplace_back(u"A", 1, u"");
  if (choice & 4U) out.symbols.emplace_back(u"QX_TITLE", 2, u"");
  if (choice & 8U) out.symbols.emplace_back(u"B", 0xFFFFFFFE, u"from the table");
  if (choice & 16U) out.symbols.emplace_back(u"", 0, u"");
  return out;
}

void checkFindings(const std::vector<Finding>& findings, const std::u16string& text) {
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), u'\n')) + 1;
  for (std::size_t i = 0; i < findings.size(); ++i) {
    require(findings[i].place.line >= 1 && findings[i].place.line <= lines);
    require(findings[i].place.column >= 1);
    require(i == 0 || findings[i - 1].place <= findings[i].place);
    const std::string message = messageOf("f", findings[i]);
    require(std::none_of(message.begin(), message.end() - 1,
                         [](char unit) { return static_cast<unsigned char>(unit) < 0x20; }));
  }
}

void checkDrawing(const std::string& drawing) {
  std::optional<std::size_t> width;
  for (std::string_view rest = drawing; !rest.empty();) {
    const std::size_t end = rest.find('\n');
    require(end != rest.npos);
    const std::size_t cells = qx::formdraw::cellsOf(qx::toUtf16(rest.substr(0, end)));
    require(cells == width.value_or(cells));
    width = cells;
    rest.remove_prefix(end + 1);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view content(reinterpret_cast<const char*>(data + 1), size - 1);
  const SomeTexts texts;
  const auto first = checkForm(content, setting(texts, data[0]));
  checkFindings(first.findings, qx::textOfResource(content));
  checkDrawing(first.drawing);
  const auto second = checkForm(content, setting(texts, data[0]));
  require(first.drawing == second.drawing && first.findings.size() == second.findings.size());
  return 0;
}
