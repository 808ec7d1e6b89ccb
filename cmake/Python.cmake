# The Python that runs the tests and for which the module is built: the first one in the PATH that has
# the packages of the tests. Without tests CMake chooses it. -DPython3_EXECUTABLE=... sets another.
function(_has_test_packages result candidate)
  execute_process(
    COMMAND "${candidate}" -c "import sys; from importlib.util import find_spec; \
sys.exit(sys.version_info < (3, 11) or not all(map(find_spec, ['pytest', 'jsonschema', 'mypy'])))"
    RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET)
  if(NOT status EQUAL 0)
    set(${result} FALSE PARENT_SCOPE)
  endif()
endfunction()

if(TREESITTER_ENGINE_BUILD_TESTS)
  find_program(Python3_EXECUTABLE python3 VALIDATOR _has_test_packages)
  if(NOT Python3_EXECUTABLE)
    unset(Python3_EXECUTABLE CACHE)
    message(WARNING "No Python from 3.11 on in the PATH has pytest, jsonschema and mypy; "
      "tests that need them will fail")
  endif()
endif()
