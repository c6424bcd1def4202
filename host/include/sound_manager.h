#ifndef SOUND_MANAGER_H
#define SOUND_MANAGER_H

#include <tizen.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct sound_stream_info_s *sound_stream_info_h;

typedef enum {
    SOUND_TYPE_SYSTEM       = 0,
    SOUND_TYPE_NOTIFICATION = 1,
    SOUND_TYPE_ALARM        = 2,
    SOUND_TYPE_RINGTONE     = 3,
    SOUND_TYPE_MEDIA        = 4,
    SOUND_TYPE_CALL         = 5,
    SOUND_TYPE_VOIP         = 6,
    SOUND_TYPE_VOICE        = 7
} sound_type_e;

typedef enum {
    SOUND_STREAM_TYPE_MEDIA               = 0,
    SOUND_STREAM_TYPE_SYSTEM              = 1,
    SOUND_STREAM_TYPE_ALARM               = 2,
    SOUND_STREAM_TYPE_NOTIFICATION        = 3,
    SOUND_STREAM_TYPE_EMERGENCY           = 4,
    SOUND_STREAM_TYPE_VOICE_INFORMATION   = 5,
    SOUND_STREAM_TYPE_VOICE_RECOGNITION   = 6,
    SOUND_STREAM_TYPE_RINGTONE_VOIP       = 7,
    SOUND_STREAM_TYPE_VOIP                = 8,
    SOUND_STREAM_TYPE_MEDIA_EXTERNAL_ONLY = 9
} sound_stream_type_e;

typedef enum {
    SOUND_STREAM_FOCUS_FOR_PLAYBACK  = 0x0001,
    SOUND_STREAM_FOCUS_FOR_RECORDING = 0x0002,
    SOUND_STREAM_FOCUS_FOR_BOTH      = 0x0003
} sound_stream_focus_mask_e;

typedef enum {
    SOUND_STREAM_FOCUS_STATE_RELEASED = 0,
    SOUND_STREAM_FOCUS_STATE_ACQUIRED = 1
} sound_stream_focus_state_e;

typedef enum {
    SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA               = 0,
    SOUND_STREAM_FOCUS_CHANGED_BY_SYSTEM              = 1,
    SOUND_STREAM_FOCUS_CHANGED_BY_ALARM               = 2,
    SOUND_STREAM_FOCUS_CHANGED_BY_NOTIFICATION        = 3,
    SOUND_STREAM_FOCUS_CHANGED_BY_EMERGENCY           = 4,
    SOUND_STREAM_FOCUS_CHANGED_BY_VOICE_INFORMATION   = 5,
    SOUND_STREAM_FOCUS_CHANGED_BY_VOICE_RECOGNITION   = 6,
    SOUND_STREAM_FOCUS_CHANGED_BY_RINGTONE            = 7,
    SOUND_STREAM_FOCUS_CHANGED_BY_VOIP                = 8,
    SOUND_STREAM_FOCUS_CHANGED_BY_CALL                = 9,
    SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA_EXTERNAL_ONLY = 10
} sound_stream_focus_change_reason_e;

/* sound behaviour: bit set handed over as int */
#define SOUND_BEHAVIOR_NONE      0
#define SOUND_BEHAVIOR_NO_RESUME 1
#define SOUND_BEHAVIOR_FADING    2

typedef enum {
    SOUND_MANAGER_ERROR_NONE              = TIZEN_ERROR_NONE,
    SOUND_MANAGER_ERROR_OUT_OF_MEMORY     = TIZEN_ERROR_OUT_OF_MEMORY,
    SOUND_MANAGER_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
    SOUND_MANAGER_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
    SOUND_MANAGER_ERROR_INVALID_OPERATION = TIZEN_ERROR_INVALID_OPERATION,
    SOUND_MANAGER_ERROR_NO_DATA           = TIZEN_ERROR_NO_DATA,
    SOUND_MANAGER_ERROR_NOT_SUPPORTED     = TIZEN_ERROR_NOT_SUPPORTED,
    SOUND_MANAGER_ERROR_INTERNAL          = TIZEN_ERROR_SOUND_MANAGER | 0x01, /* -26607615 */
    SOUND_MANAGER_ERROR_POLICY            = TIZEN_ERROR_SOUND_MANAGER | 0x02, /* -26607614 */
    SOUND_MANAGER_ERROR_NO_PLAYING_SOUND  = TIZEN_ERROR_SOUND_MANAGER | 0x03,
    SOUND_MANAGER_ERROR_INVALID_STATE     = TIZEN_ERROR_SOUND_MANAGER | 0x04
} sound_manager_error_e;

typedef void (*sound_stream_focus_state_changed_cb)(sound_stream_info_h stream_info,
    sound_stream_focus_mask_e focus_mask, sound_stream_focus_state_e focus_state,
    sound_stream_focus_change_reason_e reason_for_change, int sound_behavior,
    const char *additional_info, void *user_data);

int sound_manager_create_stream_information(sound_stream_type_e stream_type,
    sound_stream_focus_state_changed_cb callback, void *user_data,
    sound_stream_info_h *stream_info);
int sound_manager_destroy_stream_information(sound_stream_info_h stream_info);
int sound_manager_acquire_focus(sound_stream_info_h stream_info,
    sound_stream_focus_mask_e focus_mask, int sound_behavior, const char *additional_info);
int sound_manager_release_focus(sound_stream_info_h stream_info,
    sound_stream_focus_mask_e focus_mask, int sound_behavior, const char *additional_info);
int sound_manager_get_focus_state(sound_stream_info_h stream_info,
    sound_stream_focus_state_e *state_for_playback,
    sound_stream_focus_state_e *state_for_recording);
int sound_manager_get_volume(sound_type_e type, int *volume);
int sound_manager_set_volume(sound_type_e type, int volume);

#ifdef __cplusplus
}
#endif

#endif
