#pragma once

#include <array>

#include <tilvanego/frame/CommonTables.h>

namespace tilvanego::detail {

/// The callback keys and status words of both refunds.
template <typename Fields>
inline constexpr std::array refundCallbackKeys{
    requestIdKey<Fields>, transactionIdKey<Fields>, statusKey<Fields>,
    errorCodeKey<Fields>, errorMessageKey<Fields>,
};

template <typename Result>
inline constexpr std::array refundStatusWords{
    wordsFor<Result, typename Result::Success>("success", "succeeded", "completed", "approved", "refunded"),
};

}  // namespace tilvanego::detail
