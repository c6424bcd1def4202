#pragma once

#include "host/common/SettingsStore.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

/**
 * The session that surrounds the test, which host-session has made for it: what a test does to it
 * and sees of it from outside the platform's interfaces. Main thread.
 */
class HostSession {
public:
    /// Installs the test as a program of its package, before it connects to the bus. Throws
    /// std::runtime_error outside a session, sdbus::Error without its bus.
    HostSession();

    /// The session's state directory, ending in "/".
    static const std::string& home();

    /// The file of an installed application.
    static std::string programOf(const std::string& application);

    /// Makes an executable file a program of the package, from its next start on.
    static void installProgram(const std::string& package, const std::string& executable);

    /// Writes a setting of the device: setKey("db/...", 1), (..., true) or (..., "text").
    void setKey(const std::string& key, const host::SettingValue& value);
    /// A preference of the test's package.
    std::optional<host::SettingValue> preference(const std::string& key);

    /// Sets the device's zone, such as "Europe/Berlin", as the device does: in one step.
    void setZone(const std::string& id);

    struct Alarm {
        int id = 0;
        std::string package;
        std::string application;
        std::int64_t next = 0; ///< seconds since the epoch
        int hour = 0;
        int minute = 0;
        int second = 0;
        int weekFlag = 0;
    };
    /// What is registered with the alarm service, the next one first.
    std::vector<Alarm> alarms();

    struct Report {
        std::int64_t posted = 0; ///< seconds since the epoch
        std::string text;
    };
    /// What hostd reports in the tray, the oldest first.
    std::vector<Report> reports();

    /// A notification of an application as the panel shows it.
    struct Card {
        std::string application;
        std::string tag;
        std::string title;
        std::string body;
        std::string icon;
        std::vector<std::string> buttons;
        std::string text; ///< the extension text as it was set
    };
    std::vector<Card> cards(); ///< the oldest first

    /// The process that owns a name on the bus, such as an application's id; 0 when none does.
    pid_t pidOf(const std::string& name);
    /// The process that serves com.velmora.host.
    pid_t daemonPid();
    /// Kills it without warning; it is off the bus when this returns. Somebody may start a new one.
    void killDaemon();

    /// Runs the main loop until done answers true, or the seconds are over: then it answers false.
    bool waitFor(const std::function<bool()>& done, double seconds = 10);

    /// What the session's processes other than the test have logged.
    std::string logText();

    /// Makes the bus start the program, in an executable file, for who calls id.
    void installApplication(const std::string& id, const std::string& executable);
};
