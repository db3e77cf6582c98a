# What runs among real servers; see scripts/testbed --help for what a test finds there.

set(TESTBED ${CMAKE_SOURCE_DIR}/scripts/testbed)

# AFP and the name services need NETNS.
# quorrel_integration_test(NAME SERVERS smb,dav [NETNS] [NAMES NAME=ADDRESS...] SOURCES ... LINK ...)
# adds one GoogleTest executable that runs as a whole inside a test bed of its own.
function(quorrel_integration_test name)
  cmake_parse_arguments(arg "NETNS" "SERVERS" "NAMES;SOURCES;LINK" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LINK} GTest::gmock GTest::gtest_main)
  add_dependencies(windowless_tests ${name})
  set(options --logs --timeout 570)
  if(arg_NETNS)
    list(APPEND options --netns)
  endif()
  if(arg_SERVERS)
    list(APPEND options --servers ${arg_SERVERS})
  endif()
  foreach(name_of_server IN LISTS arg_NAMES)
    list(APPEND options --name ${name_of_server})
  endforeach()
  add_test(NAME ${name} COMMAND ${TESTBED} run ${options} -- $<TARGET_FILE:${name}>)
  # A skipped test inside the executable would look like a passed one.
  set_tests_properties(${name} PROPERTIES LABELS integration TIMEOUT 600
                       FAIL_REGULAR_EXPRESSION "SKIPPED.*tests?, listed below")
endfunction()

foreach(facts Serves HandsOn LeavesNothingBehind)
  add_test(NAME testbed.${facts}
           COMMAND /usr/bin/python3 -B ${CMAKE_CURRENT_SOURCE_DIR}/testbed_test.py ${facts})
  set_tests_properties(testbed.${facts} PROPERTIES LABELS integration TIMEOUT 180)
endforeach()

if(TARGET quorrelctl AND TARGET quorrel)
  add_test(NAME demo COMMAND ${CMAKE_SOURCE_DIR}/scripts/demo --quorrelctl $<TARGET_FILE:quorrelctl>
           --quorrel $<TARGET_FILE:quorrel> --pictures ${CMAKE_BINARY_DIR}/demo
           --under ${CMAKE_SOURCE_DIR}/Tests/Program/secrets_test.py)
  set_tests_properties(demo PROPERTIES LABELS "integration;desktop" TIMEOUT 600 RUN_SERIAL TRUE)
endif()
