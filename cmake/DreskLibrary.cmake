# dresk_library(NAME SOURCES file... [LINK library...] [PRIVATE library...])
# One static library per folder of src/. What stands under LINK is the only way from one folder to
# another; a folder that is not linked is not to be included either (checked by tools/check-includes).
function(dresk_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK;PRIVATE" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE ${ARG_PRIVATE})
endfunction()

# dresk_test(NAME LABEL label [DISPLAY] [TIMEOUT seconds] SOURCES file... LINK library...)
# DISPLAY runs the test on a display of its own; such tests never run side by side, because typing
# speed is part of what they test.
function(dresk_test name)
  cmake_parse_arguments(ARG "DISPLAY" "LABEL;TIMEOUT" "SOURCES;LINK" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${ARG_LINK} GTest::gtest_main)
  if(ARG_DISPLAY)
    add_test(NAME ${name}
      COMMAND ${PROJECT_SOURCE_DIR}/tools/with-display $<TARGET_FILE:${name}>)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL TRUE)
  else()
    add_test(NAME ${name} COMMAND ${name})
  endif()
  set_tests_properties(${name} PROPERTIES LABELS ${ARG_LABEL} TIMEOUT ${ARG_TIMEOUT})
endfunction()
