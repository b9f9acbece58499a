#include "Tests/Linux/PostgreSQL/PrivateCluster.h"

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <arpa/inet.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <libpq-fe.h>
#include <poll.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Tests/Linux/PostgreSQL/SelfSignedCertificate.h"

namespace orvane::test {
namespace {

const std::filesystem::path programs = ORVANE_POSTGRESQL_PROGRAMS;
const std::filesystem::path cache = ORVANE_POSTGRESQL_CACHE;

using Command = std::vector<std::string>;

/// The user that a server started by root runs as; null when this is not root.
const passwd* serverUser() {
  if (::geteuid() != 0) return nullptr;
  const auto* user = ::getpwnam("postgres");
  if (user == nullptr) throw std::runtime_error("There is no user 'postgres'");
  return user;
}

/// A process that ends when this one does.
pid_t launch(const Command& command, const std::filesystem::path& log) {
  Command whole{"setpriv", "--pdeathsig", "QUIT"};
  if (const auto* user = serverUser()) {
    whole.insert(whole.end(), {fmt::format("--reuid={}", user->pw_uid),
                               fmt::format("--regid={}", user->pw_gid), "--clear-groups"});
  }
  whole.insert(whole.end(), {"env", "-i", "PATH=/usr/bin:/bin", "LC_ALL=C.UTF-8"});
  whole.insert(whole.end(), command.begin(), command.end());
  std::vector<char*> arguments;
  for (auto& argument : whole) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  const pid_t process = ::fork();
  if (process == 0) {
    const int output = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, S_IRUSR | S_IWUSR);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    ::execvp(arguments[0], arguments.data());
    ::_exit(127);
  }
  return process;
}

void giveToServerUser(const std::filesystem::path& path) {
  const auto* user = serverUser();
  if (user == nullptr) return;
  const auto give = [&](const std::filesystem::path& one) {
    if (::lchown(one.c_str(), user->pw_uid, user->pw_gid) != 0) {
      throw std::runtime_error("Cannot give " + one.string() + " to the server");
    }
  };
  give(path);
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) give(entry.path());
}

void makeDataFolder(const std::filesystem::path& folder) {
  const auto data = folder / "data";
  const auto process = launch({programs / "initdb", "-D", data, "-U", "postgres", "-A", "trust",
                               "-E", "UTF8", "--locale=C.UTF-8", "--no-sync", "--wal-segsize=1"},
                              folder / "log");
  int status = 0;
  if (::waitpid(process, &status, 0) != process || status != 0) {
    throw std::runtime_error("initdb failed");
  }
  std::ofstream(data / "pg_hba.conf") << "local all guarded scram-sha-256\nlocal all all trust\n";
}

/// One data folder is made for all tests and copied for each.
void copyDataFolder(const std::filesystem::path& folder) {
  std::filesystem::create_directories(cache.parent_path());
  const int lock = ::open((cache.string() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ::flock(lock, LOCK_EX);
  if (!std::filesystem::exists(cache)) {
    makeDataFolder(folder);
    const auto unfinished = cache.string() + ".new";
    std::filesystem::remove_all(unfinished);
    std::filesystem::copy(folder / "data", unfinished, std::filesystem::copy_options::recursive);
    std::filesystem::rename(unfinished, cache);
    std::filesystem::remove_all(folder / "data");
  }
  ::close(lock);
  std::filesystem::copy(cache, folder / "data", std::filesystem::copy_options::recursive);
  // A copied folder has the mode that new folders get.
  std::filesystem::permissions(folder / "data", std::filesystem::perms::owner_all);
}

/// A socket at a free port of this machine that does not listen. As long as it is there the system
/// gives the port to nobody else; but a server that asks for this very port may listen at it.
FileDescriptor reservePort() {
  FileDescriptor held(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int yes = 1;
  ::setsockopt(held.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
  if (::bind(held.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("There is no free port");
  }
  return held;
}

int portOf(const FileDescriptor& held) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  ::getsockname(held.get(), reinterpret_cast<sockaddr*>(&address), &size);
  return ::ntohs(address.sin_port);
}

std::filesystem::path parentFolder() {
  constexpr std::uintmax_t enough = std::uintmax_t{1} << 30U;
  const std::filesystem::path inMemory = "/dev/shm";
  std::error_code error;
  const auto space = std::filesystem::space(inMemory, error);
  const bool isUsable =
      !error && space.available >= enough && ::access(inMemory.c_str(), W_OK) == 0;
  return isUsable ? inMemory : std::filesystem::temp_directory_path();
}

void waitAMoment() { ::poll(nullptr, 0, 2); }

}  // namespace

PrivateCluster::PrivateCluster(Network network) : folder_(parentFolder()), network_(network) {
  // The server's processes come to this one when it is killed, so that their end can be awaited.
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  giveToServerUser(folder_.path());
  copyDataFolder(folder_.path());
  if (network_ != Network::none) prepareNetwork();
  giveToServerUser(folder_.path());
  start();
  waitUntilReady();
}

PrivateCluster::~PrivateCluster() {
  if (server_ <= 0) return;
  // Unlike a kill, this leaves none of the system's shared memory behind.
  thaw();
  ::kill(server_, SIGQUIT);
  ::waitpid(server_, nullptr, 0);
}

std::string PrivateCluster::connectionString(const std::string& role, const std::string& database,
                                             const std::string& more) const {
  return fmt::format("host={} port={} user={} dbname={} {}", folder_.path().string(), port_, role,
                     database, more);
}

std::string PrivateCluster::networkAddress(const std::string& role, const std::string& more) const {
  // With both, nobody looks the name up.
  return fmt::format("host=localhost hostaddr=127.0.0.1 port={} user={} dbname=postgres {}", port_,
                     role, more);
}

void PrivateCluster::prepareNetwork() {
  reservation_ = reservePort();
  port_ = portOf(reservation_);
  std::ofstream(folder_ / "data" / "pg_hba.conf", std::ios::app)
      << "host all guarded samehost scram-sha-256\nhost all all samehost trust\n";
  if (network_ == Network::encrypted) makeSelfSignedCertificate(folder_.path(), "server");
}

std::vector<std::string> PrivateCluster::serverCommand() const {
  std::vector<std::string> settings{"fsync=off",
                                    "shared_buffers=16MB",
                                    "max_connections=40",
                                    "dynamic_shared_memory_type=mmap",
                                    "superuser_reserved_connections=3",
                                    "log_min_messages=fatal",
                                    fmt::format("port={}", port_)};
  settings.emplace_back(network_ == Network::none ? "listen_addresses="
                                                  : "listen_addresses=127.0.0.1");
  if (network_ == Network::encrypted) {
    settings.insert(settings.end(), {"ssl=on", "ssl_cert_file=" + (folder_ / "server.crt").string(),
                                     "ssl_key_file=" + (folder_ / "server.key").string()});
  }
  Command command{programs / "postgres", "-D", folder_ / "data", "-k", folder_.path()};
  for (const auto& setting : settings) command.insert(command.end(), {"-c", setting});
  return command;
}

void PrivateCluster::start() { server_ = launch(serverCommand(), folder_ / "log"); }

void PrivateCluster::waitUntilReady() const {
  while (PQping(connectionString("postgres", "postgres").c_str()) != PQPING_OK) {
    int status = 0;
    if (::waitpid(server_, &status, WNOHANG) == server_) {
      std::ifstream log(folder_ / "log");
      throw std::runtime_error("The server has ended: " +
                               std::string(std::istreambuf_iterator<char>(log), {}));
    }
    waitAMoment();
  }
}

std::vector<pid_t> PrivateCluster::workers() const {
  std::vector<pid_t> found;
  std::ifstream children(fmt::format("/proc/{0}/task/{0}/children", server_));
  for (pid_t child = 0; children >> child;) found.push_back(child);
  return found;
}

void PrivateCluster::signalAll(int signal) const {
  for (const auto worker : workers()) ::kill(worker, signal);
}

void PrivateCluster::kill() {
  if (server_ <= 0) return;
  // Stopped, so that it starts no others.
  ::kill(server_, SIGSTOP);
  const auto children = workers();
  for (const auto child : children) ::kill(child, SIGKILL);
  ::kill(server_, SIGKILL);
  ::waitpid(server_, nullptr, 0);
  server_ = -1;
  for (const auto child : children) ::waitpid(child, nullptr, 0);
}

void PrivateCluster::shutDown() const {
  ::kill(server_, SIGTERM);
  while (PQping(connectionString("postgres").c_str()) != PQPING_REJECT) waitAMoment();
}

void PrivateCluster::freeze() {
  ::kill(server_, SIGSTOP);
  signalAll(SIGSTOP);
}

void PrivateCluster::thaw() {
  signalAll(SIGCONT);
  ::kill(server_, SIGCONT);
}

}  // namespace orvane::test
