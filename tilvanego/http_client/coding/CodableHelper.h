#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include <tilvanego/http_client/coding/JSONCoders.h>
#include <tilvanego/http_client/coding/OpenISO8601DateFormatter.h>
#include <tilvanego/network/OpenAPIMutex.h>
#include <tilvanego/values/Data.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The JSON and date settings for the bodies of requests and responses. A host may set a formatter, a decoder
/// and an encoder in place of the defaults.
///
/// All operations may be called from any thread. A lock guards the settings; bodies are encoded and decoded
/// without it.
class CodableHelper {
 public:
  using DateFormatterPointer = std::shared_ptr<const DateFormatter>;

  /// The defaults: an `OpenISO8601DateFormatter`, and a decoder and an encoder that use it. The encoder
  /// prints with indentation, the keys of a record in the order of its fields.
  CodableHelper();
  virtual ~CodableHelper() = default;
  CodableHelper(const CodableHelper&) = delete;
  CodableHelper& operator=(const CodableHelper&) = delete;

  // An update calls `body` under the lock with a copy of the current value, and then sets that copy. If
  // `body` throws, the exception leaves the update and nothing is set. Replaced values are destroyed without
  // the lock.

  /// The formatter that was set, else the default one; never null.
  [[nodiscard]] virtual DateFormatterPointer dateFormatter() const;
  /// Sets the formatter of the default decoder and encoder. A decoder or encoder that was set keeps its own.
  /// Null restores the default formatter.
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

  /// Decodes a body as a T. Never throws: an exception of a formatter, a codec or a derived class, and a lack
  /// of memory, become an `invalidValue` with the exception's text.
  template <typename T>
  [[nodiscard]] std::expected<T, JSONError> decode(const Data& body) const try {
    std::expected<T, JSONError> result(json::RecordAccess::make<T>());
    auto done = decodeBody(body, [&](json::Reader& reader) { return json::Codec<T>::read(reader, *result); });
    if (!done) result = std::unexpected(std::move(done.error()));
    return result;
  } catch (...) {
    return std::unexpected(currentError());
  }

  /// Encodes a value as a body. Never throws, like `decode`.
  template <typename T>
  [[nodiscard]] std::expected<Data, JSONError> encode(const T& value) const try {
    return encodeBody([&](json::Writer& writer) { return json::Codec<T>::write(writer, value); });
  } catch (...) {
    return std::unexpected(currentError());
  }

 protected:
  /// Called by `decode` and `encode` for every body. A derived class may override them to see or to change
  /// bodies. `read` and `write` handle one value; they return false if the reader or the writer has failed.
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
  /// Returns the exception that is being handled as an error.
  [[nodiscard]] static JSONError currentError() noexcept;

  OpenAPIMutex<State> _state;
};

}  // namespace tilvanego
