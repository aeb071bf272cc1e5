# The target "docs": the reference of the public headers, where Doxygen is installed.

find_program(DOXYGEN doxygen)
mark_as_advanced(DOXYGEN)
if(NOT DOXYGEN)
  return()
endif()

configure_file(docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
add_custom_target(docs
  COMMAND ${DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
  COMMENT "Building the reference in ${PROJECT_BINARY_DIR}/reference/html"
  VERBATIM)
