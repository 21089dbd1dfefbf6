#pragma once

// What the tests of the choose list share: a form of an add-on that asks for a key, and the dialog
// as its user sees it.

#include "qxframework/automation/text.h"
#include "qxframework/host/form.h"
#include "qxframework/runtime/addon_form.h"
#include "qxframework/stock/choose_list.h"
#include "qxframework/stock/stock_fixture.h"
#include "testing/raised_by.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace qx::test {

using Strings = std::vector<std::string>;

inline constexpr char kChoose[] = "1";
inline constexpr char kCancel[] = "2";
inline constexpr char kFind[] = "10804";
inline constexpr char kMatrix[] = "10805";
inline constexpr char kNew[] = "801";
inline constexpr char kCopy[] = "802";

/// A form of an add-on with one edit. It records the keys that it gets.
class PlainForm : public CQXAddOnForm {
  DECLARE_XML_FORM_EX(u"PARENT", -1, u"EXT")

 public:
  explicit PlainForm(const CQXAddOn* addOn) : CQXAddOnForm(addOn, -1) {
    m_bstrXML =
        u"<Application><forms><action type=\"add\"><form uid=\"P\"/></action></forms>"
        u"</Application>";
  }
  long OnItemEvent(CComPtr<IItemEvent>, short*) override { return S_OK; }
  long put_Key(const OLECHAR* key) override {
    keys.push_back(toUtf8(viewOf(key)));
    const long result = CQXAddOnForm::put_Key(key);
    if (const auto hook = onKey) hook();  // a hook may replace itself
    return result;
  }
  using CQXAddOnForm::m_bstrCopyKey;
  using CQXAddOnForm::m_InitialFormMode;
  using CQXAddOnForm::m_pChild;
  using CQXAddOnForm::m_pParent;
  using CQXAddOnForm::m_ptrForm;

  Strings keys;
  std::function<void()> onKey;
};

class ChooseList : public StockForms {
 protected:
  ChooseList() {
    parent = openForm(std::make_unique<PlainForm>(&addOn), record.application, record.company);
    log.records.clear();
  }
  /// Opens the list on `sql` in the given form.
  long choose(const std::u16string& sql, bool alwaysShow = true, bool hideFirst = false,
              bool allowNew = false, bool allowCopy = false, CQXAddOnForm* target = nullptr) {
    const long hr =
        CQXChooseList::GetKey(subtitle, findText, CComBSTR(sql), allowNew, allowCopy, parent,
                              record.application, record.company, alwaysShow, hideFirst, target);
    // Its number depends on the tests that ran before in this process.
    const Strings all = openForms(record.application, "QX_FCL_");
    if (!all.empty()) list = all.back();
    return hr;
  }
  std::string text() { return desk.form(list); }
  bool isOpen() { return !openForms(record.application, "QX_FCL_").empty(); }
  /// Returns the lines of the printed form that begin with `head`, without it.
  Strings linesWith(const std::string& head) {
    Strings out;
    std::istringstream all(text());
    for (std::string line; std::getline(all, line);)
      if (line.starts_with(head)) out.push_back(line.substr(head.size()));
    return out;
  }
  /// Returns the rows of the matrix, a selected one with a star.
  Strings rows() {
    Strings out;
    std::istringstream all(text());
    for (std::string line; std::getline(all, line);) {
      if (line.starts_with("     \"")) out.push_back(line.substr(5));
      if (line.starts_with("   * \"")) out.push_back("*" + line.substr(5));
    }
    return out;
  }
  CComBSTR subtitle;
  CComBSTR findText;
  PlainForm* parent = nullptr;
  std::string list;  // the UID of the dialog that was opened last
};

// Three customers, in another order than that of their numbers or names.
inline constexpr char16_t kCustomers[] =
    u"SELECT 'C2' AS No, 'beta' AS Name, 20 AS Amount UNION ALL SELECT 'C1', 'Beta', 3 "
    u"UNION ALL SELECT 'C3', 'alpha', 100";

}  // namespace qx::test
