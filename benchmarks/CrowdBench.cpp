// How much later an alarm rings because of another application's alarms in the same second: 64 of
// an application that hangs, and thousands of one that is not installed. The three cases, with the
// alarm alone as the first, are measured in turn. Runs in a session of its own:
//
//   host-session CrowdBench [-n ROUNDS]
//
// Exit status: 0 within the limit, 1 not.
#include "Command.h"
#include "Count.h"
#include "HostSession.h"
#include "Median.h"
#include "Registration.h"

#include <csignal>
#include <cstdio>
#include <ctime>
#include <regex>
#include <stdexcept>
#include <vector>

namespace {

const double kLimitMilliseconds = 100;
const size_t kFewest = 5; ///< rounds; with fewer the limit is not judged
const int kHanging = 64;

/// The alarms of an application that is not installed, and how long it takes to register them.
struct Crowd {
    int absent;
    int seconds;
};
const Crowd kWhole = { 4000, 60 };
const Crowd kSmall = { 20, 8 }; ///< when the rounds are too few to judge
const char* const kHangingId = "com.velmora.alarm-phone";

void registerFor(const char* application, time_t instant)
{
    if (registerApplication(application, instant) < 0)
        throw std::runtime_error(std::string("no alarm can be registered for ") + application);
}

// Milliseconds from the alarm's second to its ring, by an alert that has to be started.
double ringAt(HostSession& session, time_t instant)
{
    // Not at the end of a second: --in counts whole seconds from now.
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const timespec early = { now.tv_sec + 1, 100000000 };
    clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &early, nullptr);
    const std::string in = std::to_string(instant - time(nullptr)) + "s";
    const CommandResult added = runCommand({ "alarm", "add", "--in", in, "--json" });
    std::smatch id;
    if (!std::regex_search(added.out, id, std::regex(R"("id":(\d+))")))
        throw std::runtime_error("alarm add: " + added.err);
    const std::regex line("ringing alarm " + id[1].str() + R"( at [0-9:]+, (-?\d+) us after)");
    std::string log;
    std::smatch found;
    const bool rang = session.waitFor(
        [&] {
            log = session.logText();
            return std::regex_search(log, found, line);
        },
        kWhole.seconds + 30);
    if (!rang)
        throw std::runtime_error("the alarm did not ring");
    const double late = std::stod(found[1]) / 1000;
    runCommand({ "alarm", "dismiss" });
    session.waitFor([&] { return session.pidOf("com.velmora.alarm-alert") == 0; });
    return late;
}

double ringInACrowd(HostSession& session, const Crowd& crowd)
{
    const time_t instant = time(nullptr) + crowd.seconds;
    for (int i = 0; i < crowd.absent; ++i)
        registerFor("com.velmora.absent", instant);
    for (int i = 0; i < kHanging; ++i)
        registerFor(kHangingId, instant);
    if (time(nullptr) > instant - 3)
        throw std::runtime_error("the registrations took too long");
    return ringAt(session, instant);
}

} // namespace

int main(int argc, char** argv)
{
    const size_t rounds = parseCount(argc, argv, 5, "ROUNDS");
    try {
        HostSession session;
        std::vector<double> alone;
        std::vector<double> crowded;
        for (size_t round = 0; round < rounds; ++round) {
            alone.push_back(ringAt(session, time(nullptr) + 4));
            runCommand({ "hostctl", "launch", kHangingId });
            const pid_t hanging = session.pidOf(kHangingId);
            kill(hanging, SIGSTOP);
            crowded.push_back(ringInACrowd(session, rounds < kFewest ? kSmall : kWhole));
            kill(hanging, SIGKILL);
            session.waitFor([&] { return session.alarms().empty(); }, kWhole.seconds);
        }
        const double later = median(crowded) - median(alone);
        printf("%zu rounds; milliseconds after the second, median: alone %.2f, in the crowd %.2f\n",
            rounds, median(alone), median(crowded));
        printf("later by %.2f ms, limit %.0f%s\n", later, kLimitMilliseconds,
            later > kLimitMilliseconds ? "  over" : "");
        return rounds < kFewest || later <= kLimitMilliseconds ? 0 : 1;
    } catch (const std::exception& error) {
        fprintf(stderr, "CrowdBench: %s\n", error.what());
        return 1;
    }
}
