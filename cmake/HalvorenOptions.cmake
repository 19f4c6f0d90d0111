# Compiler settings shared by every target of the project.
add_library(halvoren_options INTERFACE)
target_compile_options(halvoren_options INTERFACE -Wall -Wextra -Wpedantic -Werror)
target_include_directories(halvoren_options INTERFACE "${PROJECT_SOURCE_DIR}/src")

# The helper runs as root and the application parses files and frames from outside, so optimised builds
# get the distribution's usual hardening: checked string and memory calls (glibc warns without
# optimisation, hence only Release and RelWithDebInfo), stack canaries, and a read-only relocation
# table bound at start.
if(NOT APPLE)
  target_compile_options(halvoren_options INTERFACE -fstack-protector-strong
                                                    $<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=2>)
  target_link_options(halvoren_options INTERFACE -Wl,-z,relro -Wl,-z,now)
endif()

if((HALVOREN_SANITIZE AND HALVOREN_TSAN) OR (HALVOREN_FUZZ AND (HALVOREN_SANITIZE OR HALVOREN_TSAN)))
  message(FATAL_ERROR "HALVOREN_SANITIZE, HALVOREN_TSAN and HALVOREN_FUZZ cannot be combined")
endif()

if(HALVOREN_SANITIZE)
  set(_san -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(halvoren_options INTERFACE ${_san})
  target_link_options(halvoren_options INTERFACE ${_san})
endif()

if(HALVOREN_TSAN)
  set(_san -fsanitize=thread -fno-omit-frame-pointer)
  target_compile_options(halvoren_options INTERFACE ${_san})
  target_link_options(halvoren_options INTERFACE ${_san})
endif()

# Coverage for libFuzzer in every object, with AddressSanitizer and UndefinedBehaviorSanitizer;
# only the fuzz targets link the fuzzer's own main (fuzz/CMakeLists.txt). Optimised a little, as
# executions per second decide how far a fuzzing run gets.
if(HALVOREN_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "HALVOREN_FUZZ needs clang (libFuzzer)")
  endif()
  set(_san -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(halvoren_options INTERFACE ${_san} -fsanitize=fuzzer-no-link -O1)
  target_link_options(halvoren_options INTERFACE ${_san})
endif()

# Every .cpp under DIR into OUT, leaving out code for other platforms: a macos/ folder is
# built only on Apple platforms, a linux/ folder only on Linux.
function(halvoren_platform_sources out dir)
  file(GLOB_RECURSE _found CONFIGURE_DEPENDS "${dir}/*.cpp")
  if(APPLE)
    # Objective-C++ for the platform's own frameworks.
    file(GLOB_RECURSE _objc CONFIGURE_DEPENDS "${dir}/macos/*.mm")
    list(APPEND _found ${_objc})
  else()
    list(FILTER _found EXCLUDE REGEX "/macos/")
  endif()
  if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
    list(FILTER _found EXCLUDE REGEX "/linux/")
  endif()
  set(${out} ${_found} PARENT_SCOPE)
endfunction()

# Adds a library of one layer whose sources are every .cpp under DIR for this platform.
function(halvoren_layer name dir)
  halvoren_platform_sources(_srcs "${dir}")
  add_library(${name} STATIC ${_srcs})
  target_link_libraries(${name} PUBLIC halvoren_options)
endfunction()

# Adds one GoogleTest executable made of every .cpp under DIR and registers its cases with CTest.
# Tests under macos/ or linux/ folders follow the same platform rule as the layers.
function(halvoren_test_suite name dir)
  halvoren_platform_sources(_srcs "${dir}")
  add_executable(${name} ${_srcs})
  target_link_libraries(${name} PRIVATE halvoren_options GTest::gmock GTest::gtest_main ${ARGN})
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endfunction()

# Fakes shared by several test suites, included as "fakes/...".
function(halvoren_test_fakes name dir)
  file(GLOB _srcs CONFIGURE_DEPENDS "${dir}/*.cpp")
  add_library(${name} STATIC ${_srcs})
  target_include_directories(${name} PUBLIC "${dir}/..")
  target_link_libraries(${name} PUBLIC halvoren_options ${ARGN})
endfunction()
