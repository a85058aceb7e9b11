#include <tilvanego/platform/qt/QtPlatform.h>

#include <utility>

#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/platform/StandardOutput.h>
#include <tilvanego/platform/qt/QtClipboard.h>
#include <tilvanego/platform/qt/QtLinkOpener.h>
#include <tilvanego/platform/qt/QtTimer.h>

namespace [[gnu::visibility("default")]] tilvanego {

Platform qtPlatform(QtMainQueue& mainQueue, std::shared_ptr<const Clock> clock) {
  return {.mainQueue = &mainQueue,
          .clock = clock,
          .randomSource = std::make_unique<OpenSSLRandomSource>(),
          .debugOutput = std::make_unique<StandardOutput>(),
          .pasteboard = std::make_unique<QtClipboard>(clock),
          .application = std::make_unique<QtLinkOpener>(mainQueue),
          .timer = std::make_unique<QtTimer>()};
}

}  // namespace tilvanego
