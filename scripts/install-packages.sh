#!/bin/sh
# Installs what the build needs from the distribution; with "tests", "bench", "docs", "fuzz" or "packages" also what those
# need, with "checks" also the other compiler and the checkers, with "slurm" a batch system, with "peers" other DICOM
# tools and with "browser" what tests the page of zev view. Does nothing when all of it is there.
set -eu

packages="build-essential cmake ninja-build ccache libgdcm-dev libboost-dev libhwy-dev nlohmann-json3-dev
libspdlog-dev libfmt-dev libcli11-dev libfast-float-dev libpng-dev libjpeg-dev libtiff-dev libisal-dev zlib1g-dev
libfreetype-dev fonts-dejavu-core libcpp-httplib-dev"
case "${1:-}" in
    tests) packages="$packages libgtest-dev" ;;
    bench) packages="$packages libbenchmark-dev" ;;
    packages) packages="$packages dpkg-dev lintian mmdebstrap doxygen" ;;
    docs) packages="$packages doxygen" ;;
    fuzz) packages="$packages clang libclang-rt-14-dev" ;;
    checks) packages="$packages libgtest-dev clang clang-format clang-tidy" ;;
esac

# Without these tests are skipped. Nobody gets daemons, or programs that the product does without, unasked.
optional=""
[ "${1:-}" != slurm ] || optional="slurmctld slurmd slurm-client munge"
[ "${1:-}" != peers ] || optional="dcmtk dicom3tools"
if [ "${1:-}" = browser ]; then
    optional="chromium node-typescript"
    # Node.js need not come from the distribution.
    command -v npm >/dev/null || optional="$optional nodejs npm"
fi

missing_of() {
    for package; do
        state=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
        # Said once for each architecture that has it.
        case "$state" in
            installed*) ;;
            *) printf ' %s' "$package" ;;
        esac
    done
}

# shellcheck disable=SC2086  # these lists are meant to be split
missing=$(missing_of $packages)
# shellcheck disable=SC2086
optional=$(missing_of $optional)
[ -n "$missing$optional" ] || exit 0

as_root=""
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "install-packages: run as root, or install:$missing$optional" >&2
        [ -z "$missing" ] || exit 1
        exit 0
    fi
    as_root="sudo"
fi

# Package lists are fetched only when the ones here do not do.
install_all() {
    [ $# -gt 0 ] || return 0
    echo "install-packages: installing $*"
    set -- env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@"
    $as_root "$@" || { $as_root apt-get update && $as_root "$@"; }
}

# shellcheck disable=SC2086
install_all $missing
# shellcheck disable=SC2086
install_all $optional || echo "install-packages: without$optional, whose tests are skipped" >&2
