# Merges ARCHIVES into one object, OUTPUT, in which all names of C are local. Run by a custom command of
# Package.cmake, which sets COMPILER, NM, OBJCOPY and LINK_TIME_OPTIMISATION.
function(_run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(_flags -r -nostdlib -fPIC)
if(LINK_TIME_OPTIMISATION)
  # The objects have no machine code yet. It is made here, since a host may use another compiler.
  list(APPEND _flags -O2 -flto=auto -flinker-output=nolto-rel)
endif()
_run("${COMPILER}" ${_flags} -o "${OUTPUT}.tmp" -Wl,--whole-archive ${ARCHIVES} -Wl,--no-whole-archive)

# Names of C++ stay global: they are in our namespaces or in the standard library's. Weak names stay
# too, so that the linker can keep one of each in a program.
execute_process(COMMAND "${NM}" --defined-only --extern-only --format=posix "${OUTPUT}.tmp"
  OUTPUT_VARIABLE _symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" _symbols "${_symbols}")
list(FILTER _symbols INCLUDE REGEX "^[^ ]+ [TDBRC] ")
list(FILTER _symbols EXCLUDE REGEX "^_Z")
list(TRANSFORM _symbols REPLACE " .*" "")
list(JOIN _symbols "\n" _symbols)
file(WRITE "${OUTPUT}.local" "${_symbols}\n")
_run("${OBJCOPY}" "--localize-symbols=${OUTPUT}.local" "${OUTPUT}.tmp" "${OUTPUT}")
file(REMOVE "${OUTPUT}.tmp")
