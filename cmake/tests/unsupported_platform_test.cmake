# Configures the tree for a platform the platform layer does not serve and checks that the
# configure fails, names what is missing and where its contract lives, and stops before any
# dependency is looked for. Run by CTest with SOURCE_DIR and BINARY_DIR set.
file(REMOVE_RECURSE ${BINARY_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${BINARY_DIR} -DVELMORA_PLATFORM=mac
                RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
file(REMOVE_RECURSE ${BINARY_DIR})
set(all "${out}${err}")
string(REGEX REPLACE "[ \t\r\n]+" " " flat "${all}")

if(result EQUAL 0)
    message(FATAL_ERROR "configuring for mac succeeded:\n${all}")
endif()
foreach(expected "cannot be built for 'mac'" "fs_platform_mac.cpp" "lib/libclient/platform/fs_platform.h"
                 "ui-client/launcher/platform/")
    string(FIND "${flat}" "${expected}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "the message does not mention '${expected}':\n${all}")
    endif()
endforeach()
# find_package(ICU) is the first dependency looked for; getting that far is not "at once".
if(all MATCHES "Found ICU|Cannot find source file|Configuring done")
    message(FATAL_ERROR "the configure went on past the platform check:\n${all}")
endif()
message(STATUS "configuring for mac stops at once with the missing platform layer named")
