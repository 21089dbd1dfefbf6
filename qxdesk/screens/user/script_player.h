#pragma once

// Plays a script on the client, one step per task of the message loop, so that the add-on meets
// every action where it meets those of a real user. Each step leaves one line of plain words.

#include "qxdesk/screens/model/desk.h"
#include "qxdesk/screens/user/play_script.h"
#include "qxdesk/screens/user/user_actions.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::screens {

class ScriptPlayer {
 public:
  using Post = std::function<void(std::function<void()>)>;
  using Print = std::function<void(std::string_view)>;

  /// `post` runs a task later on this thread, unless the player is gone by then; `print` gets whole
  /// lines with their line ends.
  ScriptPlayer(Desk& desk, std::vector<PlayStep> steps, Post post, Print print);
  ~ScriptPlayer();
  ScriptPlayer(const ScriptPlayer&) = delete;
  ScriptPlayer& operator=(const ScriptPlayer&) = delete;

  /// Plays the steps ahead of the first `start`, if there is one, at once.
  void playAhead();
  /// Begins to play. A second call does nothing.
  void start();
  /// True when every step has been played.
  bool finished() const { return next_ == steps_.size(); }

 private:
  void postNext();
  void playNext();
  PlayVerb playOne();
  std::string play(const PlayStep& step);
  std::string playOnForm(const PlayStep& step);
  std::string playEdit(const PlayStep& step, const Spot& spot);
  std::string playClient(const PlayStep& step);
  std::string openForm(const PlayStep& step);
  std::u16string print(const PlayStep& step) const;
  std::u16string formName(const std::u16string& word) const;
  std::optional<long> answer(const MessageBoxCall& box);

  Desk& desk_;
  UserActions user_;
  std::vector<PlayStep> steps_;
  Post post_;
  Print print_;
  std::size_t next_ = 0;
  bool started_ = false;
};

}  // namespace qx::screens
