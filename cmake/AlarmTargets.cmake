# One function per kind of target.

# A module of the host platform: an object library in libalarm-host.so.
function(host_module)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME" "SOURCES;LIBRARIES")
    add_library(host-${arg_NAME} OBJECT ${arg_SOURCES})
    set_target_properties(host-${arg_NAME} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    target_link_libraries(host-${arg_NAME} PRIVATE alarm-build alarm-platform host-common
                                                   ${arg_LIBRARIES})
    target_link_libraries(alarm-host PRIVATE host-${arg_NAME} ${arg_LIBRARIES})
endfunction()

# What a module loads when it is needed first, as host::engineFunction finds it.
function(host_engine)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME" "SOURCES;LIBRARIES")
    add_library(host-${arg_NAME}-engine MODULE ${arg_SOURCES})
    set_target_properties(
        host-${arg_NAME}-engine PROPERTIES PREFIX "" OUTPUT_NAME alarm-host-${arg_NAME}
                                           LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
    target_link_libraries(host-${arg_NAME}-engine PRIVATE alarm-build alarm-platform host-common
                                                          ${arg_LIBRARIES})
    add_dependencies(alarm-host host-${arg_NAME}-engine)
endfunction()

# C++ code for both ends of a D-Bus interface, as <interface>-proxy.h and <interface>-adaptor.h.
function(host_dbus_interface interface)
    set(xml ${CMAKE_CURRENT_SOURCE_DIR}/${interface}.xml)
    set(proxy ${CMAKE_CURRENT_BINARY_DIR}/${interface}-proxy.h)
    set(adaptor ${CMAKE_CURRENT_BINARY_DIR}/${interface}-adaptor.h)
    add_custom_command(
        OUTPUT ${proxy} ${adaptor}
        COMMAND sdbus-c++-xml2cpp ${xml} --proxy=${proxy} --adaptor=${adaptor}
        DEPENDS ${xml}
        VERBATIM)
    add_custom_target(${interface}-code DEPENDS ${proxy} ${adaptor})
    add_dependencies(host-dbus ${interface}-code)
endfunction()

# An application of the watch. Its file is named by its application id, in its package's folder, from
# which the platform knows both. ON_BOOT: the device starts it when it boots.
function(alarm_application name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "ON_BOOT" "ID;PACKAGE" "SOURCES;LIBRARIES")
    add_executable(${name} ${arg_SOURCES})
    set_target_properties(
        ${name}
        PROPERTIES OUTPUT_NAME ${arg_ID}
                   RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/ro/${arg_PACKAGE}/bin)
    target_link_libraries(${name} PRIVATE alarm-build alarm-common alarm-app-common
                                          ${arg_LIBRARIES})
    host_service_file(${arg_ID} ${name})
    if(arg_ON_BOOT)
        file(WRITE ${PROJECT_BINARY_DIR}/ro/${arg_PACKAGE}/${arg_ID}.manifest "on-boot=true\n")
    endif()
endfunction()

# The bus starts target when somebody calls name.
function(host_service_file name target)
    file(
        GENERATE
        OUTPUT ${PROJECT_BINARY_DIR}/dbus-services/${name}.service
        CONTENT "[D-BUS Service]\nName=${name}\nExec=$<TARGET_FILE:${target}>\n")
    add_dependencies(session ${target})
endfunction()

# A test of one class of the library, on doubles of the platform: one process for all of its cases.
function(alarm_unit_test class)
    add_executable(${class}Test unit/${class}Test.cpp)
    add_dependencies(unit-tests ${class}Test)
    target_link_libraries(${class}Test PRIVATE alarm-build alarm-common-objects platform-doubles
                                               GTest::gmock_main)
    target_precompile_headers(${class}Test REUSE_FROM test-headers)
    add_test(NAME ${class}Test COMMAND ${class}Test --gtest_brief=1)
    set_tests_properties(${class}Test PROPERTIES LABELS unit TIMEOUT 120)
endfunction()

# A fuzz target of a class of the library, on doubles of the platform. Built for fuzzing it is a
# libFuzzer program; otherwise it only replays. The corpus lies in the folder of the class's name.
function(alarm_fuzz_test class)
    add_executable(${class}Fuzz ${class}Fuzz.cpp)
    add_dependencies(unit-tests ${class}Fuzz)
    target_link_libraries(${class}Fuzz PRIVATE alarm-build alarm-common-objects platform-doubles)
    if(ALARM_SANITIZE MATCHES "fuzzer")
        target_link_options(${class}Fuzz PRIVATE -fsanitize=fuzzer)
    else()
        target_sources(${class}Fuzz PRIVATE replay.cpp)
    endif()
    add_test(NAME ${class}Fuzz.replay COMMAND ${class}Fuzz -runs=0
                                              ${CMAKE_CURRENT_SOURCE_DIR}/${class})
    set_tests_properties(${class}Fuzz.replay PROPERTIES LABELS fuzz TIMEOUT 60)
endfunction()

# Of those tests that use the desktop's libraries. What these do among themselves is not ours, and the
# thread sanitizer does not see their locks.
if(ALARM_SANITIZE STREQUAL "thread")
    set(options ignore_noninstrumented_modules=1 report_signal_unsafe=0
                suppressions=${PROJECT_SOURCE_DIR}/tests/tsan.supp)
    set(variable TSAN_OPTIONS)
else()
    set(options print_suppressions=0 suppressions=${PROJECT_SOURCE_DIR}/tests/lsan.supp)
    set(variable LSAN_OPTIONS)
endif()
list(JOIN options ":" options)
set(ALARM_TEST_ENVIRONMENT "${variable}=${options}")

# Runs a test in a session of its own, without applications that it does not start itself.
set(ALARM_SESSION ${PROJECT_SOURCE_DIR}/tests/support/in-session
                  ${PROJECT_BINARY_DIR}/bin/host-session)

# The cases of a test's executable, each in a session of its own. The cases of SHARED, names as
# --gtest_filter takes them, leave the session as they found it: those of a name have one for all and
# are one test. SERIAL: it measures time, so no other that does runs beside it; the row of these is long,
# and begins first.
function(alarm_session_test target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "SERIAL" "LABEL;TIMEOUT" "SHARED")
    set_target_properties(${target} PROPERTIES CROSSCOMPILING_EMULATOR "${ALARM_SESSION}")
    set(properties LABELS ${arg_LABEL} TIMEOUT ${arg_TIMEOUT} ENVIRONMENT ${ALARM_TEST_ENVIRONMENT})
    if(arg_SERIAL)
        list(APPEND properties RESOURCE_LOCK time COST 100)
    endif()
    foreach(cases IN LISTS arg_SHARED)
        string(REGEX REPLACE "\\.?\\*$" "" name "${cases}")
        if(name STREQUAL "")
            set(name ${target})
        endif()
        add_test(NAME ${name} COMMAND ${target} --gtest_filter=${cases} --gtest_brief=1)
        set_tests_properties(${name} PROPERTIES ${properties})
    endforeach()
    list(JOIN arg_SHARED ":" shared)
    if(NOT shared STREQUAL "*")
        gtest_discover_tests(${target} NO_PRETTY_VALUES TEST_FILTER "*-${shared}"
                             DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
    endif()
endfunction()

# A test of a host module with its real engine.
function(alarm_host_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "SERIAL" "" "SHARED")
    add_executable(${name}Test ${name}Test.cpp)
    target_link_libraries(${name}Test PRIVATE alarm-build host-support ${arg_UNPARSED_ARGUMENTS}
                                              GTest::gmock_main)
    target_precompile_headers(${name}Test REUSE_FROM test-headers)
    alarm_session_test(${name}Test LABEL host TIMEOUT 120 ${ARGN})
endfunction()

# A story of library, platform and applications.
function(alarm_system_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "SERIAL" "TIMEOUT" "SHARED")
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    add_executable(${name}Test ${name}Test.cpp)
    target_link_libraries(${name}Test PRIVATE alarm-build alarm-common host-support
                                              GTest::gmock_main)
    target_precompile_headers(${name}Test REUSE_FROM test-headers)
    alarm_session_test(${name}Test LABEL system TIMEOUT ${arg_TIMEOUT} ${ARGN})
endfunction()
