# What a host sees of the shared library: exported names, record layout, header, hardening, installation, and
# behaviour in unusual processes. Included by tests/CMakeLists.txt.
set(surface_dir "${CMAKE_CURRENT_LIST_DIR}")

# ---- the records from C and C++ --------------------------------------------------------------------
target_sources(surface_records_test PRIVATE "${surface_dir}/layout_c.c" "${surface_dir}/by_value_c.c"
                                            "${surface_dir}/airline_passengers.c")

# ---- one call of everything, from C ----------------------------------------------------------------
# Plain C programs: no OpenMP runtime of their own, so that what the library brings is what there is.
function(add_surface_program name)
  add_executable(surface_${name} "${surface_dir}/${name}.c" ${ARGN})
  target_include_directories(surface_${name} PRIVATE "${surface_dir}")
  target_compile_options(surface_${name} PRIVATE -Wall -Wextra -Wpedantic)
  target_link_libraries(surface_${name} PRIVATE m)
  if(ZOLV_SANITIZE)
    target_link_options(surface_${name} PRIVATE -fsanitize=${ZOLV_SANITIZE})
    set_target_properties(surface_${name} PROPERTIES LINKER_LANGUAGE CXX)  # the sanitizers' C++ parts
  endif()
endfunction()
set(surface_families "${surface_dir}/families.c" "${surface_dir}/airline_passengers.c")

add_surface_program(every_family ${surface_families})
target_link_libraries(surface_every_family PRIVATE zolv)
add_test(NAME surface.every_family COMMAND surface_every_family)
set_tests_properties(surface.every_family PROPERTIES ${test_properties})

# ---- threads of the host ---------------------------------------------------------------------------
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
add_surface_program(host_threads ${surface_families})
target_link_libraries(surface_host_threads PRIVATE zolv Threads::Threads)
add_test(NAME surface.host_threads.8 COMMAND surface_host_threads 8 3)
set_tests_properties(surface.host_threads.8 PROPERTIES ${test_properties}
                     ENVIRONMENT_MODIFICATION "OMP_NUM_THREADS=set:3")
if(ZOLV_SANITIZE MATCHES thread)
  # That the sanitizer sees what it is asked to look for, in a program and inside the library.
  add_executable(surface_planted_race "${surface_dir}/planted_race.cpp")
  target_link_libraries(surface_planted_race PRIVATE zolv zolv_flags)
  foreach(where own library)
    add_test(NAME surface.planted_race.${where} COMMAND surface_planted_race ${where})
    set_tests_properties(surface.planted_race.${where} PROPERTIES ${test_properties}
                         ENVIRONMENT_MODIFICATION "TSAN_OPTIONS=string_append: halt_on_error=1"
                         PASS_REGULAR_EXPRESSION "WARNING: ThreadSanitizer: data race")
  endforeach()
endif()

# ---- the header ------------------------------------------------------------------------------------
set(surface_strict -Wall -Wextra -pedantic -Wconversion -Werror -fsyntax-only)
foreach(compiler gcc-12 clang-14)
  find_program(ZOLV_HEADER_${compiler} ${compiler})
  if(ZOLV_HEADER_${compiler})
    foreach(standard c11 c17 c++11 c++17 c++20)
      string(REGEX REPLACE "[0-9]+$" "" language ${standard})
      add_test(NAME surface.header.${compiler}.${standard}
               COMMAND ${ZOLV_HEADER_${compiler}} -x ${language} -std=${standard} ${surface_strict}
                       "${PROJECT_SOURCE_DIR}/include/zolv.h")
    endforeach()
  endif()
endforeach()

# The rest looks at the library as it is shipped. Sanitizers export names of their own, keep threads, and
# refuse some of the processes below.
if(ZOLV_SANITIZE)
  return()
endif()

function(add_surface_script name)  # further arguments: -D definitions
  add_test(NAME surface.${name} COMMAND ${CMAKE_COMMAND} ${ARGN} -P "${surface_dir}/${name}.cmake")
endfunction()

find_program(ZOLV_READELF readelf REQUIRED)
add_surface_script(exports -DNM=${CMAKE_NM} -DLIBRARY=$<TARGET_FILE:zolv> -DLIST=${surface_dir}/exports.txt
                   -DHEADER=${PROJECT_SOURCE_DIR}/include/zolv.h)
add_surface_script(hardening -DREADELF=${ZOLV_READELF} -DLIBRARY=$<TARGET_FILE:zolv>)
add_surface_script(silence -DPROGRAM=$<TARGET_FILE:surface_every_family>)
# The error paths too, where the environment gives the provider or the OpenMP runtime cause to speak.
add_test(NAME surface.silence.verbose COMMAND surface_silence_test)
add_test(NAME surface.silence.limited COMMAND surface_silence_test)
set_tests_properties(surface.silence.verbose PROPERTIES TIMEOUT 120 ENVIRONMENT OPENBLAS_VERBOSE=2)
set_tests_properties(surface.silence.limited PROPERTIES TIMEOUT 120
                     ENVIRONMENT "OMP_NUM_THREADS=7;OMP_THREAD_LIMIT=2")

# ---- unusual hosts ---------------------------------------------------------------------------------
add_test(NAME surface.host_threads.256 COMMAND surface_host_threads 256)
set_tests_properties(surface.host_threads.256 PROPERTIES TIMEOUT 300
                     ENVIRONMENT "OMP_NUM_THREADS=2;OPENBLAS_NUM_THREADS=2;OMP_WAIT_POLICY=passive")

add_surface_program(fork_child ${surface_families})
target_link_libraries(surface_fork_child PRIVATE zolv)
add_test(NAME surface.fork_child COMMAND surface_fork_child)
add_test(NAME surface.fork_child.reproducible COMMAND surface_fork_child reproducible)

add_surface_program(small_stack ${surface_families})
target_link_libraries(surface_small_stack PRIVATE zolv Threads::Threads)
add_test(NAME surface.small_stack COMMAND surface_small_stack)

add_surface_program(dlopen_cycles)
target_link_libraries(surface_dlopen_cycles PRIVATE ${CMAKE_DL_LIBS})
add_test(NAME surface.dlopen_cycles COMMAND surface_dlopen_cycles $<TARGET_FILE:zolv>)

add_library(surface_foreign_blas MODULE "${surface_dir}/foreign_blas.c")
add_surface_program(foreign_blas_host)
target_link_libraries(surface_foreign_blas_host PRIVATE ${CMAKE_DL_LIBS})
add_test(NAME surface.foreign_blas
         COMMAND surface_foreign_blas_host $<TARGET_FILE:surface_foreign_blas> $<TARGET_FILE:zolv>)

add_surface_program(gomp_first_host)
target_link_libraries(surface_gomp_first_host PRIVATE ${CMAKE_DL_LIBS})
add_test(NAME surface.gomp_first COMMAND surface_gomp_first_host libgomp.so.1 $<TARGET_FILE:zolv>)
set_tests_properties(surface.gomp_first PROPERTIES SKIP_RETURN_CODE 77)

add_library(surface_families_module MODULE ${surface_families})
target_link_libraries(surface_families_module PRIVATE zolv m)
add_surface_program(control_state)
target_link_libraries(surface_control_state PRIVATE ${CMAKE_DL_LIBS})
add_test(NAME surface.control_state COMMAND surface_control_state $<TARGET_FILE:surface_families_module>)

add_surface_program(odd_states)
target_link_libraries(surface_odd_states PRIVATE ${CMAKE_DL_LIBS})
add_test(NAME surface.odd_states COMMAND surface_odd_states $<TARGET_FILE:surface_families_module>)
set_tests_properties(surface.odd_states PROPERTIES TIMEOUT 900)

add_surface_program(german_locale ${surface_families})
target_link_libraries(surface_german_locale PRIVATE zolv)
add_test(NAME surface.german_locale
         COMMAND "${surface_dir}/german_locale.sh" $<TARGET_FILE:surface_german_locale>)
set_tests_properties(surface.german_locale PROPERTIES SKIP_RETURN_CODE 77)

# Teams of several threads even where the machine has few processors.
set_tests_properties(surface.fork_child surface.fork_child.reproducible surface.dlopen_cycles surface.gomp_first
                     PROPERTIES ENVIRONMENT "OMP_NUM_THREADS=3;OPENBLAS_NUM_THREADS=3" TIMEOUT 120)

# ---- installation ----------------------------------------------------------------------------------
find_program(ZOLV_PKG_CONFIG NAMES pkg-config pkgconf REQUIRED)
add_surface_script(install -DBUILD=${PROJECT_BINARY_DIR} -DSOURCE=${surface_dir}/consumer
                   -DWORK=${CMAKE_CURRENT_BINARY_DIR}/install_test -DPKG_CONFIG=${ZOLV_PKG_CONFIG} -DREADELF=${ZOLV_READELF}
                   -DGENERATOR=${CMAKE_GENERATOR} -DC=${CMAKE_C_COMPILER} -DCXX=${CMAKE_CXX_COMPILER}
                   -DVERSION=${PROJECT_VERSION})

# ---- the same bits from both compilers at every level of optimisation -------------------------------
get_filename_component(preset "${PROJECT_BINARY_DIR}" NAME)
if(preset STREQUAL "release" AND ZOLV_PROVIDER STREQUAL "openblas")
  add_test(NAME surface.bits_grid
           COMMAND "${surface_dir}/bits_grid.sh" "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_BINARY_DIR}/bits_grid"
                   "${ZOLV_CBLAS_INCLUDE}" "${ZOLV_OPENMP_RUNTIME}" "${ZOLV_LAPACKE}" "${ZOLV_OPENBLAS}")
  # It builds everything six times: let it start first.
  set_tests_properties(surface.bits_grid PROPERTIES TIMEOUT 3000 COST 1000)
endif()
