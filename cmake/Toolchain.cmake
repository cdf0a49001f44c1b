# Compiler settings shared by every target: warnings as errors, sanitizers, ccache, and source
# paths relative to the repository so that debug reports name files as the repository does.

find_program(VOR_CCACHE ccache)
if(VOR_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${VOR_CCACHE}")
endif()

add_compile_options(-Wall -Wextra -Werror -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)

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
