// How soon an alarm is heard: from the alert's app-control callback to the first sound on the sound
// server's monitor. Compared with a bare GStreamer program that plays the same file, measured from
// the beginning of its main. The two take turns. Runs in a session of its own:
//
//   host-session SoundBench [-n ALARMS]
//
// Exit status: 0 within the limit, 1 not.
#include "Command.h"
#include "Count.h"
#include "HostSession.h"
#include "Listener.h"
#include "Median.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <regex>
#include <stdexcept>

namespace {

const double kLimit = 1.5; ///< the ratio of the medians
const size_t kFewest = 10; ///< alarms; with fewer the limit is not judged
const int kAudible = 8; ///< a level; the monitor is silent otherwise

struct Start {
    double milliseconds = 0; ///< to the first sound
    long kilobytes = 0; ///< resident at the first sound
};

double now()
{
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

long residentKilobytes(pid_t process)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string word; status >> word;) {
        long kilobytes = 0;
        if (word == "VmRSS:" && status >> kilobytes)
            return kilobytes;
    }
    throw std::runtime_error("process " + std::to_string(process) + " is gone");
}

std::string runChecked(const std::vector<std::string>& command)
{
    const CommandResult result = runCommand(command);
    if (result.status != 0)
        throw std::runtime_error(command[0] + " " + command[1] + ": " + result.err);
    return result.out;
}

void waitForSound(Listener& listener)
{
    if (!listener.waitForSound(kAudible))
        throw std::runtime_error("nothing is to be heard");
}

void waitForSilence(Listener& listener)
{
    if (!listener.waitForSilence(kAudible))
        throw std::runtime_error("the tone does not end");
    listener.take();
}

Start startAlarm(HostSession& session, Listener& listener, const std::string& tone)
{
    const std::string added
        = runChecked({ "alarm", "add", "--in", "1s", "--type", "1", "--tone", tone, "--json" });
    waitForSound(listener);
    const double heard = now();

    std::smatch id;
    std::smatch ring;
    if (!std::regex_search(added, id, std::regex(R"("id":(\d+))")))
        throw std::runtime_error("no alarm in " + added);
    const std::string log = session.logText();
    const std::regex line(
        R"(alarm-alert\((\d+)\): ringing alarm )" + id.str(1) + R"( at ..:..:(\d\d), (-?\d+) us)");
    if (!std::regex_search(log, ring, line))
        throw std::runtime_error("alarm " + id.str(1) + " did not ring");

    auto instant = static_cast<time_t>(heard);
    while (instant % 60 != std::stoi(ring[2]))
        --instant;
    const double called = static_cast<double>(instant) + std::stod(ring[3]) / 1e6;
    const Start start = { (heard - called) * 1000, residentKilobytes(std::stoi(ring[1])) };
    runChecked({ "alarm", "dismiss" });
    waitForSilence(listener);
    return start;
}

Start startBare(HostSession& session, Listener& listener, const std::string& tone)
{
    const BackgroundCommand bare({ BARE_TONE, tone });
    waitForSound(listener);
    const double heard = now();
    session.waitFor([&] { return bare.output().find('\n') != std::string::npos; });
    double began = 0;
    int process = 0;
    if (sscanf(bare.output().c_str(), "%d %lf", &process, &began) != 2)
        throw std::runtime_error("the bare program did not begin");
    const Start start = { (heard - began) * 1000, residentKilobytes(process) };
    bare.signal(SIGTERM);
    waitForSilence(listener);
    return start;
}

template <typename Member>
double medianOf(const std::vector<Start>& starts, Member Start::*member)
{
    std::vector<double> values;
    values.reserve(starts.size());
    for (const Start& start : starts)
        values.push_back(static_cast<double>(start.*member));
    return median(values);
}

bool report(const std::vector<Start>& alarms, const std::vector<Start>& bare)
{
    const double alarm = medianOf(alarms, &Start::milliseconds);
    const double least = medianOf(bare, &Start::milliseconds);
    const double ratio = alarm / least;
    printf("%zu of each; medians\n", alarms.size());
    printf("%-16s %9s %9s %8s %7s\n", "", "alarm", "bare", "ratio", "limit");
    printf("%-16s %9.1f %9.1f %8.2f %7.1f%s\n", "first sound, ms", alarm, least, ratio, kLimit,
        ratio > kLimit ? "  over" : "");
    const double memory = medianOf(alarms, &Start::kilobytes) / 1024;
    const double leastMemory = medianOf(bare, &Start::kilobytes) / 1024;
    printf("%-16s %9.1f %9.1f %8.2f\n", "resident, MB", memory, leastMemory, memory / leastMemory);
    if (alarms.size() < kFewest) {
        printf("too few alarms to judge\n");
        return true;
    }
    return ratio <= kLimit;
}

} // namespace

int main(int argc, char** argv)
{
    const size_t count = parseCount(argc, argv, 20, "ALARMS");
    try {
        HostSession session;
        Listener listener;
        std::vector<Start> alarms;
        std::vector<Start> bare;
        while (alarms.size() < count) {
            alarms.push_back(startAlarm(session, listener, TONE));
            bare.push_back(startBare(session, listener, TONE));
        }
        return report(alarms, bare) ? 0 : 1;
    } catch (const std::exception& error) {
        fprintf(stderr, "SoundBench: %s\n", error.what());
        return 1;
    }
}
