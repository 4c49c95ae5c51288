# Finds UTF8-CPP, which reads UTF-8, as the target UTF8CPP::UTF8CPP. Its own package file cannot be
# read twice in one build.

find_path(UTF8CPP_INCLUDE_DIR utf8.h PATH_SUFFIXES utf8cpp)
mark_as_advanced(UTF8CPP_INCLUDE_DIR)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(UTF8CPP DEFAULT_MSG UTF8CPP_INCLUDE_DIR)

if(UTF8CPP_FOUND AND NOT TARGET UTF8CPP::UTF8CPP)
    add_library(UTF8CPP::UTF8CPP INTERFACE IMPORTED)
    set_target_properties(UTF8CPP::UTF8CPP PROPERTIES
        INTERFACE_INCLUDE_DIRECTORIES "${UTF8CPP_INCLUDE_DIR}")
endif()
