# Compiler settings shared by every target: warnings as errors, sanitizers, ccache, and source
# paths relative to the repository so that debug reports name files as the repository does.

find_program(VOR_CCACHE ccache)
if(VOR_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${VOR_CCACHE}")
endif()

add_compile_options(-Wall -Wextra -Werror -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
# A ccache set up with base_dir hands the compiler sources relative to the build directory
# ("../../code/..."); map that form too, so that reports name files the same either way.
file(RELATIVE_PATH vor_source_from_build "${CMAKE_BINARY_DIR}" "${CMAKE_SOURCE_DIR}")
string(REGEX REPLACE "/$" "" vor_source_from_build "${vor_source_from_build}")
if(vor_source_from_build)
  add_compile_options(-fmacro-prefix-map=${vor_source_from_build}/=)
endif()

if(VOR_SANITIZE AND VOR_TSAN)
  message(FATAL_ERROR "VOR_SANITIZE and VOR_TSAN exclude each other")
endif()
if(VOR_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
if(VOR_TSAN)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()
