# What a camera stack, or a tool around it, needs from us: the plug-in, the headers of its interface, the stand-in of
# the utility layer for machines that have none, and the package files to find them by.
include(CMakePackageConfigHelpers)

# All headers share one include root, <prefix>/include/pdlib.
set(pdlib_include_dir ${CMAKE_INSTALL_INCLUDEDIR}/pdlib)
set(pdlib_public_headers
    system/statsalgo/pdlib/orvopdlibinterface.h
    api/generated/g_tessarine/afpdlibelements.h
    api/generated/g_tessarine/globalelements.h
    api/generated/g_tessarine/statsglobalelements.h
    api/generated/g_tessarine/tuningfields.h
    api/generated/g_tessarine/tuningsetmanager.h
    api/generated/g_tessarine/tuningsetmodules.h
    api/generated/g_sensor/imagesensormodulesetmanager.h
    api/generated/g_facedetection/fdsetmanager.h)
install(FILES ${pdlib_public_headers} DESTINATION ${pdlib_include_dir})
# Of the parameter framework, what the managers' headers include.
set(pdlib_framework_headers
    generatedsetmanager parameterbinaryfile parametercustomhandler parameterexport parameterfilesymboltable parameterfilesymboltableentry
    parameterlist parameterlogging parametermap parametermemory parametermodeentry parametermodetree parametermodule
    parametermutex parametersetmanager parametertypes parameterutils parameterversion rawmodule tuningmode)
list(TRANSFORM pdlib_framework_headers PREPEND api/generated/g_parser/)
list(TRANSFORM pdlib_framework_headers APPEND .h)
install(FILES ${pdlib_framework_headers} DESTINATION ${pdlib_include_dir})
install(FILES system/statsalgo/pdlib/src/base/pdlib_common.h system/statsalgo/pdlib/src/base/owned_array.h DESTINATION ${pdlib_include_dir}/base)
install(FILES system/statsalgo/pdlib/src/driver/pdlib_hw_config.h DESTINATION ${pdlib_include_dir}/driver)
install(DIRECTORY system/platform/orvo DESTINATION ${pdlib_include_dir} FILES_MATCHING PATTERN "*.h")
install(FILES system/platform/host/orvo_host.h DESTINATION ${pdlib_include_dir}/host)

set_target_properties(pdlib PROPERTIES INSTALL_RPATH $ORIGIN)
install(TARGETS pdlib orvo_host LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(TARGET pdcam)
  file(RELATIVE_PATH libraries_from_programs ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(pdcam PROPERTIES INSTALL_RPATH $ORIGIN/${libraries_from_programs})
endif()

set(pdlib_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/pdlib)
set(pdlib_library_dir ${CMAKE_INSTALL_LIBDIR})
configure_package_config_file(cmake/pdlibConfig.cmake.in ${PROJECT_BINARY_DIR}/pdlibConfig.cmake
                              INSTALL_DESTINATION ${pdlib_package_dir} PATH_VARS pdlib_include_dir pdlib_library_dir)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/pdlibConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/pdlibConfig.cmake ${PROJECT_BINARY_DIR}/pdlibConfigVersion.cmake
        DESTINATION ${pdlib_package_dir})

# The prefix is found from the place of the file, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig ${prefix_from_pkgconfig})
configure_file(cmake/pdlib.pc.in ${PROJECT_BINARY_DIR}/pdlib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/pdlib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Tunings to start from.
install(FILES tools/tessarine/tunings/pdcam.json DESTINATION ${CMAKE_INSTALL_DATADIR}/pdlib/tunings)
