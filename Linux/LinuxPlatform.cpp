#include "Linux/LinuxPlatform.h"

#include <memory>

#include "Linux/GLib/UUID.h"
#include "Linux/Posix/ProgramFolder.h"
#include "Platform/Foundation/ThreadExecutor.h"

namespace orvane {
namespace {

std::filesystem::path below(const std::optional<std::filesystem::path>& folder,
                            const std::filesystem::path& path) {
  return folder ? *folder / path : std::filesystem::path();
}

}  // namespace

LinuxPlatform::LinuxPlatform(std::string_view applicationGroup, int standardOutput,
                             LineOutput& systemLog)
    : applicationGroup_(applicationGroup),
      directories_(XDGDirectories::ofThisProcess()),
      container_(below(directories_.userDirectories().groupContainers, applicationGroup)),
      browserSettings_(below(directories_.config, "orvane/browser.ini")),
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
                workspace_} {}

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
