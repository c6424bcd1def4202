#ifndef TIZEN_H
#define TIZEN_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#define TIZEN_ERROR_NONE               0
#define TIZEN_ERROR_NOT_PERMITTED     (-1)
#define TIZEN_ERROR_NO_SUCH_FILE      (-2)
#define TIZEN_ERROR_IO_ERROR          (-5)
#define TIZEN_ERROR_NO_SUCH_DEVICE    (-6)
#define TIZEN_ERROR_OUT_OF_MEMORY     (-12)
#define TIZEN_ERROR_PERMISSION_DENIED (-13)
#define TIZEN_ERROR_INVALID_PARAMETER (-22)
#define TIZEN_ERROR_FILE_NO_SPACE_ON_DEVICE (-28)
#define TIZEN_ERROR_INVALID_OPERATION (-38)
#define TIZEN_ERROR_NO_DATA           (-61)
#define TIZEN_ERROR_BUFFER_SPACE      (-105)
#define TIZEN_ERROR_REMOTE_IO         (-121)
#define TIZEN_ERROR_KEY_NOT_AVAILABLE (-126)
#define TIZEN_ERROR_KEY_REJECTED      (-129)
#define TIZEN_ERROR_UNKNOWN           (-1073741824)
#define TIZEN_ERROR_TIMED_OUT         (-1073741823)
#define TIZEN_ERROR_NOT_SUPPORTED     (-1073741822)

/* module bases; a module code is base | small number */
#define TIZEN_ERROR_SYSTEM_CLASS  (-0x00020000)
#define TIZEN_ERROR_APPLICATION   (-0x01100000)
#define TIZEN_ERROR_MESSAGE_PORT  (-0x01130000)
#define TIZEN_ERROR_NOTIFICATION  (-0x01140000)
#define TIZEN_ERROR_BUNDLE        (-0x01180000) /* [chosen] */
#define TIZEN_ERROR_DATA_CONTROL  (-0x01190000)
#define TIZEN_ERROR_PLAYER        (-0x01940000)
#define TIZEN_ERROR_RECORDER      (-0x01950000)
#define TIZEN_ERROR_SOUND_MANAGER (-0x01960000)

#ifdef __cplusplus
extern "C" {
#endif

/* Why the thread's last call that returns a handle returned none; TIZEN_ERROR_NONE when it returned
   one. Only notification_create and notification_load_by_tag tell. */
int get_last_result(void);

#ifdef __cplusplus
}
#endif

#endif
