#pragma once

// A script that plays the user: UTF-8, one action per line.
//
//     menu UID                     pick a menu entry
//     open TYPE                    open one of the host's own forms
//     close FORM | select FORM
//     press FORM ITEM              click an item; the click presses a button
//     click FORM MATRIX COLUMN ROW | doubleclick FORM ITEM [COLUMN ROW]
//     ctrlclick FORM MATRIX COLUMN ROW | shiftclick FORM MATRIX COLUMN ROW
//                                  click with that key held down, to select several rows
//     type FORM ITEM TEXT          TEXT is the rest of the line; an empty TEXT clears the item
//     cell FORM MATRIX COLUMN ROW TEXT
//     key FORM ITEM CODE           13 is enter; 9 is tab, which moves the focus
//     tab FORM | backtab FORM      press the tab key where the focus is; backtab with Shift
//     validate FORM ITEM           leave the item
//     choose FORM ITEM KEY         choose an entry of a combo box
//     rightclick FORM [ITEM]
//     formdata FORM TYPE KEY
//     answer BUTTON                press that button of the next message box, from 1
//     language LANGUAGE | company FILE
//     shutdown | terminate         close the forms, then application events 64 and 67
//     status TEXT                  show a message of the host itself
//     progress                     stop the progress bar if that is possible
//     printout FORM | report FORM
//     print menus | forms | form FORM | status | boxes
//     draw FORM                    print the form as the user sees it
//     say TEXT                     print the text
//     start                        the steps before it are played before the add-on starts
//     # comment
//
// FORM is a UID, or * for the selected form. A box takes an earlier answer that no box has used
// yet; if there is none and the step after the current one is an answer, it takes that. After
// shutdown and terminate, which end the add-on's message loop, the rest of the script is played at
// once.

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
  kCtrlClick,
  kShiftClick,
  kDoubleClick,
  kType,
  kCell,
  kKey,
  kTab,
  kBackTab,
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
  kDraw,
  kSay,
  kStart,
};

/// One line of the script.
struct PlayStep {
  PlayVerb verb = PlayVerb::kMenu;
  std::vector<std::u16string> words;  ///< the arguments but for `number`; a TEXT is one of them
  long number = 0;                    ///< of a key, an answer, a row or a language
  int line = 0;                       ///< from 1
};

/// An error in a script. what() is "FILE:LINE:COLUMN: sentence"; line and column count from 1.
class PlayScriptError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Returns the steps of a script. Throws PlayScriptError; `file` is the name in its message.
std::vector<PlayStep> parsePlayScript(std::string_view text, std::string_view file);
/// Reads and parses a file. The message about a file that cannot be read has no line and column.
std::vector<PlayStep> readPlayScript(const std::string& path);

}  // namespace qx::screens
