// How late alarms are: the time from the second for which they are set to the alert application's
// callback, with every process as a user has it. It is compared with a bare program that does no
// more than be started by the timer and the bus, and with one that also loads the alert's
// libraries, which tells how much of the time the loader takes. These two ring between the seconds
// of the same run. Runs in a session of its own:
//
//   host-session AlarmLatenessBench [-n ALARMS]
//
// Exit status: 0 within the limits, 1 not.
#include "Command.h"
#include "Count.h"
#include "HostSession.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <regex>
#include <set>
#include <stdexcept>

namespace {

const double kMedianLimit = 3;
const double kTailLimit = 10;
const size_t kFewest = 20; ///< alarms; with fewer the limits are not judged

struct Ring {
    std::string process;
    double milliseconds = 0;
};

std::string runChecked(const std::vector<std::string>& command)
{
    const CommandResult result = runCommand(command);
    if (result.status != 0)
        throw std::runtime_error(command[0] + " " + command[1] + ": " + result.err);
    return result.out;
}

int idIn(const std::string& json)
{
    std::smatch id;
    if (!std::regex_search(json, id, std::regex(R"("id":(\d+))")))
        throw std::runtime_error("no alarm in " + json);
    return std::stoi(id[1]);
}

// Sleeps until that many milliseconds after a full second, at which nothing is measured.
void sleepUntilPart(long milliseconds)
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const long nanoseconds = milliseconds * 1000000;
    const timespec wanted = { now.tv_sec + (now.tv_nsec < nanoseconds ? 0 : 1), nanoseconds };
    clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &wanted, nullptr);
}

Ring waitForRing(HostSession& session, int id)
{
    const std::regex line(R"(alarm-alert\((\d+)\): ringing alarm )" + std::to_string(id)
        + R"( at [0-9:]+, (-?\d+) us after its instant)");
    std::smatch found;
    std::string log;
    const bool rang = session.waitFor([&] {
        log = session.logText();
        return std::regex_search(log, found, line);
    });
    if (!rang)
        throw std::runtime_error("alarm " + std::to_string(id) + " did not ring");
    return { found[1], std::stod(found[2]) / 1000 };
}

// One alarm each second, each by an alert that has just been started.
std::vector<double> ringAlarms(HostSession& session, size_t count)
{
    std::vector<double> lateness;
    std::set<std::string> processes;
    while (lateness.size() < count) {
        sleepUntilPart(150);
        const int id = idIn(runChecked({ "alarm", "add", "--in", "1s", "--json" }));
        sleepUntilPart(100);
        const Ring ring = waitForRing(session, id);
        runChecked({ "alarm", "dismiss" });
        if (!processes.insert(ring.process).second)
            throw std::runtime_error("alarm " + std::to_string(id) + " found a running alert");
        lateness.push_back(ring.milliseconds);
    }
    return lateness;
}

/// Alarms that start a bare program, that many milliseconds after each second.
BackgroundCommand startBare(const char* name, int milliseconds, size_t count)
{
    return BackgroundCommand(
        { BARE_TIMER, name, std::to_string(milliseconds), std::to_string(count) });
}

std::vector<double> bareLateness(BackgroundCommand& bare)
{
    const CommandResult result = bare.finish();
    if (result.status != 0)
        throw std::runtime_error("the bare timer failed");
    const std::string& output = result.out;
    std::vector<double> lateness;
    const char* at = output.c_str();
    for (char* end = nullptr;; at = end) {
        const long microseconds = strtol(at, &end, 10);
        if (end == at)
            return lateness;
        lateness.push_back(static_cast<double>(microseconds) / 1000);
    }
}

double percentile(std::vector<double> values, double part)
{
    std::sort(values.begin(), values.end());
    const auto rank = static_cast<size_t>(part * static_cast<double>(values.size()) + 0.999999);
    return values.at(rank > 0 ? rank - 1 : 0);
}

bool compare(const char* name, double alarm, double bare, double limit)
{
    const double ratio = alarm / bare;
    printf("%-8s %9.2f %9.2f %8.2f %7.0f%s\n", name, alarm, bare, ratio, limit,
        ratio > limit ? "  over" : "");
    return ratio <= limit;
}

bool report(const std::vector<double>& alarm, const std::vector<double>& bare,
    const std::vector<double>& laden)
{
    printf("%zu alarms, %zu bare; milliseconds after the instant\n", alarm.size(), bare.size());
    printf("%-8s %9s %9s %8s %7s\n", "", "alarm", "bare", "ratio", "limit");
    const bool median
        = compare("median", percentile(alarm, 0.5), percentile(bare, 0.5), kMedianLimit);
    const bool tail = compare("p99", percentile(alarm, 0.99), percentile(bare, 0.99), kTailLimit);
    const double loading = percentile(laden, 0.5);
    printf("the bare program with the alert's libraries: median %.2f, ratio %.2f\n", loading,
        loading / percentile(bare, 0.5));
    const auto early = std::count_if(
        alarm.begin(), alarm.end(), [](double milliseconds) { return milliseconds < 0; });
    if (early > 0)
        printf("%td alarms were early\n", early);
    if (alarm.size() < kFewest) {
        printf("too few alarms to judge\n");
        return early == 0;
    }
    return median && tail && early == 0;
}

} // namespace

int main(int argc, char** argv)
{
    const size_t count = parseCount(argc, argv, 100, "ALARMS");
    try {
        HostSession session;
        BackgroundCommand bare = startBare("com.velmora.BareAlert", 500, count);
        BackgroundCommand laden = startBare("com.velmora.LadenAlert", 750, count);
        const std::vector<double> alarms = ringAlarms(session, count);
        return report(alarms, bareLateness(bare), bareLateness(laden)) ? 0 : 1;
    } catch (const std::exception& error) {
        fprintf(stderr, "AlarmLatenessBench: %s\n", error.what());
        return 1;
    }
}
