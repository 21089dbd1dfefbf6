#pragma once

// The whole state of the client that the screens stand in for: who is logged in to what, its menus,
// forms, status bar and boxes, and the source of its events. All of it belongs to one thread, and
// every operation is an ordinary call. What stands in front of it, in the same process or at the
// end of a wire, is no business of this model.

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

/// What the client is started with.
struct DeskSettings {
  std::string database;  ///< UTF-8: the file that the company library opens
  long dbServerType = 1;
  HvLanguages language = ln_English;
  long appId = 1;
  std::u16string userName = u"manager";
  std::u16string companyName;  ///< empty: the database's name
  bool refuseUnattendedBoxes = false;
};

class Desk {
 public:
  explicit Desk(DeskSettings settings, std::unique_ptr<ProgressLock> progressLock = nullptr);
  ~Desk();
  Desk(const Desk&) = delete;
  Desk& operator=(const Desk&) = delete;

  const DeskSettings& settings() const { return settings_; }
  void setLanguage(HvLanguages language) { settings_.language = language; }
  /// Another company on the same server type; its name follows the database's.
  void setDatabase(std::string database);
  std::u16string companyName() const;
  /// The database without folder and extension.
  std::u16string databaseName() const;

  bool startupDone() const { return startupDone_; }
  /// Tells the observer whenever an add-on reports its start done.
  void setStartupDone(bool done);
  void setStartupObserver(std::function<void()> observer) { observer_ = std::move(observer); }

  /// Opens one of the client's own forms: "3101" a sales order, "1001" a customer. Null when a sink
  /// objects. Raises kFormNotFound for a type that the client does not have.
  std::shared_ptr<FormModel> openSystemForm(std::u16string_view typeEx);
  /// What picking one of the client's own entries does, at the moment between the two events.
  void runMenuCommand(std::u16string_view menuUid);

  EventSource events;
  MenuModel menus;
  Forms forms;
  StatusBar statusBar;
  MessageBoxes boxes;
  std::u16string lastBatchResults;

 private:
  void changeMode(long mode);

  DeskSettings settings_;
  bool startupDone_ = false;
  std::function<void()> observer_;
};

}  // namespace qx::screens
