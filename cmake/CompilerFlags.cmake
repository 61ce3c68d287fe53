# zolv_flags: what every object is compiled with, because it decides results or safety.
# zolv_warnings: the strict set for the library's own sources.
add_library(zolv_flags INTERFACE)
# No contraction: a fused multiply-add rounds once where the formulas round twice.
target_compile_options(zolv_flags INTERFACE -ffp-contract=off -fno-fast-math -fstack-protector-strong)
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug" AND NOT ZOLV_SANITIZE)
  target_compile_options(zolv_flags INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()

set(ZOLV_SANITIZE "" CACHE STRING "Sanitizers: address,undefined or thread")
if(ZOLV_SANITIZE)
  target_compile_options(zolv_flags INTERFACE -fsanitize=${ZOLV_SANITIZE} -fno-omit-frame-pointer -g)
  if(ZOLV_SANITIZE MATCHES undefined)
    # Division by zero is IEEE arithmetic here, and its infinities are results.
    target_compile_options(zolv_flags INTERFACE -fno-sanitize-recover=undefined)
    if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
      target_compile_options(zolv_flags INTERFACE -fsanitize=float-cast-overflow -fno-sanitize=float-divide-by-zero)
    endif()
  endif()
  target_link_options(zolv_flags INTERFACE -fsanitize=${ZOLV_SANITIZE})
endif()

# OpenMP: compiled by either compiler, run by LLVM's runtime. GNU's hangs in a forked child at its next
# region and its threads do not survive dlclose; LLVM's serves both compilers' entry points.
find_library(ZOLV_OPENMP_RUNTIME NAMES omp libomp.so.5
             PATHS /usr/lib/llvm-14/lib /usr/lib/x86_64-linux-gnu REQUIRED)
target_compile_options(zolv_flags INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fopenmp>)
target_link_libraries(zolv_flags INTERFACE $<BUILD_INTERFACE:${ZOLV_OPENMP_RUNTIME}>)
if(ZOLV_SANITIZE MATCHES thread)
  # Archer tells the thread sanitizer what the runtime's forks and barriers order.
  get_filename_component(runtime_dir "${ZOLV_OPENMP_RUNTIME}" DIRECTORY)
  find_library(ZOLV_ARCHER NAMES libarcher.so PATHS "${runtime_dir}" REQUIRED)
  target_link_libraries(zolv_flags INTERFACE
    $<BUILD_INTERFACE:-Wl,--push-state,--no-as-needed> $<BUILD_INTERFACE:${ZOLV_ARCHER}> $<BUILD_INTERFACE:-Wl,--pop-state>)
endif()

add_library(zolv_warnings INTERFACE)
target_compile_options(zolv_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-align -Wcast-qual -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough
  -Wunused -Wundef)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(zolv_warnings INTERFACE -Wduplicated-cond -Wduplicated-branches -Wlogical-op)
endif()
if(ZOLV_WERROR)
  target_compile_options(zolv_warnings INTERFACE -Werror)
endif()
