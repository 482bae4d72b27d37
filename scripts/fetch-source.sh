#!/usr/bin/env bash
# Unpacks the upstream sources of a Debian source package, for libraries that have to be built with our
# flags. apt keeps its state below the folder; the machine's own package sources say where from.
# usage: fetch-source.sh PACKAGE FOLDER
set -euo pipefail

package=$1
folder=$2
if [ -f "$folder/fetched.txt" ]; then
    exit
fi
rm -rf "$folder"
mkdir -p "$folder/apt/lists/partial" "$folder/apt/archives/partial" "$folder/apt/sources.list.d"
cd "$folder"
for file in /etc/apt/sources.list.d/*.sources; do
    [ ! -f "$file" ] || sed 's/^Types:.*/Types: deb-src/' "$file" \
        >"apt/sources.list.d/$(basename "$file")"
done
for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ ! -f "$file" ] || sed -n 's/^deb /deb-src /p' "$file" >>apt/sources.list
done
touch apt/sources.list
cat >apt/apt.conf <<TEXT
APT::Sandbox::User "$(id -un)";
Dir::Etc::sourcelist "$PWD/apt/sources.list";
Dir::Etc::sourceparts "$PWD/apt/sources.list.d";
Dir::State::lists "$PWD/apt/lists";
Dir::Cache "$PWD/apt";
TEXT
export APT_CONFIG=$PWD/apt/apt.conf
apt-get update -q
apt-get source -q --download-only --only-source "$package"
tar -xf ./*.orig.tar.* --strip-components=1
rm -r apt
touch fetched.txt
