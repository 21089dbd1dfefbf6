#pragma once

// The result of a batch as one line of XML:
//
//     <result actions="2" applied="3" failed="1"><errors><error action="1" type="add" entry="2"
//     uid="X" line="4" column="5" code="-7026" text="Invalid menu item"/></errors></result>
//
// `action` and `entry` count from 1. `line` and `column` are the place of the element at fault, or
// of the character at which parsing ends. An error may have a `detail`, a sentence about the fault.
// The error of a document that cannot be parsed or whose outline is wrong has no `action`, `type`,
// `entry` and `uid`.

#include "qxdesk/screens/batch/place.h"
#include "qxframework/automation/types.h"

#include <string>
#include <string_view>
#include <vector>

namespace qx::screens {

/// An error and its place in the document.
struct BatchError {
  long action = 0;  ///< 0: the document as a whole
  std::u16string type;
  long entry = 0;  ///< 0: the action as a whole
  std::u16string uid;
  Place place;
  HRESULT code = 0;
  std::u16string detail;
};

class BatchReport {
 public:
  /// Begins an action, to which the following calls belong.
  void beginAction(std::u16string_view type, const Place& place);
  /// Begins an entry of the action.
  void beginEntry(std::u16string_view uid, const Place& place);
  /// Counts the entry as applied.
  void applied() { ++applied_; }
  /// Adds an error of the current entry, or of the action if no entry has begun.
  void fail(HRESULT code, std::u16string_view detail = {});
  /// Adds an error of the current entry for an element within it.
  void fail(HRESULT code, std::u16string_view detail, const Place& place);
  /// Adds an error of the document as a whole.
  void failDocument(HRESULT code, std::u16string_view detail, const Place& place);

  const std::vector<BatchError>& errors() const { return errors_; }
  /// Returns S_OK or the code of the first error.
  HRESULT result() const { return errors_.empty() ? S_OK : errors_.front().code; }
  std::u16string xml() const;

 private:
  BatchError current_;  // the action and the entry at hand
  long actions_ = 0;
  long applied_ = 0;
  std::vector<BatchError> errors_;
};

}  // namespace qx::screens
