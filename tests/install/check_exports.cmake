# The entry and the parameter framework go out of the plug-in, and it needs the C and C++ runtime and the platform layer
# alone.
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${NM} -D -C --defined-only --format=posix ${PLUGIN} OUTPUT_VARIABLE symbols
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" symbols "${symbols}")
foreach(wanted "VekPDLibraryEntry " "TuningSetManager::TuningSetManager\\(" "TuningSetManager::GetModule_tessarinePDLib\\("
               "ParameterSetManager::LoadBinaryParameters\\("
               "afpdlibelements::tessarinePDLibType::Release\\(" "ImageSensorModuleSetManager::" "fdSetManager::")
  set(found ${symbols})
  list(FILTER found INCLUDE REGEX "^${wanted}")
  if(NOT found)
    message(FATAL_ERROR "${PLUGIN} does not export ${wanted}")
  endif()
endforeach()
set(framework "(GeneratedSet|TuningSet|ImageSensorModuleSet|fdSet)Manager|Parameter[A-Za-z]+|ModeEntry|ModuleChain|ModuleData|DefaultModule|IModeTable|IParameter[A-Za-z]+|afpdlibelements::tessarinePDLibType")
list(FILTER symbols EXCLUDE REGEX "^((vtable|typeinfo|typeinfo name) for )?(${framework})[: ]")
list(FILTER symbols EXCLUDE REGEX "^VekPDLibraryEntry ")
if(symbols)
  message(FATAL_ERROR "${PLUGIN} exports: ${symbols}")
endif()

if(SANITIZED)
  return() # brings runtime libraries of its own
endif()
execute_process(COMMAND ${READELF} --dynamic --wide ${PLUGIN} OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "NEEDED[^\n]*" needed "${dynamic}")
list(TRANSFORM needed REPLACE ".*\\[(.*)\\].*" "\\1")
if(NOT "liborvo.so" IN_LIST needed)
  message(FATAL_ERROR "${PLUGIN} does not import the platform layer; it needs: ${needed}")
endif()
list(FILTER needed EXCLUDE REGEX "^(lib(c|m|stdc\\+\\+|gcc_s|orvo)|ld-linux.*)\\.so(\\.[0-9]+)?$")
if(needed)
  message(FATAL_ERROR "${PLUGIN} needs more than the runtime and the platform layer: ${needed}")
endif()
