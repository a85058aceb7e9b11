#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace tilvanego::test {

/// A server that agrees to HTTP/2 over TLS on a free port of 127.0.0.1, and refuses every stream
/// (REFUSED_STREAM) without having looked at its request. Ends with its clients' connections.
class RefusingHTTP2Server {
 public:
  /// The certificate's key lies beside it, with the extension ".key".
  explicit RefusingHTTP2Server(const std::filesystem::path& certificate);
  RefusingHTTP2Server(const RefusingHTTP2Server&) = delete;
  RefusingHTTP2Server& operator=(const RefusingHTTP2Server&) = delete;
  ~RefusingHTTP2Server();

  [[nodiscard]] std::string url() const;
  /// How many streams were refused so far.
  [[nodiscard]] int refusals() const;

 private:
  class Loop;
  std::unique_ptr<Loop> loop_;
};

}  // namespace tilvanego::test
