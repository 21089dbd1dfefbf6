#pragma once

// The two ways by which the framework reports without the host's screens: the system's message
// boxes for the user and the developer's trace.

#include "qxframework/automation/text.h"
#include "qxframework/os/debug_trace.h"

#include <string>
#include <vector>

namespace qx::test {

/// Collects both while it lives. There can be one at a time.
class MessageRecorder {
 public:
  MessageRecorder()
      : previousBoxes_(setMessageBoxSink(&takeBox)),
        previousTrace_(setDeveloperTraceSink(&takeTrace)) {
    boxes().clear();
    trace().clear();
  }
  ~MessageRecorder() {
    setMessageBoxSink(previousBoxes_);
    setDeveloperTraceSink(previousTrace_);
  }
  MessageRecorder(const MessageRecorder&) = delete;
  MessageRecorder& operator=(const MessageRecorder&) = delete;

  /// Returns the boxes so far as "caption: text".
  static std::vector<std::string>& boxes() {
    static std::vector<std::string> list;
    return list;
  }
  /// Returns the trace so far.
  static std::string& trace() {
    static std::string text;
    return text;
  }

 private:
  static void takeBox(std::u16string_view text, std::u16string_view caption, UINT) {
    boxes().push_back(toUtf8(caption) + ": " + toUtf8(text));
  }
  static void takeTrace(std::u16string_view text) { trace() += toUtf8(text); }

  MessageBoxSink previousBoxes_;
  TraceSink previousTrace_;
};

}  // namespace qx::test
