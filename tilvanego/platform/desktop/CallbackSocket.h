#pragma once

#include <chrono>
#include <cstddef>
#include <expected>
#include <string>
#include <string_view>

#include <tilvanego/platform/FileDescriptor.h>
#include <tilvanego/platform/desktop/CallbackReceiver.h>

/// The Unix socket on which a running host takes callback URLs, as its sender and its listener see it.
///
/// A connection carries one URL: its text, up to the end of the sender's side. The host replies "ok" once it
/// has handled the URL, or with a sentence that says what is wrong, and closes. A connection that is closed
/// without a reply means that the host has ended, or can't say whether it has handled the URL.
namespace tilvanego::detail {

/// The maximum length of a callback URL, in bytes.
inline constexpr std::size_t maxCallbackURL = std::size_t{16} << 20U;
inline constexpr std::string_view callbackTaken = "ok";

using HandOverFailure = CallbackReceiver::HandOverFailure;

/// Sends a URL to the host that listens at `path`, and blocks until it has replied, or until `longestWait` is
/// over. The host must be a process of the same user, by what the kernel says of it.
[[nodiscard]] std::expected<void, HandOverFailure> handOverCallback(const std::string& path,
                                                                    std::string_view url,
                                                                    std::chrono::milliseconds longestWait);

/// Listens at `path`, without blocking; only the user can connect. Replaces a socket without a listener.
/// Fails, with a sentence for the user, if anything else is at `path`, and keeps that.
[[nodiscard]] std::expected<FileDescriptor, std::string> listenForCallbacks(const std::string& path);

/// Returns true if the process at the other end of a Unix socket belongs to this process's user.
[[nodiscard]] bool isOfThisUser(const FileDescriptor& socket);

}  // namespace tilvanego::detail
