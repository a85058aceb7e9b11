#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "tests/support/LoopbackSocket.h"
#include "tests/support/TemporaryDirectory.h"

namespace tilvanego::test {

/// An nginx of the test's own on free ports of 127.0.0.1, with its files in a temporary directory. It answers
/// when it is made and has ended when this goes. Every response has the header fields "X-Protocol", the
/// version of HTTP; "X-Connection", the number of the connection; and "X-Seen", the request's field of that
/// name.
///
/// | path | response |
/// |---|---|
/// | /hello | 200 "hello\n" |
/// | /status/N | status N, of `statuses()`, with nginx's own page where it has one |
/// | /files/NAME | the file of that name in `files()` |
/// | /zipped/NAME | the same, compressed if the client accepts gzip |
/// | /store/NAME | PUT writes the body to `files()`, DELETE removes it |
/// | /sink | 204, whatever the body |
/// | /private/NAME | as /files/, for the user "till" with the password "s3cret pass" (Basic) |
class NginxServer {
 public:
  NginxServer();
  NginxServer(const NginxServer&) = delete;
  NginxServer& operator=(const NginxServer&) = delete;
  ~NginxServer();

  [[nodiscard]] pid_t process() const { return process_; }
  [[nodiscard]] const std::filesystem::path& files() const { return files_; }
  [[nodiscard]] static const std::vector<int>& statuses();
  /// The certificate to trust for `secureURL`, in PEM.
  [[nodiscard]] std::filesystem::path certificate() const;

  /// Each takes a path, which starts with "/". The secure ones speak HTTP/2 where the client does too.
  [[nodiscard]] std::string url(std::string_view path) const;
  [[nodiscard]] std::string secureURL(std::string_view path, std::string_view host = "127.0.0.1") const;
  /// The same without HTTP/2.
  [[nodiscard]] std::string oldSecureURL(std::string_view path) const;
  /// The certificate here is `otherCertificate()` and names the host "elsewhere.test" alone.
  [[nodiscard]] std::string otherSecureURL(std::string_view path) const;
  [[nodiscard]] std::filesystem::path otherCertificate() const;

 private:
  void makeCertificate(std::string_view name, std::string_view alternativeNames) const;
  [[nodiscard]] std::string configuration() const;
  void start();

  TemporaryDirectory directory_;
  std::filesystem::path files_;
  // Bound beside nginx, so that no one else gets the port.
  FileDescriptor plain_;
  FileDescriptor secure_;
  FileDescriptor oldSecure_;
  FileDescriptor otherSecure_;
  pid_t process_ = -1;
};

}  // namespace tilvanego::test
