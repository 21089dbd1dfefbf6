#include "qxdesk/sql/statement_shape.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/utf.h"

#include <array>

namespace qx::sql {
namespace {

// In the key a literal is one of these bytes. lex() refuses them where a token may begin, so that
// no other text has the key.
constexpr char kText = '\x01';
constexpr char kTextWithBracket = '\x02';
constexpr char kWhole = '\x03';
constexpr char kDecimal = '\x04';

// A whole number of more digits may not fit 64 bits.
constexpr std::size_t kMaxWholeDigits = 18;
// Far below the largest double.
constexpr std::size_t kMaxDecimalBytes = 40;

enum class ByteKind : unsigned char { Refused, Blank, Name, Digit, Symbol, Enclosing };

constexpr std::array<ByteKind, 256> kKinds = [] {
  std::array<ByteKind, 256> kinds{};
  for (const char c : std::string_view(" \t\r\n\f\v"))
    kinds[static_cast<unsigned char>(c)] = ByteKind::Blank;
  for (const char c : std::string_view("=<>!|+-*/%().,;"))
    kinds[static_cast<unsigned char>(c)] = ByteKind::Symbol;
  for (const char c : std::string_view("'\"["))
    kinds[static_cast<unsigned char>(c)] = ByteKind::Enclosing;
  for (unsigned c = '0'; c <= '9'; ++c) kinds[c] = ByteKind::Digit;
  for (unsigned c = 'a'; c <= 'z'; ++c) kinds[c] = kinds[c - 'a' + 'A'] = ByteKind::Name;
  for (unsigned c = 0x80; c <= 0xFF; ++c) kinds[c] = ByteKind::Name;
  kinds['_'] = kinds['@'] = ByteKind::Name;
  return kinds;
}();

ByteKind kindOf(char c) { return kKinds[static_cast<unsigned char>(c)]; }

constexpr std::array<bool, 256> kContinuesName = [] {
  std::array<bool, 256> continues{};
  for (std::size_t c = 0; c < continues.size(); ++c)
    continues[c] = kKinds[c] == ByteKind::Name || kKinds[c] == ByteKind::Digit;
  continues['$'] = continues['#'] = true;
  return continues;
}();

bool continuesName(char c) { return kContinuesName[static_cast<unsigned char>(c)]; }

// True if lex() takes the text for the content of a literal.
bool isGoodText(std::string_view text) {
  unsigned char seen = 0;
  bool zero = false;
  for (const char c : text) {
    seen |= static_cast<unsigned char>(c);
    zero |= c == 0;
  }
  if (zero) return false;
  if (seen < 0x80) return true;
  for (std::size_t at = 0; at < text.size();) {
    const auto character = codePointAt(text, at);
    if (!character) return false;
    at += character->length;
  }
  return true;
}

// Cuts a statement into pieces of the key. It accepts less than lex(): every step that is not
// certain ends it.
class Finder {
 public:
  Finder(std::string_view text, StatementShape& shape) : text_(text), shape_(shape) {}

  bool run() {
    while (at_ < text_.size()) {
      if (!token()) return false;
    }
    copy();
    return true;
  }

 private:
  bool token() {
    switch (kindOf(text_[at_])) {
      case ByteKind::Blank:
        ++at_;
        return true;
      case ByteKind::Name:
        return name();
      case ByteKind::Digit:
        return number();
      case ByteKind::Symbol:
        return symbol();
      case ByteKind::Enclosing:
        return text_[at_] == '\'' ? text(at_) : enclosedName();
      default:
        return false;
    }
  }

  char next(std::size_t distance) const {
    return at_ + distance < text_.size() ? text_[at_ + distance] : '\0';
  }

  /// Appends what is not in the key yet, up to the current place.
  void copy() {
    shape_.key.append(text_, copied_, at_ - copied_);
    copied_ = at_;
  }
  /// Appends the mark of the literal from the current place to `end`.
  void addLiteral(char mark, std::string_view source, std::size_t end) {
    copy();
    shape_.key += mark;
    shape_.literals.push_back({at_, source});
    at_ = copied_ = end;
  }

  bool name() {
    if ((text_[at_] == 'N' || text_[at_] == 'n') && next(1) == '\'') return text(at_ + 1);
    do {
      ++at_;
    } while (at_ < text_.size() && continuesName(text_[at_]));
    return true;
  }

  bool symbol() {
    const char c = text_[at_];
    if (c == '.' && kindOf(next(1)) == ByteKind::Digit) return number();
    // The begin of a comment.
    if ((c == '-' && next(1) == '-') || (c == '/' && next(1) == '*')) return false;
    ++at_;
    return true;
  }

  // Returns the length of the enclosed text from `from` on, without the closing character; npos if
  // it is not closed.
  std::size_t enclosedLength(std::size_t from, char close) const {
    for (std::size_t end = from;; end += 2) {
      end = text_.find(close, end);
      if (end == std::string_view::npos) return end;
      if (end + 1 >= text_.size() || text_[end + 1] != close) return end - from;
    }
  }

  bool enclosedName() {
    const std::size_t length = enclosedLength(at_ + 1, text_[at_] == '[' ? ']' : '"');
    if (length == std::string_view::npos) return false;
    at_ += length + 2;
    return true;
  }

  // The literal begins here, and its quote, which an N may precede, is at `quote`.
  bool text(std::size_t quote) {
    const std::size_t from = quote + 1;
    const std::size_t length = enclosedLength(from, '\'');
    if (length == std::string_view::npos) return false;
    const std::string_view source = text_.substr(from, length);
    if (!isGoodText(source)) return false;
    addLiteral(source.find('[') == std::string_view::npos ? kText : kTextWithBracket, source,
               from + length + 1);
    return true;
  }

  std::size_t digits(std::size_t distance) const {
    std::size_t end = distance;
    while (kindOf(next(end)) == ByteKind::Digit) ++end;
    return end;
  }

  bool number() {
    std::size_t length = digits(0);
    bool whole = true;
    if (next(length) == '.') {
      whole = false;
      length = digits(length + 1);
    }
    // An exponent is left to the slow way, and so are two numbers without a blank between them.
    if (continuesName(next(length)) || next(length) == '.') return false;
    if (length > (whole ? kMaxWholeDigits : kMaxDecimalBytes)) {
      at_ += length;
      return true;
    }
    addLiteral(whole ? kWhole : kDecimal, text_.substr(at_, length), at_ + length);
    return true;
  }

  std::string_view text_;
  StatementShape& shape_;
  std::size_t at_ = 0;
  std::size_t copied_ = 0;  // the key has the text up to here
};

}  // namespace

bool findShape(std::string_view utf8, StatementShape& shape) {
  shape.key.clear();
  shape.literals.clear();
  if (utf8.size() > kMaxShapeBytes) return false;
  shape.key.reserve(utf8.size());
  return Finder(utf8, shape).run();
}

std::string valueOf(const ShapeLiteral& text) {
  std::string value;
  value.reserve(text.source.size());
  for (std::size_t i = 0; i < text.source.size(); ++i) {
    value += text.source[i];
    if (text.source[i] == '\'') ++i;
  }
  return value;
}

}  // namespace qx::sql
