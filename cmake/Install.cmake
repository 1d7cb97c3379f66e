# Installs the library, its public headers under include/classxml/, the CMake package
# (find_package(classxml CONFIG) gives classxml::classxml), classxml.pc and the program.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(CLASSXML_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/classxml)
target_include_directories(classxml PUBLIC $<INSTALL_INTERFACE:${CLASSXML_INCLUDE_DIR}>)

# The headers an application reaches, with the folders they are included by.
set(CLASSXML_PUBLIC_HEADERS
    include/BasicFile.h include/BasicString.h include/DatabaseTypes.h include/NamedType.h
    include/WideChar.h include/WindowsIntegers.h)
set(CLASSXML_PUBLIC_HEADER_FOLDERS
    "platform:Export.h FileIO.h LocalizationManager.h LoggingFile.h LoggingSourcePos.h"
    "basicio:BasicFileException.h VFile.h"
    "xmlio:Diagnostics.h XMLIO.h XercesForward.h XercesIO.h XercesStringHandler.h"
    "XMLClassReaderWriter:AttributeMap.h ValueText.h XMLClassReaderWriter.h"
    "archive:Archive.h Archived.h Bitset.h Chrono.h Containers.h DocumentReader.h DocumentWriter.h"
    "archive:Dtd.h DtdFor.h LoadOptions.h"
    "archive:MemberPath.h Objects.h Path.h Pointers.h Polymorphic.h Registration.h Result.h"
    "archive:StreamDocumentReader.h StreamDocumentWriter.h TupleLike.h TypeText.h ValueReader.h"
    "archive:ValueWriter.h Values.h Variant.h"
    "stream:StreamReader.h StreamWriter.h")
install(FILES ${CLASSXML_PUBLIC_HEADERS} DESTINATION ${CLASSXML_INCLUDE_DIR})
foreach(entry IN LISTS CLASSXML_PUBLIC_HEADER_FOLDERS)
    string(REPLACE ":" ";" parts "${entry}")
    list(GET parts 0 folder)
    list(GET parts 1 names)
    string(REPLACE " " ";" names "${names}")
    list(TRANSFORM names PREPEND "${folder}/")
    install(FILES ${names} DESTINATION ${CLASSXML_INCLUDE_DIR}/${folder})
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
