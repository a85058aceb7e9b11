#pragma once

#include <memory>
#include <utility>

#include <tilvanego/http_client/URLSessionImplementations.h>

namespace tilvanego::program {

/// A builder of the library's usual kind over a session of the program's own.
class SendBuilder : public URLSessionDecodableRequestBuilder {
 public:
  SendBuilder(Construction construction, std::shared_ptr<URLSessionProtocol> session)
      : URLSessionDecodableRequestBuilder(std::move(construction)), session_(std::move(session)) {}

  std::shared_ptr<URLSessionProtocol> createURLSession() override { return session_; }

 private:
  const std::shared_ptr<URLSessionProtocol> session_;
};

}  // namespace tilvanego::program
