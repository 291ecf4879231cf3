# velmora_add_test(<name> SOURCES ... LIBS ... [ENV ...] [LABELS ...])
# Builds a GoogleTest executable and registers its cases with CTest. The environment is
# pinned so results never depend on the developer's locale or display. It is applied through
# `cmake -E env` as the test's launcher, because gtest_discover_tests would split a list-valued
# ENVIRONMENT property and keep only its first entry; this way discovery runs pinned too.
function(velmora_add_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;ENV;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_link_libraries(${name} PRIVATE velmora::options GTest::gtest GTest::gtest_main ${ARG_LIBS})
    set(env LANG=C.UTF-8 LC_ALL=C.UTF-8 QT_QPA_PLATFORM=offscreen
        LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/testsupport/lsan.supp ${ARG_ENV})
    set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR "${CMAKE_COMMAND};-E;env;${env}")
    gtest_discover_tests(${name}
        DISCOVERY_TIMEOUT 60
        PROPERTIES LABELS "${ARG_LABELS}")
endfunction()
