# Installs the build into a fresh prefix, builds the example application against it with
# find_package(classxml) and runs it: what a user's own project does.
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK=... [-DCXX_FLAGS=...] -P InstallAndConsume.cmake
file(REMOVE_RECURSE ${WORK})
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT code EQUAL 0)
        message(FATAL_ERROR "${ARGN} failed (${code}):\n${out}\n${err}")
    endif()
    set(output "${out}" PARENT_SCOPE)
endfunction()
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK}/prefix)
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples -B ${WORK}/build -G Ninja
    -DCMAKE_PREFIX_PATH=${WORK}/prefix "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK}/build)
file(MAKE_DIRECTORY ${WORK}/run)
run(${WORK}/build/sample ${WORK}/run)
if(NOT output MATCHES "all equal")
    message(FATAL_ERROR "the sample application did not read everything back:\n${output}")
endif()
run(${WORK}/build/station ${WORK}/run/station.xml)

# The same example built with pkg-config, in a newer standard than the library's: the .pc file
# must not force its own.
find_program(PKG_CONFIG pkg-config)
find_program(CXX NAMES c++ g++)
if(PKG_CONFIG AND CXX)
    set(ENV{PKG_CONFIG_PATH} ${WORK}/prefix/lib/pkgconfig:${WORK}/prefix/lib64/pkgconfig)
    run(${PKG_CONFIG} --cflags --libs classxml)
    separate_arguments(flags UNIX_COMMAND "${output}")
    if(flags MATCHES "-std=")
        message(FATAL_ERROR "classxml.pc sets a C++ standard: ${flags}")
    endif()
    run(${CXX} -std=c++2b ${CXX_FLAGS} ${SOURCE_DIR}/examples/station.cpp ${flags}
        -Wl,-rpath,${WORK}/prefix/lib -o ${WORK}/station-pc)
    run(${WORK}/station-pc ${WORK}/run/station-pc.xml)
endif()

# A checkout added with add_subdirectory: the same include line, through the classxml target
# alone. Compiling the program's own file shows it; building the library again would only take
# minutes.
file(MAKE_DIRECTORY ${WORK}/subdirectory)
file(WRITE ${WORK}/subdirectory/CMakeLists.txt
    "cmake_minimum_required(VERSION 3.25)\n"
    "project(consumer LANGUAGES CXX)\n"
    "set(CLASSXML_BUILD_TESTS OFF CACHE BOOL \"\" FORCE)\n"
    "add_subdirectory(${SOURCE_DIR} classxml)\n"
    "add_executable(consumer main.cpp)\n"
    "target_link_libraries(consumer PRIVATE classxml)\n")
file(WRITE ${WORK}/subdirectory/main.cpp
    "#include <classxml/archive/Archive.h>\n"
    "#include <classxml/XMLClassReaderWriter/XMLClassReaderWriter.h>\n"
    "#include <classxml/basicio/VFile.h>\n"
    "struct Point { int x = 0; template <class A> void serialize(A& ar) { ar(CLASSXML_NVP(x)); } };\n"
    "int main() { std::string xml; return classxml::SaveToString(xml, Point{}) ? 0 : 1; }\n")
run(${CMAKE_COMMAND} -S ${WORK}/subdirectory -B ${WORK}/subdirectory/build -G Ninja
    "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK}/subdirectory/build --target
    CMakeFiles/consumer.dir/main.cpp.o)
