# Finds libmagic, which names the media type of bytes, as the target LibMagic::LibMagic.

find_path(LibMagic_INCLUDE_DIR magic.h)
find_library(LibMagic_LIBRARY magic)
mark_as_advanced(LibMagic_INCLUDE_DIR LibMagic_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(LibMagic DEFAULT_MSG LibMagic_LIBRARY LibMagic_INCLUDE_DIR)

if(LibMagic_FOUND AND NOT TARGET LibMagic::LibMagic)
    add_library(LibMagic::LibMagic UNKNOWN IMPORTED)
    set_target_properties(LibMagic::LibMagic PROPERTIES
        IMPORTED_LOCATION "${LibMagic_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${LibMagic_INCLUDE_DIR}")
endif()
