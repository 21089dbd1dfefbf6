#pragma once

// The state of the host's user interface: the login, the menus, forms, status bar and boxes, and
// the source of events. It belongs to one thread, and every operation is an ordinary call. The
// model knows neither XML nor scripts nor the objects through which an add-on reaches it.

#include "qxdesk/screens/model/event_source.h"
#include "qxdesk/screens/model/forms.h"
#include "qxdesk/screens/model/menu_model.h"
#include "qxdesk/screens/model/message_boxes.h"
#include "qxdesk/screens/model/status_bar.h"
#include "qxframework/host/enums.h"

#include <functional>
#include <memory>
#include <string>

namespace qx::screens {

/// The settings with which a desk starts.
struct DeskSettings {
  std::string database;  ///< UTF-8: the file that the company library opens
  long dbServerType = 1;
  HvLanguages language = ln_English;
  long appId = 1;
  std::u16string userName = u"manager";
  std::u16string companyName;   ///< empty: the name of the database
  bool keepsStatements = true;  ///< see qx::desk::LoginTarget
  long memoryMegabytes = 0;     ///< see qx::desk::LoginTarget
  bool refuseUnattendedBoxes = false;
  bool acceptBrackets = false;
};

class Desk {
 public:
  /// Opens the main menu. `progressLock` may be null: then no other process shares the progress
  /// bar.
  explicit Desk(DeskSettings settings, std::unique_ptr<ProgressLock> progressLock = nullptr);
  ~Desk();
  Desk(const Desk&) = delete;
  Desk& operator=(const Desk&) = delete;

  const DeskSettings& settings() const { return settings_; }
  /// Changes the language of the host's menus, and of its forms that open from now on.
  void setLanguage(HvLanguages language);
  /// Changes to another company on the same server type. The company's name becomes that of the
  /// database.
  void setDatabase(std::string database);
  std::u16string companyName() const;
  /// Returns the database without folder and extension.
  std::u16string databaseName() const;

  bool startupDone() const { return startupDone_; }
  /// Calls the observer each time an add-on reports that its start is done.
  void setStartupDone(bool done);
  void setStartupObserver(std::function<void()> observer) { observer_ = std::move(observer); }

  /// Calls the observer at the end of each stop().
  void setStopObserver(std::function<void()> observer) { stopObserver_ = std::move(observer); }

  /// Sets what is called if the user should see the desk as it is now, although a handler runs:
  /// after each change of the status bar and by showNow(). Null for nothing.
  void setShowObserver(std::function<void()> observer);
  void showNow() const {
    if (showObserver_) showObserver_();
  }

  /// Opens one of the host's own forms: "3101" a sales order, "1001" a customer. Returns null if a
  /// sink vetoes. Throws kFormNotFound for a type that the host does not have.
  std::shared_ptr<FormModel> openSystemForm(std::u16string_view typeEx);
  /// Ends the client, by an event of type kShutDown or kServerTermination. The forms close before,
  /// as long as the add-ons still get events: then their form objects end and release the company.
  void stop(AppEvent event);
  /// Does what one of the host's own menu entries stands for. The caller raises the two menu events
  /// around it. Does nothing for any other entry.
  void runMenuCommand(std::u16string_view menuUid);

  EventSource events;
  MenuModel menus;
  Forms forms;
  StatusBar statusBar;
  MessageBoxes boxes;
  std::u16string lastBatchResults;  ///< the report of the last batch, as XML

 private:
  void changeMode(long mode);

  DeskSettings settings_;
  bool startupDone_ = false;
  std::function<void()> observer_;
  std::function<void()> stopObserver_;
  std::function<void()> showObserver_;
};

}  // namespace qx::screens
