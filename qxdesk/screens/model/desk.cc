#include "qxdesk/screens/model/desk.h"

#include "qxdesk/screens/model/system_captions.h"
#include "qxdesk/screens/model/system_forms.h"
#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/session/database_name.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/item_types.h"

#include <utility>

namespace qx::screens {

Desk::Desk(DeskSettings settings, std::unique_ptr<ProgressLock> progressLock)
    : forms(events),
      statusBar(std::move(progressLock)),
      boxes(settings.refuseUnattendedBoxes),
      settings_(std::move(settings)) {
  addSystemMenus(menus, settings_.language);
  openSystemForm(kMainMenuForm);  // no sink is attached yet, so no veto is possible
}

Desk::~Desk() = default;

void Desk::setLanguage(HvLanguages language) {
  settings_.language = language;
  translateSystemMenus(menus, language);
  // It never closes, so it would keep the title of the language in which the host has started.
  if (const auto menu = forms.byTypeAndCount(kMainMenuForm, 1)) {
    menu->title = captionOf(Caption::MainMenu, language);
  }
}

void Desk::setDatabase(std::string database) {
  settings_.database = std::move(database);
  settings_.companyName.clear();  // it named the old company
}

std::u16string Desk::databaseName() const {
  return toUtf16(desk::databaseTitle(settings_.database));
}

std::u16string Desk::companyName() const {
  return settings_.companyName.empty() ? databaseName() : settings_.companyName;
}

void Desk::setStartupDone(bool done) {
  startupDone_ = done;
  // An add-on may take its report back; that starts no script.
  if (done && observer_) observer_();
}

std::shared_ptr<FormModel> Desk::openSystemForm(std::u16string_view typeEx) {
  // There is one main menu, while an order or a customer may be open several times.
  if (typeEx == kMainMenuForm && forms.byTypeAndCount(typeEx, 1) != nullptr) {
    raiseError(kFormAlreadyExists);
  }
  auto form = makeSystemForm(typeEx, forms.nextSystemUid(), settings_.language);
  if (form == nullptr) raiseError(kFormNotFound);
  return forms.open(form) ? form : nullptr;
}

void Desk::stop(AppEvent event) {
  forms.closeAll();
  events.raise(event);
  if (stopObserver_) stopObserver_();
}

void Desk::setShowObserver(std::function<void()> observer) {
  showObserver_ = observer;
  statusBar.setObserver(std::move(observer));
}

void Desk::runMenuCommand(std::u16string_view menuUid) {
  if (const auto type = systemFormOfMenu(menuUid); !type.empty()) {
    openSystemForm(type);
  } else if (menuUid == kQuitMenu) {
    stop({kShutDown});
  } else if (menuUid == kFindMenu) {
    changeMode(kFindMode);
  } else if (menuUid == kAddMenu) {
    changeMode(kAddMode);
  } else if (menuUid == kNextMenu || menuUid == kPreviousMenu || menuUid == kFirstMenu ||
             menuUid == kLastMenu || menuUid == kDeleteMenu) {
    // The desk has no records. With records, the form would now show a stored one: OK mode.
    changeMode(kOkMode);
  }
}

void Desk::changeMode(long mode) {
  const auto form = forms.selected();
  // The main menu shows no records and so has no modes.
  if (form != nullptr && form->typeEx() != kMainMenuForm) form->setMode(mode);
}

}  // namespace qx::screens
