# Installs the library, its header and the package files; never a stand-in. The host is installed by
# name only: cmake --install BUILD --component host.
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME library)

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
if(ZEF_BUILD_HOST)
    install(TARGETS zefhost COMPONENT host EXCLUDE_FROM_ALL)
    # Written by tools/package.sh: parts of others are compiled into the host.
    install(FILES ${PROJECT_BINARY_DIR}/THIRD-PARTY-NOTICES.txt COMPONENT host EXCLUDE_FROM_ALL
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zefhost RENAME copyright)
endif()

# cpack -G DEB: one Debian package with the library and what a host needs to compile against it, one
# with the command-line host. What they depend on is checked by ./dev floor and ./dev systems.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_CONTACT "zelectronframework maintainers")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library host)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${ZEF_ARCHITECTURE})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME zelectronframework)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libc6 (>= 2.28), libstdc++6 (>= 8), libgcc-s1, \
libqt5core5t64 | libqt5core5a (>= 5.10), libqt5network5t64 | libqt5network5 (>= 5.10)")
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
    "Accounts and meetings for Electron hosts: library, header and CMake files")
set(CPACK_DEBIAN_HOST_PACKAGE_NAME zefhost)
set(CPACK_DEBIAN_HOST_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_HOST_PACKAGE_DEPENDS "libc6 (>= 2.28), libstdc++6 (>= 10), libgcc-s1, libedit2, \
zelectronframework (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_HOST_DESCRIPTION "Command-line host of libzelectronframework.so")
include(CPack)
