# Every header of the library is included as <classxml/...>: the installed package puts them
# under <prefix>/include/classxml, and the build tree offers the same folder, made of links to
# the sources (copies of the headers where the file system has no links; configure again after
# editing one there). Only that folder is on the include path, so that no header of ours can
# shadow another library's.
set(CLASSXML_HEADER_ROOT ${PROJECT_BINARY_DIR}/include)
set(tree ${CLASSXML_HEADER_ROOT}/classxml)
file(MAKE_DIRECTORY ${tree})
file(GLOB top_headers RELATIVE ${PROJECT_SOURCE_DIR}/include CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/include/*.h)
foreach(entry IN LISTS CLASSXML_LAYERS top_headers)
    if(entry IN_LIST top_headers)
        set(source ${PROJECT_SOURCE_DIR}/include/${entry})
    else()
        set(source ${PROJECT_SOURCE_DIR}/${entry})
    endif()
    file(CREATE_LINK ${source} ${tree}/${entry} RESULT linked SYMBOLIC)
    if(NOT linked EQUAL 0)
        file(COPY ${source} DESTINATION ${tree} FILES_MATCHING PATTERN "*.h")
    endif()
endforeach()
