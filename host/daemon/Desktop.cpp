#include "host/daemon/Desktop.h"

#include "host/common/BusOnLoop.h"
#include "host/common/Peers.h"
#include "host/common/Signals.h"
#include "host/daemon/Card.h"
#include "host/daemon/Panel.h"

#include <cstdlib>
#include <Ecore.h>
#include <glib.h>
#include <map>
#include <thread>
#include <vector>

namespace host {

namespace {

const char* const kName = "org.freedesktop.Notifications";
const char* const kPath = "/org/freedesktop/Notifications";
const char* const kTap = "default"; ///< the action for a click on the notification itself
const double kTryAgainSeconds = 60;
const std::uint64_t kForever = UINT64_MAX; ///< a daemon that hangs may go on
const std::int32_t kNeverExpires = 0;

std::unique_ptr<sdbus::IConnection> connectToDesktop()
{
    const char* address = getenv("ALARM_HOST_DESKTOP_BUS");
    return address && *address ? sdbus::createSessionBusConnectionWithAddress(address)
                               : connectToBus();
}

std::string uriOf(const std::string& path)
{
    const CText uri(g_filename_to_uri(path.c_str(), nullptr, nullptr));
    return uri ? uri.get() : "";
}

std::vector<std::string> actionsOf(const Card& card)
{
    std::vector<std::string> actions;
    if (!card.request.empty())
        actions = { kTap, "" }; // some desktops draw every action with a label as a button
    for (std::size_t at = 0; at < card.buttons.size(); ++at) {
        actions.push_back(std::to_string(at + 1));
        actions.push_back(card.buttons[at].text);
    }
    return actions;
}

// Of the actions that actionsOf makes; nothing for any other text. 0 = the notification itself.
std::optional<int> buttonOf(const std::string& action)
{
    if (action == kTap)
        return 0;
    for (int button = 1; button <= static_cast<int>(Card::kMostButtons); ++button) {
        if (action == std::to_string(button))
            return button;
    }
    return std::nullopt;
}

} // namespace

/// The connection to the desktop's bus.
struct Desktop::Line {
    /// Waits for the bus.
    explicit Line(Desktop& desktop)
        : connection(connectToDesktop())
        , id(busId(*connection))
        , bus(sdbus::createProxy(*connection, kBusName, kBusPath))
        , watch(*connection, kName, [&desktop](const std::string&) { desktop._ownerChanged(); })
    {
        watch.watch(kName, "ActionInvoked", [&desktop](sdbus::Message& signal) {
            std::uint32_t number = 0;
            std::string action;
            signal >> number >> action;
            desktop._press(number, action);
        });
        watch.watch(kName, "NotificationClosed", [&desktop](sdbus::Message& signal) {
            std::uint32_t number = 0;
            signal >> number;
            desktop._closed(number);
        });
    }

    const std::unique_ptr<sdbus::IConnection> connection;
    const std::string id;
    const std::unique_ptr<sdbus::IProxy> bus;
    OwnerWatch watch;
    bool isGone = false;
    std::unique_ptr<BusOnLoop> served;
};

Desktop::Desktop(TrayStore& store, RequestSender& sender)
    : _store(store)
    , _sender(sender)
{
    _goOn();
}

void Desktop::update()
{
    _isStarted = false;
    _refused.clear();
    _goOn();
}

void Desktop::end()
{
    if (!_daemon)
        return;
    std::vector<std::uint32_t> numbers = _store.numbersOn(_desktop);
    if (_unsaved && _unsaved->shown != 0)
        numbers.push_back(_unsaved->number);
    for (const std::uint32_t number : numbers) {
        _daemon->callMethod("CloseNotification")
            .onInterface(kName)
            .withArguments(number)
            .dontExpectReply();
    }
    _store.forgetDesktops();
}

// Goes on once for all that happens in this turn of the loop.
void Desktop::_goOn(double seconds)
{
    _step = std::make_unique<Timer>(seconds, [this] { _orLater([this] { _next(); }); });
}

// A failure, as of a full disk, must not be met again and again.
template <typename Work>
void Desktop::_orLater(const Work& work)
{
    try {
        work();
    } catch (const std::exception& error) {
        logError(std::string("The desktop cannot be served for now: ") + error.what());
        _goOn(kTryAgainSeconds);
    }
}

// Takes the next step towards a desktop that shows what is in the tray.
void Desktop::_next()
{
    if (_line && _line->isGone)
        _leave();
    if (_isConnecting || _isCalling)
        return;
    if (!_line) {
        if (_store.concernsDesktops())
            _connect();
        return;
    }
    if (!_daemon)
        return _start();
    if (!_capabilities)
        return _ask();
    _save();
    if (const auto number = _store.nextToClose(_desktop)) {
        _close(*number);
    } else if (const auto next = _store.nextToShow(_desktop, _refused)) {
        _show(*next);
    } else if (!_refused.empty()) {
        _refused.clear();
        _goOn(kTryAgainSeconds);
    }
}

// On a thread of its own, since a bus that hangs is waited for.
void Desktop::_connect()
{
    std::thread([this] {
        std::unique_ptr<Line> made;
        std::string failure;
        try {
            made = std::make_unique<Line>(*this);
        } catch (const std::exception& error) {
            failure = error.what();
        }
        const std::lock_guard<std::mutex> lock(_mutex);
        _made = std::move(made);
        _failure = failure;
        ecore_main_loop_thread_safe_call_async(
            [](void* self) { static_cast<Desktop*>(self)->_connected(); }, this);
    }).detach();
    _isConnecting = true;
}

void Desktop::_connected()
{
    _isConnecting = false;
    const std::lock_guard<std::mutex> lock(_mutex);
    _line = std::move(_made);
    if (!_line) {
        if (!_isReported)
            logInfo("The desktop's bus cannot be reached for now: " + _failure);
        _isReported = true;
        return _goOn(kTryAgainSeconds);
    }
    _isReported = false;
    _line->served = std::make_unique<BusOnLoop>(
        *_line->connection, [this](const std::string& reason) { _disconnected(reason); });
    _ownerChanged();
}

void Desktop::_disconnected(const std::string& reason)
{
    logInfo("The desktop's bus is gone: " + reason);
    _line->isGone = true;
    _goOn(kTryAgainSeconds);
}

void Desktop::_leave()
{
    _daemon.reset();
    _isCalling = false;
    _line.reset();
}

void Desktop::_ownerChanged()
{
    _daemon.reset(); // which is the end of its call, too
    _isCalling = false;
    _capabilities.reset();
    _unsaved.reset();
    _refused.clear();
    const std::string& owner = _line->watch.owner();
    if (!owner.empty()) {
        _desktop = _line->id + owner;
        _daemon = sdbus::createProxy(*_line->connection, owner, kPath);
    }
    _goOn();
}

// Has the bus start a daemon, if it knows one.
void Desktop::_start()
{
    if (_isStarted)
        return;
    _isStarted = true;
    _line->bus->callMethodAsync("StartServiceByName")
        .onInterface(kBusName)
        .withArguments(std::string(kName), std::uint32_t{ 0 })
        .uponReplyInvoke([](const sdbus::Error* error, std::uint32_t) {
            if (error)
                logInfo("There is no desktop to show notifications: " + error->getMessage());
        });
}

// A call that cannot be sent counts as answered with the error.
template <typename... Results, typename Answered, typename... Arguments>
void Desktop::_call(const char* method, Answered answered, const Arguments&... arguments)
{
    const auto replied = [this, answered](const sdbus::Error* error, Results... results) {
        _isCalling = false;
        _goOn();
        _orLater([&] { answered(error, results...); });
    };
    _isCalling = true;
    try {
        _daemon->callMethodAsync(method)
            .onInterface(kName)
            .withTimeout(kForever)
            .withArguments(arguments...)
            .uponReplyInvoke(replied);
    } catch (const sdbus::Error& error) {
        replied(&error, Results()...);
    }
}

void Desktop::_ask()
{
    using Texts = std::vector<std::string>;
    _call<Texts>("GetCapabilities", [this](const sdbus::Error*, const Texts& capabilities) {
        _store.forgetOtherDesktops(_desktop);
        _capabilities.emplace(capabilities.begin(), capabilities.end());
    });
}

void Desktop::_show(const TrayStore::ToShow& next)
{
    const std::int64_t id = next.notification.id;
    const Card card = cardOf(next.notification);
    const auto answered = [this, id](const sdbus::Error* error, std::uint32_t number) {
        if (error) {
            logWarning("The desktop does not show notification " + std::to_string(id) + ": "
                + error->getMessage());
            _refused.insert(id);
            _store.setRefused(id);
        } else {
            _unsaved = Deed{ id, number };
            _save();
        }
    };
    _call<std::uint32_t>("Notify", answered, next.notification.application, next.replaced,
        uriOf(card.icon), card.title, _can("body-markup") ? card.markup : card.body,
        _can("actions") ? actionsOf(card) : std::vector<std::string>(),
        std::map<std::string, sdbus::Variant>(), kNeverExpires);
}

// What the disk refuses is tried again, so that nothing is shown or closed again.
void Desktop::_save()
{
    if (!_unsaved)
        return;
    if (_unsaved->shown != 0) {
        _store.setShown(_unsaved->shown, _desktop, _unsaved->number);
    } else {
        _store.setClosed(_desktop, _unsaved->number);
    }
    _unsaved.reset();
}

void Desktop::_close(std::uint32_t number)
{
    const auto answered = [this, number](const sdbus::Error*) {
        _unsaved = Deed{ 0, number };
        _save();
    };
    _call<>("CloseNotification", answered, number);
}

void Desktop::_closed(std::uint32_t number)
{
    if (_unsaved && _unsaved->number == number) {
        if (_unsaved->shown != 0)
            _unsaved->number = 0;
        return;
    }
    _store.setClosed(_desktop, number);
}

void Desktop::_press(std::uint32_t number, const std::string& action)
{
    const bool isUnsaved = _unsaved && _unsaved->shown != 0 && _unsaved->number == number;
    const std::optional<Notification> notification
        = isUnsaved ? _store.find(_unsaved->shown) : _store.shownAs(_desktop, number);
    const std::optional<int> button = buttonOf(action);
    if (!notification || !button)
        return;
    RequestSender::Request request = requestOfPress(*notification, *button);
    _sender.send(std::move(request), [id = notification->id](const sdbus::Error* error) {
        if (error) {
            logWarning("What notification " + std::to_string(id)
                + " launches did not take the request: " + error->getMessage());
        }
    });
}

} // namespace host
