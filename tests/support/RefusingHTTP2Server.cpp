#include "tests/support/RefusingHTTP2Server.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <vector>

#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>

#include "tests/support/LoopbackSocket.h"

namespace tilvanego::test {
namespace {

constexpr std::string_view preface = "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n";
constexpr std::size_t frameHeadSize = 9;
enum Frame : std::uint8_t { headers = 1, resetStream = 3, settings = 4 };
constexpr char acknowledgement = 1;

int chooseHTTP2(SSL*, const unsigned char** chosen, unsigned char* size, const unsigned char*, unsigned,
                void*) {
  static constexpr unsigned char name[] = {'h', '2'};
  *chosen = name;
  *size = sizeof name;
  return SSL_TLSEXT_ERR_OK;
}

struct Deleter {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  void operator()(SSL* connection) const { SSL_free(connection); }
};

std::string frame(Frame type, char flags, std::string_view stream, std::string_view content) {
  return std::string({0, 0, static_cast<char>(content.size()), static_cast<char>(type), flags})
      .append(stream)
      .append(content);
}

}  // namespace

class RefusingHTTP2Server::Loop {
 public:
  explicit Loop(const std::filesystem::path& certificate)
      : listener_(loopbackListener(SOMAXCONN)),
        port(portOf(listener_)),
        context_(SSL_CTX_new(TLS_server_method())) {
    auto key = certificate;
    key.replace_extension(".key");
    if (SSL_CTX_use_certificate_file(context_.get(), certificate.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(context_.get(), key.c_str(), SSL_FILETYPE_PEM) != 1) {
      throw std::runtime_error("no certificate for HTTP/2");
    }
    SSL_CTX_set_alpn_select_cb(context_.get(), &chooseHTTP2, nullptr);
    thread_ = std::thread([this] { run(); });
  }
  ~Loop() {
    shutdown(listener_.get(), SHUT_RDWR);
    thread_.join();
    for (auto& connection : connections_) connection.join();
  }

 private:
  void run() {
    // A client may go while it is written to. The threads of its connections have this mask too.
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    for (;;) {
      pollfd waited{listener_.get(), POLLIN, 0};
      poll(&waited, 1, -1);
      if ((waited.revents & POLLHUP) != 0) return;
      FileDescriptor socket(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
      if (socket) connections_.emplace_back([this, client = std::move(socket)] { serve(client); });
    }
  }

  void serve(const FileDescriptor& socket) {
    const std::unique_ptr<SSL, Deleter> connection(SSL_new(context_.get()));
    SSL_set_fd(connection.get(), socket.get());
    if (SSL_accept(connection.get()) != 1) return;
    const auto send = [&](const std::string& bytes) {
      SSL_write(connection.get(), bytes.data(), static_cast<int>(bytes.size()));
    };
    static constexpr std::string_view wholeConnection("\0\0\0\0", 4);
    send(frame(settings, 0, wholeConnection, {}));
    std::string received;
    std::array<char, 16384> buffer;
    bool greeted = false;
    for (int count = 0; (count = SSL_read(connection.get(), buffer.data(), buffer.size())) > 0;) {
      received.append(buffer.data(), static_cast<std::size_t>(count));
      if (!greeted && received.size() >= preface.size()) {
        received.erase(0, preface.size());
        greeted = true;
      }
      while (greeted && received.size() >= frameHeadSize) {
        const auto at = [&](std::size_t index) { return static_cast<unsigned char>(received[index]); };
        const std::size_t size =
            frameHeadSize + (std::size_t{at(0)} << 16U | std::size_t{at(1)} << 8U | at(2));
        if (received.size() < size) break;
        if (at(3) == settings && at(4) == 0) send(frame(settings, acknowledgement, wholeConnection, {}));
        if (at(3) == headers) {
          ++refusals;
          send(frame(resetStream, 0, received.substr(5, 4), std::string_view("\0\0\0\7", 4)));
        }
        received.erase(0, size);
      }
    }
  }

  const FileDescriptor listener_;

 public:
  const std::uint16_t port;
  std::atomic<int> refusals = 0;

 private:
  const std::unique_ptr<SSL_CTX, Deleter> context_;
  std::vector<std::thread> connections_;
  std::thread thread_;
};

RefusingHTTP2Server::RefusingHTTP2Server(const std::filesystem::path& certificate)
    : loop_(std::make_unique<Loop>(certificate)) {}
RefusingHTTP2Server::~RefusingHTTP2Server() = default;

std::string RefusingHTTP2Server::url() const {
  return "https://127.0.0.1:" + std::to_string(loop_->port) + "/";
}
int RefusingHTTP2Server::refusals() const { return loop_->refusals; }

}  // namespace tilvanego::test
