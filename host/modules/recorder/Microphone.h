#pragma once

#include <recorder.h>

/// Whether there is a microphone, and what is done with it. Without a sound server that answers,
/// there is one and it is idle.
struct Microphone {
    bool isThere = true;
    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
};

/// How the engine "microphone" is asked. While the sound server has not answered yet, at the first
/// look in a process or after the server's restart, a look waits for it, but not long. Any thread.
using MicrophoneLook = void(Microphone& seen);
constexpr const char* kMicrophoneEngine = "microphone";
constexpr const char* kMicrophoneLook = "lookAtMicrophone";
