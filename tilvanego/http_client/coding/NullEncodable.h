#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>
#include <variant>

#include <tilvanego/json/Codec.h>
#include <tilvanego/json/Record.h>
#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A value, nothing, or an explicit JSON null: for a field of a record that distinguishes a missing key from
/// null. A record leaves the key out for nothing, and reads a missing key as nothing.
///
/// A value that is valid JSON but not a T is read as nothing.
template <typename T>
class NullEncodable {
 public:
  /// Nothing.
  NullEncodable() = default;

  [[nodiscard]] static NullEncodable encodeValue(T value) {
    NullEncodable made;
    made.value_.template emplace<1>(std::move(value));
    return made;
  }
  [[nodiscard]] static NullEncodable encodeNothing() { return NullEncodable(); }
  [[nodiscard]] static NullEncodable encodeNull() {
    NullEncodable made;
    made.value_.template emplace<2>();
    return made;
  }

  /// The value, or a null pointer in the two other cases. Valid until this object changes.
  [[nodiscard]] const T* value() const TILVANEGO_LIFETIMEBOUND { return std::get_if<1>(&value_); }
  [[nodiscard]] bool isNothing() const { return value_.index() == 0; }
  [[nodiscard]] bool isNull() const { return value_.index() == 2; }

  bool operator==(const NullEncodable&) const = default;

 private:
  struct Null {
    bool operator==(const Null&) const = default;
  };
  std::variant<std::monostate, T, Null> value_;
};

template <typename T>
struct json::Codec<NullEncodable<T>> {
  static bool read(Reader& reader, NullEncodable<T>& value) {
    std::string_view text;
    if (!reader.skip(text)) return false;
    Reader attempt(text, reader);
    T inner = RecordAccess::make<T>();
    if (Codec<T>::read(attempt, inner)) {
      value = NullEncodable<T>::encodeValue(std::move(inner));
    } else if (attempt.error().failure == JSONFailure::beyondLimit) {
      return reader.failIn(text, std::move(attempt.error()));
    } else {
      value = text == "null" ? NullEncodable<T>::encodeNull() : NullEncodable<T>::encodeNothing();
    }
    return true;
  }
  /// Fails for nothing, which has no JSON form: only a record can leave it out.
  static bool write(Writer& writer, const NullEncodable<T>& value) {
    if (const T* inner = value.value()) return Codec<T>::write(writer, *inner);
    return value.isNull() ? writer.null()
                          : writer.fail(JSONFailure::invalidValue, "there is nothing to encode");
  }
  static bool isAbsent(const NullEncodable<T>& value) { return value.isNothing(); }
  static void makeAbsent(NullEncodable<T>& value) { value = NullEncodable<T>(); }
};

}  // namespace tilvanego

/// Equal values have equal hashes.
template <typename T>
  requires requires(const T& value) { std::hash<T>()(value); }
struct std::hash<tilvanego::NullEncodable<T>> {
  std::size_t operator()(const tilvanego::NullEncodable<T>& value) const {
    if (const T* inner = value.value()) return std::hash<T>()(*inner) ^ 1;
    return value.isNull() ? 2 : 3;
  }
};
