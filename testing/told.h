#pragma once

// What is told past the host's screens: to the user by the system's boxes, to the developer by the
// trace.

#include "qxframework/automation/text.h"
#include "qxframework/os/debug_trace.h"

#include <string>
#include <vector>

namespace qx::test {

/// Collects both while it lives; one at a time.
class Told {
 public:
  Told() : boxesBefore_(setMessageBoxSink(&takeBox)), traceBefore_(setDeveloperTraceSink(&take)) {
    boxes().clear();
    trace().clear();
  }
  ~Told() {
    setMessageBoxSink(boxesBefore_);
    setDeveloperTraceSink(traceBefore_);
  }
  Told(const Told&) = delete;
  Told& operator=(const Told&) = delete;

  /// "caption: text"
  static std::vector<std::string>& boxes() {
    static std::vector<std::string> list;
    return list;
  }
  static std::string& trace() {
    static std::string text;
    return text;
  }

 private:
  static void takeBox(std::u16string_view text, std::u16string_view caption, UINT) {
    boxes().push_back(toUtf8(caption) + ": " + toUtf8(text));
  }
  static void take(std::u16string_view text) { trace() += toUtf8(text); }

  MessageBoxSink boxesBefore_;
  TraceSink traceBefore_;
};

}  // namespace qx::test
