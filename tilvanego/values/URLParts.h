#pragma once

#include <cstdint>
#include <limits>

namespace tilvanego::detail {

/// Where the components of a URL stand in its text, as byte offsets.
struct URLParts {
  static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

  std::uint32_t scheme = none;     ///< offset of the ":" behind the scheme
  std::uint32_t authority = none;  ///< behind "//"
  std::uint32_t host = 0;          ///< behind the user information; like the next one, only with an authority
  std::uint32_t hostEnd = 0;       ///< where ":" and the port may follow
  std::uint32_t path = 0;
  std::uint32_t query = none;     ///< offset of the "?"
  std::uint32_t fragment = none;  ///< offset of the "#"
};

}  // namespace tilvanego::detail
