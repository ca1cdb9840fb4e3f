# One target carries the warnings, the sanitizers and the speed of linking; every target of ours links it PRIVATE.
add_library(project_options INTERFACE)
target_compile_options(project_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror=return-type -Werror=switch)
target_compile_definitions(project_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH QT_NO_KEYWORDS QT_USE_QSTRINGBUILDER)
if(BRIEFLET_SANITIZE)
    target_compile_options(project_options INTERFACE -fsanitize=${BRIEFLET_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(project_options INTERFACE -fsanitize=${BRIEFLET_SANITIZE})
endif()
if(BRIEFLET_FUZZ)
    # The whole program tells which of its branches an input took, not the fuzz targets alone.
    target_compile_options(project_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# brieflet_library(NAME FILES... [PUBLIC libs...] [PRIVATE libs...]): one folder of src/ as a library that links
# only what it is given, so that a wrong arrow between folders fails the build. Headers are included as "folder/Header.h".
function(brieflet_library name)
    cmake_parse_arguments(ARG "" "" "FILES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ARG_FILES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE project_options ${ARG_PRIVATE})
endfunction()

# brieflet_tests(FOLDER FILES... [LIBS...]): the GoogleTest program of one folder, each case a ctest of label FOLDER.
function(brieflet_tests name)
    cmake_parse_arguments(ARG "" "" "FILES;LIBS" ${ARGN})
    add_executable(${name}_tests ${ARG_FILES})
    target_include_directories(${name}_tests PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name}_tests PRIVATE ${name} ${ARG_LIBS} project_options GTest::gmock GTest::gtest_main)
    gtest_discover_tests(${name}_tests DISCOVERY_MODE PRE_TEST PROPERTIES LABELS ${name} TIMEOUT 120)
endfunction()

# brieflet_desk_tests(NAME FILES... [LIBS...] [SWITCHES...]): a GoogleTest program that needs a desktop. All of it is one
# ctest of label desk, run on one private desktop with the given switches (see tests/desk/desk) and beside no other test.
function(brieflet_desk_tests name)
    cmake_parse_arguments(ARG "" "" "FILES;LIBS;SWITCHES" ${ARGN})
    add_executable(${name}_tests ${ARG_FILES})
    target_include_directories(${name}_tests PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name}_tests PRIVATE ${ARG_LIBS} project_options GTest::gmock GTest::gtest_main)
    add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/desk/desk ${ARG_SWITCHES} $<TARGET_FILE:${name}_tests>)
    set_tests_properties(${name} PROPERTIES LABELS desk TIMEOUT 300 RUN_SERIAL ON)
endfunction()
