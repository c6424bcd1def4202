#ifndef VCONF_KEYS_H
#define VCONF_KEYS_H

#define VCONFKEY_VAP_CONNECTIVITY_TYPE   "memory/private/vap/conn_type"
#define VCONFKEY_WMS_WMANAGER_CONNECTED  "memory/wms/wmanager_connected"

#endif
