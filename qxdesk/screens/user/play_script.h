#pragma once

// A script of what the user does, one action per line, UTF-8:
//
//     menu UID                     pick a menu entry
//     open TYPE                    open one of the client's own forms
//     close FORM | select FORM
//     press FORM ITEM              click an item; a button is pressed by it
//     click FORM MATRIX COLUMN ROW | doubleclick FORM ITEM [COLUMN ROW]
//     type FORM ITEM TEXT          the rest of the line; nothing clears the field
//     cell FORM MATRIX COLUMN ROW TEXT
//     key FORM ITEM CODE           13 is enter
//     validate FORM ITEM           leave the field
//     choose FORM ITEM KEY         an entry of a combo box
//     rightclick FORM [ITEM]
//     formdata FORM TYPE KEY
//     answer BUTTON                of the next message box, from 1
//     language LANGUAGE | company FILE
//     shutdown | terminate         application events 64 and 67
//     status TEXT                  a message of the client itself
//     progress | printout FORM | report FORM
//     print menus | forms | form FORM | status | boxes
//     say TEXT                     a line of the script's own
//     start                        the steps ahead of it are played before the add-on starts
//     # comment
//
// FORM is a UID, or * for the selected form. An answer ahead of the action that brings the box, or
// behind it, is taken when the box opens. Behind the end of the client,
// which ends the add-on's message loop, the rest of the script is played at once.

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qx::screens {

enum class PlayVerb {
  kMenu,
  kOpen,
  kClose,
  kSelect,
  kPress,
  kClick,
  kDoubleClick,
  kType,
  kCell,
  kKey,
  kValidate,
  kChoose,
  kRightClick,
  kFormData,
  kAnswer,
  kLanguage,
  kCompany,
  kShutDown,
  kTerminate,
  kStatus,
  kProgress,
  kPrintOut,
  kReport,
  kPrint,
  kSay,
  kStart,
};

struct PlayStep {
  PlayVerb verb = PlayVerb::kMenu;
  std::vector<std::u16string> words;  ///< the arguments; a text that is the rest of the line is one
  long number = 0;                    ///< of a key, an answer, a row or a language
  int line = 0;
};

/// A line that makes no sense. what() is "FILE:LINE:COLUMN: sentence", line and column from 1.
class PlayScriptError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Raises PlayScriptError; `file` is its name in messages.
std::vector<PlayStep> parsePlayScript(std::string_view text, std::string_view file);
/// The same for the content of a file. One that cannot be read is refused without line and column.
std::vector<PlayStep> readPlayScript(const std::string& path);

}  // namespace qx::screens
