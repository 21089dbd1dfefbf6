// Business code that keeps records. It includes qxframework.h only, the header that includes all
// others.

#include "records.h"

#include "qxframework/qxframework.h"

namespace {

using namespace Persistence;

const OLECHAR* const kTable = u"@OUTSIDE";
const OLECHAR* const kCode = u"Code";
const OLECHAR* const kNote = u"U_Note";

struct Note : CQXValueContainer {
  CComVariant code;
  CComVariant text;
};

void read(const TyFieldValues& values, CQXValueContainer& container) {
  auto& note = dynamic_cast<Note&>(container);
  note.code = values.GetValue(kCode);
  note.text = values.GetValue(kNote);
}

void write(const CQXValueContainer& container, TyFieldValues& values) {
  const auto& note = dynamic_cast<const Note&>(container);
  if (values.FindIndex(kNote) == -1) {
    values.Add(kNote, note.text);
  } else {
    values.SetValue(kNote, note.text);
  }
}

class Notes : public CQXPersistentCollectionProxy {
 public:
  Notes() = default;
  void MapToContainer(const TyFieldValues& values, CQXValueContainer& container) override {
    read(values, container);
  }
  void ContainerToMap(const CQXValueContainer& container, TyFieldValues& values) override {
    write(container, values);
  }
};

class OneNote : public CQXPersistentObjectProxy {
 public:
  OneNote(ICompany* company, const CComVariant& code) {
    Connect(company, kTable, true);
    TyFieldValues key;
    key.Add(kCode, code);
    Load(GetConditionsFromKeyFields(key, {}));
  }
  void MapToContainer(const TyFieldValues& values, CQXValueContainer& container) override {
    read(values, container);
  }
  void ContainerToMap(const CQXValueContainer& container, TyFieldValues& values) override {
    write(container, values);
  }
};

std::u16string textOf(const Note& note) {
  return std::u16string(qx::viewOfBstr(note.text.bstrVal));
}

qx_ptr<CConditions> allBut(const OLECHAR* text) {
  qx_ptr<CConditions> conditions = CConditions::CreateNewInstance();
  CCondition* const condition = conditions->Add();
  condition->PutAlias(kNote);
  condition->PutComparedAlias(u"VT_BSTR");
  condition->PutOperation(co_NotEqual);
  condition->PutCondVal(text);
  return conditions;
}

// A second Connect of a connected proxy is refused.
std::u16string refusalOfConnect(Notes& notes, ICompany* company) {
  try {
    notes.Connect(company, kTable, true);
    return u"none";
  } catch (const CQXPersistenceException& refusal) {
    return refusal.GetErrorString();
  }
}

}  // namespace

bool recordsRefuseWithoutACompany() {
  Notes notes;
  IQXObjCollectionForBrowser& rows = notes;
  Note note;
  try {
    rows.First(note);
    return false;
  } catch (const CQXPersistenceException& refusal) {
    return refusal.GetErrorCode() == -1;
  }
}

std::u16string useRecords(ICompany* company) {
  Notes notes;
  notes.Connect(company, kTable, true);
  Note note;
  for (const OLECHAR* text : {u"one", u"two", u"hidden"}) {
    note.text = text;
    notes.Add(note);
  }
  notes.SetSortFields({CQXPersistenceSortField(kNote, so_Descending)});
  notes.Load({kCode}, allBut(u"hidden"));
  std::u16string seen;
  for (long hr = notes.First(note); hr == 0; hr = notes.Next(note)) seen += textOf(note) + u" ";

  OneNote last(company, note.code);
  note.text = u"changed";
  last.Update(note);
  notes.Refresh(note);
  (void)notes.Last(note);
  seen += textOf(note) + u", " + refusalOfConnect(notes, company);
  return seen;
}
