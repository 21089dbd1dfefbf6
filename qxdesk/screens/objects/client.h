#pragma once

// An embedded client: the model, and the user's script if there is one. All connections of this
// process with one application id share it; it ends with the last object that an add-on holds.

#include "qxdesk/screens/model/desk.h"
#include "qxdesk/screens/user/script_player.h"
#include "qxdesk/session/connection_string.h"

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace qx::screens {

class Client : public std::enable_shared_from_this<Client> {
 public:
  /// The client with the application id of `connection`, started if it does not run yet; one that
  /// runs keeps its own settings. Raises PlayScriptError.
  static std::shared_ptr<Client> attach(const desk::ConnectionString& connection);
  explicit Client(const desk::ConnectionString& connection);
  ~Client();
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  Desk& desk() { return desk_; }

 private:
  void play(std::vector<PlayStep> steps);

  Desk desk_;
  std::optional<ScriptPlayer> player_;
};

}  // namespace qx::screens
