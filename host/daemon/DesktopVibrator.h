#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <sdbus-c++/IProxy.h>

namespace host {

/// The vibrator of the machine, on which feedbackd runs it. Never waits; does nothing without
/// feedbackd. Main loop only.
class DesktopVibrator {
public:
    DesktopVibrator();

    /// Vibrates as feedbackd's theme does for an alarm, until end().
    void begin();
    void end();

private:
    void _endFeedback(std::uint32_t id);

    std::unique_ptr<sdbus::IProxy> _feedbackd;
    unsigned _begun = 0; ///< number of the latest begin or end, to recognise late answers
    std::optional<std::uint32_t> _running;
};

} // namespace host
