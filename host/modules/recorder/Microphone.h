#pragma once

#include <recorder.h>

/// Whether there is a microphone, and what is done with it. Without a sound server that answers,
/// there is one and it is idle.
struct Microphone {
    bool isThere = true;
    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
};

/// How the engine "microphone" is asked. The first look in a process waits for the sound server's
/// first answer, but not long; later ones never wait. Any thread.
using MicrophoneLook = void(Microphone& seen);
constexpr const char* kMicrophoneEngine = "microphone";
constexpr const char* kMicrophoneLook = "lookAtMicrophone";
