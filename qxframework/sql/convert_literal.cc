#include "qxframework/sql/convert_literal.h"

#include "qxframework/sql/sql_text.h"

namespace qx {
namespace {

constexpr std::u16string_view kFunction = u"CONVERT";

}  // namespace

CComBSTR convertLiteral(CComBSTR text, bool national) {
  if (text.Length() > kFunction.size() && text.View().starts_with(kFunction)) return text;
  return joined({kFunction, u"(datetime,", sqlLiteral(text.View(), national).View(), u",112)"});
}

}  // namespace qx
