#pragma once

// The dialog of CQXChooseList: the rows of a query in a matrix. A click on the head of a column
// sorts the rows, typing into the find field selects the first row that begins with the text.
//
// The rows are read into memory once; sorting and searching work on that copy. The multimap keeps
// them in the order of the sort column, and equal ones in the order in which they came.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/controls.h"
#include "qxframework/host/recordset.h"
#include "qxframework/runtime/addon_form.h"

#include <map>
#include <memory>
#include <vector>

class CFrmAddOnChooseList : public CQXAddOnFormInternal {
  DECLARE_XML_FORM_EX(u"QX_FCL", 10800, u"QX", {u"MEN_FIRST_OBJ_ITEM", 1290, u""},
                      {u"MEN_PREV_OBJ_ITEM", 1289, u""}, {u"MEN_NEXT_OBJ_ITEM", 1288, u""},
                      {u"MEN_LAST_OBJ_ITEM", 1291, u""}, {u"MEN_DELETE_ITEM", 1283, u""},
                      {u"QX_ITM_BT_OK", 1, u""}, {u"QX_ITM_BT_CANCEL", 2, u""},
                      {u"QX_ITM_BT_NEW", 801, u""}, {u"QX_ITM_BT_COPY", 802, u""},
                      {u"QX_ITM_BT_CHOOSE", 803, u""}, {u"QX_FCL", 10800, u""},
                      {u"QX_FCL_TITLE", 10801, u""}, {u"QX_FCL_ST_SUBTITLE", 10802, u""},
                      {u"QX_FCL_ST_FIND", 10803, u""}, {u"QX_FCL_ET_FIND", 10804, u""},
                      {u"QX_FCL_MX_MATRIX", 10805, u""}, {u"QX_FCL_MX_COLNUM", 10806, u""},
                      {u"QX_FCL_UD_FIND", 10807, u""}, {u"QX_FCL_UD_COLNUM", 10808, u""})

 public:
  /// Opens the target form for a new record, or as a copy of the record with the key.
  using NewCallback = long (*)(CQXAddOnForm* target, CComPtr<IApplication> application,
                               CComPtr<ICompany> company, CQXAddOnForm* parent);
  using CopyCallback = long (*)(CQXAddOnForm* target, CComPtr<IApplication> application,
                                CComPtr<ICompany> company, CQXAddOnForm* parent, CComBSTR key);

  using CQXAddOnFormInternal::CQXAddOnFormInternal;
  ~CFrmAddOnChooseList() override = default;

  long OnItemEvent(CComPtr<IItemEvent> event, short* bubble) override;
  long OnMenuEvent(CComPtr<IMenuEvent> event, short* bubble) override;
  long OnInitForm() override;
  long OnCreateForm(CQXAddOnXMLForm* xmlForm) override;

  /// Stores what the dialog shows; to be called before CreateForm. A null callback leaves its
  /// button out. Returns S_OK.
  long InitChooseList(CComBSTR subtitle, CComBSTR findText, CComPtr<IRecordset> records,
                      NewCallback onNew, CopyCallback onCopy, bool hideFirstColumn,
                      CQXAddOnForm* targetForm);

 private:
  using Row = std::vector<CComBSTR>;
  using Rows = std::multimap<CComBSTR, std::unique_ptr<Row>>;

  void ReadRows();
  void AddSubtitle(CQXAddOnXMLForm& xmlForm);
  void AddButtons(CQXAddOnXMLForm& xmlForm);
  void AddColumns(CQXAddOnXMLForm& xmlForm);
  long ColumnWidth(long column) const;
  CComPtr<IUserDataSource> Source(const CComBSTR& uid);

  long ClearForm();
  long SortMatrix(long column);
  long FillMatrix(CComPtr<IMatrix> matrix);
  long MatrixFindRow(const CComBSTR& text, long column);
  long FindSelect();

  void Handle(IItemEvent& event);
  void HandleAfter(IItemEvent& event, long type, std::u16string_view item);
  void OnKey(IItemEvent& event, std::u16string_view item);
  void OnMatrixClick(IItemEvent& event);
  void OnPressed(std::u16string_view item);
  CComBSTR SelectedKey();
  void Answer(const CComBSTR& key);

  long m_lAppNumber = -1;  // for the log; nothing sets it
  long m_lRecordCount = 0;
  long m_lColumnCount = 0;
  long m_lSelectedRow = 0;  // from 1; 0 for none
  long m_lSortColumn = 0;   // from 1; 0 before the first click on a head
  long m_lDone = 0;         // 1 once the parent has its answer
  bool m_bHideFirstColumn = false;
  CComPtr<IUserDataSource> m_ptrFindSource;
  CComPtr<IUserDataSource> m_ptrRowNumberSource;
  CComPtr<IButton> m_ptrChooseButton;
  CComPtr<IEditText> m_ptrFindEdit;
  CComPtr<IMatrix> m_ptrMatrix;
  std::vector<CComPtr<IUserDataSource>> m_vecColumnSources;
  Rows m_Rows;
  CComPtr<IRecordset> m_ptrRecords;
  CComBSTR m_bstrSubtitle;
  CComBSTR m_bstrFindText;
  NewCallback m_pOnNew = nullptr;
  CopyCallback m_pOnCopy = nullptr;
  CQXAddOnForm* m_pTargetForm = nullptr;
};
