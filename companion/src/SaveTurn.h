#pragma once

#include <chrono>
#include <memory>

namespace companion {

/**
 * The turn of one save among the package's processes, held while the object lives. Processes that
 * wait for their turn stand in a line that the kernel keeps, and are served in the order in which
 * they came. SQLite's own lock has no such line: a process that tries it often gets it before one
 * that has waited longer. It is SQLite's lock that keeps two saves apart, so where the turn's file
 * cannot be made a save goes on without a turn.
 *
 * The file also keeps the last modification time that was given. Main loop only.
 */
class SaveTurn {
public:
    explicit SaveTurn(std::chrono::steady_clock::time_point end);

    bool isHeld() const { return _file != nullptr; }

    /// Whether another process still had the turn at the end.
    bool isLate() const { return _isLate; }

    /// 0 when none is known.
    int lastModTime() const;

    /// False when it cannot be written.
    bool noteModTime(int modTime) const;

private:
    struct File;
    struct Wait;

    bool _come(std::chrono::steady_clock::time_point end);

    std::shared_ptr<const File> _file;
    bool _isLate;
};

} // namespace companion
