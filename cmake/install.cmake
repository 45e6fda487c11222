# Installs the library, its header and the package files; never a stand-in.
include(CMakePackageConfigHelpers)

install(TARGETS zelectronframework EXPORT zelectronframework
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES interface/modules.json DESTINATION ${CMAKE_INSTALL_DATADIR}/zelectronframework)
install(DIRECTORY include/zelectronframework DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(ZEF_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zelectronframework)
install(EXPORT zelectronframework NAMESPACE zelectronframework::
    FILE zelectronframework-config.cmake DESTINATION ${ZEF_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelectronframework-config-version.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zelectronframework-config-version.cmake
    DESTINATION ${ZEF_PACKAGE_DIR})
