# Debian packages: cpack in a build configured with the prefix /usr (the preset "debian").
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The pkider authors <pkider@example.org>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian/documents.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development tools)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libpkider${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "${PROJECT_DESCRIPTION}
Reads and writes the DER of names, object identifiers, algorithm identifiers,
public keys, private keys and PKCS#12 containers. It does no cryptography.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libpkider-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libpkider${PROJECT_VERSION_MAJOR} ${same_version}")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "DER routines, GOST included - development files
Headers of the pkider library, pages and examples, and what CMake and
pkg-config need to find it.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME pkider-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/conffiles)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "names, certificates and GOST key containers in DER
The command pkider shows names, object identifiers, certificates, private keys
and PKCS#12 containers, and makes and opens containers with GOST cryptography.")

include(CPack)
