#include "qxframework/resources/quoted_text.h"

#include "qxframework/automation/com_error.h"

namespace qx {
namespace {

constexpr char16_t kQuote = u'"';
constexpr char kNoOpener = -1;

}  // namespace

QuotedText::QuotedText(std::u16string_view text, std::span<const std::u16string_view> openers)
    : openers_(openers) {
  for (const std::u16string_view opener : openers) lastLetters_ += opener[opener.size() - 3];
  const auto marks = static_cast<std::size_t>(std::count(text.begin(), text.end(), kQuote));
  pieces_.reserve(marks + 1);
  kinds_.reserve(marks + 1);
  lines_.reserve(marks + 1);
  std::size_t from = 0;
  std::uint32_t lines = 0;
  const auto add = [&](std::u16string_view piece) {
    pieces_.push_back(piece);
    kinds_ += kindOf(piece);
    lines_.push_back(std::exchange(lines, 0));
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] > kQuote) continue;  // neither a mark nor a line feed, as nearly all units
    if (text[i] == u'\n') ++lines;
    if (text[i] != kQuote) continue;
    add(text.substr(from, i - from));
    from = i + 1;
  }
  add(text.substr(from));
  isReplaced_.resize(pieces_.size());
}

// The last letter of the name decides nearly always, so it is compared first.
char QuotedText::kindOf(std::u16string_view piece) const {
  if (piece.size() < 2 || piece.back() != u'=') return kNoOpener;
  const char16_t last = piece[piece.size() - 2];
  for (std::size_t i = 0; i < lastLetters_.size(); ++i) {
    if (lastLetters_[i] != last) continue;
    const std::u16string_view opener = openers_[i];
    if (piece.ends_with(opener.substr(0, opener.size() - 1))) return static_cast<char>(i);
  }
  return kNoOpener;
}

void QuotedText::replace(std::size_t piece, std::u16string value) {
  pieces_[piece] = values_.emplace_back(std::move(value));
  isReplaced_[piece] = true;
  startLength_.reset();
  // A value that ends like an opener makes the mark after it the start of a value of a later pass.
  kinds_[piece] = kindOf(pieces_[piece]);
  const auto lines = std::count(pieces_[piece].begin(), pieces_[piece].end(), u'\n');
  lines_[piece] = static_cast<std::uint32_t>(lines);
}

long QuotedText::LineCounter::endOf(std::size_t piece) {
  for (; next_ <= piece; ++next_) line_ += lines_[next_];
  return line_;
}

// Passes the pieces with the marks between them. Neighbours that were not replaced are passed as
// one stretch of the original text. Ends if `take` returns false.
template <class Take>
void QuotedText::forEachStretch(Take take) const {
  for (std::size_t i = 0; i < pieces_.size();) {
    std::size_t last = i;
    while (!isReplaced_[i] && last + 1 < pieces_.size() && !isReplaced_[last + 1]) ++last;
    const char16_t* const end = pieces_[last].data() + pieces_[last].size();
    const auto length = static_cast<std::size_t>(end - pieces_[i].data());
    if (!take(std::u16string_view(pieces_[i].data(), length))) return;
    i = last + 1;
    if (i < pieces_.size() && !take(std::u16string_view(&kQuote, 1))) return;
  }
}

// Most passes over a document replace nothing, so the start of the text is mostly still the same.
std::u16string_view QuotedText::start(std::size_t length) {
  if (startLength_ == length) return start_;
  start_.clear();
  start_.reserve(length);
  forEachStretch([&](std::u16string_view stretch) {
    start_ += stretch.substr(0, length - start_.size());
    return start_.size() < length;
  });
  startLength_ = length;
  return start_;
}

CComBSTR QuotedText::text() const {
  std::size_t length = pieces_.size() - 1;
  for (const std::u16string_view piece : pieces_) length += piece.size();
  CComBSTR out;
  out.Attach(newBstr(length));
  if (!out) raiseError(E_OUTOFMEMORY);
  char16_t* end = out.m_str;
  forEachStretch([&](std::u16string_view stretch) {
    end = std::copy(stretch.begin(), stretch.end(), end);
    return true;
  });
  return out;
}

}  // namespace qx
