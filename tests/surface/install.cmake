# install.cmake: installs to a clean prefix, moves it, and builds and runs consumers from there by the CMake
# package and by pkg-config. Definitions: BUILD SOURCE WORK PKG_CONFIG READELF GENERATOR C CXX VERSION
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")
set(prefix "${WORK}/moved")

function(run)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN}: ${status}\n${output}")
  endif()
  string(STRIP "${output}" output)
  set(output "${output}" PARENT_SCOPE)
endfunction()
function(expect what got wanted)
  if(NOT got STREQUAL wanted)
    message(SEND_ERROR "${what}: got ${got}, want ${wanted}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first)
file(RENAME "${WORK}/first" "${prefix}")

file(GLOB_RECURSE library "${prefix}/libzolv.so")
run(${READELF} -W --dynamic ${library})
if(output MATCHES "\\((RPATH|RUNPATH)\\)[^\n]*")
  message(SEND_ERROR "the installed library has a run path: ${CMAKE_MATCH_0}")
endif()

# By the CMake package.
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/consumer -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_C_COMPILER=${C} -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
run(${CMAKE_COMMAND} --build ${WORK}/consumer)
run(${WORK}/consumer/consumer_c)
expect("C by the CMake package" "${output}" "${VERSION} 0.5")
run(${WORK}/consumer/consumer_cpp)
expect("C++ by the CMake package" "${output}" "1 0.5")

# By pkg-config.
file(GLOB_RECURSE description "${prefix}/zolv.pc")
get_filename_component(folder "${description}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} "${folder}")
run(${PKG_CONFIG} --modversion zolv)
expect("version by pkg-config" "${output}" "${VERSION}")
run(${PKG_CONFIG} --cflags --libs zolv)
separate_arguments(flags UNIX_COMMAND "${output}")
run(${PKG_CONFIG} --variable=libdir zolv)
set(libdir "${output}")
run(${C} ${SOURCE}/consumer.c ${flags} -o ${WORK}/by_pkg_config)
run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${libdir} ${WORK}/by_pkg_config)
expect("C by pkg-config" "${output}" "${VERSION} 0.5")
