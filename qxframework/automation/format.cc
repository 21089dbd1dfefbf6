#include "qxframework/automation/format.h"

#include "qxframework/automation/ascii.h"

#include <locale.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstdio>
#include <optional>

namespace qx {
namespace {

// The limit of widths and numbers of digits, so that a format cannot demand endless text.
constexpr int kMaxExtent = 4096;
// The limit of a precision. That of a text only cuts it and so may be as large as any text.
constexpr int kMaxPrecision = 1 << 30;

// Receives the formatted text. It keeps the units that fit into the buffer and counts all of them,
// so that one run yields either the text or the length that a second run needs.
class Output {
 public:
  Output(OLECHAR* buffer, std::size_t room) : buffer_(buffer), room_(room) {}

  void append(std::u16string_view text) {
    const std::size_t kept = fitting(text.size());
    std::copy_n(text.data(), kept, buffer_ + std::min(length_, room_));
    length_ += text.size();
  }
  void fill(OLECHAR unit, std::size_t count) {
    std::fill_n(buffer_ + std::min(length_, room_), fitting(count), unit);
    length_ += count;
  }
  std::size_t length() const { return length_; }
  std::size_t kept() const { return std::min(length_, room_); }

 private:
  std::size_t fitting(std::size_t count) const {
    return length_ >= room_ ? 0 : std::min(count, room_ - length_);
  }

  OLECHAR* buffer_;
  std::size_t room_;
  std::size_t length_ = 0;
};

// One conversion of a format, from the '%' to its letter.
struct Conversion {
  bool left = false;
  bool plus = false;
  bool blank = false;
  bool alternate = false;
  bool zero = false;
  int width = 0;
  int precision = -1;  // -1 if the format has none
  int bits = 32;
  char16_t letter = 0;
};

// Returns the arguments of the call one after the other, then null.
class Arguments {
 public:
  explicit Arguments(FormatArgs args) : args_(args) {}
  const FormatArg* next() { return index_ < args_.size() ? &args_[index_++] : nullptr; }

 private:
  FormatArgs args_;
  std::size_t index_ = 0;
};

bool isInteger(const FormatArg& arg) {
  return arg.kind == FormatArg::Kind::Signed || arg.kind == FormatArg::Kind::Unsigned;
}

// Reads a format from the front, one conversion at a time.
class Parser {
 public:
  explicit Parser(std::u16string_view format) : format_(format) {}

  // Returns the plain text up to the next '%' or the end.
  std::u16string_view takePlain() {
    const std::size_t start = at_;
    at_ = std::min(format_.find(u'%', at_), format_.size());
    return format_.substr(start, at_ - start);
  }
  bool done() const { return at_ >= format_.size(); }

  // Reads the conversion at the '%'. Returns nothing if a "*" has no integer as its argument.
  std::optional<Conversion> takeConversion(Arguments& arguments) {
    start_ = at_++;
    Conversion conversion;
    // Most conversions of log lines are this letter alone.
    if (current() == u's') {
      conversion.letter = format_[at_++];
      return conversion;
    }
    while (readFlag(conversion)) ++at_;
    // The letter is read even after a failure, so that the plain text goes on after the conversion.
    const bool extents = readWidth(conversion, arguments) && readPrecision(conversion, arguments);
    readLength(conversion);
    conversion.letter = current();
    if (!done()) ++at_;
    return extents ? std::optional(conversion) : std::nullopt;
  }
  // Returns the text of the conversion that was read last.
  std::u16string_view written() const { return format_.substr(start_, at_ - start_); }

 private:
  char16_t current() const { return done() ? u'\0' : format_[at_]; }
  bool skip(std::u16string_view text) {
    if (!format_.substr(at_).starts_with(text)) return false;
    at_ += text.size();
    return true;
  }

  bool readFlag(Conversion& conversion) const {
    switch (current()) {
      case u'-':
        return conversion.left = true;
      case u'+':
        return conversion.plus = true;
      case u' ':
        return conversion.blank = true;
      case u'#':
        return conversion.alternate = true;
      case u'0':
        return conversion.zero = true;
      default:
        return false;
    }
  }

  bool readWidth(Conversion& conversion, Arguments& arguments) {
    if (!readExtent(conversion.width, kMaxExtent, arguments)) return false;
    // Only an argument for "*" can be negative; it asks for the left side.
    if (conversion.width < 0) conversion.left = true;
    conversion.width = std::abs(conversion.width);
    return true;
  }

  bool readPrecision(Conversion& conversion, Arguments& arguments) {
    if (!skip(u".")) return true;
    conversion.precision = 0;  // for "." without digits; a negative argument leaves none
    return readExtent(conversion.precision, kMaxPrecision, arguments);
  }

  // Reads digits, or an argument for "*". Without either, `extent` keeps its value.
  bool readExtent(int& extent, int limit, Arguments& arguments) {
    if (skip(u"*")) {
      const FormatArg* arg = arguments.next();
      if (arg == nullptr || !isInteger(*arg)) return false;
      const int value = static_cast<int>(arg->integer);
      extent = std::clamp(value, -limit, limit);
      return true;
    }
    if (!isDigit(current())) return true;
    extent = 0;
    // Limited at every digit, so that no number of digits overflows.
    for (; isDigit(current()); ++at_)
      extent = std::min(std::min(extent, limit / 10) * 10 + (current() - u'0'), limit);
    return true;
  }

  void readLength(Conversion& conversion) {
    struct Length {
      std::u16string_view text;
      int bits;
    };
    // The longer ones come first, since the first match counts. "l" means 32 bits although a long
    // has 64 here: formats write result codes and ids with it.
    static constexpr Length kLengths[] = {{u"ll", 64}, {u"I64", 64}, {u"I32", 32}, {u"hh", 8},
                                          {u"h", 16},  {u"l", 32},   {u"I", 64},   {u"j", 64},
                                          {u"z", 64},  {u"t", 64},   {u"L", 32},   {u"w", 32}};
    // Most conversions have no length.
    if (std::u16string_view(u"lIhjztLw").find(current()) == std::u16string_view::npos) return;
    for (const Length& length : kLengths) {
      if (!skip(length.text)) continue;
      conversion.bits = length.bits;
      return;
    }
  }

  std::u16string_view format_;
  std::size_t at_ = 0;
  std::size_t start_ = 0;
};

std::size_t padding(const Conversion& conversion, std::size_t length) {
  const auto width = static_cast<std::size_t>(conversion.width);
  return width > length ? width - length : 0;
}

void writePadded(Output& out, const Conversion& conversion, std::u16string_view text) {
  const std::size_t blanks = padding(conversion, text.size());
  if (!conversion.left) out.fill(u' ', blanks);
  out.append(text);
  if (conversion.left) out.fill(u' ', blanks);
}

// Writes the prefix (a sign or base), zeros and digits, and fills up to the width.
void writeDigits(Output& out, const Conversion& conversion, std::u16string_view prefix,
                 std::u16string_view digits) {
  std::size_t zeros = 0;
  const int wanted = std::min(conversion.precision, kMaxExtent);
  if (wanted > static_cast<int>(digits.size()))
    zeros = static_cast<std::size_t>(wanted) - digits.size();
  std::size_t blanks = padding(conversion, prefix.size() + zeros + digits.size());
  // As in C, the flag 0 has no effect beside "-" or a precision.
  if (conversion.zero && !conversion.left && conversion.precision < 0) {
    zeros += blanks;
    blanks = 0;
  }
  if (!conversion.left) out.fill(u' ', blanks);
  out.append(prefix);
  out.fill(u'0', zeros);
  out.append(digits);
  if (conversion.left) out.fill(u' ', blanks);
}

std::uint64_t withBits(std::int64_t value, int bits) {
  const auto all = static_cast<std::uint64_t>(value);
  return bits == 64 ? all : all & ((std::uint64_t{1} << bits) - 1);
}

// Shifting up and down again repeats the sign bit of the narrow number.
std::int64_t signedWithBits(std::int64_t value, int bits) {
  const int unused = 64 - bits;
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(value) << unused) >> unused;
}

// The digits of a number, without an allocation.
class Digits {
 public:
  Digits(std::uint64_t value, int base, bool upperCase) {
    char narrow[24];  // 22 octal digits are the most
    const auto end = std::to_chars(narrow, narrow + sizeof narrow, value, base).ptr;
    for (const char* digit = narrow; digit != end; ++digit)
      units_[length_++] = static_cast<char16_t>(upperCase ? toUpperAscii(*digit) : *digit);
  }
  std::u16string_view view() const { return {units_, length_}; }

 private:
  char16_t units_[24];
  std::size_t length_ = 0;
};

void writeSigned(Output& out, const Conversion& conversion, std::int64_t value) {
  const std::int64_t number = signedWithBits(value, conversion.bits);
  const auto bits = static_cast<std::uint64_t>(number);
  // Negated as unsigned, because the lowest number has no positive counterpart.
  const Digits digits(number < 0 ? 0 - bits : bits, 10, false);
  const std::u16string_view sign = number < 0         ? u"-"
                                   : conversion.plus  ? u"+"
                                   : conversion.blank ? u" "
                                                      : u"";
  // As in C, a precision of 0 writes no digit for 0.
  const bool nothing = number == 0 && conversion.precision == 0;
  writeDigits(out, conversion, sign, nothing ? std::u16string_view() : digits.view());
}

void writeUnsigned(Output& out, const Conversion& conversion, std::int64_t value) {
  const std::uint64_t number = withBits(value, conversion.bits);
  const char16_t letter = conversion.letter;
  const int base = letter == u'o' ? 8 : letter == u'u' ? 10 : 16;
  const Digits digits(number, base, letter == u'X');
  const bool nothing = number == 0 && conversion.precision == 0;
  std::u16string_view prefix;
  if (conversion.alternate && number != 0 && base == 16) prefix = letter == u'X' ? u"0X" : u"0x";
  const int shown = nothing ? 0 : static_cast<int>(digits.view().size());
  // As in C, "#" writes a leading zero for an octal number, unless there is one already.
  const bool startsWithZero = number == 0 && !nothing;
  if (conversion.alternate && base == 8 && !startsWithZero && conversion.precision <= shown)
    prefix = u"0";
  writeDigits(out, conversion, prefix, nothing ? std::u16string_view() : digits.view());
}

void writePointer(Output& out, const Conversion& conversion, const FormatArg& arg) {
  const auto address = isInteger(arg) ? static_cast<std::uint64_t>(arg.integer)
                                      : reinterpret_cast<std::uintptr_t>(arg.pointer);
  Conversion full = conversion;
  full.precision = 16;
  writeDigits(out, full, u"", Digits(address, 16, true).view());
}

// Makes snprintf write a point in this thread, in every locale that the program may have set.
class PointLocale {
 public:
  PointLocale() : before_(uselocale(plain())) {}
  ~PointLocale() { uselocale(before_); }
  PointLocale(const PointLocale&) = delete;
  PointLocale& operator=(const PointLocale&) = delete;

 private:
  static locale_t plain() {
    // Never freed: other threads may still be writing when the process ends.
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
  }
  locale_t before_;
};

// The digits of a real are left to the C library. The format for it is put together here, so the
// author's own format never reaches snprintf.
void writeReal(Output& out, const Conversion& conversion, double value) {
  char format[12] = "%";
  char* end = format + 1;
  if (conversion.left) *end++ = '-';
  if (conversion.plus) *end++ = '+';
  if (conversion.blank) *end++ = ' ';
  if (conversion.alternate) *end++ = '#';
  if (conversion.zero) *end++ = '0';
  *end++ = '*';
  *end++ = '.';
  *end++ = '*';
  *end++ = static_cast<char>(conversion.letter);
  *end = 0;
  // Has room for a sign, the 309 digits of the largest number, a point and kMaxExtent decimals.
  std::array<char, kMaxExtent + 512> text;
  const PointLocale point;
  const int length = std::snprintf(text.data(), text.size(), format, conversion.width,
                                   std::min(conversion.precision, kMaxExtent), value);
  for (int i = 0; i < length; ++i) {
    const auto unit = static_cast<char16_t>(text[static_cast<std::size_t>(i)]);
    out.append(std::u16string_view(&unit, 1));
  }
}

// Calls `take` for the first `limit` UTF-16 units of a UTF-8 text. Two walks, one to count and one
// to write, replace a converted copy. A malformed sequence becomes U+FFFD as in toUtf16;
// codePointAt does not serve here, because it does not return the length of such a sequence.
template <class Take>
void eachUnit(const FormatArg& arg, std::size_t limit, Take take) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(arg.narrow);
  std::size_t count = 0;
  for (std::size_t i = 0; i < arg.length && count < limit;) {
    UChar32 point = 0;
    U8_NEXT_OR_FFFD(bytes, i, arg.length, point);
    const char16_t units[] = {point > 0xFFFF ? U16_LEAD(point) : static_cast<char16_t>(point),
                              point > 0xFFFF ? U16_TRAIL(point) : char16_t{0}};
    for (std::size_t k = 0; k < (point > 0xFFFF ? 2U : 1U) && count < limit; ++k, ++count)
      take(units[k]);
  }
}

void writeNarrow(Output& out, const Conversion& conversion, const FormatArg& arg,
                 std::size_t limit) {
  std::size_t length = 0;
  // Without a width, no padding depends on the length.
  if (conversion.width > 0) eachUnit(arg, limit, [&](char16_t) { ++length; });
  const std::size_t blanks = padding(conversion, length);
  if (!conversion.left) out.fill(u' ', blanks);
  eachUnit(arg, limit, [&](char16_t unit) { out.fill(unit, 1); });
  if (conversion.left) out.fill(u' ', blanks);
}

void writeText(Output& out, const Conversion& conversion, const FormatArg& arg) {
  const std::size_t limit = conversion.precision < 0
                                ? std::u16string_view::npos
                                : static_cast<std::size_t>(conversion.precision);
  const bool wide = arg.kind == FormatArg::Kind::Wide;
  if (wide ? arg.wide == nullptr : arg.narrow == nullptr) {
    writePadded(out, conversion, std::u16string_view(u"(null)").substr(0, limit));
  } else if (wide) {
    writePadded(out, conversion, std::u16string_view(arg.wide, std::min(arg.length, limit)));
  } else {
    writeNarrow(out, conversion, arg, limit);
  }
}

void writeUnit(Output& out, const Conversion& conversion, std::int64_t value) {
  const auto unit = static_cast<char16_t>(value);
  writePadded(out, conversion, std::u16string_view(&unit, 1));
}

// Returns false and writes nothing if the argument does not suit the conversion.
bool writeArgument(Output& out, const Conversion& conversion, const FormatArg& arg) {
  using Kind = FormatArg::Kind;
  switch (conversion.letter) {
    case u'd':
    case u'i':
      return isInteger(arg) && (writeSigned(out, conversion, arg.integer), true);
    case u'u':
    case u'x':
    case u'X':
    case u'o':
      return isInteger(arg) && (writeUnsigned(out, conversion, arg.integer), true);
    case u'c':
      return isInteger(arg) && (writeUnit(out, conversion, arg.integer), true);
    case u's':
    case u'S':
      return (arg.kind == Kind::Wide || arg.kind == Kind::Narrow) &&
             (writeText(out, conversion, arg), true);
    case u'p':
      return (arg.kind == Kind::Pointer || isInteger(arg)) &&
             (writePointer(out, conversion, arg), true);
    default:
      return arg.kind == Kind::Real && (writeReal(out, conversion, arg.real), true);
  }
}

bool takesArgument(char16_t letter) {
  return letter != 0 &&
         std::u16string_view(u"sdiuxXocSpeEfFgGaA").find(letter) != std::u16string_view::npos;
}

void writeAll(Output& out, std::u16string_view format, FormatArgs args) {
  Parser parser(format);
  Arguments arguments(args);
  for (;;) {
    out.append(parser.takePlain());
    if (parser.done()) return;
    const auto conversion = parser.takeConversion(arguments);
    // An unknown letter uses up no argument; an argument of an unsuitable kind is used up.
    if (conversion && conversion->letter == u'%') {
      out.fill(u'%', 1);
    } else if (conversion && !takesArgument(conversion->letter)) {
      out.append(parser.written());
    } else {
      const FormatArg* arg = arguments.next();
      if (!conversion || arg == nullptr || !writeArgument(out, *conversion, *arg))
        out.fill(u'?', 1);
    }
  }
}

}  // namespace

int formatInto(OLECHAR* buffer, std::size_t capacity, std::u16string_view format, FormatArgs args) {
  if (buffer == nullptr || capacity == 0) return -1;
  Output out(buffer, capacity - 1);
  writeAll(out, format, args);
  buffer[out.kept()] = 0;
  // A length beyond int cannot be returned, so it counts as cut.
  return out.kept() < out.length() || out.length() > INT_MAX ? -1 : static_cast<int>(out.length());
}

std::u16string formatText(std::u16string_view format, FormatArgs args) {
  // Most texts fit into the first buffer; a longer one is formatted again, into its exact length.
  std::array<OLECHAR, 512> room;
  Output first(room.data(), room.size());
  writeAll(first, format, args);
  if (first.length() <= room.size()) return {room.data(), first.length()};
  std::u16string text(first.length(), u'\0');
  Output second(text.data(), text.size());
  writeAll(second, format, args);
  return text;
}

}  // namespace qx
