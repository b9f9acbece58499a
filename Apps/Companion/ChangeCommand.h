#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Apps/Companion/JSONAnswer.h"
#include "Linux/LinuxPlatform.h"
#include "Process/Process.h"

namespace orvane {

/// The options of every command that changes something.
struct ChangeOptions {
  bool asJSON = false;
  /// Whether the command ends only when the browser has the list.
  bool waits = false;
  /// In seconds.
  unsigned timeout = 60;
};

/// What a command has done.
struct ChangeAnswer {
  enum class Change {
    none,
    settings,      ///< which the companion observes
    packageFiles,  ///< of which the companion is told
  };
  Change change = Change::none;
  /// For the user, in sentences.
  std::vector<std::string> lines = {};
  /// Writes the members of the answer as a JSON object.
  std::function<void(JSONWriter&)> members = [](JSONWriter&) {};
};

/// False, having said so, when what the programs share cannot be opened.
bool opensSharedSettings(Platform& platform);

/// What the commands that change something have in common. To be made before anything is changed.
class ChangeCommand {
 public:
  ChangeCommand(LinuxPlatform& machine, const ChangeOptions& options);

  Platform& platform() { return machine_.platform(); }
  Process& process() { return process_; }

  /// False, having said so, when no other program would hear of the change.
  bool canStore();

  /// Has the companion take up what was changed and stored, answers, and waits if that is wanted.
  /// The result is the exit status.
  int conclude(const ChangeAnswer& answer);

 private:
  bool tellCompanion(const ChangeAnswer& answer);
  bool wait(const ChangeAnswer& answer);

  LinuxPlatform& machine_;
  ChangeOptions options_;
  Process process_;
  std::string earlierAttempt_;
};

}  // namespace orvane
