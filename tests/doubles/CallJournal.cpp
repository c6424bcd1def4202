#include "CallJournal.h"

#include <algorithm>
#include <iterator>
#include <mutex>

namespace {
std::mutex mutex;
} // namespace

void CallJournal::note(const std::string& call)
{
    const std::lock_guard<std::mutex> lock(mutex);
    _calls.push_back(call);
}

std::vector<std::string> CallJournal::calls() const { return callsOf(""); }

std::vector<std::string> CallJournal::callsOf(const std::string& begin) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    std::vector<std::string> result;
    std::copy_if(_calls.begin(), _calls.end(), std::back_inserter(result),
        [&](const std::string& call) { return call.compare(0, begin.size(), begin) == 0; });
    return result;
}

void CallJournal::clear()
{
    const std::lock_guard<std::mutex> lock(mutex);
    _calls.clear();
}

CallJournal& callJournal()
{
    static CallJournal instance;
    return instance;
}
