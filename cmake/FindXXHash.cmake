# Finds libxxhash, which makes checksums, as the target XXHash::XXHash.

find_path(XXHash_INCLUDE_DIR xxhash.h)
find_library(XXHash_LIBRARY xxhash)
mark_as_advanced(XXHash_INCLUDE_DIR XXHash_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(XXHash DEFAULT_MSG XXHash_LIBRARY XXHash_INCLUDE_DIR)

if(XXHash_FOUND AND NOT TARGET XXHash::XXHash)
    add_library(XXHash::XXHash UNKNOWN IMPORTED)
    set_target_properties(XXHash::XXHash PROPERTIES
        IMPORTED_LOCATION "${XXHash_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${XXHash_INCLUDE_DIR}")
endif()
