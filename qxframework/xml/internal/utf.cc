#include "qxframework/xml/internal/utf.h"

#include "qxframework/automation/com_error.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace qx::xml {
namespace {

// libxml2 counts in 32 bits with a sign. Within these limits no length is cut off, and no unit of
// UTF-16 takes more than three bytes.
constexpr std::size_t kMaxBytes = std::numeric_limits<int32_t>::max();
constexpr std::size_t kMaxUnits = kMaxBytes / 3;

// Returns the number of UTF-16 units of well-formed UTF-8: one for each leading byte, two if that
// leads a sequence of four. Without branches, so that it becomes vector instructions.
std::size_t utf16Length(std::string_view text) {
  std::size_t units = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    units += static_cast<std::size_t>((byte & 0xC0) != 0x80) + (byte >= 0xF0);
  }
  return units;
}

// Returns the number of bytes of well-formed UTF-16 in UTF-8. Each half of a pair counts two bytes.
std::size_t utf8Length(std::u16string_view text) {
  std::size_t bytes = text.size();
  for (const char16_t unit : text) {
    bytes += static_cast<std::size_t>(unit >= 0x80) + (unit >= 0x800) - ((unit & 0xF800) == 0xD800);
  }
  return bytes;
}

// Most of a document is ASCII, which is converted in blocks. A loop over a block has no early exit,
// and a block is too long to be unrolled, so each loop becomes a few vector instructions.
constexpr std::size_t kBlock = 32;

// Copies the blocks of ASCII at the start of `text` and returns their length.
template <class To, class From>
std::size_t copyAscii(std::basic_string_view<From> text, To* out) {
  std::size_t done = 0;
  for (; text.size() - done >= kBlock; done += kBlock) {
    const From* const block = text.data() + done;
    std::make_unsigned_t<From> all = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
      all |= static_cast<std::make_unsigned_t<From>>(block[i]);
    }
    if (all >= 0x80) break;
    for (std::size_t i = 0; i < kBlock; ++i) out[done + i] = static_cast<To>(block[i]);
  }
  return done;
}

// Writes the UTF-8 of `text` to `out`, which has room for it. Returns false for an unpaired
// surrogate.
bool writeUtf8(std::u16string_view text, char* out) {
  std::size_t length = 0;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t ascii = copyAscii(text.substr(i), out + length);
    i += ascii;
    length += ascii;
    // Then up to the end of the block that is not all ASCII.
    for (const std::size_t end = std::min(i + kBlock, text.size()); i < end;) {
      UChar32 point = 0;
      U16_NEXT(text.data(), i, text.size(), point);
      if (U_IS_SURROGATE(point)) return false;
      U8_APPEND_UNSAFE(out, length, point);
    }
  }
  return true;
}

}  // namespace

std::optional<std::string> strictUtf8(std::u16string_view text) {
  if (text.size() > kMaxUnits) return std::nullopt;
  // Only what follows the ASCII at the start is counted before it is written.
  std::string out(text.size(), '\0');
  const std::size_t ascii = copyAscii(text, out.data());
  const std::u16string_view rest = text.substr(ascii);
  out.resize(ascii + utf8Length(rest));
  if (!writeUtf8(rest, out.data() + ascii)) return std::nullopt;
  return out;
}

std::string utf8OrRaise(std::u16string_view text) {
  std::optional<std::string> out = strictUtf8(text);
  if (!out) raiseError(E_INVALIDARG);
  return *std::move(out);
}

std::optional<std::size_t> writeUtf16(std::string_view text, char16_t* out) {
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::size_t length = 0;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t ascii = copyAscii(text.substr(i), out + length);
    i += ascii;
    length += ascii;
    for (const std::size_t end = std::min(i + kBlock, text.size()); i < end;) {
      UChar32 point = 0;
      U8_NEXT(bytes, i, text.size(), point);
      if (point < 0) return std::nullopt;
      U16_APPEND_UNSAFE(out, length, point);
    }
  }
  return length;
}

HRESULT giveUtf8(std::string_view text, BSTR* out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (text.size() > kMaxBytes) return E_OUTOFMEMORY;
  const std::size_t units = utf16Length(text);
  if (units > kMaxUnits) return E_OUTOFMEMORY;
  // Converted in place, because a text may be as long as the whole document.
  CComBSTR wide;
  wide.Attach(newBstr(units));
  if (!wide) return E_OUTOFMEMORY;
  if (!writeUtf16(text, wide.m_str)) return E_FAIL;
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
