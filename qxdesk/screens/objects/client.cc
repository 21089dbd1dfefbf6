#include "qxdesk/screens/objects/client.h"

#include "qxdesk/screens/browser/web_screens.h"
#include "qxdesk/session/database_name.h"
#include "qxframework/automation/text.h"
#include "qxframework/os/message_loop.h"
#include "qxframework/os/named_mutex.h"

#include <cstdlib>
#include <iostream>
#include <map>
#include <string>
#include <utility>

namespace qx::screens {
namespace {

// Returns the clients of this process by application id. Those that have ended are null.
std::map<long, std::weak_ptr<Client>>& runningClients() {
  static std::map<long, std::weak_ptr<Client>> clients;
  return clients;
}

DeskSettings settingsOf(const desk::ConnectionString& connection) {
  DeskSettings settings;
  settings.database = connection.database;
  settings.dbServerType = connection.dbServerType;
  settings.language = connection.language;
  settings.appId = connection.appId;
  settings.userName = connection.userName;
  settings.companyName = connection.companyName;
  settings.keepsStatements = connection.keepsStatements;
  settings.memoryMegabytes = connection.memoryMegabytes;
  settings.refuseUnattendedBoxes = connection.refuseUnattendedBoxes;
  settings.acceptBrackets = connection.acceptBrackets;
  return settings;
}

// Guards the progress bar that the processes with one application id share.
class MachineProgressLock final : public ProgressLock {
 public:
  explicit MachineProgressLock(long appId)
      : mutex_(u"HalvexProgressBar" + toUtf16(std::to_string(appId))) {}
  bool tryAcquire() override { return mutex_.try_lock(); }
  void release() override { mutex_.unlock(); }

 private:
  NamedMutex mutex_;
};

// Flushed line by line, since the output of the add-on itself mixes with it.
void print(std::string_view text) { std::cout << text << std::flush; }

// The server's thread must end before the static objects of its library do, and an add-on's event
// sink may keep a client until the process ends.
void endPagesOfAllClients() {
  for (const auto& [appId, place] : runningClients()) {
    if (const auto client = place.lock()) client->endPages("The add-on has ended.");
  }
}

std::unique_ptr<ProgressLock> lockOf(const desk::ConnectionString& connection) {
  if (!connection.sharedProgressBar) return nullptr;
  return std::make_unique<MachineProgressLock>(connection.appId);
}

}  // namespace

std::shared_ptr<Client> Client::attach(const desk::ConnectionString& connection) {
  std::weak_ptr<Client>& place = runningClients()[connection.appId];
  if (auto running = place.lock()) {
    running->checkCompany(connection);
    return running;
  }
  // The script is read first: if it has an error, no client starts.
  std::vector<PlayStep> steps;
  if (!connection.playFile.empty()) steps = readPlayScript(connection.playFile);
  auto client = std::make_shared<Client>(connection);
  if (!connection.webAddress.empty()) client->showInBrowsers();
  if (!steps.empty()) client->play(std::move(steps));
  place = client;
  return client;
}

Client::Client(const desk::ConnectionString& connection)
    : connection_(connection), desk_(settingsOf(connection), lockOf(connection)) {}

Client::~Client() = default;

// The add-on would get the company of the running client and write to it. The client may have
// changed its company since its start; an add-on that names the present one is right, too.
void Client::checkCompany(const desk::ConnectionString& connection) const {
  const bool same = desk::sameDatabase(connection.database, connection_.database) ||
                    desk::sameDatabase(connection.database, desk_.settings().database);
  if (same && connection.dbServerType == connection_.dbServerType &&
      connection.acceptBrackets == connection_.acceptBrackets)
    return;
  throw OtherCompanyError("the client with appid " + std::to_string(connection.appId) +
                          " was started with \"" + toUtf8(connection_.shown) +
                          "\" and cannot be used with \"" + toUtf8(connection.shown) +
                          "\"; give db, engine and accept the same values, or take another appid");
}

void Client::showInBrowsers() {
  // As for the script: a turn keeps the client, the message loop does not.
  pages_ = screens::showInBrowsers(
      desk_, [weak = weak_from_this()]() -> std::shared_ptr<void> { return weak.lock(); },
      connection_.webAddress, print);
  // Registered after the server's library has been loaded, and so called before its objects end.
  static const int registered = std::atexit(endPagesOfAllClients);
  static_cast<void>(registered);
}

void Client::endPages(std::string_view why) {
  if (pages_ != nullptr) pages_->end(why);
}

void Client::play(std::vector<PlayStep> steps) {
  // The message loop must not keep the client alive, so a task refers to it weakly. During a step
  // it is kept: the step may make an add-on release its last object.
  const auto post = [weak = weak_from_this()](std::function<void()> task) {
    postTask([weak, task = std::move(task)] {
      if (const auto client = weak.lock()) task();
    });
  };
  player_.emplace(desk_, std::move(steps), post, print);
  player_->playAhead();
  // The script waits until an add-on reports its start; by then it has attached its sink.
  desk_.setStartupObserver([this] { player_->start(); });
}

}  // namespace qx::screens
