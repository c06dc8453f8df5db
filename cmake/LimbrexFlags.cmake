# How everything of ours is compiled. Two interface targets carry the flags: limbrex_flags for every target of ours,
# limbrex_kernel_flags on top of it for the library and the plugin, which engines link and load.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo" FORCE)
endif()

if(LIMBREX_USE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(LIMBREX_CCACHE ccache)
    mark_as_advanced(LIMBREX_CCACHE)
    if(LIMBREX_CCACHE)
        set(CMAKE_C_COMPILER_LAUNCHER ${LIMBREX_CCACHE})
        set(CMAKE_CXX_COMPILER_LAUNCHER ${LIMBREX_CCACHE})
    endif()
endif()

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(limbrex_flags INTERFACE)
target_compile_options(limbrex_flags INTERFACE
    -Wall -Wextra -Wshadow -Wconversion
    $<$<BOOL:${LIMBREX_WARNINGS_AS_ERRORS}>:-Werror>
    # No fused multiply-add: a fused product is rounded once instead of twice, so poses would differ between debug and
    # optimised builds, between compilers and between machines. Recorded poses and their hashes rely on one rounding.
    -ffp-contract=off)
# A binary loads the packages that it calls, not all that its libraries know.
target_link_options(limbrex_flags INTERFACE LINKER:--as-needed)

add_library(limbrex_kernel_flags INTERFACE)
target_link_libraries(limbrex_kernel_flags INTERFACE limbrex_flags)
target_compile_options(limbrex_kernel_flags INTERFACE
    # Engines build without exceptions and run-time types; failure here is a return value.
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fvisibility-inlines-hidden>
    -fvisibility=hidden
    # Square roots become one instruction; nobody reads errno.
    -fno-math-errno)
# The instruction set stays the x86-64 baseline (SSE2): one binary for every machine a game runs on.

if(LIMBREX_SANITIZE)
    # A float that does not fit its integer is undefined like any other; bad numbers from scripts must not get there.
    set(sanitizers address,undefined,float-cast-overflow)
    target_compile_options(limbrex_flags INTERFACE
        -fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer
        # The check of virtual table pointers needs run-time types, which library and plugin, and so the objects that tests hold of them, are
        # built without.
        $<$<COMPILE_LANGUAGE:CXX>:-fno-sanitize=vptr>
        # Optimised sanitizer builds report variables as maybe unset that are not; the release build has the last word.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(limbrex_flags INTERFACE -fsanitize=${sanitizers})
endif()
