#include "qxframework/sql/sql_text.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/format.h"
#include "qxframework/query/persistence_exception.h"

#include <algorithm>

namespace qx {
namespace {

// By contract quotes become 0x7F before they are doubled, so a 0x7F in the text counts as a quote.
constexpr bool isQuote(OLECHAR unit) { return unit == u'\'' || unit == 0x7F; }

OLECHAR* put(OLECHAR* to, std::u16string_view text) {
  return std::copy(text.begin(), text.end(), to);
}

OLECHAR* putDoubled(OLECHAR* to, std::u16string_view text) {
  for (const OLECHAR unit : text) {
    if (isQuote(unit)) {
      *to++ = u'\'';
      *to++ = u'\'';
    } else {
      *to++ = unit;
    }
  }
  return to;
}

// Returns a text of that length whose units are not written yet.
CComBSTR ofLength(std::size_t length) {
  CComBSTR text;
  text.m_str = newBstr(length);
  if (text.m_str == nullptr) raiseError(E_OUTOFMEMORY);
  return text;
}

constexpr LCID kEnglish = 1033;  // writes a decimal point

CComBSTR converted(const CComVariant& value, LCID locale, WORD flags) {
  if (value.vt == VT_BSTR) return CComBSTR(viewOfBstr(value.bstrVal));
  CComVariant text;
  if (VariantChangeTypeEx(&text, &value, locale, flags, VT_BSTR) < 0) {
    throw Persistence::CQXPersistenceException(
        format(u"A value of type %d has no text form", value.vt).c_str());
  }
  CComBSTR out;
  out.Attach(text.bstrVal);
  text.vt = VT_EMPTY;
  return out;
}

}  // namespace

CComBSTR textOf(const CComVariant& value) { return converted(value, LOCALE_USER_DEFAULT, 0); }

CComBSTR neutralTextOf(const CComVariant& value) { return converted(value, kEnglish, 4); }

CComVariant textVariant(CComBSTR text) {
  CComVariant value;
  value.vt = VT_BSTR;
  value.bstrVal = text.Detach();
  return value;
}

CComBSTR joined(std::initializer_list<std::u16string_view> pieces) {
  std::size_t length = 0;
  for (const std::u16string_view piece : pieces) length += piece.size();
  CComBSTR text = ofLength(length);
  OLECHAR* end = text.m_str;
  for (const std::u16string_view piece : pieces) end = put(end, piece);
  return text;
}

CComBSTR sqlLiteral(std::u16string_view text, bool national) {
  const std::u16string_view opening = national ? u"N'" : u"'";
  const auto quotes = static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isQuote));
  CComBSTR literal = ofLength(opening.size() + text.size() + quotes + 1);
  OLECHAR* end = put(literal.m_str, opening);
  end = quotes == 0 ? put(end, text) : putDoubled(end, text);
  *end = u'\'';
  return literal;
}

const OLECHAR* operationText(Persistence::HvConditionOperation operation) {
  switch (operation) {
    case Persistence::co_Like:
      return u" LIKE ";
    case Persistence::co_Greater:
      return u" > ";
    case Persistence::co_Less:
      return u" < ";
    case Persistence::co_GreaterOrEqual:
      return u" >= ";
    case Persistence::co_LessOrEqual:
      return u" <= ";
    case Persistence::co_NotEqual:
      return u" <> ";
    default:
      return u" = ";
  }
}

const OLECHAR* relationshipText(Persistence::HvConditionRelationship relationship) {
  return relationship == Persistence::cr_Or ? u" OR " : u" AND ";
}

}  // namespace qx
