#include "qxdesk/program/form_sheet.h"

#include "qxdesk/program/page_in_one_file.h"
#include "qxdesk/screens/model/form_model.h"
#include "qxframework/automation/text.h"
#include "qxframework/foundation/languages.h"
#include "qxframework/host/item_types.h"
#include "tools/formcheck/finding.h"
#include "tools/formcheck/form.h"
#include "tools/formcheck/localised_form.h"
#include "tools/formcheck/text_fit.h"
#include "tools/formdraw/item_type_name.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>

namespace qx::desk {
namespace {

using nlohmann::json;

constexpr std::uint32_t kHebrew = 1037;
constexpr int kHighestLanguage = ln_TrdtnlChinese_Hk;

struct Language {
  std::string name;
  std::string code;      // as HTML names it
  std::uint32_t id = 0;  // of its string tables
  bool lengthened = false;
};

// Several languages of the client share string tables; the first one stands for them.
std::vector<Language> languagesOfTables() {
  std::vector<Language> languages;
  for (int number = 1; number <= kHighestLanguage; ++number) {
    const auto language = static_cast<HvLanguages>(number);
    std::string name = toUtf8(languageName(language));
    if (!name.starts_with("ln_")) continue;
    const std::uint32_t id = windowsLanguageId(language);
    const auto isIt = [id](const Language& known) { return known.id == id; };
    if (std::any_of(languages.begin(), languages.end(), isIt)) continue;
    name.erase(0, 3);
    std::replace(name.begin(), name.end(), '_', ' ');
    languages.push_back({name, toUtf8(isoLanguageCode(language)).substr(0, 2), id});
  }
  languages.push_back({"40 % longer", "EN", formcheck::kEnglish, true});
  return languages;
}

json rectOf(const formdraw::Rect& rect) {
  return json::array({rect.left, rect.top, rect.width, rect.height});
}

json columnsOf(const formcheck::Item& item) {
  json columns = json::array();
  for (const formcheck::Column& column : item.columns) {
    columns.push_back({{"uid", toUtf8(column.element->text(u"uid"))},
                       {"title", toUtf8(column.title)},
                       {"width", column.width},
                       {"type", "edit"},
                       {"visible", column.visible},
                       {"editable", false},
                       {"right", false},
                       {"description", ""},
                       {"limit", 0}});
  }
  return columns;
}

// The state of an item as the page gets it from a host, see docs/web-protocol.md.
json stateOf(const formcheck::Item& item) {
  const auto number = [&](std::u16string_view name) {
    return item.element->number(name).value_or(0);
  };
  json state{{"type", formdraw::itemTypeName(item.type)},
             {"rect", rectOf(item.rect)},
             {"visible", item.visible},
             {"enabled", item.enabled},
             {"usable", item.visible && item.enabled},
             {"panes", {number(u"from_pane"), number(u"to_pane")}},
             {"right", item.rightJustified},
             {"caption", toUtf8(item.caption)},
             {"description", toUtf8(item.element->text(u"description"))},
             {"link", toUtf8(item.element->text(u"linkto"))}};
  if (item.type == kEditText) {
    state.update({{"text", ""}, {"limit", 0}, {"source", ""}, {"changed", false}});
  } else if (item.type == kComboBox) {
    state.update({{"values", json::array()}, {"chosen", -1}, {"shown", ""}, {"source", ""}});
  } else if (item.type == kMatrix) {
    state.update({{"selection", "none"}, {"rows", 0}, {"revision", 1}});
    state["columns"] = columnsOf(item);
  }
  return state;
}

json stateOf(const formcheck::Form& form) {
  json items = json::object();
  json order = json::array();
  for (const formcheck::Item& item : form.items) {
    const std::string uid = toUtf8(item.element->text(u"uid"));
    if (!items.contains(uid)) order.push_back(uid);
    items[uid] = stateOf(item);
  }
  return {{"type", ""},
          {"title", toUtf8(form.title)},
          {"system", false},
          {"visible", true},
          {"frozen", false},
          {"rect", rectOf(form.rect)},
          {"client",
           {form.rect.width - screens::kFrameWidth, form.rect.height - screens::kFrameHeight}},
          {"mode", "ok"},
          {"pane", form.element->number(u"pane").value_or(0)},
          {"color", form.element->number(u"color").value_or(0)},
          {"border", 0},
          {"default", toUtf8(form.element->text(u"default_button"))},
          {"focus", ""},
          {"objectType", ""},
          {"updates", 0},
          {"sources", json::object()},
          {"order", order},
          {"items", items}};
}

json stateOf(const formcheck::WideText& wide) {
  const auto uidOf = [](const formcheck::Element* element) {
    return element == nullptr ? std::string() : toUtf8(element->text(u"uid"));
  };
  return {{"item", uidOf(wide.item == nullptr ? nullptr : wide.item->element)},
          {"column", uidOf(wide.column == nullptr ? nullptr : wide.column->element)},
          {"text", toUtf8(wide.text)},
          {"needed", wide.needed},
          {"room", wide.room}};
}

bool isError(const SheetOrder& order, const Language& language) {
  return !language.lengthened || !order.longerMayBeCut;
}

std::string messageOf(const SheetOrder& order, const Language& language,
                      const formcheck::WideText& wide) {
  const std::string owner = wide.column != nullptr ? "column"
                            : wide.item != nullptr ? "item"
                                                   : "title bar";
  const std::string where = language.lengthened ? "English and 40 % longer" : language.name;
  const formcheck::Finding finding{
      wide.place, isError(order, language) ? formcheck::Severity::error : formcheck::Severity::note,
      "in " + where + " the text " + formcheck::quoted(wide.text) + " takes " +
          std::to_string(wide.needed) + " pixels, and the " + owner + " has " +
          std::to_string(wide.room) + "; shorten it or widen the " +
          (wide.item != nullptr ? owner : "form")};
  return formcheck::messageOf(std::string(order.name), finding);
}

class Sheet {
 public:
  explicit Sheet(const SheetOrder& order) : order_(order), longer_(order.texts) {}

  FormSheet make() {
    for (const Language& language : languagesOfTables()) {
      if (!add(language)) return {{}, {}, false};
    }
    const json data{{"title", order_.name}, {"forms", forms_}};
    made_.html = pageInOneFile(order_.page, "sheet", data.dump(-1, ' ', true));
    return std::move(made_);
  }

 private:
  // Returns false if the document holds no form, which does not depend on the language.
  bool add(const Language& language) {
    const formcheck::Texts& texts = language.lengthened ? longer_ : order_.texts;
    const auto read =
        formcheck::localisedForm(order_.content, {texts, language.id, order_.symbols});
    if (read == nullptr) return false;
    json wide = json::array();
    for (const formcheck::WideText& text : formcheck::wideTexts(read->form())) {
      wide.push_back(stateOf(text));
      made_.messages += messageOf(order_, language, text);
      if (isError(order_, language)) made_.allFits = false;
    }
    forms_.push_back({{"language", language.name},
                      {"code", language.code},
                      {"id", language.id},
                      {"direction", language.id == kHebrew ? "rtl" : "ltr"},
                      {"wide", wide},
                      {"form", stateOf(read->form())}});
    return true;
  }

  const SheetOrder& order_;
  formcheck::LengthenedTexts longer_;
  json forms_ = json::array();
  FormSheet made_;
};

}  // namespace

FormSheet makeFormSheet(const SheetOrder& order) { return Sheet(order).make(); }

}  // namespace qx::desk
