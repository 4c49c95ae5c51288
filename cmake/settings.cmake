# vemra_setting(<NAME> <type> <default> <what it does>): a cache entry for whoever configures this
# project; within another project an ordinary variable, whose value that project may have set.
macro(vemra_setting name type default what)
    if(PROJECT_IS_TOP_LEVEL)
        set(${name} "${default}" CACHE ${type} "${what}")
    elseif(NOT DEFINED ${name})
        set(${name} "${default}")
    endif()
endmacro()
