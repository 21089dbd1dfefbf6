#include "qxdesk/screens/objects/client.h"

#include "qxframework/automation/text.h"
#include "qxframework/os/message_loop.h"
#include "qxframework/os/named_mutex.h"

#include <iostream>
#include <map>
#include <string>
#include <utility>

namespace qx::screens {
namespace {

/// The clients of this process by application id.
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
  settings.refuseUnattendedBoxes = connection.refuseUnattendedBoxes;
  return settings;
}

/// The progress bar of all processes whose clients bear one application id.
class MachineProgressLock final : public ProgressLock {
 public:
  explicit MachineProgressLock(long appId)
      : mutex_(u"HalvexProgressBar" + toUtf16(std::to_string(appId))) {}
  bool tryAcquire() override { return mutex_.try_lock(); }
  void release() override { mutex_.unlock(); }

 private:
  NamedMutex mutex_;
};

std::unique_ptr<ProgressLock> lockOf(const desk::ConnectionString& connection) {
  if (!connection.sharedProgressBar) return nullptr;
  return std::make_unique<MachineProgressLock>(connection.appId);
}

}  // namespace

std::shared_ptr<Client> Client::attach(const desk::ConnectionString& connection) {
  std::weak_ptr<Client>& place = runningClients()[connection.appId];
  if (auto running = place.lock()) return running;
  std::vector<PlayStep> steps;
  if (!connection.playFile.empty()) steps = readPlayScript(connection.playFile);
  auto client = std::make_shared<Client>(connection);
  if (!steps.empty()) client->play(std::move(steps));
  place = client;
  return client;
}

Client::Client(const desk::ConnectionString& connection)
    : desk_(settingsOf(connection), lockOf(connection)) {}

Client::~Client() = default;

void Client::play(std::vector<PlayStep> steps) {
  // A step may be the end of everything: the client stays until it has been played.
  const auto post = [weak = weak_from_this()](std::function<void()> task) {
    postTask([weak, task = std::move(task)] {
      if (const auto client = weak.lock()) task();
    });
  };
  const auto print = [](std::string_view text) { std::cout << text << std::flush; };
  player_.emplace(desk_, std::move(steps), post, print);
  player_->playAhead();
  desk_.setStartupObserver([this] { player_->start(); });
}

}  // namespace qx::screens
