#include "RecorderDouble.h"

RecorderDouble& recorderDouble()
{
    static RecorderDouble instance;
    return instance;
}

int recorder_get_device_state(recorder_type_e type, recorder_device_state_e* state)
{
    if (recorderDouble().result != RECORDER_ERROR_NONE)
        return recorderDouble().result;
    *state = type == RECORDER_TYPE_AUDIO ? recorderDouble().state : RECORDER_DEVICE_STATE_IDLE;
    return RECORDER_ERROR_NONE;
}
