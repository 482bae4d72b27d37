#!/usr/bin/env bash
# Packs what was built for one machine type. Before the archive is there, its headers are compiled,
# and its program is run without an environment and must say what that of the build says.
# usage: make-package.sh BUILD_FOLDER MACHINE_TYPE ARCHIVE_FOLDER VERSION [EMULATOR...]
set -euo pipefail

build=$1 machine=$2 archives=$3 version=$4
shift 4
emulator=("$@")
name=kestrelstarts-$version-$machine
mkdir -p "$archives"
archive=$PWD/$archives/$name.tar.gz
rm -f "$archive"
work=$(mktemp -d)
trap 'rm -rf "$work" "$archive.new"' EXIT
stage=$work/$name

# Whose code is in the program or beside it; the installation adds those of the report's page.
LICENCES=(
    libc++1-19 libc++abi1-19 libunwind-19 libsqlite3-0 libcli11-dev nlohmann-json3-dev
    # libarchive and what it loads
    libarchive13 zlib1g libzstd1 libacl1 libbz2-1.0 libicu72 liblz4-1 liblzma5 libnettle8 gcc-12-base
    libxml2
)

compiler=(clang++-19 -std=c++20 -stdlib=libc++)
sysroot=
if [ "$machine" != "$(uname -m)" ]; then
    sysroot=$PWD/build/sysroot-$machine
    compiler+=("--target=$machine-linux-gnu" "--sysroot=$sysroot")
fi

needed() { llvm-readelf-19 --dynamic-table "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'; }

# Adds the libraries that the files need and that are not part of the C library.
bundle() {
    local file library found
    for file in "$@"; do
        for library in $(needed "$file"); do
            case $library in
                libc.so.* | libm.so.* | libgcc_s.so.* | ld-linux*) continue ;;
            esac
            [ ! -e "$stage/lib/$library" ] || continue
            found=$("${compiler[@]}" "-print-file-name=$library")
            cp -L "$found" "$stage/lib/$library"
            bundle "$stage/lib/$library"
        done
    done
}

cmake --install "$build" --prefix "$stage" >"$work/install.log"
plugin=$stage/lib/libkestrelstarts.so
# The recorded command lines tell where it was built.
llvm-objcopy-19 --only-keep-debug --remove-section=.GCC.command.line "$plugin" "$plugin.debug"
for file in "$stage"/lib/*.so "$stage"/bin/*; do
    llvm-strip-19 --strip-all "$file"
done
(cd "$stage/lib" && llvm-objcopy-19 --add-gnu-debuglink=libkestrelstarts.so.debug libkestrelstarts.so)
bundle "$stage"/bin/* "$stage"/lib/*.so
for package in "${LICENCES[@]}"; do
    cp "$sysroot/usr/share/doc/$package/copyright" "$stage/share/licences/$package.txt"
done

# The build id of a linked file, "-" of any other.
build_id() {
    local id
    id=$(llvm-readelf-19 --notes "$1" 2>/dev/null | sed -n 's/.*Build ID: //p') || true
    echo "${id:--}"
}

find "$stage" -type f -printf '%P\n' | LC_ALL=C sort >"$work/files.txt"
{
    echo "kestrelstarts $version for $machine: bytes, build id, file"
    while read -r file; do
        printf '%9d  %-40s  %s\n' "$(stat -c %s "$stage/$file")" "$(build_id "$stage/$file")" "$file"
    done <"$work/files.txt"
} >"$stage/MANIFEST.txt"

if grep -rlF -e "$PWD/build/" -e "$PWD/feature/" "$stage"; then
    echo "these files tell where they were built" >&2
    exit 1
fi
tar -C "$work" --sort=name --owner=0 --group=0 --numeric-owner \
    --mtime="@$(git log -1 --format=%ct)" -c "$name" | gzip -9n >"$archive.new"

mkdir "$work/unpacked"
tar -C "$work/unpacked" -xzf "$archive.new"
include=$work/unpacked/$name/include
(cd "$include/kestrelstarts" && find . -name '*.h' -printf '#include <%P>\n') |
    "${compiler[@]}" -fsyntax-only -I "$include/kestrelstarts" -I "$include/kestrelstarts-linux" \
        -x c++ -
program=$work/unpacked/$name/bin/kestrelhost
# Every library but those of the C library comes from the archive.
trace=(env LD_TRACE_LOADED_OBJECTS=1)
[ ${#emulator[@]} -eq 0 ] || trace=("${emulator[@]}" -E LD_TRACE_LOADED_OBJECTS=1)
"${trace[@]}" "$program" >"$work/libraries.txt"
grep -q liblmhost.so "$work/libraries.txt"
while read -r library _ found _; do
    case $library in
        libc.so.* | libm.so.* | libgcc_s.so.* | *ld-linux* | linux-vdso*) continue ;;
    esac
    if [ ! "$found" -ef "$work/unpacked/$name/lib/$library" ]; then
        echo "$library comes from $found" >&2
        exit 1
    fi
done <"$work/libraries.txt"
for trace in traces/*.jsonl; do
    "${emulator[@]}" "$build/bin/kestrelhost" replay --json "$trace" >"$work/expected.jsonl"
    env -i "${emulator[@]}" "$program" replay --json "$trace" >"$work/records.jsonl"
    cmp "$work/expected.jsonl" "$work/records.jsonl"
done
mv "$archive.new" "$archive"
printf '%s: %d bytes, the plug-in %d\n' "${archive#"$PWD"/}" "$(stat -c %s "$archive")" \
    "$(stat -c %s "$plugin")"
