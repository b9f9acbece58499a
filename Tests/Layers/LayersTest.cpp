#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {
namespace {

using ::testing::IsEmpty;
using ::testing::Not;

struct Include {
  std::string file;  ///< relative to the project
  std::string header;
  bool isOurs;
};

const std::filesystem::path project = ORVANE_SOURCE_DIR;
const std::vector<std::string> layers{"Platform", "BlockerKit", "SafariExtension",
                                      "Process",  "Linux",      "Apps"};

std::vector<Include> includesOf(const std::filesystem::path& path) {
  static const std::regex line(R"re(^\s*#\s*include\s*(["<])([^">]+)[">])re");
  std::vector<Include> includes;
  std::ifstream stream(path);
  for (std::string text; std::getline(stream, text);) {
    std::smatch match;
    if (!std::regex_search(text, match, line)) continue;
    includes.push_back({path.lexically_relative(project).string(), match[2], match[1] == "\""});
  }
  return includes;
}

/// All includes of the product, tests apart.
std::vector<Include> productIncludes() {
  std::vector<Include> includes;
  for (const auto& layer : layers) {
    if (!std::filesystem::exists(project / layer)) continue;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(project / layer)) {
      const auto extension = entry.path().extension();
      if (extension != ".h" && extension != ".cpp") continue;
      const auto found = includesOf(entry.path());
      includes.insert(includes.end(), found.begin(), found.end());
    }
  }
  return includes;
}

/// "BlockerKit/JSON" of "BlockerKit/JSON/JSONText.h".
std::string folderOf(const std::string& file, std::ptrdiff_t depth) {
  std::filesystem::path folder;
  const std::filesystem::path path(file);
  auto part = path.begin();
  for (; depth > 0 && std::next(part) != path.end(); --depth, ++part) folder /= *part;
  return folder.string();
}

/// The includes that go from a folder to one that is not among those it may use. In a deeper map a
/// folder of another layer is not looked at, but a folder of the same layer must be in it.
std::vector<std::string> violations(const std::map<std::string, std::set<std::string>>& mayUse,
                                    std::ptrdiff_t depth) {
  std::vector<std::string> found;
  for (const auto& include : productIncludes()) {
    const auto from = mayUse.find(folderOf(include.file, depth));
    if (!include.isOurs || include.header.find('/') == std::string::npos) continue;
    if (from == mayUse.end()) {
      if (depth == 1 || folderOf(include.file, 1) == folderOf(mayUse.begin()->first, 1)) {
        found.push_back(include.file + " is in a folder that no rule is about");
      }
      continue;
    }
    const auto to = folderOf(include.header, depth);
    const bool isConcerned = depth == 1 || folderOf(to, 1) == folderOf(from->first, 1);
    if (isConcerned && to != from->first && !from->second.contains(to)) {
      found.push_back(include.file + " includes " + include.header);
    }
  }
  return found;
}

TEST(Layers, includesAreFound) {
  EXPECT_THAT(productIncludes(), Not(IsEmpty()));
  EXPECT_THAT(violations({{"BlockerKit", {}}, {"Platform", {}}}, 1), Not(IsEmpty()))
      << "the check itself must be able to fail";
}

TEST(Layers, dependOnlyOnTheLayersBelow) {
  EXPECT_THAT(
      violations({{"Platform", {}},
                  {"Linux", {"Platform"}},
                  {"BlockerKit", {"Platform"}},
                  {"SafariExtension", {"Platform", "BlockerKit"}},
                  {"Process", {"Platform", "BlockerKit", "SafariExtension"}},
                  {"Apps", {"Platform", "Linux", "BlockerKit", "SafariExtension", "Process"}}},
                 1),
      IsEmpty());
}

TEST(Layers, foldersOfBlockerKitDependOnlyOnTheFoldersBelow) {
  const std::string model = "BlockerKit/Model";
  const std::string json = "BlockerKit/JSON";
  const std::string store = "BlockerKit/PersistentStore";
  const std::string catalogue = "BlockerKit/Catalogue";
  EXPECT_THAT(violations({{model, {}},
                          {json, {model}},
                          {"BlockerKit/Lint", {model, json, "BlockerKit/Support"}},
                          {"BlockerKit/Support", {}},
                          {store, {model, json, "BlockerKit/Support"}},
                          {catalogue, {model, json, store, "BlockerKit/Support"}},
                          {"BlockerKit/SyncManager",
                           {model, json, store, catalogue, "BlockerKit/Support"}}},
                         2),
              IsEmpty());
}

TEST(Layers, productKnowsNoBrowserNoWindowAndNoDatabase) {
  const std::regex foreign("^(gtk|gtkmm|gdk|webkit|jsc|sqlite3|libpq|glib|gio|libsoup|cairo).*");
  std::vector<std::string> found;
  for (const auto& include : productIncludes()) {
    const auto layer = folderOf(include.file, 1);
    if (layer == "Linux" || layer == "Apps") continue;
    if (std::regex_match(include.header, foreign)) found.push_back(include.file);
  }
  EXPECT_THAT(found, IsEmpty());
}

TEST(Layers, everyPlatformHeaderHasACallerInTheProduct) {
  std::set<std::string> unused;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(project / "Platform")) {
    if (entry.path().extension() != ".h") continue;
    unused.insert(entry.path().lexically_relative(project).string());
  }
  EXPECT_THAT(unused, Not(IsEmpty()));
  // A header that only a header of Platform includes is used by whoever uses that one.
  for (const auto& include : productIncludes()) {
    const auto own = std::filesystem::path(include.file).replace_extension(".h").string();
    if (include.header != own) unused.erase(include.header);
  }
  EXPECT_THAT(unused, IsEmpty());
}

}  // namespace
}  // namespace orvane::test
