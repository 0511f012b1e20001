# wendle_add_test(<name> SOURCES <files...> [LIBS <targets...>] [KEYRING|DBUS] [XVFB]
#                 [TIMEOUT <seconds>] [LABELS <labels...>])
#
# A QtTest executable registered with CTest. Every test runs through
# tests/support/isolated-run: its own HOME and XDG folders, no session bus and
# no display of the machine, and with KEYRING a throwaway unlocked
# gnome-keyring, with DBUS a private session bus with nothing on it, with XVFB
# a private X server.
function(wendle_add_test name)
    cmake_parse_arguments(T "KEYRING;DBUS;XVFB" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
    add_executable(${name} ${T_SOURCES})
    target_link_libraries(${name} PRIVATE Qt6::Test ${T_LIBS})
    set(runner_flags)
    if(T_KEYRING)
        list(APPEND runner_flags --keyring)
    endif()
    if(T_DBUS)
        list(APPEND runner_flags --dbus)
    endif()
    if(T_XVFB)
        list(APPEND runner_flags --xvfb)
    endif()
    add_test(NAME ${name}
        COMMAND ${PROJECT_SOURCE_DIR}/tests/support/isolated-run ${runner_flags} -- $<TARGET_FILE:${name}>)
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 120)
    endif()
    set_tests_properties(${name} PROPERTIES TIMEOUT ${T_TIMEOUT} LABELS "${T_LABELS}")
endfunction()
