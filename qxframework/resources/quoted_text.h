#pragma once

// Passes over a text of XML that replace the values of attributes. The text is split at its
// quotation marks once. The values are pieces of it, so a pass copies nothing but what it replaces.

#include "qxframework/automation/bstr.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx {

/// A text between and around quotation marks.
class QuotedText {
 public:
  /// Borrows both arguments. An opener is a text that ends with `="`, such as `uid="`. It is found
  /// wherever it occurs, also at the end of a longer name. No opener ends with another one. There
  /// are at most 127 openers.
  QuotedText(std::u16string_view text, std::span<const std::u16string_view> openers);
  QuotedText(const QuotedText&) = delete;
  QuotedText& operator=(const QuotedText&) = delete;

  /// Replaces each value of opener number `opener` by the result of `rewrite(value, line)`, from
  /// front to back. A value ends at the next quotation mark; the results must not have any. The
  /// function `line()` returns the number of the line, counted from 1, in which the value ends. The
  /// pass reads the text as it was when the pass began.
  template <class Rewrite>
  void rewrite(std::size_t opener, Rewrite rewrite);

  /// Returns the first `length` units of the present text, or all of it. The view is valid until
  /// the next call and the next pass.
  std::u16string_view start(std::size_t length);
  /// Returns the present text. Throws E_OUTOFMEMORY if memory is out.
  CComBSTR text() const;

 private:
  /// Returns the lines of pieces that are asked for in ascending order, so that each is added once.
  class LineCounter {
   public:
    explicit LineCounter(const std::vector<std::uint32_t>& lines) : lines_(lines) {}
    long endOf(std::size_t piece);

   private:
    const std::vector<std::uint32_t>& lines_;
    std::size_t next_ = 0;
    long line_ = 1;
  };

  char kindOf(std::u16string_view piece) const;
  void replace(std::size_t piece, std::u16string value);
  template <class Take>
  void forEachStretch(Take take) const;

  std::span<const std::u16string_view> openers_;
  std::u16string lastLetters_;  // of the names in the openers
  std::vector<std::u16string_view> pieces_;
  std::string kinds_;                 // of each piece the number of the opener that it ends with
  std::vector<std::uint32_t> lines_;  // of each piece the number of its line feeds
  std::vector<bool> isReplaced_;
  std::deque<std::u16string> values_;       // of the replaced pieces
  std::u16string start_;                    // the last result of start()
  std::optional<std::size_t> startLength_;  // its argument; none after a change of the text
};

template <class Rewrite>
void QuotedText::rewrite(std::size_t opener, Rewrite rewrite) {
  LineCounter lines(lines_);
  std::vector<std::pair<std::size_t, std::u16string>> values;
  const auto kind = static_cast<char>(opener);
  // The last piece has no quotation mark after it, so it is no value. After a value the next opener
  // may be in the piece that follows its closing mark.
  for (std::size_t at = kinds_.find(kind); at != kinds_.npos && at + 2 < pieces_.size();
       at = kinds_.find(kind, at + 2)) {
    const std::size_t value = at + 1;
    values.emplace_back(value,
                        rewrite(pieces_[value], [&lines, value] { return lines.endOf(value); }));
  }
  for (auto& [piece, value] : values) replace(piece, std::move(value));
}

}  // namespace qx
