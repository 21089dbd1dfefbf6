#pragma once

// The embedded client: a desk, and the script that plays its user and the browsers that show it, if
// there are any. All connections
// of this process with the same application id share a client. It ends with the last object that an
// add-on holds of it.

#include "qxdesk/screens/browser/desk_pages.h"
#include "qxdesk/screens/model/desk.h"
#include "qxdesk/screens/user/script_player.h"
#include "qxdesk/session/connection_string.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace qx::screens {

/// Reports a connection to a running client that has another company. what() is a sentence in UTF-8
/// with both connection strings.
class OtherCompanyError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Client : public std::enable_shared_from_this<Client> {
 public:
  /// Returns the client with the application id of `connection`. Starts it if it does not run yet;
  /// otherwise it keeps the settings with which it was started. Throws PlayScriptError,
  /// WebScreensError, and OtherCompanyError if the running client has another database or another
  /// dialect.
  static std::shared_ptr<Client> attach(const desk::ConnectionString& connection);
  /// Starts a client without a script that attach() does not find.
  explicit Client(const desk::ConnectionString& connection);
  ~Client();
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  Desk& desk() { return desk_; }
  /// Ends the screens in browsers, if there are any.
  void endPages(std::string_view why);

 private:
  void play(std::vector<PlayStep> steps);
  void showInBrowsers();
  void checkCompany(const desk::ConnectionString& connection) const;

  desk::ConnectionString connection_;
  Desk desk_;
  std::optional<ScriptPlayer> player_;
  std::unique_ptr<DeskPages> pages_;  // ends first, since it works on the desk
};

}  // namespace qx::screens
