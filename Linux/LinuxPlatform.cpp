#include "Linux/LinuxPlatform.h"

#include "Linux/GLib/UUID.h"
#include "Linux/Posix/ProgramFolder.h"

namespace orvane {

LinuxPlatform::LinuxPlatform(int standardOutput)
    : directories_(XDGDirectories::ofThisProcess()),
      fileManager_(fileSystem_, directories_.userDirectories()),
      mainBundle_(fileManager_, programFolder().parent_path() / "share" / "orvane"),
      urlLoader_(URLLoader::Limits{}),
      makeUUID_(randomUUID),
      standardOutput_(standardOutput),
      platform_{fileManager_, mainBundle_,     notificationCenter_, urlLoader_,
                makeUUID_,    standardOutput_, systemLog_} {}

}  // namespace orvane
