#!/usr/bin/env bash
# Installs into a scratch prefix and uses what is there as an application's build would, on a
# machine without a device library. Running needs one: any library with its soname does.
#
# install_test.sh CASE BUILD_DIR LIBRARY_DIR DEVICE_LIBRARY_DIR
#   CASE: layout, pkg_config_c, pkg_config_cxx, cmake_package
#   LIBRARY_DIR: relative to the prefix
set -euo pipefail

case_name=$1 build_dir=$2 library_dir=$3 device_library_dir=$4
consumer=$(dirname "$(readlink -f "$0")")/consumer
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
    echo "install_test: $*" >&2
    exit 1
}

# Everything must work after the prefix was moved.
cmake --install "$build_dir" --prefix "$scratch/first" >/dev/null
mv "$scratch/first" "$scratch/prefix"
prefix=$scratch/prefix
libraries=$prefix/$library_dir

run() {
    LD_LIBRARY_PATH=$libraries:$device_library_dir "$1" >"$scratch/trace" ||
        fail "$1 ended with status $?"
    grep -q '>>>> VemraAppStampGetVersion$' "$scratch/trace" || fail "$1 left no trace"
}

pkg_config() {
    env -u PKG_CONFIG_LIBDIR PKG_CONFIG_PATH="$libraries/pkgconfig" \
        pkg-config "$@" vemra_app_stamp
}

layout() {
    local library=$libraries/libvemra_app_stamp.so.1.0.0
    [ -f "$library" ] || fail "$library is not there"
    [ ! -L "$library" ] || fail "$library is not a file of its own"
    [ "$(readlink "$libraries/libvemra_app_stamp.so.1")" = libvemra_app_stamp.so.1.0.0 ] ||
        fail "libvemra_app_stamp.so.1 does not lead to the library"
    [ "$(readlink "$libraries/libvemra_app_stamp.so")" = libvemra_app_stamp.so.1 ] ||
        fail "libvemra_app_stamp.so does not lead to libvemra_app_stamp.so.1"
    [ -f "$prefix/include/vemra_app_stamp.h" ] || fail "no public header"
    readelf -d "$library" >"$scratch/dynamic"
    grep -q 'SONAME.*\[libvemra_app_stamp.so.1\]' "$scratch/dynamic" || fail "wrong soname"
    ! grep -E 'RPATH|RUNPATH' "$scratch/dynamic" || fail "a path of its own is built in"
    ! find "$prefix" -name '*vemra_crypto*' -not -path '*/vemra-softtoken/*' | grep . ||
        fail "what could shadow the maker's device library is installed"
    ! grep -rIlF -e "$build_dir" -e "$scratch/first" "$prefix" | grep . ||
        fail "paths of this build are installed"
}

# CFLAGS stay unquoted: they are words for the compiler.
# shellcheck disable=SC2046
pkg_config_c() {
    cc -std=c99 -Wall -Wextra -pedantic -Werror "$consumer/consumer.c" -o "$scratch/consumer" \
        $(pkg_config --cflags --libs)
    run "$scratch/consumer"
}

# shellcheck disable=SC2046
pkg_config_cxx() {
    c++ -std=c++11 -Wall -Wextra -pedantic -Werror "$consumer/consumer.cpp" \
        -o "$scratch/consumer" $(pkg_config --cflags --libs)
    run "$scratch/consumer"
}

cmake_package() {
    cmake -S "$consumer" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$prefix"
    cmake --build "$scratch/build"
    run "$scratch/build/consumer_c"
    run "$scratch/build/consumer_cxx"
}

case $case_name in
layout | pkg_config_c | pkg_config_cxx | cmake_package) "$case_name" ;;
*) fail "unknown case: $case_name" ;;
esac
