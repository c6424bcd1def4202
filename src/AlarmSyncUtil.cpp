#include "AlarmSyncUtil.h"

#include "AlarmLog.h"

#include <cstdlib>
#include <cstring>
#include <sys/time.h>
#include <vconf.h>

namespace {
const char* const kConnectionTypeKey = "memory/private/vap/conn_type";
const char* const kWatchManagerKey = "memory/wms/wmanager_connected";
const char* const kVendorKey = "db/wms/host_status/vendor";
const char* const kNotificationKey = "db/alarm/host_alarm_notification_enabled";

const char* const kOurVendor = "velmora";
const int kBluetoothBit = 1;
} // namespace

long long AlarmSyncUtil::getCurrentDeviceMilliSecTime()
{
    timeval now = {};
    gettimeofday(&now, nullptr);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

void AlarmSyncUtil::requestWatchUpdate() {}

bool AlarmSyncUtil::isBtConnected()
{
    int type = 0;
    if (vconf_get_int(kConnectionTypeKey, &type) != VCONF_OK) {
        LOG_CRITICAL("vconf_get_int(VCONFKEY_VAP_CONNECTIVITY_TYPE FAILED");
        return false;
    }
    if ((type & kBluetoothBit) == 0)
        return false;

    int connected = 0;
    if (vconf_get_bool(kWatchManagerKey, &connected) != VCONF_OK) {
        LOG_CRITICAL("vconf_get_int(VCONFKEY_WMS_WMANAGER_CONNECTED FAILED");
        return false;
    }
    return connected != 0;
}

bool AlarmSyncUtil::_isConnectedWithOurCompany()
{
    char* vendor = vconf_get_str(kVendorKey);
    if (!vendor)
        return false;
    const bool ours = strcmp(vendor, kOurVendor) == 0;
    free(vendor);
    return ours;
}

bool AlarmSyncUtil::_isNotificationStateEnabled()
{
    int enabled = 0;
    if (vconf_get_bool(kNotificationKey, &enabled) != VCONF_OK) {
        LOG_CRITICAL("Failed to vconf_get_bool");
        return true;
    }
    LOG_CRITICAL("notiStateEnabled = %d", enabled);
    return enabled != 0;
}
