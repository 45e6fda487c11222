# zef_program(NAME SOURCES...): a program that finds the libraries in ../lib from where it lies.
#
# The old-style tag matters under AddressSanitizer: dlopen is then called by its runtime, and only
# the old-style run path of the program still applies to the libraries that our library loads.
function(zef_program name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE zef_warnings)
    target_link_options(${name} PRIVATE LINKER:--disable-new-dtags)
    set_target_properties(${name} PROPERTIES
        BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN/../lib")
endfunction()
