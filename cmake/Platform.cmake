# The compilers and platforms that the engine supports. Others are refused when configuring, since much
# of what is wrong there would compile and pass the tests.
#
# Compilers: the C++20 of the sources needs GCC 12 or clang 14. Others are untested and get a warning.
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

# Linux: a failed assertion in a scanner ends the parse and not the process, because glibc and musl call
# __assert_fail then, which Grammars.cmake replaces. Other C libraries would end the process.
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
  message(FATAL_ERROR "treesitter-engine is for Linux; on ${CMAKE_SYSTEM_NAME} a file could end the "
    "process through an assertion of a grammar")
endif()

# 64 bits: the hash of names needs integers of 128 bits, which compilers have only for such processors.
# The memory of a parse is counted in size_t, which in 32 bits would wrap around at 4 GiB.
if(NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
  message(FATAL_ERROR "treesitter-engine is for processors of 64 bits: its hashes need integers of "
    "128, and its budgets of memory count beyond 4 GiB")
endif()

# Little-endian: the tree is read from the bits in which the core stores small leaves, and the core
# orders them otherwise on big-endian processors. The same code should read both, but it has never run
# on such a processor, and a wrong bit is a wrong record.
if(CMAKE_CXX_BYTE_ORDER STREQUAL "BIG_ENDIAN")
  message(FATAL_ERROR "treesitter-engine is for little-endian processors: on others the core lays "
    "out its trees otherwise, and reading them there has never been tried")
endif()
