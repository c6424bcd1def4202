# The watch's own platform, from its SDK's pkg-config modules.
pkg_check_modules(
    DEVICE
    REQUIRED
    IMPORTED_TARGET
    bundle
    capi-appfw-alarm
    capi-appfw-app-common
    capi-appfw-app-control
    capi-appfw-preference
    dlog
    vconf)
add_library(alarm-platform INTERFACE)
target_link_libraries(alarm-platform INTERFACE PkgConfig::DEVICE)
