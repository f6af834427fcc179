# How every room of the library is compiled, and how tests and benchmarks are declared.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()
# The trace of a failure reads Class::Method, from a release build too: asserts stay out, locations stay in.
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

add_library(orvex_flags INTERFACE)
target_include_directories(orvex_flags INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_options(orvex_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    -ffp-contract=off
    # g++ 12 turns (double)(float)x into x where it vectorises two of them outside a loop (-O2 and -O3): a step that is to be
    # stored in single precision would keep its double.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-tree-slp-vectorize>
    # False alarms of g++ 12 in optimised builds, in the standard library's own strings and function objects.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict -Wno-maybe-uninitialized>
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>
    $<$<BOOL:${ORVEX_WERROR}>:-Werror>)
if(ORVEX_SANITIZE)
    target_compile_options(orvex_flags INTERFACE -fsanitize=${ORVEX_SANITIZE} -fno-omit-frame-pointer
        -fno-sanitize-recover=all)
    target_link_options(orvex_flags INTERFACE -fsanitize=${ORVEX_SANITIZE})
else()
    target_compile_options(orvex_flags INTERFACE -fstack-protector-strong
        $<$<CONFIG:Release>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
    target_link_options(orvex_flags INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
endif()

find_package(Threads REQUIRED)
target_link_libraries(orvex_flags INTERFACE Threads::Threads)

# Rooms that wait for an instrument or report failures: a release wants them small. The others compute, or stand in every call.
set(ORVEX_SMALL_ROOMS platform_system platform_real platform_libusb platform_automation utilities threads_and_dates timing
    configuration usb lowlevel measurement device toolkit control)

# Rooms of long loops, and those that stand in every call: inlining pays there.
set(ORVEX_BULK_ROOMS color_c c_sdk device_kinds calculation cmetry)
# Elsewhere -O3 inlines no more than -O2 does: that keeps most of its speed and takes a tenth less room. Single files of other
# rooms are built so too, where it costs nothing.
set(ORVEX_MODEST_INLINING "$<$<AND:$<CONFIG:Release>,$<CXX_COMPILER_ID:GNU>>:--param=max-inline-insns-auto=8;--param=early-inlining-insns=6;--param=max-inline-insns-single=60;--param=inline-min-speedup=30;-fno-ipa-cp-clone>")

# orvex_room(NAME source...): one room as object code, linked into both libraries and into the tests.
function(orvex_room name)
    add_library(orvex_${name} OBJECT ${ARGN})
    set_property(GLOBAL APPEND PROPERTY ORVEX_ROOMS ${name})
    target_link_libraries(orvex_${name} PRIVATE orvex_flags)
    # What nobody calls is left out when a library is linked.
    target_compile_options(orvex_${name} PRIVATE $<$<CONFIG:Release>:-ffunction-sections -fdata-sections>)
    if(name IN_LIST ORVEX_SMALL_ROOMS)
        target_compile_options(orvex_${name} PRIVATE $<$<CONFIG:Release>:-Os>)
    elseif(NOT name IN_LIST ORVEX_BULK_ROOMS)
        target_compile_options(orvex_${name} PRIVATE "${ORVEX_MODEST_INLINING}")
    endif()
endfunction()

add_custom_target(threaded_tests)

# orvex_test(NAME SOURCES file... [ROOMS room...] [LIBRARIES target...] [LABELS label...])
# A GoogleTest program, cut after ten minutes. ROOMS are linked as objects; a test through the exported calls names a library instead.
# The label "threaded" puts a test into the ThreadSanitizer run.
function(orvex_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;ROOMS;LIBRARIES;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE orvex_flags GTest::gmock GTest::gtest_main ${ARG_LIBRARIES})
    # GoogleTest's macros trip over some of the stricter warnings.
    target_compile_options(${name} PRIVATE -Wno-conversion)
    foreach(room ${ARG_ROOMS})
        target_link_libraries(${name} PRIVATE $<TARGET_OBJECTS:orvex_${room}>)
    endforeach()
    add_test(NAME ${name} COMMAND ${name})
    if("threaded" IN_LIST ARG_LABELS)
        add_dependencies(threaded_tests ${name})
    endif()
    set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT 600 ENVIRONMENT "TZ=UTC")
endfunction()

# orvex_benchmark(NAME SOURCES file... [ROOMS room...] [LIBRARIES target...]): a Google Benchmark program.
function(orvex_benchmark name)
    cmake_parse_arguments(ARG "" "" "SOURCES;ROOMS;LIBRARIES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE orvex_flags benchmark::benchmark_main benchmark::benchmark ${ARG_LIBRARIES})
    foreach(room ${ARG_ROOMS})
        target_link_libraries(${name} PRIVATE $<TARGET_OBJECTS:orvex_${room}>)
    endforeach()
endfunction()
