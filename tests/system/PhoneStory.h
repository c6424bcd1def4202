#pragma once

#include "CommandStory.h"

#include <string>
#include <vector>

/// A story of the simulated phone and the watch, told with the commands of both.
class PhoneStory : public CommandStory {
protected:
    static CommandResult tryPhone(std::vector<std::string> arguments);
    /// What a command that has to succeed prints.
    static std::string phone(const std::vector<std::string>& arguments);

    /// Pairs the phone and connects it.
    static void connectPhone();

    /// The alarms as the phone's list and the watch's show them: time, days, on or off, name; in
    /// order.
    static std::vector<std::string> alarmsOnPhone();
    std::vector<std::string> alarmsOnWatch();

    /// Waits until both have the same and the phone has heard of every change.
    void expectSame();

    /// The names of the phone alarms that are registered, in order of time. A save that was killed
    /// may have left a registration of no alarm, which does not ring.
    std::string registered();
    bool waitUntilRegistered(const std::string& names);

    int idOf(const std::string& name);

    /// Kills the service without warning.
    void killService();
};
