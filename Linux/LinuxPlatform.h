#pragma once

#include <memory>
#include <string_view>

#include "Linux/GLib/MainLoopExecutor.h"
#include "Linux/GLib/URLLoader.h"
#include "Linux/GLib/Workspace.h"
#include "Linux/Posix/CloudAccount.h"
#include "Linux/Posix/DescriptorOutput.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Linux/Posix/XDGDirectories.h"
#include "Linux/SQLite/SQLiteKeyValueDatabase.h"
#include "Linux/WebKitGTK/ContentBlockerManager.h"
#include "Platform/CloudKit/CloudBackend.h"
#include "Platform/CloudKit/KeyValueExchange.h"
#include "Platform/Foundation/InMemoryKeyValueDatabase.h"
#include "Platform/Foundation/ThreadExecutor.h"
#include "Platform/Platform.h"

namespace orvane {

/// The services of this machine, for one process. The main queue is GLib's default main context,
/// which whoever makes the platform runs.
class LinuxPlatform {
 public:
  /// `applicationGroup` is the group whose programs share the user defaults and the browser's list.
  /// The product's diagnostic lines go to `standardOutput`, an open file that stays open.
  /// `systemLog` outlives the platform.
  LinuxPlatform(std::string_view applicationGroup, int standardOutput, LineOutput& systemLog);

  Platform& platform() { return platform_; }
  const XDGDirectories& directories() const { return directories_; }

  /// The file of the browser's settings, of the application group, and of its compiled lists.
  const std::filesystem::path& browserSettings() const { return browserSettings_; }
  const std::filesystem::path& container() const { return container_; }
  /// Which cloud it is. With an error, every call of the cloud is refused for that reason.
  const Expected<CloudAccount>& cloudAccount() const { return cloudAccount_; }
  /// The file of the cloud of this machine alone.
  const std::filesystem::path& cloudFile() const { return cloudFile_; }
  /// The table behind the cloud key-value store, for its exchange with the cloud. It outlives the
  /// cloud queue.
  KeyValueExchange::Table exchangeTable() {
    return {.own = ubiquitousDatabase_, .foreign = exchangeTable_};
  }
  /// See `SingleInstance`; it is held by the process that may write the browser's list.
  std::filesystem::path companionLock() const { return container_ / "Companion.lock"; }

 private:
  NSUserDefaults* userDefaultsSuite(std::string_view name);
  std::unique_ptr<CloudBackend> makeCloud() const;

  std::string applicationGroup_;
  XDGDirectories directories_;
  std::filesystem::path container_;
  std::filesystem::path browserSettings_;
  std::filesystem::path cloudFile_;
  PosixFileSystem fileSystem_;
  NSFileManager fileManager_;
  NSBundle mainBundle_;
  NSNotificationCenter notificationCenter_;
  URLLoader urlLoader_;
  UUIDGenerator makeUUID_;
  DescriptorOutput standardOutput_;
  LineOutput& systemLog_;
  MainLoopExecutor mainQueue_;
  SerialQueueFactory makeSerialQueue_;
  SQLiteKeyValueDatabase suiteDatabase_;
  NSUserDefaults suite_;
  UserDefaultsSuites userDefaultsSuite_;
  InMemoryKeyValueDatabase standardDatabase_;
  NSUserDefaults standardUserDefaults_;
  SQLiteKeyValueDatabase ubiquitousDatabase_;
  NSUbiquitousKeyValueStore ubiquitousStore_;
  ContentBlockerManager contentBlockerManager_;
  Workspace workspace_;
  SQLiteKeyValueDatabase exchangeTable_;
  Expected<CloudAccount> cloudAccount_;
  std::unique_ptr<CloudBackend> cloud_;
  ThreadExecutor cloudQueue_{"cloud"};
  Platform platform_;
};

}  // namespace orvane
