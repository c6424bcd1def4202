# One interface target with what every target of ours compiles and links with.
option(ALARM_WERROR "Treat warnings as errors" ON)
set(ALARM_SANITIZE "" CACHE STRING "Sanitizers to build with, such as address,undefined")

add_library(alarm-build INTERFACE)
target_compile_options(
    alarm-build INTERFACE -Wall -Wextra -Wformat=2 -Wshadow $<$<BOOL:${ALARM_WERROR}>:-Werror>)
# Each name that the loader need not look for makes an alert start sooner.
target_compile_options(
    alarm-build INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>)
target_link_options(alarm-build INTERFACE -Wl,--as-needed -Wl,-Bsymbolic-functions)
if(ALARM_SANITIZE)
    target_compile_options(
        alarm-build INTERFACE -fsanitize=${ALARM_SANITIZE} -fno-omit-frame-pointer
                              -fno-sanitize-recover=all)
    if(ALARM_SANITIZE MATCHES "undefined")
        # The platform's interfaces are C, whose callers may hand over any number as an enumerator.
        target_compile_options(alarm-build INTERFACE -fno-sanitize=enum)
    endif()
    target_link_options(alarm-build INTERFACE -fsanitize=${ALARM_SANITIZE})
else()
    target_link_options(alarm-build INTERFACE -Wl,--no-undefined)
endif()
