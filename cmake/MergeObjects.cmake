# Merges ARCHIVES into one object, OUTPUT, in which the third-party names are local. Run by a custom
# command of Package.cmake with COMPILER, NM, OBJCOPY and LINK_TIME_OPTIMISATION set.
function(_run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(_flags -r -nostdlib -fPIC)
if(LINK_TIME_OPTIMISATION)
  # The objects hold no machine code yet, and consumers may use another compiler.
  list(APPEND _flags -O2 -flto=auto -flinker-output=nolto-rel)
endif()
_run("${COMPILER}" ${_flags} -o "${OUTPUT}.tmp" -Wl,--whole-archive ${ARCHIVES} -Wl,--no-whole-archive)

# Names of C++ stay, being in namespaces of ours or of the standard library. Weak ones do too: the
# linker keeps one of each in a program, which it could not if they were local here.
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
