#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/platform/StandardOutput.h>
#include <tilvanego/platform/SystemClock.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/desktop/SpawnedOpener.h>

namespace tilvanego {

Platform Platform::standard(MainQueue& mainQueue) {
  const auto clock = std::make_shared<const SystemClock>();
  return {.mainQueue = &mainQueue,
          .clock = clock,
          .randomSource = std::make_unique<OpenSSLRandomSource>(),
          .debugOutput = std::make_unique<StandardOutput>(),
          .pasteboard = std::make_unique<PasteboardStore>(clock),
          .application = std::make_unique<SpawnedOpener>(mainQueue)};
}

}  // namespace tilvanego
