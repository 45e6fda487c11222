# The targets beside that of the JSON codec.
zef_program(fuzz_logline fuzz_logline.cpp)
target_link_libraries(fuzz_logline PRIVATE zef_core)

# The random driver of the stress tests, with its choices made by the fuzzer: through the built
# library, with the stand-ins of the same build.
zef_program(fuzz_boundary fuzz_boundary.cpp)
foreach(source stress/callbacks stress/client stress/run stress/traffic stress/verdict
        support/interface support/loadedlibrary)
    target_sources(fuzz_boundary PRIVATE ${PROJECT_SOURCE_DIR}/tests/${source}.cpp)
endforeach()
target_include_directories(fuzz_boundary PRIVATE
    ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/standins)
target_compile_definitions(fuzz_boundary PRIVATE ZEF_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
target_link_libraries(fuzz_boundary PRIVATE Qt5::Core Threads::Threads ${CMAKE_DL_LIBS})
add_dependencies(fuzz_boundary zelectronframework vemolog zaccountlite)

foreach(target fuzz_logline fuzz_boundary)
    target_link_options(${target} PRIVATE -fsanitize=fuzzer)
    set_target_properties(${target} PROPERTIES AUTOMOC OFF)
endforeach()
