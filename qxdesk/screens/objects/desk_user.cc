#include "qxdesk/screens/objects/desk_user.h"

#include "qxdesk/screens/model/desk_printer.h"
#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/host_object.h"
#include "qxdesk/screens/user/form_drawing.h"
#include "qxdesk/screens/user/user_actions.h"
#include "qxdesk/session/call_gate.h"
#include "qxframework/automation/text.h"

#include <string>
#include <utility>

namespace qx::screens {
namespace {

// Not a HostObject: its operations bypass the call gate.
class DeskUser final : public ComObject<desk::IDeskUser> {
 public:
  explicit DeskUser(std::shared_ptr<Client> client) : client_(std::move(client)) {}

  HRESULT PickMenu(BSTR uid, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) { return user.pickMenu(viewOfBstr(uid)); });
  }
  HRESULT OpenForm(BSTR typeEx, BSTR* uid) override {
    return play([&](UserActions& user) -> HRESULT {
      if (uid == nullptr) return E_POINTER;
      *uid = nullptr;
      const auto form = user.openForm(viewOfBstr(typeEx));
      // A veto is no error; the null UID shows it.
      return form == nullptr ? S_OK : giveText(form->uid(), uid);
    });
  }
  HRESULT CloseForm(BSTR form, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) { return user.closeForm(viewOfBstr(form)); });
  }
  HRESULT SelectForm(BSTR form, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) { return user.selectForm(viewOfBstr(form)); });
  }
  HRESULT PressItem(BSTR form, BSTR item, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) { return user.click({textOf(form), textOf(item)}); });
  }
  HRESULT ClickCell(BSTR form, BSTR item, BSTR column, long row, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) {
      return user.click({textOf(form), textOf(item), textOf(column), row});
    });
  }
  HRESULT DoubleClickCell(BSTR form, BSTR item, BSTR column, long row,
                          VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) {
      return user.doubleClick({textOf(form), textOf(item), textOf(column), row});
    });
  }
  HRESULT TypeInto(BSTR form, BSTR item, BSTR text, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) {
      return user.type({textOf(form), textOf(item)}, viewOfBstr(text));
    });
  }
  HRESULT TypeIntoCell(BSTR form, BSTR item, BSTR column, long row, BSTR text,
                       VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) {
      return user.type({textOf(form), textOf(item), textOf(column), row}, viewOfBstr(text));
    });
  }
  HRESULT KeyDown(BSTR form, BSTR item, long key, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) {
      // Not truncated: another key would be pressed instead.
      if (key < 1 || key > 0xFFFF) raiseError(E_INVALIDARG);
      return user.key({textOf(form), textOf(item)}, static_cast<char16_t>(key));
    });
  }
  HRESULT Validate(BSTR form, BSTR item, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) {
      return user.validate({textOf(form), textOf(item)});
    });
  }
  HRESULT ChooseValue(BSTR form, BSTR item, BSTR key, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) {
      return user.choose({textOf(form), textOf(item)}, viewOfBstr(key));
    });
  }
  HRESULT RightClick(BSTR form, BSTR item, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) {
      return user.rightClick({textOf(form), textOf(item)});
    });
  }
  HRESULT FireFormData(BSTR form, BSTR objectType, BSTR objectKey, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) {
      return user.formData(viewOfBstr(form), viewOfBstr(objectType), viewOfBstr(objectKey));
    });
  }
  HRESULT FireProgressBar(VARIANT_BOOL* done) override {
    return act(done, [](UserActions& user) { return user.progressBar(); });
  }
  HRESULT FirePrint(BSTR form, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) { return user.print(viewOfBstr(form)); });
  }
  HRESULT FireReportData(BSTR form, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) { return user.reportData(viewOfBstr(form)); });
  }
  HRESULT FireStatusBar(BSTR text, long type) override {
    return play([&](UserActions& user) {
      if (type < smt_None || type > smt_Info) return E_INVALIDARG;
      user.statusMessage(textOf(text), static_cast<HvStatusBarMessageType>(type));
      return S_OK;
    });
  }

  HRESULT ChangeLanguage(long language) override {
    return play([&](UserActions& user) {
      // The numbers of the languages have gaps, so a cast would accept what is none.
      const HvLanguages known = desk::languageFromText(toUtf16(std::to_string(language)));
      if (known == 0) return E_INVALIDARG;
      user.changeLanguage(known);
      return S_OK;
    });
  }
  HRESULT ChangeCompany(BSTR database) override {
    return play([&](UserActions& user) {
      if (viewOfBstr(database).empty()) return E_INVALIDARG;
      user.changeCompany(toUtf8(viewOfBstr(database)));
      return S_OK;
    });
  }
  HRESULT Shutdown() override {
    return play([](UserActions& user) { return user.shutDown(), S_OK; });
  }
  HRESULT ServerTermination() override {
    return play([](UserActions& user) { return user.serverTermination(), S_OK; });
  }

  // The operations from here on raise no events, so no handler of an add-on runs in them.
  HRESULT QueueAnswer(long button) override {
    return guarded([&] {
      if (button < 1 || button > 3) return E_INVALIDARG;
      desk().boxes.queueAnswer(button);
      return S_OK;
    });
  }
  HRESULT SetBoxAnswerer(desk::IBoxAnswerer* answerer) override;
  HRESULT GetLastBoxText(BSTR* out) override {
    return guarded([&] {
      const auto& boxes = desk().boxes.history();
      return giveText(boxes.empty() ? std::u16string_view() : boxes.back().text, out);
    });
  }

  HRESULT PrintMenus(BSTR* out) override {
    return guarded([&] { return giveText(desk().menus.tree(), out); });
  }
  HRESULT PrintForms(BSTR* out) override {
    return guarded([&] { return giveText(printForms(desk().forms), out); });
  }
  HRESULT PrintForm(BSTR form, BSTR* out) override {
    return guarded([&] { return giveText(printForm(find(form)), out); });
  }
  HRESULT PrintStatus(BSTR* out) override {
    return guarded([&] { return giveText(printStatus(desk().statusBar), out); });
  }
  HRESULT PrintBoxes(BSTR* out) override {
    return guarded([&] { return giveText(printBoxes(desk().boxes), out); });
  }
  HRESULT GetFormCounts(BSTR form, long* freezes, long* updates) override {
    return guarded([&]() -> HRESULT {
      if (freezes == nullptr || updates == nullptr) return E_POINTER;
      const FormModel& model = find(form);
      *freezes = model.freezeCount();
      *updates = model.updates;
      return S_OK;
    });
  }
  HRESULT GetSinkCount(long* out) override {
    return guarded(
        [&] { return desk::giveValue(static_cast<long>(desk().events.sinkCount()), out); });
  }
  HRESULT PressTab(BSTR form, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) { return user.tab(viewOfBstr(form)); });
  }
  HRESULT GetFocus(BSTR form, BSTR* item) override {
    return guarded([&] { return giveText(find(form).focus, item); });
  }
  HRESULT PressBackTab(BSTR form, VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) { return user.backTab(viewOfBstr(form)); });
  }
  HRESULT ClickCellWithKeys(BSTR form, BSTR item, BSTR column, long row, long keys,
                            VARIANT_BOOL* done) override {
    return act(done, [&](UserActions& user) {
      if (keys < 0 || keys > (desk::kShiftKey | desk::kCtrlKey)) raiseError(E_INVALIDARG);
      return user.click(
          {textOf(form), textOf(item), textOf(column), row},
          {.ctrl = (keys & desk::kCtrlKey) != 0, .shift = (keys & desk::kShiftKey) != 0});
    });
  }
  HRESULT DrawForm(BSTR form, BSTR* out) override {
    return guarded([&] { return giveText(drawForm(find(form), desk().statusBar), out); });
  }

 private:
  // Runs an action. Holds this object meanwhile: a handler of an event may release the last
  // reference to it.
  template <class Body>
  HRESULT play(Body&& body) {
    const CComPtr<desk::IDeskUser> self(this);
    // The client as well: the watchers of its calls are part of it.
    const auto client = client_;
    UserActions user(client->desk());
    const HRESULT result = guarded([&] { return body(user); });
    desk::CallGate::instance().leave();
    return result;
  }
  // Does the same for an action that can be vetoed.
  template <class Body>
  HRESULT act(VARIANT_BOOL* done, Body&& body) {
    return play([&](UserActions& user) -> HRESULT {
      if (done == nullptr) return E_POINTER;
      *done = VARIANT_FALSE;
      *done = desk::variantBool(body(user));
      return S_OK;
    });
  }
  Desk& desk() const { return client_->desk(); }
  const FormModel& find(BSTR uid) const {
    const auto form = desk().forms.find(viewOfBstr(uid));
    if (form == nullptr) raiseError(kInvalidForm);
    return *form;
  }

  std::shared_ptr<Client> client_;
};

HRESULT DeskUser::SetBoxAnswerer(desk::IBoxAnswerer* answerer) {
  return guarded([&] {
    if (answerer == nullptr) return desk().boxes.setAnswerer(nullptr);
    // The desk keeps the answerer until another one is set.
    const CComPtr<desk::IBoxAnswerer> held(answerer);
    desk().boxes.setAnswerer([held](const MessageBoxCall& box) -> std::optional<long> {
      long button = 0;
      CComBSTR text(box.text);
      if (held->AnswerBox(text, box.defaultButton, &button) != S_OK) return std::nullopt;
      return button;
    });
  });
}

}  // namespace

CComPtr<desk::IDeskUser> makeDeskUser(std::shared_ptr<Client> client) {
  return makeObject<DeskUser>(std::move(client));
}

}  // namespace qx::screens
