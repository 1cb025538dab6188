# What every target of the project is built with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

# Sanitizers cover all code of the project.
set(PDLIB_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize")
if(PDLIB_SANITIZE)
  add_compile_options(-fsanitize=${PDLIB_SANITIZE} -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${PDLIB_SANITIZE})
endif()

# Shared libraries name all that they need; Clang links the sanitizers into programs alone.
set(PDLIB_NO_UNDEFINED -Wl,--no-undefined)
if(PDLIB_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  set(PDLIB_NO_UNDEFINED)
endif()

add_library(pdlib_settings INTERFACE)
# Products and sums are never fused unless the code says so: results are the same on every machine.
target_compile_options(pdlib_settings INTERFACE -ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow
                                                -Wconversion -Wno-sign-conversion)
if(PDLIB_WERROR)
  target_compile_options(pdlib_settings INTERFACE -Werror)
endif()
