#!/bin/sh
# Installs the Debian packages that are missing, as root or through sudo where that asks for no password.
# Without anything missing it calls no package manager, so that every user can run it.
#
#     scripts/install_packages.sh [build] [tests] [bench] [checks] [coverage] [package] [browser]      without a word: build
set -eu

packages_bench="libbenchmark-dev libopencv-imgproc-dev libvips-dev pkg-config"
packages_build="cmake g++ libcli11-dev libpng-dev libtiff-dev make ninja-build nlohmann-json3-dev"
packages_tests="bash-completion dpkg-dev fish libgtest-dev librapidcheck-dev man-db pkg-config python3-jsonschema tidy
    zsh"
packages_package="dpkg-dev"
packages_checks="clang clang-format clang-tidy libclang-rt-14-dev valgrind"
packages_coverage="gcovr"
packages_browser="chromium chromium-driver python3-selenium"

is_installed() {
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

missing=""
for group in "${@:-build}"; do
    case $group in
    bench) packages=$packages_bench ;;
    build) packages=$packages_build ;;
    tests) packages=$packages_tests ;;
    checks) packages=$packages_checks ;;
    coverage) packages=$packages_coverage ;;
    package) packages=$packages_package ;;
    browser) packages=$packages_browser ;;
    *)
        echo "$0: unknown group '$group': allowed are build, tests, bench, checks, coverage, package and browser" >&2
        exit 2
        ;;
    esac
    for package in $packages; do
        is_installed "$package" || missing="$missing $package"
    done
done
[ -n "$missing" ] || exit 0

as_root=""
if [ "$(id -u)" != 0 ]; then
    as_root="sudo -n"
    if ! $as_root true 2>/dev/null; then
        echo "$0: these packages are missing, and only root can install them: apt-get install$missing" >&2
        exit 1
    fi
fi

echo "installing$missing" >&2
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# The words of $as_root and $missing are to be split.
# shellcheck disable=SC2086
if ! { $as_root apt-get -q update &&
       $as_root env DEBIAN_FRONTEND=noninteractive apt-get -q install -y --no-install-recommends $missing; } \
       >"$log" 2>&1 </dev/null; then
    cat "$log" >&2
    exit 1
fi
