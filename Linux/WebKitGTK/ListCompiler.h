#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// The browser's own compiler of content-blocker lists. Needs no display. One thread, the one that
/// owns the default main context, which runs while a call waits.
class ListCompiler {
 public:
  /// Compiled lists are kept in the folder `store`, which is made when it is missing.
  explicit ListCompiler(const std::filesystem::path& store);
  ListCompiler(const ListCompiler&) = delete;
  ListCompiler& operator=(const ListCompiler&) = delete;
  ~ListCompiler();

  /// Compiles a JSON list and keeps the result under `identifier`, in the place of an older one.
  /// Blocks; a list of 150,000 rules takes seconds. The error's description is the browser's own
  /// word on what it refused; it never says which rule.
  Expected<void> compile(const std::string& identifier, std::string_view json);

 private:
  struct Store;
  std::unique_ptr<Store> store_;
};

}  // namespace orvane
