#include "Linux/LinuxPlatform.h"

#include <cstdlib>
#include <fstream>
#include <string>

#include "Linux/GLib/UUID.h"
#include "Linux/Posix/ProgramFolder.h"
#include "Linux/PostgreSQL/PostgreSQLCloud.h"
#include "Linux/RefusedCloud.h"
#include "Linux/SQLite/SQLiteCloud.h"
#include "Platform/Foundation/ContentHash.h"

namespace orvane {
namespace {

std::filesystem::path below(const std::optional<std::filesystem::path>& folder,
                            const std::filesystem::path& path) {
  return folder ? *folder / path : std::filesystem::path();
}

/// Another one for every machine, and for every home folder on it.
std::string deviceName(const std::filesystem::path& container) {
  std::ifstream file("/etc/machine-id");
  std::string machine;
  std::getline(file, machine);
  return contentHash(machine + " " + container.string());
}

}  // namespace

LinuxPlatform::LinuxPlatform(std::string_view applicationGroup, int standardOutput,
                             LineOutput& systemLog)
    : applicationGroup_(applicationGroup),
      directories_(XDGDirectories::ofThisProcess()),
      container_(below(directories_.userDirectories().groupContainers, applicationGroup)),
      browserSettings_(below(directories_.config, "orvane/browser.ini")),
      cloudFile_(below(directories_.data, "orvane/Cloud.sqlite")),
      fileManager_(fileSystem_, directories_.userDirectories()),
      mainBundle_(fileManager_, programFolder().parent_path() / "share" / "orvane",
                  PropertyListValue::Dictionary{{"CFBundleShortVersionString", ORVANE_VERSION},
                                                {"CFBundleVersion", ORVANE_BUILD}}),
      urlLoader_(URLLoader::Limits{}),
      makeUUID_(randomUUID),
      standardOutput_(standardOutput),
      systemLog_(systemLog),
      makeSerialQueue_(
          [](const std::string& label) { return std::make_unique<ThreadExecutor>(label); }),
      suiteDatabase_(container_ / "UserDefaults.sqlite", mainQueue_),
      suite_(suiteDatabase_, systemLog_),
      userDefaultsSuite_([this](std::string_view name) { return userDefaultsSuite(name); }),
      standardDatabase_(InMemoryKeyValueDatabase::makeStorage(), mainQueue_),
      standardUserDefaults_(standardDatabase_, systemLog_),
      ubiquitousDatabase_(container_ / "UbiquitousKeyValueStore.sqlite", mainQueue_),
      ubiquitousStore_(ubiquitousDatabase_, systemLog_, notificationCenter_),
      contentBlockerManager_(mainQueue_, BrowserSettings(browserSettings_),
                             {.helper = programFolder() / "orvane-compile",
                              .blockerList = container_ / "tmp.json",
                              .compiledLists = container_ / "CompiledLists"}),
      workspace_({{"com.tessaly.BlockerMac", programFolder() / "orvane"}}, directories_.state,
                 systemLog_),
      exchangeTable_(container_ / "UbiquitousKeyValueStore.sqlite", mainQueue_),
      cloudAccount_(CloudAccount::read(std::getenv(CloudAccount::environmentVariable),
                                       CloudAccount::defaultFile(directories_.config))),
      cloud_(makeCloud()),
      platform_{fileManager_,
                mainBundle_,
                notificationCenter_,
                urlLoader_,
                makeUUID_,
                standardOutput_,
                systemLog_,
                mainQueue_,
                makeSerialQueue_,
                userDefaultsSuite_,
                standardUserDefaults_,
                ubiquitousStore_,
                contentBlockerManager_,
                workspace_,
                *cloud_,
                cloudQueue_} {}

std::unique_ptr<CloudBackend> LinuxPlatform::makeCloud() const {
  if (!cloudAccount_) {
    return std::make_unique<RefusedCloud>(cloudAccount_.error().localizedDescription);
  }
  if (cloudAccount_->address) {
    return std::make_unique<PostgreSQLCloud>(*cloudAccount_->address, deviceName(container_));
  }
  if (!directories_.data) return std::make_unique<RefusedCloud>("There is no home folder.");
  return std::make_unique<SQLiteCloud>(cloudFile_);
}

/// A suite that cannot be opened is one that cannot be used.
NSUserDefaults* LinuxPlatform::userDefaultsSuite(std::string_view name) {
  if (name != applicationGroup_) return nullptr;
  if (!directories_.data) {
    systemLog_.print("There is no home folder to keep the user defaults in.");
    return nullptr;
  }
  static_cast<void>(fileManager_.containerURLForSecurityApplicationGroupIdentifier(name));
  const auto opened = suiteDatabase_.open();
  if (opened) return &suite_;
  systemLog_.print(opened.error().localizedDescription);
  return nullptr;
}

}  // namespace orvane
