# zolv_provider: BLAS and LAPACK with 64-bit integers, linked statically. The shared OpenBLAS carries the
# unsuffixed names of any 32-bit-integer BLAS, so a host that has loaded one would take our calls over.
# The pthread build is the one whose thread count can be set for the provider alone.
add_library(zolv_provider INTERFACE)
if(ZOLV_PROVIDER STREQUAL "openblas")
  find_path(ZOLV_CBLAS_INCLUDE cblas.h PATHS /usr/include/x86_64-linux-gnu/openblas64-pthread
            NO_DEFAULT_PATH REQUIRED)
  find_path(ZOLV_LAPACKE_INCLUDE lapacke.h REQUIRED)
  find_library(ZOLV_OPENBLAS NAMES libopenblas64.a
               PATHS /usr/lib/x86_64-linux-gnu/openblas64-pthread NO_DEFAULT_PATH REQUIRED)
  find_library(ZOLV_LAPACKE NAMES liblapacke64.a REQUIRED)
  target_include_directories(zolv_provider SYSTEM INTERFACE ${ZOLV_CBLAS_INCLUDE} ${ZOLV_LAPACKE_INCLUDE})
  target_compile_definitions(zolv_provider INTERFACE LAPACK_ILP64 OPENBLAS_USE64BITINT)
  target_link_libraries(zolv_provider INTERFACE
    $<BUILD_INTERFACE:${ZOLV_LAPACKE}> $<BUILD_INTERFACE:${ZOLV_OPENBLAS}> m pthread)
else()
  find_package(MKL CONFIG REQUIRED)
  target_compile_definitions(zolv_provider INTERFACE ZOLV_PROVIDER_MKL MKL_ILP64)
  target_link_libraries(zolv_provider INTERFACE MKL::MKL)
endif()
