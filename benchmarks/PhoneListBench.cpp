// How long the watch takes to store and register a phone's list of alarms, through the service and
// with every write on the disk, and whether each alarm of a list ten times as long takes as long.
// Runs in a session of its own:
//
//   host-session PhoneListBench [-n ALARMS, at most 100]
//
// Exit status: 0 within the limit, 1 not.
#include "Command.h"
#include "Count.h"
#include "HostSession.h"

#include <algorithm>
#include <app_common.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

const double kLimit = 2;
const size_t kFewest = 100; ///< alarms; with fewer the limit is not judged
const size_t kLonger = 10;

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

// Connects by a relative name, because a socket's address holds only a short path.
int connectToService()
{
    const std::unique_ptr<char, void (*)(void*)> folder(app_get_shared_trusted_path(), free);
    if (!folder || chdir(folder.get()) != 0)
        throw std::runtime_error("there is no folder for the socket");
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = { AF_UNIX, "phone.sock" };
    if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("the service does not listen");
    return connection;
}

/// The phone's end of the link. It waits for each answer.
class Phone {
public:
    Phone()
        : _link(fdopen(connectToService(), "r+"), fclose)
    {
    }

    void send(const std::string& line)
    {
        const std::string bytes = line + '\n';
        if (write(fileno(_link.get()), bytes.data(), bytes.size())
            != static_cast<ssize_t>(bytes.size()))
            throw std::runtime_error("the service does not read");
    }

    /// Waits for a message of that kind and ignores others.
    void waitFor(const std::string& kind)
    {
        char* line = nullptr;
        size_t size = 0;
        bool isFound = false;
        while (!isFound && getline(&line, &size, _link.get()) > 0)
            isFound = std::string(line).find("\"alarm-" + kind + '"') != std::string::npos;
        free(line);
        if (!isFound)
            throw std::runtime_error("no " + kind + " came");
    }

private:
    File _link;
};

std::string listOf(size_t count, int changes)
{
    std::string list;
    for (size_t i = 0; i < count; ++i) {
        const size_t minutesOfDay = 1440;
        const size_t minute = i * 7 % minutesOfDay + (i == 0 ? changes : 0);
        list += (i == 0 ? "" : ",") + (R"({"uuid":"u)" + std::to_string(i))
            + R"(","title":"Alarm","alarm_time":)" + std::to_string(minute / 60 * 100 + minute % 60)
            + R"(,"alerttime":0,"created_time":1,"modified_time":)"
            + std::to_string(i == 0 ? changes + 1 : 1)
            + R"(,"enable":true,"repeat_type":286331157,"is_deleted":false})";
    }
    return "[" + list + "]";
}

/// Milliseconds from sending the list to the answer to the message sent after it.
double sendList(int pairing, int sequence, const std::string& list)
{
    using std::chrono::steady_clock;
    const std::string number = std::to_string(sequence);
    Phone phone;
    phone.send(R"({"msgId":"alarm-sequence-req","phone":)" + std::to_string(pairing)
        + ",\"sequence\":" + number + "}");
    phone.waitFor("list-req");
    const auto start = steady_clock::now();
    phone.send(
        R"({"msgId":"alarm-list-rsp","number":1,"sequence":)" + number + ",\"list\":" + list + "}");
    phone.send(R"({"msgId":"alarm-mobile-update-ind","sequence":0,"list":[]})");
    phone.waitFor("mobile-update-ack");
    return std::chrono::duration<double, std::milli>(steady_clock::now() - start).count();
}

/// Milliseconds for each new alarm.
double measure(HostSession& session, int pairing, size_t count)
{
    const double stored = sendList(pairing, 1, listOf(count, 0));
    if (session.alarms().size() != count)
        throw std::runtime_error("not every alarm is registered");
    const double again = sendList(pairing, 2, listOf(count, 1));
    printf(
        "%6zu %12.0f %12.2f %16.0f\n", count, stored, stored / static_cast<double>(count), again);
    return stored / static_cast<double>(count);
}

void startService(HostSession& session)
{
    session.setKey("db/wms/host_status/vendor", std::string("velmora"));
    session.setKey("memory/private/vap/conn_type", 1);
    session.setKey("memory/wms/wmanager_connected", true);
    const char* const service = "com.velmora.alarm-service";
    const CommandResult started = runCommand({ "hostctl", "launch", service });
    if (started.status != 0)
        throw std::runtime_error(started.err);
}

bool run(size_t count)
{
    HostSession session;
    startService(session);
    printf("%6s %12s %12s %16s\n", "alarms", "all new, ms", "each, ms", "one changed, ms");
    const double few = measure(session, 1, count);
    const double many = measure(session, 2, count * kLonger);
    const double ratio = many / few;
    printf("each of the many against each of the few: %.2f, limit %.1f\n", ratio, kLimit);
    if (count < kFewest) {
        printf("too few alarms to judge\n");
        return true;
    }
    return ratio <= kLimit;
}

} // namespace

int main(int argc, char** argv)
{
    const size_t most = 100; // ten times as many are all that a list may have
    const size_t count = std::min(parseCount(argc, argv, most, "ALARMS"), most);
    try {
        return run(count) ? 0 : 1;
    } catch (const std::exception& error) {
        fprintf(stderr, "PhoneListBench: %s\n", error.what());
        return 1;
    }
}
