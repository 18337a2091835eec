# What `cmake --install` installs: library, headers, the command with its manual page, and the files by which CMake and
# pkg-config find them. The result is relocatable: all its paths are relative.

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qzsignal)

install(TARGETS qzsignal EXPORT qzsignalTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT qzsignalTargets NAMESPACE qzsignal:: DESTINATION ${package_dir})

# Before 1.0 every minor version may break callers.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qzsignalConfigVersion.cmake COMPATIBILITY SameMinorVersion)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/qzsignalConfig.cmake.in
    ${PROJECT_BINARY_DIR}/qzsignalConfig.cmake
    INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
install(FILES
    ${PROJECT_BINARY_DIR}/qzsignalConfig.cmake
    ${PROJECT_BINARY_DIR}/qzsignalConfigVersion.cmake
    DESTINATION ${package_dir})

# The install folders may be absolute, or several levels deep (lib/x86_64-linux-gnu).
function(path_in_package result folder)
    set(path "\${prefix}")
    cmake_path(APPEND path ${folder})
    set(${result} ${path} PARENT_SCOPE)
endfunction()
path_in_package(pc_libdir ${CMAKE_INSTALL_LIBDIR})
path_in_package(pc_includedir ${CMAKE_INSTALL_INCLUDEDIR})
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
    set(pc_prefix ${CMAKE_INSTALL_PREFIX})
    set(command_rpath ${CMAKE_INSTALL_LIBDIR})
else()
    file(RELATIVE_PATH up /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
    string(REGEX REPLACE "/$" "" up ${up})
    set(pc_prefix "\${pcfiledir}/${up}")
    file(RELATIVE_PATH from_bin_to_lib /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
    set(command_rpath "$ORIGIN/${from_bin_to_lib}")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/qzsignal.pc.in ${PROJECT_BINARY_DIR}/qzsignal.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qzsignal.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(TARGET qzsignal_command)
    set_target_properties(qzsignal_command PROPERTIES INSTALL_RPATH "${command_rpath}")
    install(TARGETS qzsignal_command RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES ${PROJECT_SOURCE_DIR}/docs/qzsignal.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
