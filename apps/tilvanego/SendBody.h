#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tilvanego/http_client/encodings/AnyValue.h>

#include "SendOptions.h"

namespace tilvanego::program {

/// Groups the values by name: a repeated name has an array of its values, in their order.
[[nodiscard]] Parameters parametersOf(const std::vector<NamedValue>& items);

/// Returns the parameters of the body; nothing without a body. Reads standard input if the options name it,
/// and a JSON file to check it; the runtime reads all other files. Fails, with one line, for a file that
/// can't be read or isn't JSON.
[[nodiscard]] std::expected<std::optional<Parameters>, std::string> bodyParameters(
    const SendOptions& options);

/// The content type by which the runtime chooses the encoding.
[[nodiscard]] std::string_view contentTypeOf(SendBodyKind kind);

}  // namespace tilvanego::program
