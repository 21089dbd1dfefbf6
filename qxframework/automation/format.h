#pragma once

// printf-style formatting of wide text with typed arguments. The arguments of a call are gathered
// into an array of FormatArg, which replaces a va_list: a conversion that does not suit its
// argument, or has none, prints "?" and cannot read foreign memory.
//
// Conversions: %d %i %u %x %X %o %c %s %S %p %e %E %f %F %g %G %a %A %%, with flags, width and
// precision (also "*"). An integer is read as 32 bits unless the length is ll, I64, j, z or t, so
// that %08X prints the 8 digits of a sign-extended result code. %s takes any wide or UTF-8 string;
// a null one prints "(null)". A conversion with an unknown letter is printed as it is written.
// Widths and numbers of digits are limited to 4096.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace qx {

/// One argument of a format. It borrows texts, which must live until the call ends.
class FormatArg {
 public:
  enum class Kind { Signed, Unsigned, Real, Wide, Narrow, Pointer };

  template <class T>
  requires std::is_integral_v<T> FormatArg(T value) {
    if constexpr (std::is_signed_v<T>) {
      kind = Kind::Signed, integer = value;
    } else {
      kind = Kind::Unsigned, integer = static_cast<std::int64_t>(value);
    }
  }
  template <class T>
  requires std::is_enum_v<T> FormatArg(T value)
      : FormatArg(static_cast<std::underlying_type_t<T>>(value)) {}
  FormatArg(ResultCode code) : FormatArg(static_cast<HRESULT>(code)) {}
  FormatArg(double value) : kind(Kind::Real), real(value) {}
  FormatArg(const OLECHAR* text)
      : kind(Kind::Wide), wide(text), length(text == nullptr ? 0 : viewOf(text).size()) {}
  FormatArg(OLECHAR* text) : FormatArg(static_cast<const OLECHAR*>(text)) {}
  FormatArg(std::u16string_view text) : kind(Kind::Wide), wide(text.data()), length(text.size()) {
    if (wide == nullptr) wide = u"";
  }
  FormatArg(const std::u16string& text) : FormatArg(std::u16string_view(text)) {}
  FormatArg(const CString& text);
  FormatArg(const CComBSTR& text) : FormatArg(static_cast<const OLECHAR*>(text.m_str)) {}
  FormatArg(const _bstr_t& text) : FormatArg(static_cast<const OLECHAR*>(text)) {}
  FormatArg(const char* text)
      : kind(Kind::Narrow),
        narrow(text),
        length(text == nullptr ? 0 : std::string_view(text).size()) {}
  FormatArg(const std::string& text)
      : kind(Kind::Narrow), narrow(text.data()), length(text.size()) {}
  FormatArg(const void* address) : kind(Kind::Pointer), pointer(address) {}

  Kind kind;
  union {
    std::int64_t integer;
    double real;
    const OLECHAR* wide;
    const char* narrow;
    const void* pointer;
  };
  std::size_t length = 0;  // units of a text
};

/// The arguments of a call. It borrows the array.
using FormatArgs = std::span<const FormatArg>;

/// Formats into `buffer`, which has room for `capacity` units, and terminates it. Returns the
/// length without the terminator, or -1 if the text was cut to `capacity` - 1 units. Returns -1 and
/// writes nothing if `buffer` is null or `capacity` is 0.
QX_API int formatInto(OLECHAR* buffer, std::size_t capacity, std::u16string_view format,
                      FormatArgs args);
/// Returns the formatted text.
QX_API std::u16string formatText(std::u16string_view format, FormatArgs args);

/// Returns the formatted text of a call such as format(u"%s_%d", uid, 7).
template <class... Args>
std::u16string format(const OLECHAR* text, const Args&... args) {
  if constexpr (sizeof...(Args) == 0) {
    return formatText(text, {});
  } else {
    const FormatArg list[] = {FormatArg(args)...};
    return formatText(text, list);
  }
}

}  // namespace qx
