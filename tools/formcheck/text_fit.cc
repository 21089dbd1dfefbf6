#include "tools/formcheck/text_fit.h"

#include "qxframework/host/item_types.h"
#include "tools/formdraw/drawn_width.h"

#include <algorithm>

namespace qx::formcheck {
namespace {

// How the page in a browser draws: what a button and a column's head have beside their text, and
// what the title bar has beside the title.
constexpr long kButtonEdges = 8;
constexpr long kHeadEdges = 7;
constexpr long kTitleButtons = 54;
constexpr long kLineHeight = 14;

class Measure {
 public:
  explicit Measure(std::vector<WideText>& wide) : wide_(wide) {}

  // A width of 0 or less is not given: the form's code sets it.
  void add(const WideText& text, long width, long edges,
           formdraw::Weight weight = formdraw::Weight::Normal) {
    if (width <= 0) return;
    wide_.push_back(text);
    WideText& added = wide_.back();
    added.needed = formdraw::drawnWidth(text.text, weight);
    added.room = width - edges;
    if (added.needed <= added.room) wide_.pop_back();
  }

 private:
  std::vector<WideText>& wide_;
};

void measureItem(const Item& item, Measure& measure) {
  if (item.specific != nullptr) {
    const WideText caption{&item, nullptr, item.caption, item.specific->placeOf(u"caption")};
    if (item.type == kButton) measure.add(caption, item.rect.width, kButtonEdges);
    if (item.type == kStaticText) {
      const long lines = std::max(item.rect.height / kLineHeight, 1L);
      measure.add(caption, item.rect.width * lines, 0);
    }
  }
  for (const Column& column : item.columns) {
    if (!column.visible) continue;
    measure.add({&item, &column, column.title, column.element->placeOf(u"title")}, column.width,
                kHeadEdges, formdraw::Weight::Bold);
  }
}

}  // namespace

std::vector<WideText> wideTexts(const Form& form) {
  std::vector<WideText> wide;
  Measure measure(wide);
  measure.add({nullptr, nullptr, form.title, form.element->placeOf(u"title")}, form.rect.width,
              kTitleButtons, formdraw::Weight::Bold);
  for (const Item& item : form.items) measureItem(item, measure);
  return wide;
}

}  // namespace qx::formcheck
