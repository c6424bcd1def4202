#include "common/SaveLock.h"

#include "common/AlarmTime.h"

#include <AlarmDbData.h>
#include <AlarmDbModel.h>
#include <algorithm>
#include <app_common.h>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <set>
#include <string>
#include <sys/file.h>
#include <unistd.h>
#include <vector>

namespace app {

namespace {

const int kTries = 2000;
const useconds_t kPause = 5000;
const int kLatest = INT_MAX - 1000000; ///< that was noted; many can follow it

// In order.
std::set<int> storedModTimes()
{
    std::vector<AlarmDbData> alarms;
    AlarmDbModel store;
    store.getAllAlarmList(alarms);
    store.getAllMobileAlarmList(alarms);
    std::set<int> times;
    for (const AlarmDbData& alarm : alarms)
        times.insert(alarm.modTime);
    return times;
}

bool lock(int file)
{
    for (int i = 0; i < kTries; ++i) {
        if (flock(file, LOCK_EX | LOCK_NB) == 0)
            return true;
        usleep(kPause);
    }
    return false;
}

// 0 when the text is no such time.
int modTimeIn(const char* text)
{
    const long value = strtol(text, nullptr, 10);
    return value > 0 && value <= kLatest ? static_cast<int>(value) : 0;
}

} // namespace

SaveLock::SaveLock()
{
    const std::unique_ptr<char, void (*)(void*)> folder(app_get_data_path(), free);
    if (!folder)
        return;
    const std::string path = std::string(folder.get()) + ".alarm.lock";
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0)
        return;
    if (lock(file)) {
        _file = file;
    } else {
        close(file);
    }
}

SaveLock::~SaveLock()
{
    if (isHeld())
        close(_file);
}

int SaveLock::takeModTime(int count)
{
    if (!isHeld())
        return -1;
    char text[16] = {};
    if (pread(_file, text, sizeof text - 1, 0) < 0)
        return -1;
    int given = std::max(static_cast<int>(currentTime()), modTimeIn(text) + 1);
    // A stored alarm may have any, so those are passed over, not followed.
    for (const int stored : storedModTimes()) {
        if (stored >= given && stored - given < count)
            given = stored + 1;
    }
    const std::string line = std::to_string(given + count - 1) + '\n';
    const auto size = static_cast<ssize_t>(line.size());
    if (pwrite(_file, line.data(), line.size(), 0) != size)
        return -1;
    return given;
}

} // namespace app
