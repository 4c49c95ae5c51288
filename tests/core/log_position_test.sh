#!/usr/bin/env bash
# Builds one source file of the library as others would, and looks at the position that its log lines
# have: it must be the path from the root of this project, whatever the place and the flags.
#
# log_position_test.sh CASE SOURCE_DIR C_COMPILER CXX_COMPILER
#   CASE: in_the_source, through_a_link, as_a_subproject, with_path_maps
set -euo pipefail

case_name=$1 source_dir=$2 c_compiler=$3 cxx_compiler=$4
expected=src/core/stamp_info_mapping.cpp
object=src/core/CMakeFiles/vemra_core.dir/stamp_info_mapping.cpp.o
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# build SOURCE_DIR BUILD_DIR OBJECT [FLAGS]
build() {
    if ! configure_and_build "$@" >"$scratch/log" 2>&1; then
        cat "$scratch/log" >&2
        exit 1
    fi
    expect_position "$2/$3"
}

configure_and_build() {
    cmake -G Ninja -S "$1" -B "$2" -DCMAKE_C_COMPILER="$c_compiler" \
        -DCMAKE_CXX_COMPILER="$cxx_compiler" -DCMAKE_CXX_FLAGS="${4:-}" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE=-O0 -DVEMRA_BUILD_SOFTTOKEN=OFF \
        -DVEMRA_BUILD_TOOL=OFF -DVEMRA_BUILD_TESTS=OFF -DVEMRA_BUILD_BENCH=OFF || return
    cmake --build "$2" --target "$3"
}

# The paths of the file among the texts of an object file.
expect_position() {
    local found
    found=$(tr '\0' '\n' <"$1" | grep -aoE '[[:print:]]*/stamp_info_mapping\.cpp$' | sort -u)
    [ "$found" = "$expected" ] || {
        printf 'expected: %s\nfound: %s\n' "$expected" "$found" >&2
        exit 1
    }
}

# map_files FROM TO: as one word of the compiler's, whatever the path holds.
map_files() { printf '"-ffile-prefix-map=%s=%s"' "$1" "$2"; }

copy_sources() {
    mkdir -p "$1"
    tar -C "$source_dir" --exclude=./build --exclude=./.git -cf - . | tar -C "$1" -xf -
}

in_the_source() {
    copy_sources "$scratch/source"
    build "$scratch/source" "$scratch/source" "$object" "$(map_files "$scratch/source" .)"
}

through_a_link() {
    ln -s "$source_dir" "$scratch/link"
    build "$scratch/link" "$scratch/build" "$object" "$(map_files "$source_dir" .)"
}

# In the parent's own source, where paths are relative to the parent.
as_a_subproject() {
    copy_sources "$scratch/parent/seals"
    printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' 'project(parent C CXX)' \
        'add_subdirectory(seals)' >"$scratch/parent/CMakeLists.txt"
    build "$scratch/parent" "$scratch/parent" "seals/$object" \
        "$(map_files "$scratch/parent" .)"
}

# That of a distribution, and one that leaves no folder its name.
with_path_maps() {
    build "$source_dir" "$scratch/build" "$object" \
        "$(map_files "$source_dir" .) \"-fmacro-prefix-map=$source_dir/src=here\""
}

case $case_name in
in_the_source | through_a_link | as_a_subproject | with_path_maps) "$case_name" ;;
*)
    echo "log_position_test: unknown case: $case_name" >&2
    exit 1
    ;;
esac
