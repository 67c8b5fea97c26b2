# Sourced by check and demo: installs the distribution's packages that they need.

# What a native build of the library, the simulation server and the tool needs, and the archives of one.
BUILD_PACKAGES="g++ cmake ninja-build libpugixml-dev libcli11-dev nlohmann-json3-dev dpkg-dev file"

say() { printf '\033[1m== %s\033[0m\n' "$*"; }

# install_packages PURPOSE PACKAGE...: installs those that are missing, and says so.
install_packages() {
    purpose=$1
    shift
    missing=
    for package in "$@"; do
        state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
        [ "$state" = installed ] || missing="$missing $package"
    done
    [ -n "$missing" ] || return 0

    say "Installing what $purpose needs:$missing"
    as_root=
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "Please install as root:$missing" >&2; exit 1; }
        as_root=sudo
    fi
    $as_root apt-get update -qq
    # shellcheck disable=SC2086 # one word a package
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null
}

# build DIRECTORY CMAKE-ARGUMENT...: configures and builds; prints the log only when it fails.
build() {
    directory=$1
    shift
    mkdir -p "$directory"
    log=$directory/build.log
    if ! { cmake "$@" -B "$directory" && cmake --build "$directory"; } >"$log" 2>&1; then
        tail -n 60 "$log"
        echo "The build failed; all of its output is in $log" >&2
        exit 1
    fi
}
