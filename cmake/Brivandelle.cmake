# Shared build rules: warnings, sanitizers, and the one-library-per-folder convention.

add_library(brv_options INTERFACE)
target_compile_options(brv_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wimplicit-fallthrough
    -Wcast-qual -Wformat=2 -Wmissing-declarations)
if(BRIVANDELLE_WERROR)
    target_compile_options(brv_options INTERFACE -Werror)
endif()
if(BRIVANDELLE_SANITIZE)
    target_compile_options(brv_options INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_link_options(brv_options INTERFACE -fsanitize=address,undefined)
endif()
target_compile_definitions(brv_options INTERFACE
    BRV_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
    BRV_CORPUS_DIR="${BRIVANDELLE_CORPUS_DIR}")

# brv_logic_library(<folder> [DEPS <targets>...] [PUBLIC_LIBS <libs>...])
# Builds every non-test .cpp directly inside the folder into the static library brv_<folder>,
# and every *_test.cpp into the test program <folder>_tests. Includes are rooted at the source
# tree ("core/pixel_buffer.h"), so a file's include line names its level.
function(brv_logic_library folder)
    cmake_parse_arguments(ARG "" "" "DEPS;PUBLIC_LIBS;TEST_LIBS" ${ARGN})
    file(GLOB all_sources CONFIGURE_DEPENDS
        "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp" "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
    set(lib_sources)
    set(test_sources)
    foreach(src IN LISTS all_sources)
        if(src MATCHES "_test\\.cpp$")
            list(APPEND test_sources "${src}")
        else()
            list(APPEND lib_sources "${src}")
        endif()
    endforeach()
    set(target brv_${folder})
    list(FILTER lib_sources INCLUDE REGEX "\\.cpp$")
    if(lib_sources)
        add_library(${target} STATIC ${lib_sources})
        target_include_directories(${target} PUBLIC "${CMAKE_SOURCE_DIR}")
        target_link_libraries(${target} PUBLIC brv_options ${ARG_DEPS} ${ARG_PUBLIC_LIBS})
    else()
        # A level with no code yet still takes its place in the dependency order.
        add_library(${target} INTERFACE)
        target_include_directories(${target} INTERFACE "${CMAKE_SOURCE_DIR}")
        target_link_libraries(${target} INTERFACE brv_options ${ARG_DEPS} ${ARG_PUBLIC_LIBS})
    endif()
    if(test_sources)
        add_executable(${folder}_tests ${test_sources})
        target_link_libraries(${folder}_tests PRIVATE ${target} brv_test_support
            ${ARG_TEST_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
        gtest_discover_tests(${folder}_tests DISCOVERY_MODE PRE_TEST
            PROPERTIES ENVIRONMENT "BRV_TEST_TMP=${CMAKE_BINARY_DIR}/test-tmp")
    endif()
endfunction()
