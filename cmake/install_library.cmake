# Installs the library, its header, its pkg-config file and its CMake package. Each of the two is
# enough to compile and link an application, and may be moved together with its prefix.

include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/vemra_app_stamp")
set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

set_target_properties(vemra_app_stamp PROPERTIES EXPORT_NAME app_stamp)
install(TARGETS vemra_app_stamp EXPORT vemra_app_stamp
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        PUBLIC_HEADER COMPONENT development)
install(EXPORT vemra_app_stamp NAMESPACE vemra:: DESTINATION "${package_dir}"
        FILE vemra_app_stamp-targets.cmake COMPONENT development)

configure_package_config_file(
    "${CMAKE_CURRENT_LIST_DIR}/vemra_app_stamp-config.cmake.in"
    "${PROJECT_BINARY_DIR}/vemra_app_stamp-config.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file(
    "${PROJECT_BINARY_DIR}/vemra_app_stamp-config-version.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/vemra_app_stamp-config.cmake"
              "${PROJECT_BINARY_DIR}/vemra_app_stamp-config-version.cmake"
        DESTINATION "${package_dir}" COMPONENT development)

file(RELATIVE_PATH prefix_from_pkgconfig
     "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/vemra_app_stamp.pc.in"
               "${PROJECT_BINARY_DIR}/vemra_app_stamp.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/vemra_app_stamp.pc" DESTINATION "${pkgconfig_dir}"
        COMPONENT development)
