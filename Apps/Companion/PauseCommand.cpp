#include "Apps/Companion/PauseCommand.h"

#include "Apps/Companion/Failure.h"

namespace orvane {

int runPauseCommand(LinuxPlatform& machine, const ChangeOptions& options, bool pauses) {
  ChangeCommand command(machine, options);
  if (!command.canStore()) return 1;
  auto& defaults = command.process().defaults();
  const bool isPaused = defaults.boolForKey(Communication::pausedKey);
  ChangeAnswer answer{
      .members = [pauses](JSONWriter& writer) { writeBoolean(writer, "paused", pauses); }};
  if (isPaused == pauses) {
    answer.lines = {pauses ? "Blocking is paused already." : "Blocking is not paused."};
    return command.conclude(answer);
  }
  if (!defaults.setObject(pauses, Communication::pausedKey)) {
    return failure(pauses ? "Blocking is not paused." : "Blocking is still paused.");
  }
  static_cast<void>(defaults.synchronize());
  answer.change = ChangeAnswer::Change::settings;
  answer.lines = {pauses ? "Blocking is paused." : "Blocking is resumed."};
  return command.conclude(answer);
}

}  // namespace orvane
