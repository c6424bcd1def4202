#include "recorder.h"

#include "host/common/Boundary.h"
#include "host/common/Engine.h"
#include "Microphone.h"

extern "C" int recorder_get_device_state(recorder_type_e type, recorder_device_state_e* state)
{
    if (!state || (type != RECORDER_TYPE_AUDIO && type != RECORDER_TYPE_VIDEO))
        return RECORDER_ERROR_INVALID_PARAMETER;
    if (type == RECORDER_TYPE_VIDEO)
        return RECORDER_ERROR_NOT_SUPPORTED;
    return host::guarded("The state of the microphone cannot be read",
        host::OutOfMemoryOr{ RECORDER_ERROR_INVALID_OPERATION }, [state]() -> int {
            static MicrophoneLook* const look
                = host::engineFunction<MicrophoneLook>(kMicrophoneEngine, kMicrophoneLook);
            Microphone seen;
            look(seen);
            if (!seen.isThere)
                return RECORDER_ERROR_NOT_SUPPORTED;
            *state = seen.state;
            return RECORDER_ERROR_NONE;
        });
}
