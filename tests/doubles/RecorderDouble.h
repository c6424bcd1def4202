#pragma once

#include <recorder.h>

/// What the microphone does. Tell it while no other thread asks.
struct RecorderDouble {
    int result = RECORDER_ERROR_NONE;
    /// Of the audio recorder; the other one is always idle.
    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
};

RecorderDouble& recorderDouble();
