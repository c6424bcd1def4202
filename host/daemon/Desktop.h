#pragma once

#include "host/common/Timer.h"
#include "host/daemon/RequestSender.h"
#include "host/daemon/TrayStore.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <sdbus-c++/sdbus-c++.h>
#include <set>
#include <string>

namespace host {

/**
 * Shows the tray's notifications on the user's desktop, by the interface
 * org.freedesktop.Notifications, and does what the user asks for there. Nobody waits for a desktop
 * that hangs, ends or was never there; it gets all notifications when it is there again. Main loop.
 * Must live as long as the process: a connection cannot be closed while its bus hangs.
 */
class Desktop {
public:
    /// The arguments must outlive the desktop. Shows what is in the tray already, too.
    Desktop(TrayStore& store, RequestSender& sender);
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    /// To be called when the tray has changed.
    void update();
    /// Closes what the desktop shows, without waiting, since nobody would answer a click any more.
    void end();

private:
    struct Line;
    /// What the desktop has done.
    struct Deed {
        std::int64_t shown = 0; ///< the notification; 0 = the number is closed
        std::uint32_t number = 0;
    };

    void _connect();
    void _connected();
    void _disconnected(const std::string& reason);
    void _leave();
    void _ownerChanged();
    void _goOn(double seconds = 0);
    template <typename Work>
    void _orLater(const Work& work);
    void _next();
    void _start();
    void _ask();
    void _show(const TrayStore::ToShow& next);
    void _save();
    void _close(std::uint32_t number);
    void _closed(std::uint32_t number);
    void _press(std::uint32_t number, const std::string& action);
    template <typename... Results, typename Answered, typename... Arguments>
    void _call(const char* method, Answered answered, const Arguments&... arguments);
    bool _can(const char* capability) const { return _capabilities->count(capability) != 0; }

    TrayStore& _store;
    RequestSender& _sender;
    std::unique_ptr<Timer> _step;

    std::mutex _mutex; ///< guards what the connecting thread makes
    std::unique_ptr<Line> _made;
    std::string _failure; ///< why it could not be made

    bool _isConnecting = false;
    bool _isReported = false; ///< the log says already that the bus cannot be reached
    std::unique_ptr<Line> _line; ///< null without a connection
    std::unique_ptr<sdbus::IProxy> _daemon; ///< null while there is none
    std::string _desktop; ///< the daemon's, as the store knows it
    std::optional<std::set<std::string>> _capabilities; ///< of the daemon, when it has answered
    bool _isCalling = false; ///< one call at a time: nothing piles up before a daemon that hangs
    bool _isStarted = false; ///< the bus was told to start a daemon, since the last change
    std::optional<Deed> _unsaved; ///< not noted in the store yet
    std::set<std::int64_t> _refused; ///< not to be shown until the next change or pause
};

} // namespace host
