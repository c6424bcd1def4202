#pragma once

#include "HostSession.h"
#include "TempDir.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// Another program, until the object goes.
class Program {
public:
    explicit Program(const std::string& command)
        : _pid(fork())
    {
        if (_pid == 0) {
            execl("/bin/sh", "sh", "-c", ("exec " + command + " >/dev/null 2>&1").c_str(), nullptr);
            _exit(127);
        }
    }
    ~Program()
    {
        kill(_pid, SIGKILL);
        waitpid(_pid, nullptr, 0);
    }
    void signal(int number) const { kill(_pid, number); }

private:
    const pid_t _pid;
};

/// The address of a sound server in the folder, instead of the session's, until the object goes.
class SoundAddress {
public:
    explicit SoundAddress(const TempDir& folder)
    {
        if (const char* before = getenv("PULSE_SERVER"))
            _before = before;
        setenv("PULSE_SERVER", ("unix:" + folder.file("socket")).c_str(), 1);
    }
    ~SoundAddress() { setenv("PULSE_SERVER", _before.c_str(), 1); }

private:
    std::string _before;
};

/// A sound server that a test may hold and end, with a sink "watch" and a microphone.
class SoundServer {
public:
    explicit SoundServer(const TempDir& folder)
        : _address(folder)
        , _server("env PULSE_RUNTIME_PATH=" + folder.path() + " PULSE_STATE_PATH=" + folder.path()
              + " pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no"
                " -L 'module-null-sink sink_name=watch norewinds=yes'"
                " -L 'module-null-source source_name=microphone'"
                " -L 'module-native-protocol-unix auth-anonymous=1 socket="
              + folder.file("socket") + "'")
    {
        EXPECT_TRUE(
            HostSession().waitFor([] { return system("pactl info >/dev/null 2>&1") == 0; }));
    }
    void hold() const { _server.signal(SIGSTOP); }
    void goOn() const { _server.signal(SIGCONT); }

    /// Somebody who records there, once the server knows.
    static std::unique_ptr<Program> record()
    {
        auto recorder = std::make_unique<Program>("parec -d microphone");
        EXPECT_TRUE(HostSession().waitFor(
            [] { return system("pactl list short source-outputs | grep -q .") == 0; }));
        return recorder;
    }

private:
    const SoundAddress _address;
    const Program _server;
};
