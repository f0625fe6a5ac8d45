# Helpers that make every folder one static library with the same flags, and
# gather them into the one delivered library `tarko`.

function(tarko_set_warnings target)
  if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wno-missing-field-initializers)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
      # gcc 12 at -O3 reports "literal + std::string" as an overlapping copy (a known false positive).
      target_compile_options(${target} PRIVATE -Wno-restrict)
    endif()
    if(TARKO_WERROR)
      target_compile_options(${target} PRIVATE -Werror)
    endif()
  endif()
endfunction()

function(tarko_set_sanitizers target)
  if(TARKO_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
  endif()
endfunction()

# tarko_add_module(NAME SOURCES <files> [PUBLIC_DEPS <targets>] [PRIVATE_DEPS <targets>])
# Defines the static library tarko_<NAME>; includes are rooted at the project
# root ("runtime/errors.h").
function(tarko_add_module name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC_DEPS;PRIVATE_DEPS" ${ARGN})
  set(target tarko_${name})
  add_library(${target} STATIC ${ARG_SOURCES})
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:include/tarko>)
  target_compile_features(${target} PUBLIC cxx_std_20)
  if(ARG_PUBLIC_DEPS)
    target_link_libraries(${target} PUBLIC ${ARG_PUBLIC_DEPS})
  endif()
  if(ARG_PRIVATE_DEPS)
    target_link_libraries(${target} PRIVATE ${ARG_PRIVATE_DEPS})
  endif()
  tarko_set_warnings(${target})
  tarko_set_sanitizers(${target})
  set_property(GLOBAL APPEND PROPERTY TARKO_MODULES ${target})
endfunction()

# The one library a host links: every module archive, whole.
function(tarko_add_umbrella_library)
  get_property(modules GLOBAL PROPERTY TARKO_MODULES)
  file(WRITE ${CMAKE_BINARY_DIR}/tarko_umbrella.cpp "// The delivered library is the sum of its modules.\n")
  add_library(tarko SHARED ${CMAKE_BINARY_DIR}/tarko_umbrella.cpp)
  add_library(Tarko::tarko ALIAS tarko)
  # Every member of every module archive goes in; the plain link that follows
  # brings their third-party dependencies.
  set(archives "")
  foreach(m IN LISTS modules)
    list(APPEND archives "$<TARGET_FILE:${m}>")
  endforeach()
  target_link_options(tarko PRIVATE "LINKER:--whole-archive" ${archives} "LINKER:--no-whole-archive")
  add_dependencies(tarko ${modules})
  target_link_libraries(tarko PRIVATE ${modules})
  target_include_directories(tarko INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:include/tarko>)
  target_compile_features(tarko INTERFACE cxx_std_20)
  set_target_properties(tarko PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  tarko_set_sanitizers(tarko)
endfunction()

# tarko_add_test(NAME SOURCES <files> DEPS <targets>): one GoogleTest executable.
function(tarko_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} tarko_testsupport GTest::gtest GTest::gmock GTest::gtest_main)
  tarko_set_warnings(${name})
  tarko_set_sanitizers(${name})
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
    PROPERTIES ENVIRONMENT "TARKO_TEST_DATA=${PROJECT_SOURCE_DIR}/tests/data;SDL_AUDIODRIVER=dummy;ALSOFT_DRIVERS=null")
endfunction()
