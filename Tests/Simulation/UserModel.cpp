#include "Tests/Simulation/UserModel.h"

#include <algorithm>

#include "BlockerKit/SyncManager/RecordField.h"

namespace orvane::test {
namespace {

bool contains(const std::vector<UserModel::Version>& versions, const UserModel::Version& version) {
  return std::ranges::find(versions, version) != versions.end();
}

std::optional<PropertyListValue> fieldOf(const UserModel::Version& version,
                                         const std::string& key) {
  const auto found = version.find(key);
  return found == version.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace

void UserModel::saved(const std::string& machine, const std::string& id, const Version& version,
                      Answer answer) {
  auto& item = items_[id];
  item.all.push_back(version);
  if (answer == Answer::acknowledged) {
    item.last[machine] = version;
  } else {
    item.doubtful.push_back(version);
  }
}

void UserModel::deleted(const std::string& machine, const std::string& id, Answer answer) {
  auto& item = items_[id];
  item.wasDeleted = true;
  if (answer == Answer::acknowledged) item.last[machine] = std::nullopt;
}

std::vector<std::string> UserModel::ids() const {
  std::vector<std::string> ids;
  for (const auto& [id, item] : items_) ids.push_back(id);
  return ids;
}

bool UserModel::wasDeleted(const std::string& id) const {
  const auto found = items_.find(id);
  return found != items_.end() && found->second.wasDeleted;
}

std::vector<std::string> UserModel::deletedIDs() const {
  std::vector<std::string> ids;
  for (const auto& [id, item] : items_) {
    if (item.wasDeleted) ids.push_back(id);
  }
  return ids;
}

bool UserModel::isMixed(const std::string& id) const {
  const auto found = items_.find(id);
  return found != items_.end() && found->second.isMixed;
}

std::optional<std::string> UserModel::packageOf(const std::string& id) const {
  const auto found = items_.find(id);
  if (found == items_.end() || found->second.all.empty()) return std::nullopt;
  const auto package = fieldOf(found->second.all.front(), RecordField::package);
  const auto* name = package ? package->as<std::string>() : nullptr;
  return name == nullptr ? std::nullopt : std::optional(*name);
}

bool UserModel::isMixtureOf(const std::vector<Version>& versions, const Version& found) {
  std::set<std::string> keys;
  for (const auto& version : versions) {
    for (const auto& [key, value] : version) keys.insert(key);
  }
  for (const auto& [key, value] : found) keys.insert(key);
  return std::ranges::all_of(keys, [&](const std::string& key) {
    return std::ranges::any_of(versions, [&](const Version& version) {
      return fieldOf(version, key) == fieldOf(found, key);
    });
  });
}

std::optional<std::string> UserModel::objectionTo(const std::string& id,
                                                  const std::optional<Version>& found) const {
  const auto place = items_.find(id);
  if (place == items_.end()) return found ? std::optional(id + " was never made") : std::nullopt;
  const auto& item = place->second;
  if (!found) {
    const bool mayBeAbsent = item.wasDeleted || item.last.empty();
    return mayBeAbsent ? std::nullopt : std::optional(id + " is lost");
  }
  auto candidates = item.doubtful;
  for (const auto& [machine, version] : item.last) {
    if (version) candidates.push_back(*version);
  }
  if (candidates.empty()) return id + " was deleted and is back";
  if (contains(candidates, *found)) return std::nullopt;
  if (item.isMixed && isMixtureOf(item.all, *found)) return std::nullopt;
  return id + " is not as any machine has last saved it";
}

}  // namespace orvane::test
