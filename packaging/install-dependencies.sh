#!/bin/bash
# Installs the Debian or Ubuntu packages that are still missing, and says nothing when none is.
#
#   packaging/install-dependencies.sh GROUP...     groups: build app test bench coverage package
#
# This is the one list of the packages that the program is built from and tested with.
set -euo pipefail

build=(
    clang-19 lld-19 libclang-rt-19-dev ccache ninja-build cmake pkg-config
    libcurl4-openssl-dev libssl-dev libicu-dev nlohmann-json3-dev libsimdjson-dev libarchive-dev zlib1g-dev
    libsecret-1-dev libcli11-dev libfmt-dev
    # What the program calls while it runs, beside Docker.
    zsh openssl gzip ca-certificates
)
app=(
    qt6-base-dev qt6-declarative-dev qt6-declarative-dev-tools qt6-tools-dev-tools libgl-dev
    qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript
    qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-dialogs qml6-module-qtquick-layouts
    qml6-module-qtquick-templates qml6-module-qtquick-window qml6-module-qt-labs-platform
    libqt6svg6 qt6-qpa-plugins breeze-icon-theme fonts-dejavu-core
)
test=(
    libgtest-dev libgmock-dev libcpp-httplib-dev qml6-module-qttest
    dbus dbus-x11 gnome-keyring libsecret-tools
    xvfb xauth xdotool procps curl zip unzip man-db libnss3-tools
)
bench=(libbenchmark-dev hyperfine)
coverage=(llvm-19)
# For packaging/build-deb and the test of what it builds.
package=(dpkg-dev librsvg2-bin lintian desktop-file-utils appstream debootstrap)

missing_of() { # PACKAGE...
    local have
    have=$({ dpkg-query -W -f='${db:Status-Abbrev}${Package}\n' "$@" 2>/dev/null || true; } | sed -n 's/^ii *//p')
    printf '%s\n' "$@" | grep -vxF -f <(echo "${have:-none}") || true
}

# The distributions name Boost's headers after their version; any from 1.81 on will do, the newest first.
newest_boost() { # COMMAND that lists package names
    "$@" | { grep -xE 'libboost1\.(8[1-9]|9[0-9])-dev' || true; } | sort -Vr | head -n 1
}

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

[ $# -gt 0 ] || { sed -n '2,6s/^# \{0,1\}//p' "$0" >&2; exit 2; }
command -v apt-get >/dev/null || {
    echo "Only Debian's and Ubuntu's packages are known here. Needed: the packages named in $0." >&2
    exit 1
}

wanted=()
for group in "$@"; do
    case $group in
        build) wanted+=("${build[@]}") ;;
        app) wanted+=("${app[@]}") ;;
        test) wanted+=("${test[@]}") ;;
        bench) wanted+=("${bench[@]}") ;;
        coverage) wanted+=("${coverage[@]}") ;;
        package) wanted+=("${package[@]}") ;;
        *) echo "unknown group: $group" >&2; exit 2 ;;
    esac
done

mapfile -t missing < <(missing_of "${wanted[@]}")
boost=$(newest_boost dpkg-query -W -f='${Package}\n')
[ ${#missing[@]} -gt 0 ] || [ -z "$boost" ] || exit 0

if [ "$(id -u)" != 0 ] && ! command -v sudo >/dev/null; then
    echo "These packages are missing, and there is neither root nor sudo to install them: ${missing[*]}" >&2
    exit 1
fi
as_root apt-get -qq update
[ -n "$boost" ] || missing+=("$(newest_boost apt-cache pkgnames libboost1)")
echo "Installing ${#missing[@]} packages: ${missing[*]}" >&2
log=$(mktemp)
as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300 install -y --no-install-recommends "${missing[@]}" >"$log" 2>&1 || {
    tail -n 30 "$log" >&2
    rm -f "$log"
    exit 1
}
rm -f "$log"
