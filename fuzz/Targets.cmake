# The targets, each the .cpp file of its name, and what an executable of one needs. The fuzzers and
# the tests of the corpus are made from them.

set(MDICOM_FUZZ_TARGETS
  reader file round_trip values text keys get_image change palette
  rle_decoder jpeg_decoder j2k_decoder j2k_header)

# mdicom_fuzz_executable(<name> <target> [sources])
function(mdicom_fuzz_executable name target)
  add_executable(${name} ${PROJECT_SOURCE_DIR}/fuzz/${target}.cpp ${ARGN})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE mdicom_settings)
  if(target STREQUAL jpeg_decoder)
    target_link_libraries(${name} PRIVATE MFCMPX_internal)
  elseif(target MATCHES "^(rle_decoder|j2k_decoder|j2k_header)$") # what the shared library hides
    target_link_libraries(${name} PRIVATE mdicom_internal)
  else()
    target_link_libraries(${name} PRIVATE mdicom)
  endif()
  if(target MATCHES "^(get_image|change|palette|j2k_decoder)$")
    add_dependencies(${name} MFCMPX MFJ2KX MVIMGCORX)
  endif()
endfunction()
