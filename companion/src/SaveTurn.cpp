#include "SaveTurn.h"

#include "StoreConnection.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <future>
#include <string>
#include <sys/file.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace companion {

namespace {

const char* const kFileName = ".alarm.lock";
const int kLatest
    = INT_MAX - 1000000; ///< a later note is damage; so many times can follow this one

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

SaveTurn::SaveTurn(std::chrono::steady_clock::time_point end)
{
    const std::string path = dataFile(kFileName);
    const int number = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (number < 0)
        return;
    _file = std::make_shared<const File>(number);
    if (flock(number, LOCK_EX | LOCK_NB) == 0)
        return;
    // flock() waits without a bound, so a thread of its own waits in the line. When nobody waits
    // for that thread any more, it closes the file as soon as its turn comes.
    const auto granted = std::make_shared<std::promise<void>>();
    const std::future<void> turn = granted->get_future();
    try {
        std::thread([file = _file, granted] {
            while (flock(file->number, LOCK_EX) != 0 && errno == EINTR) {
            }
            granted->set_value();
        }).detach();
    } catch (const std::system_error&) {
        return; // without a thread only SQLite's lock is waited for
    }
    if (turn.wait_until(end) != std::future_status::ready) {
        _file.reset();
        _isLate = true;
    }
}

int SaveTurn::lastModTime() const
{
    std::string note(16, '\0');
    if (!_file || pread(_file->number, note.data(), note.size(), 0) < 0)
        return 0;
    const long value = strtol(note.c_str(), nullptr, 10);
    return value > 0 && value <= kLatest ? static_cast<int>(value) : 0;
}

void SaveTurn::noteModTime(int modTime) const
{
    const std::string line = std::to_string(modTime) + '\n';
    if (_file)
        (void)pwrite(_file->number, line.data(), line.size(), 0);
}

} // namespace companion
