# silence.cmake: a program that calls everything, bad arguments included, prints nothing, even where the
# environment asks the provider to speak and the OpenMP runtime has cause to warn. Definitions: PROGRAM
set(plain "")
set(verbose OPENBLAS_VERBOSE=2)
set(limited OMP_NUM_THREADS=7 OMP_THREAD_LIMIT=2)
foreach(environment plain verbose limited)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env ${${environment}} ${PROGRAM}
                  OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE status)
  if(NOT status EQUAL 0 OR NOT "${out}${err}" STREQUAL "")
    message(SEND_ERROR "${environment}: status ${status}, printed: ${out}${err}")
  endif()
endforeach()
