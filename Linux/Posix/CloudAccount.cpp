#include "Linux/Posix/CloudAccount.h"

#include <cerrno>
#include <sstream>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include "Linux/Posix/FileDescriptor.h"
#include "Linux/Posix/PosixError.h"

namespace orvane {
namespace {

/// Far more than an address has.
constexpr std::size_t mostBytes = 65'536;

std::string trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const auto start = text.find_first_not_of(blanks);
  if (start == std::string_view::npos) return "";
  return std::string(text.substr(start, text.find_last_not_of(blanks) - start + 1));
}

Expected<std::string> privateContents(const std::filesystem::path& path) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file) return tl::unexpected(posixError("open", path));
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return tl::unexpected(posixError("examine", path));
  if (!S_ISREG(status.st_mode)) {
    return tl::unexpected(
        NSError{NSPOSIXErrorDomain, EINVAL, fmt::format("'{}' is not a file.", path.string())});
  }
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    return tl::unexpected(NSError{
        NSPOSIXErrorDomain, EPERM,
        fmt::format("'{}' can be read or written by others; 'chmod 600 {}' makes it yours alone.",
                    path.string(), path.string())});
  }
  std::string contents(mostBytes, '\0');
  const auto count = ::read(file.get(), contents.data(), contents.size());
  if (count < 0) return tl::unexpected(posixError("read", path));
  contents.resize(static_cast<std::size_t>(count));
  return contents;
}

std::string firstEntry(const std::string& contents) {
  std::istringstream lines(contents);
  for (std::string line; std::getline(lines, line);) {
    auto entry = trimmed(line);
    if (!entry.empty() && entry.front() != '#') return entry;
  }
  return "";
}

}  // namespace

Expected<CloudAccount> CloudAccount::read(const char* environment,
                                          const std::optional<std::filesystem::path>& file) {
  CloudAccount account;
  if (auto text = trimmed(environment == nullptr ? "" : environment); !text.empty()) {
    account.address = addressOf(text);
    return account;
  }
  if (!file) return account;
  std::error_code problem;
  if (!std::filesystem::exists(*file, problem) && !problem) return account;
  const auto contents = privateContents(*file);
  if (!contents) return tl::unexpected(contents.error());
  const auto entry = firstEntry(*contents);
  if (entry.empty()) return account;
  account.address = addressOf(entry);
  account.file = *file;
  return account;
}

std::string CloudAccount::addressOf(const std::string& text) {
  const bool isWord = text.find_first_of("=:/ ") == std::string::npos;
  return isWord ? "service=" + text : text;
}

std::optional<std::filesystem::path> CloudAccount::defaultFile(
    const std::optional<std::filesystem::path>& configurationFolder) {
  if (!configurationFolder) return std::nullopt;
  return *configurationFolder / "orvane" / "cloud";
}

}  // namespace orvane
