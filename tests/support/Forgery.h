#pragma once

#include <cstdlib>
#include <string>

/// Sends a signal that pretends to come from the bus or from hostd, to the connection, or to
/// everybody when that is empty. values: as dbus-send takes them. True when it has been sent.
inline bool forge(const std::string& connection, const std::string& path, const std::string& signal,
    const std::string& values = "")
{
    const std::string to = connection.empty() ? "" : " --dest=" + connection;
    return system(
               ("dbus-send --session --type=signal" + to + ' ' + path + ' ' + signal + ' ' + values)
                   .c_str())
        == 0;
}
