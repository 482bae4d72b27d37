#!/usr/bin/env bash
# Makes the folder that an AArch64 build compiles and links against, and that its programs are run
# on, from Debian's arm64 packages: downloaded and unpacked, not installed. apt keeps its state below
# the folder; the machine's own packages and architectures stay as they are.
# usage: make-sysroot.sh FOLDER
set -euo pipefail

PACKAGES=(
    libc6 libc6-dev linux-libc-dev libgcc-s1 libgcc-12-dev
    libc++1-19 libc++-19-dev libc++abi1-19 libc++abi-19-dev libunwind-19 libunwind-19-dev
    libsqlite3-0 libsqlite3-dev libcli11-dev nlohmann-json3-dev googletest
    libarchive13 libarchive-dev zlib1g zlib1g-dev libzstd1 libzstd-dev
    # What libarchive loads.
    libacl1 libbz2-1.0 libicu72 liblz4-1 liblzma5 libnettle8 libstdc++6 gcc-12-base libxml2
)

sysroot=$1
made=$sysroot/made-from.txt
if [ -f "$made" ] && [ "$(head -n 1 "$made")" = "${PACKAGES[*]}" ]; then
    exit
fi
rm -rf "$sysroot"
mkdir -p "$sysroot/apt/lists/partial" "$sysroot/apt/archives/partial"
cd "$sysroot"
: >apt/status
cat >apt/apt.conf <<TEXT
APT::Architecture "arm64";
APT::Architectures { "arm64"; };
APT::Sandbox::User "$(id -un)";
Dir::State "$PWD/apt";
Dir::State::status "$PWD/apt/status";
Dir::Cache "$PWD/apt";
TEXT
export APT_CONFIG=$PWD/apt/apt.conf
apt-get update -q
(cd apt/archives && apt-get download -q "${PACKAGES[@]}")
for package in apt/archives/*.deb; do
    dpkg-deb -x "$package" .
done
# Links that begin at the root lead into the folder instead.
find . -type l -lname '/*' | while read -r link; do
    ln -snf "$PWD$(readlink "$link")" "$link"
done
# Written last: a folder without it is made anew.
{
    echo "${PACKAGES[*]}"
    (cd apt/archives && ls ./*.deb)
} >made-from.txt.new
rm -rf apt
mv made-from.txt.new made-from.txt
