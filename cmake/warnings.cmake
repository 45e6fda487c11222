# zef_warnings: the warnings and hardening flags of everything that is compiled here.
add_library(zef_warnings INTERFACE)
target_compile_options(zef_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wcast-qual -Woverloaded-virtual
    -fstack-protector-strong
    $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments> # QSKIP of older Qt
    $<$<BOOL:${ZEF_WERROR}>:-Werror>
    $<$<CXX_COMPILER_ID:GNU>:-fstack-clash-protection>
    $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection>
    $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},aarch64>:-mbranch-protection=standard>)
target_compile_definitions(zef_warnings INTERFACE
    QT_NO_KEYWORDS QT_DEPRECATED_WARNINGS
    $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
target_link_options(zef_warnings INTERFACE
    LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
