# The Debian packages: one for each component, libraries, development files and tool.

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development tool)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # the descriptions below have one each as their first line
set(CPACK_PACKAGE_CONTACT "TavoSceneGraphIO developers <developers@tavo.invalid>")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# What the binaries link is looked up; what they link of each other is said below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
# For packages that others make of what they link with ours.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(runtime "libtavoscenegraphio${PROJECT_VERSION_MAJOR}")
set(same_version "${runtime} (= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "${runtime}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION} - shared libraries
Reads and writes scene graphs, nodes with properties and VTK datasets, as records
of one file or as a directory of text and array files.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtavoscenegraphio-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${same_version}, libvtk9-dev, zlib1g-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${PROJECT_DESCRIPTION} - development files
Headers, and what CMake and pkg-config need to find them and the libraries.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME tavosce)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${same_version}")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "${PROJECT_DESCRIPTION} - command-line tool
Moves datasets in and out of scene databases, tells what they hold, checks them,
and rescues what is whole of damaged ones. Shows their thumbnails on desktops.")

include(CPack)
