#pragma once

// The findings of a check, each with its place in the checked file.

#include "qxframework/automation/text_place.h"

#include <string>
#include <string_view>
#include <vector>

namespace qx::formcheck {

using Place = TextPlace;

/// A fault of the document, or a remark on something that is allowed.
enum class Severity { error, note };

struct Finding {
  Place place;
  Severity severity = Severity::error;
  std::string text;  ///< in UTF-8: the problem, a semicolon and the remedy
};

/// Collects the findings of the checks, which run one after the other.
class Findings {
 public:
  void error(const Place& place, const std::string& problem, const std::string& remedy) {
    all_.push_back({place, Severity::error, problem + "; " + remedy});
  }
  void note(const Place& place, const std::string& problem, const std::string& remedy) {
    all_.push_back({place, Severity::note, problem + "; " + remedy});
  }
  /// Returns the findings by place; those of one place in the order of the checks.
  std::vector<Finding> sorted() const;

 private:
  std::vector<Finding> all_;
};

/// Returns "FILE:LINE:COLUMN: error: TEXT" with a line end. `file` is the name for messages.
std::string messageOf(const std::string& file, const Finding& finding);

/// Return text of the document in single quotes, without control characters and cut if it is long.
std::string quoted(std::u16string_view text);
/// Returns the name of an element in angle brackets, in the same way.
std::string bracketed(std::u16string_view name);

}  // namespace qx::formcheck
