#pragma once

#include "host/common/Entries.h"
#include "host/daemon/AlarmStore.h"
#include "host/daemon/LimitExceeded.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace host {

/// Both clocks count whole seconds.
struct Clock {
    std::function<std::int64_t()> now; ///< since the epoch, as the device's clock is set
    std::function<std::int64_t()> elapsed; ///< not affected by setting the clock or by sleep
};

/// A request to start an application for an alarm.
struct Launch {
    int id = 0;
    std::string application;
    Entries request; ///< the registered request and the alarm's id
    std::string once; ///< the same whenever one alert is sent, and different for any other alert
};

enum class LaunchResult {
    Delivered,
    Refused, ///< for good: no installed application has the id
    Lost, ///< it may have arrived or not; to be sent again
};

/**
 * Decides which alarm rings when. Registrations are on disk. An alert counts as rung only when its
 * launch was answered, so a daemon that dies before that sends it again, which the receiver
 * recognises by Launch::once. Knows no bus and no loop. One thread.
 */
class AlarmSchedule {
public:
    /// Sends a launch; the answer goes to answered().
    using Launcher = std::function<void(const Launch&)>;

    /// Opens the file at path, or makes it; mark is passed to AlarmStore. What is missed or lost is
    /// reported in tray, which must outlive the schedule. Throws std::exception when the file can
    /// be neither opened nor made.
    AlarmSchedule(const std::string& path, Clock clock, const cctz::time_zone& zone,
        Launcher launcher, const IdMark& mark, TrayStore& tray);

    /// Registers an alarm, which is on disk when the id is returned. Throws std::invalid_argument
    /// for an alarm that cannot ring, LimitExceeded for a package that has kMostAlarms or a request
    /// of more than kLongestRequest bytes, both with a text for the caller; and SQLite::Exception.
    int schedule(const std::string& package, const Entries& request, const AlarmTime& time);

    /// False when the package has no alarm of that id. Throws SQLite::Exception.
    bool cancel(const std::string& package, int id);

    static constexpr int kMostAlarms = 20000; ///< of one package

    std::vector<Alarm> list() { return _store.all(); }
    std::vector<Alarm> list(const std::string& package) { return _store.of(package); }
    /// Nothing when the package has no alarm of that id.
    std::optional<Alarm> find(const std::string& package, int id);

    /// Computes every alarm anew, after the clock or the zone was changed.
    void clockChanged(const cctz::time_zone& zone);

    /// Launches the alarms that are due, writes down the results that have come, and returns when
    /// to call this again, if ever. To be called at that instant, and soon after other calls,
    /// however many. Of the alarms that one package has for one application, at most kMostFlights
    /// wait for their answers at a time; other alarms do not wait for them.
    std::optional<std::int64_t> launchDue();

    /// Whether the alarm's launch still waits for its answer.
    bool isInFlight(int id) const { return _flights.count(id) != 0; }

    /// Takes the result of a launch; detail gives the reason for a failure in words.
    void answered(int id, LaunchResult result, const std::string& detail);

private:
    /// A package, and the application that some of its alarms launch.
    using Whose = std::pair<std::string, std::string>;

    struct Flight {
        Launch launch;
        Whose whose;
        std::int64_t due = 0;
        int sent = 0;
        std::optional<std::int64_t> again; ///< when to send the launch again, by Clock::elapsed
    };

    /// The result of a flight that is over.
    struct Rung {
        std::string application;
        std::int64_t due = 0;
        std::string failure; ///< why the alarm was missed; empty when it has rung
    };

    static constexpr std::size_t kMostFlights = 64;

    bool _save(std::int64_t now);
    void _recompute(std::int64_t now);
    bool _follow(Alarm& alarm, std::int64_t now) const;
    void _rearm(std::int64_t now, std::vector<Report>& reports);
    void _passOver(std::int64_t now, std::vector<Report>& reports);
    Report _missed(
        const Alarm& alarm, std::int64_t due, std::int64_t now, const std::string& reason) const;
    void _launch(std::int64_t now);
    std::optional<std::int64_t> _sendAgain();
    void _end(int id, const std::string& failure);
    bool _isRinging(int id) const { return _flights.count(id) != 0 || _rung.count(id) != 0; }

    TrayStore& _tray;
    AlarmStore _store;
    Clock _clock;
    cctz::time_zone _zone;
    Launcher _launcher;
    std::int64_t _offset; ///< Clock::now minus Clock::elapsed
    bool _wentFarBack = false;
    bool _stale = true;
    std::map<int, Flight> _flights; ///< launches that were not answered yet, by alarm
    std::map<Whose, std::size_t> _flightsOf; ///< the number of flights, by package and application
    std::map<int, Rung> _rung; ///< results that are not on disk yet, by alarm
};

} // namespace host
