#pragma once

#include "host/common/DaemonLink.h"

#include <map>

/// The volume levels, as this process sets and sees them. Any thread.
class Levels {
public:
    /// Throws sdbus::Error without a bus.
    static Levels& instance();

    /// A SOUND_MANAGER_* code. A daemon that does not answer gets the latest level later.
    int set(int type, int level);

    /// What was set last. Throws std::exception when the settings cannot be read.
    int get(int type);

private:
    explicit Levels(host::DaemonLink& link);
    void _renew();

    host::DaemonLink& _link;
    std::map<int, int> _unsaved; ///< by type, until hostd has put it on disk; the link's thread
};
