#pragma once

// The result of a batch as one line of XML:
//
//     <result actions="2" applied="3" failed="1"><errors><error action="1" type="add" entry="2"
//     uid="X" code="-7026" text="Invalid menu item"/></errors></result>
//
// `action` and `entry` count from 1. An error may have a `detail`, a sentence about the fault in
// the entry. The error of a document that cannot be parsed has `line` and `column` instead of the
// first four attributes.

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
  long line = 0;  ///< 0: unknown
  long column = 0;
  HRESULT code = 0;
  std::u16string detail;
};

class BatchReport {
 public:
  /// Begins an action, to which the following calls belong.
  void beginAction(std::u16string_view type);
  /// Begins an entry of the action.
  void beginEntry(std::u16string_view uid);
  /// Counts the entry as applied.
  void applied() { ++applied_; }
  /// Adds an error of the current entry.
  void fail(HRESULT code, std::u16string_view detail = {});
  /// Adds an error of the document as a whole; `line` is 0 if the place is unknown.
  void failDocument(HRESULT code, std::u16string_view detail, long line, long column);

  const std::vector<BatchError>& errors() const { return errors_; }
  /// Returns S_OK or the code of the first error.
  HRESULT result() const { return errors_.empty() ? S_OK : errors_.front().code; }
  std::u16string xml() const;

 private:
  BatchError place_;
  long actions_ = 0;
  long applied_ = 0;
  std::vector<BatchError> errors_;
};

}  // namespace qx::screens
