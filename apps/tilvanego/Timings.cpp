#include "Timings.h"

#include <array>
#include <cstdio>

namespace tilvanego::program {

void Timings::didEnd(const std::shared_ptr<void>& /*span*/, const TransferReport& report) {
  const TransferMetrics& metrics = report.metrics;
  lines_ += "timings:";
  const auto add = [&](const char* name, TransferMetrics::Duration duration) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), " %s %.3f ms,", name,
                  static_cast<double>(duration.count()) / 1000);
    lines_ += text.data();
  };
  add("waiting", metrics.waiting);
  add("name lookup", metrics.nameLookup);
  add("connect", metrics.connect);
  add("TLS", metrics.secureConnect);
  add("first byte", metrics.firstByte);
  add("total", metrics.total);
  lines_ += " sent " + std::to_string(metrics.sentBytes) + " bytes, received " +
            std::to_string(metrics.receivedBytes) + " bytes, " +
            (metrics.isConnectionReused ? "kept connection" : "new connection") + ", HTTP/" +
            (metrics.protocolVersion.empty() ? "none" : metrics.protocolVersion) + ", tries " +
            std::to_string(metrics.tries) + ", redirects " + std::to_string(metrics.redirects) + "\n";
}

}  // namespace tilvanego::program
