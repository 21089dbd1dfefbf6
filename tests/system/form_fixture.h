#pragma once

// A form of an add-on on the client of this build. A test gives it a document and hooks, and plays
// its user.

#include "qxframework/automation/text.h"
#include "qxframework/forms/addon_xml_form.h"
#include "qxframework/runtime/addon_form.h"
#include "testing/raised_by.h"
#include "testing/running_addon.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qx::test {

class PlannedForm;

/// What the forms of a test are made of, and what they have seen.
struct FormPlan {
  std::u16string type = u"PROBE";
  std::u16string xml;
  std::vector<XMLMAP> symbols;
  long count = 0;  // the instance count of the class
  std::vector<std::string> events;
  std::vector<std::string> keys;

  std::function<void(CQXAddOnXMLForm&)> change;
  std::function<long(PlannedForm&)> init;
  std::function<long(PlannedForm&)> loaded;
  /// Gets "TYPE 'ITEM' before" or "TYPE 'ITEM' after".
  std::function<void(PlannedForm&, const std::string& event)> item;
};

class PlannedForm : public CQXAddOnForm {
 public:
  PlannedForm(const CQXAddOn* addOn, FormPlan& plan) : CQXAddOnForm(addOn, -1), plan_(plan) {
    m_bstrXML = CComBSTR(plan.xml);
  }

  void InitXMLMap() override {
    m_vecXMLMap = plan_.symbols;
    if (!m_vecXMLMap.empty()) m_vecXMLMap.emplace_back();
  }
  void InitFormType() override {
    m_bstrFormType = CComBSTR(plan_.type);
    m_strExtId = u"EXT";
  }
  long IncrementInstance() override { return ++plan_.count; }
  long DecrementInstance() override { return --plan_.count; }
  long put_Key(const OLECHAR* key) override {
    plan_.keys.push_back(toUtf8(viewOf(key)));
    return CQXAddOnForm::put_Key(key);
  }
  long OnCreateForm(CQXAddOnXMLForm* xmlForm) override {
    if (plan_.change) plan_.change(*xmlForm);
    return S_OK;
  }
  long OnInitForm() override { return plan_.init ? plan_.init(*this) : S_OK; }
  long OnFormLoaded() override { return plan_.loaded ? plan_.loaded(*this) : S_OK; }
  long OnItemEvent(CComPtr<IItemEvent> event, short*) override {
    plan_.events.push_back(std::to_string(event->GetEventType()) + " '" +
                           toUtf8(event->GetItemUID().View()) + "'" +
                           phase(event->GetBeforeAction()));
    if (plan_.item) plan_.item(*this, plan_.events.back());
    return S_OK;
  }

  using CQXAddOnForm::GetFormItem;
  using CQXAddOnForm::GetFormItemSpecific;
  using CQXAddOnForm::GetSelectedInComboBox;
  using CQXAddOnForm::m_bstrKey;
  using CQXAddOnForm::m_pChild;
  using CQXAddOnForm::m_ptrApp;
  using CQXAddOnForm::m_ptrForm;

 private:
  FormPlan& plan_;
};

class SystemForm : public testing::Test, protected RunningAddOn {
 protected:
  SystemForm() {
    // The add-on of the tests would otherwise register a form of its own for each form that opens.
    record.hooks["OnFormLoad"] = [](short*) { return E_FAIL; };
    log.records.clear();
  }
  PlannedForm* open() {
    auto form = std::make_unique<PlannedForm>(&addOn, plan);
    return openForm(std::move(form), record.application, record.company);
  }
  HRESULT openRaises() {
    return raisedBy([this] { open(); });
  }
  static std::string uidOf(PlannedForm& form) {
    CComBSTR uid;
    CComBSTR extension;
    form.GetFormUID(uid, extension);
    return toUtf8(uid.View());
  }
  std::vector<std::string> messages(std::u16string_view function) const {
    std::vector<std::string> out;
    for (const std::u16string& message : log.messagesOf(function)) out.push_back(toUtf8(message));
    return out;
  }
  /// Returns a document with these items.
  static std::u16string documentOf(const std::u16string& items) {
    return u"<Application><forms><action type=\"add\"><form uid=\"P\"><datasources>"
           u"<userdatasources><action type=\"add\"><datasource uid=\"U\" type=\"9\" size=\"80\"/>"
           u"</action></userdatasources></datasources><items><action type=\"add\">" +
           items + u"</action></items></form></action></forms></Application>";
  }

  FormPlan plan;
};

/// One item of each type.
inline constexpr char16_t kItemsOfEachType[] =
    u"<item uid=\"1\" type=\"4\"><specific caption=\"OK\"/></item>"
    u"<item uid=\"3\" type=\"8\"><specific caption=\"Name\"/></item>"
    u"<item uid=\"4\" type=\"16\"><specific><databind alias=\"U\" databound=\"1\"/></specific>"
    u"</item>"
    u"<item uid=\"5\" type=\"113\"><specific><ValidValues><action type=\"add\"><ValidValue "
    u"value=\"Open\" description=\"O\"/></action></ValidValues></specific></item>"
    u"<item uid=\"6\" type=\"127\"><specific><columns><action type=\"add\"><column uid=\"7\" "
    u"title=\"No\" type=\"16\"><databind alias=\"U\" databound=\"1\"/></column><column uid=\"8\" "
    u"title=\"Text\" type=\"8\"/></action></columns></specific></item>"
    u"<item uid=\"9\" type=\"4\"><specific caption=\"More\"/></item>";

}  // namespace qx::test
