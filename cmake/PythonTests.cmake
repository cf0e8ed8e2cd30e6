# fieldpost_python_tests(LABEL TIMEOUT): each test_*.py of this folder as one test, LABEL.NAME, which finds the
# built programs through its environment. Where one of its tests was skipped, ctest counts it as skipped.
find_program(FIELDPOST_PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)

function(fieldpost_python_tests label timeout)
  set(bin ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  file(GLOB files CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/test_*.py)
  foreach(file ${files})
    cmake_path(GET file STEM name)
    string(REGEX REPLACE "^test_" "${label}." name ${name})
    add_test(NAME ${name} COMMAND ${FIELDPOST_PYTHON} -B ${PROJECT_SOURCE_DIR}/tests/tools/run_unittests.py ${file})
    set_tests_properties(${name} PROPERTIES
      LABELS ${label}
      TIMEOUT ${timeout}
      SKIP_RETURN_CODE 77
      WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
      ENVIRONMENT "FIELDPOST_BIN=${bin}/fieldpost;FIELDPOST_REG_BIN=${bin}/fieldpost-reg;FIELDPOST_BUILD=${PROJECT_BINARY_DIR};FIELDPOST_DEFAULT_FAULTLOG_RECIPIENT=${FIELDPOST_DEFAULT_FAULTLOG_RECIPIENT};FIELDPOST_DEFAULT_PPC_RECIPIENT=${FIELDPOST_DEFAULT_PPC_RECIPIENT};FIELDPOST_FAKE_PPCDB=$<TARGET_FILE:fake_ppcdb>;FIELDPOST_TAKE_PICTURES=$<TARGET_FILE:take_pictures>;FIELDPOST_PICTURES=${PROJECT_BINARY_DIR}/pictures")
  endforeach()
endfunction()
