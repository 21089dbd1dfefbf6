#pragma once

// What came of a batch, told as one line of XML:
//
//     <result actions="2" applied="3" failed="1"><errors><error action="1" type="add" entry="2"
//     uid="X" code="-7026" text="Invalid menu item"/></errors></result>
//
// `action` and `entry` count from 1. An error may have a `detail` that says what in the entry is
// wrong; a document that does not parse has `line` and `column` instead of the first four.

#include "qxframework/automation/types.h"

#include <string>
#include <string_view>
#include <vector>

namespace qx::screens {

struct BatchError {
  long action = 0;  ///< 0: the document as a whole
  std::u16string type;
  long entry = 0;  ///< 0: the action as a whole
  std::u16string uid;
  long line = 0;  ///< 0: not known
  long column = 0;
  HRESULT code = 0;
  std::u16string detail;
};

class BatchReport {
 public:
  /// Everything that follows belongs to this action.
  void beginAction(std::u16string_view type);
  /// Everything that follows belongs to this entry.
  void beginEntry(std::u16string_view uid);
  void applied() { ++applied_; }
  void fail(HRESULT code, std::u16string_view detail = {});
  void failDocument(HRESULT code, std::u16string_view detail, long line, long column);

  const std::vector<BatchError>& errors() const { return errors_; }
  /// 0, or the code of the first error.
  HRESULT result() const { return errors_.empty() ? S_OK : errors_.front().code; }
  std::u16string xml() const;

 private:
  BatchError place_;
  long actions_ = 0;
  long applied_ = 0;
  std::vector<BatchError> errors_;
};

}  // namespace qx::screens
