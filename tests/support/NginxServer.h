#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "tests/support/LoopbackSocket.h"
#include "tests/support/TemporaryDirectory.h"

namespace tilvanego::test {

/// Further servers of TLS, which speak HTTP/2 too, with certificates of their own.
struct MoreServers {
  /// What a shell runs in the server's directory before: "here.pem" and "here.key" are there.
  std::string commands{};
  /// The directives of each.
  std::vector<std::string> servers{};
};

/// An nginx of the test's own on free ports of 127.0.0.1, with its files in a temporary directory. It answers
/// when it is made and has ended when this goes. Every response has the header fields "X-Protocol", the
/// version of HTTP, and "X-Connection", the number of the connection.
///
/// | path | response |
/// |---|---|
/// | /hello | 200 "hello\n" |
/// | /files/NAME | the file of that name in `files()` |
/// | /zipped/NAME | the same, compressed if the client accepts gzip |
/// | /store/NAME | PUT writes the body to `files()` |
/// | /sink | 204, whatever the body |
/// | /to/PORT/PATH | that of the plain server on that port, byte by byte as it comes |
/// | /private/NAME | as /files/, for the user "till" with the password "s3cret pass" (Basic) |
class NginxServer {
 public:
  explicit NginxServer(const MoreServers& more = {});
  NginxServer(const NginxServer&) = delete;
  NginxServer& operator=(const NginxServer&) = delete;
  ~NginxServer();

  [[nodiscard]] std::filesystem::path directory() const { return directory_.path(); }
  [[nodiscard]] std::filesystem::path files() const { return directory() / "files"; }
  /// To trust for the secure URLs, in PEM; its key lies beside it, as "here.key". It names 127.0.0.1 alone.
  [[nodiscard]] std::filesystem::path certificate() const { return directory_.path() / "here.pem"; }

  /// Each takes a path, which starts with "/".
  [[nodiscard]] std::string url(std::string_view path) const;
  /// Speaks HTTP/2 where the client does too.
  [[nodiscard]] std::string secureURL(std::string_view path, std::string_view host = "127.0.0.1") const;
  /// The same without HTTP/2.
  [[nodiscard]] std::string oldSecureURL(std::string_view path) const;
  /// That of one of `MoreServers::servers`.
  [[nodiscard]] std::string moreURL(std::size_t index, std::string_view path) const;

 private:
  TemporaryDirectory directory_;
  // Bound beside nginx, so that no one else gets the port.
  FileDescriptor plain_ = heldPort();
  FileDescriptor secure_ = heldPort();
  FileDescriptor oldSecure_ = heldPort();
  std::vector<FileDescriptor> more_;
  pid_t process_ = -1;
};

}  // namespace tilvanego::test
