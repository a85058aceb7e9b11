#include <utility>

#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/platform/StandardOutput.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/desktop/SpawnedOpener.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

Platform standardPlatform(MainQueue& mainQueue, std::shared_ptr<const Clock> clock) {
  auto pasteboard = std::make_unique<PasteboardStore>(clock);
  return {.mainQueue = &mainQueue,
          .clock = std::move(clock),
          .randomSource = std::make_unique<OpenSSLRandomSource>(),
          .debugOutput = std::make_unique<StandardOutput>(),
          .pasteboard = std::move(pasteboard),
          .application = std::make_unique<SpawnedOpener>(mainQueue)};
}

}  // namespace support
}  // namespace tilvanego
