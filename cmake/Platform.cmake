# What the engine can be built by and for. Refused while configuring, since much of what is not right
# elsewhere would neither fail to compile nor fail a test.
#
# Compilers: C++20 as the sources use it needs GCC 12 or clang 14. Others are not tried.
foreach(_language C CXX)
  set(_id "${CMAKE_${_language}_COMPILER_ID}")
  set(_version "${CMAKE_${_language}_COMPILER_VERSION}")
  if((_id STREQUAL "GNU" AND _version VERSION_LESS 12)
     OR (_id STREQUAL "Clang" AND _version VERSION_LESS 14))
    message(FATAL_ERROR "treesitter-engine needs GCC 12 or clang 14, or newer; "
      "${CMAKE_${_language}_COMPILER} is ${_id} ${_version}")
  elseif(NOT _id MATCHES "^(GNU|Clang)$")
    message(WARNING "treesitter-engine is built with GCC and clang only; "
      "${CMAKE_${_language}_COMPILER} is ${_id} ${_version}, which nobody has tried")
  endif()
endforeach()

# Linux: an assertion in a scanner ends the parse and not the process because the C library's
# function for it has the name that glibc and musl give it; elsewhere the process would end.
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
  message(FATAL_ERROR "treesitter-engine is for Linux; on ${CMAKE_SYSTEM_NAME} a file could end the "
    "process through an assertion of a grammar")
endif()

# 64 bits: the hash of names multiplies in 128 bits, which compilers have for such processors only; and
# what a parse holds is counted in size_t, where 4 GiB would read as nothing.
if(NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
  message(FATAL_ERROR "treesitter-engine is for processors of 64 bits: its hashes need integers of "
    "128, and its budgets of memory count beyond 4 GiB")
endif()

# Little-endian: the tree is read from the bits that the core keeps small leaves in, and the core lays
# them out otherwise on big-endian processors. By its declarations both read alike, but nothing of
# this has ever run on one, and a wrong bit is a wrong record.
if(CMAKE_CXX_BYTE_ORDER STREQUAL "BIG_ENDIAN")
  message(FATAL_ERROR "treesitter-engine is for little-endian processors: on others the core lays "
    "out its trees otherwise, and reading them there has never been tried")
endif()
