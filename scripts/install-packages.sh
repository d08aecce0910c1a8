#!/bin/sh
# Installs what the build needs from the distribution; with "tests" or "bench" also what those need, with
# "checks" also the other compiler and the checkers. Does nothing when all of it is there.
set -eu

packages="build-essential cmake ninja-build ccache libgdcm-dev libboost-dev libhwy-dev nlohmann-json3-dev
libspdlog-dev libcli11-dev libfast-float-dev libpng-dev libjpeg-dev libtiff-dev libisal-dev zlib1g-dev"
case "${1:-}" in
    tests) packages="$packages libgtest-dev" ;;
    bench) packages="$packages libbenchmark-dev" ;;
    checks) packages="$packages libgtest-dev clang clang-format clang-tidy" ;;
esac

missing=""
for package in $packages; do
    state=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    # Said once for each architecture that has it.
    case "$state" in
        installed*) ;;
        *) missing="$missing $package" ;;
    esac
done
[ -n "$missing" ] || exit 0

as_root=""
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "install-packages: run as root, or install:$missing" >&2
        exit 1
    fi
    as_root="sudo"
fi

install_missing() {
    # shellcheck disable=SC2086  # the list is meant to be split
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing
}

# Package lists are fetched only when the ones here do not do.
echo "install-packages: installing$missing"
install_missing || { $as_root apt-get update && install_missing; }
