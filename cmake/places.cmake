# places_of(<folder> <installed> <built>): from where programs are, the place of a folder below that of
# the libraries, once installed and in the build tree. They are the same, relative to the programs, but
# where the folder of the libraries is absolute: then it stays where it is, wherever the rest is
# installed, and the build tree has a place of its own.
function(places_of folder installed built)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
        set(${installed} "${CMAKE_INSTALL_LIBDIR}/${folder}" PARENT_SCOPE)
        set(${built} "../lib/${folder}" PARENT_SCOPE)
    else()
        file(RELATIVE_PATH place "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}/${folder}")
        set(${installed} "${place}" PARENT_SCOPE)
        set(${built} "${place}" PARENT_SCOPE)
    endif()
endfunction()
