# Installs the library, its public headers under include/classxml/, the CMake package
# (find_package(classxml CONFIG) gives classxml::classxml), classxml.pc and the program.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# User code includes <classxml/archive/Archive.h>: only <prefix>/include is on its path.
target_include_directories(classxml PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
include(cmake/PublicHeaders.cmake)
foreach(header IN LISTS CLASSXML_PUBLIC_HEADERS)
    get_filename_component(folder ${header} DIRECTORY)
    if(folder)
        set(source ${header})
    else()
        set(source include/${header})
    endif()
    install(FILES ${source} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/classxml/${folder})
endforeach()

install(TARGETS classxml EXPORT classxmlTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The installed program finds the library beside it, wherever the prefix is.
if(NOT WIN32)
    set_target_properties(classxml_tool PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endif()
install(TARGETS classxml_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(EXPORT classxmlTargets NAMESPACE classxml::
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/classxml)

configure_package_config_file(cmake/classxmlConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/classxmlConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/classxml)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/classxmlConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/classxmlConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/classxmlConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/classxml)

# Relocatable: the prefix is found from where the .pc file lies.
file(RELATIVE_PATH CLASSXML_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/classxml.pc.in ${CMAKE_CURRENT_BINARY_DIR}/classxml.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/classxml.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
