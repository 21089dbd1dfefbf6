#pragma once

// Prints the desk as text, for tests and for people: what would be on the screen.

#include "qxdesk/screens/model/desk.h"

#include <string>

namespace qx::screens {

/// Returns one line per open form: `UID type "title"` and, if they apply, the words hidden,
/// selected, frozen, and find, update or add for a mode other than OK.
std::u16string printForms(const Forms& forms);
/// Returns the form's line, then its data sources and its items, one per line; the rows of a matrix
/// follow its line.
std::u16string printForm(const FormModel& form);
/// Returns the message on one line without a line end. It begins with "warning: ", "error: " or
/// "info: " unless it is plain.
std::u16string statusLine(const StatusMessage& message);
/// Returns the statusLine() of each message. While the progress bar is held, its line follows.
std::u16string printStatus(const StatusBar& statusBar);
/// Returns one line per box: `"text" [button] [button] -> answer`.
std::u16string printBoxes(const MessageBoxes& boxes);

}  // namespace qx::screens
