#include "host/common/Bus.h"
#include "host/common/Peers.h"
#include "host/common/Signals.h"
#include "host/tools/hostctl.h"

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <poll.h>
#include <pulse/error.h>
#include <pulse/simple.h>
#include <sound_manager.h>
#include <sys/syscall.h>
#include <system_error>
#include <thread>
#include <unistd.h>

// Plays what another application holds, such as its recording: by a process in the background that
// owns a bus name. The process ends when it is told to, or with the session.
namespace hostctl {

namespace {

const int kEndMilliseconds = 5000;
const char* const kFocus = "com.velmora.host.Focus";

struct Reason {
    const char* name;
    int value;
};

const Reason kReasons[] = {
    { "media", SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA },
    { "system", SOUND_STREAM_FOCUS_CHANGED_BY_SYSTEM },
    { "alarm", SOUND_STREAM_FOCUS_CHANGED_BY_ALARM },
    { "notification", SOUND_STREAM_FOCUS_CHANGED_BY_NOTIFICATION },
    { "emergency", SOUND_STREAM_FOCUS_CHANGED_BY_EMERGENCY },
    { "voice-information", SOUND_STREAM_FOCUS_CHANGED_BY_VOICE_INFORMATION },
    { "voice-recognition", SOUND_STREAM_FOCUS_CHANGED_BY_VOICE_RECOGNITION },
    { "ringtone", SOUND_STREAM_FOCUS_CHANGED_BY_RINGTONE },
    { "voip", SOUND_STREAM_FOCUS_CHANGED_BY_VOIP },
    { "call", SOUND_STREAM_FOCUS_CHANGED_BY_CALL },
    { "media-external", SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA_EXTERNAL_ONLY },
};

const Reason& parseReason(const std::string& name)
{
    std::string known;
    for (const Reason& reason : kReasons) {
        if (name == reason.name)
            return reason;
        known += std::string(known.empty() ? "" : ", ") + reason.name;
    }
    throw UsageError("there is no reason \"" + name + "\"; the reasons are " + known);
}

class Descriptor {
public:
    explicit Descriptor(int descriptor)
        : _descriptor(descriptor)
    {
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { reset(); }
    int get() const { return _descriptor; }
    void reset()
    {
        if (_descriptor >= 0)
            close(_descriptor);
        _descriptor = -1;
    }

private:
    int _descriptor;
};

std::system_error systemError(const char* what)
{
    return std::system_error(errno, std::generic_category(), what);
}

// What the process does first, once it has its name. Throws when it cannot.
using Begin = std::function<void(sdbus::IConnection&)>;

[[noreturn]] void beHolder(const std::string& name, const Begin& begin, Descriptor& ready)
{
    std::string failure;
    try {
        const auto connection = sdbus::createSessionBusConnection();
        try {
            connection->requestName(name);
        } catch (const sdbus::Error&) {
            throw std::runtime_error("it has been started already");
        }
        begin(*connection);
        const int null = open("/dev/null", O_RDWR);
        for (const int standard : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO })
            dup2(null, standard);
        ready.reset();
        connection->enterEventLoop(); // until the bus is gone
    } catch (const sdbus::Error& error) {
        failure = error.getMessage();
    } catch (const std::exception& error) {
        failure = error.what();
    }
    // Nobody reads the pipe once the holder has begun.
    signal(SIGPIPE, SIG_IGN);
    (void)!write(ready.get(), failure.data(), failure.size());
    _exit(failure.empty() ? EXIT_SUCCESS : EXIT_FAILURE);
}

// Returns when the holder has begun; throws its error when it cannot.
void startHolder(const std::string& name, const Begin& begin)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw systemError("pipe");
    Descriptor output(ends[0]);
    Descriptor ready(ends[1]);
    const pid_t child = fork();
    if (child < 0)
        throw systemError("fork");
    if (child == 0) {
        setsid();
        output.reset();
        beHolder(name, begin, ready);
    }
    ready.reset();
    std::string failure;
    char part[256];
    for (ssize_t length; (length = read(output.get(), part, sizeof part)) > 0;)
        failure.append(part, static_cast<size_t>(length));
    if (!failure.empty())
        throw std::runtime_error(failure);
}

// Ends the holder, and returns when it has ended.
void endHolder(const std::string& name)
{
    const pid_t pid = host::processOf(name);
    if (pid == 0)
        throw std::runtime_error("it has not been started");
    const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    if (process.get() < 0 || kill(pid, SIGTERM) != 0)
        throw systemError("ending the process in the background");
    pollfd end = { process.get(), POLLIN, 0 };
    if (poll(&end, 1, kEndMilliseconds) != 1)
        throw std::runtime_error("the process in the background does not end");
}

// Records from the default microphone until the process ends.
void beginRecording(sdbus::IConnection&)
{
    const pa_sample_spec speech = { PA_SAMPLE_S16LE, 16000, 1 };
    int error = 0;
    pa_simple* stream = pa_simple_new(nullptr, "hostctl", PA_STREAM_RECORD, nullptr, "recording",
        &speech, nullptr, nullptr, &error);
    if (!stream)
        throw std::runtime_error(std::string("cannot record: ") + pa_strerror(error));
    std::thread([stream] {
        char samples[3200];
        while (pa_simple_read(stream, samples, sizeof samples, nullptr) == 0) {
        }
        _exit(EXIT_SUCCESS); // the server is gone
    }).detach();
}

// Takes the sound focus, and claims it again from each new hostd.
void beginFocus(sdbus::IConnection& connection, int reason)
{
    using Claim = sdbus::Struct<std::uint32_t, std::int32_t, std::int32_t, std::uint64_t, bool>;
    const std::uint32_t stream = 1;
    std::uint64_t since = 0;
    static auto daemon = sdbus::createProxy(connection, host::kDaemonName, host::kDaemonPath);
    daemon->callMethod("Acquire")
        .onInterface(kFocus)
        .withArguments(stream, std::int32_t{ reason }, std::int32_t{ SOUND_STREAM_FOCUS_FOR_BOTH },
            std::int32_t{ SOUND_BEHAVIOR_NONE }, std::string())
        .storeResultsTo(since);
    const std::vector<Claim> claims = {
        { stream, SOUND_STREAM_FOCUS_FOR_PLAYBACK, reason, since, true },
        { stream, SOUND_STREAM_FOCUS_FOR_RECORDING, reason, since, true },
    };
    static const host::DaemonWatch watch(connection, [claims](const std::string& owner) {
        if (!owner.empty())
            daemon->callMethod("Renew").onInterface(kFocus).withArguments(claims).dontExpectReply();
    });
}

} // namespace

void record(const Arguments& arguments)
{
    const std::string name = "com.velmora.hostctl.record";
    if (arguments == Arguments{ "start" }) {
        startHolder(name, beginRecording);
    } else if (arguments == Arguments{ "stop" }) {
        endHolder(name);
    } else {
        throw UsageError("it must be record start or record stop");
    }
}

void focus(const Arguments& arguments)
{
    const bool isTake = !arguments.empty() && arguments[0] == "take";
    const bool isRelease = !arguments.empty() && arguments[0] == "release";
    if ((!isTake && !isRelease) || arguments.size() != 3 || arguments[1] != "--reason")
        throw UsageError("it must be focus take --reason REASON or focus release --reason REASON");
    const Reason& reason = parseReason(arguments[2]);
    const std::string name = std::string("com.velmora.hostctl.focus.") + reason.name;
    if (isRelease) {
        endHolder(name);
    } else {
        startHolder(
            name, [&](sdbus::IConnection& connection) { beginFocus(connection, reason.value); });
    }
}

} // namespace hostctl
