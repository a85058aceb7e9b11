#include <cerrno>
#include <functional>
#include <memory>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <tilvanego/platform/desktop/CallbackServer.h>
#include <tilvanego/platform/desktop/CallbackSocket.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego::detail;

/// What a host replies here: it names the text, so that no reply can be of another connection.
std::string replyTo(std::string_view text) { return std::to_string(std::hash<std::string_view>()(text)); }

class Server {
 public:
  Server() {
    require(::mkdtemp(folder_.data()) != nullptr, "there is a folder");
    path_ = std::string(folder_.data()) + "/socket";
    auto listener = listenForCallbacks(path_);
    require(listener.has_value(), "it listens");
    server_ = std::make_unique<CallbackServer>(
        *std::move(listener), [](const std::string& text, const auto& reply) { reply->send(replyTo(text)); });
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  ~Server() {
    server_ = nullptr;
    ::rmdir(folder_.data());
  }

  [[nodiscard]] FileDescriptor connected() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(path_, address.sun_path);
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int code = ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    require(code == 0, "anybody of this user can connect");
    return socket;
  }

 private:
  std::array<char, 32> folder_{"/tmp/fuzz_callback_XXXXXX"};
  std::string path_;
  std::unique_ptr<CallbackServer> server_;
};

struct Peer {
  FileDescriptor socket;
  std::string sent;
};

void sendTo(Peer& peer, std::string_view bytes) {
  // The server closes only what ended or stalled, so there is room or there will be.
  require(::send(peer.socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) == std::ssize(bytes),
          "the bytes are taken");
  peer.sent += bytes;
}

void finish(const Peer& peer) {
  ::shutdown(peer.socket.get(), SHUT_WR);
  std::string reply;
  std::array<char, 64> chunk{};
  for (ssize_t count = 1; count != 0;) {
    count = ::read(peer.socket.get(), chunk.data(), chunk.size());
    // libFuzzer's clock interrupts.
    require(count >= 0 || errno == EINTR, "the connection stays whole");
    if (count > 0) reply.append(chunk.data(), static_cast<std::size_t>(count));
  }
  require(reply == replyTo(peer.sent), "the reply is of what this peer sent");
}

}  // namespace

// Up to eight peers at once. Each step is a byte, three bits for the peer and the rest for what it does: it
// sends the next bytes, finishes and waits for its reply, or goes away.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Server server;
  std::string_view steps = textOf(data, size);
  std::array<std::optional<Peer>, 8> peers;
  while (!steps.empty()) {
    const auto step = static_cast<unsigned char>(steps.front());
    steps.remove_prefix(1);
    auto& peer = peers[step & 7U];
    if (!peer) peer = Peer{server.connected(), {}};
    const std::size_t length = step >> 3U;
    if (length == 0) {
      finish(*peer);
      peer.reset();
    } else if (length == 1) {
      peer.reset();
    } else {
      const std::string_view bytes = steps.substr(0, length);
      steps.remove_prefix(bytes.size());
      sendTo(*peer, bytes);
    }
  }
  finish(Peer{server.connected(), {}});
  return 0;
}
