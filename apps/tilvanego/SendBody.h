#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tilvanego/http_client/encodings/AnyValue.h>

#include "SendOptions.h"

namespace tilvanego::program {

/// Each name once; a name given several times has an array of its values, in their order.
[[nodiscard]] Parameters parametersOf(const std::vector<NamedValue>& items);

/// What the runtime makes the body of; none without a body. Reads standard input if the options name it, and
/// a JSON file, to see whether it is JSON; all other files are read by the runtime. Fails with a line on what
/// can't be read or isn't JSON.
[[nodiscard]] std::expected<std::optional<Parameters>, std::string> bodyParameters(
    const SendOptions& options);

/// The content type by which the runtime knows the kind.
[[nodiscard]] std::string_view contentTypeOf(SendBodyKind kind);

}  // namespace tilvanego::program
