#pragma once

#include "tests/support/LoopbackServer.h"

namespace tilvanego::test {

enum class Scheme { basic, digestMD5, digestSHA256 };

/// Echoes method and body to the user "till" with the password "s3cret pass" for the realm "shop" (RFC 7617;
/// RFC 7616 with qop=auth, whatever the client counts). Anyone else gets a challenge: 401 from an origin
/// server, 407 from a proxy. A proxy takes a digest of the target's path alone too, as libcurl computes it.
LoopbackServer::Handler guarded(Scheme scheme, bool isProxy = false);

}  // namespace tilvanego::test
