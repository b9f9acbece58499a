# Writes OUTPUT, which defines siteFiles as the files below the folder SITE.
file(GLOB_RECURSE files RELATIVE ${SITE} ${SITE}/*)
list(SORT files)
set(entries "")
foreach(file IN LISTS files)
  file(READ ${SITE}/${file} content)
  string(FIND ${file} "/" slash)
  string(SUBSTRING ${file} 0 ${slash} host)
  string(SUBSTRING ${file} ${slash} -1 path)
  string(APPEND entries "    {\"${host}\", \"${path}\", R\"file(${content})file\"},\n")
endforeach()
file(WRITE ${OUTPUT}
"#include \"Apps/Demonstration/SiteFiles.h\"

namespace orvane {
namespace {

constexpr SiteFile files[] = {
${entries}};

}  // namespace

const std::span<const SiteFile> siteFiles(files);

}  // namespace orvane
")
