#pragma once

// The road by which a test or a demonstration plays the user of the embedded client. The
// application object answers for IDeskUser. Its calls do not pass the call gate: they are the
// user's, not an add-on's.

#include "qxframework/automation/types.h"
#include "qxframework/host/ids.h"

namespace qx::desk {

/// Answers message boxes in place of the user.
class IBoxAnswerer : public IUnknown {
 public:
  static constexpr GUID kIid = hostId(0x0211);
  /// `button` from 1; S_FALSE for no answer.
  virtual HRESULT AnswerBox(BSTR text, long defaultButton, long* button) = 0;

 protected:
  ~IBoxAnswerer() = default;
};

/// `done` is VARIANT_FALSE when an add-on vetoed the action. What is not there is refused with the
/// codes of the client: -7026 menu, -7000 form, -7001 item, -7015 column, -7028 row; what is hidden
/// or disabled with -7023. A null `done` or `out` is E_POINTER.
class IDeskUser : public IUnknown {
 public:
  static constexpr GUID kIid = hostId(0x0210);
  virtual HRESULT PickMenu(BSTR uid, VARIANT_BOOL* done) = 0;
  /// Opens one of the client's own forms; `uid` is null when an add-on vetoed it. -7008 for a type
  /// that the client does not have.
  virtual HRESULT OpenForm(BSTR typeEx, BSTR* uid) = 0;
  virtual HRESULT CloseForm(BSTR form, VARIANT_BOOL* done) = 0;
  virtual HRESULT SelectForm(BSTR form, VARIANT_BOOL* done) = 0;
  /// A click on the item; a button is pressed by it.
  virtual HRESULT PressItem(BSTR form, BSTR item, VARIANT_BOOL* done) = 0;
  /// A click into a matrix; row 0 is the head of the column.
  virtual HRESULT ClickCell(BSTR form, BSTR item, BSTR column, long row, VARIANT_BOOL* done) = 0;
  virtual HRESULT DoubleClickCell(BSTR form, BSTR item, BSTR column, long row,
                                  VARIANT_BOOL* done) = 0;
  /// Replaces the text of an edit, key by key.
  virtual HRESULT TypeInto(BSTR form, BSTR item, BSTR text, VARIANT_BOOL* done) = 0;
  virtual HRESULT TypeIntoCell(BSTR form, BSTR item, BSTR column, long row, BSTR text,
                               VARIANT_BOOL* done) = 0;
  /// One key: 8 clears the text, 9 leaves the item, 13 presses the default button. E_INVALIDARG
  /// for a number that is no UTF-16 unit.
  virtual HRESULT KeyDown(BSTR form, BSTR item, long key, VARIANT_BOOL* done) = 0;
  /// Leaves an edit.
  virtual HRESULT Validate(BSTR form, BSTR item, VARIANT_BOOL* done) = 0;
  /// Chooses an entry of a combo box by its key or its text.
  virtual HRESULT ChooseValue(BSTR form, BSTR item, BSTR key, VARIANT_BOOL* done) = 0;
  /// `item` may be empty.
  virtual HRESULT RightClick(BSTR form, BSTR item, VARIANT_BOOL* done) = 0;
  virtual HRESULT FireFormData(BSTR form, BSTR objectType, BSTR objectKey, VARIANT_BOOL* done) = 0;
  virtual HRESULT FireProgressBar(VARIANT_BOOL* done) = 0;
  virtual HRESULT FirePrint(BSTR form, VARIANT_BOOL* done) = 0;
  virtual HRESULT FireReportData(BSTR form, VARIANT_BOOL* done) = 0;
  /// A message of the client itself.
  virtual HRESULT FireStatusBar(BSTR text, long type) = 0;

  /// E_INVALIDARG for a number that is no language.
  virtual HRESULT ChangeLanguage(long language) = 0;
  virtual HRESULT ChangeCompany(BSTR database) = 0;
  virtual HRESULT Shutdown() = 0;
  virtual HRESULT ServerTermination() = 0;

  /// Answers the next box that nobody has answered yet, from 1.
  virtual HRESULT QueueAnswer(long button) = 0;
  /// Asked when no answer is queued; null for nobody.
  virtual HRESULT SetBoxAnswerer(IBoxAnswerer* answerer) = 0;
  /// Empty when no box has been shown.
  virtual HRESULT GetLastBoxText(BSTR* out) = 0;

  /// The client as text, see desk_printer.h and MenuModel::tree.
  virtual HRESULT PrintMenus(BSTR* out) = 0;
  virtual HRESULT PrintForms(BSTR* out) = 0;
  virtual HRESULT PrintForm(BSTR form, BSTR* out) = 0;
  virtual HRESULT PrintStatus(BSTR* out) = 0;
  virtual HRESULT PrintBoxes(BSTR* out) = 0;
  /// How often a form was frozen without being thawed, and how often it was updated.
  virtual HRESULT GetFormCounts(BSTR form, long* freezes, long* updates) = 0;
  virtual HRESULT GetSinkCount(long* out) = 0;

 protected:
  ~IDeskUser() = default;
};

}  // namespace qx::desk
