# Run by CPack when the files of all packages are in their folders. Calls debian/prepare for these.
set(_packages "")
foreach(_component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER "${_component}" _upper)
  list(APPEND _packages
    "${CPACK_DEBIAN_${_upper}_PACKAGE_NAME}=${CPACK_TEMPORARY_DIRECTORY}/${_component}")
endforeach()
list(TRANSFORM CPACK_TREESITTER_ENGINE_NOTICES PREPEND "--notice=" OUTPUT_VARIABLE _notices)
execute_process(
  COMMAND /usr/bin/python3 "${CPACK_TREESITTER_ENGINE_PREPARE}"
    "--source=${CPACK_TREESITTER_ENGINE_SOURCE}" "--strip=${CPACK_TREESITTER_ENGINE_STRIP}"
    "--maintainer=${CPACK_PACKAGE_CONTACT}" ${_notices} ${_packages}
  COMMAND_ERROR_IS_FATAL ANY)
