#include "qxframework/stock/internal/choose_list_form.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/forms/addon_xml_form.h"
#include "qxframework/foundation/numbers.h"
#include "qxframework/host/item_types.h"
#include "qxframework/logging/function_log.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace {

using Scope = CReturnValue<long>;

constexpr long kForm = 10800;
constexpr OLECHAR kFormPrefix[] = u"10800";  // of the UIDs of data columns
constexpr OLECHAR kChooseItem[] = u"1";
constexpr OLECHAR kCancelItem[] = u"2";
constexpr OLECHAR kNewItem[] = u"801";
constexpr OLECHAR kCopyItem[] = u"802";
constexpr OLECHAR kSubtitleItem[] = u"10802";
constexpr OLECHAR kFindItem[] = u"10804";
constexpr OLECHAR kMatrixItem[] = u"10805";
constexpr OLECHAR kFindSource[] = u"10807";
constexpr OLECHAR kRowNumberSource[] = u"10808";

constexpr unsigned kTextNew = 801;
constexpr unsigned kTextCopy = 802;
constexpr unsigned kTextChoose = 803;

// The host's commands that browse records or change the mode of a form.
constexpr std::u16string_view kRecordCommands[] = {u"1281", u"1282", u"1283", u"1288",
                                                   u"1289", u"1290", u"1291"};

constexpr long kOkMode = 1;
constexpr long kEnter = 13;
constexpr long kTextSource = 9;
constexpr long kSourceSize = 255;
// A longer text is cut, so that it fits its data source.
constexpr std::size_t kCutLength = 254;

// Measures of the dialog, in pixels.
constexpr long kColumnsWidth = 390;
constexpr long kManyColumns = 4;
constexpr long kManyColumnWidth = 97;
constexpr long kFourthColumnWidth = 99;  // what three of the others leave
constexpr long kButtonTop = 231;
constexpr long kFirstButtonLeft = 145;
constexpr long kButtonStep = 70;
constexpr long kButtonWidth = 65;
constexpr long kButtonHeight = 19;

// Runs a step of the form; its failure is logged and returned.
template <class Step>
long logged(Scope& hr, Step&& step) {
  try {
    step();
  } catch (const _com_error& error) {
    hr = error.Error();
    hr.LogError(u"Error: %s\n", Scope::xstrerror(static_cast<unsigned long>(hr)));
  }
  return hr;
}

CComBSTR columnUid(long column) { return CComBSTR(qx::format(u"%d%02d0", kForm, column + 1)); }
CComBSTR sourceUid(long column) { return CComBSTR(qx::format(u"%d%02d1", kForm, column + 1)); }

bool isRecordCommand(std::u16string_view uid) {
  return std::find(std::begin(kRecordCommands), std::end(kRecordCommands), uid) !=
         std::end(kRecordCommands);
}

}  // namespace

long CFrmAddOnChooseList::InitChooseList(CComBSTR subtitle, CComBSTR findText,
                                         CComPtr<IRecordset> records, NewCallback onNew,
                                         CopyCallback onCopy, bool hideFirstColumn,
                                         CQXAddOnForm* targetForm) {
  m_bstrSubtitle = subtitle;
  m_bstrFindText = findText;
  m_ptrRecords = records;
  m_pOnNew = onNew;
  m_pOnCopy = onCopy;
  m_bHideFirstColumn = hideFirstColumn;
  m_pTargetForm = targetForm;
  return S_OK;
}

long CFrmAddOnChooseList::OnCreateForm(CQXAddOnXMLForm* xmlForm) {
  Scope hr(u"CFrmAddOnChooseList::OnCreateForm", 0, m_lAppNumber);
  return logged(hr, [&] {
    ReadRows();
    AddSubtitle(*xmlForm);
    AddButtons(*xmlForm);
    AddColumns(*xmlForm);
  });
}

void CFrmAddOnChooseList::ReadRows() {
  const CComPtr<IFields> fields = m_ptrRecords->GetFields();
  m_lRecordCount = m_ptrRecords->GetRecordCount();
  m_lColumnCount = fields->Count();
  m_ptrRecords->MoveFirst();
  // A field follows the position of the recordset, so one object per column serves all rows.
  std::vector<CComPtr<IField>> columns;
  for (long i = 0; i < m_lColumnCount; ++i) columns.push_back(fields->Item(CComVariant(i)));
  for (long record = 0; record < m_lRecordCount; ++record) {
    auto row = std::make_unique<Row>();
    for (const CComPtr<IField>& column : columns) {
      CComVariant value = column->GetValue();
      qx::raiseIfFailed(value.ChangeType(VT_BSTR));
      row->emplace_back(value.bstrVal);
    }
    const CComBSTR key = row->front();
    m_Rows.emplace(key, std::move(row));
    m_ptrRecords->MoveNext();
  }
}

void CFrmAddOnChooseList::AddSubtitle(CQXAddOnXMLForm& xmlForm) {
  const OLECHAR* const plural = m_lRecordCount == 1 ? u"" : u"s";
  const CComBSTR text(
      m_bstrSubtitle.IsEmpty()
          ? qx::format(u"(%d record%s)", m_lRecordCount, plural)
          : qx::format(u"%s (%d record%s)", m_bstrSubtitle.View(), m_lRecordCount, plural));
  xmlForm.AddStatic(kSubtitleItem, text, 5, 5, 234, 14, 0, 0, u"SubTitle (static)");
}

void CFrmAddOnChooseList::AddButtons(CQXAddOnXMLForm& xmlForm) {
  long left = kFirstButtonLeft;
  const auto add = [&](const OLECHAR* uid, unsigned text, const OLECHAR* description) {
    xmlForm.AddButton(uid, LoadText(text), kButtonTop, left, 0, 0, description, kButtonWidth,
                      kButtonHeight);
    left += kButtonStep;
  };
  if (m_pOnNew != nullptr) add(kNewItem, kTextNew, u"New (button)");
  if (m_pOnCopy != nullptr) add(kCopyItem, kTextCopy, u"Copy (button)");
}

void CFrmAddOnChooseList::AddColumns(CQXAddOnXMLForm& xmlForm) {
  const CComPtr<IFields> fields = m_ptrRecords->GetFields();
  for (long i = 0; i < m_lColumnCount; ++i) {
    const CComBSTR title = fields->Item(CComVariant(i))->GetName();
    const auto column =
        xmlForm.AddColumn(kMatrixItem, columnUid(i), title, qx::kEditText, ColumnWidth(i), u"");
    xmlForm.AddUserDataSource(sourceUid(i), kTextSource, kSourceSize);
    xmlForm.AddDataBind(column, sourceUid(i));
    xmlForm.SetAttribute(column, u"editable", u"0");
    if (i == 0 && m_bHideFirstColumn) xmlForm.SetAttribute(column, u"visible", u"0");
  }
}

long CFrmAddOnChooseList::ColumnWidth(long column) const {
  if (m_lColumnCount >= kManyColumns) {
    return column == kManyColumns - 1 ? kFourthColumnWidth : kManyColumnWidth;
  }
  const long visible = m_lColumnCount - (m_bHideFirstColumn ? 1 : 0);
  // One column that is hidden leaves nothing to choose from.
  if (visible == 0) qx::raiseError(E_INVALIDARG);
  return kColumnsWidth / visible;
}

CComPtr<IUserDataSource> CFrmAddOnChooseList::Source(const CComBSTR& uid) {
  return m_ptrForm->GetDataSources()->GetUserDataSources()->Item(CComVariant(uid));
}

long CFrmAddOnChooseList::OnInitForm() {
  Scope hr(u"CFrmAddOnChooseList::OnInitForm", 0, m_lAppNumber);
  return logged(hr, [&] {
    m_ptrFindSource = Source(kFindSource);
    m_ptrRowNumberSource = Source(kRowNumberSource);
    m_ptrChooseButton = GetFormItemSpecific<IButton>(kChooseItem);
    m_ptrFindEdit = GetFormItemSpecific<IEditText>(kFindItem);
    m_ptrMatrix = GetFormItemSpecific<IMatrix>(kMatrixItem);
    m_ptrForm->PutDefaultItem(kChooseItem);
    if (!m_bstrFindText.IsEmpty()) m_ptrFindSource->PutValue(m_bstrFindText);
    for (long i = 0; i < m_lColumnCount; ++i) m_vecColumnSources.push_back(Source(sourceUid(i)));
    m_ptrMatrix->Clear();
    qx::raiseIfFailed(FillMatrix(m_ptrMatrix));
    qx::raiseIfFailed(FindSelect());
    FixFormSize();
  });
}

long CFrmAddOnChooseList::ClearForm() {
  Scope hr(u"CFrmAddOnChooseList::ClearForm", 0, m_lAppNumber);
  return logged(hr, [&] {
    m_ptrFindEdit->PutString(u"");
    m_ptrMatrix->Clear();
  });
}

// Gives every row the text of the column as its key.
long CFrmAddOnChooseList::SortMatrix(long column) {
  Scope hr(u"CFrmAddOnChooseList::SortMatrix", 0, m_lAppNumber);
  const auto index = static_cast<std::size_t>(column - 1);
  Rows sorted;
  for (auto& [key, row] : m_Rows) {
    if (index >= row->size()) return hr = E_INVALIDARG;
    const CComBSTR newKey = (*row)[index];
    sorted.emplace(newKey, std::move(row));
  }
  m_Rows = std::move(sorted);
  return hr;
}

// The host copies the data sources into each row that is added.
long CFrmAddOnChooseList::FillMatrix(CComPtr<IMatrix> matrix) {
  Scope hr(u"CFrmAddOnChooseList::FillMatrix", 0, m_lAppNumber);
  return logged(hr, [&] {
    long number = 0;
    for (const auto& [key, row] : m_Rows) {
      m_ptrRowNumberSource->PutValue(CComBSTR(qx::format(u"%d", ++number)));
      for (std::size_t i = 0; i < row->size(); ++i) {
        const CComBSTR& text = (*row)[i];
        m_vecColumnSources[i]->PutValue(
            text.Length() > kSourceSize ? CComBSTR(text.View().substr(0, kCutLength)) : text);
      }
      matrix->AddRow(1, -1);
    }
  });
}

long CFrmAddOnChooseList::MatrixFindRow(const CComBSTR& text, long column) {
  const Scope hr(u"CFrmAddOnChooseList::MatrixFindRow", 0, m_lAppNumber);
  if (text.IsEmpty()) return 0;
  const auto index = static_cast<std::size_t>(column == 0 ? 0 : column - 1);
  const std::u16string wanted = qx::toUpperByUnit(text.View());
  long number = 0;
  for (const auto& [key, row] : m_Rows) {
    ++number;
    if (index >= row->size()) return 0;
    if (qx::toUpperByUnit((*row)[index].View().substr(0, wanted.size())) == wanted) return number;
  }
  return 0;
}

long CFrmAddOnChooseList::FindSelect() {
  Scope hr(u"CFrmAddOnChooseList::FindSelect", 0, m_lAppNumber);
  return logged(hr, [&] {
    const CComBSTR text = m_ptrFindEdit->GetString();
    if (!text.IsEmpty()) {
      const long row = MatrixFindRow(text, m_lSortColumn);
      if (row == 0) return;  // the last selection stays
      m_lSelectedRow = row;
      m_ptrMatrix->SelectRow(row, VARIANT_TRUE, VARIANT_TRUE);
    } else if (m_lSelectedRow != 0) {
      m_ptrMatrix->SelectRow(m_lSelectedRow, VARIANT_FALSE, VARIANT_TRUE);
      m_lSelectedRow = 0;
    }
  });
}

long CFrmAddOnChooseList::OnItemEvent(CComPtr<IItemEvent> event, short*) {
  Scope hr(u"CFrmAddOnChooseList::OnItemEvent", 0, m_lAppNumber);
  return logged(hr, [&] { Handle(*event.p); });
}

void CFrmAddOnChooseList::Handle(IItemEvent& event) {
  const long type = event.GetEventType();
  if (type == qx::kFormDeactivate) {
    // The dialog keeps the front while it is open.
    if (m_pParent != nullptr) m_ptrForm->Select();
  } else if (event.GetBeforeAction() == VARIANT_FALSE) {
    HandleAfter(event, type, event.GetItemUID().View());
  }
}

void CFrmAddOnChooseList::HandleAfter(IItemEvent& event, long type, std::u16string_view item) {
  switch (type) {
    case qx::kFormClose:
      if (m_lDone == 0) Answer(u"");
      break;
    case qx::kKeyDown:
      OnKey(event, item);
      break;
    case qx::kClick:
      if (item == kMatrixItem) OnMatrixClick(event);
      break;
    case qx::kDoubleClick:
      if (item == kMatrixItem && event.GetRow() > 0) GetFormItem(kChooseItem)->Click(0);
      break;
    case qx::kItemPressed:
      OnPressed(item);
      break;
    default:
      break;
  }
}

void CFrmAddOnChooseList::OnKey(IItemEvent& event, std::u16string_view item) {
  if (item == kFindItem) FindSelect();
  if (event.GetCharPressed() == kEnter && m_lDone != 0) {
    m_ptrForm->Close();
  } else {
    // Typing lets the host rename the button of the form's OK mode.
    m_ptrChooseButton->PutCaption(LoadText(kTextChoose));
  }
}

void CFrmAddOnChooseList::OnMatrixClick(IItemEvent& event) {
  const long row = event.GetRow();
  if (row >= 1) {
    m_lSelectedRow = row;
    m_ptrMatrix->SelectRow(row, VARIANT_TRUE, VARIANT_TRUE);
    return;
  }
  const CComBSTR column = event.GetColUID();
  const std::size_t prefix = std::size(kFormPrefix) - 1;
  // The column of the row numbers has no number of its own and does not sort.
  if (column.Length() <= prefix) return;
  m_lSortColumn = qx::leadingNumber(column.View().substr(prefix, 2));
  qx::raiseIfFailed(SortMatrix(m_lSortColumn));
  m_ptrMatrix->Clear();
  FillMatrix(m_ptrMatrix);
  FindSelect();
}

void CFrmAddOnChooseList::OnPressed(std::u16string_view item) {
  if (item == kChooseItem) {
    Answer(SelectedKey());
  } else if (item == kCancelItem) {
    Answer(u"");
  } else if (item == kNewItem && m_pOnNew != nullptr) {
    m_pOnNew(m_pTargetForm, m_ptrApp, m_ptrCompany, m_pParent);
    m_lDone = 1;
    m_ptrForm->Close();
  } else if (item == kCopyItem && m_pOnCopy != nullptr) {
    m_pOnCopy(m_pTargetForm, m_ptrApp, m_ptrCompany, m_pParent, SelectedKey());
    m_lDone = 1;
    m_ptrForm->Close();
  }
}

// Without a selected row the host refuses the cell.
CComBSTR CFrmAddOnChooseList::SelectedKey() {
  const CComPtr<IColumn> keys = m_ptrMatrix->GetColumns()->Item(CComVariant(1L));
  const CComPtr<ICell> cell = keys->GetCells()->Item(CComVariant(m_lSelectedRow));
  return CComQIPtr<IEditText>(cell->GetSpecific())->GetString();
}

void CFrmAddOnChooseList::Answer(const CComBSTR& key) {
  if (m_pParent != nullptr) m_pParent->put_Key(key);
  m_lDone = 1;
}

long CFrmAddOnChooseList::OnMenuEvent(CComPtr<IMenuEvent> event, short*) {
  Scope hr(u"CFrmAddOnChooseList::OnMenuEvent", 0, m_lAppNumber);
  return logged(hr, [&] {
    if (event->GetBeforeAction() == VARIANT_TRUE) return;
    // These commands would turn the dialog into a form for records.
    if (isRecordCommand(event->GetMenuUID().View())) m_ptrForm->PutMode(kOkMode);
  });
}
