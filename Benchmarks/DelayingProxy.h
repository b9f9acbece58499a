#pragma once

#include <chrono>
#include <list>
#include <memory>
#include <thread>

#include "Linux/Posix/FileDescriptor.h"

namespace orvane::benchmarks {

/// A port of this machine that leads to another one. Every byte arrives that much later, in both
/// directions, however many are under way.
class DelayingProxy {
 public:
  DelayingProxy(int serverPort, std::chrono::milliseconds delay);
  DelayingProxy(const DelayingProxy&) = delete;
  DelayingProxy& operator=(const DelayingProxy&) = delete;
  /// Closes all connections.
  ~DelayingProxy();

  int port() const { return port_; }

 private:
  class Connection;

  void accept();

  const int serverPort_;
  const std::chrono::milliseconds delay_;
  FileDescriptor listening_;
  int port_ = 0;
  std::list<std::unique_ptr<Connection>> connections_;  ///< of the thread until it has ended
  std::thread thread_;
};

}  // namespace orvane::benchmarks
