#include "qxframework/xml/internal/utf.h"

#include "qxframework/automation/com_error.h"

#include <unicode/ustring.h>

#include <cstdint>
#include <limits>

namespace qx::xml {
namespace {

// ICU counts in 32 bits with a sign. Within these limits no length is cut off, and no unit of
// UTF-16 takes more than three bytes.
constexpr std::size_t kMaxBytes = std::numeric_limits<int32_t>::max();
constexpr std::size_t kMaxUnits = kMaxBytes / 3;

// Returns the number of UTF-16 units of well-formed UTF-8: one for each leading byte, two if that
// leads a sequence of four.
std::size_t utf16Length(std::string_view text) {
  std::size_t units = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    units += static_cast<std::size_t>((byte & 0xC0) != 0x80);
    units += static_cast<std::size_t>(byte >= 0xF0);
  }
  return units;
}

}  // namespace

std::optional<std::string> strictUtf8(std::u16string_view text) {
  if (text.size() > kMaxUnits) return std::nullopt;
  std::string out(text.size() * 3, '\0');
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &length, text.data(),
              static_cast<int32_t>(text.size()), &status);
  if (U_FAILURE(status)) return std::nullopt;
  out.resize(static_cast<std::size_t>(length));
  return out;
}

std::string utf8OrRaise(std::u16string_view text) {
  std::optional<std::string> out = strictUtf8(text);
  if (!out) raiseError(E_INVALIDARG);
  return *std::move(out);
}

HRESULT giveUtf8(std::string_view text, BSTR* out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (text.size() > kMaxBytes) return E_OUTOFMEMORY;
  const std::size_t units = utf16Length(text);
  if (units > kMaxUnits) return E_OUTOFMEMORY;
  // Converted in place, because a text may be as long as the whole document.
  CComBSTR wide;
  wide.Attach(SysAllocStringLen(nullptr, static_cast<UINT>(units)));
  if (!wide) return E_OUTOFMEMORY;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8(wide.m_str, static_cast<int32_t>(units), nullptr, text.data(),
                static_cast<int32_t>(text.size()), &status);
  if (U_FAILURE(status)) return E_FAIL;
  *out = wide.Detach();
  return S_OK;
}

// Control characters are single bytes in UTF-8. U+FFFE and U+FFFF are the only other ones that XML
// excludes; surrogates do not occur in well-formed UTF-8.
bool isXmlText(std::string_view utf8) {
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    if (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') return false;
    const std::string_view rest = utf8.substr(i, 3);
    if (byte == 0xEF && (rest == "\xEF\xBF\xBE" || rest == "\xEF\xBF\xBF")) return false;
  }
  return true;
}

std::string textOf(const VARIANT& value) {
  // Texts, the usual values, are read without a copy.
  if (value.vt == VT_EMPTY) return {};
  if (value.vt == VT_BSTR) return utf8OrRaise(viewOfBstr(value.bstrVal));
  if (value.vt == (VT_BYREF | VT_BSTR)) return utf8OrRaise(viewOfBstr(*value.pbstrVal));
  CComVariant text;
  raiseIfFailed(VariantChangeType(&text, &value, 0, VT_BSTR));
  return utf8OrRaise(viewOfBstr(text.bstrVal));
}

}  // namespace qx::xml
