#pragma once

#include <optional>

#include <tilvanego/http_client/coding/CodableHelper.h>
#include <tilvanego/http_client/encodings/AnyValue.h>
#include <tilvanego/http_client/encodings/JSONDataEncoding.h>

namespace tilvanego::detail {

/// Prints the failure's description as one line on standard output.
void printEncodingFailure(const JSONError& failure);

}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

/// Makes the parameters of a request with a JSON body from the value that is to be its body. A subclass may
/// put an operation of its own in the place of this one.
class JSONEncodingHelper {
 public:
  /// None if there is no value. A value that can't be written gives none too, and so a request without a
  /// body; why is printed on standard output.
  template <typename T>
  [[nodiscard]] static std::optional<Parameters> encodingParameters(const std::optional<T>& encodableObject,
                                                                    const CodableHelper& codableHelper) {
    if (!encodableObject) return std::nullopt;
    return encodingParameters(*encodableObject, codableHelper);
  }
  template <typename T>
  [[nodiscard]] static std::optional<Parameters> encodingParameters(const T& encodableObject,
                                                                    const CodableHelper& codableHelper) {
    const auto body = codableHelper.encode(encodableObject);
    if (body) return JSONDataEncoding::encodingParameters(*body);
    detail::printEncodingFailure(body.error());
    return std::nullopt;
  }
};

}  // namespace tilvanego
