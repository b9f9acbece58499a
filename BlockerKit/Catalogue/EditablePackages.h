#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "BlockerKit/Catalogue/Catalogue.h"

namespace orvane {

/// A list of packages that is edited by its owner and shared with readers of other threads: what
/// has been shared is copied before the next edit, so a run of edits costs one copy at the most.
class EditablePackages {
 public:
  EditablePackages() = default;
  explicit EditablePackages(std::vector<Package> packages)
      : packages_(std::make_shared<std::vector<Package>>(std::move(packages))) {}
  EditablePackages(const EditablePackages&) = delete;
  EditablePackages& operator=(const EditablePackages&) = delete;
  EditablePackages(EditablePackages&&) noexcept = default;
  EditablePackages& operator=(EditablePackages&&) noexcept = default;
  ~EditablePackages() = default;

  /// Whether there is a list at all; the other operations want one.
  explicit operator bool() const { return packages_ != nullptr; }

  const std::vector<Package>& get() const { return *packages_; }

  std::vector<Package>& edit() {
    if (std::exchange(isShared_, false)) {
      packages_ = std::make_shared<std::vector<Package>>(*packages_);
    }
    return *packages_;
  }

  SharedPackages share() {
    isShared_ = true;
    return packages_;
  }

 private:
  std::shared_ptr<std::vector<Package>> packages_;
  bool isShared_ = false;
};

}  // namespace orvane
