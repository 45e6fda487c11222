# The targets beside that of the JSON codec.
zef_program(fuzz_logline fuzz_logline.cpp)
target_link_libraries(fuzz_logline PRIVATE zef_core)

# Through the built library, with the stand-ins of the same build.
foreach(target fuzz_boundary fuzz_officemessages)
    zef_program(${target} ${target}.cpp input.h runninglibrary.cpp runninglibrary.h
        ${PROJECT_SOURCE_DIR}/tests/support/loadedlibrary.cpp)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/include
        ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/standins)
    target_link_libraries(${target} PRIVATE Qt5::Core Threads::Threads ${CMAKE_DL_LIBS})
    add_dependencies(${target} zelectronframework vemolog zaccountlite)
endforeach()

# The random driver of the stress tests, with its choices made by the fuzzer.
foreach(source stress/callbacks stress/client stress/run stress/traffic stress/verdict
        support/interface)
    target_sources(fuzz_boundary PRIVATE ${PROJECT_SOURCE_DIR}/tests/${source}.cpp)
endforeach()
target_compile_definitions(fuzz_boundary PRIVATE ZEF_SOURCE_DIR="${PROJECT_SOURCE_DIR}")

foreach(target fuzz_logline fuzz_boundary fuzz_officemessages)
    target_link_options(${target} PRIVATE -fsanitize=fuzzer)
    set_target_properties(${target} PROPERTIES AUTOMOC OFF)
endforeach()
