#pragma once

#include <memory>
#include <string>

#include <tilvanego/network/TransferMetrics.h>

namespace tilvanego::program {

/// Collects what each try of one request took.
class Timings : public TransferObserver {
 public:
  void didEnd(const std::shared_ptr<void>& span, const TransferReport& report) override;

  /// A line for each try. Called when the request is over.
  [[nodiscard]] const std::string& lines() const { return lines_; }

 private:
  std::string lines_;
};

}  // namespace tilvanego::program
