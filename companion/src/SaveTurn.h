#pragma once

#include <chrono>
#include <memory>

namespace companion {

/**
 * The turn of one save among the package's processes, held while the object lives. Processes that
 * wait for it stand in a line, which SQLite's own lock has not: who asks for that one again and
 * again gets it before who has waited longest. What keeps two saves apart is SQLite's lock all the
 * same, so nothing is lost without the turn's file; the line is.
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
