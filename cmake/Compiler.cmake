# Warnings, sanitizers and the thread-safety analysis, the same for every target of the project.
add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wcast-align -Wconversion -Wsign-conversion -Wnull-dereference -Wformat=2
  -Wimplicit-fallthrough "$<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Woverloaded-virtual;-Wold-style-cast>")
if(TV_WARNINGS_AS_ERRORS AND NOT TV_SANITIZE) # what sanitizers put in brings warnings of its own
  add_compile_options(-Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Optimised, g++ 12 finds these two in the standard library's own strings, where they are none.
  add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-Wno-restrict;-Wno-null-dereference>")
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_compile_options(-Wthread-safety)
endif()

if(TV_SANITIZE)
  add_compile_options(-fsanitize=${TV_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TV_SANITIZE})
endif()

# Every source of a folder belongs to its target; a new file needs no list to be kept.
function(tv_sources target)
  foreach(folder IN LISTS ARGN)
    file(GLOB found CONFIGURE_DEPENDS ${folder}/*.cpp)
    target_sources(${target} PRIVATE ${found})
  endforeach()
endfunction()

# Headers that most sources of a target begin with are read once. Only where no compiler cache is in use, which does not
# know them, and not with clang, whose tools read the compile commands.
option(TV_PRECOMPILE "Precompile the heaviest headers" ON)
function(tv_precompile target)
  if(TV_PRECOMPILE AND NOT CMAKE_CXX_COMPILER_LAUNCHER AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()
