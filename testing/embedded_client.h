#pragma once

// An embedded client and its user. Each object is another client, even on the same database,
// because the event sink of a stopped add-on keeps its client until the process ends.
//
// With QX_WALK set, the user is a person at a screen (testing/walk.h): one who types into an item
// goes to it first, and the client starts at once.

#include "qxdesk/screens/user/user.h"
#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/application.h"
#include "testing/walk.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace qx::test {

struct ClientOptions {
  std::string dialect = "mssql";
  std::string more;  ///< further keys of the connection string, each preceded by "&"
  long appId = 0;    ///< 0 for the next one that no client of this process has used
};

/// A client. It starts with the first operation other than connection() and appId(), or with the
/// Connect of an add-on.
class EmbeddedClient {
 public:
  explicit EmbeddedClient(const std::filesystem::path& database, const ClientOptions& options = {});

  /// Returns the connection string for an add-on.
  const std::u16string& connection() const { return connection_; }
  long appId() const { return appId_; }
  CComPtr<IApplication> application();

  /// Actions of the user. They return false if an add-on vetoed the action, and throw _com_error if
  /// the client refuses it.
  bool pickMenu(const std::string& uid);
  /// Returns the UID of the new form; empty if an add-on vetoed it.
  std::string openForm(const std::string& type);
  bool closeForm(const std::string& form);
  bool selectForm(const std::string& form);
  bool press(const std::string& form, const std::string& item);
  bool type(const std::string& form, const std::string& item, const std::string& text);
  bool typeIntoCell(const std::string& form, const std::string& item, const std::string& column,
                    long row, const std::string& text);
  /// Presses the tab key, which moves the focus.
  bool tab(const std::string& form);
  bool validate(const std::string& form, const std::string& item);
  /// Chooses an entry of a combo box by its key or its text.
  bool choose(const std::string& form, const std::string& item, const std::string& key);
  /// Presses one key in an item, such as 13 for Enter.
  bool key(const std::string& form, const std::string& item, long code);
  /// Click a cell of a matrix; row 0 is the head of the column.
  bool clickCell(const std::string& form, const std::string& item, const std::string& column,
                 long row);
  bool doubleClickCell(const std::string& form, const std::string& item, const std::string& column,
                       long row);
  bool rightClick(const std::string& form, const std::string& item);
  bool formData(const std::string& form, const std::string& type, const std::string& key);
  bool progressBar();
  bool print(const std::string& form);
  bool reportData(const std::string& form);
  void status(const std::string& text, long type);
  void changeLanguage(long language);
  void changeCompany(const std::filesystem::path& database);
  void shutDown();
  void terminate();
  void queueAnswer(long button);
  /// Sets the function that returns the button for each message box without a queued answer.
  void answerBoxes(std::function<long(const std::string& text)> answer);

  /// Return the state of the client as text, one line per entry.
  std::string menus();
  std::string boxes();
  std::string statusBar();
  std::string forms();
  /// Throws _com_error for a form that is not open.
  std::string form(const std::string& uid);
  /// Returns the drawing of the form; empty if it is hidden. Throws as form() does.
  std::string drawing(const std::string& uid);
  /// Returns the number of event sinks that add-ons have attached.
  long sinks();
  /// Returns the UID of the item with the focus; empty if none has it.
  std::string focus(const std::string& form);

 private:
  template <class Method, class... Arguments>
  bool act(const char* verb, Method method, const Arguments&... arguments);
  bool step(const std::string& words, const std::function<bool()>& call);
  /// In a walk, clicks into an edit, or goes to another item by the tab key, unless it has the
  /// focus already. Returns false if it does not get the focus.
  bool reach(const std::string& form, const std::string& item);
  bool hasFocus(const std::string& form, const std::string& item);
  template <class Method>
  std::string printed(Method method);
  desk::IDeskUser* user();

  std::unique_ptr<Walk> walk_;  // null unless the environment asks for one
  long appId_;
  std::u16string connection_;
  CComPtr<IApplication> application_;
  CComPtr<desk::IDeskUser> user_;
};

}  // namespace qx::test
