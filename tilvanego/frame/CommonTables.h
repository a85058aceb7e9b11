#pragma once

#include <tilvanego/frame/CallbackKeys.h>
#include <tilvanego/frame/CallbackParser.h>

/// Rows of callback keys and status words that several operations use in their tables.
namespace tilvanego::detail {

template <typename Fields>
inline constexpr auto requestIdKey =
    textKey<Fields, &Fields::requestId>("request_id", "requestId", "session_id", "sessionId");

template <typename Fields>
inline constexpr auto statusKey = textKey<Fields, &Fields::status>("status", "result");

template <typename Fields>
inline constexpr auto transactionIdKey =
    textKey<Fields, &Fields::transactionId>("transaction_id", "transactionId", "txn_id");

template <typename Fields>
inline constexpr auto errorCodeKey = textKey<Fields, &Fields::errorCode>("error_code", "errorCode", "code");

template <typename Fields>
inline constexpr auto errorMessageKey =
    textKey<Fields, &Fields::errorMessage>("error_message", "errorMessage", "message");

template <typename Result>
inline constexpr auto cancelledWords =
    wordsFor<Result, typename Result::Cancelled>("cancelled", "canceled", "cancel");

template <typename Result>
inline constexpr auto declinedWords =
    wordsFor<Result, typename Result::Declined>("declined", "decline", "rejected");

}  // namespace tilvanego::detail
