# Compiler settings that all targets share.

add_library(mdicom_settings INTERFACE)
target_compile_options(mdicom_settings INTERFACE -Wall -Wextra)
if(MDICOM_WERROR)
  target_compile_options(mdicom_settings INTERFACE -Werror)
endif()

# -Wconversion holds for the library itself; tests and benchmarks do without.
add_library(mdicom_strict INTERFACE)
target_compile_options(mdicom_strict INTERFACE -Wconversion -Wno-sign-conversion)
target_link_libraries(mdicom_strict INTERFACE mdicom_settings)
# Unique symbols would keep the library in memory for ever: its end would not run at dlclose.
target_compile_options(mdicom_strict INTERFACE
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>)

if(MDICOM_SANITIZE)
  add_compile_options(-fsanitize=${MDICOM_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${MDICOM_SANITIZE})
endif()
