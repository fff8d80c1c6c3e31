# What is installed, and where. Each piece belongs to a component: runtime (the libraries), development (headers and what
# finds them) or tool (the command line). The components become packages; see TavoPackages.cmake.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(TAVO_INSTALL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/TavoSceneGraphIO")
set(TAVO_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/TavoSceneGraphIO")

# tavo_find_libraries_from(TARGET FOLDER)
# Makes an installed target find the libraries of its own tree, wherever that is put, when it lies in `folder`. The
# libraries of /usr are found by the system.
function(tavo_find_libraries_from name folder)
    if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
        cmake_path(RELATIVE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY "${folder}" OUTPUT_VARIABLE way)
        set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN/${way}")
    endif()
endfunction()

# tavo_install_library(TARGET)
# Installs a shared library with its version and its public headers, as TavoSceneGraphIO::TARGET for users of CMake.
function(tavo_install_library name)
    add_library(TavoSceneGraphIO::${name} ALIAS ${name})
    target_compile_features(${name} PUBLIC cxx_std_17)
    set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    tavo_find_libraries_from(${name} "${CMAKE_INSTALL_LIBDIR}")
    install(TARGETS ${name} EXPORT TavoSceneGraphIOTargets
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        FILE_SET HEADERS DESTINATION "${TAVO_INSTALL_INCLUDEDIR}" COMPONENT development)
endfunction()

function(tavo_install_program name)
    tavo_find_libraries_from(${name} "${CMAKE_INSTALL_BINDIR}")
    install(TARGETS ${name} RUNTIME COMPONENT tool)
endfunction()

# The package for CMake: the targets, and what they need to be found first.
function(tavo_install_cmake_package)
    set(built "${PROJECT_BINARY_DIR}/cmake")
    configure_package_config_file(
        "${PROJECT_SOURCE_DIR}/cmake/TavoSceneGraphIOConfig.cmake.in" "${built}/TavoSceneGraphIOConfig.cmake"
        INSTALL_DESTINATION "${TAVO_INSTALL_CMAKEDIR}" NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file("${built}/TavoSceneGraphIOConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
    install(FILES "${built}/TavoSceneGraphIOConfig.cmake" "${built}/TavoSceneGraphIOConfigVersion.cmake"
        DESTINATION "${TAVO_INSTALL_CMAKEDIR}" COMPONENT development)
    install(EXPORT TavoSceneGraphIOTargets NAMESPACE TavoSceneGraphIO::
        DESTINATION "${TAVO_INSTALL_CMAKEDIR}" COMPONENT development)
endfunction()

# The file for pkg-config. VTK has none, so its folders and libraries are named in ours.
function(tavo_install_pkg_config)
    set(prefix .)
    cmake_path(RELATIVE_PATH prefix BASE_DIRECTORY "${CMAKE_INSTALL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE way_to_prefix)
    get_target_property(vtk_folders VTK::CommonCore INTERFACE_INCLUDE_DIRECTORIES)
    list(TRANSFORM vtk_folders REPLACE "/$" "")
    list(REMOVE_DUPLICATES vtk_folders)
    list(JOIN vtk_folders " -I" vtk_folders)
    set(vtk_libraries "-L$<TARGET_LINKER_FILE_DIR:VTK::CommonCore>")
    foreach(component IN LISTS TAVO_VTK_COMPONENTS)
        string(APPEND vtk_libraries " -lvtk${component}-${VTK_MAJOR_VERSION}.${VTK_MINOR_VERSION}")
    endforeach()
    set(built "${PROJECT_BINARY_DIR}/pkgconfig")
    configure_file("${PROJECT_SOURCE_DIR}/packaging/tavoscenegraphio.pc.in" "${built}/tavoscenegraphio.pc.in" @ONLY)
    file(GENERATE OUTPUT "${built}/tavoscenegraphio.pc" INPUT "${built}/tavoscenegraphio.pc.in")
    install(FILES "${built}/tavoscenegraphio.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endfunction()

# What desktops read: how a scene database is recognised, and who has a picture of it.
function(tavo_install_desktop_files)
    install(FILES "${PROJECT_SOURCE_DIR}/packaging/tavosce.xml"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/mime/packages" COMPONENT tool)
    install(FILES "${PROJECT_SOURCE_DIR}/packaging/tavosce.thumbnailer"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/thumbnailers" COMPONENT tool)
endfunction()

# tavo_install_package_files()
# Everything beside libraries, headers and programs. Called after all of them are known.
function(tavo_install_package_files)
    tavo_install_cmake_package()
    tavo_install_pkg_config()
    tavo_install_desktop_files()
endfunction()
