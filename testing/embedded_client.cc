#include "testing/embedded_client.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/gui_api.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

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

// Write an argument as a play script has it.
std::string written(const std::string& text) { return " " + text; }
std::string written(long number) { return " " + std::to_string(number); }

// The entries that open the client's own forms, by the type of the form.
const std::map<std::string, std::string> kFormMenus{{"3101", "3001"}, {"1001", "3002"}};

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream all(text);
  for (std::string line; std::getline(all, line);) lines.push_back(line);
  return lines;
}

}  // namespace

EmbeddedClient::EmbeddedClient(const std::filesystem::path& database, const ClientOptions& options)
    : walk_(Walk::ofEnvironment()),
      appId_(options.appId != 0 ? options.appId : nextAppId()),
      connection_(toUtf16("embedded:?db=" + database.string() + "&engine=" + options.dialect +
                          "&appid=" + std::to_string(appId_) + options.more +
                          (walk_ == nullptr ? "" : walk_->keys()))) {
  // Ahead of the add-ons, so that an event which they veto is printed, too.
  if (walk_ != nullptr) walk_->watch(application());
}

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
bool EmbeddedClient::act(const char* verb, Method method, const Arguments&... arguments) {
  return step((verb + ... + written(arguments)), [&] {
    VARIANT_BOOL done = VARIANT_FALSE;
    raiseIfFailed((user()->*method)(wide(arguments)..., &done));
    return done == VARIANT_TRUE;
  });
}

bool EmbeddedClient::step(const std::string& words, const std::function<bool()>& call) {
  return walk_ == nullptr ? call() : walk_->act(words, call, [this] { return menus(); });
}

bool EmbeddedClient::reach(const std::string& form, const std::string& item) {
  if (walk_ == nullptr || hasFocus(form, item)) return true;
  const std::vector<std::string> items = linesOf(this->form(form));
  const auto isEdit = [&](const std::string& line) {
    return line.starts_with("  " + item + " edit");
  };
  if (std::any_of(items.begin(), items.end(), isEdit)) return press(form, item);
  // A click would do more than reach it. Each item gets the focus once at most.
  for (std::size_t count = 0; count < items.size() && !hasFocus(form, item); ++count) tab(form);
  return hasFocus(form, item);
}

bool EmbeddedClient::hasFocus(const std::string& form, const std::string& item) {
  const std::vector<std::string> all = linesOf(forms());
  const bool isSelected = std::any_of(all.begin(), all.end(), [&](const std::string& line) {
    return line.starts_with(form + " ") && line.find("\" selected") != std::string::npos;
  });
  return isSelected && focus(form) == item;
}

template <class Method>
std::string EmbeddedClient::printed(Method method) {
  CComBSTR text;
  raiseIfFailed((user()->*method)(&text));
  return toUtf8(text.View());
}

bool EmbeddedClient::pickMenu(const std::string& uid) {
  return act("menu", &desk::IDeskUser::PickMenu, uid);
}

std::string EmbeddedClient::openForm(const std::string& type) {
  const auto entry = kFormMenus.find(type);
  if (walk_ != nullptr && entry != kFormMenus.end()) {
    const std::size_t before = linesOf(forms()).size();
    const bool picked = pickMenu(entry->second);
    const std::vector<std::string> after = linesOf(forms());
    if (!picked || after.size() == before) return {};
    return after.back().substr(0, after.back().find(' '));
  }
  CComBSTR uid;
  raiseIfFailed(user()->OpenForm(wide(type), &uid));
  return toUtf8(uid.View());
}

bool EmbeddedClient::closeForm(const std::string& form) {
  return act("close", &desk::IDeskUser::CloseForm, form);
}

bool EmbeddedClient::selectForm(const std::string& form) {
  return act("select", &desk::IDeskUser::SelectForm, form);
}

bool EmbeddedClient::press(const std::string& form, const std::string& item) {
  return act("press", &desk::IDeskUser::PressItem, form, item);
}

bool EmbeddedClient::type(const std::string& form, const std::string& item,
                          const std::string& text) {
  return reach(form, item) && act("type", &desk::IDeskUser::TypeInto, form, item, text);
}

bool EmbeddedClient::typeIntoCell(const std::string& form, const std::string& item,
                                  const std::string& column, long row, const std::string& text) {
  return act("cell", &desk::IDeskUser::TypeIntoCell, form, item, column, row, text);
}

bool EmbeddedClient::tab(const std::string& form) {
  return act("tab", &desk::IDeskUser::PressTab, form);
}

bool EmbeddedClient::validate(const std::string& form, const std::string& item) {
  return reach(form, item) && act("validate", &desk::IDeskUser::Validate, form, item);
}

bool EmbeddedClient::choose(const std::string& form, const std::string& item,
                            const std::string& key) {
  return act("choose", &desk::IDeskUser::ChooseValue, form, item, key);
}

bool EmbeddedClient::key(const std::string& form, const std::string& item, long code) {
  return reach(form, item) && act("key", &desk::IDeskUser::KeyDown, form, item, code);
}

bool EmbeddedClient::clickCell(const std::string& form, const std::string& item,
                               const std::string& column, long row) {
  return act("click", &desk::IDeskUser::ClickCell, form, item, column, row);
}

bool EmbeddedClient::doubleClickCell(const std::string& form, const std::string& item,
                                     const std::string& column, long row) {
  return act("doubleclick", &desk::IDeskUser::DoubleClickCell, form, item, column, row);
}

bool EmbeddedClient::rightClick(const std::string& form, const std::string& item) {
  return act("rightclick", &desk::IDeskUser::RightClick, form, item);
}

bool EmbeddedClient::formData(const std::string& form, const std::string& type,
                              const std::string& key) {
  return act("formdata", &desk::IDeskUser::FireFormData, form, type, key);
}

bool EmbeddedClient::progressBar() { return act("progress", &desk::IDeskUser::FireProgressBar); }

bool EmbeddedClient::print(const std::string& form) {
  return act("printout", &desk::IDeskUser::FirePrint, form);
}

bool EmbeddedClient::reportData(const std::string& form) {
  return act("report", &desk::IDeskUser::FireReportData, form);
}

void EmbeddedClient::status(const std::string& text, long type) {
  raiseIfFailed(user()->FireStatusBar(wide(text), type));
}

void EmbeddedClient::changeLanguage(long language) {
  step("language " + std::to_string(language), [&] {
    raiseIfFailed(user()->ChangeLanguage(language));
    return true;
  });
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
