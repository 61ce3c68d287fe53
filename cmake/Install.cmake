# cmake --install: the library, its header, the CMake package zolv::zolv and pkg-config zolv.
include(CMakePackageConfigHelpers)
install(TARGETS zolv EXPORT zolv-targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES "${PROJECT_SOURCE_DIR}/include/zolv.h" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT zolv-targets NAMESPACE zolv:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zolv)
file(WRITE "${PROJECT_BINARY_DIR}/zolv-config.cmake"
     "include(\"\${CMAKE_CURRENT_LIST_DIR}/zolv-targets.cmake\")\n")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/zolv-config-version.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/zolv-config.cmake" "${PROJECT_BINARY_DIR}/zolv-config-version.cmake"
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zolv)
# The file finds its prefix from where it lies, so that an installed tree can be moved.
file(RELATIVE_PATH ZOLV_PC_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file("${PROJECT_SOURCE_DIR}/cmake/zolv.pc.in" "${PROJECT_BINARY_DIR}/zolv.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/zolv.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
