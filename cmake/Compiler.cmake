# Warnings, sanitizers and compiler cache shared by every target.
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  # ccache accepts precompiled headers only when told that their time stamps don't matter.
  set(CMAKE_CXX_COMPILER_LAUNCHER env
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
    CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE_PROGRAM})
endif()

add_library(orlendo_options INTERFACE)
target_compile_definitions(orlendo_options INTERFACE QT_NO_KEYWORDS QT_NO_CAST_FROM_BYTEARRAY QT_NO_FOREACH)
target_compile_options(orlendo_options INTERFACE -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual)
# Otherwise Clang takes a precompiled header that comes out of the cache for outdated.
target_compile_options(orlendo_options INTERFACE "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")
# When it optimises, as the sanitizer presets do too, GCC 12 sees uninitialized values in kj's Maybe that are none.
target_compile_options(orlendo_options INTERFACE
  $<$<CONFIG:RelWithDebInfo,Release>:-Wno-maybe-uninitialized>)
if(ORLENDO_WERROR)
  target_compile_options(orlendo_options INTERFACE -Werror)
endif()
if(ORLENDO_SANITIZE)
  target_compile_options(orlendo_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized> -fsanitize=${ORLENDO_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(orlendo_options INTERFACE -fsanitize=${ORLENDO_SANITIZE})
endif()

# For every program: what the sanitizer has to be told about libraries that are not instrumented.
function(orlendo_sanitized_program target)
  if(ORLENDO_SANITIZE STREQUAL "thread")
    target_sources(${target} PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/ThreadSanitizer.cpp)
  endif()
endfunction()
