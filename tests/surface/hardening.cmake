# hardening.cmake: full RELRO, immediate binding, no executable stack, stack protector, no text relocations;
# and what the library needs at run time. Definitions: READELF LIBRARY
execute_process(COMMAND ${READELF} -W --program-headers --dynamic --dyn-syms ${LIBRARY}
                OUTPUT_VARIABLE elf COMMAND_ERROR_IS_FATAL ANY)

function(need what pattern)
  if(NOT elf MATCHES "${pattern}")
    message(SEND_ERROR "missing: ${what}")
  endif()
endfunction()
function(refuse what pattern)
  if(elf MATCHES "${pattern}")
    message(SEND_ERROR "there is ${what}: ${CMAKE_MATCH_0}")
  endif()
endfunction()

need("RELRO segment" "GNU_RELRO")
need("BIND_NOW" "\\(FLAGS\\)[^\n]*BIND_NOW")
need("NOW" "\\(FLAGS_1\\)[^\n]*NOW")
need("NODELETE" "\\(FLAGS_1\\)[^\n]*NODELETE")
need("stack that is not executable" "GNU_STACK[^\n]* RW +0x")
need("stack protector" "__stack_chk_fail")
need("soname" "Library soname: \\[libzolv.so.1\\]")
refuse("an executable stack" "GNU_STACK[^\n]* RWE ")
refuse("a text relocation" "TEXTREL")
refuse("a shared BLAS, LAPACK or GNU OpenMP"
       "NEEDED[^\n]*\\[(libblas|liblapack|liblapacke|libopenblas|libgfortran|libgomp)[^\n]*")
