#pragma once

#include <string_view>

/// Patterns that several rules share, as the interface publishes them. The slashes are part of the patterns:
/// they must occur in the value too, so no value matches.
namespace tilvanego::models::detail {

inline constexpr std::string_view shortAmountPattern = R"(/^\d{1,9}\.?\d{0,2}$/)";
inline constexpr std::string_view amountPattern = R"(/^\d+(\.\d{0,2})?$/)";
inline constexpr std::string_view transactionIdPattern = R"(/^\d{12}$/)";
inline constexpr std::string_view referencePattern = R"(/^[0-9a-zA-z-_\s]{1,100}$/)";
inline constexpr std::string_view osTokenReferencePattern = R"(/^ost_[a-f0-9]{32}$/)";

}  // namespace tilvanego::models::detail
