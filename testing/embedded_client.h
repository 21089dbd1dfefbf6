#pragma once

// An embedded client of a test's own, and its user. Every object of it is another client, also on
// the same database: a stopped add-on's event sink holds its client until the process ends.

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
  std::string more;  ///< further keys of the connection string, each with "&" ahead
  long appId = 0;    ///< 0: one that no client of this process has had
};

/// The client runs from the first use of user() or application(), or from the add-on's Connect.
class EmbeddedClient {
 public:
  explicit EmbeddedClient(const std::filesystem::path& database, const ClientOptions& options = {});

  /// What an add-on connects with.
  const std::u16string& connection() const { return connection_; }
  long appId() const { return appId_; }
  CComPtr<IApplication> application();

  /// What the user does. The result is false when an add-on vetoed it; a refusal of the client is
  /// raised as _com_error.
  bool pickMenu(const std::string& uid);
  std::string openForm(const std::string& type);  ///< the new form's UID; empty: vetoed
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
  /// Asked for the button of each box for which no answer waits.
  void answerBoxes(std::function<long(const std::string& text)> answer);

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
