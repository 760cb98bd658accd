# Helpers shared by every layer's CMakeLists.

# ccaddin_layer(<target> DEPS <targets...>)
# One static library per layer, built from every .cpp in the calling folder. The
# layer may use only the targets it names, so CMake keeps the dependencies pointing
# one way (platform <- qlclient <- payment <- receipts <- ui <- hooks <- abi).
function(ccaddin_layer target)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(sources)
    add_library(${target} STATIC ${sources})
    set(scope PUBLIC)
  else()
    # A layer that is only headers so far still takes its place in the chain.
    add_library(${target} INTERFACE)
    set(scope INTERFACE)
  endif()
  target_include_directories(${target} ${scope} ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(${target} ${scope} ${ARG_DEPS})
endfunction()

# add_ccaddin_test(<name> SOURCES <files...> LIBS <targets...>)
# One GoogleTest executable; each TEST becomes its own ctest entry.
function(add_ccaddin_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} ccaddin_testsupport GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
    PROPERTIES ENVIRONMENT "CCADDIN_TEST_TMP=${CMAKE_BINARY_DIR}/test-tmp")
endfunction()

# ccaddin_tests_in_folder(LIBS <targets...>)
# Every <unit>_test.cpp in the calling folder becomes the test executable <unit>_test.
function(ccaddin_tests_in_folder)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  file(GLOB tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*_test.cpp)
  foreach(file ${tests})
    get_filename_component(name ${file} NAME_WE)
    add_ccaddin_test(${name} SOURCES ${file} LIBS ${ARG_LIBS})
  endforeach()
endfunction()
