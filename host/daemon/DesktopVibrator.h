#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <sdbus-c++/IProxy.h>

namespace host {

/// What vibrates in the machine itself, where feedbackd runs. Nobody waits for it, and without it
/// nothing happens. Main loop only.
class DesktopVibrator {
public:
    DesktopVibrator();

    /// Vibrates as feedbackd's theme does for an alarm, until end.
    void begin();
    void end();

private:
    void _endFeedback(std::uint32_t id);

    std::unique_ptr<sdbus::IProxy> _feedbackd;
    unsigned _begun = 0; ///< tells a vibration from those before it
    std::optional<std::uint32_t> _running;
};

} // namespace host
