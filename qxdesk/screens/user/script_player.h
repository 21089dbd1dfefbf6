#pragma once

// Plays a script on the desk, one step per task of the message loop. So the add-on gets the events
// of a step in its message loop, as it would those of a real user. Each step prints its outcome as
// one line in plain words.

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

  /// `post` runs a task later on this thread, but not after the end of the player. `print` gets
  /// whole lines with their line ends. Answers the desk's message boxes from now on.
  ScriptPlayer(Desk& desk, std::vector<PlayStep> steps, Post post, Print print);
  ~ScriptPlayer();
  ScriptPlayer(const ScriptPlayer&) = delete;
  ScriptPlayer& operator=(const ScriptPlayer&) = delete;

  /// Plays the steps up to the first `start` at once; does nothing if the script has none.
  void playAhead();
  /// Posts the first step. A second call does nothing.
  void start();
  /// True if all steps have been played.
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
  std::string draw(const std::u16string& uid) const;
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
