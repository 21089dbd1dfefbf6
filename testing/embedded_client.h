#pragma once

// An embedded client for one test, and its user. Two objects are two clients even if they share a
// database, because the event sink of a stopped add-on holds its client until the process ends.

#include "qxdesk/screens/user/user.h"
#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/application.h"

#include <filesystem>
#include <functional>
#include <string>

namespace qx::test {

struct ClientOptions {
  std::string engine = "mssql";
  std::string more;  ///< further keys of the connection string, each preceded by "&"
  long appId = 0;    ///< 0 for a number that is new in this process
};

/// The client starts with the first operation of its user, with application() or with the add-on's
/// Connect, whichever is first.
class EmbeddedClient {
 public:
  explicit EmbeddedClient(const std::filesystem::path& database, const ClientOptions& options = {});

  /// Returns the connection string for an add-on.
  const std::u16string& connection() const { return connection_; }
  long appId() const { return appId_; }
  CComPtr<IApplication> application();

  /// The user's actions. They return false if an add-on vetoes the action and throw _com_error if
  /// the client refuses it.
  bool pickMenu(const std::string& uid);
  std::string openForm(
      const std::string& type);  ///< returns the new form's UID, an empty text for a veto
  bool closeForm(const std::string& form);
  bool selectForm(const std::string& form);
  bool press(const std::string& form, const std::string& item);
  bool type(const std::string& form, const std::string& item, const std::string& text);
  bool validate(const std::string& form, const std::string& item);
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
  /// Sets the function that chooses the button of a box if no answer is queued.
  void answerBoxes(std::function<long(const std::string& text)> answer);

  /// The state of the screens as the client prints it.
  std::string menus();
  std::string boxes();
  std::string statusBar();
  std::string forms();
  long sinks();

 private:
  template <class Method, class... Texts>
  bool act(Method method, const Texts&... texts);
  template <class Method>
  std::string printed(Method method);
  desk::IDeskUser* user();

  long appId_;
  std::u16string connection_;
  CComPtr<IApplication> application_;
  CComPtr<desk::IDeskUser> user_;
};

}  // namespace qx::test
