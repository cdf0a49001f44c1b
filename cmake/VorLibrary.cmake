include(GNUInstallDirs)

# vor_library(NAME <target> DIR <dir> EXPORT_NAME <name> [DEPS <targets>...] [PRIVATE_DEPS <targets>...])
# One library per directory: public headers under <dir>/public, the rest under <dir>/main. Sources
# are gathered by glob so that a new file needs no edit here. The library is static, or shared when
# BUILD_SHARED_LIBS is on; a shared one exports only what its public headers declare (they lift the
# hidden default visibility for themselves). It installs with its public headers into the
# vorrtvm package, where hosts find it as vorrtvm::<EXPORT_NAME>.
function(vor_library)
  cmake_parse_arguments(ARG "" "NAME;DIR;EXPORT_NAME" "DEPS;PRIVATE_DEPS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${ARG_DIR}/main/*.cpp")
  add_library(${ARG_NAME} ${sources})
  add_library(vorrtvm::${ARG_EXPORT_NAME} ALIAS ${ARG_NAME})
  set_target_properties(${ARG_NAME} PROPERTIES
    EXPORT_NAME ${ARG_EXPORT_NAME}
    CXX_VISIBILITY_PRESET hidden
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  target_include_directories(${ARG_NAME}
    PUBLIC "$<BUILD_INTERFACE:${ARG_DIR}/public>" "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>"
    PRIVATE "${ARG_DIR}/main")
  target_link_libraries(${ARG_NAME} PUBLIC ${ARG_DEPS} PRIVATE ${ARG_PRIVATE_DEPS})
  install(TARGETS ${ARG_NAME} EXPORT vorrtvmTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(DIRECTORY "${ARG_DIR}/public/" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endfunction()

# vor_test(NAME <target> DIR <dir> DEPS <targets>...)
# One GoogleTest executable per library; every test becomes a ctest entry of its own.
function(vor_test)
  cmake_parse_arguments(ARG "" "NAME;DIR" "DEPS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${ARG_DIR}/*.cpp")
  if(NOT sources)
    return()
  endif()
  add_executable(${ARG_NAME} ${sources})
  target_include_directories(${ARG_NAME} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
  target_link_libraries(${ARG_NAME} PRIVATE ${ARG_DEPS} GTest::gtest GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${ARG_NAME} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60)
endfunction()
