#include "tools/formcheck/vocabulary.h"

#include "qxframework/automation/decimal_number.h"
#include "qxframework/automation/text.h"
#include "tools/formcheck/symbols.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace qx::formcheck {
namespace {

enum class Kind { text, number };
enum class Need { optional, required };

struct KnownAttribute {
  std::u16string_view name;
  Kind kind = Kind::text;
  Need need = Need::optional;
};

struct KnownElement {
  std::u16string_view name;
  std::vector<KnownAttribute> attributes;
  std::vector<KnownElement> children;
};

constexpr KnownAttribute kUid{u"uid", Kind::text, Need::required};

KnownElement element(std::u16string_view name, std::vector<KnownAttribute> attributes,
                     std::vector<KnownElement> children = {}) {
  return {name, std::move(attributes), std::move(children)};
}

KnownAttribute number(std::u16string_view name, Need need = Need::optional) {
  return {name, Kind::number, need};
}

// Lists of things stand within an action, so that it could also say to change or remove some.
KnownElement list(std::u16string_view name, KnownElement entry) {
  return element(name, {}, {element(u"action", {{u"type"}}, {std::move(entry)})});
}

KnownElement dataBind() {
  return element(u"databind", {{u"alias"}, number(u"databound"), {u"table"}});
}

KnownElement column() {
  return element(u"column",
                 {{u"title"},
                  number(u"width"),
                  number(u"type"),
                  kUid,
                  {u"description"},
                  number(u"visible"),
                  number(u"editable"),
                  number(u"disp_desc"),
                  number(u"right_just")},
                 {dataBind()});
}

// The attributes of all kinds of items: the client passes over those that a kind does not use.
KnownElement specific() {
  return element(u"Specific",
                 {{u"caption"},
                  number(u"forecolor"),
                  number(u"backcolor"),
                  number(u"text_style"),
                  number(u"font_size"),
                  number(u"supp_zeros"),
                  number(u"AffectsFormMode"),
                  number(u"layout"),
                  number(u"SelectionMode")},
                 {dataBind(), list(u"columns", column()),
                  list(u"ValidValues", element(u"ValidValue", {{u"value"}, {u"description"}}))});
}

KnownElement item() {
  return element(u"Item",
                 {number(u"type", Need::required),
                  kUid,
                  number(u"left"),
                  number(u"top"),
                  number(u"width"),
                  number(u"height"),
                  number(u"visible"),
                  number(u"enabled"),
                  number(u"form_pane"),
                  number(u"from_pane"),
                  number(u"to_pane"),
                  number(u"disp_desc"),
                  number(u"right_just"),
                  {u"description"},
                  {u"linkto"}},
                 {specific()});
}

KnownElement dataSources() {
  return element(
      u"datasources", {},
      {list(u"dbdatasources", element(u"datasource", {{u"tablename"}})),
       list(u"userdatasources", element(u"datasource", {kUid, number(u"type"), number(u"size")}))});
}

KnownElement form() {
  return element(u"form",
                 {number(u"type"),
                  {u"uid"},
                  {u"title"},
                  number(u"left"),
                  number(u"top"),
                  number(u"width"),
                  number(u"height"),
                  number(u"color"),
                  {u"default_button"},
                  {u"appformnumber"},
                  {u"formtype"},
                  {u"objecttype"},
                  number(u"pane"),
                  number(u"mode"),
                  number(u"visible")},
                 {dataSources(), list(u"items", item())});
}

KnownElement mapTable() {
  return element(
      u"maptable", {},
      {element(u"map",
               {{u"tag", Kind::text, Need::required}, number(u"id", Need::required), {u"value"}})});
}

const KnownElement& application() {
  static const KnownElement root =
      element(u"Application", {}, {mapTable(), list(u"forms", form())});
  return root;
}

template <class Known>
const Known* knownAs(const std::vector<Known>& all, std::u16string_view lowerName) {
  const auto found = std::find_if(
      all.begin(), all.end(), [&](const Known& each) { return toLower(each.name) == lowerName; });
  return found == all.end() ? nullptr : &*found;
}

template <class Known>
std::string listed(const std::vector<Known>& all) {
  std::string out;
  for (const Known& each : all) {
    if (!out.empty()) out += &each == &all.back() ? " or " : ", ";
    out += toUtf8(each.name);
  }
  return out;
}

bool belongsToXml(std::u16string_view name) {
  return name == u"xmlns" || name.starts_with(u"xmlns:") || name.starts_with(u"xml:");
}

class Checker {
 public:
  explicit Checker(Findings& findings) : findings_(findings) {}

  // Unknown elements are not entered: everything in them would be unknown as well.
  void check(const Element& element, const KnownElement& known) {
    for (const Attribute& attribute : element.attributes) checkAttribute(element, attribute, known);
    for (const KnownAttribute& each : known.attributes)
      if (each.need == Need::required) checkPresence(element, each);
    if (element.key == u"action") checkAction(element);
    for (const Element& child : element.children) {
      if (const KnownElement* const found = knownAs(known.children, child.key)) {
        checkSpelling(child);
        check(child, *found);
      } else {
        reportUnknown(element, child, known);
      }
    }
  }

 private:
  void reportUnknown(const Element& parent, const Element& child, const KnownElement& known) {
    findings_.error(
        child.place, "unknown element " + bracketed(child.name) + " in " + bracketed(parent.name),
        known.children.empty() ? "remove it" : "remove it, or write " + listed(known.children));
  }

  void checkAttribute(const Element& element, const Attribute& attribute,
                      const KnownElement& known) {
    if (belongsToXml(attribute.name)) return;
    const KnownAttribute* const found = knownAs(known.attributes, toLower(attribute.name));
    if (found == nullptr) {
      findings_.error(
          attribute.namePlace,
          "unknown attribute " + quoted(attribute.name) + " of " + bracketed(element.name),
          known.attributes.empty() ? "remove it"
                                   : "remove it, or write " + listed(known.attributes));
    } else if (attribute.name != found->name && roleOf(found->name) != Role::plain) {
      findings_.error(attribute.namePlace,
                      "no symbol is replaced in " + quoted(attribute.name) +
                          ", since the case of its letters counts",
                      "write " + quoted(found->name));
    } else if (found->kind == Kind::number && !attribute.value.empty() &&
               !decimalNumber(attribute.value)) {
      findings_.error(attribute.place, quoted(attribute.value) + " is no whole number of 32 bits",
                      "write the " + toUtf8(found->name) + " in digits");
    }
  }

  // An empty uid is reported with the symbols, since something becomes of it.
  void checkPresence(const Element& element, const KnownAttribute& known) {
    const Attribute* const found = element.attribute(toLower(known.name));
    if (found != nullptr && (!found->value.empty() || known.name == kUid.name)) return;
    findings_.error(element.placeOf(toLower(known.name)),
                    bracketed(element.name) + " has no " + toUtf8(known.name), "give it one");
  }

  void checkAction(const Element& action) {
    if (action.text(u"type") == u"add") return;
    findings_.error(action.placeOf(u"type"),
                    "the type of the action is " + quoted(action.text(u"type")),
                    "write add, since the form is new");
  }

  // Rows of the symbol table are the only elements whose name is compared with its case.
  void checkSpelling(const Element& element) {
    if (element.key != u"map" || element.name == u"map") return;
    findings_.error(element.place, bracketed(element.name) + " is skipped as a row",
                    "write <map>, since the case of its letters counts");
  }

  Findings& findings_;
};

}  // namespace

void checkVocabulary(const Element& root, Findings& findings) {
  if (root.key == toLower(application().name)) Checker(findings).check(root, application());
}

}  // namespace qx::formcheck
