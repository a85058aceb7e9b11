#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <span>

#include <tilvanego/network/Failure.h>
#include <tilvanego/network/HTTPHeaders.h>

namespace [[gnu::visibility("default")]] tilvanego {

class HTTPURLResponse;

/// Gives the body of a request piece by piece, so that it is never in memory whole. One request at a time may
/// use it.
///
/// The functions run on the thread that sends the request and must not wait for long: a session's thread
/// sends nothing else meanwhile. May throw: the request fails with the exception.
class BodySource {
 public:
  virtual ~BodySource() = default;

  /// The size in bytes, which must not change. No value if it is unknown: the body is then sent in chunks.
  [[nodiscard]] virtual std::optional<std::uint64_t> size() const = 0;
  /// Called before the first `read`, and again when the body must be sent once more, as after a redirect or a
  /// challenge: `read` begins at the start.
  [[nodiscard]] virtual std::expected<void, Failure> rewind() = 0;
  /// Writes the next bytes into `room`, which isn't empty, and returns their number; 0 at the end.
  [[nodiscard]] virtual std::expected<std::size_t, Failure> read(std::span<std::uint8_t> room) = 0;
};

/// Takes the body of a response piece by piece. Only a response with a status from 200 to 299 that the task
/// ends with: any other body is data of the response. One request at a time may use it.
///
/// The functions run on the thread that sends the request and must not wait for long; a sink that can't take
/// more says `hold`. May throw: the request fails with the exception.
class BodySink {
 public:
  /// Lets a response flow that is held up. May be called at any time, on any thread.
  using GoOn = std::function<void()>;
  enum class Flow : std::uint8_t { goOn, hold };

  virtual ~BodySink() = default;

  /// Called by a builder for each try: may set header fields, such as those that ask for the rest of a body.
  virtual void prepare(HTTPHeaders& /*fields*/) {}
  /// Called by a builder when a response has a status that isn't a success.
  virtual void refused(const HTTPURLResponse& /*response*/) {}

  /// Called with the head of each response before its first piece. A retry begins anew.
  [[nodiscard]] virtual std::expected<void, Failure> begin(const HTTPURLResponse& response, GoOn goOn) = 0;
  /// Takes a piece, decompressed. After `hold` the server is held up, without a time-out for silence, until
  /// `GoOn` is called; only what was received before may still follow, at most some dozen KiB as sent.
  [[nodiscard]] virtual std::expected<Flow, Failure> write(std::span<const std::uint8_t> piece) = 0;
  /// Called when the body is complete, before the completion of the task. A failure is that of the request.
  [[nodiscard]] virtual std::expected<void, Failure> finish() = 0;
};

}  // namespace tilvanego
