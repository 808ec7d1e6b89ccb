# What sources are, as one number: the same on every machine and wherever they lie.

# treesitter_engine_digest(VARIABLE FOLDER FILE...): the SHA-256 over the FILEs' bytes and their names
# relative to FOLDER, in the order of these names.
function(treesitter_engine_digest variable folder)
  set(lines "")
  foreach(file ${ARGN})
    file(SHA256 "${file}" digest)
    cmake_path(RELATIVE_PATH file BASE_DIRECTORY "${folder}" OUTPUT_VARIABLE name)
    list(APPEND lines "${name} ${digest}\n")
  endforeach()
  list(SORT lines)
  list(JOIN lines "" text)
  string(SHA256 digest "${text}")
  set(${variable} ${digest} PARENT_SCOPE)
endfunction()

# treesitter_engine_compiled_files(VARIABLE FILE... FOLDERS FOLDER... [ALSO FILE...]): the C FILEs and
# what they include, directly or not, from beside them or from the FOLDERS; ALSO what they name by a
# macro, which ends the build where nothing is said about it. A generated parser has tens of megabytes,
# so includes are looked for in the first 64 KiB, where all of them stand. The core's engine for
# WebAssembly is left out: no build of ours switches it on.
function(treesitter_engine_compiled_files variable)
  cmake_parse_arguments(PARSE_ARGV 1 "" "" "" "FOLDERS;ALSO")
  set(found ${_UNPARSED_ARGUMENTS} ${_ALSO})
  set(queue ${found})
  while(queue)
    list(POP_FRONT queue file)
    cmake_path(GET file PARENT_PATH beside)
    file(STRINGS "${file}" lines LIMIT_INPUT 65536 REGEX "^[ \t]*#[ \t]*include[ \t]*[<\"]")
    file(STRINGS "${file}" macros LIMIT_INPUT 65536 REGEX "^[ \t]*#[ \t]*include[ \t]*[A-Za-z_]")
    if(macros AND NOT _ALSO)
      message(FATAL_ERROR "${file} includes a file by a macro; cmake/Grammars.cmake has to name it")
    endif()
    foreach(line ${lines})
      string(REGEX REPLACE "^[^<\"]*[<\"]([^>\"]+).*" "\\1" name "${line}")
      foreach(folder "${beside}" ${_FOLDERS})
        cmake_path(ABSOLUTE_PATH name BASE_DIRECTORY "${folder}" NORMALIZE OUTPUT_VARIABLE path)
        if(EXISTS "${path}" AND NOT path IN_LIST found AND NOT path MATCHES "/wasm/")
          list(APPEND found "${path}")
          list(APPEND queue "${path}")
        endif()
      endforeach()
    endforeach()
  endwhile()
  set(${variable} ${found} PARENT_SCOPE)
endfunction()
