# One interface target with what every target of ours compiles and links with.
option(ALARM_WERROR "Treat warnings as errors" ON)
set(ALARM_SANITIZE "" CACHE STRING "Sanitizers to build with, such as address,undefined")

add_library(alarm-build INTERFACE)
target_compile_options(
    alarm-build INTERFACE -Wall -Wextra -Wformat=2 -Wshadow $<$<BOOL:${ALARM_WERROR}>:-Werror>)
target_link_options(alarm-build INTERFACE -Wl,--as-needed)
# Where the device has the link to its zone's data.
target_compile_definitions(alarm-build INTERFACE ALARM_ZONE_LINK="/opt/etc/localtime")
if(ALARM_SANITIZE)
    target_compile_options(
        alarm-build INTERFACE -fsanitize=${ALARM_SANITIZE} -fno-omit-frame-pointer
                              -fno-sanitize-recover=all)
    target_link_options(alarm-build INTERFACE -fsanitize=${ALARM_SANITIZE})
else()
    target_link_options(alarm-build INTERFACE -Wl,--no-undefined)
endif()
