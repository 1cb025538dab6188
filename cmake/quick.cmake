# What makes a build from nothing quick.
#
# Large headers that many files share are parsed once: a target names with pdlib_precompiled whose parsed headers it
# takes. Sources may go to the compiler in one piece, folder by folder, with PDLIB_UNITY: half the time from nothing,
# and more after an edit, so it is for builds in which nothing is edited.
option(PDLIB_PRECOMPILED "Parse the large headers of tools and tests once" ON)
option(PDLIB_UNITY "Compile the sources of a folder in one piece" OFF)

# Programs and libraries are compiled with different options, and parsed headers serve those that share them.
set(pdlib_headers_of_json <nlohmann/json.hpp> <algorithm> <filesystem> <functional> <map> <memory> <optional>
                          <string> <vector>)
set(pdlib_headers_of_commands <CLI/CLI.hpp> ${pdlib_headers_of_json})
set(pdlib_headers_of_tests <gtest/gtest.h> <algorithm> <atomic> <filesystem> <fstream> <functional> <map> <memory>
                           <optional> <random> <string> <thread> <vector>)

# pdlib_parsed_headers(commands|tests): a program that does nothing; others take its parsed headers.
function(pdlib_parsed_headers kind)
  if(PDLIB_PRECOMPILED)
    add_executable(parsed_headers_of_${kind} EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/cmake/nothing.cpp)
    target_link_libraries(parsed_headers_of_${kind} PRIVATE pdlib_settings ${ARGN})
    target_precompile_headers(parsed_headers_of_${kind} PRIVATE ${pdlib_headers_of_${kind}})
    pdlib_cheap(parsed_headers_of_${kind})
  endif()
endfunction()

# pdlib_precompiled(target commands|tests|json [ONE_PIECE]): ONE_PIECE for a target whose sources go to the compiler in
# one piece with PDLIB_UNITY, and so parse the headers once as well.
function(pdlib_precompiled target kind)
  if(PDLIB_UNITY AND "ONE_PIECE" IN_LIST ARGN)
    return()
  endif()
  if(PDLIB_PRECOMPILED AND TARGET parsed_headers_of_${kind})
    target_precompile_headers(${target} REUSE_FROM parsed_headers_of_${kind})
  elseif(PDLIB_PRECOMPILED)
    target_precompile_headers(${target} PRIVATE ${pdlib_headers_of_${kind}})
  endif()
endfunction()

# pdlib_cheap(target): what runs for a moment only is not worth the optimiser's time. Under sanitizers, whose checks
# multiply it, it gets none of it.
function(pdlib_cheap target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo>:${PDLIB_CHEAP_LEVEL}>)
  get_target_property(type ${target} TYPE)
  if(PDLIB_SANITIZE AND NOT PDLIB_BUILD_FUZZ)
    target_compile_options(${target} PRIVATE -O0 $<$<STREQUAL:${type},EXECUTABLE>:-g0>)
  endif()
endfunction()
set(PDLIB_CHEAP_LEVEL -O1 CACHE STRING "Optimisation level of command lines and tests in a release build")

# pdlib_unity(target [ALONE file...]): ALONE names sources whose own names clash with those of a neighbour.
function(pdlib_unity target)
  cmake_parse_arguments(ARG "" "" "ALONE" ${ARGN})
  if(NOT PDLIB_UNITY)
    return()
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    get_filename_component(name ${source} NAME)
    get_filename_component(folder ${source} DIRECTORY)
    get_filename_component(folder "${folder}" NAME)
    if(name IN_LIST ARG_ALONE)
      set_source_files_properties(${source} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    else()
      set_source_files_properties(${source} PROPERTIES UNITY_GROUP "${target}_${folder}")
    endif()
  endforeach()
endfunction()
