#pragma once

/// `tilvanego::support` holds what this library doesn't show to hosts and must export all the same: functions
/// that the inline code of public headers, or another library of this project, calls. Everything else that
/// hosts don't see is in `tilvanego::detail`. Each of the two sees the other's names.
namespace tilvanego::detail {}

namespace tilvanego::support {
using namespace detail;
}  // namespace tilvanego::support

namespace tilvanego::detail {
using namespace support;
}  // namespace tilvanego::detail
