# Functions shared by ./run, ./test and .ci/run. Sourced, never run.

tools_folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
checkout=$(dirname "$tools_folder")

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

# install_packages FILE: installs the packages listed in the file that are missing. Asks dpkg only when the list has
# changed since the last time, so that nothing is slowed down when nothing changed.
install_packages() {
    local list=$1 stamp missing
    stamp=$checkout/build/.installed-$(basename "$list" .txt)
    cmp -s "$list" "$stamp" && return 0
    missing=$(grep -v '^#' "$list" | while read -r package; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || echo "$package"
    done)
    if [ -n "$missing" ]; then
        echo "kestrix: installing" $missing >&2
        as_root apt-get update -qq >&2
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >&2
    fi
    mkdir -p "$checkout/build"
    cp "$list" "$stamp"
}

# build_kestrix PRESET TARGET...: configures when needed and builds. Quiet unless there is something to build.
build_kestrix() {
    local preset=$1
    shift
    install_packages "$tools_folder/packages.txt"
    local folder=$checkout/build/$preset
    if [ ! -f "$folder/build.ninja" ]; then
        (cd "$checkout" && cmake --preset "$preset" >&2)
    fi
    local log=$folder/.build.log
    # Ninja's own progress only on a terminal; otherwise nothing but what failed.
    if [ -t 2 ]; then
        cmake --build "$folder" --target "$@" >&2
    elif ! cmake --build "$folder" --target "$@" >"$log" 2>&1; then
        grep -vE '^\[[0-9]+/[0-9]+\] (Building|Linking|Generating)' "$log" >&2
        return 1
    fi
}

# run_tests PRESET [CTEST OPTION...]: runs the tests that were built. On a terminal as ctest shows them, otherwise only what
# failed and the summary.
run_tests() {
    local folder=$checkout/build/$1
    shift
    local log=$folder/.tests.log code=0
    local command=(ctest --test-dir "$folder" --output-on-failure -j "$(nproc)" "$@")
    if [ -t 1 ]; then
        "${command[@]}"
        return
    fi
    "${command[@]}" >"$log" 2>&1 || code=$?
    grep -vE '^ +Start +[0-9]+: |^ *[0-9]+/[0-9]+ Test .* (Passed|\*\*\*Skipped) ' "$log"
    return "$code"
}
