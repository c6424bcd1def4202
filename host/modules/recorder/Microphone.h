#pragma once

#include <recorder.h>

/// Whether there is a microphone, and what it is used for. When no sound server answers, it counts
/// as there and idle.
struct Microphone {
    bool isThere = true;
    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
};

/// The function of the engine "microphone". Its first call in a process, or after a restart of the
/// sound server, waits for the server's answer, for 100 ms at most. Any thread.
using MicrophoneLook = void(Microphone& seen);
constexpr const char* kMicrophoneEngine = "microphone";
constexpr const char* kMicrophoneLook = "lookAtMicrophone";
