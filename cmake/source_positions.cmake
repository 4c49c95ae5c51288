# name_source_files(<target> [<sources>...]): VEMRA_SOURCE_FILE is, in these sources of the target or
# in all, the file's path from the root of this project. Error and fatal lines of the log end in it.
# The compiler's own __FILE__ would follow the generator, the place of the build and the path maps of
# whoever builds.
function(name_source_files target)
    set(sources ${ARGN})
    if(NOT sources)
        get_target_property(sources ${target} SOURCES)
    endif()
    foreach(source IN LISTS sources)
        cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}" NORMALIZE
                   OUTPUT_VARIABLE file)
        cmake_path(RELATIVE_PATH file BASE_DIRECTORY "${PROJECT_SOURCE_DIR}")
        set_property(SOURCE "${source}" APPEND PROPERTY COMPILE_DEFINITIONS
                     "VEMRA_SOURCE_FILE=\"${file}\"")
    endforeach()
endfunction()
