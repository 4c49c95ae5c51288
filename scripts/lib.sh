# Steps that the scripts share: packages, configuring, building. Sourced by bash scripts, which set
# `assume_yes=yes` when started with --yes.
# shellcheck shell=bash

# The folder of the sources, whatever the current one.
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
assume_yes=no

# What the builds and the tests need; for the scripts that source this file.
# shellcheck disable=SC2034
test_packages=(cmake ninja-build make g++ pkgconf libsqlite3-dev libssl-dev openssl libcli11-dev
    nlohmann-json3-dev libutfcpp-dev libpng-dev zlib1g-dev libmagic-dev libxxhash-dev libgtest-dev
    librapidcheck-dev python3 python3-jsonschema groff-base git universal-ctags strace)
# shellcheck disable=SC2034
all_parts=(-DVEMRA_BUILD_SOFTTOKEN=ON -DVEMRA_BUILD_TOOL=ON -DVEMRA_BUILD_TESTS=ON
    -DVEMRA_BUILD_BENCH=ON)

say() { printf '%s\n' "$*"; }

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# Prints those of the named Debian packages that are not installed, on one line.
missing_packages() {
    local package missing=()
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done
    printf '%s' "${missing[*]}"
}

# A person at the terminal is asked, unless --yes was given; a script without one goes ahead.
may_install() {
    local answer
    [ "$assume_yes" = no ] && [ -t 0 ] || return 0
    read -r -p "Install with apt-get: $* ? [y/N] " answer
    [[ $answer == [yY]* ]]
}

# Runs a command as root, through sudo where needed; without a terminal sudo may not ask.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif [ -t 0 ]; then
        sudo "$@"
    else
        sudo -n "$@"
    fi
}

can_be_root() {
    [ "$(id -u)" -eq 0 ] && return 0
    command -v sudo >/dev/null || return 1
    [ -t 0 ] || sudo -n true 2>/dev/null
}

# Installs the named Debian packages as far as they are missing.
require_packages() {
    local missing
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        say "Not a Debian system; what these packages hold is needed: $*"
        return 0
    fi
    read -r -a missing <<<"$(missing_packages "$@")"
    [ ${#missing[@]} -gt 0 ] || return 0
    if ! can_be_root || ! may_install "${missing[@]}"; then
        die "install these packages first: apt-get install ${missing[*]}"
    fi
    run_quietly "Updating the list of packages" as_root apt-get update ||
        die "apt-get could not update the list of packages"
    run_quietly "Installing ${missing[*]}" as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}" ||
        die "apt-get could not install: ${missing[*]}"
}

# run_quietly WHAT COMMAND...: the command's output is shown only when it fails.
run_quietly() {
    local what=$1 log result=0
    shift
    say "$what ..."
    log=$(mktemp)
    "$@" >"$log" 2>&1 || result=$?
    [ "$result" -eq 0 ] || cat "$log" >&2
    rm -f "$log"
    return "$result"
}

# configure PRESET [CMAKE ARGUMENTS...]: the build folder is build/PRESET.
configure() {
    local preset=$1
    shift
    (cd "$source_dir" && run_quietly "Configuring build/$preset" cmake --preset "$preset" "$@") ||
        die "the configuration of build/$preset failed"
}

# Seconds as people tell them.
as_time() {
    if [ "$1" -lt 60 ]; then
        printf '%d s' "$1"
    else
        printf '%d min %d s' "$(($1 / 60))" "$(($1 % 60))"
    fi
}

# Tells from the "[done/all]" before each line of a build how far it has come and how long it has
# taken: at a terminal on one line that is drawn over, elsewhere whenever another tenth is done.
show_progress() {
    local line tenth shown=0 started=$SECONDS
    while IFS= read -r line; do
        [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]] || continue
        if [ -t 1 ]; then
            printf '\r\033[K  %d of %d, %s' "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}" \
                "$(as_time $((SECONDS - started)))"
            continue
        fi
        tenth=$((10 * BASH_REMATCH[1] / BASH_REMATCH[2]))
        [ "$tenth" -gt "$shown" ] || continue
        shown=$tenth
        say "  ${BASH_REMATCH[1]} of ${BASH_REMATCH[2]}, $(as_time $((SECONDS - started)))"
    done
    [ ! -t 1 ] || printf '\r\033[K'
}

# build PRESET [TARGETS...]: everything when no target is named. What the build says is shown only
# when it fails.
build() {
    local preset=$1 log result=0 started=$SECONDS
    local targets=()
    shift
    [ $# -eq 0 ] || targets=(--target "$@")
    say "Building build/$preset ..."
    log=$(mktemp)
    cmake --build "$source_dir/build/$preset" --parallel "$(nproc)" "${targets[@]}" 2>&1 |
        tee "$log" | show_progress || result=$?
    [ "$result" -eq 0 ] || cat "$log" >&2
    rm -f "$log"
    [ "$result" -eq 0 ] || die "the build in build/$preset failed"
    say "Built in $(as_time $((SECONDS - started)))."
}

# run_tests PRESET [CTEST ARGUMENTS...]: in parallel, with the output of those that fail.
run_tests() {
    local preset=$1
    shift
    ctest --test-dir "$source_dir/build/$preset" --parallel "$(nproc)" --output-on-failure \
        --no-tests=error "$@"
}
