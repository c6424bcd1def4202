#include "host/tools/host_session/Sound.h"

#include "host/tools/host_session/Folder.h"
#include "host/tools/host_session/Processes.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace session {

namespace {

const char* const kServer = "PULSE_SERVER";
const std::chrono::seconds kAnswerLimit(2);

// Whether the sound server that the environment names answers: a server that has ended may have
// left its socket behind.
bool answers(Processes& processes)
{
    try {
        const pid_t asking = processes.startQuestion({ "pactl", "info" });
        const auto status = processes.waitFor(asking, kAnswerLimit);
        if (!status)
            kill(asking, SIGKILL);
        return status == 0;
    } catch (const std::system_error&) {
        return false; // pactl is not installed
    }
}

bool takeUsersServer(Processes& processes)
{
    const char* runtime = getenv("XDG_RUNTIME_DIR");
    const std::string socket = std::string(runtime ? runtime : "") + "/pulse/native";
    std::error_code error;
    if (!runtime || !std::filesystem::is_socket(socket, error))
        return false;
    setenv(kServer, ("unix:" + socket).c_str(), 1);
    return answers(processes);
}

void startOwnServer(Processes& processes, const Folder& folder)
{
    const std::string socket = folder.file("sound/native");
    setenv(kServer, ("unix:" + socket).c_str(), 1);
    const int listening = folder.makeSocket("sound/native");
    // srbchannel=no, because with that shared ring buffer libpulse's thread runs on forever in a
    // client whose server ends during the setup, as when a session ends right after it began.
    try {
        processes.startServer(
            { "pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
                "--high-priority=no", "--realtime=no", "--log-target=stderr", "--log-level=error",
                "-L", "module-stream-restore restore_device=no restore_muted=no", //
                "-L", "module-null-sink sink_name=watch norewinds=yes", //
                "-L", "module-null-source source_name=microphone", //
                "-L",
                "module-native-protocol-unix socket=" + socket
                    + " auth-anonymous=1 srbchannel=no" },
            listening,
            { { "PULSE_RUNTIME_PATH", folder.file("sound") },
                { "PULSE_STATE_PATH", folder.file("sound") },
                // Without this variable PulseAudio executes itself again to set it.
                { "LD_BIND_NOW", "1" } });
    } catch (const std::system_error&) {
        fputs("host-session: pulseaudio is not installed: tones keep their time, but nobody hears "
              "them\n",
            stderr);
    }
    close(listening);
}

} // namespace

void startSound(Processes& processes, const Folder& folder)
{
    const char* named = getenv(kServer);
    if ((!named || !*named) && !takeUsersServer(processes))
        startOwnServer(processes, folder);
}

} // namespace session
