#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/http_client/coding/JSONCoders.h>
#include <tilvanego/http_client/coding/OpenISO8601DateFormatter.h>
#include <tilvanego/network/OpenAPIMutex.h>
#include <tilvanego/values/Data.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The JSON and date settings through which the bodies of a client's requests and answers pass. The helper
/// has defaults of its own, over which a host may set a formatter, a decoder and an encoder.
///
/// Every operation may be called from any thread. Settings are read and written under one lock; bodies are
/// read and written outside it.
class CodableHelper {
 public:
  using DateFormatterPointer = std::shared_ptr<const DateFormatter>;

  /// An `OpenISO8601DateFormatter`, and a decoder and an encoder that use it. The encoder prints prettily, in
  /// the order of the records' tables.
  CodableHelper();
  virtual ~CodableHelper() = default;
  CodableHelper(const CodableHelper&) = delete;
  CodableHelper& operator=(const CodableHelper&) = delete;

  // An update runs its body under the lock with the effective value and then sets what the body made of it.
  // What the body throws passes through, and then nothing is set. What is replaced ends without the lock.

  /// The formatter that was set, else the default one; never null.
  [[nodiscard]] virtual DateFormatterPointer dateFormatter() const;
  /// Takes effect at once in the default decoder and encoder. A decoder or encoder that was set keeps its own
  /// dates. Null brings the default formatter back.
  virtual void setDateFormatter(DateFormatterPointer formatter);
  virtual void updateDateFormatter(const std::function<void(DateFormatterPointer&)>& body);

  /// The decoder that was set, else the default one.
  [[nodiscard]] virtual JSONDecoder jsonDecoder() const;
  virtual void setJsonDecoder(JSONDecoder decoder);
  virtual void updateJsonDecoder(const std::function<void(JSONDecoder&)>& body);

  /// The encoder that was set, else the default one.
  [[nodiscard]] virtual JSONEncoder jsonEncoder() const;
  virtual void setJsonEncoder(JSONEncoder encoder);
  virtual void updateJsonEncoder(const std::function<void(JSONEncoder&)>& body);

  /// Reads a body as a T; a failure is the JSON layer's own, unchanged. Never throws: what a formatter, a
  /// codec or a subclass throws, and a lack of memory, is an `invalidValue` with the exception's words.
  template <typename T>
  [[nodiscard]] std::expected<T, JSONError> decode(const Data& body) const {
    try {
      std::expected<T, JSONError> result(json::RecordAccess::make<T>());
      auto done =
          decodeBody(body, [&](json::Reader& reader) { return json::Codec<T>::read(reader, *result); });
      if (!done) result = std::unexpected(std::move(done.error()));
      return result;
    } catch (...) {
      return std::unexpected(currentError());
    }
  }

  /// Writes a value as a body; a failure is the JSON layer's own, unchanged. Never throws, as `decode`.
  template <typename T>
  [[nodiscard]] std::expected<Data, JSONError> encode(const T& value) const {
    try {
      return encodeBody([&](json::Writer& writer) { return json::Codec<T>::write(writer, value); });
    } catch (...) {
      return std::unexpected(currentError());
    }
  }

 protected:
  /// What `decode` and `encode` do, for whoever wants to look at every body or to replace it: `read` and
  /// `write` go through one value and return false after the reader's or the writer's failure.
  [[nodiscard]] virtual std::expected<void, JSONError> decodeBody(
      const Data& body, const std::function<bool(json::Reader&)>& read) const;
  [[nodiscard]] virtual std::expected<Data, JSONError> encodeBody(
      const std::function<bool(json::Writer&)>& write) const;

 private:
  struct State {
    DateFormatterPointer customDateFormatter;
    DateFormatterPointer defaultDateFormatter;
    std::optional<JSONDecoder> customJSONDecoder;
    JSONDecoder defaultJSONDecoder;
    std::optional<JSONEncoder> customJSONEncoder;
    JSONEncoder defaultJSONEncoder;

    [[nodiscard]] DateFormatterPointer dateFormatter() const;
    void setDateFormatter(DateFormatterPointer formatter);
  };
  void change(const std::function<void(State&)>& body);
  /// The exception that is being handled.
  static JSONError currentError() noexcept;

  OpenAPIMutex<State> _state;
};

}  // namespace tilvanego
