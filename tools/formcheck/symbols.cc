#include "tools/formcheck/symbols.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/text.h"
#include "qxframework/automation/utf.h"
#include "qxframework/resources/rewritten_attributes.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>

namespace qx::formcheck {
namespace {

constexpr std::size_t kUidLimit = kUidLength;

std::string decimal(std::int64_t number) { return std::to_string(number); }

// True for names as add-ons give their symbols: capitals and digits with an underscore between.
bool looksLikeSymbol(std::u16string_view text) {
  const bool plain = std::all_of(text.begin(), text.end(), [](char16_t unit) {
    return isUpperLetter(unit) || isDigit(unit) || unit == u'_';
  });
  return plain && text.find(u'_') != std::u16string_view::npos && isUpperLetter(text.front());
}

// Returns the first character that no XML document may hold.
std::optional<char32_t> foreignCharacter(std::u16string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const auto point = codePointAt(text, at);
    if (!point) return text[at];
    const char32_t c = point->value;
    if ((c < 0x20 && c != '\t' && c != '\n' && c != '\r') || c == 0xFFFE || c == 0xFFFF) return c;
    at += point->length;
  }
  return std::nullopt;
}

std::string hexadecimal(char32_t character) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out = "U+0000";
  for (std::size_t i = out.size() - 1; character != 0 && i > 1; --i, character >>= 4U)
    out[i] = kDigits[character & 0xFU];
  return out;
}

// The text goes into the document's text, where a parser makes each line break a blank.
std::u16string asAttributeValue(std::u16string_view text) {
  std::u16string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.substr(i).starts_with(u"\r\n")) continue;
    out.push_back(isSpace(text[i]) ? u' ' : text[i]);
  }
  return out;
}

struct Reference {
  char16_t character;
  std::u16string_view written;
};

// The characters that the document object writes as references into attribute values. The loader
// replaces symbols in the text that it writes, so a reference counts with all its characters.
constexpr Reference kReferences[] = {{u'&', u"&amp;"},  {u'<', u"&lt;"},   {u'>', u"&gt;"},
                                     {u'"', u"&quot;"}, {u'\r', u"&#13;"}, {u'\n', u"&#10;"},
                                     {u'\t', u"&#9;"}};

std::u16string written(std::u16string_view value) {
  std::u16string out;
  for (const char16_t unit : value) {
    const auto* const found =
        std::find_if(std::begin(kReferences), std::end(kReferences),
                     [&](const auto& each) { return each.character == unit; });
    if (found == std::end(kReferences)) {
      out.push_back(unit);
    } else {
      out += found->written;
    }
  }
  return out;
}

// Returns the value that is written so; nothing if a reference is cut off.
std::optional<std::u16string> valueOf(std::u16string_view text) {
  std::u16string out;
  while (!text.empty()) {
    const auto* const found =
        std::find_if(std::begin(kReferences), std::end(kReferences),
                     [&](const auto& each) { return text.starts_with(each.written); });
    const bool isReference = found != std::end(kReferences);
    if (!isReference && text.front() == u'&') return std::nullopt;
    out.push_back(isReference ? found->character : text.front());
    text.remove_prefix(isReference ? found->written.size() : 1);
  }
  return out;
}

// A value as it is written, in its parts: `prefix@symbol`, or the symbol alone.
struct Parts {
  std::u16string prefix;
  std::u16string symbol;
  bool hasPrefix = false;
};

Parts partsOf(const std::u16string& value) {
  const std::size_t at = value.find(u'@');
  if (at == std::u16string::npos) return {{}, value, false};
  return {value.substr(0, at), value.substr(at + 1), true};
}

class Replacer {
 public:
  Replacer(const SymbolTable& symbols, const Texts& texts, std::uint32_t language,
           Findings& findings)
      : symbols_(symbols), texts_(texts), language_(language), findings_(findings) {}

  void run(Element& element) {
    for (Attribute& attribute : element.attributes) replace(element, attribute);
    for (Element& child : element.children) {
      // The loader removes the table before the client sees the document.
      if (child.key != u"maptable") run(child);
    }
  }

 private:
  void replace(const Element& element, Attribute& attribute) {
    const Role role = roleOf(attribute.name);
    if (role == Role::plain) return;
    const Parts parts = partsOf(written(attribute.value));
    const XMLMAP* const row = symbols_.find(parts.symbol);
    attribute.mapped = row != nullptr;
    if (role == Role::identifier) {
      replaceIdentifier(attribute, parts, row);
      // A form that opens gets its UID from its type, so what the document says does not count.
      if (element.key != u"form") checkIdentifier(element, attribute, parts);
    } else if (row != nullptr) {
      attribute.result = valueOf(parts.prefix).value_or(u"") + textOf(attribute, *row);
    } else if (looksLikeSymbol(parts.symbol)) {
      findings_.note(attribute.place,
                     "no mapping replaces " + quoted(parts.symbol) + ", so the form shows it",
                     "add it to the symbol table if it is a symbol");
    }
  }

  // The cut applies to what follows the prefix.
  void replaceIdentifier(Attribute& attribute, const Parts& parts, const XMLMAP* row) {
    std::u16string uid = (parts.hasPrefix ? u"@" : u"") + parts.symbol;
    if (row != nullptr) uid = toUtf16(decimal(static_cast<std::int32_t>(row->id)));
    attribute.cut = uid.size() > kUidLimit;
    const std::u16string text = parts.prefix + uid.substr(0, kUidLimit);
    const auto value = valueOf(text);
    attribute.result = value.value_or(text);
    if (!value) {
      findings_.error(attribute.place,
                      quoted(attribute.value) + " is cut within a reference, since it is written " +
                          quoted(parts.prefix + uid) + ", so the form does not open",
                      "write letters and digits");
    }
  }

  void checkIdentifier(const Element& element, const Attribute& attribute, const Parts& parts) {
    const std::string result = quoted(attribute.result);
    if (attribute.name == u"uid" && attribute.value.empty()) {
      findings_.error(attribute.place, "the uid is empty and becomes " + result,
                      "give the " + bracketed(element.name) + " a UID");
    } else if (attribute.cut && !attribute.mapped && looksLikeSymbol(parts.symbol)) {
      findings_.error(attribute.place,
                      "unmapped symbol: no mapping replaces " + quoted(parts.symbol) + ", and " +
                          result + " remains of it",
                      "add it to the symbol table");
    } else if (attribute.cut) {
      findings_.error(attribute.place,
                      "cut UID: " + result + " remains of " + quoted(attribute.value),
                      "write at most 10 characters, or a symbol of the symbol table");
    } else if (attribute.result.size() > kUidLimit) {
      findings_.error(attribute.place,
                      "the UID " + result + " has " + std::to_string(attribute.result.size()) +
                          " characters, and the client allows 10",
                      "shorten what precedes the @");
    }
  }

  std::u16string textOf(const Attribute& attribute, const XMLMAP& row) {
    const auto found = texts_.find(row.id, language_);
    // The row that ends the table has no string; it stands for an empty value.
    if (!row.tag.empty() && (!found || found->language != language_))
      reportMissing(attribute, row, found);
    const std::u16string text = found ? found->text : row.value;
    if (const auto foreign = foreignCharacter(text)) {
      findings_.error(attribute.place,
                      "the text of " + quoted(row.tag) + " holds " + hexadecimal(*foreign) +
                          ", which no XML may hold, so the form does not open",
                      "correct the string");
    }
    return asAttributeValue(text);
  }

  void reportMissing(const Attribute& attribute, const XMLMAP& row,
                     const std::optional<FoundText>& found) {
    const std::string string = "string " + decimal(row.id) + " of " + quoted(row.tag);
    const std::string missing = string + " is missing in language " + decimal(language_);
    const std::string remedy = "add it to the string table";
    if (!found) {
      const std::string shown =
          row.value.empty() ? "no text" : "the text of the symbol table, " + quoted(row.value);
      findings_.error(attribute.place, string + " is in no string table; the form shows " + shown,
                      remedy);
    } else if (found->language == kEnglish) {
      findings_.error(attribute.place,
                      missing + "; the form shows the English " + quoted(found->text), remedy);
    } else {
      const std::string also = language_ == kEnglish ? "" : " and in English";
      findings_.error(attribute.place,
                      missing + also + "; the form shows the text of another language, such as " +
                          quoted(found->text) + " of " + decimal(found->language),
                      remedy);
    }
  }

  const SymbolTable& symbols_;
  const Texts& texts_;
  std::uint32_t language_;
  Findings& findings_;
};

// Adds the rows of a `maptable`. Its other children are skipped, and so are rows without a tag or
// an id; other checks report both.
void addDocumentRows(const Element& mapTable, SymbolTable& symbols, Findings& findings) {
  std::map<std::u16string_view, Place> places;
  for (const Element& row : mapTable.children) {
    if (row.name != u"map") continue;
    const std::u16string_view tag = row.text(u"tag");
    if (tag.empty() || row.text(u"id").empty()) continue;
    const Place place = row.placeOf(u"tag");
    const auto [first, isNew] = places.emplace(tag, place);
    if (!isNew) {
      findings.error(place,
                     quoted(tag) + " has a row in line " + std::to_string(first->second.line) +
                         " already, which counts",
                     "remove one of the two");
    }
    const auto id = static_cast<std::uint32_t>(row.number(u"id").value_or(0));
    symbols.add(XMLMAP(std::u16string(tag), id, std::u16string(row.text(u"value"))));
  }
}

}  // namespace

Role roleOf(std::u16string_view attributeName) {
  for (const RewrittenAttribute& each : kRewrittenAttributes) {
    const std::u16string_view name = each.opener.substr(0, each.opener.size() - 2);
    if (attributeName.ends_with(name)) return each.identifier ? Role::identifier : Role::text;
  }
  return Role::plain;
}

const XMLMAP* SymbolTable::find(std::u16string_view tag) const {
  const auto found = rows_.find(tag);
  return found == rows_.end() ? nullptr : &found->second;
}

SymbolTable symbolTable(const std::vector<XMLMAP>& given, const Element& root, Findings& findings) {
  SymbolTable symbols;
  for (const XMLMAP& row : given) symbols.add(row);
  if (const Element* const mapTable = root.child(u"maptable"))
    addDocumentRows(*mapTable, symbols, findings);
  symbols.add(XMLMAP());
  return symbols;
}

void replaceSymbols(Element& root, const SymbolTable& symbols, const Texts& texts,
                    std::uint32_t language, Findings& findings) {
  Replacer(symbols, texts, language, findings).run(root);
}

}  // namespace qx::formcheck
