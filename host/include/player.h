#ifndef PLAYER_H
#define PLAYER_H

#include <tizen.h>
#include <sound_manager.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct player_s *player_h;

typedef enum {
    PLAYER_STATE_NONE    = 0,
    PLAYER_STATE_IDLE    = 1,
    PLAYER_STATE_READY   = 2,
    PLAYER_STATE_PLAYING = 3,
    PLAYER_STATE_PAUSED  = 4
} player_state_e;

#define PLAYER_ERROR_CLASS (TIZEN_ERROR_PLAYER | 0x20)

typedef enum {
    PLAYER_ERROR_NONE                            = TIZEN_ERROR_NONE,
    PLAYER_ERROR_NO_SUCH_FILE                    = TIZEN_ERROR_NO_SUCH_FILE,
    PLAYER_ERROR_OUT_OF_MEMORY                   = TIZEN_ERROR_OUT_OF_MEMORY,
    PLAYER_ERROR_PERMISSION_DENIED               = TIZEN_ERROR_PERMISSION_DENIED,
    PLAYER_ERROR_INVALID_PARAMETER               = TIZEN_ERROR_INVALID_PARAMETER,
    PLAYER_ERROR_FILE_NO_SPACE_ON_DEVICE         = TIZEN_ERROR_FILE_NO_SPACE_ON_DEVICE,
    PLAYER_ERROR_INVALID_OPERATION               = TIZEN_ERROR_INVALID_OPERATION,
    PLAYER_ERROR_BUFFER_SPACE                    = TIZEN_ERROR_BUFFER_SPACE,
    PLAYER_ERROR_FEATURE_NOT_SUPPORTED_ON_DEVICE = TIZEN_ERROR_NOT_SUPPORTED,
    PLAYER_ERROR_SEEK_FAILED          = PLAYER_ERROR_CLASS | 0x01, /* -26476511 */
    PLAYER_ERROR_INVALID_STATE        = PLAYER_ERROR_CLASS | 0x02, /* -26476510 */
    PLAYER_ERROR_NOT_SUPPORTED_FILE   = PLAYER_ERROR_CLASS | 0x03,
    PLAYER_ERROR_INVALID_URI          = PLAYER_ERROR_CLASS | 0x04,
    PLAYER_ERROR_SOUND_POLICY         = PLAYER_ERROR_CLASS | 0x05,
    PLAYER_ERROR_CONNECTION_FAILED    = PLAYER_ERROR_CLASS | 0x06,
    PLAYER_ERROR_RESOURCE_LIMIT       = PLAYER_ERROR_CLASS | 0x0c,
    PLAYER_ERROR_SERVICE_DISCONNECTED = PLAYER_ERROR_CLASS | 0x0d
} player_error_e;

typedef void (*player_prepared_cb)(void *user_data);
typedef void (*player_seek_completed_cb)(void *user_data);
typedef void (*player_error_cb)(int error_code, void *user_data);

int player_create(player_h *player);
int player_destroy(player_h player);
int player_get_state(player_h player, player_state_e *state);
int player_set_looping(player_h player, bool looping);
int player_set_uri(player_h player, const char *uri);
int player_set_sound_stream_info(player_h player, sound_stream_info_h stream_info);
int player_set_error_cb(player_h player, player_error_cb callback, void *user_data);
int player_prepare_async(player_h player, player_prepared_cb callback, void *user_data);
int player_unprepare(player_h player);
int player_set_play_position(player_h player, int millisecond, bool accurate,
                             player_seek_completed_cb callback, void *user_data);
int player_start(player_h player);
int player_pause(player_h player);
int player_stop(player_h player);

#ifdef __cplusplus
}
#endif

#endif
