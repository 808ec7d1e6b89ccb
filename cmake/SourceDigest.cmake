# Digests of sources, which are the same on every machine and in every folder.
#
# Tested by tests/package/test_build_info.py.

# treesitter_engine_digest(VARIABLE FOLDER FILE...): the SHA-256 of the FILEs' bytes and of their paths
# relative to FOLDER, in the order of these paths.
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

# treesitter_engine_compiled_files(VARIABLE FILE... FOLDERS FOLDER... [ALSO FILE...]): the C FILEs, and
# all files that they include, directly or not, from their own folder or from the FOLDERS. Files that
# are included by a macro are given after ALSO; if none is given, such an include ends the build. A
# generated parser has tens of megabytes, so only its first 64 KiB are searched for includes. The core's
# engine for WebAssembly is left out, which no build of ours uses.
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
