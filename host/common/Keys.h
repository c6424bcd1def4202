#pragma once

namespace host {

/// The store of the device's settings, and the keys that more than one program of the platform
/// uses.
inline const char* const kDeviceStore = "vconf";
/// The language of texts, such as "ko_KR.UTF-8".
inline const char* const kLanguageKey = "db/menu_widget/language";
/// The region whose dates and numbers are written, such as "ko_KR.UTF-8".
inline const char* const kRegionFormatKey = "db/menu_widget/regionformat";
/// 1: times are shown in 12 hours, 2: in 24 hours.
inline const char* const kClockKey = "db/menu_widget/regionformat_time1224";
/// The zone, such as "Asia/Seoul", for who wants to hear of its changes: hostd copies it from the
/// session's link, which is what counts.
inline const char* const kZoneKey = "db/setting/timezone_id";

} // namespace host
