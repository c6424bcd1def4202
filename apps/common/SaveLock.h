#pragma once

namespace app {

/**
 * The turn of one save among the package's processes, held while the object lives. The lock's file
 * also keeps the last modification time that was given, since a backup knows alarms by it: no two
 * alarms get the same, not even when the first is gone.
 */
class SaveLock {
public:
    /// Waits for the turn, for ten seconds at most.
    SaveLock();
    SaveLock(const SaveLock&) = delete;
    SaveLock& operator=(const SaveLock&) = delete;
    ~SaveLock();

    bool isHeld() const { return _file >= 0; }

    /// A modification time that nobody else gets: now, or a little later. Those of the next count -
    /// 1 seconds are the caller's too. -1 without the lock, or when it cannot be noted.
    int takeModTime(int count = 1);

private:
    int _file = -1;
};

} // namespace app
