# Settings that every target of this project shares.

vemra_setting(VEMRA_WARNINGS_AS_ERRORS BOOL OFF "Treat compiler warnings as errors")
vemra_setting(VEMRA_SANITIZE STRING "" "Sanitizers for every target, for example address,undefined")
vemra_setting(VEMRA_COVERAGE BOOL OFF "Measure line and branch coverage")
vemra_setting(VEMRA_QUICK_OPTIONS STRING ""
              "Further compile options for the tools and the tests, but not for any library")

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
                    -Wcast-align -Wformat=2 -Wundef
                    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
                    $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
                    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
                    $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes>)
if(VEMRA_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
endif()

# What __FILE__ leaves in objects and in the messages of tests does not tell where the build was.
add_compile_options("-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")

if(VEMRA_SANITIZE)
    add_compile_options(-fsanitize=${VEMRA_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VEMRA_SANITIZE})
endif()

if(VEMRA_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()
