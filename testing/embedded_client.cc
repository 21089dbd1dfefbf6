#include "testing/embedded_client.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/gui_api.h"

#include <utility>

namespace qx::test {
namespace {

long nextAppId() {
  static long last = 0;
  return ++last;
}

class Answerer final : public ComObject<desk::IBoxAnswerer> {
 public:
  explicit Answerer(std::function<long(const std::string&)> answer) : answer_(std::move(answer)) {}
  HRESULT AnswerBox(BSTR text, long, long* button) override {
    *button = answer_(toUtf8(viewOfBstr(text)));
    return S_OK;
  }

 private:
  std::function<long(const std::string&)> answer_;
};

// Turn an argument of a user's action into that of the client.
CComBSTR wide(const std::string& text) { return CComBSTR(toUtf16(text)); }
long wide(long number) { return number; }

}  // namespace

EmbeddedClient::EmbeddedClient(const std::filesystem::path& database, const ClientOptions& options)
    : appId_(options.appId != 0 ? options.appId : nextAppId()),
      connection_(toUtf16("embedded:?db=" + database.string() + "&engine=" + options.dialect +
                          "&appid=" + std::to_string(appId_) + options.more)) {}

CComPtr<IApplication> EmbeddedClient::application() {
  if (application_ != nullptr) return application_;
  CComPtr<IHalvexGuiApi> api;
  raiseIfFailed(createInstance(CLSID_HalvexGuiApi, CLSCTX_ALL, &api.p));
  raiseIfFailed(api->Connect(CComBSTR(connection_)));
  application_ = api->GetApplication(-1);
  return application_;
}

desk::IDeskUser* EmbeddedClient::user() {
  if (user_ == nullptr) raiseIfFailed(application().QueryInterface(&user_));
  return user_;
}

template <class Method, class... Arguments>
bool EmbeddedClient::act(Method method, const Arguments&... arguments) {
  VARIANT_BOOL done = VARIANT_FALSE;
  raiseIfFailed((user()->*method)(wide(arguments)..., &done));
  return done == VARIANT_TRUE;
}

template <class Method>
std::string EmbeddedClient::printed(Method method) {
  CComBSTR text;
  raiseIfFailed((user()->*method)(&text));
  return toUtf8(text.View());
}

bool EmbeddedClient::pickMenu(const std::string& uid) {
  return act(&desk::IDeskUser::PickMenu, uid);
}

std::string EmbeddedClient::openForm(const std::string& type) {
  CComBSTR uid;
  raiseIfFailed(user()->OpenForm(wide(type), &uid));
  return toUtf8(uid.View());
}

bool EmbeddedClient::closeForm(const std::string& form) {
  return act(&desk::IDeskUser::CloseForm, form);
}

bool EmbeddedClient::selectForm(const std::string& form) {
  return act(&desk::IDeskUser::SelectForm, form);
}

bool EmbeddedClient::press(const std::string& form, const std::string& item) {
  return act(&desk::IDeskUser::PressItem, form, item);
}

bool EmbeddedClient::type(const std::string& form, const std::string& item,
                          const std::string& text) {
  return act(&desk::IDeskUser::TypeInto, form, item, text);
}

bool EmbeddedClient::typeIntoCell(const std::string& form, const std::string& item,
                                  const std::string& column, long row, const std::string& text) {
  return act(&desk::IDeskUser::TypeIntoCell, form, item, column, row, text);
}

bool EmbeddedClient::tab(const std::string& form) { return act(&desk::IDeskUser::PressTab, form); }

bool EmbeddedClient::validate(const std::string& form, const std::string& item) {
  return act(&desk::IDeskUser::Validate, form, item);
}

bool EmbeddedClient::choose(const std::string& form, const std::string& item,
                            const std::string& key) {
  return act(&desk::IDeskUser::ChooseValue, form, item, key);
}

bool EmbeddedClient::key(const std::string& form, const std::string& item, long code) {
  return act(&desk::IDeskUser::KeyDown, form, item, code);
}

bool EmbeddedClient::clickCell(const std::string& form, const std::string& item,
                               const std::string& column, long row) {
  return act(&desk::IDeskUser::ClickCell, form, item, column, row);
}

bool EmbeddedClient::doubleClickCell(const std::string& form, const std::string& item,
                                     const std::string& column, long row) {
  return act(&desk::IDeskUser::DoubleClickCell, form, item, column, row);
}

bool EmbeddedClient::rightClick(const std::string& form, const std::string& item) {
  return act(&desk::IDeskUser::RightClick, form, item);
}

bool EmbeddedClient::formData(const std::string& form, const std::string& type,
                              const std::string& key) {
  return act(&desk::IDeskUser::FireFormData, form, type, key);
}

bool EmbeddedClient::progressBar() { return act(&desk::IDeskUser::FireProgressBar); }

bool EmbeddedClient::print(const std::string& form) {
  return act(&desk::IDeskUser::FirePrint, form);
}

bool EmbeddedClient::reportData(const std::string& form) {
  return act(&desk::IDeskUser::FireReportData, form);
}

void EmbeddedClient::status(const std::string& text, long type) {
  raiseIfFailed(user()->FireStatusBar(wide(text), type));
}

void EmbeddedClient::changeLanguage(long language) {
  raiseIfFailed(user()->ChangeLanguage(language));
}

void EmbeddedClient::changeCompany(const std::filesystem::path& database) {
  raiseIfFailed(user()->ChangeCompany(wide(database.string())));
}

void EmbeddedClient::shutDown() { raiseIfFailed(user()->Shutdown()); }

void EmbeddedClient::terminate() { raiseIfFailed(user()->ServerTermination()); }

void EmbeddedClient::queueAnswer(long button) { raiseIfFailed(user()->QueueAnswer(button)); }

void EmbeddedClient::answerBoxes(std::function<long(const std::string&)> answer) {
  raiseIfFailed(user()->SetBoxAnswerer(makeObject<Answerer>(std::move(answer))));
}

std::string EmbeddedClient::menus() { return printed(&desk::IDeskUser::PrintMenus); }
std::string EmbeddedClient::boxes() { return printed(&desk::IDeskUser::PrintBoxes); }
std::string EmbeddedClient::statusBar() { return printed(&desk::IDeskUser::PrintStatus); }
std::string EmbeddedClient::form(const std::string& uid) {
  CComBSTR text;
  raiseIfFailed(user()->PrintForm(wide(uid), &text));
  return toUtf8(text.View());
}

std::string EmbeddedClient::drawing(const std::string& uid) {
  CComBSTR text;
  raiseIfFailed(user()->DrawForm(wide(uid), &text));
  return toUtf8(text.View());
}

std::string EmbeddedClient::forms() { return printed(&desk::IDeskUser::PrintForms); }

std::string EmbeddedClient::focus(const std::string& form) {
  CComBSTR item;
  raiseIfFailed(user()->GetFocus(wide(form), &item));
  return toUtf8(item.View());
}

long EmbeddedClient::sinks() {
  long count = 0;
  raiseIfFailed(user()->GetSinkCount(&count));
  return count;
}

}  // namespace qx::test
