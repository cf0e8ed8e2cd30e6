# One library a module, fp_MODULE, and one for its windows, fp_MODULE_forms. Only forms/ folders see Qt.

add_library(fp_warnings INTERFACE)
target_compile_options(fp_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wold-style-cast
  -Woverloaded-virtual -Wreorder -Werror)
# GCC 12 takes strings that it has inlined for overruns, in the headers of its own library (its bugs 105329, 105651).
target_compile_options(fp_warnings INTERFACE
  $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds -Wno-restrict -Wno-stringop-overread>)
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
  # Counters are kept in the mapped profile file, so that a process that ends by a signal or by _exit loses none.
  target_compile_options(fp_warnings INTERFACE -fprofile-instr-generate -fcoverage-mapping
                         -fcoverage-compilation-dir=${PROJECT_BINARY_DIR} -mllvm -runtime-counter-relocation)
  target_link_options(fp_warnings INTERFACE -fprofile-instr-generate)
endif()

# FIELDPOST_MODULES: the names of all modules, lowest first. FIELDPOST_ALLOWED_MODULE: the modules that MODULE may
# include. Both come from src/modules.txt.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/modules.txt)
file(STRINGS ${PROJECT_SOURCE_DIR}/src/modules.txt module_lines REGEX "^[a-z]+:")
set(FIELDPOST_MODULES)
foreach(line ${module_lines})
  string(REGEX MATCH "^([a-z]+): *(.*)$" _ "${line}")
  set(module ${CMAKE_MATCH_1})
  list(APPEND FIELDPOST_MODULES ${module})
  string(REPLACE " " ";" FIELDPOST_ALLOWED_${module} "${CMAKE_MATCH_2}")
endforeach()

# Headers that most sources include, parsed once and for all: they were two thirds of the time of a build. Each source
# still includes what it uses.
# fp_precompiled(NAME HEADERS LIBRARIES...): the target fp_NAME_headers, for fp_use_precompiled.
function(fp_precompiled name headers)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/generated/${name}_headers.cpp CONTENT "")
  add_library(fp_${name}_headers OBJECT ${PROJECT_BINARY_DIR}/generated/${name}_headers.cpp)
  target_link_libraries(fp_${name}_headers PRIVATE ${ARGN} fp_warnings)
  target_precompile_headers(fp_${name}_headers PRIVATE ${headers})
endfunction()

function(fp_use_precompiled target name)
  target_precompile_headers(${target} REUSE_FROM fp_${name}_headers)
endfunction()

set(FIELDPOST_CORE_HEADERS <algorithm> <filesystem> <functional> <memory> <optional> <span> <string> <string_view>
    <unordered_map> <vector> <fmt/format.h>)
fp_precompiled(core "${FIELDPOST_CORE_HEADERS}" fmt::fmt)
if(FIELDPOST_WINDOWS)
  fp_precompiled(forms "${FIELDPOST_CORE_HEADERS};<QtWidgets>" fmt::fmt Qt6::Widgets)
  target_compile_definitions(fp_forms_headers PRIVATE QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII)
endif()

# fp_core(MODULE LIBRARIES...): the library fp_MODULE of every source in the current folder. It links the modules that
# it may include, and the LIBRARIES.
function(fp_core module)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(fp_${module} STATIC ${sources})
  target_include_directories(fp_${module} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  list(TRANSFORM FIELDPOST_ALLOWED_${module} PREPEND fp_ OUTPUT_VARIABLE below)
  target_link_libraries(fp_${module} PUBLIC ${below} ${ARGN} PRIVATE fp_warnings)
  fp_use_precompiled(fp_${module} core)
endfunction()

# What Qt's tools make of the forms: all that clang-tidy needs of a build.
add_custom_target(generated_code)

# fp_forms(MODULE LIBRARIES...): the library fp_MODULE_forms of every source and .ui file in the folder forms/. It links
# the forms of the modules that MODULE may include, and the LIBRARIES.
function(fp_forms module)
  if(NOT FIELDPOST_WINDOWS)
    return()
  endif()
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/forms/*.cpp)
  list(FILTER sources EXCLUDE REGEX "/MDIMain\\.cpp$")
  file(GLOB forms CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/forms/*.ui)
  add_library(fp_${module}_forms STATIC ${sources} ${forms})
  # A form that is new in the folder has its .ui compiled too, which CMake's own list of causes leaves out.
  # Generated code lies in a folder of its own, so that nobody takes it for the module's.
  set_target_properties(fp_${module}_forms PROPERTIES AUTOMOC ON AUTOUIC ON AUTORCC ON AUTOGEN_ORIGIN_DEPENDS OFF
                        AUTOGEN_BUILD_DIR ${PROJECT_BINARY_DIR}/generated/${module}
                        AUTOGEN_TARGET_DEPENDS "${sources};${forms}")
  # Without Qt's macros `signals`, `slots`, `emit`, and without its silent conversions of narrow text.
  target_compile_definitions(fp_${module}_forms PUBLIC QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII)
  target_link_libraries(fp_${module}_forms PUBLIC fp_${module} ${ARGN} Qt6::Widgets PRIVATE fp_warnings)
  add_dependencies(generated_code fp_${module}_forms_autogen)
  fp_use_precompiled(fp_${module}_forms forms)
  foreach(below ${FIELDPOST_ALLOWED_${module}})
    if(TARGET fp_${below}_forms)
      target_link_libraries(fp_${module}_forms PUBLIC fp_${below}_forms)
    endif()
  endforeach()
endfunction()
