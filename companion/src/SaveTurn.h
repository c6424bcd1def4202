#pragma once

#include <chrono>
#include <memory>

namespace companion {

/**
 * The turn of one save among the package's processes, held while the object lives. Processes that
 * wait for their turn stand in a line that the kernel keeps, the first come first. SQLite's own
 * lock has no such line: a process that tries it often gets it before one that has waited longer.
 * It is SQLite's lock that keeps two saves apart, so when the turn's file is missing only the order
 * is lost.
 *
 * The file also keeps the last modification time that was given.
 */
class SaveTurn {
public:
    explicit SaveTurn(std::chrono::steady_clock::time_point end);

    /// Whether another process still had the turn at the end.
    bool isLate() const { return _isLate; }

    /// 0 when none is known.
    int lastModTime() const;
    void noteModTime(int modTime) const;

private:
    struct File;

    std::shared_ptr<const File> _file; ///< none when it cannot be made
    bool _isLate = false;
};

} // namespace companion
