# Settings that every target of the project shares: warnings, sanitizers, compiler cache.

option(TLM_USE_CCACHE "Compile through ccache where it is present" ON)
find_program(TLM_CCACHE ccache)
if(NOT TLM_USE_CCACHE)
  set(TLM_CCACHE OFF)
endif()
if(TLM_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
      CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
      CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} ${TLM_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_C_COMPILER_LAUNCHER})
endif()

# -O3 gains nothing measurable here and makes the compiler warn of copies that cannot happen.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_C_FLAGS_RELEASE "-O2 -DNDEBUG")

# Empty, "address" (address and undefined behaviour) or "thread".
set(TLM_SANITIZE "" CACHE STRING "Sanitizer to build with")
if(TLM_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(TLM_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()

add_library(tlm_options INTERFACE)
target_compile_options(tlm_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>)
if(TLM_CCACHE)
  # The cache can only keep objects of a precompiled header when the header is named in the preprocessed text.
  target_compile_options(tlm_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
endif()

# Everything is found beside the programs, in the build tree and when installed.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
