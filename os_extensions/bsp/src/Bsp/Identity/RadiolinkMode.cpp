#include "bsp/RadiolinkMode.hpp"

#include "CoreLog.hpp"
#include "OnceFlag.hpp"
#include "QorConfig.hpp"

namespace os::bsp {
namespace {

namespace text = value::radiolinkMode;

constinit OnceFlag modeLoaded;
constinit RadiolinkMode loadedMode = RadiolinkMode::Rl4;

} // namespace

RadiolinkMode getRadiolinkMode() {
    modeLoaded.run([] {
        // Rl4 is what any other text, or none, stands for.
        if (QorConfig().getValue(key::RadiolinkMode) == text::Rl5) {
            loadedMode = RadiolinkMode::Rl5;
        }
    });
    return loadedMode;
}

bool setRadiolinkMode(RadiolinkMode mode) {
    QorConfig config;
    switch (mode) {
    case RadiolinkMode::Rl4:
        return config.setValue(key::RadiolinkMode, text::Rl4);
    case RadiolinkMode::Rl5:
        return config.setValue(key::RadiolinkMode, text::Rl5);
    default:
        BSP_LOG(
            coreLog(), 1, "Unsupported radio-link mode: ", lookupName(radiolinkModeNames(), mode));
        return false;
    }
}

bool clearRadiolinkMode() {
    return QorConfig().clearValue(key::RadiolinkMode);
}

} // namespace os::bsp
