# velmora_add_test(<name> SOURCES ... LIBS ... [ENV ...] [LABELS ...] [BUNDLE <folder>])
# Builds a GoogleTest executable and registers its cases with CTest. The environment is
# pinned so results never depend on the developer's locale or display. It is applied through
# `cmake -E env` as the test's launcher, because gtest_discover_tests would split a list-valued
# ENVIRONMENT property and keep only its first entry; this way discovery runs pinned too.
# BUNDLE builds the test as <folder>/Contents/MacOS/<name>, so the service finds that folder as
# its bundle root; the cases of such a test share the bundle's files and run one at a time.
function(velmora_add_test name)
    cmake_parse_arguments(ARG "" "BUNDLE" "SOURCES;LIBS;ENV;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_link_libraries(${name} PRIVATE velmora::options GTest::gtest GTest::gtest_main ${ARG_LIBS})
    set(env LANG=C.UTF-8 LC_ALL=C.UTF-8 QT_QPA_PLATFORM=offscreen
        LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/sanitizers/lsan.supp ${ARG_ENV})
    set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR "${CMAKE_COMMAND};-E;env;${env}")
    set(properties)
    if(ARG_LABELS)
        list(APPEND properties LABELS "${ARG_LABELS}")
    endif()
    if(ARG_BUNDLE)
        set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${ARG_BUNDLE}/Contents/MacOS)
        list(APPEND properties RESOURCE_LOCK ${ARG_BUNDLE})
    endif()
    gtest_discover_tests(${name}
        DISCOVERY_TIMEOUT 60
        PROPERTIES ${properties})
endfunction()
