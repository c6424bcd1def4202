#pragma once

#include "host/common/Entries.h"
#include "host/daemon/AlarmStore.h"

#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace host {

/// Both in seconds, of which a part begun does not count.
struct Clock {
    std::function<std::int64_t()> now; ///< since the epoch, as the device's clock is set
    std::function<std::int64_t()> elapsed; ///< of a clock that nobody sets and sleep does not stop
};

/// A request to start an application for an alarm.
struct Launch {
    int id = 0;
    std::string application;
    Entries request; ///< the stored one and the alarm's id
    std::string once; ///< the same for each sending of one alert, and for no other alert
};

enum class LaunchResult {
    Delivered,
    Refused, ///< and waiting cannot change that: no installed application has the id
    Lost, ///< nobody knows whether it arrived, or it may arrive later
};

/// A caller asks for more than one application may have.
class LimitExceeded : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/**
 * Decides which alarm rings when. What is registered is on disk; an alert that was sent counts as
 * rung only when its launch was answered, so a daemon that dies in between sends it again, and the
 * receiver tells by Launch::once. Knows no bus and no loop. One thread.
 */
class AlarmSchedule {
public:
    /// Sends the launch; its answer goes to answered().
    using Launcher = std::function<void(const Launch&)>;

    /// Opens or makes the file at path; mark as for AlarmStore. Throws std::exception when it can
    /// be neither.
    AlarmSchedule(const std::string& path, Clock clock, const cctz::time_zone& zone,
        Launcher launcher, const IdMark& mark);

    /// Registers an alarm; it is on disk when the id is returned. Throws std::invalid_argument for
    /// what cannot ring and LimitExceeded for a package that has kMostAlarms or a request of more
    /// than kLongestRequest bytes, each with a text for the caller, and SQLite::Exception.
    int schedule(const std::string& package, const Entries& request, const AlarmTime& time);

    /// False when the package has registered no alarm of that id. Throws SQLite::Exception.
    bool cancel(const std::string& package, int id);

    static constexpr int kMostAlarms = 20000; ///< of one package

    std::vector<Alarm> list() { return _store.all(); }
    std::vector<Alarm> list(const std::string& package) { return _store.of(package); }
    /// None when the package has registered no alarm of that id.
    std::optional<Alarm> find(const std::string& package, int id);
    std::vector<TrayEntry> tray() { return _store.tray(); }

    /// Computes every alarm anew, after the clock or the zone was changed.
    void clockChanged(const cctz::time_zone& zone);

    /// Launches what is due, then writes down what was answered, and returns when to call it again,
    /// if ever. To be called at that instant, and soon after any number of the other calls. Of the
    /// alarms that one package has for one application, kMostFlights at most wait for their
    /// answers; others do not wait behind them.
    std::optional<std::int64_t> launchDue();

    /// Whether the alarm's launch still waits for its answer.
    bool isInFlight(int id) const { return _flights.count(id) != 0; }

    /// Takes the answer to a launch; detail says in words why there was none.
    void answered(int id, LaunchResult result, const std::string& detail);

private:
    /// A package and the application that its alarms launch.
    using Whose = std::pair<std::string, std::string>;

    struct Flight {
        Launch launch;
        Whose whose;
        std::int64_t due = 0;
        int sent = 0;
        std::optional<std::int64_t> again; ///< when to send it again, by Clock::elapsed
    };

    /// An alert whose flight is over.
    struct Rung {
        std::string application;
        std::int64_t due = 0;
        std::string failure; ///< why it is missed; empty when it has rung
    };

    static constexpr std::size_t kMostFlights = 64;

    bool _save(std::int64_t now);
    void _recompute(std::int64_t now);
    bool _follow(Alarm& alarm, std::int64_t now) const;
    void _rearm(std::int64_t now);
    void _passOver(std::int64_t now);
    void _report(const std::string& application, std::int64_t due, std::int64_t now,
        const std::string& reason);
    void _launch(std::int64_t now);
    std::optional<std::int64_t> _sendAgain();
    void _end(int id, const std::string& failure);
    bool _isRinging(int id) const { return _flights.count(id) != 0 || _rung.count(id) != 0; }

    AlarmStore _store;
    Clock _clock;
    cctz::time_zone _zone;
    Launcher _launcher;
    std::int64_t _offset; ///< of the device's clock to the one that nobody sets
    bool _wentFarBack = false;
    bool _stale = true;
    std::map<int, Flight> _flights; ///< sent, not answered
    std::map<Whose, std::size_t> _flightsOf; ///< how many there are of each
    std::map<int, Rung> _rung; ///< over, not yet on disk
};

} // namespace host
