#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tilvanego::test {

using HeaderFields = std::vector<std::pair<std::string, std::string>>;

/// A request as it came over the wire.
struct ReceivedRequest {
  std::string method;
  /// As it stood in the request line: a path with its query, or a whole URL where a proxy was asked.
  std::string target;
  HeaderFields headers;
  /// Without the framing of chunks.
  std::string body;
  /// Every byte of head and body, in the order of arrival.
  std::string raw;
  /// The number of its connection and of itself on that connection, both from 0.
  std::size_t connection = 0;
  std::size_t numberOnConnection = 0;

  /// The first field of this name, in whatever case; none if there is none.
  [[nodiscard]] std::optional<std::string> header(std::string_view name) const;
  /// The target up to its query.
  [[nodiscard]] std::string path() const { return target.substr(0, target.find('?')); }
};

/// What a server does with a request, step by step; each begins when the one before is done. After the last
/// step the connection waits for its next request.
struct ServerResponse {
  /// Sends bytes as they are; in pieces of at most `pieceSize`, each in a segment of its own, if that isn't
  /// 0.
  struct Send {
    std::string bytes;
    std::size_t pieceSize = 0;
  };
  /// Does nothing until the test releases it, if ever.
  struct Hold {};
  /// Ends the connection in the orderly way.
  struct Close {};
  /// Ends it with a reset.
  struct Reset {};
  using Step = std::variant<Send, Hold, Close, Reset>;

  std::vector<Step> steps;

  /// One more step, of any of the kinds above.
  template <typename Kind>
  ServerResponse&& then(Kind step) && {
    steps.emplace_back(std::move(step));  // made in place: g++ 12 warns of a variant that moves
    return std::move(*this);
  }
};

/// The bytes and nothing more.
ServerResponse sent(std::string bytes);
/// A whole response with the length of its body, unless the headers say something of lengths themselves.
ServerResponse response(int status, std::string_view body = {}, HeaderFields headers = {});
/// The same for a HEAD request: headers as for the body, without the body.
ServerResponse responseToHead(int status, std::string_view body = {}, HeaderFields headers = {});
/// The body in chunks of the given size.
ServerResponse chunkedResponse(int status, std::string_view body, std::size_t chunkSize,
                               HeaderFields headers = {});
/// 302 with a Location.
ServerResponse redirect(std::string_view location, int status = 302);

/// The forms of zlib's streams, by the window bits that it knows them by.
inline constexpr int gzipForm = 31;
inline constexpr int zlibForm = 15;
inline constexpr int bareForm = -15;
std::string compressed(std::string_view plain, int form);

/// Status line and headers, with the empty line.
std::string headOf(int status, const HeaderFields& headers);

/// Responses that keep less than they promise. Those with a body promise 1000 bytes and send 400.
ServerResponse silence();
ServerResponse silenceInHead();
ServerResponse silenceInBody();
ServerResponse closedBeforeHead();
ServerResponse closedInHead();
ServerResponse closedInBody();
ServerResponse resetBeforeHead();
ServerResponse resetInHead();
ServerResponse resetInBody();
ServerResponse closedInChunks();
ServerResponse brokenChunkSize();
ServerResponse notHTTP();
/// A head of about so many bytes, in fields of 1000 bytes each.
ServerResponse oversizedHead(std::size_t size);
/// One byte a segment.
ServerResponse dripped(int status, std::string_view body);

/// Takes requests apart as their bytes arrive.
class RequestReader {
 public:
  void append(std::string_view bytes) { buffer_ += bytes; }

  /// The head alone of a request whose body may be still to come; once for each request.
  std::optional<ReceivedRequest> takeHead();
  /// The next whole request.
  std::optional<ReceivedRequest> takeRequest();
  /// What has come can't be the start of a request.
  [[nodiscard]] bool isBroken() const { return broken_; }
  /// What has come of a request that isn't whole.
  [[nodiscard]] const std::string& rest() const { return buffer_; }

 private:
  bool readHead();
  std::optional<std::size_t> readChunks(std::string& body);

  std::string buffer_;
  ReceivedRequest head_;
  std::size_t headSize_ = 0;
  bool headTaken_ = false;
  bool broken_ = false;
};

}  // namespace tilvanego::test
