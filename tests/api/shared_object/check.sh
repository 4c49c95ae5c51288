#!/bin/sh
# Checks one claim about the shared object: check.sh CLAIM LIBRARY EXPORTS_MAP FUNCTIONS_LIST
# NM and READELF name the programs to look with.
set -eu

claim=$1
library=$2
exports_map=$3
functions_list=$4

fail() {
    echo "$claim: $1" >&2
    exit 1
}

# Sorted lines of two commands must agree.
expect_same() {
    [ "$1" = "$2" ] && return
    printf 'expected:\n%s\nfound:\n%s\n' "$1" "$2" >&2
    fail "not the same"
}

dynamic_section() {
    "$READELF" --wide --dynamic "$library"
}

nineteen_functions="VemraAppStampAppendStamp
VemraAppStampDeleteStamp
VemraAppStampEnvGetConfiguration
VemraAppStampEnvInitialize
VemraAppStampEnvUninitialize
VemraAppStampFreeMemory
VemraAppStampFreeStamp
VemraAppStampFreeStamps
VemraAppStampGetAllStamps
VemraAppStampGetErrorMessage
VemraAppStampGetLastError
VemraAppStampGetStamp
VemraAppStampGetStampCount
VemraAppStampGetStampData
VemraAppStampGetStampName
VemraAppStampGetStampOwnDevice
VemraAppStampGetStampType
VemraAppStampGetVersion
VemraAppStampUpdateStamp"

defines_exactly_the_nineteen_functions() {
    # All of them functions of their own: T, neither weak (W, V) nor unique (u).
    expected=$(echo "$nineteen_functions" | sed 's/^/T /')
    expect_same "$expected" "$("$NM" -D --defined-only "$library" | cut -d' ' -f2- | LC_ALL=C sort)"
    expect_same "$nineteen_functions" \
        "$(sed -n 's/^ *\(VemraAppStamp[A-Za-z]*\);$/\1/p' "$exports_map" | LC_ALL=C sort)"
}

has_no_version_nodes() {
    "$NM" -D --defined-only --with-symbol-versions "$library" | grep -q '@' &&
        fail "a defined symbol has a version"
    "$READELF" --wide --version-info "$library" | grep -q 'gnu.version_d' &&
        fail "there are version definitions"
    return 0
}

undefined_vemra_functions() {
    "$NM" -D --undefined-only "$library" | awk '$2 ~ /^Vemra/ { print $2 }' | LC_ALL=C sort
}

calls_only_device_functions_of_the_list() {
    [ -n "$(undefined_vemra_functions)" ] || fail "no device function is called at all"
    sorted_list=$(mktemp)
    trap 'rm -f "$sorted_list"' EXIT
    LC_ALL=C sort "$functions_list" > "$sorted_list"
    expect_same "" "$(undefined_vemra_functions | LC_ALL=C comm -23 - "$sorted_list")"
}

takes_no_address_of_a_device_function() {
    relocations=$("$READELF" --wide --relocs "$library" | grep ' VemraPKI') ||
        fail "no device function is relocated at all"
    expect_same "" "$(echo "$relocations" | grep -v '_JUMP_SLOT' || true)"
}

has_its_soname_and_file_version() {
    dynamic_section | grep -q 'SONAME.*\[libvemra_app_stamp\.so\.1\]' || fail "another soname"
    [ "$(basename "$(readlink -f "$library")")" = libvemra_app_stamp.so.1.0.0 ] ||
        fail "another file version"
}

has_no_search_path() {
    dynamic_section | grep -E '\((RPATH|RUNPATH)\)' && fail "it has a search path"
    return 0
}

binds_lazily() {
    dynamic_section | grep -E 'BIND_NOW|Flags:.*NOW' && fail "it binds at load time"
    return 0
}

needs_only_the_device_library_and_the_runtimes() {
    needed=$(dynamic_section | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
    echo "$needed" | grep -qx 'libvemra_crypto\.so\.1' || fail "the device library is not needed"
    runtimes='libstdc\+\+\.so\.6|libgcc_s\.so\.1|libm\.so\.6|libc\.so\.6|ld-linux[-a-z0-9_]*\.so\.[0-9]'
    expect_same "libvemra_crypto.so.1" "$(echo "$needed" | grep -vxE "$runtimes")"
}

"$claim"
