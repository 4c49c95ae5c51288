# Installs the library, its header, its pkg-config file and its CMake package. Each of the two is
# enough to compile and link an application. The CMake package may be moved together with its prefix;
# the pkg-config file names the prefix that it was installed with, because only of a plain path can
# pkg-config tell that compilers look there anyway.

include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/vemra_app_stamp")

set_target_properties(vemra_app_stamp PROPERTIES EXPORT_NAME app_stamp)
target_include_directories(vemra_app_stamp INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
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

# below_prefix(<result> <folder>): as it stands in the pkg-config file.
function(below_prefix result folder)
    if(NOT IS_ABSOLUTE "${folder}")
        set(folder "\${prefix}/${folder}")
    endif()
    set(${result} "${folder}" PARENT_SCOPE)
endfunction()

set(at "@")
below_prefix(libdir "${CMAKE_INSTALL_LIBDIR}")
below_prefix(includedir "${CMAKE_INSTALL_INCLUDEDIR}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/vemra_app_stamp.pc.in"
               "${PROJECT_BINARY_DIR}/vemra_app_stamp.pc.in" @ONLY)
# The prefix is known when it is installed. An absolute folder is where it says, whatever the prefix.
install(CODE "
    set(folder \"${CMAKE_INSTALL_LIBDIR}/pkgconfig\")
    if(NOT IS_ABSOLUTE \"\${folder}\")
        string(PREPEND folder \"\${CMAKE_INSTALL_PREFIX}/\")
    endif()
    message(STATUS \"Installing: \$ENV{DESTDIR}\${folder}/vemra_app_stamp.pc\")
    configure_file(\"${PROJECT_BINARY_DIR}/vemra_app_stamp.pc.in\"
                   \"\$ENV{DESTDIR}\${folder}/vemra_app_stamp.pc\" @ONLY)
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${folder}/vemra_app_stamp.pc\")
" COMPONENT development)
