#!/usr/bin/env bash
# Installs into a scratch prefix and uses what is there as an application's build would, on a
# machine without a device library. Running needs one: any library with its soname does.
#
# install_test.sh CASE SOURCE_DIR BUILD_DIR LIBRARY_DIR DEVICE_LIBRARY_DIR [PARTS...]
#   CASE: one of the functions below that begin with "test_", without that
#   LIBRARY_DIR: relative to the prefix
#   PARTS: what is built and has lines in installed_files.txt
set -euo pipefail

case_name=$1 source_dir=$2 build_dir=$3 library_dir=$4 device_library_dir=$5
parts=("${@:6}")
here=$(dirname "$(readlink -f "$0")")
consumer=$here/consumer
# Wherever people keep things.
scratch=$(mktemp -d -t 'install test XXXXXX')
# For what a shell takes apart at blanks, as what pkg-config prints.
plain=$(mktemp -d)
trap 'rm -rf "$scratch" "$plain"' EXIT

fail() {
    echo "install_test: $*" >&2
    exit 1
}

prefix=$scratch/prefix
libraries=$prefix/$library_dir

# install_to PREFIX [BUILD_DIR]
install_to() {
    cmake --install "${2:-$build_dir}" --prefix "$1" >/dev/null
}

# What the CMake package finds must do so after the prefix was moved.
install_and_move() {
    install_to "$scratch/first"
    mv "$scratch/first" "$prefix"
}

run() {
    LD_LIBRARY_PATH=$libraries:$device_library_dir "$1" >"$scratch/trace" ||
        fail "$1 ended with status $?"
    grep -q '>>>> VemraAppStampGetVersion$' "$scratch/trace" || fail "$1 left no trace"
}

# pkg_config ARGUMENTS...: for a shell that takes its words apart.
pkg_config() {
    env -u PKG_CONFIG_LIBDIR PKG_CONFIG_PATH="$libraries/pkgconfig" \
        pkg-config "$@" vemra_app_stamp
}

test_layout() {
    local library=$libraries/libvemra_app_stamp.so.1.0.0
    install_and_move
    [ -f "$library" ] || fail "$library is not there"
    [ ! -L "$library" ] || fail "$library is not a file of its own"
    [ "$(readlink "$libraries/libvemra_app_stamp.so.1")" = libvemra_app_stamp.so.1.0.0 ] ||
        fail "libvemra_app_stamp.so.1 does not lead to the library"
    [ "$(readlink "$libraries/libvemra_app_stamp.so")" = libvemra_app_stamp.so.1 ] ||
        fail "libvemra_app_stamp.so does not lead to libvemra_app_stamp.so.1"
    readelf -d "$library" >"$scratch/dynamic"
    grep -q 'SONAME.*\[libvemra_app_stamp.so.1\]' "$scratch/dynamic" || fail "wrong soname"
    ! grep -E 'RPATH|RUNPATH' "$scratch/dynamic" || fail "a path of its own is built in"
    ! find "$prefix" -name '*vemra_crypto*' -not -path '*/vemra-softtoken/*' | grep . ||
        fail "what could shadow the maker's device library is installed"
    ! grep -rIlF -e "$build_dir" "$prefix" | grep . || fail "paths of this build are installed"
    ! grep -rIlF -e "$scratch/first" "$prefix" | grep -v '/vemra_app_stamp.pc$' ||
        fail "the prefix is installed, where it is not needed"
}

# Nothing more and nothing less than the list has.
test_files() {
    local configuration
    configuration=$(sed -n 's/^CMAKE_BUILD_TYPE:[A-Z]*=//p' "$build_dir/CMakeCache.txt")
    install_to "$prefix"
    (cd "$prefix" && find . ! -type d | sed 's|^\./||' | sort) >"$scratch/found"
    for part in "${parts[@]}"; do
        sed -n "s|^$part  *||p" "$here/installed_files.txt"
    done | sed "s|LIBDIR|$library_dir|; s|-CONFIG\.|-${configuration,,}.|" | sort >"$scratch/listed"
    diff "$scratch/listed" "$scratch/found" ||
        fail "what is installed (>) is not what is listed (<)"
}

# CFLAGS are words for the compiler, quoted where a path has a blank.
test_pkg_config_c() {
    install_to "$prefix"
    eval "cc -std=c99 -Wall -Wextra -pedantic -Werror \"$consumer/consumer.c\" \
        -o \"$scratch/consumer\" $(pkg_config --cflags --libs)"
    run "$scratch/consumer"
}

test_pkg_config_cxx() {
    install_to "$prefix"
    eval "c++ -std=c++11 -Wall -Wextra -pedantic -Werror \"$consumer/consumer.cpp\" \
        -o \"$scratch/consumer\" $(pkg_config --cflags --libs)"
    run "$scratch/consumer"
}

# Whole paths, so that those where compilers look anyway are left out: an -I for them would bring
# the system's headers into the wrong order.
test_pkg_config_paths() {
    prefix=$plain/prefix
    libraries=$prefix/$library_dir
    install_to "$prefix"
    pkg_config --cflags --libs >"$scratch/flags"
    sed 's/ *$//' "$scratch/flags" | diff - <(echo "-I$prefix/include -L$libraries" \
        -Wl,--allow-shlib-undefined -lvemra_app_stamp) || fail "other flags"

    DESTDIR=$plain/root install_to /usr
    libraries=$plain/root/usr/$library_dir
    [ -z "$(pkg_config --cflags | tr -d ' ')" ] || fail "the system's headers are named"
}

test_cmake_package() {
    install_and_move
    cmake -S "$consumer" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$prefix"
    cmake --build "$scratch/build"
    run "$scratch/build/consumer_c"
    run "$scratch/build/consumer_cxx"
}

# readme_block NUMBER: one of the blocks of code below the README's heading.
readme_block() {
    awk -v wanted="$1" '/^## / { here = /^## Building, installing, linking/ }
        here && /^```/ { inside = !inside; number += inside; next }
        here && inside && number == wanted' "$source_dir/README.md" |
        sed "s|/vemra/lib\>|/vemra/$library_dir|"
}

# follow NUMBER: does what a block of commands says, as somebody at a shell. Each ends in success.
follow() {
    readme_block "$1" >"$scratch/commands"
    [ -s "$scratch/commands" ] || fail "the README has no block $1"
    cat "$scratch/commands" >&2
    HOME=$plain bash -euo pipefail "$scratch/commands" || fail "the README's block $1 fails"
}

# The lines of the README as they are printed there, but the first: this build is there already.
test_readme() {
    local program
    mkdir -p "$scratch/sources" "$scratch/application"
    ln -s "$build_dir" "$scratch/sources/build"
    cd "$scratch/sources"
    readme_block 1 | grep -qx 'cmake -S . -B build && cmake --build build' || fail "another first line"
    readme_block 1 | tail -n +2 | HOME=$plain bash -eu
    cd "$scratch/application"
    cp "$consumer/consumer.c" program.c
    for block in 2 3; do
        rm -f a.out
        follow "$block"
        cp a.out "program_$block"
    done
    readme_block 4 >CMakeLists.txt
    follow 5
    libraries=$plain/vemra/$library_dir
    for program in ./program_2 ./program_3 build/program; do
        run "$program"
    done
    [[ " ${parts[*]} " != *" softtoken "* ]] || follow 6 >/dev/null
}

configure_parent() {
    local folder=$1
    shift
    cmake -S "$here/parent" -B "$folder" -G "Unix Makefiles" -DCONSUMER="$consumer" "$@"
}

# settings BUILD_DIR: what stands in its cache for people, but what the test gave.
settings() {
    grep -vE '^(#|//|$)|:(INTERNAL|STATIC)=|^(VEMRA_SOURCE|CONSUMER)' "$1/CMakeCache.txt" |
        sed "s|$1|BUILD|g" | sort
}

test_subproject() {
    configure_parent "$scratch/alone"
    configure_parent "$scratch/build" -DVEMRA_SOURCE="$source_dir"
    diff <(settings "$scratch/alone") <(settings "$scratch/build") ||
        fail "it writes into the cache of the project that it is a part of"
    ctest --test-dir "$scratch/build" -N | grep -x 'Total Tests: 0' || fail "it has tests"
    cmake --build "$scratch/build" --target help | sed -n 's/^\.\.\. \(.*vemra.*\)/\1/p' | sort |
        diff <(printf 'vemra_%s\n' app_stamp base core crypto_cpp device_library) - ||
        fail "other targets than those of the library"
    cmake --build "$scratch/build" --parallel 2
    run "$scratch/build/consumer"
    install_to "$prefix" "$scratch/build"
    ! find "$prefix" -type f | grep . || fail "it installs what nobody asked for"
}

# Where a distribution gives its folder of libraries as a whole path.
test_absolute_library_folder() {
    libraries=$scratch/elsewhere/libraries
    configure_parent "$scratch/build" -DVEMRA_SOURCE="$source_dir" -DVEMRA_INSTALL=ON \
        -DCMAKE_INSTALL_LIBDIR="$libraries" -DCMAKE_INSTALL_PREFIX="$prefix"
    cmake --build "$scratch/build" --parallel 2
    install_to "$prefix" "$scratch/build"
    eval "cc \"$consumer/consumer.c\" -o \"$scratch/consumer\" $(pkg_config --cflags --libs)"
    run "$scratch/consumer"
    cmake -S "$consumer" -B "$scratch/user" \
        -Dvemra_app_stamp_DIR="$libraries/cmake/vemra_app_stamp"
    cmake --build "$scratch/user"
    run "$scratch/user/consumer_c"
}

[ "$(type -t "test_$case_name")" = function ] || fail "unknown case: $case_name"
"test_$case_name"
