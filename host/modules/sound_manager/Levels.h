#pragma once

#include "host/common/DaemonLink.h"

#include <map>

/// The volume levels as this process sets and sees them. Any thread.
class Levels {
public:
    /// Throws sdbus::Error without a bus.
    static Levels& instance();

    /// Returns a SOUND_MANAGER_* code. When hostd does not answer, it gets the latest level later.
    int set(int type, int level);

    /// The level that was set last. Throws std::exception when the settings cannot be read.
    int get(int type);

private:
    explicit Levels(host::DaemonLink& link);
    void _renew();

    host::DaemonLink& _link;
    std::map<int, int> _unsaved; ///< not stored yet, by type; the link's thread only
};
