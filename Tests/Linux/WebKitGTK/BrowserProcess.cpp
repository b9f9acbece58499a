#include "Tests/Linux/WebKitGTK/BrowserProcess.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Linux/WebKitGTK/ListCompiler.h"

namespace orvane {
namespace {

bool sendAll(int socket, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t sent = ::send(socket, data, size, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    data += sent;
    size -= static_cast<std::size_t>(sent);
  }
  return true;
}

bool receiveAll(int socket, char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t received = ::recv(socket, data, size, 0);
    if (received <= 0) return false;
    data += received;
    size -= static_cast<std::size_t>(received);
  }
  return true;
}

bool sendText(int socket, std::string_view text) {
  const std::uint64_t size = text.size();
  return sendAll(socket, reinterpret_cast<const char*>(&size), sizeof size) &&
         sendAll(socket, text.data(), text.size());
}

std::optional<std::string> receiveText(int socket) {
  std::uint64_t size = 0;
  if (!receiveAll(socket, reinterpret_cast<char*>(&size), sizeof size)) return std::nullopt;
  std::string text(size, '\0');
  if (!receiveAll(socket, text.data(), text.size())) return std::nullopt;
  return text;
}

[[noreturn]] void serve(int socket, const std::filesystem::path& store) {
  // The browser writes a line about every list that it refuses.
  const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  ::dup2(null, STDERR_FILENO);
  ListCompiler compiler(store);
  while (const auto list = receiveText(socket)) {
    const auto result = compiler.compile("list", *list);
    if (!sendText(socket, result ? "" : result.error().localizedDescription)) break;
  }
  ::_exit(0);
}

}  // namespace

BrowserProcess::BrowserProcess(std::filesystem::path store) : store_(std::move(store)) { start(); }

BrowserProcess::~BrowserProcess() { stop(); }

void BrowserProcess::start() {
  int sockets[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
    throw std::runtime_error("socketpair");
  }
  process_ = ::fork();
  if (process_ < 0) throw std::runtime_error("fork");
  if (process_ == 0) {
    ::close(sockets[0]);
    serve(sockets[1], store_);
  }
  ::close(sockets[1]);
  socket_ = sockets[0];
}

void BrowserProcess::stop() {
  ::close(socket_);
  ::waitpid(process_, nullptr, 0);
}

std::string BrowserProcess::compile(std::string_view list) {
  if (sendText(socket_, list)) {
    if (auto answer = receiveText(socket_)) return std::move(*answer);
  }
  stop();
  start();
  return "crash";
}

}  // namespace orvane
