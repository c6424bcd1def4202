# The watch's own platform, from its SDK's pkg-config modules.
pkg_check_modules(
    DEVICE
    REQUIRED
    IMPORTED_TARGET
    app-assist
    appcore-common
    bundle
    capi-appfw-alarm
    capi-appfw-app-common
    capi-appfw-app-control
    capi-appfw-preference
    capi-base-utils-i18n
    capi-media-player
    capi-media-recorder
    capi-media-sound-manager
    capi-system-info
    dlog
    elementary
    feedback
    notification
    ui-extension
    vconf)
pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0)
add_library(alarm-platform INTERFACE)
target_link_libraries(alarm-platform INTERFACE PkgConfig::DEVICE)
