#pragma once

// What the tests of the stock forms share: a started add-on that attaches nothing to the forms.

#include "qxframework/automation/text.h"
#include "qxframework/host/application.h"
#include "qxframework/host/form.h"
#include "testing/running_addon.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace qx::test {

/// Returns the UIDs of the open forms that begin with `prefix`, in the order of opening.
inline std::vector<std::string> openForms(const CComPtr<IApplication>& application,
                                          std::string_view prefix) {
  std::vector<std::string> out;
  const CComPtr<IForms> forms = application->GetForms();
  const long count = forms->Count();
  for (long i = 0; i < count; ++i) {
    const std::string uid = toUtf8(forms->Item(CComVariant(i))->GetUniqueID().View());
    if (uid.starts_with(prefix)) out.push_back(uid);
  }
  return out;
}

class StockForms : public testing::Test, protected RunningAddOn {
 protected:
  StockForms() {
    // The add-on of the tests would otherwise register a form of its own for each form that opens.
    record.hooks["OnFormLoad"] = [](short*) { return E_FAIL; };
  }
  /// Returns the messages of a function without its trace lines.
  std::vector<std::string> messages(std::u16string_view function) const {
    std::vector<std::string> out;
    for (const std::u16string& message : log.messagesOf(function)) out.push_back(toUtf8(message));
    return out;
  }
};

/// Opens a form under the UID that the next stock form with that prefix will have. `openAndClose`
/// opens such a form once, calls its argument while the form is open, and closes it.
template <class OpenAndClose>
void takeNextUid(const CComPtr<IApplication>& application, const std::string& prefix,
                 OpenAndClose openAndClose) {
  std::string next;
  const auto note = [&] {
    const auto all = openForms(application, prefix);
    if (!all.empty()) next = all.back();
  };
  openAndClose(note);
  application->LoadBatchActions(CComBSTR(u"<Application><forms><action type=\"add\"><form uid=\"" +
                                         toUtf16(next) + u"\"/></action></forms></Application>"));
}

}  // namespace qx::test
