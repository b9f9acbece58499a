#pragma once

#include <filesystem>
#include <string>

namespace orvane::test {

/// Makes the files `name`.crt and `name`.key in the folder: a certificate for `localhost`, which is
/// its own root, and its key, which is its owner's alone to read.
void makeSelfSignedCertificate(const std::filesystem::path& folder, const std::string& name);

}  // namespace orvane::test
