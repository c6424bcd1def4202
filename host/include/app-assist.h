#ifndef APP_ASSIST_H
#define APP_ASSIST_H

#include <Elementary.h>
#include <functional>
#include <memory>

namespace app_assist {

// A repeating timer of the main loop.
class WUiTimer final {
public:
    // Called once per period with the data pointer: true = go on, false = stop.
    using TickCb = std::function<bool(void* data)>;

    // Starts at once. period in seconds, > 0. Null when it cannot start.
    static std::shared_ptr<WUiTimer> create(double period, TickCb tick, void* data = nullptr);

    ~WUiTimer();
    WUiTimer(const WUiTimer&) = delete;
    WUiTimer& operator=(const WUiTimer&) = delete;

    void destroy();            // stops for good; harmless when stopped already
    bool isActive() const;     // true until it stopped or was destroyed

private:
    WUiTimer();
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

} // namespace app_assist

#endif
