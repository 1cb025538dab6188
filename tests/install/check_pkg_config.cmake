# Builds the consumer with nothing but what pkg-config tells, and runs it.
cmake_minimum_required(VERSION 3.25)

set(ENV{PKG_CONFIG_PATH} ${PACKAGE_DIR})
function(ask variable)
  execute_process(COMMAND ${PKG_CONFIG} ${ARGN} pdlib OUTPUT_VARIABLE answer OUTPUT_STRIP_TRAILING_WHITESPACE
                  COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(answer)
  set(${variable} ${answer} PARENT_SCOPE)
endfunction()

ask(flags --cflags)
ask(libraries --libs)
ask(library_dir --variable=libdir)
ask(plugin --variable=plugin)
execute_process(COMMAND ${CXX} -std=c++20 -DPDLIB_PLUGIN="${plugin}" ${flags} ${SOURCE} -o ${PROGRAM} ${libraries}
                        -Wl,-rpath,${library_dir} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${PROGRAM} COMMAND_ERROR_IS_FATAL ANY)
