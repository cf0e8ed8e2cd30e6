# One library a room. A room may include its own headers and those of the rooms it links.

add_library(fp_warnings INTERFACE)
target_compile_options(fp_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wold-style-cast
  -Woverloaded-virtual -Wreorder -Werror)
if(FIELDPOST_SANITIZE)
  target_compile_options(fp_warnings INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                         -fno-omit-frame-pointer)
  target_link_options(fp_warnings INTERFACE -fsanitize=address,undefined)
endif()

# fp_core(ROOM LIBRARIES...): the library fp_ROOM from every source of the current folder.
function(fp_core room)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  if(NOT sources)
    add_library(fp_${room} INTERFACE)
    target_include_directories(fp_${room} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(fp_${room} INTERFACE ${ARGN})
    return()
  endif()
  add_library(fp_${room} STATIC ${sources})
  target_include_directories(fp_${room} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(fp_${room} PUBLIC ${ARGN} PRIVATE fp_warnings)
endfunction()
