# One library a room. A room may include its own headers and those of the rooms it links.

add_library(fp_warnings INTERFACE)
target_compile_options(fp_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wold-style-cast
  -Woverloaded-virtual -Wreorder -Werror)
if(FIELDPOST_SANITIZE)
  # The presets build with clang, which needs a third of g++'s time for instrumented code; with -O1, as unoptimised
  # instrumented code is so slow that tests of the built program do not end in their time; and with line numbers alone
  # (-g1), which are all that a report shows.
  target_compile_options(fp_warnings INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                         -fno-omit-frame-pointer
                         $<$<BOOL:${FIELDPOST_FUZZ}>:-fsanitize=fuzzer-no-link>)
  target_compile_definitions(fp_warnings INTERFACE _GLIBCXX_ASSERTIONS FIELDPOST_SANITIZE)
  target_link_options(fp_warnings INTERFACE -fsanitize=address,undefined)
  target_sources(fp_warnings INTERFACE
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:${PROJECT_SOURCE_DIR}/cmake/sanitizer_options.cpp>)
endif()
if(FIELDPOST_COVERAGE)
  # The counters lie in the mapped profile itself, so that what ends by a signal or by _exit has counted too.
  target_compile_options(fp_warnings INTERFACE -fprofile-instr-generate -fcoverage-mapping
                         -fcoverage-compilation-dir=${PROJECT_BINARY_DIR} -mllvm -runtime-counter-relocation)
  target_link_options(fp_warnings INTERFACE -fprofile-instr-generate)
endif()

# Sources of forms and of what belongs to them are known by their names; these alone see Qt.
set(FP_FORM_SOURCES "/(frm|Frm|MDI|CPrint|Widget|MessageBox)[^/]*\\.cpp$")

# fp_core(ROOM LIBRARIES...): the library fp_ROOM from every source of the current folder, but for its forms.
function(fp_core room)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  list(FILTER sources EXCLUDE REGEX ${FP_FORM_SOURCES})
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

# fp_forms(ROOM LIBRARIES...): the library fp_ROOM_forms from the forms of the current folder.
function(fp_forms room)
  if(NOT FIELDPOST_WINDOWS)
    return()
  endif()
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  list(FILTER sources INCLUDE REGEX ${FP_FORM_SOURCES})
  if(NOT sources)
    add_library(fp_${room}_forms INTERFACE)
    target_link_libraries(fp_${room}_forms INTERFACE fp_${room} ${ARGN} Qt6::Widgets)
    return()
  endif()
  file(GLOB forms CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.ui)
  add_library(fp_${room}_forms STATIC ${sources} ${forms})
  # A form that is new in the folder has its .ui compiled too, which CMake's own list of causes leaves out.
  # What is generated lies apart, so that nobody takes it for the room's own code.
  set_target_properties(fp_${room}_forms PROPERTIES AUTOMOC ON AUTOUIC ON AUTORCC ON
                        AUTOGEN_BUILD_DIR ${PROJECT_BINARY_DIR}/generated/${room}
                        AUTOGEN_TARGET_DEPENDS "${sources};${forms}")
  # Without Qt's macros `signals`, `slots`, `emit`, and without its silent conversions of narrow text.
  target_compile_definitions(fp_${room}_forms PUBLIC QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII)
  target_link_libraries(fp_${room}_forms PUBLIC fp_${room} ${ARGN} Qt6::Widgets PRIVATE fp_warnings)
endfunction()
