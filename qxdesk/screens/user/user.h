#pragma once

// IDeskUser, the interface through which a test or a demonstration plays the user of the embedded
// host. Query the application object for it. Its calls do not pass the call gate, since they are
// the user's and not an add-on's.

#include "qxframework/automation/types.h"
#include "qxframework/host/ids.h"

namespace qx::desk {

/// Answers message boxes as the user would.
class IBoxAnswerer : public IUnknown {
 public:
  static constexpr GUID kIid = hostId(0x0211);
  /// Writes the button to press, from 1, and returns S_OK. Any other result means no answer.
  virtual HRESULT AnswerBox(BSTR text, long defaultButton, long* button) = 0;

 protected:
  ~IBoxAnswerer() = default;
};

/// The keys that can be held down during a click.
enum ClickKey : long { kShiftKey = 1, kCtrlKey = 2 };

/// Plays the user. `done` becomes VARIANT_FALSE if an add-on vetoes the action. A target that does
/// not exist is refused with the host's codes: -7026 menu, -7000 form, -7001 item, -7015 column,
/// -7028 row; one that is hidden, disabled or on another pane with -7023. A null `done` or `out` is
/// refused with E_POINTER.
class IDeskUser : public IUnknown {
 public:
  static constexpr GUID kIid = hostId(0x0210);
  virtual HRESULT PickMenu(BSTR uid, VARIANT_BOOL* done) = 0;
  /// Opens one of the host's own forms. `uid` becomes null if an add-on vetoes. Returns -7008 for a
  /// type that the host does not have.
  virtual HRESULT OpenForm(BSTR typeEx, BSTR* uid) = 0;
  virtual HRESULT CloseForm(BSTR form, VARIANT_BOOL* done) = 0;
  virtual HRESULT SelectForm(BSTR form, VARIANT_BOOL* done) = 0;
  /// Clicks the item; the click presses a button.
  virtual HRESULT PressItem(BSTR form, BSTR item, VARIANT_BOOL* done) = 0;
  /// Clicks a cell of a matrix; row 0 is the head of the column.
  virtual HRESULT ClickCell(BSTR form, BSTR item, BSTR column, long row, VARIANT_BOOL* done) = 0;
  virtual HRESULT DoubleClickCell(BSTR form, BSTR item, BSTR column, long row,
                                  VARIANT_BOOL* done) = 0;
  /// Replaces the text of an edit, key by key; an empty text clears it.
  virtual HRESULT TypeInto(BSTR form, BSTR item, BSTR text, VARIANT_BOOL* done) = 0;
  virtual HRESULT TypeIntoCell(BSTR form, BSTR item, BSTR column, long row, BSTR text,
                               VARIANT_BOOL* done) = 0;
  /// Presses one key: 8 clears the text, 9 moves the focus, 13 presses the default button. Returns
  /// E_INVALIDARG for a number outside of 1 to 65535.
  virtual HRESULT KeyDown(BSTR form, BSTR item, long key, VARIANT_BOOL* done) = 0;
  /// Leaves an edit, which validates it.
  virtual HRESULT Validate(BSTR form, BSTR item, VARIANT_BOOL* done) = 0;
  /// Chooses an entry of a combo box by its key or its text.
  virtual HRESULT ChooseValue(BSTR form, BSTR item, BSTR key, VARIANT_BOOL* done) = 0;
  /// `item` may be empty for a click on the form itself.
  virtual HRESULT RightClick(BSTR form, BSTR item, VARIANT_BOOL* done) = 0;
  virtual HRESULT FireFormData(BSTR form, BSTR objectType, BSTR objectKey, VARIANT_BOOL* done) = 0;
  /// Stops the progress bar if it can be stopped; the events come also without one.
  virtual HRESULT FireProgressBar(VARIANT_BOOL* done) = 0;
  virtual HRESULT FirePrint(BSTR form, VARIANT_BOOL* done) = 0;
  virtual HRESULT FireReportData(BSTR form, VARIANT_BOOL* done) = 0;
  /// Shows a message of the host itself and raises its event.
  virtual HRESULT FireStatusBar(BSTR text, long type) = 0;

  /// Returns E_INVALIDARG for a number that is no language.
  virtual HRESULT ChangeLanguage(long language) = 0;
  virtual HRESULT ChangeCompany(BSTR database) = 0;
  /// End the client: close all forms but the main menu, whatever a sink vetoes, and raise the
  /// event.
  virtual HRESULT Shutdown() = 0;
  virtual HRESULT ServerTermination() = 0;

  /// Answers the next message box that has no answer yet with this button, 1 to 3.
  virtual HRESULT QueueAnswer(long button) = 0;
  /// Sets who is asked if no answer is queued; null for no answerer.
  virtual HRESULT SetBoxAnswerer(IBoxAnswerer* answerer) = 0;
  /// Returns the text of the last message box; empty if there has been none.
  virtual HRESULT GetLastBoxText(BSTR* out) = 0;

  /// The following five print the desk as MenuModel::tree and desk_printer.h describe.
  virtual HRESULT PrintMenus(BSTR* out) = 0;
  virtual HRESULT PrintForms(BSTR* out) = 0;
  virtual HRESULT PrintForm(BSTR form, BSTR* out) = 0;
  virtual HRESULT PrintStatus(BSTR* out) = 0;
  virtual HRESULT PrintBoxes(BSTR* out) = 0;
  /// Returns the number of freezes that were not taken back and the number of updates.
  virtual HRESULT GetFormCounts(BSTR form, long* freezes, long* updates) = 0;
  /// Returns the number of event sinks that are attached.
  virtual HRESULT GetSinkCount(long* out) = 0;
  /// Draws the form as the user sees it, in plain text, with the status bar beneath it; a test can
  /// compare the whole. Returns an empty text for a hidden form. The manual of the stand-in host
  /// has the signs of the drawing.
  virtual HRESULT DrawForm(BSTR form, BSTR* out) = 0;

  /// Presses the tab key in the item with the focus: the item is validated if it has changed, and
  /// the next one gets the focus. Without a focus, the first item gets it.
  virtual HRESULT PressTab(BSTR form, VARIANT_BOOL* done) = 0;
  /// Returns the UID of the item with the focus; empty if none has it.
  virtual HRESULT GetFocus(BSTR form, BSTR* item) = 0;
  /// Does what PressTab does with Shift held down: the item before gets the focus.
  virtual HRESULT PressBackTab(BSTR form, VARIANT_BOOL* done) = 0;
  /// Clicks a cell with keys held down, a sum of ClickKey; see MatrixModel::clickRow for what they
  /// select. Returns E_INVALIDARG for other numbers.
  virtual HRESULT ClickCellWithKeys(BSTR form, BSTR item, BSTR column, long row, long keys,
                                    VARIANT_BOOL* done) = 0;

 protected:
  ~IDeskUser() = default;
};

}  // namespace qx::desk
