#pragma once

// The client as text, for tests and for people: what would be on the screen.

#include "qxdesk/screens/model/desk.h"

#include <string>

namespace qx::screens {

/// One line per open form: `UID type "title"`, and what is not as usual: hidden, selected, frozen,
/// and a mode other than OK.
std::u16string printForms(const Forms& forms);
/// The form's line, then its data sources and items, one per line, the rows of a matrix below it.
std::u16string printForm(const FormModel& form);
/// One line per message, with "warning: ", "error: " or "info: " ahead of it, and behind them the
/// progress bar if somebody holds it.
std::u16string printStatus(const StatusBar& statusBar);
/// One line per box: `"text" [button] [button] -> answer`.
std::u16string printBoxes(const MessageBoxes& boxes);

}  // namespace qx::screens
