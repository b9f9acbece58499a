#include "Benchmarks/DelayingProxy.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <queue>
#include <string>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "Benchmarks/Check.h"

namespace orvane::benchmarks {
namespace {

using Clock = std::chrono::steady_clock;

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
  address.sin_port = ::htons(static_cast<in_port_t>(port));
  return address;
}

FileDescriptor makeSocket() {
  FileDescriptor made(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  check(static_cast<bool>(made), "There is no socket");
  return made;
}

FileDescriptor connectTo(int port) {
  auto made = makeSocket();
  const auto address = loopback(port);
  check(::connect(made.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
        "Cannot connect to the server");
  return made;
}

/// Otherwise the system would wait on its own for more bytes to send with the last ones.
void sendAtOnce(const FileDescriptor& socket) {
  const int yes = 1;
  ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
}

bool sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

/// One direction of a connection. Whatever can be read is read at once, so that nobody has to wait
/// for the bytes that are under way.
class DelayedDirection {
 public:
  DelayedDirection(int from, int to, std::chrono::milliseconds delay)
      : from_(from), to_(to), delay_(delay) {}
  DelayedDirection(const DelayedDirection&) = delete;
  DelayedDirection& operator=(const DelayedDirection&) = delete;
  ~DelayedDirection() {
    reader_.join();
    writer_.join();
  }

 private:
  struct Chunk {
    Clock::time_point due;
    std::string bytes;  ///< none at the end
  };

  void read() {
    constexpr std::size_t most = std::size_t{256} << 10U;
    std::string buffer(most, '\0');
    ssize_t count = 0;
    do {
      count = ::recv(from_, buffer.data(), buffer.size(), 0);
      Chunk chunk{Clock::now() + delay_,
                  buffer.substr(0, static_cast<std::size_t>(std::max<ssize_t>(count, 0)))};
      const std::lock_guard lock(mutex_);
      chunks_.push(std::move(chunk));
      hasChunk_.notify_one();
    } while (count > 0);
  }

  Chunk next() {
    std::unique_lock lock(mutex_);
    hasChunk_.wait(lock, [&] { return !chunks_.empty(); });
    auto chunk = std::move(chunks_.front());
    chunks_.pop();
    return chunk;
  }

  void write() {
    for (auto chunk = next(); !chunk.bytes.empty(); chunk = next()) {
      std::this_thread::sleep_until(chunk.due);
      if (!sendAll(to_, chunk.bytes)) break;
    }
    ::shutdown(to_, SHUT_WR);
  }

  const int from_;
  const int to_;
  const std::chrono::milliseconds delay_;
  std::mutex mutex_;
  std::condition_variable hasChunk_;
  std::queue<Chunk> chunks_;
  std::thread reader_{[this] { read(); }};
  std::thread writer_{[this] { write(); }};
};

}  // namespace

class DelayingProxy::Connection {
 public:
  Connection(FileDescriptor client, FileDescriptor server, std::chrono::milliseconds delay)
      : client_(std::move(client)),
        server_(std::move(server)),
        there_(client_.get(), server_.get(), delay),
        back_(server_.get(), client_.get(), delay) {}
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() {
    for (const auto* socket : {&client_, &server_}) ::shutdown(socket->get(), SHUT_RDWR);
  }

 private:
  FileDescriptor client_;
  FileDescriptor server_;
  DelayedDirection there_;
  DelayedDirection back_;
};

DelayingProxy::DelayingProxy(int serverPort, std::chrono::milliseconds delay)
    : serverPort_(serverPort), delay_(delay), listening_(makeSocket()) {
  auto address = loopback(0);
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  check(::bind(listening_.get(), generic, size) == 0 &&
            ::listen(listening_.get(), SOMAXCONN) == 0 &&
            ::getsockname(listening_.get(), generic, &size) == 0,
        "Cannot listen");
  port_ = ::ntohs(address.sin_port);
  thread_ = std::thread([this] { accept(); });
}

DelayingProxy::~DelayingProxy() {
  ::shutdown(listening_.get(), SHUT_RDWR);
  thread_.join();
}

void DelayingProxy::accept() {
  while (true) {
    FileDescriptor client(::accept4(listening_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!client) return;
    auto server = connectTo(serverPort_);
    sendAtOnce(client);
    sendAtOnce(server);
    connections_.push_back(
        std::make_unique<Connection>(std::move(client), std::move(server), delay_));
  }
}

}  // namespace orvane::benchmarks
