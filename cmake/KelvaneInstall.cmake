# Libraries, headers, the command, and a package that find_package(kelvane CONFIG) understands:
#
#     find_package(kelvane CONFIG REQUIRED)                      # kelvane::kelvane
#     find_package(kelvane CONFIG REQUIRED COMPONENTS toolkit)   # and kelvane::toolkit
#     pkg-config --cflags --libs kelvane                         # or kelvane-toolkit
#
# Everything belongs to a component (lib, toolkit, dev, command, python), of which `cpack` makes a
# Debian package each.
include(CMakePackageConfigHelpers)

set(kelvane_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/kelvane")

# Shared libraries go with the component, what a compiler or linker needs goes with dev.
function(kelvane_install_libraries export component)
    install(TARGETS ${ARGN} EXPORT ${export}
        LIBRARY COMPONENT ${component} NAMELINK_COMPONENT dev
        ARCHIVE COMPONENT dev)
    install(EXPORT ${export} NAMESPACE kelvane:: DESTINATION "${kelvane_package_dir}" COMPONENT dev)
endfunction()

# Says where a pkg-config file finds the libraries from where it stands itself, so that the folder of
# an installation can move.
function(kelvane_install_pkg_config name)
    file(RELATIVE_PATH KELVANE_PREFIX_FROM_PC
        "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
    string(REGEX REPLACE "/$" "" KELVANE_PREFIX_FROM_PC "${KELVANE_PREFIX_FROM_PC}")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${name}.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT dev)
endfunction()

list(TRANSFORM PCL_INCLUDE_DIRS PREPEND "-I" OUTPUT_VARIABLE KELVANE_PCL_CFLAGS)
list(FILTER KELVANE_PCL_CFLAGS INCLUDE REGEX "/(pcl-[0-9.]+|eigen3)$")
list(JOIN KELVANE_PCL_CFLAGS " " KELVANE_PCL_CFLAGS)

kelvane_install_libraries(kelvaneTargets lib mesh_kernel hole_filling kelvane)
kelvane_install_pkg_config(kelvane)

# Only what callers may include; the other headers are the sources' own.
foreach(header
        export.hpp
        names.hpp
        kernel/mesh_build.hpp
        kernel/mesh_check.hpp
        kernel/mesh_kernel.hpp
        fill/hole_filling.hpp
        patch/patch_fairing.hpp
        holes/border_trace.hpp
        repair/closings.hpp
        repair/repair_markers.hpp
        repair/run_notes.hpp
        repair/run_places.hpp
        triangulator/hole_triangulator.hpp)
    get_filename_component(folder "${header}" DIRECTORY)
    install(FILES "${PROJECT_SOURCE_DIR}/kelvane/${header}"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/kelvane/${folder}" COMPONENT dev)
endforeach()

if(TARGET toolkit)
    kelvane_install_libraries(kelvaneToolkitTargets toolkit toolkit)
    kelvane_install_pkg_config(kelvane-toolkit)
    install(DIRECTORY "${PROJECT_SOURCE_DIR}/kelvane/toolkit"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/kelvane" COMPONENT dev
        FILES_MATCHING PATTERN "*.hpp"
        # What only the sources include.
        PATTERN formats EXCLUDE
        PATTERN windows EXCLUDE
        PATTERN job_queue.hpp EXCLUDE
        REGEX "bodies/(base_fit|body_removal|marker_cylinder|place_look)\\.hpp" EXCLUDE
        REGEX "find/(boundary_loops|vertex_grid|vertex_normals)\\.hpp" EXCLUDE
        REGEX "job/(coarse_coordinates|mesh_run|output_capture|patch_bound|patch_blame|patch_mending|repair_plan|run_access|scan_counts|stage_clock|team_size|working_scale)\\.hpp" EXCLUDE
        REGEX "page/(edge_bends|face_list|page_gathering|page_texts|place_drawing|place_measuring)\\.hpp" EXCLUDE
        REGEX "report/border_words\\.hpp" EXCLUDE
        REGEX "rims/(rim_closing|rim_curve)\\.hpp" EXCLUDE
        REGEX "scan/renumbering\\.hpp" EXCLUDE
        REGEX "synthesis/portable_random\\.hpp" EXCLUDE)
endif()
if(TARGET kelvane_command)
    install(TARGETS kelvane_command COMPONENT command)
    install(FILES "${PROJECT_SOURCE_DIR}/apps/kelvane/completion.bash" RENAME kelvane
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT command)
    if(TARGET man_pages)
        install(DIRECTORY "${PROJECT_BINARY_DIR}/apps/kelvane/man1"
            DESTINATION "${CMAKE_INSTALL_MANDIR}" COMPONENT command)
    endif()
endif()

# A static library hands its private dependencies on to whoever links it.
set(KELVANE_STATIC ON)
if(BUILD_SHARED_LIBS)
    set(KELVANE_STATIC OFF)
endif()
configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/kelvaneConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/kelvaneConfig.cmake"
    INSTALL_DESTINATION "${kelvane_package_dir}"
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/kelvaneConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/kelvaneConfig.cmake"
    "${PROJECT_BINARY_DIR}/kelvaneConfigVersion.cmake"
    DESTINATION "${kelvane_package_dir}" COMPONENT dev)

if(KELVANE_TOP_LEVEL)
    include(KelvanePackages)
endif()
