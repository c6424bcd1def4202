#include "SaveTurn.h"

#include "StoreConnection.h"

#include <cerrno>
#include <climits>
#include <condition_variable>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <sys/file.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace companion {

namespace {

const char* const kFileName = ".alarm.lock";
const int kLatest = INT_MAX - 1000000; ///< a later note is damage: it would leave no times to give

} // namespace

/// An open file. Closing it gives the turn to the next.
struct SaveTurn::File {
    explicit File(int descriptor)
        : number(descriptor)
    {
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { close(number); }

    const int number;
};

/// A place in the line, and the turn when it has come. flock() waits without a bound, so a thread
/// of its own stands there.
struct SaveTurn::Wait {
    std::mutex mutex; ///< guards the rest
    std::condition_variable came;
    std::shared_ptr<const File> turn;
    bool isWanted = true;
    bool isOver = false;

    /// Whether the turn is still to come, to a save that waits for it now.
    bool takeOver()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        isWanted = !isOver;
        return isWanted;
    }

    /// Stands in the line. A turn that nobody wants any more goes to the next.
    void stand(std::shared_ptr<const File> file)
    {
        while (flock(file->number, LOCK_EX) != 0 && errno == EINTR) {
        }
        const std::lock_guard<std::mutex> lock(mutex);
        isOver = true;
        if (isWanted)
            turn = std::move(file);
        came.notify_one();
    }
};

SaveTurn::SaveTurn(std::chrono::steady_clock::time_point end)
    : _isLate(!_come(end))
{
}

// A process that was late keeps its place for its next save. Else a process that is stopped in its
// turn for long would fill the others with threads.
bool SaveTurn::_come(std::chrono::steady_clock::time_point end)
{
    static std::shared_ptr<Wait> late;
    std::shared_ptr<Wait> wait = std::exchange(late, nullptr);
    if (!wait || !wait->takeOver()) {
        const int number = open(dataFile(kFileName).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (number < 0)
            return true;
        const auto file = std::make_shared<const File>(number);
        if (flock(number, LOCK_EX | LOCK_NB) == 0) {
            _file = file;
            return true;
        }
        wait = std::make_shared<Wait>();
        try {
            std::thread(&Wait::stand, wait, file).detach();
        } catch (const std::system_error&) {
            return true; // without a thread only SQLite's lock is waited for
        }
    }
    std::unique_lock<std::mutex> lock(wait->mutex);
    const bool hasCome = wait->came.wait_until(lock, end, [&wait] { return wait->isOver; });
    _file = std::move(wait->turn);
    wait->isWanted = false;
    if (!hasCome)
        late = wait;
    return hasCome;
}

int SaveTurn::lastModTime() const
{
    std::string note(16, '\0');
    if (!_file || pread(_file->number, note.data(), note.size(), 0) < 0)
        return 0;
    const long value = strtol(note.c_str(), nullptr, 10);
    return value > 0 && value <= kLatest ? static_cast<int>(value) : 0;
}

bool SaveTurn::noteModTime(int modTime) const
{
    const std::string line = std::to_string(modTime) + '\n';
    const auto size = static_cast<ssize_t>(line.size());
    return !_file || pwrite(_file->number, line.data(), line.size(), 0) == size;
}

} // namespace companion
